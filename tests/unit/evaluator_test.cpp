#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "config/record.h"
#include "schedule/evaluator.h"
#include "support/zone.h"

namespace {

struct Line {
    int index;
    std::string when;  // local "YYYY-MM-DD HH:MM w"
    bool operator==(const Line &other) const { return index == other.index && when == other.when; }
};

void PrintTo(const Line &line, std::ostream *out) { *out << line.index << "@" << line.when; }

void collect(const Firing &firing, void *context) {
    char when[32];
    std::strftime(when, sizeof when, "%Y-%m-%d %H:%M %w", &firing.when);
    static_cast<std::vector<Line> *>(context)->push_back(Line{firing.index, when});
}

struct Scan {
    std::vector<Line> lines;
    int count = 0;
    int64_t stopped = 0;
    ScheduleEntry last = {};
};

Scan scan(bool fast, int64_t start, int64_t end, const ConfigRecord &record) {
    Scan result;
    std::memset(&ShedAction, 0, sizeof ShedAction);
    result.stopped = start;
    result.count = (fast ? scan_schedules : scan_literally)(result.stopped, end, record, collect, &result.lines);
    result.last = ShedAction;
    return result;
}

// Scans with both forms, expects them to agree, and returns the lines.
std::vector<Line> both_scans(int64_t start, int64_t end, const ConfigRecord &record) {
    Scan literal = scan(false, start, end, record), fast = scan(true, start, end, record);
    EXPECT_EQ(fast.lines, literal.lines);
    EXPECT_EQ(fast.count, literal.count);
    EXPECT_EQ(fast.stopped, literal.stopped);
    EXPECT_EQ(std::memcmp(&fast.last, &literal.last, sizeof fast.last), 0) << "the last match is the same";
    return literal.lines;
}

// A record of schedules, looked at in a time zone.
class Evaluator : public ::testing::Test {
protected:
    explicit Evaluator(const char *zone = "UTC") : zone_(zone) { std::memset(record_.get(), 0, sizeof(ConfigRecord)); }
    ZoneSetting zone_;
    std::unique_ptr<ConfigRecord> record_ = std::make_unique<ConfigRecord>();

