// The store: the reader's rules, the writers' layout (the full-size
// directory must come back byte for byte), failed saves, group profiles.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <string>
#include <grp.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "config/fields.h"
#include "config/group_profile.h"
#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/record.h"
#include "config/replace_file.h"
#include "console/globals.h"
#include "schedule/codec.h"
#include "support/fixtures.h"

namespace {

std::string field(const char *text, size_t width) { return std::string(text, strnlen(text, width)); }
#define TEXT_OF(f) field(f, sizeof(f))
// A field of the record: where it lies and how wide it is.
#define AT(path) offsetof(ConfigRecord, path), sizeof(INI.path)

// The value of a field as text: a text up to its terminator or width, a
// number in decimal.
std::string value_at(size_t offset, size_t width) {
    const char *where = reinterpret_cast<const char *>(&INI) + offset;
    if (width > 2) return std::string(where, strnlen(where, width));
    uint16_t number = 0;
    std::memcpy(&number, where, width);
    return std::to_string(number);
}

class Reader : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(&INI, 0, sizeof INI);
        actual_section = 255;
    }
    // Reads one file of `kind` with the given text.
    void read(int kind, const std::string &name, const std::string &text) {
        dir_.write(name, text);
        ASSERT_EQ(EncodeINIFile(kind, dir_.path(name).c_str()), 0);
    }
    ScratchDir dir_;
};

// The rules of each line are seen through corvanectl's check and dump of
// tests/data/traps; what is left here is where a slot past an array lands.
TEST_F(Reader, SlotsPastAnArrayLandInTheRecordThatFollows) {
    const std::string text = "[Serial_01]\nDevice=\"ABCD\"\n[Schedule_16]\nData=\"Overlaid\"\n[UPS_16]\nName=\"Y\"\n"
                             "[UPS_31]\nSNMPSetComm=\"far\"\n";
    const struct {
        size_t offset, width;
        const char *expected, *why;
    } cases[] = {
        {AT(Network.CheckRate), "65", "Serial entry 1 is the network block"},
        {AT(Network.Server), "66", ""},
        {AT(Network.DelayApplication), "67", ""},
        {AT(Network.SNMP), "68", ""},
        {AT(Network.Port), "0", ""},
        {AT(UPS[0].Name), "Overlaid", "schedule 16 is the first UPS entry"},
        {AT(Job[0].Log), "89", "UPS entry 16 is the first job"},
        {offsetof(ConfigRecord, UPS) + 31 * sizeof(UpsEntry) + offsetof(UpsEntry, SNMPSetComm), 20, "far", ""},
    };
    read(kKorvelIni, "korvel.ini", text);
    for (const auto &c : cases) EXPECT_EQ(value_at(c.offset, c.width), c.expected) << c.why;

    // Group files have no last section: event 64 of group 9 is the first
    // field after the groups. Nothing ever lands outside the record, however
    // far a slot points (the sanitizers watch this sweep).
    p_s = "7";
    g_index = kGroups - 1;
    FillVar(kGroupIni, 2 + kGroupEvents, 0);
    EXPECT_EQ(+INI.EmailConfig.Allowed, 7);
    p_s = "123456789012345678901234567890";
    for (int section = 0; section < 255; ++section) {
        for (int key = 0; key < kKeySlots; ++key) FillVar(kGroupIni, section, key);
    }
    FillVar(kIniFiles, 0, 0);
    FillVar(kJobsIni, 30, 0);
    EXPECT_EQ(+INI.Job[29].Log, 0);
}

TEST_F(Reader, TheCurrentSectionCarriesIntoTheNextFile) {
    // korvel.ini ends in [System] (slot 0): a key above jobs.ini's first
    // header belongs to slot 0 of jobs.ini, which is Job_00.
    read(kKorvelIni, "korvel.ini", "[Network]\nServer=1\n[System]\nName=\"x\"\n");
    read(kJobsIni, "jobs.ini", "Log=1\n[Job_01]\nLog=1\n");
    EXPECT_EQ(+INI.Job[0].Log, 1);

    // Ending in [UPS_03] (slot 66), jobs.ini has no such slot: ignored.
    std::memset(&INI, 0, sizeof INI);
    read(kKorvelIni, "korvel.ini", "[UPS_03]\nName=\"u\"\n");
    read(kJobsIni, "jobs.ini", "Log=1\n[Job_01]\nLog=1\n");
    EXPECT_EQ(+INI.Job[0].Log, 0);
    EXPECT_EQ(+INI.Job[1].Log, 1);
}

