// One key of Korvel's files as corvanectl names it, [FILE:]SECTION.KEY
// ("System.Name", "jobs.ini:Job_05.ExecuteDelay", "group_01.ini:Event_03.Type1"),
// and its value in the record, read and changed with the rules the editor's
// screens enforce.
//
// Entry numbers are those the files carry after a save: in a series whose
// unused entries are not written (UPS_, Email_, Event_ ...) and among the
// group files, the n-th entry in use. The number one past the last in use
// names the first free entry, so that a new one can be added; it is in use
// once its first key (a name, a schedule text, a first condition) is set.
#pragma once

#include <string>

#include "config/fields.h"

struct ConfigRecord;

struct KeyRef {
    IniFile file = kKorvelIni;
    int group = -1;  // the record's group, for a group file
    const SectionKind *kind = nullptr;
    int entry = 0;  // the record's entry of the kind
    const Field *field = nullptr;
    bool first = false;  // the key that puts its entry in use
    unsigned char *where = nullptr;  // the field in the working copy INI1
    std::string name;  // as "[FILE:]SECTION.KEY", the file left out for korvel.ini
};

// Finds `text` in the working copy INI1. "" or why it names no key.
std::string resolve_key(const std::string &text, KeyRef &key);
// Whether the entry (or the group) `key` names is in use.
bool entry_in_use(const KeyRef &key);
// The value as the files hold it: a text without quotes, a number in decimal.
std::string key_value(const KeyRef &key);
// Checks `value` for `key` against the field and the range its screen
// accepts. "" when it may be stored, else the values allowed.
std::string check_value(const KeyRef &key, const std::string &value);
// Stores a checked value.
void store_value(const KeyRef &key, const std::string &value);
// The name of section `index` of a file's kind ("System", "UPS_03"), numbered
// as after a save.
std::string section_name(const SectionKind &kind, int number);
// The number a save gives UPS entry `index` of `record` (the entries in
// use counted from 0), or -1 for an entry not in use; and the section name
// "UPS_nn" of a number.
int saved_ups_number(const ConfigRecord &record, int index);
std::string ups_section(int number);

// The files in the order Korvel reads them and a save writes them.
constexpr IniFile kReadingOrder[] = {kKorvelIni, kJobsIni, kJobsStsIni, kGroupIni, kSensorIni};
// A file's place in that order, from 0.
int reading_rank(IniFile file);
// The name of a file as a save writes it; a group file's by its number.
std::string file_name(IniFile file, int group_number);
// The file `name` names, and a group file's number; false for a name that
// is none of Korvel's files.
bool parse_file_name(const std::string &name, IniFile &file, int &group_number);
