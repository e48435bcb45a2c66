// The store's writers: the full-size directory must come back byte for byte,
// and a save keeps each file and changes all or none.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <tuple>
#include <string>
#include <grp.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <sys/wait.h>
#include <unistd.h>

#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/history.h"
#include "config/journal.h"
#include "config/limits.h"
#include "config/record.h"
#include "config/replace_file.h"
#include "config/files.h"
#include "support/fixtures.h"

namespace {

const std::string kFull = std::string(CORVANE_TEST_DATA) + "full";
const char *const kFullFiles[] = {"korvel.ini",   "jobs.ini",     "jobsSTS.ini",  "sensor.ini",   "group_00.ini",
                                  "group_01.ini", "group_02.ini", "group_03.ini", "group_04.ini", "group_05.ini",
                                  "group_06.ini", "group_07.ini", "group_08.ini", "group_09.ini"};

// Runs `save` in a child process, as an unprivileged user when the tests run
// as root (so that permissions apply), and returns its result.
int in_child(const std::function<int()> &save, bool unprivileged, rlim_t file_size_limit = RLIM_INFINITY) {
    pid_t child = fork();
    if (child == 0) {
        if (unprivileged && geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0)) {
            _exit(200);
        }
        if (file_size_limit != RLIM_INFINITY) {
            signal(SIGXFSZ, SIG_IGN);
            struct rlimit limit = {file_size_limit, file_size_limit};
            setrlimit(RLIMIT_FSIZE, &limit);
        }
        _exit(save() & 0xFF);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Nothing of a save is left: no staged copy, and no journal in Corvane's directory.
bool nothing_staged(const ScratchDir &dir, const std::string &name) {
    return name[0] != '.' || (name == ".corvane" && !unfinished_save(dir.path().c_str()));
}

class Writer : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(&INI, 0, sizeof INI);
        actual_section = 255;
    }
    void load_full() {
        dir_.copy_from(kFull);
        ASSERT_EQ(LoadINI(), 0);
    }
    void expect_files_as_before(const char *why) {
        for (const char *name : kFullFiles) EXPECT_EQ(dir_.read(name), read_file(kFull + "/" + name)) << name << ": " << why;
        for (const std::string &name : dir_.list()) EXPECT_TRUE(nothing_staged(dir_, name)) << "temporary file left: " << name;
    }
    ScratchDir dir_;
};

TEST_F(Writer, LoadingAndSavingReproducesEveryFile) {
    load_full();
    ASSERT_EQ(SaveINI(), 0);
    expect_files_as_before("load and save must reproduce it byte for byte");
    EXPECT_EQ(dir_.list().size(), sizeof kFullFiles / sizeof kFullFiles[0] + 1) << "the files and Corvane's own directory";
    // corvanectl stores the save's defaults without producing the files: the same record either way.
    static ConfigRecord stored;
    for (bool zero : {false, true}) {
        if (zero) std::memset(&INI, 0, sizeof INI);
        stored = INI;
        StoreSaveDefaults(stored);
        FileTexts texts;
        ASSERT_EQ(ProduceINI(INI, texts), 0);
        FreeTexts(texts);
        EXPECT_EQ(std::memcmp(&stored, &INI, sizeof INI), 0) << (zero ? "a record of zeros" : "the full-size directory");
    }
}

TEST_F(Writer, ALoadParsesTheBytesTheSaveComparesWith) {
    dir_.copy_from(kFull);
    remember_files(ProgramDir);
    dir_.write("korvel.ini", "[System]\nName=\"Changed meanwhile\"\n");
    ASSERT_EQ(LoadINI(), 0);
    EXPECT_STREQ(INI.System.Name, "Datacenter Brno") << "what was remembered is what is shown";
    EXPECT_EQ(file_changed(ProgramDir, 0), kChangedOnDisk) << "and a save asks before it overwrites the change";
    remember_files("");
}

