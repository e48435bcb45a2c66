// Time zones for tests: the zone is set for the life of a ZoneSetting and
// put back (unset) afterwards.
#pragma once

#include <cstdlib>
#include <ctime>

struct ZoneSetting {
    explicit ZoneSetting(const char *zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneSetting() {
        unsetenv("TZ");
        tzset();
    }
};

// Calendar seconds of a UTC date and time.
inline time_t utc(int year, int month, int day, int hour, int minute) {
    struct tm at = {};
    at.tm_year = year - 1900;
    at.tm_mon = month - 1;
    at.tm_mday = day;
    at.tm_hour = hour;
    at.tm_min = minute;
    return timegm(&at);
}
