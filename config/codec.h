// The stored form of schedules ([Schedule_nn] Data: 18 hexadecimal digits)
// and the default values of a job.
#pragma once

#include "config/record.h"

// Decodes the Data text of every schedule of INI that has one.
void DecodeSchedules();
// Rebuilds the Data texts of INI from the decoded fields; an entry whose
// Action is 0 is cleared altogether, so that it is not written.
void EncodeSchedules();
// The byte written as the first two characters of `text`. Other characters
// than hexadecimal digits are not refused; they give what the arithmetic gives.
unsigned char get_hex(const char *text);

// Resets `job` (number `index`, 0-29) to its defaults. Mode 0 takes the
// messages of the job screens; any other mode those of the job-status file.
void JobToDefault(JobEntry &job, int index, int mode);
