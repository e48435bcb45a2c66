#include "cli/keys.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "config/codec.h"
#include "config/defaults.h"
#include "config/entries.h"
#include "config/ini_reader.h"
#include "config/language.h"
#include "config/limits.h"
#include "config/model_code.h"
#include "config/record.h"

namespace {

bool two_digits(const std::string &text, size_t at, int &number) {
    if (text.size() != at + 2 || !isdigit(static_cast<unsigned char>(text[at])) || !isdigit(static_cast<unsigned char>(text[at + 1]))) return false;
    number = (text[at] - '0') * 10 + (text[at + 1] - '0');
    return true;
}

bool is_key(const KeyRef &key, const char *section, const char *name) {
    return named(key.name.kind, section) && std::strcmp(key.name.field->key, name) == 0;
}

unsigned char *group_base(ConfigRecord &record, int group) {
    return group >= 0 ? reinterpret_cast<unsigned char *>(&record.Group[group]) : reinterpret_cast<unsigned char *>(&record);
}

}  // namespace

bool named(const SectionKind *kind, const char *name) { return kind && std::strcmp(kind->name, name) == 0; }

int saved_ups_number(const ConfigRecord &record, int index) {
    if (index < 0 || index >= kUpsEntries || !ups_in_use(record.UPS[index])) return -1;
    int number = 0;
    for (int i = 0; i < index; ++i) number += ups_in_use(record.UPS[i]);
    return number;
}

std::string ups_section(int number) {
    char name[16];
    std::snprintf(name, sizeof name, "UPS_%02d", number);
    return name;
}

int reading_rank(IniFile file) {
    return static_cast<int>(std::find(std::begin(kReadingOrder), std::end(kReadingOrder), file) - std::begin(kReadingOrder));
}

std::string file_name(IniFile file, int group_number) {
    if (file != kGroupIni) return ini_file_name(file);
    char name[16];
    group_file_name(name, sizeof name, group_number);
    return name;
}

bool parse_file_name(const std::string &name, IniFile &file, int &group_number) {
    if (name.compare(0, 6, "group_") == 0 && name.size() == 12 && name.compare(8, 4, ".ini") == 0 &&
        two_digits(name.substr(0, 8), 6, group_number)) {
        file = kGroupIni;
        return true;
    }
    for (IniFile f : kReadingOrder) {
        if (f != kGroupIni && name == file_name(f, 0)) return file = f, true;
    }
    return false;
}

std::string section_name(const SectionKind &kind, int number) {
    if (kind.slots == 1) return kind.name;
    char name[kNameSize + 4];
    std::snprintf(name, sizeof name, "%s%02d", kind.name, number);
    return name;
}

const SectionKind &kind_named(IniFile file, const char *name) {
    for (int k = 0; k < kSectionKindCount; ++k) {
        if (kSectionKinds[k].file == file && named(&kSectionKinds[k], name)) return kSectionKinds[k];
    }
    return kSectionKinds[0];
}

std::string parse_section(const std::string &text, KeyName &key) {
    key = KeyName();
    size_t colon = text.find(':');
    std::string file = colon == std::string::npos ? "korvel.ini" : text.substr(0, colon);
    std::string section = colon == std::string::npos ? text : text.substr(colon + 1);
    int number = 0;
    if (!parse_file_name(file, key.file, number)) return "no such file: " + file;
    if (key.file == kGroupIni) key.group_number = number;
    for (int k = 0; k < kSectionKindCount && !key.kind; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        if (kind.file != key.file) continue;
        if (kind.slots == 1 && section == kind.name) {
            key.kind = &kind;
        } else if (kind.slots > 1 && section.compare(0, std::strlen(kind.name), kind.name) == 0 &&
                   two_digits(section, std::strlen(kind.name), key.number)) {
            key.kind = &kind;
            if (key.number >= kind.entries) return "no such section: " + section;
        }
    }
    if (!key.kind) return "no such section in " + file + ": " + section;
    key.name = (key.file == kKorvelIni ? "" : file + ":") + section;
    return "";
}

