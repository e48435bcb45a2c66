#include "console/session.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include "console/lang.h"
#include "console/terminal.h"

static struct termios saved_state, stopped_state;
static volatile sig_atomic_t state_saved = 0;
static volatile sig_atomic_t output_is_terminal = 0;
static volatile sig_atomic_t redraw_wanted = 0;

static const int kFatalSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Shows the cursor and resets the colours. Only write(2), so that a signal
// handler may call it.
static void reset_screen_attributes(bool new_line) {
    if (!output_is_terminal) return;
    static const char reset[] = "\033[0m\033[?25h\r\n";
    size_t length = sizeof reset - 1 - (new_line ? 0 : 2);
    ssize_t ignored = write(STDOUT_FILENO, reset, length);
    (void)ignored;
}

static void restore_terminal_state() {
    if (state_saved) tcsetattr(STDIN_FILENO, TCSANOW, &saved_state);
}

static void on_fatal_signal(int signal_number) {
    // SA_RESETHAND has already put back the default action; raising the
    // signal again ends the program the way the sender meant, after the
    // terminal is usable again. No core file: it would land in the Korvel
    // directory.
    restore_terminal_state();
    reset_screen_attributes(true);
    if (signal_number == SIGQUIT) {
        struct rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
    }
    raise(signal_number);
}

// Ctrl-Z: the terminal as the administrator had it while the editor is
// stopped, and the editor's own modes back when it continues.
static void on_stop(int) {
    int saved_errno = errno;
    bool had_state = state_saved && tcgetattr(STDIN_FILENO, &stopped_state) == 0;
    restore_terminal_state();
    reset_screen_attributes(true);
    signal(SIGTSTP, SIG_DFL);
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTSTP);
    sigprocmask(SIG_UNBLOCK, &stop, nullptr);
    raise(SIGTSTP);
    // Continued.
    struct sigaction again {};
    again.sa_handler = on_stop;
    sigemptyset(&again.sa_mask);
    sigaction(SIGTSTP, &again, nullptr);
    if (had_state) tcsetattr(STDIN_FILENO, TCSANOW, &stopped_state);
    redraw_wanted = 1;
    errno = saved_errno;
}

static void on_redraw(int) { redraw_wanted = 1; }

// --- The frame -------------------------------------------------------------

bool ConsoleFrameMayScroll = false;

static FILE *pending = nullptr;  // what the screens print, until the next flush
static char *pending_bytes = nullptr;
static size_t pending_size = 0;
static char *frame = nullptr;  // the bytes since the screen was last cleared
static size_t frame_size = 0, frame_room = 0;
static bool notice_up = false, cursor_hidden = false;