// The seams of a save, and what a case makes of them.
int failing_file = 0, files_written = 0;  // the write to fail with ENOSPC (1-based), and the count so far
int sync_pipe = -1;                       // told of the first sync, which then takes long
ssize_t write_until_full(int descriptor, const void *bytes, size_t size, off_t offset) {
    if (offset == 0 && ++files_written == failing_file) return errno = ENOSPC, -1;
    return pwrite(descriptor, bytes, size, offset);
}
int slow_sync(int descriptor) {
    if (sync_pipe >= 0 && write(sync_pipe, "s", 1) == 1) usleep(300000);
    sync_pipe = -1;
    return fsync(descriptor);
}
int renames = 0;  // counted by rename_first_two
int rename_first_two(const char *from, const char *to) {
    return ++renames > 2 ? (errno = EIO, -1) : rename(from, to);
}

// Each case prepares the full-size directory, saves it changed (in a child
// process, as nobody where it says so) and looks at what the save did. The
// cases that need root to be set up are a test of their own.
struct SaveCase {
    const char *what;
    bool root_only, as_nobody;
    int result, fail_at;  // fail_at: the n-th file written finds the disk full
    bool changed;
    std::function<void(ScratchDir &)> prepare;
};
const SaveCase kSaveCases[] = {
        {"an administrator in the files' group", true, true, 0, 0, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(chown(dir.path(name).c_str(), 0, 65534), 0);
             ASSERT_EQ(chown(dir.path().c_str(), 0, 65534), 0);
             for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir.path(name).c_str(), 0664), 0);
             ASSERT_EQ(chmod(dir.path().c_str(), 0775), 0);
         }},
        {"a directory he may not write", true, true, 0, 0, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir.path(name).c_str(), 0666), 0);
             ASSERT_EQ(chmod(dir.path().c_str(), 0555), 0);
         }},
        {"a file he may not write", true, true, EACCES, 0, false,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir.path(name).c_str(), 0666), 0);
             ASSERT_EQ(chmod(dir.path("sensor.ini").c_str(), 0644), 0);
             ASSERT_EQ(chmod(dir.path().c_str(), 0777), 0);
         }},
        {"hard links and a symbolic link to a file of one name", false, false, 0, 0, true,
         [](ScratchDir &dir) {
             ASSERT_EQ(rename(dir.path("jobsSTS.ini").c_str(), dir.path("jobsSTS.real").c_str()), 0);
             ASSERT_EQ(symlink("jobsSTS.real", dir.path("jobsSTS.ini").c_str()), 0);
             for (auto name : {"korvel.ini", "jobs.ini", "sensor.ini", "group_09.ini"})
                 ASSERT_EQ(link(dir.path(name).c_str(), dir.path(name).append(".link").c_str()), 0);
         }},
        {"a bind mount", true, false, 0, 0, true,
         [](ScratchDir &dir) {
             ASSERT_EQ(mount(dir.path("korvel.ini").c_str(), dir.path("korvel.ini").c_str(), nullptr, MS_BIND, nullptr), 0);
         }},
        {"a full disk at korvel.ini", false, false, ENOSPC, 1, false, nullptr},
        {"a full disk at jobs.ini", false, false, ENOSPC, 2, false, nullptr},
        {"a full disk at jobsSTS.ini", false, false, ENOSPC, 3, false, nullptr},
        {"a full disk at a group file", false, false, ENOSPC, 9, false, nullptr},
        {"a full disk at sensor.ini", false, false, ENOSPC, 14, false, nullptr},
        {"a full disk at a file rewritten in place", false, false, EFBIG, 0, false,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(link(dir.path(name).c_str(), dir.path(std::string(name) + ".link").c_str()), 0);
         }},
};