std::string parse_key(const std::string &text, KeyName &key) {
    size_t colon = text.find(':'), dot = text.rfind('.');
    if (dot == std::string::npos || (colon != std::string::npos && dot < colon)) return "not FILE:SECTION.KEY";
    if (std::string why = parse_section(text.substr(0, dot), key); !why.empty()) return why;
    std::string name = text.substr(dot + 1);
    key.field = field_named(key_set(key.file, key.kind->key_set), name.c_str());
    if (!key.field) return "no such key in [" + key.name.substr(key.name.find(':') + 1) + "]: " + name;
    key.name += "." + name;
    return "";
}

bool secret(const SectionKind &kind, const char *key) {
    static const std::pair<const char *, const char *> kSecrets[] = {
        {"System", "PasswordProtection"}, {"EmailConfig", "Password"}, {"UPS_", "Password"},
        {"UPS_", "SNMPGetComm"},          {"UPS_", "SNMPSetComm"},
    };
    for (const auto &one : kSecrets) {
        if (named(&kind, one.first) && std::strcmp(key, one.second) == 0) return true;
    }
    return false;
}

bool compact(const KeyName &key) { return key.kind->compact; }

std::string section_of(const KeyName &key) { return key.name.substr(0, key.name.rfind('.')); }

std::vector<int> groups_in_use(const ConfigRecord &record) {
    std::vector<int> groups;
    for (int g = 0; g < kGroups; ++g) {
        if (group_in_use(record.Group[g])) groups.push_back(g);
    }
    return groups;
}

int number_of(const std::vector<int> &in_use, int index) {
    return static_cast<int>(std::find(in_use.begin(), in_use.end(), index) - in_use.begin());
}

unsigned char *entry_at(ConfigRecord &record, const SectionKind &kind, int group, int entry) {
    return group_base(record, group) + kind.base + static_cast<size_t>(entry) * kind.entry_size;
}

bool entry_in_use(const ConfigRecord &record, const SectionKind &kind, int group, int entry) {
    if (!kind.compact) return true;
    const unsigned char *at = entry_at(const_cast<ConfigRecord &>(record), kind, group, entry);
    // A schedule is written for its action, not for its text.
    if (named(&kind, "Schedule_")) return schedule_in_use(*reinterpret_cast<const ScheduleEntry *>(at));
    return entry_used(key_set(kind.file, kind.key_set), at);
}

std::vector<int> entries_in_use(const ConfigRecord &record, const SectionKind &kind, int group) {
    std::vector<int> entries;
    for (int i = 0; i < kind.entries; ++i) {
        if (entry_in_use(record, kind, group, i)) entries.push_back(i);
    }
    return entries;
}

void place_key(KeyRef &key, ConfigRecord &record, int group, int entry) {
    key.group = group;
    key.entry = entry;
    key.where = entry_at(record, *key.name.kind, group, entry) + key.name.field->offset;
    key.end = reinterpret_cast<const unsigned char *>(&record) + sizeof record;
}

void each_key(ConfigRecord &record, const std::function<void(const std::string &file, const std::string &section, const KeyRef &key)> &visit) {
    std::vector<int> groups = groups_in_use(record);
    for (IniFile of : kReadingOrder) {
        for (int g = 0; g < (of == kGroupIni ? static_cast<int>(groups.size()) : 1); ++g) {
            std::string file = file_name(of, g);
            int group = of == kGroupIni ? groups[g] : -1;
            for (int k = 0; k < kSectionKindCount; ++k) {
                const SectionKind &kind = kSectionKinds[k];
                if (kind.file != of) continue;
                const KeySet &keys = key_set(kind.file, kind.key_set);
                std::vector<int> entries = entries_in_use(record, kind, group);
                for (size_t number = 0; number < entries.size(); ++number) {
                    for (int slot = 0; slot < keys.count; ++slot) {
                        KeyRef key;
                        key.name.kind = &kind;
                        key.name.field = &keys.fields[slot];
                        place_key(key, record, group, entries[number]);
                        visit(file, section_name(kind, static_cast<int>(number)), key);
                    }
                }
            }
        }
    }
}

