#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "config/record.h"
#include "console/globals.h"
#include "console/lang.h"
#include "schedule/codec.h"

namespace {

class Schedules : public ::testing::Test {
protected:
    void SetUp() override { std::memset(&INI, 0, sizeof INI); }
};

TEST_F(Schedules, DecodeAndEncodeTheStoredText) {
    std::strcpy(INI.Schedule[0].Data, "50A1B2C30001020305");
    std::strcpy(INI.Schedule[1].Data, "50a1b2c30001020305");
    DecodeSchedules();
    for (int i : {0, 1}) {
        const ScheduleEntry &entry = INI.Schedule[i];
        EXPECT_EQ(+entry.StartTime, 0x50A1B2C3u);
        EXPECT_EQ(+entry.UpsIndex, 1);
        EXPECT_EQ(+entry.Action, 2);
        EXPECT_EQ(+entry.Period, 3);
        EXPECT_EQ(+entry.PeriodDay, 5);
        EXPECT_STREQ(entry.Data, i == 0 ? "50A1B2C30001020305" : "50a1b2c30001020305") << "the text itself stays";
    }
    EncodeSchedules();
    EXPECT_STREQ(INI.Schedule[1].Data, "50A1B2C30001020305") << "written in upper case";

    // Single-digit bytes keep their leading zero; an unused entry is cleared.
    ScheduleEntry &entry = INI.Schedule[2];
    entry.StartTime = 0x0A0B0C0D;
    entry.UpsIndex = 0x000F;
    entry.Action = kOsShutdown;
    entry.Period = kMonthly;
    entry.PeriodDay = 10;
    std::strcpy(INI.Schedule[3].Data, "50A1B2C30001020305");
    INI.Schedule[3].StartTime = 99;
    INI.Schedule[3].LastRun = 7;
    EncodeSchedules();
    EXPECT_STREQ(entry.Data, "0A0B0C0D000F07040A");
    const ScheduleEntry zero = {};
    EXPECT_EQ(std::memcmp(&INI.Schedule[3], &zero, sizeof zero), 0) << "action 0: the whole entry is cleared";
}

TEST_F(Schedules, MalformedTextsDecodeByTheSameArithmetic) {
    EXPECT_EQ(get_hex("0A"), 10);
    EXPECT_EQ(get_hex("ff"), 255);
    EXPECT_EQ(get_hex("G0"), ('G' * 16 + '0' - '0') & 0xFF) << "not refused";
    // A short text decodes the missing pairs from the zeros after it.
    std::strcpy(INI.Schedule[0].Data, "50A1");
    DecodeSchedules();
    EXPECT_EQ(+INI.Schedule[0].StartTime, 0x50A1D0D0u);
    EXPECT_EQ(+INI.Schedule[0].Action, 0xD0);
    INI.Schedule[1].Action = 3;  // no text: left untouched
    DecodeSchedules();
    EXPECT_EQ(+INI.Schedule[1].Action, 3);
}

TEST(JobDefaults, MessagesAndIntervalsByJobNumber) {
    ASSERT_EQ(AllocText(), 0);
    for (int n : {79, 80, 81, 100, 341, 384, 391, 400, 402, 421}) std::snprintf(LangText[n], kTextSize, "T%d", n);
    JobEntry job;
    std::memset(&job, 0x55, sizeof job);
    JobToDefault(job, 0, 0);
    EXPECT_EQ(+job.Log, 1);
    EXPECT_EQ(+job.LocalMessage, 1);
    EXPECT_EQ(+job.LocalMessageInterval, 60);
    EXPECT_EQ(+job.Execute, 0);
    EXPECT_EQ(+job.ShutdownDelay, 0);
    EXPECT_EQ(+job.VoiceDelay, 0);
    EXPECT_STREQ(job.File, "");
    EXPECT_STREQ(job.Message, "T79");

    JobToDefault(job, 1, 0);
    EXPECT_EQ(+job.LocalMessageInterval, 0) << "odd jobs end an event: no repeat";
    EXPECT_STREQ(job.Message, "T80");
    JobToDefault(job, 2, 0);
    EXPECT_STREQ(job.Message, "T341") << "job 2 has its own message";
    JobToDefault(job, 2, 1);
    EXPECT_STREQ(job.Message, "T402");
    JobToDefault(job, 21, 0);
    EXPECT_STREQ(job.Message, "T100");
    JobToDefault(job, 22, 0);
    EXPECT_STREQ(job.Message, "T384");
    EXPECT_EQ(+job.LocalMessageInterval, 60);
    JobToDefault(job, 29, 1);
    EXPECT_STREQ(job.Message, "T391");
    for (int index : {23, 25, 26, 28}) {
        JobToDefault(job, index, 0);
        EXPECT_EQ(+job.LocalMessageInterval, 60) << index;
    }
    for (int index : {24, 27, 29}) {
        JobToDefault(job, index, 0);
        EXPECT_EQ(+job.LocalMessageInterval, 0) << index;
    }
    FreeText();
}

}  // namespace
