// The terminal as the administrator left it, every way out of the program,
// and the frame on the screen.
//
// console_start saves the terminal state once, at start, so that whatever the
// screens switch ("stty -echo -icanon", hidden cursor, colours) is undone on a
// normal exit, on SIGINT, SIGTERM, SIGHUP and SIGQUIT, at the end of input,
// and while the editor is stopped with Ctrl-Z.
//
// On a terminal, screen output is held until the program waits (for a key, a
// pause, a command) and then written only if the frame it belongs to (the
// bytes since the screen was last cleared) fits the window; otherwise a
// notice with the sizes stands in for it, and keys are ignored until the
// window is large enough. The frame is kept, to be drawn again after a resize
// or after Ctrl-Z and fg.
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

// Writes what the screens printed since the last call: as it is, or the
// notice while the frame does not fit the window.
void console_flush();
// Whether the notice stands in for the frame: keys are not for the screen then.
bool console_notice_up();
// Called when a wait for input was interrupted by a signal: after a resize or
// a continue, the frame (or the notice) is written again.
void console_interrupted();
// While set, frames are written whatever their size (a long list that is
// meant to scroll).
extern bool ConsoleFrameMayScroll;
