#include "console/input.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <poll.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include "console/session.h"
#include "console/terminal.h"

namespace console {
int toupper(int c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; }
int tolower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
bool isdigit(int c) { return c >= '0' && c <= '9'; }
}  // namespace console

// Ctrl-D at the start of a line typed on a terminal is no end of input: the
// terminal is still there (no hang-up), and the line is an empty answer.
static bool terminal_still_there() {
    struct termios state;
    struct pollfd terminal = {STDIN_FILENO, POLLIN, 0};
    return isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &state) == 0 && (state.c_lflag & ICANON) &&
           poll(&terminal, 1, 0) >= 0 && !(terminal.revents & (POLLHUP | POLLERR | POLLNVAL));
}

// Waits until a byte can be read. A resize or a continue that comes at any
// moment, even just before the wait, draws the frame again: the signals are
// held, and let in only by the wait itself.
static void wait_for_input() {
    sigset_t wake, before;
    sigemptyset(&wake);
    for (int number : {SIGWINCH, SIGCONT, SIGTSTP}) sigaddset(&wake, number);
    sigprocmask(SIG_BLOCK, &wake, &before);
    for (;;) {
        console_interrupted();
        fd_set input;
        FD_ZERO(&input);
        FD_SET(STDIN_FILENO, &input);
        if (pselect(STDIN_FILENO + 1, &input, nullptr, nullptr, nullptr, &before) >= 0 || errno != EINTR) break;
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

static int read_stdin_byte() {
    unsigned char c;
    for (;;) {
        wait_for_input();
        ssize_t n = read(STDIN_FILENO, &c, 1);
        if (n == 1) return c;
        if (n < 0 && errno == EINTR) continue;
        if (n == 0 && terminal_still_there()) return '\n';
        return -1;
    }
}

static void leave_at_end_of_input() { console_exit_below(0); }

int (*ConsoleReadByte)() = read_stdin_byte;
void (*ConsoleInputEnded)() = leave_at_end_of_input;

static int pushed_back = -1;

int console_getc() {
    if (pushed_back >= 0) {
        int c = pushed_back;
        pushed_back = -1;
        return c;
    }
    console_flush();
    int c = ConsoleReadByte();
    console_typed(c);
    if (c < 0) {
        ConsoleInputEnded();
        return -1;
    }
    return c;
}

void console_ungetc(int c) { pushed_back = c; }

void console_forget_input() { pushed_back = -1; }

MenuKey read_key() {
    int c = console_getc();
    if (c == 27) {
        console_getc();
        int last = console_getc();
        if (last == 'A') return KEY_UP;
        if (last == 'B') return KEY_DOWN;
        return KEY_NONE;
    }
    return c == '\n' ? KEY_ENTER : KEY_NONE;
}

// What a line may hold: a number's digits (overlong input dropped quietly),
// a text for Korvel's files, or a secret that is only ever digested.
enum class LineKind { Number, Text, Secret };

// Reads up to LF or CR into `line` (which has room for keep + 1 bytes),
// keeping `keep` characters and dropping the rest; every dropped character
// but a number's rings the bell. Returns the number kept, or -1 when the
// input ended before the line did.
static int read_line(char *line, int keep, LineKind kind) {
    int count = 0;
    for (;;) {
        int c = console_getc();
        if (c < 0) {
            line[count] = '\0';
            return -1;
        }
        if (c == '\n' || c == '\r') break;
        if (count >= keep) {
            if (kind != LineKind::Number) beep();
            continue;
        }
        if (kind == LineKind::Text && (c == '"' || c == '\0')) {
            // Korvel's files cannot hold a double quote inside a value, nor
            // anything after a zero byte: refused like an overlong character.
            beep();
            continue;
        }
        line[count++] = static_cast<char>(c);
    }
    if (kind == LineKind::Text && count == keep) {
        // A line cut at the field's width never ends in part of a character.
        int lead = count - 1;
        while (lead > 0 && utf8_continuation(static_cast<unsigned char>(line[lead]))) --lead;
        if (lead >= 0 && lead + utf8_length(static_cast<unsigned char>(line[lead])) > count) count = lead;
    }
    line[count] = '\0';
    return count;
}

static int kept_for(int max) {
    int keep = max - 2;
    if (keep < 0) keep = 0;
    if (keep > kLineMax - 1) keep = kLineMax - 1;
    return keep;
}

static bool is_blank(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// One whitespace-delimited word of at most `max` characters, as "%Ns" reads
// it: leading blanks skipped, the blank after the word left unread. False
// when the input ended before a word.
static bool read_word(char *word, int max) {
    int c;
    do {
        c = console_getc();
    } while (c >= 0 && is_blank(c));
    int count = 0;
    while (c >= 0) {
        word[count++] = static_cast<char>(c);
        if (count == max) break;
        c = console_getc();
        if (c >= 0 && is_blank(c)) {
            console_ungetc(c);
            break;
        }
    }
    word[count] = '\0';
    return count > 0;
}

// The value of a number as atol reads it (leading blanks and a sign allowed,
// stops at the first non-digit, no digits give 0), saturated well outside
// any range the screens use instead of overflowing.
static long long decimal_value(const char *text) {
    while (is_blank(static_cast<unsigned char>(*text))) ++text;
    bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    long long value = 0;
    for (; console::isdigit(static_cast<unsigned char>(*text)); ++text) {
        if (value < (1LL << 40)) value = value * 10 + (*text - '0');
    }
    return negative ? -value : value;
}

static bool within(long long value, uint32_t low, uint32_t high) {
    return value >= 0 && value >= low && value <= high;
}

// An empty or ESC-led line leaves the field as it was; any other is copied
// as strncpy does, so nothing of the old value stays behind the new one.
static void store_line(char *destination, int max, const char *line, int count) {
    if (count <= 0 || line[0] == 27) return;
    std::strncpy(destination, line, static_cast<size_t>(max));
}

void get_str(char *destination, int max, const char *prompt) {
    con_printf("\n%s\t", prompt ? prompt : "");
    print_escapeseq(SEQ_VALUE);
    char line[kLineMax];
    int count = read_line(line, kept_for(max), LineKind::Text);
    store_line(destination, max, line, count);
}

void get_prtk(char *destination, int max, const char *prompt) {
    con_printf("\n%s: ", prompt ? prompt : "");
    char line[kLineMax];
    int count;
    do {
        count = read_line(line, kept_for(max), LineKind::Text);
    } while (count == 0);
    store_line(destination, max, line, count);
}

int get_secret(char *destination, int keep, const char *prompt) {
    con_printf("\n%s\t", prompt ? prompt : "");
    print_escapeseq(SEQ_VALUE);
    if (keep > kLineMax - 1) keep = kLineMax - 1;
    int count = read_line(destination, keep < 0 ? 0 : keep, LineKind::Secret);
    return count <= 0 || destination[0] == 27 ? 0 : count;
}

uint32_t get_int(uint32_t low, uint32_t high, const char *prompt, const char *error) {
    char word[200 + 1];
    for (;;) {
        if (prompt) con_printf("%s", prompt);
        if (!read_word(word, 200)) return low;
        if (word[0] != 27) {
            long long value = decimal_value(word);
            if (within(value, low, high)) return static_cast<uint32_t>(value);
        }
        con_printf("\a\n%s\n", error ? error : "");
    }
}

uint16_t get_int1(uint32_t low, uint32_t high, uint32_t fallback, const char *, const char *error) {
    char line[200 + 1];
    int count = read_line(line, 200, LineKind::Number);
    long long value = (count <= 0 || line[0] == 27) ? fallback : decimal_value(line);
    print_escapeseq(SEQ_NORMAL);
    if (within(value, low, high)) return static_cast<uint16_t>(value);
    con_printf("\a\n%s\n", error ? error : "");
    ussleep(2000000);
    return static_cast<uint16_t>(fallback);
}

int test_key() {
    char word[10 + 1];
    if (!read_word(word, 10)) return 0;
    return console::toupper(static_cast<unsigned char>(word[0]));
}

char yes_no[20];
char yes_no_str[220];

char *yesnostr(const char *yes, const char *no) {
    if (!yes || !no) return yes_no_str;
    std::snprintf(yes_no_str, sizeof yes_no_str, "[%c=%s,%c=%s]",
                  console::tolower(static_cast<unsigned char>(yes[0])), yes,
                  console::tolower(static_cast<unsigned char>(no[0])), no);
    return yes_no_str;
}

int get_yesno(const char *yes, const char *no, const char *question) {
    con_printf("\n%s %s : ", question ? question : "", yesnostr(yes, no));
    char word[200 + 1];
    if (!read_word(word, 200) || !yes) return 0;
    return console::toupper(static_cast<unsigned char>(word[0])) ==
           console::toupper(static_cast<unsigned char>(yes[0]));
}

char *yesno(int flag, const char *yes, const char *no) {
    const char *text = flag ? yes : no;
    if (text) {
        std::strncpy(yes_no, text, sizeof yes_no - 1);
        yes_no[sizeof yes_no - 1] = '\0';
    }
    return yes_no;
}

int getnum(const char *text, uint16_t *out) {
    unsigned value = 0;
    int count = 0;
    for (; console::isdigit(static_cast<unsigned char>(text[count])); ++count) {
        value = value * 10 + static_cast<unsigned>(text[count] - '0');
    }
    *out = static_cast<uint16_t>(value);
    return count;
}

void menu_insert_value(const char *label) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(7, 0, 0);
    print_line(1);
    print_line(3);
    print_center(label);
    print_line(3);
    print_line(1);
    print_line(0);
    con_printf("\n\r      %s:\t", label);
    print_escapeseq(SEQ_VALUE);
}
