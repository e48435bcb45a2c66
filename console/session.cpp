#include "console/session.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include "console/lang.h"
#include "console/terminal.h"
#include "console/view.h"

static struct termios saved_state, stopped_state;
static volatile sig_atomic_t state_saved = 0;
static volatile sig_atomic_t output_is_terminal = 0;
static volatile sig_atomic_t redraw_wanted = 0;

static const int kFatalSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Where the line below what the screen shows begins ("ESC [ line ; 1 H"),
// kept up to date as frames are shown, so that a signal handler can go there.
static char below_screen[24] = "";

// Shows the cursor and resets the colours; with `new_line` on a fresh line
// below the screen, where the shell's next words cannot land inside a menu.
// Only write(2), so that a signal handler may call it.
static void reset_screen_attributes(bool new_line) {
    if (!output_is_terminal) return;
    static const char reset[] = "\033[0m\033[?25h\r\n";
    size_t length = sizeof reset - 1 - (new_line ? 0 : 2);
    ssize_t ignored = new_line ? write(STDOUT_FILENO, below_screen, strlen(below_screen)) : 0;
    ignored = write(STDOUT_FILENO, reset, length);
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

// Below this the view would show too little to work with: the notice stands
// in for the frame (and keys still act on it).
constexpr unsigned kLeastRows = 12, kLeastColumns = 40;

static FILE *pending = nullptr;  // what the screens print, until the next flush
static char *pending_bytes = nullptr;
static size_t pending_size = 0;
static char *frame = nullptr;  // the bytes since the screen was last cleared
static size_t frame_size = 0, frame_room = 0;
static bool frame_cleared = false;  // it begins at a clear (the first output may not)
static bool cursor_hidden = false;
static Colours frame_colours, output_colours;  // before the frame's first byte; after the last byte written
// How the frame is on the screen: its own bytes, the view of a part of it,
// or the notice.
enum class Shown { Bytes, View, Notice };
static Shown shown = Shown::Bytes;
static View view;
static bool echo_since_view = false;  // the terminal may have echoed (and scrolled) since the view was drawn

static void write_out(const char *bytes, size_t size) {
    while (size > 0) {
        ssize_t n = write(STDOUT_FILENO, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
}

static void write_out(const std::string &text) { write_out(text.data(), text.size()); }

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

static void note_cursor(const char *bytes, size_t size) {
    for (const char *at = bytes; (at = static_cast<const char *>(memmem(at, size - (at - bytes), "\033[?25", 5))); at += 5) {
        if (at + 5 < bytes + size) cursor_hidden = at[5] == 'l';
    }
}

static void write_notice(const struct winsize &window, unsigned lines, unsigned columns) {
    const char *notice = LangText[kTextWindowTooSmall] && LangText[kTextWindowTooSmall][0]
                             ? LangText[kTextWindowTooSmall]
                             : "Window %ux%u, screen %ux%u: enlarge the window to see the screen; keys act on it meanwhile.";
    std::string sizes[4] = {std::to_string(window.ws_col), std::to_string(window.ws_row), std::to_string(columns), std::to_string(lines)};
    write_out("\033[0m\033[?25l\033[2J\033[01;01H" +
              fill_text(notice, {sizes[0].c_str(), sizes[1].c_str(), sizes[2].c_str(), sizes[3].c_str()}));
}

static bool terminal_echoes() {
    struct termios state;
    return output_is_terminal && tcgetattr(STDIN_FILENO, &state) == 0 && (state.c_lflag & ECHO);
}

// Shows the frame: `size` new bytes of it at `bytes`, or, with null, all of
// it again (after a resize or a continue). As the screens wrote it where it
// fits the window (or the window's size is unknown), else the part of it
// around the cursor, or the notice where even that would be too little.
static void show(const char *bytes, size_t size, bool new_frame) {
    FramePicture picture = picture_of(frame, frame_size, frame_colours);
    struct winsize window {};
    bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_row > 0 && window.ws_col > 0;
    bool fits = picture.lines <= window.ws_row && picture.columns <= window.ws_col;
    // Below the frame's last line where it is drawn from the top of a
    // cleared screen and fits; else below the window's; unknown, where the
    // cursor is.
    bool whole = fits && frame_cleared;
    if (known) std::snprintf(below_screen, sizeof below_screen, "\033[%u;1H", whole ? picture.lines : window.ws_row);
    if (!known || fits) {
        if (bytes && shown == Shown::Bytes) {
            write_out(bytes, size);
        } else {
            // From the frame's own colours, whatever the terminal has now.
            write_out("\033[0m" + colour_sequence(frame_colours) + (cursor_hidden ? "\033[?25l" : ""));
            write_out(frame, frame_size);
        }
        shown = Shown::Bytes;
    } else if (window.ws_row < kLeastRows || window.ws_col < kLeastColumns) {
        if (shown != Shown::Notice || new_frame || !bytes) write_notice(window, picture.lines, picture.columns);
        shown = Shown::Notice;
    } else {
        // A new frame clears the window as the screens meant it to; a marker
        // that moves changes only its rows.
        bool first = new_frame || shown != Shown::View;
        std::string out = show_view(picture, window.ws_row, window.ws_col, first, first || !bytes || echo_since_view, view);
        out += cursor_hidden ? "\033[?25l" : "\033[?25h";
        for (size_t i = 0; bytes && i < size; ++i) out += bytes[i] == '\a' ? "\a" : "";
        write_out(out);
        shown = Shown::View;
        echo_since_view = terminal_echoes();
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
    if (start) {
        follow_colours(bytes, static_cast<size_t>(start - bytes), output_colours);
        frame_colours = output_colours;
        frame_size = 0;
        frame_cleared = true;
    }
    const char *added = start ? start : bytes;
    size_t added_size = size - static_cast<size_t>(added - bytes);
    append_frame(added, added_size);
    follow_colours(added, added_size, output_colours);
    show(bytes, size, start != nullptr);
    std::rewind(pending);
    std::fflush(pending);
}

void console_typed(int c) {
    // What the terminal echoes of a line is part of what the window shows.
    if (!pending || !(c == '\n' || (c >= 32 && c != 127)) || !terminal_echoes()) return;
    char byte = static_cast<char>(c);
    append_frame(&byte, 1);
}

// A line being typed when the frame is drawn again would stay in the
// terminal's line buffer, unseen, and be stored with what comes after it:
// it goes, and the bell says so. A line already entered waits whole in the
// buffer and stays.
static bool discard_unentered_line() {
    struct termios state;
    struct pollfd terminal = {STDIN_FILENO, POLLIN, 0};
    if (!output_is_terminal || tcgetattr(STDIN_FILENO, &state) != 0 || !(state.c_lflag & ICANON)) return false;
    if (poll(&terminal, 1, 0) > 0 && (terminal.revents & POLLIN)) return false;
    return tcflush(STDIN_FILENO, TCIFLUSH) == 0;
}

void console_interrupted() {
    if (!redraw_wanted) return;
    redraw_wanted = 0;
    bool discarded = discard_unentered_line();
    show(nullptr, 0, false);
    if (discarded) write_out("\a", 1);
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

void console_exit_below(int status) {
    console_flush();
    reset_screen_attributes(true);
    std::exit(status);
}
