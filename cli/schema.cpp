// keys: every key corvanectl can name, with what it takes, from the tables
// the reader and the writers share: the schema scripts, the Ansible
// collection and shell completion read.
#include <cstdio>
#include <cstring>
#include <fnmatch.h>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/defaults.h"
#include "config/record.h"

namespace {

// A file's or section's name, a series' number written NN.
std::string file_pattern(IniFile file) { return file == kGroupIni ? "group_NN.ini" : file_name(file, 0); }
std::string section_pattern(const SectionKind &kind) { return kind.entries > 1 ? std::string(kind.name) + "NN" : section_name(kind, 0); }
std::string key_pattern(const SectionKind &kind, const Field &field) {
    return (kind.file == kKorvelIni ? "" : file_pattern(kind.file) + ":") + section_pattern(kind) + "." + field.key;
}

// Whether `pattern` (a shell pattern) matches the key, given either with NN
// or with any two digits for a number.
bool matches(const std::string &pattern, const std::string &key) {
    if (fnmatch(pattern.c_str(), key.c_str(), 0) == 0) return true;
    std::string general = pattern;
    for (size_t at = 0; (at = general.find('_', at)) != std::string::npos; ++at) {
        if (at + 2 < general.size() && isdigit(static_cast<unsigned char>(general[at + 1])) && isdigit(static_cast<unsigned char>(general[at + 2]))) {
            general.replace(at + 1, 2, "NN");
        }
    }
    return fnmatch(general.c_str(), key.c_str(), 0) == 0;
}

const char *type_of(const Field &field) {
    return field.kind == FieldKind::Text ? "text" : field.kind == FieldKind::Switch ? "switch" : "number";
}

// Every name that begins with `word`: a section ("UPS_03.") until a dot is
// typed, then the keys of that section.
void complete(const std::string &word) {
    size_t colon = word.find(':'), dot = word.find('.', colon == std::string::npos ? 0 : colon);
    for (int k = 0; k < kSectionKindCount; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        for (int g = 0; g < (kind.file == kGroupIni ? kGroups : 1); ++g) {
            std::string file = kind.file == kKorvelIni ? "" : file_name(kind.file, g) + ":";
            for (int e = 0; e < kind.entries; ++e) {
                std::string section = file + section_name(kind, e) + ".";
                if (dot == std::string::npos) {
                    if (section.compare(0, word.size(), word) == 0) std::printf("%s\n", section.c_str());
                    continue;
                }
                if (section != word.substr(0, dot + 1)) continue;
                const KeySet &keys = key_set(kind.file, kind.key_set);
                for (int slot = 0; slot < keys.count; ++slot) {
                    std::string key = section + keys.fields[slot].key;
                    if (key.compare(0, word.size(), word) == 0) std::printf("%s\n", key.c_str());
                }
            }
        }
    }
}

}  // namespace

int run_keys(const std::string &pattern, bool json, bool completing) {
    if (completing) return complete(pattern), kDone;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (int k = 0; k < kSectionKindCount; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        const KeySet &keys = key_set(kind.file, kind.key_set);
        for (int slot = 0; slot < keys.count; ++slot) {
            const Field &field = keys.fields[slot];
            std::string name = key_pattern(kind, field);
            if (!pattern.empty() && !matches(pattern, name)) continue;
            const SaveDefault *instead = save_default(kind, field.key);
            std::string fallback = !instead ? "" : instead->value.text ? instead->value.text : std::to_string(instead->value.number);
            bool hidden = secret(kind, field.key);
            if (!json) {
                std::printf("%s\t%s\t%s\t%s\t%s\n", name.c_str(), type_of(field), accepted(kind, field).c_str(), fallback.c_str(), hidden ? "secret" : "");
                continue;
            }
            nlohmann::ordered_json row = {{"key", name}, {"file", file_pattern(kind.file)}, {"section", section_pattern(kind)}, {"name", field.key},
                                          {"entries", kind.entries}, {"type", type_of(field)}, {"width", field.width},
                                          {"accepted", accepted(kind, field)}, {"default", nullptr}, {"secret", hidden}};
            if (instead) row["default"] = instead->value.text ? nlohmann::ordered_json(fallback) : nlohmann::ordered_json(instead->value.number);
            list.push_back(row);
        }
    }
    if (json) print_json_text(list.dump(2));
    return kDone;
}
