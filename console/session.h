// The terminal as the administrator left it, and every way out of the program.
//
// console_start saves the terminal state once, at start, so that whatever the
// screens switch ("stty -echo -icanon", hidden cursor, colours) is undone on a
// normal exit, on SIGINT, SIGTERM, SIGHUP and SIGQUIT, and at the end of input.
#pragma once

// Saves the terminal state (when standard input is a terminal), arranges for
// it to be restored at exit, and installs the signal handlers. Call once,
// before anything changes the terminal.
void console_start();

// Puts the terminal back as it was at console_start: echo and line mode,
// cursor shown, normal colours. Does nothing when nothing was saved.
void console_restore();

// Flushes screen output and ends the program with `status`, restoring the
// terminal on the way.
[[noreturn]] void console_exit(int status);
