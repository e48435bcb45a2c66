#include "config/files.h"

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

FILE *open_regular(const char *path, int *error) {
    int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat state;
    if (descriptor < 0 || fstat(descriptor, &state) != 0) {
        *error = errno;
        if (descriptor >= 0) close(descriptor);
        return nullptr;
    }
    if (!S_ISREG(state.st_mode)) {
        close(descriptor);
        *error = S_ISDIR(state.st_mode) ? EISDIR : kNotRegular;
        return nullptr;
    }
    // Reads from a regular file never wait; blocking reads again all the same.
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    FILE *file = fdopen(descriptor, "r");
    if (!file) {
        *error = errno;
        close(descriptor);
    }
    return file;
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