std::string locate_key(const std::string &text, ConfigRecord &record, KeyRef &key) {
    key = KeyRef();
    if (std::string why = parse_key(text, key.name); !why.empty()) return why;
    int group = -1, entry = key.name.number;
    if (key.name.file == kGroupIni) {
        std::vector<int> groups = groups_in_use(record);
        if (key.name.group_number >= static_cast<int>(groups.size())) return "no such group file: groups are numbered without gaps";
        group = groups[key.name.group_number];
    }
    if (compact(key.name)) {
        std::vector<int> entries = entries_in_use(record, *key.name.kind, group);
        if (entry >= static_cast<int>(entries.size())) return "no such section: " + section_of(key.name) + " is not in use";
        entry = entries[entry];
    }
    place_key(key, record, group, entry);
    return "";
}

std::string key_value(const KeyRef &key) {
    const Field &field = *key.name.field;
    if (is_key(key, "Schedule_", "Data")) {
        char text[sizeof ScheduleEntry::Data];
        EncodeSchedule(*reinterpret_cast<const ScheduleEntry *>(key.where - field.offset), text);
        return text;
    }
    const SaveDefault *instead = save_default(*key.name.kind, field.key);
    if (field.kind == FieldKind::Text) {
        // A text that fills its field runs on into the next, as a save writes it.
        const char *text = reinterpret_cast<const char *>(key.where);
        std::string value(text, strnlen(text, static_cast<size_t>(key.end - key.where)));
        return value.empty() && instead ? instead->value.text : value;
    }
    unsigned number = field_number(key.where, field.width);
    return std::to_string(number == 0 && instead ? instead->value.number : number);
}

namespace {

// The numbers a screen lets `field` take, as a range and as words.
std::string number_range(const SectionKind &kind, const Field &field, unsigned &low, unsigned &high) {
    low = 0, high = field.kind == FieldKind::Switch ? 1 : field.width == 1 ? 255 : 65535;
    const FieldLimit *limit = find_limit(kind.name, field.key);
    if (limit) low = limit->range.low, high = limit->range.high;
    return limit && limit->allowed ? std::string("one of ") + limit->allowed : std::to_string(low) + ".." + std::to_string(high);
}

// The longest text a screen lets `field` hold: two less than the field
// (room for the line's end and the terminator); a UPS's name one less.
size_t longest_text(const SectionKind &kind, const Field &field) {
    return field.width - (named(&kind, "UPS_") && std::strcmp(field.key, "Name") == 0 ? 1u : 2u);
}

}  // namespace

std::string canonical_value(const KeyRef &key, const std::string &value, std::string &canonical) {
    const Field &field = *key.name.field;
    canonical = value;
    if (is_key(key, "Schedule_", "Data")) {
        if (value.empty()) return "";
        if (value.size() != 18 || value.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos) {
            return "18 hexadecimal digits: start time, UPS, action, period, day";
        }
        for (char &c : canonical) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
        return "";
    }
    if (field.kind == FieldKind::Text) {
        size_t longest = longest_text(*key.name.kind, field);
        if (value.size() > longest) return "a text of at most " + std::to_string(longest) + " characters";
        for (unsigned char c : value) {
            if (c == '"' || c < 0x20 || c == 0x7f) return "a text without double quotes or control characters";
        }
        const SaveDefault *instead = save_default(*key.name.kind, field.key);
        if (value.empty() && instead) canonical = instead->value.text;
        return "";
    }
    if (value.empty() || value.find_first_not_of("0123456789") != std::string::npos) return "a number";
    size_t digits = std::min(value.find_first_not_of('0'), value.size() - 1);
    canonical = value.substr(digits);
    if (canonical.size() > 5) canonical = "99999";  // out of every range; the check says which
    return "";
}

