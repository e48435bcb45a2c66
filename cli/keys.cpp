#include "cli/keys.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "config/model_code.h"
#include "config/ini_reader.h"
#include "config/limits.h"
#include "config/record.h"

namespace {

// Keys name the fields of the working copy, which a save writes.
unsigned char *group_base(int group) { return reinterpret_cast<unsigned char *>(&INI1.Group[group]); }
unsigned char *record_base() { return reinterpret_cast<unsigned char *>(&INI1); }

bool first_in_use(const SectionKind &kind, const unsigned char *entry) {
    return entry_used(key_set(kind.file, kind.key_set), entry);
}

// The record's index of the n-th entry in use among `count`, or of the first
// free one when n is the number in use; -1 past that.
template <typename InUse> int nth_in_use(int n, int count, InUse in_use) {
    int seen = 0, free = -1;
    for (int i = 0; i < count; ++i) {
        if (!in_use(i)) {
            if (free < 0) free = i;
        } else if (seen++ == n) {
            return i;
        }
    }
    return n == seen ? free : -1;
}

bool two_digits(const std::string &text, size_t at, int &number) {
    if (text.size() != at + 2 || !isdigit(static_cast<unsigned char>(text[at])) || !isdigit(static_cast<unsigned char>(text[at + 1]))) return false;
    number = (text[at] - '0') * 10 + (text[at + 1] - '0');
    return true;
}

}  // namespace

int saved_ups_number(const ConfigRecord &record, int index) {
    if (index < 0 || index >= kUpsEntries || !record.UPS[index].Name[0]) return -1;
    int number = 0;
    for (int i = 0; i < index; ++i) number += record.UPS[i].Name[0] != 0;
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

std::string resolve_key(const std::string &text, KeyRef &key) {
    key = KeyRef();
    size_t colon = text.find(':');
    std::string file = colon == std::string::npos ? "korvel.ini" : text.substr(0, colon);
    std::string rest = colon == std::string::npos ? text : text.substr(colon + 1);
    size_t dot = rest.rfind('.');
    if (dot == std::string::npos) return "not FILE:SECTION.KEY";
    std::string section = rest.substr(0, dot), name = rest.substr(dot + 1);
    int number = 0;
    if (!parse_file_name(file, key.file, number)) return "no such file: " + file;
    if (key.file == kGroupIni) {
        key.group = nth_in_use(number, kGroups, [](int g) { return INI1.Group[g].Name[0] != 0; });
        if (key.group < 0) return "no such group file: groups are numbered without gaps";
    }
    for (int k = 0; k < kSectionKindCount && !key.kind; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        if (kind.file != key.file) continue;
        if (kind.slots == 1 && section == kind.name) {
            key.kind = &kind;
        } else if (kind.slots > 1 && section.compare(0, std::strlen(kind.name), kind.name) == 0 &&
                   two_digits(section, std::strlen(kind.name), number)) {
            key.kind = &kind;
            unsigned char *base = (key.group >= 0 ? group_base(key.group) : record_base()) + kind.base;
            key.entry = !kind.compact ? (number < kind.entries ? number : -1)
                                      : nth_in_use(number, kind.entries, [&](int i) { return first_in_use(kind, base + i * kind.entry_size); });
            if (key.entry < 0) return "no such section: " + section + (kind.compact ? " (entries are numbered without gaps)" : "");
        }
    }
    if (!key.kind) return "no such section in " + file + ": " + section;
    const KeySet &keys = key_set(key.file, key.kind->key_set);
    for (int slot = 0; slot < keys.count; ++slot) {
        if (name == keys.fields[slot].key) key.field = &keys.fields[slot], key.first = slot == 0;
    }
    if (!key.field) return "no such key in [" + section + "]: " + name;
    key.where = (key.group >= 0 ? group_base(key.group) : record_base()) + key.kind->base +
                static_cast<size_t>(key.entry) * key.kind->entry_size + key.field->offset;
    key.name = (key.file == kKorvelIni ? "" : file + ":") + section + "." + name;
    return "";
}

bool entry_in_use(const KeyRef &key) {
    if (key.group >= 0 && !INI1.Group[key.group].Name[0]) return false;
    if (!key.kind->compact) return true;
    return first_in_use(*key.kind, key.where - key.field->offset);
}

std::string key_value(const KeyRef &key) {
    if (key.field->kind == FieldKind::Text) {
        const char *text = reinterpret_cast<const char *>(key.where);
        return std::string(text, strnlen(text, key.field->width));
    }
    return std::to_string(field_number(key.where, key.field->width));
}

std::string check_value(const KeyRef &key, const std::string &value) {
    const Field &field = *key.field;
    if (field.kind == FieldKind::Text) {
        if (value.size() > field.width - 1u) return "a text of at most " + std::to_string(field.width - 1) + " characters";
        for (unsigned char c : value) {
            if (c == '"' || c < 0x20 || c == 0x7f) return "a text without double quotes or control characters";
        }
        bool model = (key.kind->name == std::string("System") && value.size() && std::strcmp(field.key, "KeyCode") == 0) ||
                     (key.kind->name == std::string("UPS_") && std::strcmp(field.key, "Type") == 0);
        if (model && !FindUpsModelTxt(value.c_str(), value.size())) return "a valid UPS model code";
        if (key.kind->name == std::string("Schedule_") && (value.size() != 18 || value.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos)) {
            return "18 hexadecimal digits: start time, UPS, action, period, day";
        }
        return "";
    }
    unsigned low = 0, high = field.width == 1 || field.kind == FieldKind::Switch ? 255 : 65535;
    if (field.kind == FieldKind::Switch) high = 1;
    const FieldLimit *limit = find_limit(key.kind->name, field.key);
    if (limit) low = limit->range.low, high = limit->range.high;
    std::string range = limit && limit->allowed ? std::string("one of ") + limit->allowed : std::to_string(low) + ".." + std::to_string(high);
    if (value.empty() || value.size() > 5 || value.find_first_not_of("0123456789") != std::string::npos) return range;
    unsigned number = static_cast<unsigned>(std::stoul(value));
    if (number < low || number > high || (limit && !within(*limit, number))) return range;
    // A value Korvel reads as another (the Shutdown of job-status jobs and of
    // most odd jobs) would be written and then not be what it says.
    unsigned read = ReadNumber(*key.kind, key.entry, field, value.c_str());
    if (read != number) return std::to_string(read) + ", which is how Korvel reads " + value + " here";
    return "";
}

void store_value(const KeyRef &key, const std::string &value) {
    if (key.field->kind == FieldKind::Text) {
        std::memset(key.where, 0, key.field->width);
        std::memcpy(key.where, value.data(), value.size());
        return;
    }
    uint16_t number = static_cast<uint16_t>(std::stoul(value));
    if (key.field->width == 1) {
        *key.where = static_cast<unsigned char>(number);
    } else {
        std::memcpy(key.where, &number, sizeof number);
    }
}
