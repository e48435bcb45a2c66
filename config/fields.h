// Where every INI section and key of Korvel's files lives in the record.
//
// One table drives both directions: the reader finds a key's field here and
// the writers walk the same entries in the same order, so no key is spelled
// twice. SectionNames and LineNames are the name lookups into it.
#pragma once

#include <cstdint>

// The files, by the numbers the reader uses.
enum IniFile { kKorvelIni = 0, kJobsIni = 1, kGroupIni = 2, kSensorIni = 3, kJobsStsIni = 4, kIniFiles = 5 };

constexpr int kKeySets = 16;       // key sets per file
constexpr int kKeySlots = 37;      // keys per key set
constexpr int kSectionSlots = 120; // section names per file
constexpr int kNameSize = 50;      // longest name + terminator

enum class FieldKind : uint8_t {
    Text,    // fixed character array
    Number,  // u8 or u16, by width
    Switch,  // u16 job field that keeps only the low 8 bits of what is read
};

struct Field {
    const char *key;       // spelling in the file
    uint32_t offset;       // from the start of its section's entry
    uint16_t width;        // bytes
    FieldKind kind;
};

struct KeySet {
    const Field *fields;  // in slot order, which is also the writing order
    int count;
};

// A kind of section: a single one ("Network") or a numbered series
// ("Email_00" ... "Email_09"), and where its entries lie in the record.
struct SectionKind {
    IniFile file;
    const char *name;    // the name, or the prefix of a series
    uint8_t first_slot;  // section slot of the first name
    uint8_t slots;       // names the reader recognises; above 1 a series
    uint8_t key_set;
    uint32_t base;       // record offset of entry 0 (in group files: offset within the group)
    uint32_t entry_size;
    uint8_t entries;     // entries the record holds, which the writers write
    bool compact;        // entries whose first field is empty or 0 are not written, the rest renumbered from 00
    bool skip_zero_keys; // keys whose value is 0 are not written
};

extern const SectionKind kSectionKinds[];
extern const int kSectionKindCount;

const KeySet &key_set(int file, int set);
// The field of `keys` spelled `key`, or null.
const Field *field_named(const KeySet &keys, const char *key);
// The kind whose names include `slot` of `file`, or null.
const SectionKind *section_kind(int file, int slot);

// A number field's value: one byte, or a 16-bit word.
unsigned field_number(const unsigned char *where, unsigned width);
// Whether an entry of a series is in use: its first field (a name, a
// schedule text, the first condition of an event) is not empty or zero.
bool entry_used(const KeySet &keys, const unsigned char *entry);

// The name of section `slot` of `file` ("" for an unused slot).
const char *SectionNames(int file, int slot);
// The spelling of key `slot` of key set `set` of `file` ("" for an unused slot).
const char *LineNames(int file, int set, int slot);
