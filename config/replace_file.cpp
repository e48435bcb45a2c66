#include "config/replace_file.h"

#include "config/journal.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/sysmacros.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

static ssize_t write_at(int descriptor, const void *bytes, size_t size, off_t offset) {
    return pwrite(descriptor, bytes, size, offset);
}

ssize_t (*SaveWrite)(int, const void *, size_t, off_t) = write_at;
int (*SaveSync)(int) = fsync;
int (*SaveRename)(const char *, const char *) = rename;

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

std::string directory_part(const std::string &path) {
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

int write_all(int descriptor, const char *bytes, size_t size, off_t offset) {
    while (size > 0) {
        ssize_t n = SaveWrite(descriptor, bytes, size, offset);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n < 0 ? errno : EIO;
        bytes += n;
        size -= static_cast<size_t>(n);
        offset += n;
    }
    return 0;
}

// The file at the target as a save sees it: a symbolic link that is to be
// replaced, not followed, counts as no file.
static bool look_at(const ReplaceFile &file, struct stat &state) {
    if (file.follow_links) return stat(file.target, &state) == 0;
    return lstat(file.target, &state) == 0 && !S_ISLNK(state.st_mode);
}

int replace_open(ReplaceFile &file, const char *path, bool follow_links) {
    replace_discard(file);
    file = ReplaceFile();
    file.follow_links = follow_links;
    if (std::snprintf(file.target, sizeof file.target, "%s", path) >= static_cast<int>(sizeof file.target)) {
        return ENAMETOOLONG;
    }
    if (follow_links) {
        if (int error = resolve_links(file.target, sizeof file.target)) return error;
    }
    struct stat old;
    if (look_at(file, old) && S_ISDIR(old.st_mode)) return EISDIR;
    file.stream = open_memstream(&file.bytes, &file.size);
    return file.stream ? 0 : errno;
}

void replace_write(ReplaceFile &file, const void *bytes, size_t size) {
    if (file.error || !file.stream) return;
    if (std::fwrite(bytes, 1, size, file.stream) != size) file.error = errno ? errno : ENOMEM;
}

static int fail(ReplaceFile &file, int error) {
    replace_discard(file);
    file.error = error;
    return error;
}

int reserve_space(int descriptor, off_t size) {
    // Beyond the end without moving it: a process killed now leaves the old
    // file as it was. Where that cannot be, the end moves.
    int error = fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, size) == 0 ? 0 : errno;
    return error == EOPNOTSUPP ? posix_fallocate(descriptor, 0, size) : error;
}

int sync_directory(const char *path) {
    int descriptor = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    int error = SaveSync(descriptor) == 0 ? 0 : errno;
    close(descriptor);
    return error;
}

// Rewriting in place: the space the new text needs beyond the old one is
// reserved first, so that no later write can find the disk full.
static int stage_in_place(ReplaceFile &file) {
    // Read access too where there is any: a file system that cannot reserve
    // space has it emulated, which reads before it writes.
    file.descriptor = open(file.target, O_RDWR | O_CLOEXEC);
    if (file.descriptor < 0 && errno == EACCES) file.descriptor = open(file.target, O_WRONLY | O_CLOEXEC);
    struct stat state;
    if (file.descriptor < 0 || fstat(file.descriptor, &state) != 0) return errno;
    file.old_size = state.st_size;
    if (static_cast<off_t>(file.size) > file.old_size) {
        if (int error = reserve_space(file.descriptor, static_cast<off_t>(file.size))) return error;
        if (SaveSync(file.descriptor) != 0) return errno;
    }
    return 0;
}

// Whether the new file made beside the old one can take its place: the same
// owner and group (only those a process may give away) and no other name.
static bool rename_keeps_identity(int temporary, const struct stat &old) {
    if (old.st_nlink > 1) return false;
    return fchown(temporary, old.st_uid, old.st_gid) == 0;
}

// Gives the staged copy every extended attribute of the file it replaces:
// POSIX ACLs and security labels among them. False when one cannot be given.
static bool copy_attributes(const char *target, int descriptor) {
    ssize_t length = listxattr(target, nullptr, 0);
    if (length < 0) return errno == ENOTSUP;  // a file system without them has none to lose
    std::string names(static_cast<size_t>(length), '\0');
    length = listxattr(target, &names[0], names.size());
    if (length < 0) return false;
    names.resize(static_cast<size_t>(length));
    for (size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
        const char *name = &names[at];
        ssize_t size = getxattr(target, name, nullptr, 0);
        std::string value(size > 0 ? static_cast<size_t>(size) : 0, '\0');
        if (size < 0 || getxattr(target, name, &value[0], value.size()) != size) return false;
        if (fsetxattr(descriptor, name, value.data(), value.size(), 0) != 0) return false;
    }
    return true;
}