std::string accepted(const SectionKind &kind, const Field &field) {
    if (named(&kind, "Schedule_") && std::strcmp(field.key, "Data") == 0) return "18 hexadecimal digits: start time, UPS, action, period, day";
    if (field.kind == FieldKind::Text) {
        bool model = (named(&kind, "System") && std::strcmp(field.key, "KeyCode") == 0) || (named(&kind, "UPS_") && std::strcmp(field.key, "Type") == 0);
        return model ? "a valid UPS model code" : "a text of at most " + std::to_string(longest_text(kind, field)) + " characters";
    }
    unsigned low, high;
    return number_range(kind, field, low, high);
}

std::string check_value(const KeyRef &key, const std::string &canonical) {
    const Field &field = *key.name.field;
    const SectionKind &kind = *key.name.kind;
    if (field.kind == FieldKind::Text) {
        bool model = (named(&kind, "System") && !canonical.empty() && std::strcmp(field.key, "KeyCode") == 0) ||
                     (named(&kind, "UPS_") && std::strcmp(field.key, "Type") == 0);
        if (model && !FindUpsModelTxt(canonical.c_str(), canonical.size())) return "a valid UPS model code";
        if (!is_key(key, "Schedule_", "Data") || canonical.empty()) return "";
        // What the schedule screens can make: an action they offer, a known
        // timing, a weekday or a day of the month they accept.
        ScheduleEntry entry{};
        std::memcpy(entry.Data, canonical.data(), canonical.size());
        DecodeSchedule(entry);
        if (entry.Action > kPanelTest) return "a schedule whose action (digits 13-14) is 00 to 06";
        if (entry.Period < kOnce || entry.Period > kMonthly) return "a schedule whose period (digits 15-16) is 01 to 04";
        const NumberRange &days = range_of(Limit::ScheduleDay);
        if ((entry.Period == kWeekly && entry.PeriodDay > 6) ||
            (entry.Period == kMonthly && (entry.PeriodDay < days.low || entry.PeriodDay > days.high))) {
            return "a schedule whose day (digits 17-18) is a weekday 00 to 06 when weekly, a day of the month 01 to 1F (hexadecimal) when monthly";
        }
        return "";
    }
    unsigned low = 0, high = 0;
    std::string range = number_range(kind, field, low, high);
    const FieldLimit *limit = find_limit(kind.name, field.key);
    unsigned number = static_cast<unsigned>(std::stoul(canonical));
    if (number < low || number > high || (limit && !within(*limit, number))) return range;
    if (limit && limit->name == Limit::Language && !language_loadable(static_cast<int>(number))) {
        return "a language whose file lang_NN.ini in this directory has the editor's texts";
    }
    // A value Korvel reads as another (the Shutdown of job-status jobs and of
    // most odd jobs) would be written and then not be what it says.
    unsigned read = ReadNumber(kind, key.entry, field, canonical.c_str());
    if (read != number) return std::to_string(read) + ", which is how Korvel reads " + canonical + " here";
    return "";
}

bool undefines(const KeyRef &key, const std::string &canonical) {
    const KeyName &name = key.name;
    if (name.file == kGroupIni && named(name.kind, "Common")) return std::strcmp(name.field->key, "Name") == 0 && canonical.empty();
    if (!compact(name) || name.field != &key_set(name.file, name.kind->key_set).fields[0]) return false;
    if (is_key(key, "Schedule_", "Data")) return canonical.empty() || canonical.compare(12, 2, "00") == 0;
    return canonical.empty() || canonical == "0";
}

void store_value(const KeyRef &key, const std::string &canonical) {
    const Field &field = *key.name.field;
    if (field.kind == FieldKind::Text) {
        std::memset(key.where, 0, field.width);
        std::memcpy(key.where, canonical.data(), canonical.size());
        if (is_key(key, "Schedule_", "Data")) DecodeSchedule(*reinterpret_cast<ScheduleEntry *>(key.where - field.offset));
        return;
    }
    uint16_t number = static_cast<uint16_t>(std::stoul(canonical));
    if (field.width == 1) {
        *key.where = static_cast<unsigned char>(number);
    } else {
        std::memcpy(key.where, &number, sizeof number);
    }
}