TEST_F(Reader, LoadingOrderAndResults) {
    std::memset(&INI1, 0x5A, sizeof INI1);
    EXPECT_EQ(LoadINI(), 1) << "korvel.ini is required";
    EXPECT_EQ(+INI1.System.Name[0], 0x5A) << "no working copy after a failure";

    dir_.write("korvel.ini", "[System]\nName=\"Only\"\n[Schedule_00]\nData=\"50A1B2C30001020305\"\n");
    EXPECT_EQ(LoadINI(), 0) << "the other files are optional";
    EXPECT_EQ(+INI.Schedule[0].StartTime, 0x50A1B2C3u) << "schedules decoded";
    EXPECT_EQ(std::memcmp(&INI, &INI1, sizeof INI), 0) << "working copy made";

    dir_.write("group_00.ini", "[Common]\nName=\"A\"\n");
    EXPECT_EQ(LoadGroupsINI(), 1) << "only group_09 decides";
    dir_.write("group_09.ini", "[Common]\nName=\"J\"\n");
    EXPECT_EQ(LoadGroupsINI(), 0);
    EXPECT_EQ(TEXT_OF(INI.Group[9].Name), "J");

    // Only a missing file is missing: a directory in place of an optional
    // one stops the load, and says which.
    ASSERT_EQ(mkdir(dir_.path("sensor.ini").c_str(), 0755), 0);
    EXPECT_EQ(LoadINI(), 2);
    EXPECT_EQ(UnreadablePath, dir_.path("sensor.ini"));
    EXPECT_EQ(UnreadableError, EISDIR);
}

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
        for (const std::string &name : dir_.list()) EXPECT_NE(name[0], '.') << "temporary file left: " << name;
    }
    ScratchDir dir_;
};

TEST_F(Writer, LoadingAndSavingReproducesEveryFile) {
    load_full();
    ASSERT_EQ(SaveINI(), 0);
    expect_files_as_before("load and save must reproduce it byte for byte");
    EXPECT_EQ(dir_.list().size(), sizeof kFullFiles / sizeof kFullFiles[0]);

    // The demo directory is in the same layout.
    ScratchDir demo;
    demo.copy_from(CORVANE_DEMO_DIR);
    std::memset(&INI, 0, sizeof INI);
    ASSERT_EQ(LoadINI(), 0);
    ASSERT_EQ(SaveINI(), 0);
    for (const char *name : {"korvel.ini", "jobs.ini", "jobsSTS.ini", "sensor.ini", "group_00.ini", "group_01.ini"}) {
        EXPECT_EQ(demo.read(name), read_file(std::string(CORVANE_DEMO_DIR) + "/" + name)) << name;
    }
}

