// Program-wide state shared by every module. Each global has one owner that
// writes it; everyone else only reads.
#pragma once

#include <cstdio>

// The editor's own directory, always ending in "/". Every file the editor
// touches is ProgramDir followed by a file name. Set once by start-up.
constexpr unsigned kProgramDirSize = 256;
extern char ProgramDir[kProgramDirSize];

// Debug trace switches of printfc: bDebug echoes the trace to the screen,
// bDebugLog appends it to debugs.log. Both stay 0 in normal use.
extern unsigned char bDebug;
extern unsigned char bDebugLog;

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
