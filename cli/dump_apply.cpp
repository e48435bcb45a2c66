// dump and apply: the whole configuration as lines or as one JSON object,
// file by file and section by section, as a save writes them.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/files.h"
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
    if (json) std::cout << all.dump(2) << "\n";
    return kDone;
}

void print_json(const std::vector<KeyRef> &keys) {
    Json values = Json::object();
    for (const KeyRef &key : keys) values[key.name.name] = as_json(*key.name.field, key_value(key));
    std::cout << values.dump(2) << "\n";
}

void print_report_json(const std::vector<Reported> &lines, const std::vector<std::string> &notes, const std::vector<std::string> &written) {
    Json report = {{"changes", Json::array()}, {"entries", Json::array()}, {"notes", notes}, {"written", written}, {"generation", nullptr}};
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
    std::cout << report.dump(2) << "\n";
}

int run_apply(const std::string &source, const ChangeOptions &options) {
    // The whole text first: a directory or a FIFO is refused before any parsing.
    std::string text;
    int error = 0;
    std::FILE *file = source == "-" ? stdin : open_regular(source.c_str(), &error);
    if (!file) return complain(source + ": " + (error == kNotRegular ? "not a regular file" : std::strerror(error))), kRefused;
    char block[65536];
    for (size_t got; (got = std::fread(block, 1, sizeof block, file)) > 0;) text.append(block, got);
    bool failed = std::ferror(file);
    if (file != stdin) std::fclose(file);
    if (failed) return complain(source + ": cannot be read"), kRefused;
    Json all;
    try {
        all = Json::parse(text);
    } catch (const Json::exception &problem) {
        return complain(source + ": " + problem.what()), kRefused;
    }
    if (!all.is_object()) return complain(source + ": not an object of files"), kRefused;
    std::vector<Change> changes;
    for (const auto &file : all.items()) {
        if (!file.value().is_object()) return complain(file.key() + ": not an object of sections"), kRefused;
        for (const auto &section : file.value().items()) {
            if (!section.value().is_object()) return complain(file.key() + ":" + section.key() + ": not an object of keys"), kRefused;
            for (const auto &key : section.value().items()) {
                std::string name = file.key() + ":" + section.key() + "." + key.key(), text;
                if (!value_text(key.value(), text)) return complain(name + ": not a text or a number"), kRefused;
                changes.emplace_back(name, text);
            }
        }
    }
    return run_changes(changes, options);
}
