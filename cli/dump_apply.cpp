// dump and apply: the whole configuration as lines or as one JSON object,
// file by file and section by section, as a save writes them.
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/record.h"

namespace {

using Json = nlohmann::ordered_json;

// Every key a save would write, in its order.
void each_key(const std::function<void(const std::string &file, const std::string &section, const KeyRef &key)> &visit) {
    std::vector<std::string> files = {"korvel.ini", "jobs.ini", "jobsSTS.ini"};
    int groups = 0;
    for (const GroupEntry &group : INI.Group) groups += group.Name[0] != 0;
    for (int g = 0; g < groups; ++g) files.push_back(file_name(kGroupIni, g));
    files.push_back("sensor.ini");
    for (const std::string &file : files) {
        KeyRef probe;
        for (int k = 0; k < kSectionKindCount; ++k) {
            const SectionKind &kind = kSectionKinds[k];
            IniFile of = file.compare(0, 6, "group_") == 0 ? kGroupIni : file == "jobs.ini" ? kJobsIni
                       : file == "jobsSTS.ini" ? kJobsStsIni : file == "sensor.ini" ? kSensorIni : kKorvelIni;
            if (kind.file != of) continue;
            const KeySet &keys = key_set(kind.file, kind.key_set);
            for (int number = 0; number < kind.entries; ++number) {
                std::string section = section_name(kind, number);
                KeyRef key;
                if (!resolve_key(file + ":" + section + "." + keys.fields[0].key, key).empty() || !entry_in_use(key)) break;
                for (int slot = 0; slot < keys.count; ++slot) {
                    resolve_key(file + ":" + section + "." + keys.fields[slot].key, key);
                    if (kind.skip_zero_keys && key_value(key) == "0") continue;
                    visit(file, section, key);
                }
            }
        }
    }
}

}  // namespace

int run_dump(bool json) {
    Json all = Json::object();
    each_key([&](const std::string &file, const std::string &section, const KeyRef &key) {
        std::string value = key_value(key);
        if (!json) {
            std::printf("%s:%s.%s=%s\n", file.c_str(), section.c_str(), key.field->key, value.c_str());
        } else if (key.field->kind == FieldKind::Text) {
            all[file][section][key.field->key] = value;
        } else {
            all[file][section][key.field->key] = std::stoul(value);
        }
    });
    if (json) std::cout << all.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
    return kDone;
}

int run_apply(const std::string &source, bool dry_run) {
    Json all;
    try {
        if (source == "-") {
            all = Json::parse(std::cin);
        } else {
            std::ifstream in(source);
            if (!in) return complain(source + ": cannot be read"), kRefused;
            all = Json::parse(in);
        }
    } catch (const Json::exception &error) {
        return complain(source + ": " + error.what()), kRefused;
    }
    if (!all.is_object()) return complain(source + ": not an object of files"), kRefused;
    // A section's first key goes first: it is the one that puts a new entry in use.
    std::vector<Change> changes;
    for (const auto &file : all.items()) {
        if (!file.value().is_object()) return complain(file.key() + ": not an object of sections"), kRefused;
        for (const auto &section : file.value().items()) {
            if (!section.value().is_object()) return complain(file.key() + ":" + section.key() + ": not an object of keys"), kRefused;
            std::vector<Change> rest;
            for (const auto &key : section.value().items()) {
                const Json &value = key.value();
                if (!value.is_string() && !value.is_number_unsigned()) {
                    return complain(file.key() + ":" + section.key() + "." + key.key() + ": not a text or a number"), kRefused;
                }
                std::string name = file.key() + ":" + section.key() + "." + key.key();
                std::string text = value.is_string() ? value.get<std::string>() : std::to_string(value.get<unsigned long>());
                KeyRef ref;
                bool first = resolve_key(name, ref).empty() && ref.first;
                (first ? changes : rest).emplace_back(name, text);
            }
            changes.insert(changes.end(), rest.begin(), rest.end());
        }
    }
    return run_changes(changes, dry_run);
}
