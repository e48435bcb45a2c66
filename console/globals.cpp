#include "console/globals.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

char ProgramDir[kProgramDirSize] = "./";
unsigned char bDebug = 0;
unsigned char bDebugLog = 0;
char UnreadablePath[kProgramDirSize + 32];
int UnreadableError = 0;

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
