// get, set, and the checked change that set and apply share. Keys name the
// entries as the files numbered them when the request began; entries are
// added and deleted through the editor's own entry operations.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <map>
#include <tuple>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/names.h"
#include "cli/store.h"
#include "config/entries.h"
#include "config/record.h"

namespace {

// What names UPS entry `index`, as the save numbers it; "" when nothing does.
std::string users_of_ups(int index) {
    UpsUser user;
    if (!ups_user(INI1, index, user)) return "";
    if (user.group >= 0) {
        std::vector<int> groups = groups_in_use(INI1);
        return file_name(kGroupIni, number_of(groups, user.group)) + ":UPS.UPS_0" + std::to_string(user.slot) + " names it: remove it from the group first";
    }
    std::vector<int> schedules = entries_in_use(INI1, kind_named(kKorvelIni, "Schedule_"), -1);
    return section_name(kind_named(kKorvelIni, "Schedule_"), number_of(schedules, user.schedule)) + " names it: delete the schedule first";
}

Reported happened(const std::string &entry, const std::string &what) {
    Reported line;
    line.subject = entry, line.what = what;
    return line;
}

// The line of key `name`, of `field` in section kind `kind`, whose value went from `old` to `now`.
Reported changed(const std::string &name, const SectionKind &kind, const Field &field, const std::string &old, const std::string &now) {
    return {name, "", true, old, now, secret(kind, field.key), field.kind != FieldKind::Text};
}

// An entry, or with no kind a group, that the request added.
struct Added {
    const SectionKind *kind;
    int group;  // the record's group of an event; -1 otherwise
    int number;
    int index;
    std::string section;  // as named
};

// A key the request set, for the rules between fields: the record's group,
// the kind, the record's entry and the key; and the key as it was named.
using Touched = std::tuple<int, const SectionKind *, int, std::string>;

class Request {
public:
    std::vector<Reported> lines;
    bool deleted_group = false;

    // Finds, or adds, the entry the key names. "" or why not.
    std::string place(KeyRef &key);
    // Changes one key: a value, or the operation its value stands for. "" or why not.
    std::string change(KeyRef &key, const std::string &value);
    // The rules that hold once every key is set. "" or why not.
    std::string finish() const;

private:
    std::vector<Added> added_;
    std::map<Touched, std::string> touched_;

