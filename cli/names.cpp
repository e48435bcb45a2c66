#include "cli/names.h"

#include <algorithm>
#include <cstring>

#include "cli/keys.h"
#include "config/entries.h"
#include "config/record.h"

namespace {

// The series whose entries have names, the key that holds them, and the
// word that names the series in a key.
struct NamedSeries {
    IniFile file;
    const char *word, *kind, *key;
};
const NamedSeries kNamedSeries[] = {
    {kKorvelIni, "UPS", "UPS_", "Name"},   {kKorvelIni, "Email", "Email_", "Name"}, {kKorvelIni, "SMS", "SMS_", "Name"},
    {kKorvelIni, "Mess", "Mess_", "Name"}, {kSensorIni, "Sensor", "Sensor_", "Name"}, {kGroupIni, "Event", "Event_", "Message"},
};

const char *name_key(const SectionKind *kind) {
    if (!kind) return "Name";
    for (const NamedSeries &series : kNamedSeries) {
        if (named(kind, series.kind)) return series.key;
    }
    return "";
}

// The text of the name field of an entry (or a group), as the file holds it.
std::string name_at(const ConfigRecord &record, const SectionKind *kind, int group, int entry) {
    if (!kind) return std::string(record.Group[entry].Name, strnlen(record.Group[entry].Name, sizeof record.Group[entry].Name));
    const Field *field = field_named(key_set(kind->file, kind->key_set), name_key(kind));
    if (!field) return "";
    const char *text = reinterpret_cast<const char *>(entry_at(const_cast<ConfigRecord &>(record), *kind, group, entry) + field->offset);
    return std::string(text, strnlen(text, field->width));
}

}  // namespace

std::string NameResolver::number_of_name(const SectionKind *kind, int group, const std::string &name, const std::string &prefix, int &number,
                                         std::vector<Change> &named) {
    // A group this request adds (-2) has no events yet.
    std::vector<int> in_use = !kind ? groups_in_use(record_) : group == -2 ? std::vector<int>() : entries_in_use(record_, *kind, group);
    std::vector<int> found;
    std::string names;
    for (size_t n = 0; n < in_use.size(); ++n) {
        std::string there = name_at(record_, kind, group, in_use[n]);
        if (there.empty()) continue;
        if (there == name) found.push_back(static_cast<int>(n));
        names += (names.empty() ? "\"" : ", \"") + there + "\"";
    }
    std::string what = kind ? std::string(kind->name).substr(0, std::strlen(kind->name) - 1) + " entries" : "groups";
    auto label = [&](int n) { return kind ? section_name(*kind, n) : file_name(kGroupIni, n); };
    if (found.size() > 1) {
        std::string numbers;
        for (int n : found) numbers += (numbers.empty() ? "" : ", ") + label(n);
        return "several " + what + " are named \"" + name + "\": " + numbers;
    }
    if (found.size() == 1) return number = found[0], "";
    for (const auto &made : created_) {
        if (std::get<0>(made) == kind && std::get<1>(made) == group && std::get<2>(made) == name) return number = std::get<3>(made), "";
    }
    missing_ = !create_;
    if (!create_) return "no " + what + " named \"" + name + "\"; " + (names.empty() ? "there are none" : "there are " + names) + " (--create adds one)";
    number = static_cast<int>(in_use.size());
    for (const auto &entry : created_) {
        if (std::get<0>(entry) == kind && std::get<1>(entry) == group) number = std::max(number, std::get<3>(entry) + 1);
    }
    while (reserved_.count((kind && prefix != "korvel.ini:" ? prefix : "") + label(number))) ++number;
    created_.emplace_back(kind, group, name, number);
    named.emplace_back(prefix + (kind ? label(number) + "." + name_key(kind) : label(number) + ":Common.Name"), name);
    return "";
}

std::string NameResolver::resolve(const std::string &text, std::string &resolved, std::vector<Change> &named) {
    resolved = text;
    missing_ = false;
    int group = -1;
    std::string prefix;
    // group[NAME]. first: its events are looked up among that group's.
    if (resolved.compare(0, 6, "group[") == 0) {
        size_t end = resolved.find("].", 6);
        if (end == std::string::npos) return "a group's name ends with \"].\"";
        int number = 0;
        if (std::string why = number_of_name(nullptr, -1, resolved.substr(6, end - 6), "", number, named); !why.empty()) return why;
        std::vector<int> groups = groups_in_use(record_);
        group = number < static_cast<int>(groups.size()) ? groups[number] : -2;  // -2: a group this request adds
        prefix = file_name(kGroupIni, number) + ":";
        resolved = prefix + resolved.substr(end + 2);
    }
    size_t colon = resolved.find(':'), start = colon == std::string::npos ? 0 : colon + 1;
    size_t open = resolved.find('[', start);
    if (open == std::string::npos) return "";
    size_t end = resolved.find("].", open);
    if (end == std::string::npos) return "an entry's name ends with \"].\"";
    std::string word = resolved.substr(start, open - start);
    IniFile file = kKorvelIni;
    int file_group = 0;
    if (colon != std::string::npos && !parse_file_name(resolved.substr(0, colon), file, file_group)) return "no such file: " + resolved.substr(0, colon);
    for (const NamedSeries &series : kNamedSeries) {
        if (word != series.word || series.file != file) continue;
        const SectionKind &kind = kind_named(file, series.kind);
        int number = 0;
        std::string here = colon == std::string::npos ? "" : resolved.substr(0, colon + 1);
        if (file == kGroupIni && group == -1) {
            std::vector<int> groups = groups_in_use(record_);
            group = file_group < static_cast<int>(groups.size()) ? groups[file_group] : -2;
        }
        if (std::string why = number_of_name(&kind, group, resolved.substr(open + 1, end - open - 1), here, number, named);
            !why.empty()) {
            return why;
        }
        resolved = resolved.substr(0, start) + section_name(kind, number) + resolved.substr(end + 1);
        return "";
    }
    return "no series of named entries: " + word + " (UPS, Email, SMS, Mess, Sensor, and a group's Event)";
}