static void write_out(const char *bytes, size_t size) {
    while (size > 0) {
        ssize_t n = write(STDOUT_FILENO, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
}

static void append_frame(const char *bytes, size_t size) {
    if (frame_size + size > frame_room) {
        size_t room = frame_room ? frame_room : 8192;
        while (room < frame_size + size) room *= 2;
        char *grown = static_cast<char *>(std::realloc(frame, room));
        if (!grown) return;
        frame = grown;
        frame_room = room;
    }
    std::memcpy(frame + frame_size, bytes, size);
    frame_size += size;
}

// The escape sequence (colours, the cursor shown or hidden) that ends right
// at `at`, or null.
static const char *sequence_before(const char *bytes, const char *at) {
    if (at == bytes || !std::strchr("mlh", at[-1])) return nullptr;
    const char *p = at - 1;
    while (p > bytes && ((p[-1] >= '0' && p[-1] <= '9') || p[-1] == ';' || p[-1] == '?')) --p;
    return p - bytes >= 2 && p[-1] == '[' && p[-2] == '\033' ? p - 2 : nullptr;
}

// Where in `bytes` the last frame begins: at the last clear, with the
// colour and cursor sequences written just before it.
static const char *last_clear(const char *bytes, size_t size) {
    const char *found = nullptr;
    for (const char *at = bytes; (at = static_cast<const char *>(memmem(at, size - (at - bytes), "\033[2J", 4)));
         at += 4) {
        found = at;
    }
    while (found) {
        const char *before = sequence_before(bytes, found);
        if (!before) break;
        found = before;
    }
    return found;
}

// The lines and columns the frame needs from the top of the screen.
static void measure(unsigned &lines, unsigned &columns) {
    unsigned row = 0, column = 0;
    lines = 1;
    columns = 0;
    for (size_t i = 0; i < frame_size; ++i) {
        unsigned char c = static_cast<unsigned char>(frame[i]);
        if (c == '\033' && i + 1 < frame_size && frame[i + 1] == '[') {
            unsigned numbers[2] = {0, 0}, count = 0;
            size_t j = i + 2;
            for (; j < frame_size && ((frame[j] >= '0' && frame[j] <= '9') || frame[j] == ';' || frame[j] == '?'); ++j) {
                if (frame[j] == ';' && count < 1) ++count;
                if (frame[j] >= '0' && frame[j] <= '9') numbers[count] = numbers[count] * 10 + (frame[j] - '0');
            }
            if (j < frame_size && frame[j] == 'H') {
                row = numbers[0] ? numbers[0] - 1 : 0;
                column = numbers[1] ? numbers[1] - 1 : 0;
            }
            i = j;
        } else if (c == '\n') {
            ++row;
            column = 0;  // the terminal turns a line feed into a new line
        } else if (c == '\r') {
            column = 0;
        } else if (c >= 32 && (c < 0x80 || c >= 0xC0)) {
            ++column;  // one column per character, not per byte of one
        }
        if (row + 1 > lines) lines = row + 1;
        if (column > columns) columns = column;
    }
}

static void note_cursor(const char *bytes, size_t size) {
    for (const char *at = bytes; (at = static_cast<const char *>(memmem(at, size - (at - bytes), "\033[?25", 5))); at += 5) {
        if (at + 5 < bytes + size) cursor_hidden = at[5] == 'l';
    }
}

// Whether the frame fits the window; true when the window's size is unknown.
static bool fits(unsigned &lines, unsigned &columns, struct winsize &window) {
    measure(lines, columns);
    if (ConsoleFrameMayScroll || ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_row == 0) return true;
    return lines <= window.ws_row && columns <= window.ws_col;
}

static void write_notice(const struct winsize &window, unsigned lines, unsigned columns) {
    const char *notice = LangText[kTextWindowTooSmall] && LangText[kTextWindowTooSmall][0]
                             ? LangText[kTextWindowTooSmall]
                             : "Window %ux%u, screen %ux%u: enlarge the window or press Ctrl-C to leave.";
    std::string sizes[4] = {std::to_string(window.ws_col), std::to_string(window.ws_row), std::to_string(columns), std::to_string(lines)};
    std::string text = "\033[0m\033[?25l\033[2J\033[01;01H" +
                       fill_text(notice, {sizes[0].c_str(), sizes[1].c_str(), sizes[2].c_str(), sizes[3].c_str()});
    write_out(text.data(), text.size());
}

// Writes the frame again from its start, or the notice.
static void draw_again() {
    unsigned lines, columns;
    struct winsize window {};
    if (fits(lines, columns, window)) {
        if (cursor_hidden) write_out("\033[?25l", 6);
        write_out(frame, frame_size);
        notice_up = false;
    } else {
        write_notice(window, lines, columns);
        notice_up = true;
    }
}

void console_flush() {
    if (!pending || console_stream() != pending) {
        std::fflush(console_stream());
        return;
    }
    std::fflush(pending);
    const char *bytes = pending_bytes;
    size_t size = pending_size;
    if (size == 0) return;
    note_cursor(bytes, size);
    const char *start = last_clear(bytes, size);
    if (start) frame_size = 0;
    append_frame(start ? start : bytes, start ? size - static_cast<size_t>(start - bytes) : size);
    unsigned lines, columns;
    struct winsize window {};
    if (fits(lines, columns, window)) {
        // The bytes as the screens wrote them; the whole frame after a notice.
        if (notice_up) {
            if (cursor_hidden) write_out("\033[?25l", 6);
            write_out(frame, frame_size);
        } else {
            write_out(bytes, size);
        }
        notice_up = false;
    } else if (!notice_up || start) {
        write_notice(window, lines, columns);
        notice_up = true;
    }
    std::rewind(pending);
    std::fflush(pending);
}

bool console_notice_up() { return notice_up; }

void console_interrupted() {
    if (!redraw_wanted) return;
    redraw_wanted = 0;
    draw_again();
}

void console_restore() {
    console_flush();
    restore_terminal_state();
    reset_screen_attributes(false);
}

void console_start() {
    if (isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &saved_state) == 0) state_saved = 1;
    output_is_terminal = isatty(STDOUT_FILENO);
    // A whole screen goes out in one write when the program waits for a key
    // (every wait flushes), rather than line by line: no flicker on slow links.
    if (output_is_terminal) pending = open_memstream(&pending_bytes, &pending_size);
    if (pending) {
        ConsoleOut = pending;
    } else {
        static char screen_buffer[1 << 16];
        std::setvbuf(stdout, screen_buffer, _IOFBF, sizeof screen_buffer);
    }
    std::atexit(console_restore);

    struct sigaction action {};
    action.sa_handler = on_fatal_signal;
    action.sa_flags = SA_RESETHAND | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int signal_number : kFatalSignals) sigaction(signal_number, &action, nullptr);
    // Interrupting: a wait for a key comes back to draw the frame again.
    struct sigaction redraw {};
    sigemptyset(&redraw.sa_mask);
    redraw.sa_handler = on_redraw;
    sigaction(SIGWINCH, &redraw, nullptr);
    sigaction(SIGCONT, &redraw, nullptr);
    redraw.sa_handler = on_stop;
    sigaction(SIGTSTP, &redraw, nullptr);
}

void console_exit(int status) {
    console_flush();
    std::exit(status);
}
