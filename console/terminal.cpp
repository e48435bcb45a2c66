#include "console/terminal.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <csignal>
#include <cstring>
#include <initializer_list>
#include <spawn.h>
#include <sys/select.h>
#include <sys/wait.h>

#include "console/globals.h"
#include "console/session.h"

extern char **environ;

FILE *ConsoleOut = nullptr;

FILE *console_stream() { return ConsoleOut ? ConsoleOut : stdout; }

void con_printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vfprintf(console_stream(), format, args);
    va_end(args);
}

void con_putc(int c) { fputc(c, console_stream()); }

void con_puts(const char *text) { fputs(text, console_stream()); }

const unsigned char seq_escape[SEQ_COUNT][kSeqEntrySize] = {
    {4, 27, '[', '2', 'J'},
    {6, 27, '[', '?', '2', '5', 'l'},
    {6, 27, '[', '?', '2', '5', 'h'},
    {5, 27, '[', '4', '0', 'm'},
    {7, 27, '[', '1', ';', '3', '7', 'm'},
    {10, 27, '[', '0', ';', '3', '7', ';', '4', '0', 'm'},
    {7, 27, '[', '1', ';', '3', '6', 'm'},
    {7, 27, '[', '1', ';', '3', '2', 'm'},
    {7, 27, '[', '1', ';', '3', '1', 'm'},
    {10, 27, '[', '0', ';', '3', '1', ';', '4', '0', 'm'},
};

void print_escapeseq(unsigned index) {
    if (index >= SEQ_COUNT) return;
    const unsigned char *entry = seq_escape[index];
    for (unsigned i = 1; i <= entry[0]; ++i) con_putc(entry[i]);
}

void cursor_gotopos(unsigned row, unsigned column, unsigned row_offset) {
    // The sequence has room for two digits only. A long list (the next
    // actions of a hundred days) puts its marker past line 99: line 99 and
    // then down, as far as no window reaches but the view of the frame does.
    unsigned line = row + row_offset;
    if (column > 99) column = 99;
    unsigned shown = line > 99 ? 99 : line;
    con_printf("%c%c%c%c%c%c%c%c", 27, '[', '0' + shown / 10, '0' + shown % 10, ';', '0' + column / 10,
               '0' + column % 10, 'H');
    if (line > shown) con_printf("\033[%uB", line - shown);
}

void print_line(int style) {
    if (style != 4) con_puts("\n\r");
    char line[kScreenWidth + 1];
    switch (style) {
    case 0: std::memset(line, '-', kScreenWidth); break;
    case 1:
    case 4: std::memset(line, '*', kScreenWidth); break;
    case 2: std::memset(line, '#', kScreenWidth); break;
    case 3:
        std::memset(line, ' ', kScreenWidth);
        std::memset(line, '*', 4);
        std::memset(line + kScreenWidth - 4, '*', 4);
        break;
    default: return;
    }
    line[kScreenWidth] = '\0';
    con_puts(line);
}

std::size_t columns(const char *text) {
    std::size_t count = 0;
    for (const unsigned char *at = reinterpret_cast<const unsigned char *>(text); *at; ++at) count += !utf8_continuation(*at);
    return count;
}

void print_center(const char *text) {
    // Four stars each side leave 62 columns; a longer text gets no padding
    // rather than a wrapped-around blank count.
    const int inner = kScreenWidth - 8;
    int length = static_cast<int>(columns(text));
    int before = length < inner ? (inner - length) / 2 : 0;
    int after = inner - before - length;
    if (after < 0) after = 0;
    con_printf("\n\r****%*s%s%*s****", before, "", text, after, "");
}

char *dopln(char *text, std::size_t width, const char *fill) {
    for (std::size_t i = columns(text); i < width; ++i) std::strcat(text, fill);
    return text;
}

