// Calendar arithmetic for the schedules: local dates and times typed by the
// user turned into calendar seconds (seconds since 1 January 1970), with
// Korvel's own rules: a fixed month table, every fourth year a leap year,
// and an hour-by-hour correction against the local time zone.
#pragma once

#include <cstdint>
#include <ctime>

// Lengths of the months, and the days before each month, of a common year.
extern const unsigned char Days[12];
extern const uint32_t YDays[12];

// "Now" for everything that depends on it; tests pin it.
extern time_t (*ScheduleNow)();

// Seconds for a broken-down local time (year from 1900, month 0-11, day from
// 0), corrected by an hour when daylight saving is in force now; -1 for a
// year outside 1970-2038 or a result below 1.
int32_t totalsec(int year, int month, int day, int hour, int minute, int second);
// Seconds for the local time `wanted`, or 0 when a field is out of range, the
// year is outside 1970-2038, or the local clock never shows that hour.
int64_t my_mktime(const struct tm &wanted);
// Seconds for a text "DD.MM.YYYY HH:MM"; 0 when malformed, invalid or past.
int64_t check_datetime(const char *text);
// Seconds for today at "HH:MM"; 0 when malformed or invalid.
int64_t check_time(const char *text);
