// The stored form of schedules ([Schedule_nn] Data: 18 hexadecimal digits).
#pragma once

#include "config/record.h"

// Decodes the Data text of every schedule of `record` that has one.
void DecodeSchedules(ConfigRecord &record = INI);
// Rebuilds the Data texts of `record` from the decoded fields; an entry
// whose Action is 0 is cleared altogether, so that it is not written.
void EncodeSchedules(ConfigRecord &record = INI);
// The same for one entry, and the text of one entry's decoded fields.
void DecodeSchedule(ScheduleEntry &entry);
void EncodeSchedule(const ScheduleEntry &entry, char (&text)[sizeof ScheduleEntry::Data]);
// The byte written as the first two characters of `text`. Other characters
// than hexadecimal digits are not refused; they give what the arithmetic gives.
unsigned char get_hex(const char *text);
