// Keys that name their entry by its name instead of its number:
// UPS[Rack 2 UPS].IPAddress, SMS[Duty phone].TelNumber,
// group[Network core].Common.RedundancyLevel and
// group[Network core].Event[Mains lost].Log (an event by its Message). An
// address a script can keep: it does not move when an earlier entry goes.
#pragma once

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "cli/commands.h"

struct ConfigRecord;
struct SectionKind;

class NameResolver {
public:
    // Names are looked up in `record` as its files number the entries. With
    // `create`, a name no entry has stands for a new entry, which the
    // request then adds and names.
    NameResolver(const ConfigRecord &record, bool create) : record_(record), create_(create) {}
    // `text` with every name replaced by its number ("UPS_02.IPAddress").
    // "" or why not: no entry has the name, or several have; both list
    // the names there are. `named` gets the change that names each entry
    // to be created, before the key that creates it.
    std::string resolve(const std::string &text, std::string &resolved, std::vector<Change> &named);
    // A section ("UPS_04", "group_01.ini:Event_02") or a group's file that
    // the request names by number: an entry it creates by name is not given it.
    void reserve(const std::string &taken) { reserved_.insert(taken); }
    // Whether the last resolve found no entry of a name it did not create.
    bool missing() const { return missing_; }

private:
    // One name in a key: of a group (kind null) or of an entry of a series.
    std::string number_of_name(const SectionKind *kind, int group, const std::string &name, const std::string &prefix, int &number,
                               std::vector<Change> &named);
    const ConfigRecord &record_;
    bool create_;
    bool missing_ = false;
    std::set<std::string> reserved_;
    std::vector<std::tuple<const SectionKind *, int, std::string, int>> created_;  // kind, group, name, number
};
