// check: what Korvel will make of each line of the files, said the way a
// compiler says it. Errors are what Korvel reads differently from what the
// file says; warnings are settings it reads as written but that will not
// work as meant, or that a save would change.
#include <algorithm>
#include <cstddef>
#include <dirent.h>
#include <cstdio>
#include <cstring>
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
#include "config/journal.h"
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

std::string shown(const std::string &text) {
    std::string line(text);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return line.size() > 40 ? line.substr(0, 40) + "..." : line;
}

// Every field of INI by where it starts, to name the one a stray line lands in.
struct Place {
    size_t start, width;
    const SectionKind *kind;
    int group, entry, slot;
    bool operator<(const Place &other) const { return start < other.start; }
};

// The key whose field holds `where` in INI, as "[FILE:]SECTION.KEY".
std::string key_at(const unsigned char *where) {
    static std::vector<Place> places;
    if (places.empty()) {
        for (int k = 0; k < kSectionKindCount; ++k) {
            const SectionKind &kind = kSectionKinds[k];
            const KeySet &keys = key_set(kind.file, kind.key_set);
            for (int g = 0; g < (kind.file == kGroupIni ? kGroups : 1); ++g) {
                size_t base = kind.base + (kind.file == kGroupIni ? offsetof(ConfigRecord, Group) + g * sizeof(GroupEntry) : 0);
                for (int e = 0; e < kind.entries; ++e) {
                    for (int slot = 0; slot < keys.count; ++slot) {
                        places.push_back({base + e * kind.entry_size + keys.fields[slot].offset, keys.fields[slot].width, &kind, g, e, slot});
                    }
                }
            }
        }
        std::sort(places.begin(), places.end());
    }
    size_t at = static_cast<size_t>(where - reinterpret_cast<const unsigned char *>(&INI));
    auto after = std::upper_bound(places.begin(), places.end(), Place{at, 0, nullptr, 0, 0, 0});
    if (after == places.begin() || at >= (after - 1)->start + (after - 1)->width) return "no setting";
    const Place &place = *(after - 1);
    std::string file = place.kind->file == kKorvelIni ? "" : current_file(place.kind->file, place.group) + ":";
    return file + section_name(*place.kind, place.entry) + "." + key_set(place.kind->file, place.kind->key_set).fields[place.slot].key;
}

// A key line that stored a value, judged once every file is read: a later
// line may store into the same field, or into the one a text runs on into.
struct KeyLine {
    std::string file;
    int line;
    std::string key, raw;  // the value as written, without its line's end
    const unsigned char *where;
    int width;
    bool text;
    int job_file;  // jobs.ini or jobsSTS.ini, whose Shutdown Korvel reads as it likes
    bool secret;
};
std::vector<KeyLine> key_lines;

void note_line(const ReadLine &line) {
    std::string file = current_file(line.file);
    if (file != reading) reading = file, header_seen = -1;
    auto add = [&](bool error, const std::string &message) { findings.push_back({file, line.number, error, message}); };
    if (line.continued) return add(true, "longer than 298 characters: the rest is read as a line of its own");
    bool key_line = line.fate == LineFate::Key || line.fate == LineFate::UnknownKey;
    if (line.fate == LineFate::Header) header_seen = line.number;
    const SectionKind *header = line.fate == LineFate::Header ? section_kind(line.file, line.section) : nullptr;
    if (header && line.section - header->first_slot >= header->entries) {
        const SectionKind &kind = *header;
        return add(true, shown(line.text) + " is past the " + std::to_string(kind.entries) + " " + kind.name +
                             " sections Korvel keeps: its keys are read into the settings that follow");
    }
    // A line of blanks and a carriage return is an empty line too.
    if (!key_line || !std::strchr(line.text, '=')) {
        if (line.text[std::strspn(line.text, " \t\r\n")] == '\0') return;
    }
    if (line.text[0] == '[' && line.fate == LineFate::Skipped) return add(true, "a header without \"]\": ignored, its keys go to the section before");
    if (line.fate == LineFate::UnknownHeader) return add(true, "no such section: " + shown(line.text) + "; its keys go to the section before");
    if (line.fate == LineFate::NoSection) return add(true, "a key before the first section header: ignored");
    if (line.text[0] == ' ' && std::strchr(line.text, '=')) return add(false, "an indented line is a comment: " + shown(line.text));
    if (key_line && header_seen < 0) {
        std::string fate = line.where ? "read as " + key_at(line.where) : "no key of that section, ignored";
        return add(true, "a key before the first section header of the file: it goes to the section the file before ended in: " + fate);
    }
    if (line.fate == LineFate::UnknownKey) {
        std::string key = line.key;
        if (!key.empty() && key.back() == ' ') return add(true, "a blank before \"=\": the key \"" + key + "\" matches nothing, ignored");
        return add(true, "no such key in this section: " + shown(line.text));
    }
    if (line.fate != LineFate::Key) return;
    if (!line.where) return add(true, std::string(line.key) + " lands past the end of the settings: ignored");
    std::string named = (line.file == kKorvelIni ? "" : file + ":") + SectionNames(line.file, line.section) + "." + line.key;
    std::string landed = key_at(line.where);
    if (landed != named) {
        return add(true, std::string(line.key) + " is read into " + landed + (line.text_field ? " and the settings after it" : ""));
    }
    read_at[{line.file, line.file == kGroupIni ? g_index : -1, line.section, line.key}] = {file, line.number};
    std::string raw = std::strchr(line.text, '=') + 1;
    if (!raw.empty() && raw.back() == '\n') raw.pop_back();
    key_lines.push_back({file, line.number, line.key, raw, line.where, line.width, line.text_field,
                         line.file == kJobsIni || line.file == kJobsStsIni ? line.file : -1,
                         secret(*section_kind(line.file, line.section), line.key)});
}