    // The entry added as `number`, or at record index `index`.
    const Added *added(const SectionKind *kind, int group, int number, int index = -1) const;
    int count_added(const SectionKind *kind, int group) const;
    std::string add(const SectionKind *kind, int group, int number, const std::string &section, int &index);
    std::string remove(const KeyRef &key);
    bool touched(int group, const SectionKind *kind, int entry, std::initializer_list<const char *> keys) const;
    void describe_changes(const ConfigRecord &before);
    // The working copy as it stands before an operation, which describe_changes compares with.
    const ConfigRecord &snapshot() {
        if (!before_) before_.reset(new ConfigRecord);  // not zeroed: it is overwritten at once
        return *before_ = INI1;
    }
    std::unique_ptr<ConfigRecord> before_;
};

const Added *Request::added(const SectionKind *kind, int group, int number, int index) const {
    for (const Added &a : added_) {
        if (a.kind == kind && a.group == group && (a.number == number || a.index == index)) return &a;
    }
    return nullptr;
}

int Request::count_added(const SectionKind *kind, int group) const {
    return static_cast<int>(std::count_if(added_.begin(), added_.end(), [&](const Added &a) { return a.kind == kind && a.group == group; }));
}

// A new entry goes after the last one in use, never into a gap: the entries
// after a gap would move up one number and the request would change them.
// Nor into the place of one the request deleted, which its number still names.
std::string Request::add(const SectionKind *kind, int group, int number, const std::string &section, int &index) {
    int last = -1, slots = kind ? kind->entries : kGroups;
    bool group_added = kind && group >= 0 && added(nullptr, -1, -1, group);
    for (const ConfigRecord *record : {&INI, &INI1}) {
        if (record == &INI && group_added) continue;  // what its slot held when read is no entry of it
        for (int i = 0; i < slots; ++i) {
            if (kind ? entry_in_use(*record, *kind, group, i) : group_in_use(record->Group[i])) last = std::max(last, i);
        }
    }
    for (const Added &a : added_) {
        if (a.kind == kind && a.group == group) last = std::max(last, a.index);
    }
    index = last + 1;
    if (index >= slots) return "no free entry after the last one in use";
    if (!kind) {
        create_group(INI1.Group[index]);
    } else if (named(kind, "UPS_")) {
        create_ups(INI1, index);
    } else if (named(kind, "Schedule_")) {
        create_schedule(INI1.Schedule[index]);
    } else if (named(kind, "Event_")) {
        create_event(INI1.Group[group].Event[index], index);
    }
    added_.push_back({kind, group, number, index, section});
    lines.push_back(happened(section, "added"));
    return "";
}

std::string Request::place(KeyRef &key) {
    const KeyName &name = key.name;
    std::string section = section_of(name);
    int group = -1;
    bool new_group = false;
    if (name.file == kGroupIni) {
        std::vector<int> read = groups_in_use(INI);
        std::string file = file_name(kGroupIni, name.group_number);
        if (name.group_number < static_cast<int>(read.size())) {
            group = read[name.group_number];
            if (!group_in_use(INI1.Group[group])) return file + " was deleted by this request";
        } else if (const Added *a = added(nullptr, -1, name.group_number)) {
            group = a->index, new_group = true;
        } else if (name.group_number == static_cast<int>(read.size()) + count_added(nullptr, -1)) {
            if (std::string why = add(nullptr, -1, name.group_number, file, group); !why.empty()) return why;
            new_group = true;
        } else {
            return "no such group file: groups are numbered without gaps";
        }
    }
    int entry = name.number;
    if (compact(name)) {
        // A group added now has no entries yet, whatever its slot held when read.
        std::vector<int> read = new_group ? std::vector<int>() : entries_in_use(INI, *name.kind, group);
        if (entry < static_cast<int>(read.size())) {
            entry = read[entry];
            if (!entry_in_use(INI1, *name.kind, group, entry)) return section + " was deleted by this request";
        } else if (const Added *a = added(name.kind, group, name.number)) {
            entry = a->index;
        } else if (name.number == static_cast<int>(read.size()) + count_added(name.kind, group)) {
            if (std::string why = add(name.kind, group, name.number, section, entry); !why.empty()) return why;
        } else {
            return "no such section: " + section + " (entries are numbered without gaps)";
        }
    }
    place_key(key, INI1, group, entry);
    return "";
}

// Lines for every key whose value the operation changed, in entries that
// stay in use, numbered as the save will number them.
void Request::describe_changes(const ConfigRecord &before) {
    each_key(INI1, [&](const std::string &file, const std::string &section, const KeyRef &now) {
        const SectionKind &kind = *now.name.kind;
        if ((now.group >= 0 && !group_in_use(before.Group[now.group])) || !entry_in_use(before, kind, now.group, now.entry)) return;
        KeyRef was = now;
        place_key(was, const_cast<ConfigRecord &>(before), now.group, now.entry);
        std::string old = key_value(was), value = key_value(now);
        if (old == value) return;
        std::string name = (kind.file == kKorvelIni ? "" : file + ":") + section + "." + now.name.field->key;
        lines.push_back(changed(name, kind, *now.name.field, old, value));
    });
}

std::string Request::remove(const KeyRef &key) {
    const KeyName &name = key.name;
    std::string section = name.file == kGroupIni && named(name.kind, "Common") ? file_name(kGroupIni, name.group_number) : section_of(name);
    for (const Added &a : added_) {
        if ((a.kind == name.kind && a.group == key.group && a.index == key.entry) || (!a.kind && a.index == key.group && named(name.kind, "Common"))) {
            return section + " is added by this request: it cannot be deleted by it too";
        }
    }
    if (named(name.kind, "UPS_")) {
        if (std::string users = users_of_ups(key.entry); !users.empty()) return section + " cannot be deleted: " + users;
    }
    const ConfigRecord &before = snapshot();
    GroupEntry *group = key.group >= 0 ? &INI1.Group[key.group] : nullptr;
    if (named(name.kind, "Common")) {
        delete_group(*group);
        deleted_group = true;
    } else if (named(name.kind, "UPS_")) {
        delete_ups(INI1, key.entry);
    } else if (named(name.kind, "Schedule_")) {
        delete_schedule(INI1.Schedule[key.entry]);
    } else if (named(name.kind, "Event_")) {
        delete_event(group->Event[key.entry]);
    } else {
        delete_named(reinterpret_cast<char *>(key.where), name.field->width);
    }
    lines.push_back(happened(section, "deleted"));
    // The later entries of the series, or the later groups, move down one number.
    bool groups = named(name.kind, "Common");
    std::string prefix = name.file == kKorvelIni ? "" : file_name(name.file, name.group_number) + ":";
    auto label = [&](int n) { return groups ? file_name(kGroupIni, n) : prefix + section_name(*name.kind, n); };
    std::vector<int> was = groups ? groups_in_use(before) : entries_in_use(before, *name.kind, key.group);
    std::vector<int> now = groups ? groups_in_use(INI1) : entries_in_use(INI1, *name.kind, key.group);
    for (size_t n = 0; n < now.size(); ++n) {
        int old = number_of(was, now[n]);
        if (old != static_cast<int>(n)) lines.push_back(happened(label(old), "now " + label(static_cast<int>(n))));
    }
    describe_changes(before);
    return "";
}

std::string Request::change(KeyRef &key, const std::string &value) {
    if (std::string why = place(key); !why.empty()) return why;
    // The value as it stands, in any spelling a dump gives it, is no change.
    const std::string old = key_value(key);
    if (value == old) return "";
    std::string canonical;
    // A secret given as output hides it keeps its value: a dump applied back changes nothing.
    bool hidden = secret(*key.name.kind, key.name.field->key);
    if (hidden && value == kHidden) return "";
    std::string as_given = hidden ? kHidden : value;
    if (std::string allowed = canonical_value(key, value, canonical); !allowed.empty()) return "=" + as_given + ": allowed: " + allowed;
    // A value Korvel reads as the one it has is no change, whatever a screen would accept.
    if (old == canonical) return "";
    // A deletion needs no more than the form; it is the screens' own operation.
    if (undefines(key, canonical)) return remove(key);
    if (std::string allowed = check_value(key, canonical); !allowed.empty()) return "=" + as_given + ": allowed: " + allowed;
    const KeyName &name = key.name;
    // An emptied condition is removed as the condition screen removes one: the later ones move up.
    if (named(name.kind, "Event_") && canonical == "0" && std::strncmp(name.field->key, "Type", 4) == 0) {
        const ConfigRecord &before = snapshot();
        remove_condition(INI1.Group[key.group].Event[key.entry], name.field->key[4] - '1');
        describe_changes(before);
        return "";
    }
    store_value(key, canonical);
    touched_[Touched{key.group, name.kind, key.entry, name.field->key}] = name.name;
    lines.push_back(changed(name.name, *name.kind, *name.field, old, canonical));
    return "";
}

bool Request::touched(int group, const SectionKind *kind, int entry, std::initializer_list<const char *> keys) const {
    for (const char *key : keys) {
        if (touched_.count(Touched{group, kind, entry, key})) return true;
    }
    return false;
}

std::string Request::finish() const {
    for (const Added &a : added_) {
        bool used = a.kind ? entry_in_use(INI1, *a.kind, a.group, a.index) : group_in_use(INI1.Group[a.index]);
        if (used) continue;
        std::string first = !a.kind ? "Common.Name" : named(a.kind, "Schedule_") ? "Data with an action" : key_set(a.kind->file, a.kind->key_set).fields[0].key;
        return a.section + ": a new entry needs its " + first;
    }
    const SystemSettings &system = INI1.System;
    for (const auto &set : touched_) {
        const SectionKind *kind = std::get<1>(set.first);
        const std::string &key = std::get<3>(set.first);
        if (named(kind, "System") && (key == "DataLogMin" || key == "DataLogMax") && system.DataLogMin >= system.DataLogMax) {
            return "System.DataLogMin=" + std::to_string(system.DataLogMin) + ": allowed: below System.DataLogMax (" + std::to_string(system.DataLogMax) + ")";
        }
    }
    // A group member (entry + 1) and a schedule (entry) name UPS entries in use.
    int ups_count = static_cast<int>(entries_in_use(INI1, kind_named(kKorvelIni, "UPS_"), -1).size());
    for (const auto &set : touched_) {
        int group = std::get<0>(set.first), entry = std::get<2>(set.first);
        const SectionKind *kind = std::get<1>(set.first);
        const std::string &key = std::get<3>(set.first), &as_named = set.second;
        if (named(kind, "UPS") && INI1.Group[group].UPS[std::stoi(key.substr(4))] > ups_count) {
            return as_named + "=" + std::to_string(INI1.Group[group].UPS[std::stoi(key.substr(4))]) +
                   ": allowed: 0, or a UPS entry in use (1.." + std::to_string(ups_count) + ")";
        }
        if (named(kind, "Schedule_") && INI1.Schedule[entry].UpsIndex >= ups_count) {
            return as_named + ": allowed: a schedule whose UPS (digits 9-12) is an entry in use (0.." + std::to_string(ups_count - 1) + ")";
        }
        if (named(kind, "Event_") && (key.compare(0, 4, "Type") == 0 || key.compare(0, 8, "Priority") == 0)) {
            const GroupEvent &event = INI1.Group[group].Event[entry];
            int slot = key.back() - '1';
            if (!qualifier_fits(event.Type[slot], event.Priority[slot])) {
                return as_named.substr(0, as_named.rfind('.')) + ".Priority" + key.back() + "=" + std::to_string(event.Priority[slot]) +
                       ": allowed: 0..8, a count, for condition " + std::to_string(event.Type[slot]);
            }
        }
        if (!named(kind, "UPS_")) continue;
        const UpsEntry &ups = INI1.UPS[entry];
        std::string name = as_named.substr(0, as_named.rfind('.'));
        if (touched(group, kind, entry, {"SystemShutdown", "SystemShutDelayAllow", "SystemShutLeadAllow"}) && !ups_shutdown_consistent(ups)) {
            return name + ".SystemShutdown=" + std::to_string(ups.SystemShutdown) + ": allowed: 1 when SystemShutDelayAllow or SystemShutLeadAllow is 1, else 0";
        }
        if (touched(group, kind, entry, {"UPSShutdown", "SystemShutLeadAllow", "SystemShutdownLead", "UPSShutdownDelay"}) && !ups_lead_covers_delay(ups)) {
            return name + ".SystemShutdownLead=" + std::to_string(ups.SystemShutdownLead) + ": allowed: at least " +
                   std::to_string(ups.UPSShutdownDelay / 60) + ", to cover " + name + ".UPSShutdownDelay (" +
                   std::to_string(ups.UPSShutdownDelay) + " seconds)";
        }
    }
    return "";
}

}  // namespace

