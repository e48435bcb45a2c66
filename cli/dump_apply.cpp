// dump and apply: the whole configuration as lines or as one JSON object,
// file by file and section by section, as a save writes them.
#include <cstdio>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <utility>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/files.h"
#include "config/history.h"
#include "config/record.h"
#include "console/terminal.h"

namespace {

using Json = nlohmann::ordered_json;

// Whether `text` is UTF-8 throughout, strictly (no overlong form, no
// surrogate, nothing above U+10FFFF): JSON strings must be. Other bytes (an
// older file's Latin-2 name, say) travel as {"hex": "..."} so that nothing
// is lost on the way back.
bool utf8(const std::string &text) {
    for (size_t i = 0; i < text.size();) {
        unsigned char lead = static_cast<unsigned char>(text[i]);
        size_t length = static_cast<size_t>(utf8_length(lead));
        if (length == 0 || i + length > text.size()) return false;
        uint32_t code = length == 1 ? lead : lead & (0x7F >> length);
        for (size_t k = 1; k < length; ++k) {
            unsigned char next = static_cast<unsigned char>(text[i + k]);
            if (!utf8_continuation(next)) return false;
            code = code << 6 | (next & 0x3F);
        }
        static const uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kLeast[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
        i += length;
    }
    return true;
}

Json text_value(const std::string &text) {
    if (utf8(text)) return text;
    std::string hex;
    for (unsigned char c : text) hex += "0123456789abcdef"[c >> 4], hex += "0123456789abcdef"[c & 15];
    return Json{{"hex", hex}};
}

// A value as the dump gives it: a number, or a text as text_value gives it.
Json as_json(const Field &field, const std::string &value) {
    return field.kind == FieldKind::Text ? text_value(value) : Json(std::stoul(value));
}

// A value of the dump's shape as text: a string, a number, or {"hex": ...}.
bool value_text(const Json &value, std::string &text) {
    if (value.is_string()) return text = value.get<std::string>(), true;
    if (value.is_number_unsigned()) return text = std::to_string(value.get<unsigned long>()), true;
    if (value.is_boolean()) return text = value.get<bool>() ? "1" : "0", true;
    if (!value.is_object() || value.size() != 1 || !value.contains("hex") || !value["hex"].is_string()) return false;
    std::string hex = value["hex"].get<std::string>();
    if (hex.size() % 2 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
    text.clear();
    for (size_t i = 0; i < hex.size(); i += 2) text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return true;
}

}  // namespace

int run_dump(bool json) {
    // The values as a save writes them: with its defaults.
    store_defaults();
    Json all = Json::object();
    each_key(INI1, [&](const std::string &file, const std::string &section, const KeyRef &key) {
        const Field &field = *key.name.field;
        std::string value = key_value(key);
        if (key.name.kind->skip_zero_keys && value == "0") return;  // not written
        bool hidden = secret(*key.name.kind, field.key) && !show_secrets;
        if (!json) {
            std::printf("%s:%s.%s=%s\n", file.c_str(), section.c_str(), field.key, hidden ? kHidden : value.c_str());
        } else {
            all[file][section][field.key] = hidden ? Json(kHidden) : as_json(field, value);
        }
    });
    if (json) print_json_text(all.dump(2));
    return kDone;
}

void print_json(const std::vector<KeyRef> &keys) {
    Json values = Json::object();
    for (const KeyRef &key : keys) values[key.name.name] = as_json(*key.name.field, key_value(key));
    print_json_text(values.dump(2));
}

void print_report_json(const std::vector<Reported> &lines, const std::vector<std::string> &notes, const std::vector<std::string> &written) {
    Json report = {{"changes", Json::array()}, {"entries", Json::array()}, {"notes", notes}, {"written", written}, {"generation", LastGeneration ? Json(LastGeneration) : Json(nullptr)}};
    for (const Reported &line : lines) {
        if (!line.change) {
            report["entries"].push_back({{"entry", line.subject}, {"what", line.what}});
            continue;
        }
        auto value = [&](const std::string &text) {
            if (line.secret && !show_secrets) return Json(kHidden);
            return line.number ? Json(std::stoul(text)) : text_value(text);
        };
        report["changes"].push_back({{"key", line.subject}, {"old", value(line.old_value)}, {"new", value(line.new_value)}, {"secret", line.secret}});
    }
    print_json_text(report.dump(2));
}

namespace {

// A section, or a group's file, given as {"state": "absent"} is deleted;
// "present" stands beside its keys. "" or why the state is neither.
std::string state_of(const std::string &where, const Json &object, bool &absent) {
    auto state = object.find("state");
    absent = state != object.end() && *state == "absent" && object.size() == 1;
    if (state == object.end() || absent || *state == "present") return "";
    return where + ".state: allowed: \"absent\" alone, or \"present\"";
}

// Reads a JSON object of the dump's shape from `source` (a file, or "-" for
// standard input) as key and value, in its order, and with `deleted` the
// sections given as absent. "" or why not.
std::string read_dump(const std::string &source, std::vector<std::pair<std::string, Json>> &values, std::vector<std::string> *deleted = nullptr) {
    // The whole text first: a directory or a FIFO is refused before any parsing.
    std::string text;
    if (source == "-") {
        char block[65536];
        for (size_t got; (got = std::fread(block, 1, sizeof block, stdin)) > 0;) text.append(block, got);
        if (std::ferror(stdin)) return source + ": cannot be read";
    } else {
        FileBytes file = read_file_bytes(source.c_str());
        int why = unreadable(file);
        if (why && file.regular) return source + ": cannot be read";
        if (why) return source + ": " + (why == kNotRegular ? "not a regular file" : std::strerror(why));
        text = std::move(file.bytes);
    }
    Json all;
    try {
        all = Json::parse(text);
    } catch (const Json::exception &problem) {
        return source + ": " + problem.what();
    }
    if (!all.is_object()) return source + ": not an object of files";
    for (const auto &file : all.items()) {
        IniFile which = kGroupIni;
        int number = 0;
        // A group by its name, group[NAME], as a key names it.
        bool by_name = file.key().compare(0, 6, "group[") == 0 && file.key().back() == ']';
        if (!by_name && !parse_file_name(file.key(), which, number)) {
            return file.key() + ": not a file of Korvel's (korvel.ini, jobs.ini, jobsSTS.ini, group_NN.ini or group[NAME], sensor.ini): "
                                "the settings name files, then their sections, then keys";
        }
        if (!file.value().is_object()) return file.key() + ": not an object of sections";
        std::string prefix = file.key() + (by_name ? "." : ":");
        // Puts what a state of "absent" deletes in `deleted`. "" or why it cannot be.
        auto deletion = [&](const std::string &where, const Json &object, bool whole_file, bool &gone) {
            std::string why = state_of(where, object, gone);
            if (!why.empty() || !gone) return why;
            if (!deleted) return where + ": a state is given only to apply";
            if (whole_file && !by_name && which != kGroupIni) return where + ": only a group's file can be deleted";
            deleted->push_back(whole_file ? prefix + "Common" : where);
            return why;
        };
        bool gone = false;
        if (std::string why = deletion(file.key(), file.value(), true, gone); !why.empty()) return why;
        if (gone) continue;
        for (const auto &section : file.value().items()) {
            if (section.key() == "state") continue;
            if (!section.value().is_object()) return file.key() + ":" + section.key() + ": not an object of keys";
            if (std::string why = deletion(prefix + section.key(), section.value(), false, gone); !why.empty()) return why;
            if (gone) continue;
            for (const auto &key : section.value().items()) {
                if (key.key() != "state") values.emplace_back(prefix + section.key() + "." + key.key(), key.value());
            }
        }
    }
    return "";
}

// Every key a save writes with its value, as the dump gives them; secrets
// as they are.
std::vector<std::pair<std::string, Json>> saved_values() {
    store_defaults();
    std::vector<std::pair<std::string, Json>> values;
    each_key(INI1, [&](const std::string &file, const std::string &section, const KeyRef &key) {
        std::string value = key_value(key);
        if (!key.name.kind->skip_zero_keys || value != "0") values.emplace_back(file + ":" + section + "." + key.name.field->key, as_json(*key.name.field, value));
    });
    return values;
}

}  // namespace

int run_apply(const std::string &source, const ChangeOptions &options) {
    std::vector<std::pair<std::string, Json>> values;
    std::vector<std::string> deleted;
    if (std::string why = read_dump(source, values, &deleted); !why.empty()) return complain(why), kRefused;
    std::vector<Change> changes;
    for (const auto &value : values) {
        std::string text;
        if (!value_text(value.second, text)) return complain(value.first + ": not a text, a number or a switch (true, false)"), kRefused;
        changes.emplace_back(value.first, text);
    }
    return run_changes(changes, options, deleted);
}

int run_diff(const std::string &other, bool json) {
    // Here first: loading the other directory replaces the record.
    std::vector<std::pair<std::string, Json>> here = saved_values(), there;
    struct stat state;
    if (other[0] == '@') {
        if (load_generation(other) != kDone) return kCannotLoad;
        there = saved_values();
    } else if (other != "-" && stat(other.c_str(), &state) == 0 && S_ISDIR(state.st_mode)) {
        if (load_directory(other, false) != kDone) return kCannotLoad;
        there = saved_values();
    } else if (std::string why = read_dump(other, there); !why.empty()) {
        return complain(why), kCannotLoad;
    }
    std::map<std::string, Json> theirs(there.begin(), there.end()), ours(here.begin(), here.end());
    // Every key of either, this directory's first, in the dump's order.
    std::vector<std::string> keys;
    for (const auto &value : here) keys.push_back(value.first);
    for (const auto &value : there) {
        if (!ours.count(value.first)) keys.push_back(value.first);
    }
    Json differences = Json::array();
    for (const std::string &key : keys) {
        bool mine = ours.count(key), theirs_too = theirs.count(key);
        if (mine && theirs_too && ours[key] == theirs[key]) continue;
        KeyName name;
        bool hidden = parse_key(key, name).empty() && secret(*name.kind, name.field->key);
        // A dump that hid a secret says nothing of it.
        if (hidden && theirs_too && theirs[key] == kHidden) continue;
        Json shown_here = !mine ? Json(nullptr) : hidden && !show_secrets ? Json(kHidden) : ours[key];
        Json shown_there = !theirs_too ? Json(nullptr) : hidden && !show_secrets ? Json(kHidden) : theirs[key];
        if (json) {
            differences.push_back({{"key", key}, {"here", shown_here}, {"other", shown_there}, {"secret", hidden}});
            continue;
        }
        auto line = [&](char sign, const Json &value) {
            if (value.is_null()) return;
            std::string text;
            value_text(value, text);
            std::printf("%c%s=%s\n", sign, key.c_str(), text.c_str());
        };
        line('-', shown_here), line('+', shown_there);
        differences.push_back(key);
    }
    if (json) print_json_text(differences.dump(2));
    return differences.empty() ? kDone : kRefused;
}
