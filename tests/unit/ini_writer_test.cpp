#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/record.h"
#include "console/globals.h"
#include "schedule/codec.h"
#include "support/scratch_dir.h"

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
        if (unprivileged && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(200);
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

TEST_F(Writer, ARecordOfZerosWritesTheFixedSectionsWithDefaults) {
    ASSERT_EQ(SaveINI(), 0);
    EXPECT_EQ(dir_.read("korvel.ini"), read_file(std::string(CORVANE_TEST_DATA) + "zero_korvel.ini"));
    // The defaults are stored, except the subject, which is only written.
    EXPECT_STREQ(INI.Serial[0].Device, "AUTO");
    EXPECT_EQ(+INI.EmailConfig.Port, 25);
    EXPECT_EQ(+INI.EmailConfig.Timeout, 5);
    EXPECT_EQ(+INI.EmailConfig.Subject[0], 0);
    EXPECT_EQ(+INI.BriskenModemConfig.DeviceNo, 1);
    EXPECT_EQ(+INI.WapConfig.Port, 9200);

    std::string jobs = dir_.read("jobs.ini");
    EXPECT_NE(jobs.find("[Job_29]\nLog=0\nLogDelay=0\n"), std::string::npos);
    EXPECT_NE(jobs.find("File=\"\"\n"), std::string::npos);
    size_t sections = 0;
    for (size_t at = jobs.find("\n["); at != std::string::npos; at = jobs.find("\n[", at + 1)) ++sections;
    EXPECT_EQ(sections, 30u);
    EXPECT_NE(dir_.read("sensor.ini").find("[Sensor_31]\nName=\"\"\nSensorType=0\n"), std::string::npos);
    EXPECT_FALSE(dir_.exists("group_00.ini")) << "no group in use, no group file";
}

TEST_F(Writer, RepeatedSectionsAreCompactedAndRenumbered) {
    std::strcpy(INI.Email[0].Name, "First");
    std::strcpy(INI.Email[3].Name, "Fourth");
    std::strcpy(INI.Email[3].EmailAddress, "fourth@example.net");
    std::strcpy(INI.Schedule[2].Data, "50A1B2C30001020305");  // no action: dropped
    INI.Schedule[5].Action = kUpsTest;
    INI.Schedule[5].Period = kDaily;
    INI.Schedule[5].StartTime = 0x0A;
    ASSERT_EQ(SaveKorvelINI(), 0);
    std::string korvel = dir_.read("korvel.ini");
    EXPECT_NE(korvel.find("[Email_00]\nName=\"First\"\n"), std::string::npos);
    EXPECT_NE(korvel.find("[Email_01]\nName=\"Fourth\"\nEmailAddress=\"fourth@example.net\"\n"), std::string::npos);
    EXPECT_EQ(korvel.find("[Email_02]"), std::string::npos);
    EXPECT_EQ(korvel.find("[Schedule_01]"), std::string::npos);
    EncodeSchedules();
    ASSERT_EQ(SaveKorvelINI(), 0);
    EXPECT_NE(dir_.read("korvel.ini").find("[Schedule_00]\nData=\"0000000A0000040200\"\n"), std::string::npos);

    std::memset(&INI, 0, sizeof INI);
    ASSERT_EQ(LoadINI(), 0);
    EXPECT_STREQ(INI.Email[1].Name, "Fourth") << "entry 3 comes back as entry 1";
    EXPECT_EQ(+INI.Schedule[0].Action, kUpsTest);
}

TEST_F(Writer, GroupsAreNumberedByCountAndLeftoversStay) {
    dir_.write("group_07.ini", "; from an earlier save\n[Common]\nName=\"Old\"\n");
    std::strcpy(INI.Group[2].Name, "Servers");
    INI.Group[2].UPS[2] = 7;
    INI.Group[2].Event[3].Type[0] = 4;
    INI.Group[2].Event[10].Type[0] = 23;
    INI.Group[2].Event[10].Priority[0] = 254;
    INI.Group[2].Event[20].Priority[0] = 9;  // no condition: not in use
    std::strcpy(INI.Group[5].Name, "Storage");
    ASSERT_EQ(SaveGroupsINI(), 0);

    std::string first = dir_.read("group_00.ini");
    EXPECT_NE(first.find("[Common]\nName=\"Servers\"\n"), std::string::npos);
    EXPECT_NE(first.find("\n[UPS]\nUPS_02=7\n\n"), std::string::npos) << "only members in use, under their own key";
    EXPECT_NE(first.find("[Event_00]\nType1=4\n"), std::string::npos);
    EXPECT_NE(first.find("[Event_01]\nType1=23\n"), std::string::npos);
    EXPECT_EQ(first.find("[Event_02]"), std::string::npos);
    EXPECT_NE(dir_.read("group_01.ini").find("Name=\"Storage\""), std::string::npos);
    EXPECT_FALSE(dir_.exists("group_02.ini"));
    EXPECT_EQ(dir_.read("group_07.ini"), "; from an earlier save\n[Common]\nName=\"Old\"\n");

    std::memset(&INI, 0, sizeof INI);
    dir_.write("korvel.ini", "");
    ASSERT_EQ(LoadINI(), 0);
    EXPECT_STREQ(INI.Group[0].Name, "Servers");
    EXPECT_STREQ(INI.Group[1].Name, "Storage");
    EXPECT_EQ(+INI.Group[0].Event[1].Priority[0], 254);
    EXPECT_STREQ(INI.Group[7].Name, "Old") << "a leftover file is read again";
}

TEST_F(Writer, ATextThatFillsItsFieldRunsOnToTheNextZero) {
    std::memset(INI.System.Name, 'A', sizeof INI.System.Name);
    std::strcpy(INI.System.Location, "Hall");
    ASSERT_EQ(SaveKorvelINI(), 0);
    std::string korvel = dir_.read("korvel.ini");
    EXPECT_NE(korvel.find("Name=\"" + std::string(32, 'A') + "Hall\"\nLocation=\"Hall\"\n"), std::string::npos);
}

TEST_F(Writer, AFailedSaveLeavesEveryOldFileAsItWas) {
    load_full();
    std::strcpy(INI.System.Name, "Changed");
    std::strcpy(INI.Group[0].Name, "Changed too");

    // Out of space half-way through korvel.ini.
    EXPECT_EQ(in_child(SaveINI, false, 4096), EFBIG);
    expect_files_as_before("a write failed");

    // A directory in which no file can be created (the files themselves
    // may be written).
    for (const char *name : kFullFiles) ASSERT_EQ(chmod(dir_.path(name).c_str(), 0666), 0);
    ASSERT_EQ(chmod(dir_.path().c_str(), 0555), 0);
    EXPECT_EQ(in_child(SaveINI, true), EACCES);
    expect_files_as_before("the directory is read-only");

    // A file its user may not write, in a writable directory.
    ASSERT_EQ(chmod(dir_.path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(dir_.path("korvel.ini").c_str(), 0444), 0);
    EXPECT_EQ(in_child(SaveINI, true), EACCES);
    expect_files_as_before("korvel.ini is read-only");

    // The group files: the first ones are replaced, the failing one is not.
    ASSERT_EQ(chmod(dir_.path("korvel.ini").c_str(), 0644), 0);
    EXPECT_EQ(in_child(SaveINI, false, 16384), EFBIG);
    EXPECT_NE(dir_.read("korvel.ini").find("Name=\"Changed\""), std::string::npos);
    EXPECT_EQ(dir_.read("group_00.ini"), read_file(kFull + "/group_00.ini")) << "the 31 kB group file did not fit";

    // No directory at all.
    std::string kept = ProgramDir;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", dir_.path("missing/").c_str());
    EXPECT_EQ(SaveINI(), ENOENT);
    std::snprintf(ProgramDir, kProgramDirSize, "%s", kept.c_str());
}

TEST_F(Writer, PermissionsOwnerAndSymbolicLinksSurvive) {
    load_full();
    ASSERT_EQ(chmod(dir_.path("jobs.ini").c_str(), 0640), 0);
    ASSERT_EQ(mkdir(dir_.path("conf").c_str(), 0755), 0);
    ASSERT_EQ(rename(dir_.path("korvel.ini").c_str(), dir_.path("conf/korvel.real").c_str()), 0);
    ASSERT_EQ(symlink("conf/korvel.real", dir_.path("korvel.ini").c_str()), 0);
    std::strcpy(INI.System.Name, "Relinked");

    ASSERT_EQ(SaveINI(), 0);
    struct stat state;
    ASSERT_EQ(lstat(dir_.path("korvel.ini").c_str(), &state), 0);
    EXPECT_TRUE(S_ISLNK(state.st_mode)) << "the link stays a link";
    EXPECT_NE(dir_.read("conf/korvel.real").find("Name=\"Relinked\""), std::string::npos) << "its target is replaced";
    ASSERT_EQ(stat(dir_.path("jobs.ini").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777, 0640u);
}

TEST_F(Writer, TheOwnerIsKeptWhereTheProcessMaySetIt) {
    load_full();
    // As root the file is given to another user first; anyone else keeps
    // their own files, and the owner must not change either way.
    if (chown(dir_.path("sensor.ini").c_str(), 65534, 65534) != 0) {
        ASSERT_NE(geteuid(), 0u);
    }
    struct stat before, after;
    ASSERT_EQ(stat(dir_.path("sensor.ini").c_str(), &before), 0);
    ASSERT_EQ(SaveINI(), 0);
    ASSERT_EQ(stat(dir_.path("sensor.ini").c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_NE(after.st_ino, before.st_ino) << "it was replaced, not rewritten in place";
}

}  // namespace
