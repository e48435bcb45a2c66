#include "config/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "console/terminal.h"

char ProgramDir[kProgramDirSize] = "./";
char UnreadablePath[kProgramDirSize + 32];
int UnreadableError = 0;

bool set_program_dir(const char *directory) {
    if (std::strlen(directory) >= kProgramDirSize) return false;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", directory);
    char trace[kProgramDirSize + 16];
    std::snprintf(trace, sizeof trace, "%s%s%s", ProgramDir, "debugs", ".log");
    set_trace_file(trace);
    return true;
}

bool getprgdir(const char *path, char *out, size_t size) {
    const char *slash = std::strrchr(path, '/');
    int written = slash ? std::snprintf(out, size, "%.*s/", static_cast<int>(slash - path), path)
                        : std::snprintf(out, size, "./");
    return written >= 0 && static_cast<size_t>(written) < size;
}

ssize_t (*FileRead)(int, void *, size_t) = read;

FileBytes read_file_bytes(const char *path) {
    FileBytes file;
    int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        file.existed = errno != ENOENT;
        file.error = file.existed ? errno : 0;
        return file;
    }
    file.existed = true;
    struct stat state;
    if (fstat(descriptor, &state) != 0) {
        file.error = errno;
    } else if (S_ISREG(state.st_mode)) {
        file.regular = true, file.device = state.st_dev, file.inode = state.st_ino;
        // The size is a hint: a file that grows meanwhile is read to its end.
        std::string &bytes = file.bytes;
        bytes.resize(static_cast<size_t>(state.st_size) + 1);
        size_t used = 0;
        for (;;) {
            if (used == bytes.size()) bytes.resize(2 * used);
            ssize_t n = FileRead(descriptor, &bytes[used], bytes.size() - used);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) file.error = errno;
            if (n <= 0) break;
            used += static_cast<size_t>(n);
        }
        bytes.resize(used);
    } else {
        file.directory = S_ISDIR(state.st_mode);
    }
    close(descriptor);
    return file;
}

int unreadable(const FileBytes &file) {
    if (!file.existed) return ENOENT;
    if (file.error) return file.error;
    return file.directory ? EISDIR : file.regular ? 0 : kNotRegular;
}

bool next_line(const char *&at, const char *end, char *line, size_t size) {
    if (at >= end || size < 2) return false;
    size_t room = std::min(static_cast<size_t>(end - at), size - 1);
    const void *newline = std::memchr(at, '\n', room);
    size_t length = newline ? static_cast<size_t>(static_cast<const char *>(newline) - at) + 1 : room;
    std::memcpy(line, at, length);
    line[length] = '\0';
    at += length;
    return true;
}

void note_unreadable(const char *path, int error) {
    if (UnreadableError) return;
    std::snprintf(UnreadablePath, sizeof UnreadablePath, "%s", path);
    UnreadableError = error;
}

const char *UnreadableReason() {
    return UnreadableError == kNotRegular  ? "not a regular file"
           : UnreadableError == kNoSection ? "no [Corvane] section"
                                           : std::strerror(UnreadableError);
}
