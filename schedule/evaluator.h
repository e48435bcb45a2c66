// Which scheduled action fires in which minute, and the lines that list
// the coming actions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "config/record.h"

// The schedule entry that matched last.
extern ScheduleEntry ShedAction;

// 1 when schedule `index` of `record` fires in the minute of `moment`; the
// entry is then copied into ShedAction.
int TestSchedules(int64_t moment, const ConfigRecord &record, int index);

// One line of the view: schedule `index` fires in the minute whose local time
// is `when`.
struct Firing {
    struct tm when;
    int index;
};
using FiringSink = void (*)(const Firing &firing, void *context);

// The minutes from `start` while before `end`, and the schedules of `record`
// that fire in each, in order: once ten lines are reached, at most one per
// minute. `start` is advanced to where the scan stopped; the count of lines
// is returned. scan_literally asks TestSchedules about every minute and
// schedule, as Korvel does; scan_schedules finds the same lines directly
// from the schedules' local times.
int scan_literally(int64_t &start, int64_t end, const ConfigRecord &record, FiringSink sink, void *context);
int scan_schedules(int64_t &start, int64_t end, const ConfigRecord &record, FiringSink sink, void *context);

// One line of the view: the local date and time, the UPS's name ("?" for an
// entry not in use) padded to 40 columns, and the action's label.
void format_firing(const Firing &firing, const ConfigRecord &record, char *line, size_t size);
// The label of a schedule action (text 278 for an unknown one).
const char *schedule_action_label(unsigned action);

// Where a view of the actions of `days` days from `start` ends.
int64_t actions_end(int64_t start, int days);
