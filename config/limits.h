// The values the editor's screens accept for the numbers they set, where
// these are narrower than the field itself: one table, each row named at
// compile time, which the screens enter their numbers by and corvanectl
// checks every value against. No row is wider than its field.
#pragma once

#include <cstdint>

#include "console/screen.h"

enum class Limit : uint8_t {
    // Entered as numbers on the screens.
    DataLogRate, DataLogMin, DataLogMax,
    NetworkCheckRate, NetworkPort,
    ModemRepeat, ModemDelay,
    UpsAddress, UpsDevice, UpsSystemDelay, UpsSystemLead, UpsShutdownDelay,
    JobDelay, JobInterval, EventDelay, EventInterval,
    GroupBatteryRuntime, GroupSystemDelay, GroupUpsDelay,
    QualifierCount,  // a condition's count; stored as the count, or beside 100
    ScheduleDay,     // a monthly schedule's day, stored in the schedule's text
    // Chosen or switched on the screens.
    Language, EventLog, DataLog, EnabledGroups, DeviceActions, LostCommRaiseAlarm, DisableShutdownForSingleUPS,
    DisableJobs, IgnoreRemoteUPSCommands,
    NetworkServer, NetworkHttp,
    ModemAllowed, ModemIncoming, SmsAllowed, SmsType, WapAllowed,
    UpsConnection, UpsSystemShutdown, UpsDelayAllow, UpsLeadAllow, UpsShutdown,
    GroupBattery, GroupSystem, GroupUps, GroupReboot, GroupRedundancy,
    GroupMember, EventType, EventPriority,
    // 0 is no value there: a save writes the default (25, 5, 1, 9200) instead.
    MailPort, MailTimeout, ViewerDevice, WapPort,
    Count
};

struct FieldLimit {
    Limit name;
    const char *section;  // a section's name, a series' prefix ("UPS_"), or null for a value no key holds as entered
    const char *key;      // a key, or "*Delay" for every key ending so, "Type*" for every key beginning so
    NumberRange range;
    const char *allowed;  // the values allowed, when not all of the range are: "0, 2, 3, 5", "0-8, 254"
};

// The row of `name`.
const FieldLimit &limit(Limit name);
// The range a screen enters the number of `name` by.
inline const NumberRange &range_of(Limit name) { return limit(name).range; }
// The row for `key` of `section`, or null when only the field's width limits it.
const FieldLimit *find_limit(const char *section, const char *key);
// Whether `key` matches a row's key pattern.
bool limit_matches(const char *pattern, const char *key);
// Whether `value` is one the row allows.
bool within(const FieldLimit &limit, unsigned value);
