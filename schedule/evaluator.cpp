#include "schedule/evaluator.h"

#include <cstdio>
#include <cstring>

#include "console/lang.h"
#include "console/terminal.h"
#include "schedule/calendar.h"

ScheduleEntry ShedAction;

namespace {

struct tm local(int64_t moment) {
    time_t at = static_cast<time_t>(moment);
    struct tm broken;
    localtime_r(&at, &broken);
    return broken;
}

int64_t floor_div(int64_t value, int64_t by) {
    int64_t quotient = value / by;
    return value % by < 0 ? quotient - 1 : quotient;
}

// Whether `entry` fires in the minute starting at `minute` (seconds), whose
// local time is `now`; `start` is the local time of the entry's StartTime.
bool fires(const ScheduleEntry &entry, const struct tm &now, const struct tm &start, int64_t minute) {
    if (entry.Action == kActionUnused) return false;
    bool at_time = now.tm_hour == start.tm_hour && now.tm_min == start.tm_min;
    bool match = false;
    switch (entry.Period) {
    case kOnce:
        match = at_time && now.tm_mday == start.tm_mday && now.tm_mon == start.tm_mon && now.tm_year == start.tm_year;
        break;
    case kDaily: match = at_time; break;
    case kWeekly: match = at_time && now.tm_wday == entry.PeriodDay; break;
    case kMonthly: match = at_time && now.tm_mday == entry.PeriodDay; break;
    default: break;  // an unknown period never fires
    }
    // Already fired in this minute.
    if (match && entry.LastRun / 60 == minute / 60) match = false;
    return match;
}

// The schedules of one minute, in order, until the tenth line: from then on
// only the first match of a minute is listed.
void list_minute(const ConfigRecord &record, const struct tm &now, const struct tm *starts, int64_t minute,
                 int &count, FiringSink sink, void *context) {
    for (int index = 0; index < kSchedules; ++index) {
        const ScheduleEntry &entry = record.Schedule[index];
        if (!fires(entry, now, starts[index], minute)) continue;
        ShedAction = entry;
        sink(Firing{now, index}, context);
        if (++count > 9) break;
    }
}

// Civil date of day `days` after 1 January 1970 (proleptic Gregorian).
void civil_from_days(int64_t days, int &year, int &month, int &day) {
    days += 719468;
    int64_t era = floor_div(days, 146097);
    int64_t day_of_era = days - era * 146097;
    int64_t year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    int64_t shifted_month = (5 * day_of_year + 2) / 153;
    day = static_cast<int>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
    month = static_cast<int>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
    year = static_cast<int>(year_of_era + era * 400 + (month <= 2));
}

// The local time of the minute `minute_index` (minutes since 1970) at the
// UTC offset `offset` (seconds east), as localtime gives it.
struct tm local_at(int64_t minute_index, long offset) {
    int64_t seconds = minute_index * 60 + offset;
    int64_t days = floor_div(seconds, 86400);
    int64_t of_day = seconds - days * 86400;
    struct tm broken = {};
    int year, month, day;
    civil_from_days(days, year, month, day);
    broken.tm_year = year - 1900;
    broken.tm_mon = month - 1;
    broken.tm_mday = day;
    broken.tm_hour = static_cast<int>(of_day / 3600);
    broken.tm_min = static_cast<int>(of_day % 3600 / 60);
    broken.tm_sec = static_cast<int>(of_day % 60);
    broken.tm_wday = static_cast<int>((days % 7 + 11) % 7);  // 1 January 1970 was a Thursday
    return broken;
}

long offset_at(int64_t minute_index) { return local(minute_index * 60).tm_gmtoff; }

// The first minute index in (from, last] whose UTC offset differs from
// `offset`, or last + 1. The offset is probed every six hours and the change
// then found by halving, so two changes closer than six hours are not seen:
// no zone has them.
int64_t next_offset_change(int64_t from, long offset, int64_t last) {
    constexpr int64_t kProbe = 6 * 60;
    int64_t same = from;
    for (;;) {
        int64_t probe = same + kProbe < last ? same + kProbe : last;
        if (probe <= same) return last + 1;
        if (offset_at(probe) != offset) {
            while (probe - same > 1) {
                int64_t middle = same + (probe - same) / 2;
                if (offset_at(middle) == offset) {
                    same = middle;
                } else {
                    probe = middle;
                }
            }
            return probe;
        }
        if (probe == last) return last + 1;
        same = probe;
    }
}

bool same_minute(const struct tm &a, const struct tm &b) {
    return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday && a.tm_hour == b.tm_hour &&
           a.tm_min == b.tm_min && a.tm_wday == b.tm_wday;
}

}  // namespace

