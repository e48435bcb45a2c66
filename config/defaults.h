// The values Korvel needs where the record holds none, and the values every
// new entry starts with: one table, which the screens, the writer and
// corvanectl all use.
#pragma once

#include "config/fields.h"
#include "config/record.h"

// One value of a key: the number of a number field, or the text of a text field.
struct DefaultValue {
    const char *key;
    unsigned number;
    const char *text;  // null for a number
};

// What a save writes where the record holds an empty text or a 0.
struct SaveDefault {
    const char *section;  // a section's name, or a series' prefix
    DefaultValue value;
    bool stored;  // the record takes it too; otherwise it is only written
};

// The save default of `key` in sections of kind `kind`, or null.
const SaveDefault *save_default(const SectionKind &kind, const char *key);
// Stores the save defaults of section kind `kind` in `record` where it holds
// an empty text or a 0: a save does so just before it writes that section.
void apply_save_defaults(ConfigRecord &record, const SectionKind &kind);

// The tables of values new entries start with.
enum class NewEntry { Ups, Group, Event };
// Stores the table of `which` in `entry` (a UpsEntry, GroupEntry or
// GroupEvent); fields the table does not name keep what they hold.
void store_new_defaults(NewEntry which, void *entry);
// Resets `job` (number `index`, 0-29) to its defaults. Mode 0 takes the
// messages of the job screens; any other mode those of the job-status file.
void JobToDefault(JobEntry &job, int index, int mode);
