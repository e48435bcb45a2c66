// Creating and deleting the entries of the numbered series: UPS entries,
// recipients, schedules, groups, group events and their conditions. The
// editor's screens and corvanectl both change entries only through these,
// so that a command can neither do what a screen refuses nor do it another
// way.
#pragma once

#include "config/record.h"

// Whether each kind of entry is in use, as a save decides what it writes.
bool ups_in_use(const UpsEntry &entry);
bool schedule_in_use(const ScheduleEntry &entry);
bool group_in_use(const GroupEntry &group);
bool event_in_use(const GroupEvent &event);

// The rules the UPS screen keeps between its switches and delays: the
// system shutdown is on exactly when its delay or its lead time is, and the
// lead time (minutes) covers the UPS's own shutdown delay (seconds), to the
// whole minutes the screen raises it to.
bool ups_shutdown_consistent(const UpsEntry &entry);
bool ups_lead_covers_delay(const UpsEntry &entry);
// The group's own conditions (23 and 24) take a plain count, as their
// screen enters it; the others a form of the qualifier chooser.
bool qualifier_fits(unsigned type, unsigned qualifier);

// Naming an undefined UPS entry: the new UPS's defaults, its port a copy of
// the serial device. Fields the defaults do not cover keep what they held.
void create_ups(ConfigRecord &record, int index);
// What names UPS entry `index`: the first member of a group in use (the
// group's and the slot's index), else the first schedule in use. False when
// nothing does.
struct UpsUser {
    int group = -1, slot = -1, schedule = -1;
};
bool ups_user(const ConfigRecord &record, int index, UpsUser &user);
// Why UPS entry `index` cannot be deleted (the text number of the message:
// a group member or a schedule in use names it), or 0 when it can.
int ups_deletion_refused(const ConfigRecord &record, int index);
// Clears the entry's name. A save numbers the entries in use without gaps,
// so every later entry moves down one number at the next load; the group
// members (entry + 1) and the schedules (entry) naming them follow now.
// Call only when ups_deletion_refused gives 0.
void delete_ups(ConfigRecord &record, int index);

// A recipient or message text is removed by clearing its name; its other
// fields stay, unused, and come back if the entry is named again.
void delete_named(char *name, size_t size);

// A new schedule is the zeroed entry, active once its action is set.
void create_schedule(ScheduleEntry &entry);
// Dropped at the next save; its timing stays in the record until then.
void delete_schedule(ScheduleEntry &entry);

// Opening an undefined group starts it afresh: all zero but the defaults.
void create_group(GroupEntry &group);
// The name goes and the group may no longer reboot a UPS; the rest stays
// until the group is opened again.
void delete_group(GroupEntry &group);

// Opening undefined event `index` (0-63) starts it afresh, still undefined
// until its first condition is chosen.
void create_event(GroupEvent &event, int index);
// Only the first condition is cleared; the rest stays until the event is
// opened again.
void delete_event(GroupEvent &event);
// Removes condition `slot` (0-5): the later ones move up one slot and the
// last slot's type is cleared (its qualifier stays).
void remove_condition(GroupEvent &event, int slot);