TEST_F(Writer, TheLayoutOfEachKindOfFile) {
    // Nowhere to write: the defaults are not stored either.
    std::string kept = ProgramDir;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", dir_.path("missing/").c_str());
    EXPECT_EQ(SaveINI(), ENOENT);
    EXPECT_EQ(INI.WapConfig.Port + INI.Serial[0].Device[0], 0);
    std::snprintf(ProgramDir, kProgramDirSize, "%s", kept.c_str());

    // A record of zeros: the fixed sections with their defaults, stored
    // except the subject, which is only written.
    ASSERT_EQ(SaveINI(), 0);
    EXPECT_EQ(dir_.read("korvel.ini"), read_file(std::string(CORVANE_TEST_DATA) + "zero_korvel.ini"));
    EXPECT_STREQ(INI.Serial[0].Device, "AUTO");
    EXPECT_EQ(INI.EmailConfig.Port + INI.EmailConfig.Timeout + INI.BriskenModemConfig.DeviceNo, 25 + 5 + 1);
    EXPECT_EQ(+INI.EmailConfig.Subject[0], 0);
    EXPECT_EQ(+INI.WapConfig.Port, 9200);
    std::string jobs = dir_.read("jobs.ini");
    EXPECT_NE(jobs.find("[Job_29]\nLog=0\nLogDelay=0\n"), std::string::npos);
    EXPECT_EQ(std::count(jobs.begin(), jobs.end(), '['), 30);
    EXPECT_NE(dir_.read("sensor.ini").find("[Sensor_31]\nName=\"\"\nSensorType=0\n"), std::string::npos);
    EXPECT_FALSE(dir_.exists("group_00.ini")) << "no group in use, no group file";

    // Groups are numbered by count (the scenarios show the rest of the
    // compaction); a group file left over from an earlier save stays, and is
    // read again.
    dir_.write("group_07.ini", "; from an earlier save\n[Common]\nName=\"Old\"\n");
    std::strcpy(INI.Group[5].Name, "Storage");
    ASSERT_EQ(SaveINI(), 0);
    EXPECT_NE(dir_.read("group_00.ini").find("Name=\"Storage\""), std::string::npos);
    EXPECT_FALSE(dir_.exists("group_01.ini"));
    std::memset(&INI, 0, sizeof INI);
    ASSERT_EQ(LoadINI(), 0);
    EXPECT_STREQ(INI.Group[7].Name, "Old");
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
int rename_only_first(const char *from, const char *to) {
    static int renamed = 0;
    return ++renamed > 1 ? (errno = EIO, -1) : rename(from, to);
}

struct Identity {
    ino_t inode;
    uid_t owner;
    gid_t group;
    mode_t mode;
    nlink_t links;
};
Identity identity(const std::string &path) {
    struct stat state;
    stat(path.c_str(), &state);
    return {state.st_ino, state.st_uid, state.st_gid, state.st_mode, state.st_nlink};
}

// Each case prepares the full-size directory, saves it changed (in a child
// process, as nobody where it says so) and looks at what the save did.
TEST_F(Writer, ASaveKeepsEachFileAndChangesAllOrNone) {
    const struct {
        const char *what;
        bool root_only, as_nobody;
        int result, fail_at;  // fail_at: the n-th file written finds the disk full
        bool changed, same_inode;
        std::function<void(ScratchDir &)> prepare;
    } cases[] = {
        {"an administrator in the files' group", true, true, 0, 0, true, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(chown(dir.path(name).c_str(), 0, 65534), 0);
             ASSERT_EQ(chown(dir.path().c_str(), 0, 65534), 0);
             for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir.path(name).c_str(), 0664), 0);
             ASSERT_EQ(chmod(dir.path().c_str(), 0775), 0);
         }},
        {"a directory he may not write", true, true, 0, 0, true, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir.path(name).c_str(), 0666), 0);
             ASSERT_EQ(chmod(dir.path().c_str(), 0555), 0);
         }},
        {"a file he may not write", true, true, EACCES, 0, false, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir.path(name).c_str(), 0666), 0);
             ASSERT_EQ(chmod(dir.path("sensor.ini").c_str(), 0644), 0);
             ASSERT_EQ(chmod(dir.path().c_str(), 0777), 0);
         }},
        {"hard links and a symbolic link", false, false, 0, 0, true, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(link(dir.path(name).c_str(), dir.path(std::string(name) + ".link").c_str()), 0);
             ASSERT_EQ(rename(dir.path("jobsSTS.ini").c_str(), dir.path("jobsSTS.real").c_str()), 0);
             ASSERT_EQ(symlink("jobsSTS.real", dir.path("jobsSTS.ini").c_str()), 0);
         }},
        {"a bind mount", true, false, 0, 0, true, true,
         [](ScratchDir &dir) {
             ASSERT_EQ(mount(dir.path("korvel.ini").c_str(), dir.path("korvel.ini").c_str(), nullptr, MS_BIND, nullptr), 0);
         }},
        {"a full disk at korvel.ini", false, false, ENOSPC, 1, false, true, nullptr},
        {"a full disk at jobs.ini", false, false, ENOSPC, 2, false, true, nullptr},
        {"a full disk at jobsSTS.ini", false, false, ENOSPC, 3, false, true, nullptr},
        {"a full disk at a group file", false, false, ENOSPC, 9, false, true, nullptr},
        {"a full disk at sensor.ini", false, false, ENOSPC, 14, false, true, nullptr},
        {"a full disk at a file rewritten in place", false, false, EFBIG, 0, false, true,
         [](ScratchDir &dir) {
             for (const char *name : kFullFiles) ASSERT_EQ(link(dir.path(name).c_str(), dir.path(std::string(name) + ".link").c_str()), 0);
         }},
    };
    for (const auto &c : cases) {
        if (c.root_only && geteuid() != 0) continue;  // only root can set these up
        SCOPED_TRACE(c.what);
        ScratchDir dir;
        dir.copy_from(kFull);
        std::memset(&INI, 0, sizeof INI);
        ASSERT_EQ(LoadINI(), 0);
        std::strcpy(INI.System.Name, "Changed: Datacenter Brno");  // longer: the file grows
        std::strcpy(INI.Group[9].Name, "Changed too");
        if (c.prepare) c.prepare(dir);
        Identity before = identity(dir.path("korvel.ini"));
        struct stat korvel;
        ASSERT_EQ(stat(dir.path("korvel.ini").c_str(), &korvel), 0);
        failing_file = c.fail_at;
        files_written = 0;
        SaveWrite = write_until_full;
        // Only korvel.ini grows past the limit, and all files are rewritten in place.
        rlim_t limit = c.result == EFBIG ? static_cast<rlim_t>(korvel.st_size) + 4 : RLIM_INFINITY;
        EXPECT_EQ(in_child(SaveINI, c.as_nobody, limit), c.result);
        SaveWrite = pwrite;
        Identity after = identity(dir.path("korvel.ini"));
        EXPECT_EQ(dir.read("korvel.ini").find("Name=\"Changed: ") != std::string::npos, c.changed);
        EXPECT_EQ(dir.read("group_09.ini").find("Name=\"Changed too\"") != std::string::npos, c.changed);
        EXPECT_EQ(after.inode == before.inode, c.same_inode || !c.changed);
        EXPECT_EQ(after.owner, before.owner);
        EXPECT_EQ(after.group, before.group);
        EXPECT_EQ(after.mode, before.mode);
        EXPECT_EQ(after.links, before.links);
        if (!c.changed) {
            for (const char *name : kFullFiles) EXPECT_EQ(dir.read(name), read_file(kFull + "/" + name)) << name;
        }
        for (const std::string &name : dir.list()) EXPECT_NE(name[0], '.') << "temporary left: " << name;
        if (c.root_only && std::string(c.what) == "a bind mount") umount(dir.path("korvel.ini").c_str());
    }
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
    for (const std::string &name : dir_.list()) EXPECT_NE(name[0], '.') << "temporary left: " << name;

    // A failure while the files are put in place names the new and the old.
    SaveRename = rename_only_first;
    std::strcpy(INI.System.Name, "Again");
    EXPECT_EQ(SaveINI(), EIO);
    SaveRename = rename;
    EXPECT_STREQ(SavedFiles, "korvel.ini");
    EXPECT_EQ(std::string(UnsavedFiles).substr(0, 21), "jobs.ini jobsSTS.ini ");
    for (const std::string &name : dir_.list()) EXPECT_NE(name[0], '.') << "temporary left: " << name;
}

