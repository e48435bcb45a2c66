// The values the editor's screens accept for the fields they edit, where
// these are narrower than the field itself: one table, which the screens
// enter their numbers by and corvanectl checks every value against.
#pragma once

struct FieldLimit {
    const char *section;  // a section's name, or a series' prefix ("UPS_")
    const char *key;      // a key, or "*Delay" for every key ending so, "*" for all
    unsigned low, high;
    const char *allowed;  // the single values allowed, when not all of the range are ("0, 2, 3, 5")
};

// The row for `key` of `section`, or null when only the field's width limits it.
const FieldLimit *find_limit(const char *section, const char *key);
// The row the screens enter a number by; it must exist.
const FieldLimit &field_limit(const char *section, const char *key);
// Whether `value` is one the row allows.
bool within(const FieldLimit &limit, unsigned value);