int TestSchedules(int64_t moment, const ConfigRecord &record, int index) {
    const ScheduleEntry &entry = record.Schedule[index];
    int64_t minute = moment - moment % 60;
    if (!fires(entry, local(minute), local(entry.StartTime), minute)) return 0;
    ShedAction = entry;
    return 1;
}

int scan_literally(int64_t &start, int64_t end, const ConfigRecord &record, FiringSink sink, void *context) {
    int count = 0;
    for (; start < end; start += 60) {
        for (int index = 0; index < kSchedules; ++index) {
            if (!record.Schedule[index].Action || !TestSchedules(start, record, index)) continue;
            sink(Firing{local(start - start % 60), index}, context);
            if (++count > 9) break;
        }
    }
    return count;
}

int scan_schedules(int64_t &start, int64_t end, const ConfigRecord &record, FiringSink sink, void *context) {
    if (start >= end) return 0;
    const int64_t minutes = (end - start + 59) / 60;
    const int64_t first = floor_div(start, 60), last = first + minutes - 1;
    start += minutes * 60;

    // Each schedule can fire only at the local hour and minute of its start:
    // those minutes of the day are the only ones worth looking at.
    struct tm starts[kSchedules];
    int targets[kSchedules], target_count = 0;
    for (int index = 0; index < kSchedules; ++index) {
        const ScheduleEntry &entry = record.Schedule[index];
        starts[index] = local(entry.StartTime);
        if (!entry.Action || entry.Period < kOnce || entry.Period > kMonthly) continue;
        int minute_of_day = starts[index].tm_hour * 60 + starts[index].tm_min;
        bool known = false;
        for (int t = 0; t < target_count; ++t) known = known || targets[t] == minute_of_day;
        if (!known) targets[target_count++] = minute_of_day;
    }

    int count = 0;
    for (int64_t from = first; from <= last;) {
        const long offset = offset_at(from);
        const int64_t until = next_offset_change(from, offset, last);
        if (!same_minute(local_at(from, offset), local(from * 60))) {
            // A clock that is not UTC plus an offset (leap seconds): ask it
            // about every minute.
            for (int64_t minute = from; minute < until; ++minute) {
                list_minute(record, local(minute * 60), starts, minute * 60, count, sink, context);
            }
            from = until;
            continue;
        }
        // With a constant offset, a minute of the day comes round every 1440
        // minutes: order the targets by their first minute in this stretch
        // and go day by day.
        const int64_t local_minute = from + floor_div(offset, 60);
        int64_t firsts[kSchedules];
        for (int t = 0; t < target_count; ++t) firsts[t] = ((targets[t] - local_minute) % 1440 + 1440) % 1440;
        int order[kSchedules];
        for (int t = 0; t < target_count; ++t) {
            int at = t;
            while (at > 0 && firsts[order[at - 1]] > firsts[t]) {
                order[at] = order[at - 1];
                --at;
            }
            order[at] = t;
        }
        for (int64_t day = 0;; day += 1440) {
            bool any = false;
            for (int t = 0; t < target_count; ++t) {
                int64_t minute = from + firsts[order[t]] + day;
                if (minute >= until) break;
                any = true;
                list_minute(record, local_at(minute, offset), starts, minute * 60, count, sink, context);
            }
            if (!any) break;
        }
        from = until;
    }
    return count;
}

void format_firing(const Firing &firing, const ConfigRecord &record, char *line, size_t size) {
    const ScheduleEntry &entry = record.Schedule[firing.index];
    const char *name = "?";
    char ups[sizeof record.UPS[0].Name + 1] = "";
    if (entry.UpsIndex < kUpsEntries && record.UPS[entry.UpsIndex].Name[0]) {
        std::snprintf(ups, sizeof ups, "%.*s", static_cast<int>(sizeof record.UPS[0].Name), record.UPS[entry.UpsIndex].Name);
        name = ups;
    }
    std::snprintf(line, size, "%02u.%02u.%04u %02u:%02u %s", firing.when.tm_mday, firing.when.tm_mon + 1,
                  firing.when.tm_year + 1900, firing.when.tm_hour, firing.when.tm_min, name);
    dopln(line, 40, " ");
    std::strncat(line, schedule_action_label(entry.Action), size - std::strlen(line) - 1);
}

const char *schedule_action_label(unsigned action) {
    static const int kLabels[] = {278_text, 273_text, 274_text, 142_text, 275_text, 276_text, 277_text, 110_text};
    return LangText[kLabels[action < sizeof kLabels / sizeof kLabels[0] ? action : 0]];
}

int64_t actions_end(int64_t start, int days) {
    int64_t end = start + static_cast<int64_t>(days) * 86400;
    return end > INT32_MAX ? start : end;  // schedules keep their times in 32 bits: past that, nothing is listed
}