void save_cases(bool root_only) {
    for (const auto &c : kSaveCases) {
        if (c.root_only != root_only) continue;
        SCOPED_TRACE(c.what);
        ScratchDir dir;
        dir.copy_from(kFull);
        std::memset(&INI, 0, sizeof INI);
        ASSERT_EQ(LoadINI(), 0);
        std::strcpy(INI.System.Name, "Changed: Datacenter Brno");  // longer: the file grows
        std::strcpy(INI.Group[9].Name, "Changed too");
        if (c.prepare) c.prepare(dir);
        const bool linked = std::filesystem::is_symlink(dir.path("jobsSTS.ini"));
        struct stat before, after;
        ASSERT_EQ(stat(dir.path("korvel.ini").c_str(), &before), 0);
        failing_file = c.fail_at;
        files_written = 0;
        {
            Swap<decltype(SaveWrite)> writes(SaveWrite, write_until_full);
            // Only korvel.ini grows past the limit, and all files are rewritten in place.
            rlim_t limit = c.result == EFBIG ? static_cast<rlim_t>(before.st_size) + 4 : RLIM_INFINITY;
            EXPECT_EQ(in_child(SaveINI, c.as_nobody, limit), c.result);
        }
        ASSERT_EQ(stat(dir.path("korvel.ini").c_str(), &after), 0);
        EXPECT_EQ(dir.read("korvel.ini").find("Name=\"Changed: ") != std::string::npos, c.changed);
        EXPECT_EQ(dir.read("group_09.ini").find("Name=\"Changed too\"") != std::string::npos, c.changed);
        EXPECT_EQ(std::tie(after.st_ino, after.st_uid, after.st_gid, after.st_mode, after.st_nlink),
                  std::tie(before.st_ino, before.st_uid, before.st_gid, before.st_mode, before.st_nlink));
        EXPECT_EQ(std::filesystem::is_symlink(dir.path("jobsSTS.ini")), linked) << "a link stays a link";
        if (!c.changed) {
            for (const char *name : kFullFiles) EXPECT_EQ(dir.read(name), read_file(kFull + "/" + name)) << name;
        }
        for (const std::string &name : dir.list()) EXPECT_TRUE(nothing_staged(dir, name)) << "temporary left: " << name;
        if (c.root_only && std::string(c.what) == "a bind mount") umount(dir.path("korvel.ini").c_str());
    }
}

TEST_F(Writer, ASaveKeepsEachFileAndChangesAllOrNone) { save_cases(false); }

TEST_F(Writer, ASaveKeepsEachFileOfAnotherUserAndAMount) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give files to another user and mount one";
    save_cases(true);
}

TEST_F(Writer, ASignalDuringASaveWaitsForItsEnd) {
    load_full();
    std::strcpy(INI.System.Name, "Changed");
    int notify[2];
    ASSERT_EQ(pipe(notify), 0);
    pid_t child = fork();
    if (child == 0) {
        close(notify[0]);
        sync_pipe = notify[1];
        SaveSync = slow_sync;
        int result = SaveINI();
        for (;;) pause();  // the held signal ends it here, after the save
        _exit(result);
    }
    close(notify[1]);
    char byte;
    ASSERT_EQ(read(notify[0], &byte, 1), 1) << "the save began";
    kill(child, SIGTERM);
    int status = 0;
    waitpid(child, &status, 0);
    close(notify[0]);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_NE(dir_.read("korvel.ini").find("Name=\"Changed\""), std::string::npos) << "the save ended first";
    for (const std::string &name : dir_.list()) EXPECT_TRUE(nothing_staged(dir_, name)) << "temporary left: " << name;

    // A failure after the journal's commit point (its rename) names the new
    // files and those not yet; the next process to take the lock puts them in place.
    {
        renames = 0;
        Swap<decltype(SaveRename)> renaming(SaveRename, rename_first_two);
        std::strcpy(INI.System.Name, "Again");
        std::strcpy(INI.Group[1].Name, "Again too");
        EXPECT_EQ(SaveINI(), EIO);
    }
    EXPECT_STREQ(SavedFiles, "korvel.ini");
    EXPECT_EQ(std::string(UnsavedFiles).substr(0, 21), "jobs.ini jobsSTS.ini ");
    EXPECT_TRUE(unfinished_save(dir_.path().c_str()));
    Recovery found;
    EXPECT_EQ(recover_directory(dir_.path().c_str(), found), 0);
    EXPECT_EQ(found, Recovery::Finished);
    EXPECT_NE(dir_.read("group_01.ini").find("Name=\"Again too\""), std::string::npos);
    for (const std::string &name : dir_.list()) EXPECT_TRUE(nothing_staged(dir_, name)) << "temporary left: " << name;
}