// What a number's line says, without the blanks, the carriage return and
// the quotes around it: digits after an optional "+". False when it is no
// such number.
bool face_number(const std::string &raw, unsigned long long &value, bool &unusual) {
    size_t first = raw.find_first_not_of(" \t\r"), last = raw.find_last_not_of(" \t\r");
    std::string face = first == std::string::npos ? "" : raw.substr(first, last - first + 1);
    if (face.size() >= 2 && face.front() == '"' && face.back() == '"') face = face.substr(1, face.size() - 2);
    unusual = first != 0 || (!raw.empty() && raw.back() != '\r' && last + 1 != raw.size()) || (!face.empty() && face[0] == '+');
    if (!face.empty() && face[0] == '+') face.erase(0, 1);
    if (face.empty() || face.size() > 19 || face.find_first_not_of("0123456789") != std::string::npos) return false;
    value = std::stoull(face);
    return true;
}

// Whether Korvel reads a key line as it is written; if not, why.
void judge(const KeyLine &line, const std::map<const unsigned char *, const KeyLine *> &last_at) {
    auto add = [&](bool error, const std::string &message) { findings.push_back({line.file, line.line, error, message}); };
    const KeyLine *last = last_at.at(line.where);
    std::string again = last != &line ? " (" + line.key + " is set again at " + last->file + ":" + std::to_string(last->line) +
                                           ", which Korvel reads instead)" : "";
    const unsigned char *end = reinterpret_cast<const unsigned char *>(&INI) + sizeof INI;
    if (line.text) {
        // A quote opens the value and the next one ends it; without a
        // closing quote the value runs to the line's end.
        std::string raw = line.raw;
        if (!raw.empty() && raw.back() == '\r') raw.pop_back();
        bool opened = !raw.empty() && raw[0] == '"', closed = opened && raw.size() >= 2 && raw.back() == '"';
        std::string face = raw.substr(opened, raw.size() - opened - closed);
        const void *zero = std::memchr(line.where, 0, static_cast<size_t>(end - line.where));
        std::string read(reinterpret_cast<const char *>(line.where),
                         zero ? static_cast<const unsigned char *>(zero) - line.where : end - line.where);
        if (read == face) {
            if (opened && !closed) add(false, "no closing quote: " + line.key + " is read to the line's end");
            return;
        }
        std::string as = line.key + " is read as \"" + shown_value(line.secret, shown(read)) + "\"";
        if (!opened && raw.find('"') != std::string::npos) return add(true, "a blank or text before the opening quote: " + as);
        if (face.find('"') != std::string::npos) return add(true, "text after the closing quote is ignored: " + as);
        if (face.size() > static_cast<size_t>(line.width)) {
            return add(true, line.key + " is cut to its first " + std::to_string(line.width) + " characters" + again);
        }
        if (read == face + "\r") return add(true, "the carriage return of the line's end is read into " + line.key + ": quote the value");
        if (!again.empty()) return add(true, as + again);
        if (read.compare(0, face.size(), face) == 0 && face.size() == static_cast<size_t>(line.width)) {
            return add(true, line.key + " fills its field: it runs on into the next one, " + as);
        }
        return add(true, as);
    }
    unsigned stored = field_number(line.where, static_cast<unsigned>(line.width));
    unsigned long long face = 0;
    bool unusual = false;
    if (face_number(line.raw, face, unusual) && face == stored) {
        if (unusual) add(false, line.key + "=" + shown_value(line.secret, shown(line.raw)) + " is read as " + shown_value(line.secret, std::to_string(stored)) + ", and a save writes it so");
        return;
    }
    std::string as = line.key + "=" + shown_value(line.secret, shown(line.raw)) + " is read as " + shown_value(line.secret, std::to_string(stored));
    if (!again.empty()) return add(true, as + again);
    if (line.job_file >= 0 && line.key == "Shutdown" && stored == 0) {
        return add(true, line.job_file == kJobsIni ? "Korvel reads Shutdown of this job as 0: it shuts down only on job 0 and even jobs from 6 on" : as);
    }
    add(true, as);
}

// What an interrupted save left: its journal, or staged copies ".NAME.XXXXXX".
void find_interrupted_save() {
    if (unfinished_save(ProgramDir)) {
        findings.push_back({kJournalName, 1, false, "a save was interrupted after its commit point: corvanectl recover puts its files in place"});
    }
    DIR *directory = opendir(ProgramDir);
    if (!directory) return;
    while (const dirent *entry = readdir(directory)) {
        if (!staged_name(entry->d_name)) continue;
        std::string name = entry->d_name, target = name.substr(1, name.size() - 8);
        findings.push_back({name, 1, false, "a staged copy of " + target + " that an interrupted save left: corvanectl recover removes it"});
    }
    closedir(directory);
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
    std::map<const unsigned char *, const KeyLine *> last_at;
    for (const KeyLine &line : key_lines) last_at[line.where] = &line;
    for (const KeyLine &line : key_lines) judge(line, last_at);
    check_record();
    find_interrupted_save();
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
    if (json) print_json_text(list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
    return errors ? kRefused : kDone;
}
