// Where the editor's files are and how they are opened: the program's own
// directory, a reading open that never waits on a FIFO or a device, and the
// first file a start could not read.
#pragma once

#include <cstddef>
#include <cstdio>

// The editor's own directory, always ending in "/". Every file the editor
// touches is ProgramDir followed by a file name. Set once by start-up,
// through set_program_dir.
constexpr unsigned kProgramDirSize = 256;
extern char ProgramDir[kProgramDirSize];

// Makes `directory` (ending in "/") the program directory, and the place of
// the debug trace. False, with nothing changed, when it does not fit.
bool set_program_dir(const char *directory);

// The directory part of the program's path `path`, ending in "/" ("./" when
// the path has none), into `out`. False when it does not fit in `size`.
bool getprgdir(const char *path, char *out, size_t size);

// Opens `path` for reading when it is a regular file, never waiting on a
// FIFO or a device. Null when it is not: *error is then ENOENT when there is
// no such file, EISDIR for a directory, kNotRegular for a FIFO, device or
// socket, or the error number of the open.
constexpr int kNotRegular = -1;
constexpr int kNoSection = -2;  // a language file without this program's section
FILE *open_regular(const char *path, int *error);

// The first file a start could not read, and why (an error number,
// kNotRegular or kNoSection); for the message on standard error.
extern char UnreadablePath[kProgramDirSize + 32];
extern int UnreadableError;
// Why, in words: "not a regular file", "no [Corvane] section" or strerror's.
const char *UnreadableReason();
// Notes a file that exists but cannot be read, unless one is noted already.
void note_unreadable(const char *path, int error);
