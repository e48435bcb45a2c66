#include "schedule/calendar.h"

#include <cstdlib>
#include <cstring>

const unsigned char Days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
const uint32_t YDays[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

static time_t system_now() { return std::time(nullptr); }
time_t (*ScheduleNow)() = system_now;

static struct tm local(time_t moment) {
    struct tm broken;
    localtime_r(&moment, &broken);
    return broken;
}

// Every fourth year; no century rule (2000 was one, 2100 is past the range).
static bool leap(int year_since_1900) { return year_since_1900 % 4 == 0; }

int32_t totalsec(int year, int month, int day, int hour, int minute, int second) {
    const bool summer_now = local(ScheduleNow()).tm_isdst > 0;
    if (year < 70 || year > 138) return -1;

    minute += second / 60;
    second %= 60;
    hour += minute / 60;
    minute %= 60;
    day += hour / 24;
    hour %= 24;
    year += month / 12;
    month %= 12;
    while (day >= Days[month]) {
        if (leap(year) && month == 1) {
            if (day < 29) break;
            day -= 29;
        } else {
            day -= Days[month];
        }
        if (++month == 12) {
            month = 0;
            ++year;
        }
    }

    int years = year - 70;
    int leap_days = (years + 2) / 4;
    if (leap(year) && month < 2) --leap_days;
    int64_t days = static_cast<int64_t>(years) * 365 + leap_days + YDays[month] + day;
    int64_t result = days * 86400 + hour * 3600 + minute * 60 + second;
    if (summer_now) result -= 3600;
    // Beyond 2038 the 32-bit seconds would wrap: invalid, like a result below 1.
    return result < 1 || result > INT32_MAX ? -1 : static_cast<int32_t>(result);
}

int64_t my_mktime(const struct tm &wanted) {
    if (wanted.tm_hour < 0 || wanted.tm_hour > 23 || wanted.tm_min < 0 || wanted.tm_min >= 60 ||
        wanted.tm_mday < 0 || wanted.tm_mday >= 32 || wanted.tm_mon < 0 || wanted.tm_mon >= 12) {
        return 0;
    }
    int64_t t = totalsec(wanted.tm_year, wanted.tm_mon, wanted.tm_mday - 1, wanted.tm_hour, wanted.tm_min,
                         wanted.tm_sec);
    if (t == -1) return 0;

    // Step hour by hour until the local clock shows the wanted hour; the
    // count tells which way round the clock it went. An hour the local clock
    // skips (the night daylight saving begins) is never reached: invalid.
    int steps = 100;
    for (int tries = 0; local(static_cast<time_t>(t)).tm_hour != wanted.tm_hour; ++tries) {
        if (tries == 48) return 0;
        if (local(static_cast<time_t>(t)).tm_hour < wanted.tm_hour) {
            t += 3600;
            ++steps;
        } else {
            t -= 3600;
            --steps;
        }
    }
    if (steps > 110) t -= 86400;
    if (steps < 90) t += 86400;
    return t;
}

// The number at the start of `text` up to `separator`; false when the
// separator is missing. `text` moves past the separator.
static bool take(const char *&text, char separator, int &value) {
    const char *end = std::strchr(text, separator);
    if (!end) return false;
    value = std::atoi(text);
    text = end + 1;
    return true;
}

static struct tm now_at_full_minute() {
    struct tm now = local(ScheduleNow());
    now.tm_sec = 0;
    return now;
}

int64_t check_datetime(const char *text) {
    char copy[51];
    std::strncpy(copy, text, sizeof copy - 1);
    copy[sizeof copy - 1] = '\0';
    struct tm wanted = now_at_full_minute();
    const char *cursor = copy;
    int day, month, year, hour;
    if (!take(cursor, '.', day) || !take(cursor, '.', month) || !take(cursor, ' ', year) ||
        !take(cursor, ':', hour)) {
        return 0;
    }
    wanted.tm_mday = day;
    wanted.tm_mon = month - 1;
    wanted.tm_year = year > 255 ? year - 1900 : year;  // 2012 and 112 alike
    wanted.tm_hour = hour;
    wanted.tm_min = std::atoi(cursor);
    int64_t t = my_mktime(wanted);
    return t < 0 || t < ScheduleNow() ? 0 : t;
}

int64_t check_time(const char *text) {
    struct tm wanted = now_at_full_minute();
    const char *cursor = text;
    int hour;
    if (!take(cursor, ':', hour)) return 0;
    wanted.tm_hour = hour;
    wanted.tm_min = std::atoi(cursor);
    int64_t t = my_mktime(wanted);
    return t < 0 ? 0 : t;
}