int replace_stage(ReplaceFile &file) {
    if (!file.stream) return file.error ? file.error : EBADF;
    FILE *stream = file.stream;
    file.stream = nullptr;
    if (std::fclose(stream) != 0 && !file.error) file.error = errno ? errno : ENOMEM;
    if (file.error) return fail(file, file.error);

    struct stat old;
    bool exists = look_at(file, old);
    if (exists && !S_ISREG(old.st_mode)) return fail(file, S_ISDIR(old.st_mode) ? EISDIR : EINVAL);
    if (exists && access(file.target, W_OK) != 0) return fail(file, errno);
    if (exists && access(directory_part(file.target).c_str(), W_OK) != 0) {
        int error = stage_in_place(file);
        return error ? fail(file, error) : 0;
    }

    const char *base = std::strrchr(file.target, '/');
    base = base ? base + 1 : file.target;
    if (std::snprintf(file.temporary, sizeof file.temporary, "%.*s.%s.XXXXXX", static_cast<int>(base - file.target),
                      file.target, base) >= static_cast<int>(sizeof file.temporary)) {
        file.temporary[0] = '\0';
        return fail(file, ENAMETOOLONG);
    }
    int descriptor = mkostemp(file.temporary, O_CLOEXEC);
    if (descriptor < 0) {
        file.temporary[0] = '\0';
        return fail(file, errno);
    }
    if (exists && !rename_keeps_identity(descriptor, old)) {
        close(descriptor);
        unlink(file.temporary);
        file.temporary[0] = '\0';
        int error = stage_in_place(file);
        return error ? fail(file, error) : 0;
    }
    mode_t mode;
    if (exists) {
        mode = old.st_mode & 07777;  // after the owner: a new owner may clear set-id bits
    } else {
        mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    int error = fchmod(descriptor, mode) != 0 ? errno : 0;
    if (!error && exists && !copy_attributes(file.target, descriptor)) {
        // What the new file cannot carry (an ACL, a security label), the old one keeps.
        close(descriptor);
        unlink(file.temporary);
        file.temporary[0] = '\0';
        error = stage_in_place(file);
        return error ? fail(file, error) : 0;
    }
    if (!error) error = write_all(descriptor, file.bytes, file.size, 0);
    if (!error && SaveSync(descriptor) != 0) error = errno;
    if (close(descriptor) != 0 && !error) error = errno;
    return error ? fail(file, error) : 0;
}

// Overwrites the target with the new bytes and cuts it to their length.
static int overwrite(ReplaceFile &file) {
    file.placed = true;  // from its first write on, the old text is no more
    if (int error = write_all(file.descriptor, file.bytes, file.size, 0)) return error;
    if (ftruncate(file.descriptor, static_cast<off_t>(file.size)) != 0 || SaveSync(file.descriptor) != 0) return errno;
    int descriptor = file.descriptor;
    file.descriptor = -1;
    return close(descriptor) != 0 ? errno : 0;
}

int replace_commit(ReplaceFile &file) {
    int error = 0;
    if (file.descriptor >= 0) {
        error = overwrite(file);
    } else if (file.temporary[0]) {
        if (SaveRename(file.temporary, file.target) == 0) {
            file.temporary[0] = '\0';
            file.placed = true;
            error = sync_directory(directory_part(file.target).c_str());  // the rename is not saved until it is durable
        } else if (errno == EBUSY || errno == EXDEV) {
            // A file mounted on its own cannot be renamed over: rewritten in
            // place instead, its space reserved before anything changes.
            error = stage_in_place(file);
            if (!error) error = overwrite(file);
        } else {
            error = errno;
        }
    } else {
        error = file.error ? file.error : EBADF;
    }
    if (error) return fail(file, error);
    replace_discard(file);
    return 0;
}

int replace_save(ReplaceFile &file) {
    int error = replace_stage(file);
    return error ? error : replace_commit(file);
}

void replace_discard(ReplaceFile &file) {
    if (file.stream) std::fclose(file.stream);
    file.stream = nullptr;
    if (file.temporary[0]) unlink(file.temporary);
    file.temporary[0] = '\0';
    if (file.descriptor >= 0) {
        // A reservation that grew the file is given back.
        struct stat state;
        if (fstat(file.descriptor, &state) == 0 && state.st_size > file.old_size) ftruncate(file.descriptor, file.old_size);
        close(file.descriptor);
    }
    file.descriptor = -1;
    std::free(file.bytes);
    file.bytes = nullptr;
    file.size = 0;
}

int lock_directory(const char *directory, int wait_seconds) {
    int descriptor = open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    // A wait with an end: the alarm interrupts the waiting flock (no restart).
    struct sigaction wake {}, before {};
    wake.sa_handler = [](int) {};
    if (wait_seconds > 0) sigaction(SIGALRM, &wake, &before), alarm(static_cast<unsigned>(wait_seconds));
    int error = flock(descriptor, LOCK_EX | (wait_seconds == 0 ? LOCK_NB : 0)) == 0 ? 0 : errno;
    if (wait_seconds > 0) alarm(0), sigaction(SIGALRM, &before, nullptr);
    if (!error) {
        // The lock is ours: a save another process left unfinished is finished first.
        LastRecoveryError = recover_directory(directory, LastRecovery);
        return 0;  // kept open: the lock lasts as long as the process
    }
    close(descriptor);
    return error == EINTR ? EWOULDBLOCK : error;
}

long lock_holder(const char *directory, char *name, size_t size) {
    struct stat state;
    std::FILE *locks = stat(directory, &state) == 0 ? std::fopen("/proc/locks", "r") : nullptr;
    long holder = 0;
    char line[256], type[16];
    unsigned major = 0, minor = 0;
    unsigned long inode = 0;
    long pid = 0;
    while (locks && !holder && std::fgets(line, sizeof line, locks)) {
        if (std::sscanf(line, "%*d: %15s %*s %*s %ld %x:%x:%lu", type, &pid, &major, &minor, &inode) == 5 &&
            std::strcmp(type, "FLOCK") == 0 && inode == state.st_ino && makedev(major, minor) == state.st_dev) {
            holder = pid;
        }
    }
    if (locks) std::fclose(locks);
    name[0] = '\0';
    std::snprintf(line, sizeof line, "/proc/%ld/comm", holder);
    std::FILE *comm = holder ? std::fopen(line, "r") : nullptr;
    if (comm && std::fgets(name, static_cast<int>(size), comm)) name[std::strcspn(name, "\n")] = '\0';
    if (comm) std::fclose(comm);
    return holder;
}

const char *const kWatchedNames[kWatchedFiles] = {
    "korvel.ini",   "jobs.ini",     "jobsSTS.ini",  "sensor.ini",   "group_00.ini", "group_01.ini", "group_02.ini",
    "group_03.ini", "group_04.ini", "group_05.ini", "group_06.ini", "group_07.ini", "group_08.ini", "group_09.ini"};

namespace {

FileBytes seen[kWatchedFiles];
char seen_directory[PATH_MAX];  // "" until remember_files

FileBytes read_watched(const char *directory, int index) {
    char path[PATH_MAX];
    std::snprintf(path, sizeof path, "%s%s", directory, kWatchedNames[index]);
    return read_file_bytes(path);
}

}  // namespace

void remember_files(const char *directory) {
    std::snprintf(seen_directory, sizeof seen_directory, "%s", directory);
    for (int i = 0; i < kWatchedFiles; ++i) seen[i] = read_watched(directory, i);
}

const FileBytes *remembered_file(const char *directory, const char *name) {
    if (!seen_directory[0] || std::strcmp(seen_directory, directory) != 0) return nullptr;
    for (int i = 0; i < kWatchedFiles; ++i) {
        if (std::strcmp(kWatchedNames[i], name) == 0) return &seen[i];
    }
    return nullptr;
}

int file_changed(const char *directory, int index, size_t reserved) {
    FileBytes now = read_watched(directory, index);
    const FileBytes &before = seen[index];
    // Where the space could only be reserved by moving the end, the file
    // rewritten in place ends in zeros up to the new text's length: ours.
    if (now.bytes.size() > before.bytes.size() && now.bytes.size() <= reserved && now.inode == before.inode &&
        std::all_of(now.bytes.begin() + static_cast<std::ptrdiff_t>(before.bytes.size()), now.bytes.end(), [](char byte) { return byte == 0; })) {
        now.bytes.resize(before.bytes.size());
    }
    if (now.error && now.error != before.error) return now.error;  // a read error is no change: it is said as what it is
    bool same = now.existed == before.existed && now.device == before.device && now.inode == before.inode && now.bytes == before.bytes;
    return same ? 0 : kChangedOnDisk;
}

char ChangedFiles[256];

int outside_changes(const ReplaceFile *staged, int count) {
    ChangedFiles[0] = '\0';
    int first = 0;
    for (int i = 0; i < kWatchedFiles && seen_directory[0]; ++i) {
        size_t reserved = 0;
        for (int k = 0; k < count; ++k) {
            struct stat state;
            if (staged[k].descriptor >= 0 && fstat(staged[k].descriptor, &state) == 0 && state.st_ino == seen[i].inode &&
                state.st_dev == seen[i].device) {
                reserved = staged[k].size;
            }
        }
        int result = file_changed(seen_directory, i, reserved);
        if (!result || (first && result != first)) continue;
        if (!first) first = result;
        size_t used = std::strlen(ChangedFiles);
        std::snprintf(ChangedFiles + used, sizeof ChangedFiles - used, "%s%s", used ? " " : "", kWatchedNames[i]);
    }
    return first;
}
