#include "config/replace_file.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Follows symbolic links from `path` (in place), so that the link stays and
// its target is replaced. A dangling link resolves to the file it names.
static int resolve_links(char *path, size_t size) {
    for (int depth = 0; depth < 40; ++depth) {
        struct stat state;
        if (lstat(path, &state) != 0 || !S_ISLNK(state.st_mode)) return 0;
        char link[PATH_MAX];
        ssize_t length = readlink(path, link, sizeof link - 1);
        if (length < 0) return errno;
        link[length] = '\0';
        char next[PATH_MAX];
        const char *slash = std::strrchr(path, '/');
        int written;
        if (link[0] == '/' || !slash) {
            written = std::snprintf(next, sizeof next, "%s", link);
        } else {
            written = std::snprintf(next, sizeof next, "%.*s/%s", static_cast<int>(slash - path), path, link);
        }
        if (written < 0 || static_cast<size_t>(written) >= size) return ENAMETOOLONG;
        std::memcpy(path, next, static_cast<size_t>(written) + 1);
    }
    return ELOOP;
}

static int fail(ReplaceFile &file, int error) {
    if (file.stream) std::fclose(file.stream);
    file.stream = nullptr;
    if (file.temporary[0]) unlink(file.temporary);
    file.error = error;
    return error;
}

int replace_open(ReplaceFile &file, const char *path) {
    file = ReplaceFile();
    if (std::snprintf(file.target, sizeof file.target, "%s", path) >= static_cast<int>(sizeof file.target)) {
        return ENAMETOOLONG;
    }
    if (int error = resolve_links(file.target, sizeof file.target)) return error;

    struct stat old;
    bool exists = stat(file.target, &old) == 0;
    if (exists) {
        // What could not be opened for writing in place is not replaced either.
        if (S_ISDIR(old.st_mode)) return EISDIR;
        if (access(file.target, W_OK) != 0) return errno;
    }

    const char *slash = std::strrchr(file.target, '/');
    int directory_length = slash ? static_cast<int>(slash - file.target + 1) : 0;
    const char *base = file.target + directory_length;
    if (std::snprintf(file.temporary, sizeof file.temporary, "%.*s.%s.XXXXXX", directory_length, file.target,
                      base) >= static_cast<int>(sizeof file.temporary)) {
        file.temporary[0] = '\0';
        return ENAMETOOLONG;
    }
    int descriptor = mkstemp(file.temporary);
    if (descriptor < 0) {
        file.temporary[0] = '\0';
        return errno;
    }

    mode_t mode;
    if (exists) {
        // Owner first: changing it may clear set-id bits that the mode then
        // restores. Only a privileged process may give a file away; anyone
        // else keeps the new file as their own.
        if (fchown(descriptor, old.st_uid, old.st_gid) != 0) errno = 0;
        mode = old.st_mode & 07777;
    } else {
        mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    if (fchmod(descriptor, mode) != 0) {
        int error = errno;
        close(descriptor);
        return fail(file, error);
    }
    file.stream = fdopen(descriptor, "w");
    if (!file.stream) {
        int error = errno;
        close(descriptor);
        return fail(file, error);
    }
    return 0;
}

void replace_printf(ReplaceFile &file, const char *format, ...) {
    if (file.error || !file.stream) return;
    va_list args;
    va_start(args, format);
    errno = 0;
    if (std::vfprintf(file.stream, format, args) < 0) file.error = errno ? errno : EIO;
    va_end(args);
}

int replace_commit(ReplaceFile &file) {
    if (!file.stream) return file.error ? file.error : EBADF;
    if (file.error) return fail(file, file.error);
    if (std::fflush(file.stream) != 0 || fsync(fileno(file.stream)) != 0) return fail(file, errno ? errno : EIO);
    FILE *stream = file.stream;
    file.stream = nullptr;
    if (std::fclose(stream) != 0) return fail(file, errno ? errno : EIO);
    if (rename(file.temporary, file.target) != 0) return fail(file, errno);
    file.temporary[0] = '\0';

    // Make the rename itself durable.
    char directory[sizeof file.target];
    const char *slash = std::strrchr(file.target, '/');
    std::snprintf(directory, sizeof directory, "%.*s", slash ? static_cast<int>(slash - file.target + 1) : 1,
                  slash ? file.target : ".");
    int descriptor = open(directory, O_RDONLY | O_DIRECTORY);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
    return 0;
}
