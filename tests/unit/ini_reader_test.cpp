#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/stat.h>

#include "config/fields.h"
#include "config/ini_reader.h"
#include "config/record.h"
#include "support/scratch_dir.h"

namespace {

std::string field(const char *text, size_t width) { return std::string(text, strnlen(text, width)); }
#define TEXT_OF(f) field(f, sizeof(f))

class Reader : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(&INI, 0, sizeof INI);
        actual_section = 255;
    }
    // Reads one file of `kind` with the given text into a cleared record.
    void read(int kind, const std::string &name, const std::string &text) {
        dir_.write(name, text);
        ASSERT_EQ(EncodeINIFile(kind, dir_.path(name).c_str()), 0);
    }
    void korvel(const std::string &text) { read(kKorvelIni, "korvel.ini", text); }
    ScratchDir dir_;
};

TEST_F(Reader, HeadersCommentsAndKeysAsWritten) {
    korvel("Name=\"before any header\"\n"
           "[System]\n"
           "Name=\"Rack\"\n"
           "Name =\"not a key\"\n"
           " Location=\"indented: a comment\"\n"
           ";Contact=\"comment\"\n"
           "\aContact=\"bell line\"\n"
           "[Nonsense]\n"
           "Contact=\"unknown section: still System\"\n"
           "[network]\n"
           "Language=7\n"
           "[Network\n"
           "EventLog=1\n"
           "[Network]\n"
           "CheckRate=9\n"
           "Name=\"not a Network key\"\n"
           "Server=1\n"
           "Server=2\n");
    EXPECT_EQ(TEXT_OF(INI.System.Name), "Rack");
    EXPECT_EQ(TEXT_OF(INI.System.Location), "");
    EXPECT_EQ(TEXT_OF(INI.System.Contact), "unknown section: still System");
    EXPECT_EQ(+INI.System.Language, 7) << "section names are case-sensitive";
    EXPECT_EQ(+INI.System.EventLog, 1) << "a header without ] is ignored";
    EXPECT_EQ(+INI.Network.CheckRate, 9);
    EXPECT_EQ(+INI.Network.Server, 2) << "the last one wins";
    EXPECT_EQ(actual_section, 9);
}

TEST_F(Reader, ValuesQuotesLineEndsAndWidths) {
    korvel("[System]\n"
           "Name=\"ab\"cd\"\n"
           "Location=Hall B \n"
           "Contact=desk\r\n"
           "KeyCode=\"MERID32001RU\"\r\n"
           "Language= 42abc\n"
           "EventLog=-1\n"
           "DataLog=70000\n"
           "DataLogRate=none\n"
           "DataLogMin=99999999999999999999\n"
           "DataLogMax=-99999999999999999999\n"
           "SaveFiles=\t+7\n"
           "[Network]\n"
           "HTTPPath=\"/var/www\n");
    EXPECT_EQ(TEXT_OF(INI.System.Name), "ab") << "cut at the next quote";
    EXPECT_EQ(TEXT_OF(INI.System.Location), "Hall B ") << "trailing blank kept";
    EXPECT_EQ(TEXT_OF(INI.System.Contact), "desk\r") << "CR of an unquoted value kept";
    EXPECT_EQ(TEXT_OF(INI.System.KeyCode), "MERID32001RU");
    EXPECT_EQ(+INI.System.Language, 42);
    EXPECT_EQ(+INI.System.EventLog, 255) << "wraps to the field's width";
    EXPECT_EQ(+INI.System.DataLog, 70000 & 0xFFFF);
    EXPECT_EQ(+INI.System.DataLogRate, 0);
    EXPECT_EQ(+INI.System.DataLogMin, 0xFFFF) << "saturates like strtol, then narrows";
    EXPECT_EQ(+INI.System.DataLogMax, 0);
    EXPECT_EQ(+INI.System.SaveFiles, 7);
    EXPECT_EQ(TEXT_OF(INI.Network.HTTPPath), "/var/www") << "no closing quote: up to the line end";

    // A text as long as its field or longer fills it with no terminator and
    // leaves the next field alone.
    std::memset(&INI, 0, sizeof INI);
    korvel("[System]\nLocation=\"Hall\"\nName=\"" + std::string(40, 'N') + "\"\n");
    EXPECT_EQ(std::string(INI.System.Name, 32), std::string(32, 'N'));
    EXPECT_EQ(TEXT_OF(INI.System.Location), "Hall");
}

TEST_F(Reader, LongLinesContinueAsNewLines) {
    // 298 characters are read at a time; the rest is a line of its own.
    korvel("[System]\nContact=" + std::string(290, 'a') + "Location=Hall\nLanguage=3\n");
    EXPECT_EQ(std::string(INI.System.Contact, 32), std::string(32, 'a'));
    EXPECT_EQ(TEXT_OF(INI.System.Location), "Hall");
    EXPECT_EQ(+INI.System.Language, 3);
}

