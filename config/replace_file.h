// Saving Korvel's files so that an administrator never loses one: each file
// keeps its identity (mode, owner, group, hard links, a bind mount, a
// symbolic link's target), and a save changes all its files or none.
//
// A save has two phases. Staging produces each file's bytes in memory and
// puts them on disk without touching the old file: in a temporary file
// beside it, which is renamed over it later, or, where a rename would change
// the file's identity, in the space reserved inside the old file beyond its
// content. Only when every file is staged does the commit put them in place.
//
// The directory lock and the record of what was read live here too: the
// editor holds the lock while it runs, and before a save asks about files
// that changed on disk since it read them.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/types.h>

#include "config/files.h"

// The file operations a save makes that can fail or take long: tests swap
// them to make any of them fail or stall.
extern ssize_t (*SaveWrite)(int descriptor, const void *bytes, size_t size, off_t offset);
extern int (*SaveSync)(int descriptor);
extern int (*SaveRename)(const char *from, const char *to);

// Writes all of `bytes` at `offset` through SaveWrite. 0 or the error number.
int write_all(int descriptor, const char *bytes, size_t size, off_t offset);
// Reserves room for `size` bytes in an open file, so that writing them
// cannot find the disk full, without moving its end where the file system
// allows. 0 or the error number.
int reserve_space(int descriptor, off_t size);
// Syncs the directory `path` through SaveSync, which makes the renames and
// removals in it durable. 0 or the error number.
int sync_directory(const char *path);
// The directory part of `path`, with its "/" ("." when it has none).
std::string directory_part(const std::string &path);

struct ReplaceFile {
    FILE *stream = nullptr;  // the writer prints into memory
    char *bytes = nullptr;
    size_t size = 0;
    int error = 0;             // the first error number met, 0 while all is well
    char target[4096] = "";    // the file finally replaced (a symbolic link's target)
    char temporary[4096] = ""; // the staged copy beside it, renamed into place
    int descriptor = -1;       // the target itself, open, when rewritten in place
    off_t old_size = 0;        // its length before the save, to undo a reservation
    bool follow_links = true;  // false: a symbolic link at the path is replaced, not its target
    bool placed = false;       // the target has begun to change: renamed over, or written into
};

// Prepares to replace `path`: symbolic links are followed unless
// `follow_links` is false, the new text is gathered in memory. 0, or the
// error number (then nothing is kept).
int replace_open(ReplaceFile &file, const char *path, bool follow_links = true);
// Writes bytes of the new text; after an error nothing more.
void replace_write(ReplaceFile &file, const void *bytes, size_t size);
// Stages and commits one file on its own. 0, or the error number.
int replace_save(ReplaceFile &file);
// Puts the new bytes on disk beside or inside the old file, synced, without
// changing the old content. 0, or the error number (then nothing changed and
// nothing is left behind).
int replace_stage(ReplaceFile &file);
// Puts a staged file in place and makes that durable. 0, or the error
// number (`placed` says whether the target changed all the same).
int replace_commit(ReplaceFile &file);
// Forgets a file that is not to be committed: removes its temporary, gives
// back its reservation. Safe to call on any file, any number of times.
void replace_discard(ReplaceFile &file);

// Takes the exclusive lock of a Korvel directory (ending in "/"), held until
// the process ends, and then finishes a save another process left
// unfinished (LastRecovery says what it found). 0, EWOULDBLOCK when another
// process holds it, or another error number.
int lock_directory(const char *directory, int wait_seconds = 0);
// With `wait_seconds` above 0 it waits that long for the lock, below 0 as
// long as it takes. The process holding the lock of `directory`, and its
// name in `name` (0 and "" when that cannot be told).
long lock_holder(const char *directory, char *name, size_t size);

// The files a save may write, as they were read.
constexpr int kWatchedFiles = 14;
extern const char *const kWatchedNames[kWatchedFiles];
// Remembers each watched file of `directory` as it is now: its bytes and
// which file it is. A load of that directory parses these bytes.
void remember_files(const char *directory);
// What remember_files kept of the watched file `name` when it last looked
// at `directory`; null when it did not look there.
const FileBytes *remembered_file(const char *directory, const char *name);
// 0 when watched file `index` is as remembered; kChangedOnDisk when it
// changed, appeared, vanished or another file took its name; or the error
// number of reading it.
// `reserved`: the length a save of this file rewritten in place reserved.
constexpr int kChangedOnDisk = -1;
int file_changed(const char *directory, int index, size_t reserved = 0);
// Compares every watched file of the directory last remembered with what
// was remembered, just before the commit point of the save that staged
// `staged`: 0 when all are as they were (or nothing was remembered), else
// the first file_changed result, with the files it concerns in ChangedFiles.
int outside_changes(const ReplaceFile *staged, int count);
extern char ChangedFiles[256];
