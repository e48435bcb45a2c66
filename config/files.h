// Where the editor's files are and how they are opened: the program's own
// directory, a reading open that never waits on a FIFO or a device, and the
// first file a start could not read.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/types.h>

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

// Why a file could not be taken, beside the error numbers: it is a FIFO, a
// device or a socket; a language file has no section of this program.
constexpr int kNotRegular = -1;
constexpr int kNoSection = -2;

// A file read whole. Every reader parses such bytes, so that a file is read
// once: what a start parsed is what a save later compares the disk with.
struct FileBytes {
    bool existed = false;  // something has the name (a directory or a FIFO too)
    int error = 0;         // the error number of opening or reading it; 0 when read
    bool regular = false;  // only a regular file is read
    bool directory = false;
    dev_t device = 0;      // which file it is, when regular
    ino_t inode = 0;
    std::string bytes;
};
// Reads `path` whole, never waiting on a FIFO or a device.
FileBytes read_file_bytes(const char *path);
// Why a reader cannot take `file`: 0 when it was read; else ENOENT when
// there is no such file, EISDIR for a directory, kNotRegular, or the error
// number of opening or reading it.
int unreadable(const FileBytes &file);
// Every read of a file's bytes: tests swap it to make reads fail.
extern ssize_t (*FileRead)(int descriptor, void *bytes, size_t size);

// The next line of the bytes from `at` to `end` as fgets reads it into
// `line`: at most size - 1 bytes, up to and with the line end, terminated.
// False at the end of the bytes, `line` then untouched.
bool next_line(const char *&at, const char *end, char *line, size_t size);

// The first file a start could not read, and why (an error number,
// kNotRegular or kNoSection); for the message on standard error.
extern char UnreadablePath[kProgramDirSize + 32];
extern int UnreadableError;
// Why, in words: "not a regular file", "no [Corvane] section" or strerror's.
const char *UnreadableReason();
// Notes a file that exists but cannot be read, unless one is noted already.
void note_unreadable(const char *path, int error);
