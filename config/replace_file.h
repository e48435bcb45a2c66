// Writing a file so that it is either wholly replaced or left exactly as it
// was: the text goes to a temporary file beside it, every write is checked,
// the data is flushed and synced, and only then is the temporary renamed
// over the old file. A full disk half-way through loses nothing.
#pragma once

#include <cstdio>

struct ReplaceFile {
    FILE *stream = nullptr;
    int error = 0;  // the first error number met, 0 while all is well
    char temporary[4096] = "";
    char target[4096] = "";  // the file finally replaced (a symbolic link's target)
};

// Prepares to replace `path`. 0, or the error number when the file could not
// be opened for writing (then nothing is created and nothing changes).
int replace_open(ReplaceFile &file, const char *path);
// Writes formatted text; after an error it writes nothing more.
void replace_printf(ReplaceFile &file, const char *format, ...) __attribute__((format(printf, 2, 3)));
// Puts the new file in place, keeping the old one's permission bits and
// owner. 0, or the first error number; on an error the old file stays as it
// was and the temporary is removed.
int replace_commit(ReplaceFile &file);
