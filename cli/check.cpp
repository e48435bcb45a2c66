// check: what Korvel will make of each line of the files, said the way a
// compiler says it. Errors are what Korvel reads differently from what the
// file says; warnings are settings it reads as written but that will not
// work as meant, or that a save would change.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <tuple>
#include <vector>

#include "config/model_code.h"
#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/entries.h"
#include "config/fields.h"
#include "config/ini_reader.h"
#include "config/record.h"
#include "config/files.h"

namespace {

struct Finding {
    std::string file;
    int line;
    bool error;
    std::string message;
};
std::vector<Finding> findings;

// Where each key was read: (file, group, section slot, key) to its line.
std::map<std::tuple<int, int, int, std::string>, std::pair<std::string, int>> read_at;
std::string reading;  // the file being read
int header_seen = -1;  // the last file of which a header was read

std::string current_file(int file, int group = g_index) { return file_name(static_cast<IniFile>(file), group); }

std::string shown(const char *text) {
    std::string line(text);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return line.size() > 40 ? line.substr(0, 40) + "..." : line;
}

void note_line(const ReadLine &line) {
    std::string file = current_file(line.file);
    if (file != reading) reading = file, header_seen = -1;
    auto add = [&](bool error, const std::string &message) { findings.push_back({file, line.number, error, message}); };
    if (line.continued) return add(true, "longer than 298 characters: the rest is read as a line of its own");
    bool key_line = line.fate == LineFate::Key || line.fate == LineFate::UnknownKey;
    if (line.fate == LineFate::Header) header_seen = line.number;
    if (line.text[0] == '[' && line.fate == LineFate::Skipped) return add(true, "a header without \"]\": ignored, its keys go to the section before");
    if (line.fate == LineFate::UnknownHeader) return add(true, "no such section: " + shown(line.text) + "; its keys go to the section before");
    if (line.fate == LineFate::NoSection) return add(true, "a key before the first section header: ignored");
    if (key_line && header_seen < 0) {
        return add(true, "a key before the first section header of the file: read into the section the file before ended in, if it has one");
    }
    if (line.text[0] == ' ' && std::strchr(line.text, '=')) return add(false, "an indented line is a comment: " + shown(line.text));
    if (line.fate == LineFate::UnknownKey) {
        std::string key = line.key;
        if (!key.empty() && key.back() == ' ') return add(true, "a blank before \"=\": the key \"" + key + "\" matches nothing, ignored");
        return add(true, "no such key in this section: " + shown(line.text));
    }
    if (line.fate != LineFate::Key || !line.where) return;
    read_at[{line.file, line.file == kGroupIni ? g_index : -1, line.section, line.key}] = {file, line.number};
    std::string value = line.value;
    if (line.text_field) {
        const char *closing = std::strchr(line.text, '"') ? std::strchr(std::strchr(line.text, '"') + 1, '"') : nullptr;
        if (closing && std::strspn(closing + 1, "\r\n") != std::strlen(closing + 1)) {
            add(true, "text after the closing quote is ignored: " + shown(line.text));
        }
        if (value.size() > static_cast<size_t>(line.width)) {
            add(true, std::string(line.key) + " is cut to its first " + std::to_string(line.width) + " characters");
        } else if (value.size() == static_cast<size_t>(line.width)) {
            add(true, std::string(line.key) + " fills its field: it runs on into the next one");
        }
        return;
    }
    unsigned stored = field_number(line.where, static_cast<unsigned>(line.width));
    bool digits = !value.empty() && value.size() <= 10 && value.find_first_not_of("0123456789") == std::string::npos;
    if (digits && std::stoull(value) == stored) return;
    if (line.file == kJobsIni && std::strcmp(line.key, "Shutdown") == 0 && digits && stored == 0) {
        return add(true, "Korvel reads Shutdown of this job as 0: it shuts down only on job 0 and even jobs from 6 on");
    }
    add(true, std::string(line.key) + "=" + shown(line.value) + " is read as " + std::to_string(stored));
}

// The line a key of the record was read from, or the file's first line.
std::pair<std::string, int> line_of(int file, int group, int slot, const char *key) {
    auto found = read_at.find({file, group, slot, key});
    if (found != read_at.end()) return found->second;
    return {current_file(file, group), 1};
}

void warn(std::pair<std::string, int> where, const std::string &message) {
    findings.push_back({where.first, where.second, false, message});
}

void check_record() {
    const int kUpsSlot = kind_named(kKorvelIni, "UPS_").first_slot, kScheduleSlot = kind_named(kKorvelIni, "Schedule_").first_slot;
    const int kEventSlot = kind_named(kGroupIni, "Event_").first_slot;
    if (INI.System.KeyCode[0] && !FindUpsModelTxt(INI.System.KeyCode, sizeof INI.System.KeyCode)) {
        warn(line_of(kKorvelIni, -1, 0, "KeyCode"), "not a valid UPS model code: KeyCode");
    }
    if (INI.System.DataLogMin >= INI.System.DataLogMax) {
        warn(line_of(kKorvelIni, -1, 0, "DataLogMin"), "DataLogMin is not below DataLogMax");
    }
    for (int i = 0; i < kUpsEntries; ++i) {
        const UpsEntry &ups = INI.UPS[i];
        if (!ups.Name[0]) continue;
        if (!FindUpsModelTxt(ups.Type, sizeof ups.Type)) warn(line_of(kKorvelIni, -1, kUpsSlot + i, "Type"), "not a valid UPS model code: Type");
        if (!ups_shutdown_consistent(ups)) {
            warn(line_of(kKorvelIni, -1, kUpsSlot + i, "SystemShutdown"),
                 "SystemShutdown is not 1 exactly when SystemShutDelayAllow or SystemShutLeadAllow is, as the UPS screen keeps it");
        }
        if (!ups_lead_covers_delay(ups)) {
            warn(line_of(kKorvelIni, -1, kUpsSlot + i, "SystemShutdownLead"), "SystemShutdownLead (minutes) does not cover UPSShutdownDelay (" +
                 std::to_string(ups.UPSShutdownDelay) + " seconds), as the UPS screen raises it to");
        }
        if (ups.Connection == 1 || ups.Connection == 4 || ups.Connection >= 6) {
            warn(line_of(kKorvelIni, -1, kUpsSlot + i, "Connection"),
                 "connection kind " + std::to_string(ups.Connection) + " is none the UPS connection screen can set or leave");
        }
    }
    auto reference = [&](int index, std::pair<std::string, int> where, const std::string &what) {
        int saved = saved_ups_number(INI, index);
        if (saved < 0) {
            warn(where, what + " names " + ups_section(index) + ", which is not defined");
        } else if (saved != index) {
            warn(where, what + " names " + ups_section(index) + ", which a save writes as " + ups_section(saved) +
                            ": it would then name another UPS");
        }
    };
    for (int s = 0; s < kSchedules; ++s) {
        if (INI.Schedule[s].Action) reference(INI.Schedule[s].UpsIndex, line_of(kKorvelIni, -1, kScheduleSlot + s, "Data"), "a schedule");
    }
    int in_use = 0;
    for (int g = 0; g < kGroups; ++g) {
        const GroupEntry &group = INI.Group[g];
        if (!group.Name[0]) continue;
        ++in_use;
        for (int e = 0; e < kGroupEvents; ++e) {
            const GroupEvent &event = group.Event[e];
            for (int slot = 0; slot < 6 && event_in_use(event); ++slot) {
                if (qualifier_fits(event.Type[slot], event.Priority[slot])) continue;
                std::string key = "Priority" + std::to_string(slot + 1);
                warn(line_of(kGroupIni, g, kEventSlot + e, key.c_str()), key + " is no count 0..8, which condition " + std::to_string(event.Type[slot]) + " takes");
            }
        }
        for (int m = 0; m < kGroupMembers; ++m) {
            char key[8];
            std::snprintf(key, sizeof key, "UPS_%02d", m);
            if (group.UPS[m]) reference(group.UPS[m] - 1, line_of(kGroupIni, g, 1, key), "a group member");
        }
    }
    // A save writes the groups in use as group_00, group_01 ... and leaves
    // the files numbered from there on, which bring their groups back.
    for (int g = in_use; g < kGroups; ++g) {
        char name[16];
        group_file_name(name, sizeof name, g);
        struct stat state;
        if (stat((std::string(ProgramDir) + name).c_str(), &state) != 0) continue;
        findings.push_back({name, 1, false,
                            "a save writes the " + std::to_string(in_use) + " groups in use as the files before this one and leaves "
                            "it as it is: its group comes back at the next start"});
    }
}

}  // namespace

void prepare_check() { ReadNote = note_line; }

int run_check(bool json) {
    ReadNote = nullptr;
    check_record();
    // In the order the files are read, line by line.
    auto rank = [](const std::string &file) {
        IniFile kind = kKorvelIni;
        int group = 0;
        parse_file_name(file, kind, group);
        return std::make_pair(reading_rank(kind), file);
    };
    std::stable_sort(findings.begin(), findings.end(), [&](const Finding &a, const Finding &b) {
        return std::make_pair(rank(a.file), a.line) < std::make_pair(rank(b.file), b.line);
    });
    bool errors = false;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Finding &f : findings) {
        errors |= f.error;
        if (json) {
            list.push_back({{"file", f.file}, {"line", f.line}, {"severity", f.error ? "error" : "warning"}, {"message", f.message}});
        } else {
            std::printf("%s:%d: %s: %s\n", f.file.c_str(), f.line, f.error ? "error" : "warning", f.message.c_str());
        }
    }
    if (json) std::cout << list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
    return errors ? kRefused : kDone;
}
