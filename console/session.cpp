#include "console/session.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <termios.h>
#include <unistd.h>

#include "console/terminal.h"

static struct termios saved_state;
static volatile sig_atomic_t state_saved = 0;
static volatile sig_atomic_t output_is_terminal = 0;

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
    // terminal is usable again.
    restore_terminal_state();
    reset_screen_attributes(true);
    raise(signal_number);
}

void console_restore() {
    fflush(console_stream());
    restore_terminal_state();
    reset_screen_attributes(false);
}

void console_start() {
    // A whole screen goes out in one write when the program waits for a key
    // (every wait flushes), rather than line by line: no flicker on slow links.
    static char screen_buffer[1 << 16];
    std::setvbuf(stdout, screen_buffer, _IOFBF, sizeof screen_buffer);
    if (isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &saved_state) == 0) state_saved = 1;
    output_is_terminal = isatty(STDOUT_FILENO);
    std::atexit(console_restore);

    struct sigaction action {};
    action.sa_handler = on_fatal_signal;
    action.sa_flags = SA_RESETHAND | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int signal_number : kFatalSignals) sigaction(signal_number, &action, nullptr);
}

void console_exit(int status) {
    fflush(console_stream());
    std::exit(status);
}
