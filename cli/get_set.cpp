// get, set, and the checked change that set and apply share.
#include <cstdio>
#include <cstring>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/record.h"
#include "config/codec.h"

int run_get(const std::vector<std::string> &keys) {
    std::vector<std::string> values;
    for (const std::string &name : keys) {
        KeyRef key;
        std::string why = resolve_key(name, key);
        if (why.empty() && !entry_in_use(key)) why = "no such section: its entry is not in use";
        if (!why.empty()) return complain(name + ": " + why), kRefused;
        values.push_back(key_value(key));
    }
    for (const std::string &value : values) std::printf("%s\n", value.c_str());
    return kDone;
}

int run_set(const std::vector<std::string> &assignments, bool dry_run) {
    std::vector<Change> changes;
    for (const std::string &assignment : assignments) {
        size_t equals = assignment.find('=');
        if (equals == std::string::npos) return complain(assignment + ": not KEY=VALUE"), kRefused;
        changes.emplace_back(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    return run_changes(changes, dry_run);
}

int run_changes(const std::vector<Change> &changes, bool dry_run) {
    std::vector<std::string> lines;
    for (const Change &change : changes) {
        KeyRef key;
        std::string why = resolve_key(change.first, key);
        // A new entry, or a new group, is in use once its first key is set.
        if (why.empty() && key.group >= 0 && !INI1.Group[key.group].Name[0]) {
            if (!(key.kind->name == std::string("Common") && key.first)) why = "the group is not in use: set its Common.Name first";
        } else if (why.empty() && !entry_in_use(key) && !key.first) {
            why = "its entry is not in use: set " + std::string(key_set(key.file, key.kind->key_set).fields[0].key) + " first";
        }
        if (!why.empty()) return complain(change.first + ": " + why), kRefused;
        // A value as it stands is no change, whatever a screen would accept.
        std::string old = key_value(key);
        if (old == change.second && entry_in_use(key)) continue;
        std::string allowed = check_value(key, change.second);
        if (!allowed.empty()) return complain(key.name + "=" + change.second + ": allowed: " + allowed), kRefused;
        if (old == change.second) continue;
        store_value(key, change.second);
        lines.push_back(key.name + ": " + old + " -> " + change.second);
    }
    // A schedule is saved from its decoded fields: decode the texts set.
    DecodeSchedules(INI1);
    // Rules between fields, as the screens keep them.
    const SystemSettings &system = INI1.System;
    bool bounds_changed = system.DataLogMin != INI.System.DataLogMin || system.DataLogMax != INI.System.DataLogMax;
    if (bounds_changed && system.DataLogMin >= system.DataLogMax) {
        return complain("System.DataLogMin=" + std::to_string(system.DataLogMin) + ": allowed: below System.DataLogMax (" +
                        std::to_string(system.DataLogMax) + ")"),
               kRefused;
    }
    for (int i = 0; i < kUpsEntries; ++i) {
        const UpsEntry &ups = INI1.UPS[i], &was = INI.UPS[i];
        if (!ups.Name[0] || std::memcmp(&ups, &was, sizeof ups) == 0) continue;
        std::string name = ups_section(saved_ups_number(INI1, i));  // as the keys number it
        // The system shutdown is on exactly when its delay or its lead time is.
        if (ups.SystemShutdown != (ups.SystemShutDelayAllow || ups.SystemShutLeadAllow ? 1 : 0)) {
            return complain(name + ".SystemShutdown=" + std::to_string(ups.SystemShutdown) +
                            ": allowed: 1 when SystemShutDelayAllow or SystemShutLeadAllow is 1, else 0"),
                   kRefused;
        }
        // The lead time (minutes) covers the UPS's own shutdown delay (seconds)
        // as the UPS screen raises it: to the whole minutes of the delay.
        if (ups.UPSShutdown && ups.SystemShutLeadAllow && ups.SystemShutdownLead < ups.UPSShutdownDelay / 60) {
            return complain(name + ".SystemShutdownLead=" + std::to_string(ups.SystemShutdownLead) + ": allowed: at least " +
                            std::to_string(ups.UPSShutdownDelay / 60) + ", to cover " + name +
                            ".UPSShutdownDelay (" + std::to_string(ups.UPSShutdownDelay) + " seconds)"),
                   kRefused;
        }
    }
    std::vector<std::string> written;
    if (!dry_run && !lines.empty()) {
        if (int status = save_changes(written)) return status;
    }
    for (const std::string &line : lines) std::printf("%s\n", line.c_str());
    return kDone;
}