void put16(std::string &bytes, size_t offset, unsigned value) {
    bytes[offset] = static_cast<char>(value & 0xFF);
    bytes[offset + 1] = static_cast<char>(value >> 8);
}

// Profiles (the fields' places are a scenario's): the messages go to the
// debug trace, shown to the capture.
TEST(Profile, WhatALoadReads) {
    ScratchDir dir;
    ConsoleCapture console;
    bDebug = 1;
    const std::string eof = "\nRecord not readed - maybe end of file ! ", full = "\nRecords is more that MAX_GROUP_EVENTS! ";
    const struct {
        int records;
        size_t extra;
        int last;  // the last event loaded (1-based), 0 for none
        std::string message;
    } cases[] = {{2, 0, 2, eof}, {2, 100, 2, eof}, {0, 0, 0, eof}, {64, 0, 64, full}, {70, 0, 64, full}};
    static GroupEvent events[kGroupEvents];
    for (const auto &c : cases) {
        std::string bytes;
        for (int i = 0; i < c.records; ++i) {
            std::string record(450, '\0');
            put16(record, 0, static_cast<unsigned>(i + 1));  // Type1 numbers the records
            bytes += record;
        }
        dir.write("p.bin", bytes + std::string(c.extra, '\x7f'));
        std::memset(events, 0x55, sizeof events);
        ASSERT_EQ(LoadGroupProfile(dir.path("p.bin").c_str(), events), 0);
        EXPECT_EQ(c.last ? +events[c.last - 1].Type[0] : 0, c.last) << c.records;
        EXPECT_EQ(c.last < kGroupEvents ? +events[c.last].Type[0] : 0, 0) << c.records << ": the rest cleared";
        EXPECT_EQ(console.take_output(), c.message) << c.records;
    }
    // What cannot be read leaves the events as they were, and never waits.
    ASSERT_EQ(mkfifo(dir.path("fifo").c_str(), 0600), 0);
    const struct {
        std::string path;
        int error;
    } unreadable[] = {{dir.path("missing.bin"), ENOENT}, {dir.path("fifo"), EINVAL}, {"/dev/zero", EINVAL}};
    for (const auto &c : unreadable) {
        events[0].Type[0] = 9;
        EXPECT_EQ(LoadGroupProfile(c.path.c_str(), events), c.error) << c.path;
        EXPECT_EQ(+events[0].Type[0], 9) << c.path;
        EXPECT_EQ(console.take_output(), "\nCannot open file! ") << c.path;
    }
    EXPECT_EQ(SaveGroupProfile(dir.path("no/such/dir.bin").c_str(), events), ENOENT);
    EXPECT_EQ(console.take_output(), "\nCannot open file! ");

    // A big-endian machine swaps the numbers, never the texts.
    GroupEvent swapped = {};
    swapped.Type[0] = 0x0102, swapped.Job.VoiceDelay = 0xBEEF;
    std::strcpy(swapped.Job.File, "/bin/x");
    swap_event_data(swapped);
    EXPECT_EQ(swapped.Type[0] + swapped.Job.VoiceDelay, 0x0201 + 0xEFBE);
    EXPECT_STREQ(swapped.Job.File, "/bin/x");

    bDebug = 0;
}

}  // namespace
