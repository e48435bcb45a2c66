#include "config/entries.h"

#include <cstdio>
#include <cstring>

#include "config/defaults.h"
#include "config/limits.h"
#include "console/lang.h"

bool ups_in_use(const UpsEntry &entry) { return entry.Name[0] != '\0'; }
bool schedule_in_use(const ScheduleEntry &entry) { return entry.Action != kActionUnused; }
bool group_in_use(const GroupEntry &group) { return group.Name[0] != '\0'; }
bool event_in_use(const GroupEvent &event) { return event.Type[0] != 0; }

bool ups_shutdown_consistent(const UpsEntry &entry) {
    return entry.SystemShutdown == (entry.SystemShutDelayAllow || entry.SystemShutLeadAllow ? 1 : 0);
}

bool ups_lead_covers_delay(const UpsEntry &entry) {
    return !entry.UPSShutdown || !entry.SystemShutLeadAllow || entry.SystemShutdownLead >= entry.UPSShutdownDelay / 60;
}

bool qualifier_fits(unsigned type, unsigned qualifier) {
    return (type != 23 && type != 24) || qualifier <= range_of(Limit::QualifierCount).high;
}

void create_ups(ConfigRecord &record, int index) {
    UpsEntry &entry = record.UPS[index];
    store_new_defaults(NewEntry::Ups, &entry);
    std::memcpy(entry.Port, record.Serial[0].Device, sizeof entry.Port);
}

bool ups_user(const ConfigRecord &record, int index, UpsUser &user) {
    for (int g = 0; g < kGroups; ++g) {
        for (int slot = 0; slot < kGroupMembers && group_in_use(record.Group[g]); ++slot) {
            if (record.Group[g].UPS[slot] == index + 1) return user.group = g, user.slot = slot, true;
        }
    }
    for (int s = 0; s < kSchedules; ++s) {
        if (schedule_in_use(record.Schedule[s]) && record.Schedule[s].UpsIndex == index) return user.schedule = s, true;
    }
    return false;
}

int ups_deletion_refused(const ConfigRecord &record, int index) {
    UpsUser user;
    if (!ups_user(record, index, user)) return 0;
    return user.group >= 0 ? 246_text : kTextScheduleUsesUps;
}

void delete_ups(ConfigRecord &record, int index) {
    std::memset(record.UPS[index].Name, 0, sizeof record.UPS[index].Name);
    for (GroupEntry &group : record.Group) {
        for (int slot = 0; slot < kGroupMembers; ++slot) {
            if (group.UPS[slot] > index) group.UPS[slot] = static_cast<uint16_t>(group.UPS[slot] - 1);
        }
    }
    for (ScheduleEntry &schedule : record.Schedule) {
        if (schedule.UpsIndex > index) schedule.UpsIndex = static_cast<uint16_t>(schedule.UpsIndex - 1);
    }
}

void delete_named(char *name, size_t size) { std::memset(name, 0, size); }

void create_schedule(ScheduleEntry &entry) { std::memset(&entry, 0, sizeof entry); }

void delete_schedule(ScheduleEntry &entry) {
    entry.Action = kActionUnused;
    entry.Period = 0;
}

void create_group(GroupEntry &group) {
    std::memset(&group, 0, sizeof group);
    store_new_defaults(NewEntry::Group, &group);
}

void delete_group(GroupEntry &group) {
    std::memset(group.Name, 0, sizeof group.Name);
    group.AllowedUPSReboot = 0;
}

void create_event(GroupEvent &event, int index) {
    std::memset(&event, 0, sizeof event);
    store_new_defaults(NewEntry::Event, &event);
    std::snprintf(event.Job.Message, sizeof event.Job.Message, "Event %02d", index);
}

void delete_event(GroupEvent &event) { event.Type[0] = 0; }

void remove_condition(GroupEvent &event, int slot) {
    for (int s = slot; s < 5; ++s) {
        event.Type[s] = event.Type[s + 1];
        event.Priority[s] = event.Priority[s + 1];
    }
    event.Type[5] = 0;
}
