// Dates and times as typed for a schedule, and the evaluator, which must
// list exactly what a minute-by-minute scan lists.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "config/record.h"
#include "schedule/calendar.h"
#include "schedule/evaluator.h"
#include "support/fixtures.h"

namespace {

time_t pinned_now;
time_t pinned() { return pinned_now; }

// The date and time of `moment` as typed, or its date alone.
std::string local_text(int64_t moment, bool date_only = false) {
    time_t at = static_cast<time_t>(moment);
    struct tm broken;
    localtime_r(&at, &broken);
    char text[32];
    std::strftime(text, sizeof text, "%d.%m.%Y %H:%M", &broken);
    return date_only ? std::string(text, 11) : text;
}

// With "now" in winter and in summer: daylight saving of now shifts the
// first guess, which the hour-by-hour step corrects.
TEST(Calendar, DatesAndTimesInTwoZones) {
    const struct {
        const char *typed, *expected;  // expected "" for refused
    } dates[] = {
        {"29.02.2012 10:00", "29.02.2012 10:00"}, {"29.02.2013 10:00", "01.03.2013 10:00"},
        {"31.04.2030 08:00", "01.05.2030 08:00"}, {"15.07.112 23:59", "15.07.2012 23:59"},
        {"10.01.2030 00:00", "10.01.2030 00:00"}, {"01.01.2011 10:00", ""},  // in the past
        {"10.05.2030 24:00", ""}, {"10.05.2030", ""}, {"10.05.2030 1000", ""}, {"10-05-2030 10:00", ""},
        {"01.01.2039 10:00", ""}, {"01.01.139 10:00", ""},
        {"32.01.2030 10:00", ""}, {"01.13.2030 10:00", ""},
    };
    const struct {
        const char *typed, *expected;
    } times[] = {{"07:05", "07:05"}, {"23:59", "23:59"}, {"12:60", ""}, {"25:00", ""}, {"0700", ""}};
    Swap<time_t (*)()> clock(ScheduleNow, pinned);
    for (const char *zone : {"UTC", "Europe/Berlin"}) {
        ZoneSetting setting(zone);
        ASSERT_TRUE(setting.loaded()) << zone << ": the time zone's rules are not installed (tzdata)";
        for (time_t now : {utc(2011, 1, 15, 12, 0), utc(2011, 7, 15, 12, 0)}) {
            pinned_now = now;
            for (const auto &c : dates) {
                int64_t got = check_datetime(c.typed);
                EXPECT_EQ(got ? local_text(got) : "", c.expected) << zone << " " << now << " " << c.typed;
            }
            for (const auto &c : times) {
                int64_t got = check_time(c.typed);
                std::string today = local_text(now, true);
                EXPECT_EQ(got ? local_text(got) : "", *c.expected ? today + c.expected : "") << c.typed;
            }
        }
    }
}

using Line = std::pair<int, std::string>;  // the schedule, and the local "YYYY-MM-DD HH:MM w"

void collect(const Firing &firing, void *context) {
    char when[32];
    std::strftime(when, sizeof when, "%Y-%m-%d %H:%M %w", &firing.when);
    static_cast<std::vector<Line> *>(context)->push_back(Line{firing.index, when});
}

// Scans with the fast and the literal form; they must agree in every
// result, the last match and where they stopped.
std::vector<Line> both_scans(int64_t start, int64_t end, const ConfigRecord &record) {
    std::vector<Line> lines[2];
    ScheduleEntry last[2];
    int64_t stopped[2] = {start, start};
    int counts[2];
    for (int fast = 0; fast < 2; ++fast) {
        std::memset(&ShedAction, 0, sizeof ShedAction);
        counts[fast] = (fast ? scan_schedules : scan_literally)(stopped[fast], end, record, collect, &lines[fast]);
        last[fast] = ShedAction;
    }
    EXPECT_EQ(lines[1], lines[0]);
    EXPECT_EQ(counts[1], counts[0]);
    EXPECT_EQ(stopped[1], stopped[0]);
    EXPECT_EQ(std::memcmp(&last[0], &last[1], sizeof last[0]), 0) << "the last match";
    return lines[0];
}

// Random schedules near the moments a zone's offset changes: every action
// and period (unknown ones too), local times that daylight saving skips or
// repeats, once-only moments in the window, minutes already run.
TEST(Evaluator, TheFastScanListsWhatTheLiteralOneListsInSixZones) {
    std::mt19937 random(20261122);
    auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    auto record = std::make_unique<ConfigRecord>();
    for (const char *name : {"UTC", "Europe/Berlin", "America/New_York", "Australia/Sydney", "Europe/Dublin",
                             "Asia/Kolkata"}) {
        ZoneSetting zone(name);
        ASSERT_TRUE(zone.loaded()) << name << ": the time zone's rules are not installed (tzdata)";
        random.seed(20261122);
        std::vector<int64_t> changes;
        for (int64_t moment = utc(2026, 1, 1, 0, 0), offset = 99999; moment < utc(2027, 1, 1, 0, 0); moment += 900) {
            time_t at = static_cast<time_t>(moment);
            struct tm broken;
            localtime_r(&at, &broken);
            if (offset != 99999 && broken.tm_gmtoff != offset) changes.push_back(moment);
            offset = broken.tm_gmtoff;
        }
        if (changes.empty()) changes = {utc(2026, 3, 29, 0, 30), utc(2026, 10, 25, 23, 45)};
        size_t compared = 0;
        for (int64_t change : changes) {
            for (int round = 0; round < 13; ++round) {
                int64_t window = round == 0 ? 8640000 : 3 * 86400;
                std::memset(record->Schedule, 0, sizeof record->Schedule);
                for (int n = 0; n < (round == 0 ? 8 : 16); ++n) {
                    ScheduleEntry &entry = record->Schedule[pick(0, kSchedules - 1)];
                    entry.Action = static_cast<uint8_t>(pick(0, 9) == 0 ? pick(8, 12) : pick(1, 7));
                    entry.Period = static_cast<uint8_t>(pick(0, 11) == 0 ? pick(5, 9) : pick(1, 4));
                    entry.PeriodDay = static_cast<uint8_t>(entry.Period == kWeekly ? pick(0, 7) : pick(1, 31));
                    int64_t moment = change + pick(-2, 2) * 3600 + pick(0, 59) * 60;
                    if (pick(0, 2) == 0) moment = change + static_cast<int64_t>(pick(0, 1000000)) * window / 1000000;
                    if (pick(0, 4) == 0) moment = change - pick(0, 400) * 86400 + pick(0, 86399);
                    entry.StartTime = static_cast<uint32_t>(moment);
                    if (pick(0, 7) == 0) entry.LastRun = static_cast<int32_t>(moment + pick(0, 3) * 86400);
                    entry.UpsIndex = static_cast<uint16_t>(pick(0, 17));
                }
                int64_t from = round == 0 ? change - 3 * 3600 + 23 : change - pick(0, 86400);
                if (round % 4 == 1) from = change - (round % 8 == 1 ? 0 : 60);
                compared += both_scans(from, from + window, *record).size();
            }
        }
        EXPECT_GT(compared, 500u) << name << ": the random sets must actually fire";
    }
}

}  // namespace