char *center(char *text, std::size_t width, const char *fill) {
    std::size_t length = columns(text), bytes = std::strlen(text);
    std::size_t fill_length = std::strlen(fill);
    if (width >= 200 || length >= width || fill_length == 0) return text;
    char result[400 + 1] = "";
    std::size_t used = 0, shown = 0;  // bytes and columns so far
    auto append_fill = [&] {
        std::size_t count = fill_length < width - shown ? fill_length : width - shown;
        std::memcpy(result + used, fill, count);
        used += count;
        shown += count;
    };
    for (std::size_t i = 0; i < (width - length) / 2; ++i) append_fill();
    // As much of the text as fits, whole characters only.
    for (std::size_t at = 0; at < bytes && shown < width; ++shown) {
        do result[used++] = text[at++];
        while (at < bytes && utf8_continuation(static_cast<unsigned char>(text[at])));
    }
    while (shown < width) append_fill();
    result[used] = '\0';
    std::memcpy(text, result, used + 1);
    return text;
}

void beep() { con_putc(7); }

static void select_sleep(unsigned long microseconds) {
    struct timeval timeout;
    timeout.tv_sec = static_cast<time_t>(microseconds / 1000000);
    timeout.tv_usec = static_cast<suseconds_t>(microseconds % 1000000);
    // Linux leaves the time still to wait in `timeout`, so an interrupted
    // wait resumes rather than starting over.
    while (select(0, nullptr, nullptr, nullptr, &timeout) < 0 && errno == EINTR) {
    }
}

void (*ConsoleSleep)(unsigned long microseconds) = select_sleep;

void ussleep(unsigned long microseconds) {
    if (microseconds == 1) microseconds = 20;
    // A message shown before a pause must be on the screen during it.
    console_flush();
    ConsoleSleep(microseconds);
}

void sleepp(unsigned long milliseconds) { ussleep(milliseconds * 1000); }

void s_tick() { ussleep(1); }

// The trace file lies in the program directory, which the store names.
static char trace_file[300] = "./debugs.log";

void set_trace_file(const char *path) { std::snprintf(trace_file, sizeof trace_file, "%s", path); }

void printfc(const char *text) {
    if (bDebug) con_puts(text);
    if (!bDebugLog) return;
    const char *path = trace_file;
    FILE *log = std::fopen(path, "a+");
    if (!log) log = std::fopen(path, "w+");
    if (!log) return;
    std::fputs(text, log);
    std::fclose(log);
}

// A plain command line (a program and its words, nothing the shell would
// interpret) is started directly: the same program, arguments and status as
// through the shell, in half the time, which every mode switch pays. As
// system() does, the editor ignores SIGINT and SIGQUIT while it waits and
// the command gets them at their default. Anything else, or a program that
// cannot be started, goes to the shell, which also says why.
static int run_plain_or_shell(const char *command) {
    static const char kPlain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ._-/+=,";
    char words[256];
    if (std::strlen(command) >= sizeof words || command[std::strspn(command, kPlain)] != '\0') {
        return std::system(command);
    }
    std::strcpy(words, command);
    char *argv[32];
    int count = 0;
    for (char *word = std::strtok(words, " "); word && count < 31; word = std::strtok(nullptr, " ")) argv[count++] = word;
    argv[count] = nullptr;
    if (count == 0) return std::system(command);

    struct sigaction ignore {}, saved_interrupt, saved_quit;
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGINT, &ignore, &saved_interrupt);
    sigaction(SIGQUIT, &ignore, &saved_quit);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child;
    int started = posix_spawnp(&child, argv[0], nullptr, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    int status = -1;
    if (started == 0) {
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    }
    sigaction(SIGINT, &saved_interrupt, nullptr);
    sigaction(SIGQUIT, &saved_quit, nullptr);
    return started == 0 ? status : std::system(command);
}

int (*ConsoleShell)(const char *command) = run_plain_or_shell;

int run_command(const char *command) {
    // The command writes to the same terminal; what was drawn must come first.
    console_flush();
    // A signal that ends the editor while "stty" runs would restore the
    // terminal and then see stty switch it again: it waits for stty.
    bool mode_switch = std::strncmp(command, "stty ", 5) == 0;
    sigset_t held, before;
    sigemptyset(&held);
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) sigaddset(&held, number);
    if (mode_switch) sigprocmask(SIG_BLOCK, &held, &before);
    int status = ConsoleShell(command);
    if (mode_switch) sigprocmask(SIG_SETMASK, &before, nullptr);
    return status;
}
