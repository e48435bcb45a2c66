// The terminal as the administrator left it, every way out of the program,
// and the frame on the screen.
//
// console_start saves the terminal state once, at start, so that whatever the
// screens switch ("stty -echo -icanon", hidden cursor, colours) is undone on a
// normal exit, on SIGINT, SIGTERM, SIGHUP and SIGQUIT, at the end of input,
// and while the editor is stopped with Ctrl-Z.
//
// On a terminal, screen output is held until the program waits (for a key, a
// pause, a command) and then written as it is where the frame it belongs to
// (the bytes since the screen was last cleared) fits the window. Where it
// does not, the window shows the part of the frame around the cursor (the
// marker, or the prompt of an entry), rows cut at its width; below 40
// columns or 12 lines a notice with the sizes stands in for it. Keys act as
// usual either way. The frame is kept, to be drawn again, from its own
// colours, after a resize or after Ctrl-Z and fg.
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
// The same on a fresh line below what the screen shows, in normal colours,
// wherever the cursor stood in it (at the end of input: in a menu line).
[[noreturn]] void console_exit_below(int status);

// Writes what the screens printed since the last call: as it is, the view
// of the part around the cursor, or the notice.
void console_flush();
// Called with each byte read from the terminal: what it echoes of a line
// belongs to the frame on the screen.
void console_typed(int c);
// Called when a wait for input was interrupted by a signal: after a resize or
// a continue, the frame (or the notice) is written again. A line being typed
// then is discarded, with the bell: the screen no longer shows it.
void console_interrupted();