// Faults met by a save that Corvane's editor or corvanectl makes, which
// remember the files first: the first sync of the save is when another
// program acts, and after the commit point syncs of one kind may fail.
std::function<void()> at_first_sync;
mode_t failing_kind = 0;  // S_IFREG or S_IFDIR (then only the Korvel directory's)
int reads_failing = 0;  // the next reads that fail: korvel.ini is read first
int sync_with_faults(int descriptor) {
    if (auto act = at_first_sync) at_first_sync = nullptr, act();
    struct stat state, directory;
    bool failing = failing_kind && unfinished_save(ProgramDir) && fstat(descriptor, &state) == 0 &&
                   (state.st_mode & S_IFMT) == failing_kind && stat(ProgramDir, &directory) == 0 &&
                   (failing_kind == S_IFREG || state.st_ino == directory.st_ino);
    return failing ? (errno = EIO, -1) : fsync(descriptor);
}
ssize_t read_with_faults(int descriptor, void *bytes, size_t size) {
    return reads_failing > 0 && reads_failing-- ? (errno = EIO, -1) : read(descriptor, bytes, size);
}

struct FaultCase {
    const char *what;
    bool in_place;
    std::function<void(ScratchDir &)> meanwhile;  // another program, during the save
    mode_t failing_kind;
    int result;
    const char *failed, *changed;  // the end of FailedPath; SavedFiles
    const char *outcome;           // once recovered: "old", "new" or "theirs" (korvel.ini as the other program left it)
    std::vector<std::string> attributes;  // extended attributes korvel.ini keeps
};
const std::string kTheirs = "; written by another program\n";
const std::string kAllFiles = "korvel.ini jobs.ini jobsSTS.ini group_00.ini group_01.ini group_02.ini group_03.ini group_04.ini "
                              "group_05.ini group_06.ini group_07.ini group_08.ini group_09.ini sensor.ini";
// A POSIX ACL as its extended attribute holds it: the owner, nobody and the group may read and write.
const std::string kAcl("\x02\0\0\0" "\x01\0\x06\0\xff\xff\xff\xff" "\x02\0\x06\0\xfe\xff\0\0" "\x04\0\x06\0\xff\xff\xff\xff"
                       "\x10\0\x06\0\xff\xff\xff\xff" "\x20\0\x04\0\xff\xff\xff\xff", 44);
const FaultCase kFaultCases[] = {
        {"another program replaces korvel.ini", false,
         [](ScratchDir &dir) {
             dir.write("korvel.new", kTheirs);
             rename(dir.path("korvel.new").c_str(), dir.path("korvel.ini").c_str());
         },
         0, kChangedOnDisk, "korvel.ini", "", "theirs", {}},
        {"another program rewrites korvel.ini", true, [](ScratchDir &dir) { dir.write("korvel.ini", kTheirs); }, 0, kChangedOnDisk,
         "korvel.ini", "", "theirs", {}},
        {"korvel.ini cannot be read again", false, [](ScratchDir &) { reads_failing = 1; }, 0, EIO, "korvel.ini", "", "old", {}},
        {"a sync fails while rewriting in place", true, nullptr, S_IFREG, EIO, "/korvel.ini", "korvel.ini", "new", {}},
        {"the directory's sync fails", false, nullptr, S_IFDIR, EIO, "/", kAllFiles.c_str(), "new", {}},
        {"an ACL and an extended attribute", false, nullptr, 0, 0, "", kAllFiles.c_str(), "new", {"system.posix_acl_access", "user.corvane"}},
};