int run_get(const std::vector<std::string> &keys, GetForm form) {
    store_defaults();
    std::vector<KeyRef> found(keys.size());
    NameResolver names(INI1, false);
    for (size_t i = 0; i < keys.size(); ++i) {
        std::string key;
        std::vector<Change> none;
        std::string why = names.resolve(keys[i], key, none);
        if (why.empty()) why = locate_key(key, INI1, found[i]);
        if (!why.empty()) return complain(keys[i] + ": " + why), kRefused;
        found[i].name.name = keys[i];  // JSON names the key as asked
    }
    if (form == GetForm::Json) return print_json(found), kDone;
    // A NUL ends each value where a value may hold any other byte.
    for (const KeyRef &key : found) std::printf("%s%c", key_value(key).c_str(), form == GetForm::Nul ? '\0' : '\n');
    return kDone;
}

int run_set(const std::vector<std::string> &assignments, const ChangeOptions &options) {
    std::vector<Change> changes;
    for (const std::string &assignment : assignments) {
        size_t equals = assignment.find('=');
        if (equals == std::string::npos) return complain(assignment + ": not KEY=VALUE"), kRefused;
        changes.emplace_back(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    return run_changes(changes, options);
}

bool show_secrets = false;

std::string shown_value(bool secret, const std::string &value) { return secret && !show_secrets ? kHidden : value; }

namespace {

// The key whose emptying deletes the entry (or group) `section` names, as
// the screens delete one, and the value that empties it; no key when there
// is no such entry to delete.
std::string deletion_key(const std::string &section, KeyRef &key, std::string &value) {
    std::string resolved;
    std::vector<Change> none;
    NameResolver existing(INI, false);
    if (std::string why = existing.resolve(section + ".", resolved, none); !why.empty()) return existing.missing() ? "" : why;
    KeyName name;
    resolved.pop_back();
    if (std::string why = parse_section(resolved, name); !why.empty()) return why;
    bool group = named(name.kind, "Common");
    if (!group && !compact(name)) return "not an entry: only entries of a series and groups are deleted";
    const KeySet &keys = key_set(name.file, name.kind->key_set);
    const Field &first = group ? *field_named(keys, "Name") : keys.fields[0];
    // Not found as the files number the entries now: not there to delete.
    KeyRef found;
    if (!locate_key(resolved + "." + first.key, INI, found).empty()) return "";
    key.name = found.name;
    value = first.kind == FieldKind::Text ? "" : "0";
    return "";
}

// Puts the changes whose keys `place` gives a series and a number in the
// numbers' order, each series among the places its changes hold: a new
// entry is added after the one before it, whatever the request's order.
void number_order(std::vector<Change> &changes, const std::function<bool(const KeyName &, std::string &, int &)> &place) {
    std::map<std::string, std::vector<std::pair<size_t, int>>> series;  // the places and numbers of each series' changes
    for (size_t i = 0; i < changes.size(); ++i) {
        KeyName name;
        std::string which;
        int number = 0;
        if (parse_key(changes[i].first, name).empty() && place(name, which, number)) series[which].emplace_back(i, number);
    }
    for (const auto &one : series) {
        std::vector<std::pair<size_t, int>> sorted = one.second;
        std::stable_sort(sorted.begin(), sorted.end(), [](const auto &a, const auto &b) { return a.second < b.second; });
        std::vector<Change> held;
        for (const auto &change : sorted) held.push_back(changes[change.first]);
        for (size_t n = 0; n < held.size(); ++n) changes[one.second[n].first] = held[n];
    }
}

}  // namespace

int run_changes(const std::vector<Change> &changes, const ChangeOptions &options, const std::vector<std::string> &deleted) {
    store_defaults();
    Request request;
    // Deletions first: a key of a deleted entry is then refused as such.
    for (const std::string &section : deleted) {
        KeyRef key;
        std::string value;
        std::string why = deletion_key(section, key, value);
        if (why.empty() && key.name.field) why = request.change(key, value);
        if (!why.empty()) return complain(section + ": " + why), kRefused;
    }
    std::vector<Change> numbered;
    // Names become numbers as the files numbered the entries when the request began.
    NameResolver names(INI, options.create);
    for (const Change &change : changes) {
        KeyName name;
        if (change.first.find('[') != std::string::npos || !parse_key(change.first, name).empty()) continue;
        names.reserve(section_of(name));
        if (name.file == kGroupIni) names.reserve(file_name(kGroupIni, name.group_number));
    }
    for (const Change &change : changes) {
        std::string key;
        if (std::string why = names.resolve(change.first, key, numbered); !why.empty()) return complain(change.first + ": " + why), kRefused;
        numbered.emplace_back(key, change.second);
    }
    number_order(numbered, [](const KeyName &name, std::string &, int &number) {
        number = name.group_number;
        return name.file == kGroupIni;
    });
    number_order(numbered, [](const KeyName &name, std::string &which, int &number) {
        which = std::to_string(name.group_number) + name.kind->name, number = name.number;
        return compact(name);
    });
    for (const Change &change : numbered) {
        KeyRef key;
        std::string why = parse_key(change.first, key.name);
        if (why.empty()) why = request.change(key, change.second);
        std::string as_named = key.name.name.empty() ? change.first : key.name.name;  // korvel.ini left out, as everywhere
        if (!why.empty()) return complain(as_named + (why[0] == '=' ? "" : ": ") + why), kRefused;
    }
    if (std::string why = request.finish(); !why.empty()) return complain(why), kRefused;
    // A deleted group's file would bring it back at the next start: the
    // files after the last group in use go too.
    std::vector<std::string> removed, written, notes;
    if (request.deleted_group) {
        int read = static_cast<int>(groups_in_use(INI).size()), now = static_cast<int>(groups_in_use(INI1).size());
        for (int number = now; number < read; ++number) removed.push_back(file_name(kGroupIni, number));
    }
    if (!options.dry_run && !request.lines.empty()) {
        if (int status = save_changes(written, removed, notes)) return status;
    }
    for (const std::string &name : removed) notes.push_back(name + ": removed, or its group would come back");
    if (options.json) return print_report_json(request.lines, notes, written), kDone;
    for (const Reported &line : request.lines) {
        if (!line.change) {
            std::printf("%s: %s\n", line.subject.c_str(), line.what.c_str());
        } else {
            std::printf("%s: %s -> %s\n", line.subject.c_str(), shown_value(line.secret, line.old_value).c_str(),
                        shown_value(line.secret, line.new_value).c_str());
        }
    }
    for (const std::string &note : notes) std::printf("%s\n", note.c_str());
    return kDone;
}