    ScheduleEntry &schedule(int index, uint8_t period, time_t start, uint8_t day = 0) {
        ScheduleEntry &entry = record_->Schedule[index];
        entry.Action = kUpsTest;
        entry.Period = period;
        entry.StartTime = static_cast<uint32_t>(start);
        entry.PeriodDay = day;
        return entry;
    }
};

TEST_F(Evaluator, DailyFromTheFirstDayEvenBeforeItsStart) {
    schedule(0, kDaily, utc(2027, 1, 1, 10, 0));
    auto lines = both_scans(utc(2026, 11, 22, 0, 0), utc(2026, 11, 25, 0, 0), *record_);
    EXPECT_EQ(lines, (std::vector<Line>{{0, "2026-11-22 10:00 0"}, {0, "2026-11-23 10:00 1"}, {0, "2026-11-24 10:00 2"}}));
}

TEST_F(Evaluator, OnceOnlyOnItsDayAndNeverInThePast) {
    schedule(0, kOnce, utc(2026, 1, 1, 10, 0));
    schedule(1, kOnce, utc(2026, 12, 24, 18, 0));
    auto lines = both_scans(utc(2026, 11, 22, 0, 0), utc(2026, 11, 22, 0, 0) + 8640000, *record_);
    EXPECT_EQ(lines, (std::vector<Line>{{1, "2026-12-24 18:00 4"}}));
}

TEST_F(Evaluator, MonthlyOnTheThirtyFirstOnlyInLongMonths) {
    schedule(3, kMonthly, utc(2026, 5, 5, 9, 0), 31);
    auto lines = both_scans(utc(2026, 11, 1, 0, 0), utc(2026, 11, 1, 0, 0) + 8640000, *record_);
    EXPECT_EQ(lines, (std::vector<Line>{{3, "2026-12-31 09:00 4"}, {3, "2027-01-31 09:00 0"}}));
}

TEST_F(Evaluator, WeeklyOnItsWeekday) {
    schedule(0, kWeekly, utc(2026, 1, 1, 2, 0), 0);  // Sundays
    schedule(1, kWeekly, utc(2026, 1, 1, 2, 0), 9);  // no such weekday: never
    auto lines = both_scans(utc(2026, 11, 22, 0, 0), utc(2026, 12, 7, 0, 0), *record_);
    EXPECT_EQ(lines, (std::vector<Line>{{0, "2026-11-22 02:00 0"}, {0, "2026-11-29 02:00 0"}, {0, "2026-12-06 02:00 0"}}));
}

TEST_F(Evaluator, AfterTenLinesOneLinePerMinute) {
    for (int index = 0; index < kSchedules; ++index) schedule(index, kDaily, utc(2026, 1, 1, 10, 0));
    auto lines = both_scans(utc(2026, 11, 22, 0, 0), utc(2026, 11, 25, 0, 0), *record_);
    ASSERT_EQ(lines.size(), 12u);
    for (int index = 0; index < 10; ++index) EXPECT_EQ(lines[static_cast<size_t>(index)], (Line{index, "2026-11-22 10:00 0"}));
    EXPECT_EQ(lines[10], (Line{0, "2026-11-23 10:00 1"}));
    EXPECT_EQ(lines[11], (Line{0, "2026-11-24 10:00 2"}));
}

TEST_F(Evaluator, NotAgainInTheMinuteItLastRan) {
    schedule(0, kDaily, utc(2026, 1, 1, 10, 0)).LastRun = static_cast<int32_t>(utc(2026, 11, 22, 10, 0) + 17);
    auto lines = both_scans(utc(2026, 11, 22, 0, 0), utc(2026, 11, 24, 0, 0), *record_);
    EXPECT_EQ(lines, (std::vector<Line>{{0, "2026-11-23 10:00 1"}}));
    EXPECT_EQ(TestSchedules(utc(2026, 11, 22, 10, 0) + 59, *record_, 0), 0);
    EXPECT_EQ(TestSchedules(utc(2026, 11, 23, 10, 0) + 30, *record_, 0), 1);
    EXPECT_EQ(+ShedAction.Action, kUpsTest);
}

TEST_F(Evaluator, AScanGoesOnWhereTheLastStopped) {
    schedule(0, kDaily, utc(2026, 1, 1, 10, 0));
    int64_t start = utc(2026, 11, 22, 0, 0) + 7;  // not on a full minute
    Scan first = scan(true, start, start + 86400, *record_);
    EXPECT_EQ(first.stopped, start + 86400);
    Scan again = scan(true, first.stopped, start + 86400, *record_);
    EXPECT_TRUE(again.lines.empty()) << "a second look at a finished scan lists nothing";
    EXPECT_EQ(again.stopped, start + 86400);
}

// The UTC moments in [from, to) at which the zone's offset changes.
std::vector<int64_t> offset_changes(int64_t from, int64_t to) {
    std::vector<int64_t> changes;
    struct tm broken;
    time_t at = static_cast<time_t>(from);
    localtime_r(&at, &broken);
    long offset = broken.tm_gmtoff;
    for (int64_t moment = from; moment < to; moment += 900) {
        at = static_cast<time_t>(moment);
        localtime_r(&at, &broken);
        if (broken.tm_gmtoff != offset) changes.push_back(moment);
        offset = broken.tm_gmtoff;
    }
    return changes;
}

// Random schedules around `around`: every action and period, unknown ones
// included, local times in and next to the hours that daylight saving skips
// or repeats, once-only moments inside the window, minutes already run.
void randomize(ConfigRecord &record, std::mt19937 &random, int64_t around, int64_t window, int active) {
    std::memset(record.Schedule, 0, sizeof record.Schedule);
    auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    for (int index = 0; index < active; ++index) {
        ScheduleEntry &entry = record.Schedule[pick(0, kSchedules - 1)];
        entry.Action = static_cast<uint8_t>(pick(0, 9) == 0 ? pick(8, 12) : pick(1, 7));
        entry.Period = static_cast<uint8_t>(pick(0, 11) == 0 ? pick(5, 9) : pick(1, 4));
        entry.PeriodDay = static_cast<uint8_t>(entry.Period == kWeekly ? pick(0, 7) : pick(1, 31));
        int64_t moment = around + pick(-2, 2) * 3600 + pick(0, 59) * 60;  // near the change
        if (pick(0, 2) == 0) moment = around + static_cast<int64_t>(pick(0, 1000000)) * window / 1000000;
        if (pick(0, 4) == 0) moment = around - pick(0, 400) * 86400 + pick(0, 86399);
        entry.StartTime = static_cast<uint32_t>(moment);
        if (pick(0, 7) == 0) entry.LastRun = static_cast<int32_t>(moment + pick(0, 3) * 86400);
        entry.UpsIndex = static_cast<uint16_t>(pick(0, 17));
    }
}

class Zones : public Evaluator, public ::testing::WithParamInterface<const char *> {
protected:
    Zones() : Evaluator(GetParam()) {}
};

TEST_P(Zones, TheFastScanListsWhatTheLiteralOneLists) {
    std::mt19937 random(20261122);
    std::vector<int64_t> starts = offset_changes(utc(2026, 1, 1, 0, 0), utc(2027, 1, 1, 0, 0));
    if (starts.empty()) starts = {utc(2026, 3, 29, 0, 30), utc(2026, 10, 25, 23, 45)};
    ASSERT_LE(starts.size(), 2u) << "a zone with more changes a year than expected";
    size_t compared = 0;
    for (int64_t change : starts) {
        SCOPED_TRACE(change);
        // 100 days from just before the change.
        int64_t start = change - 3 * 3600 + 23;
        randomize(*record_, random, change, 8640000, 8);
        compared += both_scans(start, start + 8640000, *record_).size();
        // Many sets over a few days across the change, starting on it too.
        for (int round = 0; round < 12; ++round) {
            randomize(*record_, random, change, 3 * 86400, 16);
            int64_t from = change - std::uniform_int_distribution<int>(0, 86400)(random);
            if (round % 4 == 0) from = change - (round % 8 == 0 ? 0 : 60);
            compared += both_scans(from, from + 3 * 86400, *record_).size();
        }
    }
    EXPECT_GT(compared, 500u) << "the random sets must actually fire";
}

INSTANTIATE_TEST_SUITE_P(Evaluator, Zones,
                         ::testing::Values("UTC", "Europe/Berlin", "America/New_York", "Australia/Sydney",
                                           "Europe/Dublin", "Asia/Kolkata"),
                         [](const auto &info) {
                             std::string name = info.param;
                             for (char &c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

}  // namespace