TEST_F(Writer, FaultsAroundTheCommitPointAreToldAsTheyAre) {
    std::string unsupported;
    for (const FaultCase &c : kFaultCases) {
        SCOPED_TRACE(c.what);
        ScratchDir dir;
        dir.copy_from(kFull);
        for (const char *name : kFullFiles) {
            if (!c.in_place) continue;
            ASSERT_EQ(link(dir.path(name).c_str(), dir.path(std::string(name) + ".link").c_str()), 0);
        }
        std::string target = dir.path("korvel.ini"), kept[2];
        if (!c.attributes.empty() && (setxattr(target.c_str(), c.attributes[0].c_str(), kAcl.data(), kAcl.size(), 0) != 0 ||
                                      setxattr(target.c_str(), c.attributes[1].c_str(), "kept", 4, 0) != 0)) {
            unsupported += std::string(c.what) + ": " + std::strerror(errno) + "; ";
            continue;
        }
        for (size_t i = 0; i < c.attributes.size(); ++i) {
            kept[i].resize(64);
            kept[i].resize(static_cast<size_t>(std::max<ssize_t>(0, getxattr(target.c_str(), c.attributes[i].c_str(), &kept[i][0], 64))));
        }
        std::memset(&INI, 0, sizeof INI);
        ASSERT_EQ(LoadINI(), 0);
        remember_files(dir.path().c_str());
        std::strcpy(INI.System.Name, "Changed: Datacenter Brno");
        std::strcpy(INI.Group[9].Name, "Changed too");
        FileTexts texts;
        ConfigRecord changed = INI;
        ASSERT_EQ(ProduceINI(changed, texts), 0);
        ScratchDir *acting = &dir;
        at_first_sync = c.meanwhile ? [&] { c.meanwhile(*acting); } : std::function<void()>();
        failing_kind = c.failing_kind, reads_failing = 0;
        {
            Swap<decltype(SaveSync)> syncs(SaveSync, sync_with_faults);
            Swap<decltype(FileRead)> reads(FileRead, read_with_faults);
            EXPECT_EQ(SaveINI(), c.result);
        }
        EXPECT_TRUE(std::string(FailedPath).size() >= std::strlen(c.failed) &&
                    std::string(FailedPath).compare(std::strlen(FailedPath) - std::strlen(c.failed), std::string::npos, c.failed) == 0)
                << FailedPath;
        EXPECT_EQ(FailedReading, c.result == EIO && !c.failing_kind);
        EXPECT_STREQ(SavedFiles, c.changed);
        EXPECT_EQ(unfinished_save(dir.path().c_str()), c.failing_kind != 0) << "a commit the journal finishes later";
        Recovery found;
        ASSERT_EQ(recover_directory(dir.path().c_str(), found), 0);
        EXPECT_EQ(history_list(dir.path().c_str()).size(), std::string(c.outcome) == "new" ? 1u : 0u) << "a generation for a save made";
        for (int i = 0; i < texts.count; ++i) {
            const std::string now = dir.read(texts.file[i].name), name = texts.file[i].name;
            std::string expected = std::string(c.outcome) == "new" ? std::string(texts.file[i].bytes, texts.file[i].size)
                                                                   : read_file(kFull + "/" + texts.file[i].name);
            if (std::string(c.outcome) == "theirs" && name == "korvel.ini") expected = kTheirs;
            EXPECT_EQ(now, expected) << name;
        }
        FreeTexts(texts);
        for (size_t i = 0; i < c.attributes.size(); ++i) {
            std::string now(64, '\0');
            now.resize(static_cast<size_t>(std::max<ssize_t>(0, getxattr(target.c_str(), c.attributes[i].c_str(), &now[0], 64))));
            EXPECT_EQ(now, kept[i]) << c.attributes[i];
        }
        for (const std::string &name : dir.list()) EXPECT_TRUE(nothing_staged(dir, name)) << "temporary left: " << name;
    }
    remember_files("");
    if (!unsupported.empty()) GTEST_SKIP() << unsupported << "this file system cannot hold them";
}

// The process ends at the `kill_at`-th file operation of a save, before it.
int operations = 0, kill_at = 0;
void count_operation() {
    if (++operations == kill_at) _exit(99);
}
ssize_t write_or_end(int descriptor, const void *bytes, size_t size, off_t offset) { return count_operation(), pwrite(descriptor, bytes, size, offset); }
// A process's end loses nothing the kernel holds: the disk need not be waited for.
int sync_or_end(int) { return count_operation(), 0; }
int rename_or_end(const char *from, const char *to) { return count_operation(), rename(from, to); }

