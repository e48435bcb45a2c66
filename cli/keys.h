// One key of Korvel's files as corvanectl names it, [FILE:]SECTION.KEY
// ("System.Name", "jobs.ini:Job_05.ExecuteDelay", "group_01.ini:Event_03.Type1"),
// and its value in a record, read and checked with the rules the editor's
// screens enforce.
//
// Entry numbers are those the files carry after a save: in a series whose
// unused entries are not written (UPS_, Email_, Schedule_, Event_ ...) and
// among the group files, the n-th entry in use. The number one past the last
// in use names a new entry.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "config/fields.h"

struct ConfigRecord;

// A key as named, before it is looked up in a record.
struct KeyName {
    IniFile file = kKorvelIni;
    int group_number = -1;  // a group file's number
    const SectionKind *kind = nullptr;
    int number = 0;  // the section's number in a series
    const Field *field = nullptr;
    std::string name;  // as "[FILE:]SECTION.KEY", the file left out for korvel.ini
};

// Whether `kind` is the kind named `name` ("UPS_", "Common" ...).
bool named(const SectionKind *kind, const char *name);
// The section kind `name` of `file` ("UPS_" of korvel.ini ...).
const SectionKind &kind_named(IniFile file, const char *name);
// Parses `text`. "" or why it names no key.
std::string parse_key(const std::string &text, KeyName &key);
// Parses "[FILE:]SECTION" into `key`, without a field. "" or why it names no section.
std::string parse_section(const std::string &text, KeyName &key);
// Whether the values of key `key` of section kind `kind` are secrets
// (passwords, their digests, SNMP communities): output shows them as
// kHidden unless asked to show them.
bool secret(const SectionKind &kind, const char *key);
constexpr const char *kHidden = "********";
// Whether the key's section is a series numbered as a save writes it.
bool compact(const KeyName &key);
// The section of the key's entry as named ("[FILE:]SECTION").
std::string section_of(const KeyName &key);

// The record's groups in use, in order; and the entries of `kind` in use in
// group `group` (-1 outside the group files), in order.
std::vector<int> groups_in_use(const ConfigRecord &record);
std::vector<int> entries_in_use(const ConfigRecord &record, const SectionKind &kind, int group);
bool entry_in_use(const ConfigRecord &record, const SectionKind &kind, int group, int entry);
// The number a save gives the entry (or group) at record index `index`, as
// its place among those `in_use` lists.
int number_of(const std::vector<int> &in_use, int index);
unsigned char *entry_at(ConfigRecord &record, const SectionKind &kind, int group, int entry);

// A key placed in one entry of a record.
struct KeyRef {
    KeyName name;
    int group = -1;  // the record's group, for a group file
    int entry = 0;   // the record's entry of the kind
    unsigned char *where = nullptr;
    const unsigned char *end = nullptr;  // the record's end, where a text that fills its field stops running on
};

// Every key of every entry in use in `record`, in the order a save writes
// them, with its file's and its section's names as the save gives them
// (a save leaves out the keys of a kind that skips zero values).
void each_key(ConfigRecord &record, const std::function<void(const std::string &file, const std::string &section, const KeyRef &key)> &visit);
// Finds `text` in `record` as its files number it now. "" or why not.
std::string locate_key(const std::string &text, ConfigRecord &record, KeyRef &key);
// Places a parsed key in entry `entry` of group `group` of `record`.
void place_key(KeyRef &key, ConfigRecord &record, int group, int entry);

// The value as a save writes it and Korvel then reads it: a text without
// quotes, a number in decimal, the writer's default for an empty value, a
// schedule as its text.
std::string key_value(const KeyRef &key);
// Checks the form of `value` for `key`'s field and gives the value as
// key_value would show it once stored. "" when the form is right, else the
// values allowed.
std::string canonical_value(const KeyRef &key, const std::string &value, std::string &canonical);
// The values a screen lets key `field` of section kind `kind` take, in words.
std::string accepted(const SectionKind &kind, const Field &field);
// Checks a canonical value against the range the screens allow and the way
// Korvel reads it. "" when it may be stored, else the values allowed.
std::string check_value(const KeyRef &key, const std::string &canonical);
// Whether storing `canonical` would take the key's entry out of use: an
// emptied name, a schedule without action, an event without condition.
bool undefines(const KeyRef &key, const std::string &canonical);
// Stores a checked canonical value.
void store_value(const KeyRef &key, const std::string &canonical);

// The number a save gives UPS entry `index` of `record` (the entries in
// use counted from 0), or -1 for an entry not in use; and the section name
// "UPS_nn" of a number.
int saved_ups_number(const ConfigRecord &record, int index);
std::string ups_section(int number);
// The name of a section of a series by its number ("UPS_03"), or of a single one.
std::string section_name(const SectionKind &kind, int number);

// The files in the order Korvel reads them and a save writes them.
constexpr IniFile kReadingOrder[] = {kKorvelIni, kJobsIni, kJobsStsIni, kGroupIni, kSensorIni};
// A file's place in that order, from 0.
int reading_rank(IniFile file);
// The name of a file as a save writes it; a group file's by its number.
std::string file_name(IniFile file, int group_number);
// The file `name` names, and a group file's number; false for a name that
// is none of Korvel's files.
bool parse_file_name(const std::string &name, IniFile &file, int &group_number);
