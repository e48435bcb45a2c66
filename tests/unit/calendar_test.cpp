#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "schedule/calendar.h"
#include "support/zone.h"

namespace {

time_t pinned_now;
time_t pinned() { return pinned_now; }

// "DD.MM.YYYY HH:MM" of `moment` in the zone under test.
std::string local_text(int64_t moment) {
    time_t at = static_cast<time_t>(moment);
    struct tm broken;
    localtime_r(&at, &broken);
    char text[32];
    std::strftime(text, sizeof text, "%d.%m.%Y %H:%M", &broken);
    return text;
}

// Runs in the zone given, with "now" pinned.
class Calendar : public ::testing::TestWithParam<const char *> {
protected:
    void SetUp() override { ScheduleNow = pinned; }
    void TearDown() override { ScheduleNow = saved_; }
    ZoneSetting zone_{GetParam()};
    time_t (*saved_)() = ScheduleNow;
};

TEST_P(Calendar, DatesAreCheckedAndRolledOver) {
    // Once with "now" in winter and once in summer: the daylight-saving flag
    // of now shifts the first guess, which the hour-by-hour step corrects.
    for (time_t now : {utc(2011, 1, 15, 12, 0), utc(2011, 7, 15, 12, 0)}) {
        pinned_now = now;
        SCOPED_TRACE(local_text(now));
        EXPECT_EQ(local_text(check_datetime("29.02.2012 10:00")), "29.02.2012 10:00") << "2012 is a leap year";
        EXPECT_EQ(local_text(check_datetime("29.02.2013 10:00")), "01.03.2013 10:00");
        EXPECT_EQ(local_text(check_datetime("31.04.2030 08:00")), "01.05.2030 08:00");
        EXPECT_EQ(local_text(check_datetime("15.07.112 23:59")), "15.07.2012 23:59") << "years from 1900 too";
        EXPECT_EQ(local_text(check_datetime("10.01.2030 00:00")), "10.01.2030 00:00");
        EXPECT_EQ(check_datetime("01.01.2011 10:00"), 0) << "in the past";
        EXPECT_EQ(check_datetime("10.05.2030 24:00"), 0);
        EXPECT_EQ(check_datetime("10.05.2030"), 0) << "no time";
        EXPECT_EQ(check_datetime("10.05.2030 1000"), 0) << "no colon";
        EXPECT_EQ(check_datetime("10-05-2030 10:00"), 0);
        EXPECT_EQ(check_datetime("01.01.2039 10:00"), 0) << "past 2038";
        EXPECT_EQ(check_datetime("01.01.139 10:00"), 0);
    }
}

TEST_P(Calendar, TimesAreForToday) {
    pinned_now = utc(2026, 6, 10, 12, 0);
    std::string today = local_text(pinned_now).substr(0, 10);
    EXPECT_EQ(local_text(check_time("07:05")), today + " 07:05") << "already passed, still today";
    EXPECT_EQ(local_text(check_time("23:59")), today + " 23:59");
    EXPECT_EQ(check_time("12:60"), 0);
    EXPECT_EQ(check_time("25:00"), 0);
    EXPECT_EQ(check_time("0700"), 0);
}

INSTANTIATE_TEST_SUITE_P(Zones, Calendar, ::testing::Values("UTC", "Europe/Berlin"),
                         [](const auto &info) { return std::string(info.param).substr(0, 3) == "UTC" ? "UTC" : "Berlin"; });

TEST(TotalSeconds, CountFromNineteenSeventyWithinRange) {
    ZoneSetting zone("UTC");
    time_t (*saved)() = ScheduleNow;
    ScheduleNow = pinned;
    pinned_now = utc(2026, 1, 10, 12, 0);
    EXPECT_EQ(totalsec(139, 0, 0, 0, 0, 0), -1);
    EXPECT_EQ(totalsec(69, 11, 30, 23, 0, 0), -1);
    EXPECT_EQ(totalsec(70, 0, 0, 0, 0, 0), -1) << "zero is below 1";
    EXPECT_EQ(totalsec(70, 0, 0, 0, 0, 1), 1);
    EXPECT_EQ(totalsec(112, 1, 28, 10, 0, 0), utc(2012, 2, 29, 10, 0));
    EXPECT_EQ(totalsec(113, 1, 28, 10, 0, 0), utc(2013, 3, 1, 10, 0));
    EXPECT_EQ(totalsec(112, 0, 0, 0, 0, 86400 * 31), utc(2012, 2, 1, 0, 0)) << "seconds carry over";
    EXPECT_EQ(totalsec(137, 12, 0, 0, 0, 0), utc(2038, 1, 1, 0, 0)) << "month 12 is January of the next year";
    ScheduleNow = saved;
}

}  // namespace