// A save that changes korvel.ini, jobs.ini and a group file ended at each
// of its file operations in turn: once the next process has taken the lock,
// the files are all old or all new, and nothing staged is left. The editor
// writes every file, corvanectl only those that change; hard links make
// every file rewritten in place, where a kill between write and cut would
// tear it.
TEST_F(Writer, AKillAtAnyFileOperationLeavesAllOldOrAllNew) {
    load_full();
    const struct {
        const char *what;
        bool in_place, only_changed;
    } kPasses[] = {{"the editor's save, renamed into place", false, false},
                   {"the editor's save, rewritten in place", true, false},
                   {"corvanectl's save of the files that change", false, true}};
    for (const auto &pass : kPasses) {
        const bool in_place = pass.in_place;
        SCOPED_TRACE(pass.what);
        for (const char *name : kFullFiles) {
            dir_.write(name, read_file(kFull + "/" + name));
            if (in_place) {
                ASSERT_EQ(link(dir_.path(name).c_str(), dir_.path(std::string(name) + ".link").c_str()), 0);
            }
        }
        std::memset(&INI, 0, sizeof INI);
        ASSERT_EQ(LoadINI(), 0);
        std::strcpy(INI.System.Name, "Changed: Datacenter Brno");
        INI.Job[1].Log ^= 1;
        std::strcpy(INI.Group[0].Name, "Changed too");
        ConfigRecord changed = INI;
        FileTexts texts;
        ASSERT_EQ(ProduceINI(changed, texts), 0);
        int outcomes[2] = {0, 0};  // all old, all new
        bool ended = true, wanted[kSavedFiles];
        for (int i = 0; i < texts.count; ++i) {
            wanted[i] = !pass.only_changed || std::string(texts.file[i].bytes, texts.file[i].size) != read_file(kFull + "/" + texts.file[i].name);
        }
        for (kill_at = 1; ended; ++kill_at) {
            for (int i = 0; i < texts.count; ++i) dir_.write(texts.file[i].name, read_file(kFull + "/" + texts.file[i].name));
            ended = in_child([&] {
                operations = 0;
                SaveWrite = write_or_end, SaveSync = sync_or_end, SaveRename = rename_or_end;
                return pass.only_changed ? WriteTexts(texts, wanted) : SaveINI();
            }, false) == 99;
            Recovery found;
            ASSERT_EQ(recover_directory(dir_.path().c_str(), found), 0) << "after operation " << kill_at;
            int old_files = 0, new_files = 0;
            for (int i = 0; i < texts.count; ++i) {
                std::string now = dir_.read(texts.file[i].name);
                old_files += now == read_file(kFull + "/" + texts.file[i].name);
                new_files += now == std::string(texts.file[i].bytes, texts.file[i].size);
            }
            ASSERT_TRUE(old_files == texts.count || new_files == texts.count) << "a mixed set after operation " << kill_at;
            ++outcomes[new_files == texts.count];
            for (const std::string &name : dir_.list()) ASSERT_TRUE(nothing_staged(dir_, name)) << name << " after operation " << kill_at;
        }
        FreeTexts(texts);
        EXPECT_GT(outcomes[0], 0);
        EXPECT_GT(outcomes[1], 0);
        if (getenv("CORVANE_SHOW")) std::fprintf(stderr, "kill points: %d all old, %d all new\n", outcomes[0], outcomes[1]);
    }
}

// Every row of the table of limits names fields that exist, is the row
// found for each of them, and allows no value its field cannot hold.
TEST(Limits, EveryRowFitsEachFieldItNames) {
    for (unsigned n = 0; n < static_cast<unsigned>(Limit::Count); ++n) {
        const FieldLimit &row = limit(static_cast<Limit>(n));
        SCOPED_TRACE(n);
        EXPECT_LE(row.range.low, row.range.high);
        if (!row.section) continue;  // a value no key holds as entered
        int fields = 0;
        for (int k = 0; k < kSectionKindCount; ++k) {
            const SectionKind &kind = kSectionKinds[k];
            const KeySet &keys = key_set(kind.file, kind.key_set);
            for (int slot = 0; slot < keys.count && std::strcmp(kind.name, row.section) == 0; ++slot) {
                const Field &field = keys.fields[slot];
                if (!limit_matches(row.key, field.key)) continue;
                ++fields;
                EXPECT_LE(row.range.high, field.width == 1 || field.kind == FieldKind::Switch ? 255u : 65535u) << field.key;
                EXPECT_EQ(find_limit(row.section, field.key), &row) << field.key;
            }
        }
        EXPECT_GT(fields, 0) << row.section << "." << row.key << " names no field";
    }
}

}  // namespace