TEST_F(Reader, SectionsPastAnArrayWriteIntoWhatFollows) {
    korvel("[Serial_01]\nDevice=\"ABCD\"\n"
           "[Schedule_16]\nData=\"Overlaid\"\n"
           "[UPS_16]\nName=\"Y\"\n"
           "[UPS_31]\nSNMPSetComm=\"far\"\n");
    // Serial entry 1 is where the network block starts.
    EXPECT_EQ(+INI.Network.CheckRate, 'A');
    EXPECT_EQ(+INI.Network.Server, 'B');
    EXPECT_EQ(+INI.Network.DelayApplication, 'C');
    EXPECT_EQ(+INI.Network.SNMP, 'D');
    EXPECT_EQ(+INI.Network.Port, 0);
    EXPECT_EQ(TEXT_OF(INI.UPS[0].Name), "Overlaid") << "schedule 16 is the first UPS entry";
    EXPECT_EQ(+INI.Job[0].Log, 'Y') << "UPS entry 16 is the first job";
    size_t far = offsetof(ConfigRecord, UPS) + 31 * sizeof(UpsEntry) + offsetof(UpsEntry, SNMPSetComm);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(&INI) + far), "far");

    // Group files have no last section: event 64 of group 9 is the first
    // field after the groups.
    p_s = "7";
    g_index = kGroups - 1;
    FillVar(kGroupIni, 2 + kGroupEvents, 0);
    EXPECT_EQ(+INI.EmailConfig.Allowed, 7);
    EXPECT_EQ(+INI.EmailConfig.Timeout, 0);

    // And nothing ever lands outside the record, however far a slot points
    // (the sanitizers watch this sweep).
    p_s = "123456789012345678901234567890";
    for (int section = 0; section < 255; ++section) {
        for (int key = 0; key < kKeySlots; ++key) FillVar(kGroupIni, section, key);
    }
    FillVar(kIniFiles, 0, 0);
    FillVar(kJobsIni, 30, 0);
    EXPECT_EQ(+INI.Job[29].Log, 0);
}

TEST_F(Reader, JobSwitchesShutdownsAndTheWapPort) {
    std::string jobs;
    for (int j = 0; j < 8; ++j) jobs += "[Job_0" + std::to_string(j) + "]\nShutdown=1\n";
    jobs += "[Job_00]\nLog=257\nLogDelay=300\nExecuteInterval=70000\n";
    read(kJobsIni, "jobs.ini", jobs);
    for (int j : {0, 6}) EXPECT_EQ(+INI.Job[j].Shutdown, 1) << "job " << j;
    for (int j : {1, 2, 3, 4, 5, 7}) EXPECT_EQ(+INI.Job[j].Shutdown, 0) << "job " << j;
    EXPECT_EQ(+INI.Job[0].Log, 1) << "switches keep 8 bits";
    EXPECT_EQ(+INI.Job[0].LogDelay, 300) << "delays keep 16";
    EXPECT_EQ(+INI.Job[0].ExecuteInterval, 70000 & 0xFFFF);

    read(kJobsStsIni, "jobsSTS.ini", "[Job_06]\nShutdown=1\nLog=1\n");
    EXPECT_EQ(+INI.JobSTS[6].Shutdown, 0);
    EXPECT_EQ(+INI.JobSTS[6].Log, 1);

    korvel("[WapConfig]\nPort=0\n");
    EXPECT_EQ(+INI.WapConfig.Port, 9200);
    korvel("[WapConfig]\nPort=8080\n");
    EXPECT_EQ(+INI.WapConfig.Port, 8080);
}

TEST_F(Reader, GroupFiles) {
    g_index = 4;
    read(kGroupIni, "group_04.ini",
         "[Common]\nName=\"Servers\"\nRedundancyLevel=2\n[UPS]\nUPS_03=5\nUPS_07=16\n"
         "[Event_00]\nType1=300\nPriority1=104\nLogDelay=600\nMessage=\"Rule\"\n[Event_63]\nType2=7\n");
    const GroupEntry &group = INI.Group[4];
    EXPECT_EQ(TEXT_OF(group.Name), "Servers");
    EXPECT_EQ(+group.RedundancyLevel, 2);
    EXPECT_EQ(+group.UPS[3], 5);
    EXPECT_EQ(+group.UPS[7], 16);
    EXPECT_EQ(+group.Event[0].Type[0], 300 & 0xFF) << "conditions keep 8 bits";
    EXPECT_EQ(+group.Event[0].Priority[0], 104);
    EXPECT_EQ(+group.Event[0].Job.LogDelay, 600);
    EXPECT_EQ(TEXT_OF(group.Event[0].Job.Message), "Rule");
    EXPECT_EQ(+group.Event[63].Type[1], 7);
    EXPECT_EQ(+INI.Group[3].Name[0], 0);
}

TEST_F(Reader, TheCurrentSectionCarriesIntoTheNextFile) {
    // korvel.ini ends in [System] (slot 0): a key above jobs.ini's first
    // header belongs to slot 0 of jobs.ini, which is Job_00.
    korvel("[Network]\nServer=1\n[System]\nName=\"x\"\n");
    read(kJobsIni, "jobs.ini", "Log=1\n[Job_01]\nLog=1\n");
    EXPECT_EQ(+INI.Job[0].Log, 1);

    // Ending in [UPS_03] (slot 66), jobs.ini has no such slot: ignored.
    std::memset(&INI, 0, sizeof INI);
    korvel("[UPS_03]\nName=\"u\"\n");
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

    // A directory where a file should be is no file: optional ones are
    // skipped, korvel.ini is missing.
    ASSERT_EQ(mkdir(dir_.path("sensor.ini").c_str(), 0755), 0);
    EXPECT_EQ(LoadINI(), 0);
    ASSERT_EQ(std::remove(dir_.path("korvel.ini").c_str()), 0);
    ASSERT_EQ(mkdir(dir_.path("korvel.ini").c_str(), 0755), 0);
    EXPECT_EQ(LoadINI(), 1);
}

}  // namespace
