#include "config/ini_reader.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "config/fields.h"
#include "config/record.h"
#include "config/files.h"
#include "config/codec.h"
#include "config/replace_file.h"

uint8_t actual_section = 255;
int g_index = 0;
const char *p_s = "";

// The pages of INI the reader stored into since the load began.
static bool stored_pages[kRecordPages];

static void mark_stored(size_t at, size_t size) {
    for (size_t page = at / kRecordPage; page <= (at + size - 1) / kRecordPage; ++page) stored_pages[page] = true;
}

// The key set of the last key line; like actual_section it carries over.
static int current_key_set = 0;

// The kind that (file, section) stores into. Group files have no upper
// bound: slots past Event_63 address events beyond the group's 64, which
// the record bound below keeps inside the record.
static const SectionKind *storing_kind(int file, int section) {
    if (file == kGroupIni && section >= 2) return section_kind(kGroupIni, 2);
    return section_kind(file, section);
}

// The low 32 bits of what strtol makes of `text` (blanks, a sign, digits;
// saturated at the limits of a long), which atoi then narrows.
static uint32_t value_bits(const char *text) {
    const char *at = text;
    while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
    bool negative = *at == '-';
    if (*at == '-' || *at == '+') ++at;
    uint64_t value = 0;
    bool saturated = false;
    for (; *at >= '0' && *at <= '9'; ++at) {
        if (value > (UINT64_MAX - 9) / 10) {
            saturated = true;
        } else {
            value = value * 10 + static_cast<uint64_t>(*at - '0');
        }
    }
    const uint64_t limit = negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1;
    if (saturated || value > limit) value = limit;
    return static_cast<uint32_t>(negative ? 0 - value : value);
}

unsigned ReadNumber(const SectionKind &kind, int entry, const Field &field, const char *text) {
    uint32_t value = value_bits(text);
    if (field.kind == FieldKind::Switch) value &= 0xFF;
    if (kind.file == kJobsIni && field.offset == offsetof(JobEntry, Shutdown)) {
        // Korvel shuts down only on even jobs from 6 on, and on job 0.
        if (entry % 2 == 1 || entry == 2 || entry == 4) value = 0;
    }
    if (kind.file == kJobsStsIni && field.offset == offsetof(JobEntry, Shutdown)) value = 0;
    if (kind.file == kKorvelIni && kind.base == offsetof(ConfigRecord, WapConfig) &&
        field.offset == offsetof(WapService, Port) && static_cast<uint16_t>(value) == 0) {
        value = 9200;
    }
    return field.width == 1 ? static_cast<uint8_t>(value) : static_cast<uint16_t>(value);
}

unsigned char *FillVar(int file, int section, int key) {
    if (file < 0 || file >= kIniFiles) return nullptr;
    const SectionKind *kind = storing_kind(file, section);
    if (!kind) return nullptr;
    const KeySet &keys = key_set(file, kind->key_set);
    if (key < 0 || key >= keys.count) return nullptr;
    const Field &field = keys.fields[key];

    size_t at = kind->base + static_cast<size_t>(section - kind->first_slot) * kind->entry_size + field.offset;
    if (file == kGroupIni) {
        if (g_index < 0) return nullptr;
        at += offsetof(ConfigRecord, Group) + static_cast<size_t>(g_index) * sizeof(GroupEntry);
    }
    if (at + field.width > sizeof(ConfigRecord)) return nullptr;
    unsigned char *where = reinterpret_cast<unsigned char *>(&INI) + at;
    mark_stored(at, field.width);

    if (field.kind == FieldKind::Text) {
        set_text(reinterpret_cast<char *>(where), field.width, p_s);
        return where;
    }

    unsigned value = ReadNumber(*kind, section - kind->first_slot, field, p_s);
    if (field.width == 1) {
        *where = static_cast<uint8_t>(value);
    } else {
        uint16_t narrow = static_cast<uint16_t>(value);
        std::memcpy(where, &narrow, sizeof narrow);
    }
    return where;
}

void (*ReadNote)(const ReadLine &line) = nullptr;
static ReadLine note;  // the line being read, told to ReadNote once its fate is known

// The key set a key line of `file` in `section` is looked up in.
static void choose_key_set(int file, int section) {
    // Event sections follow one another, so from Event_16 on the set of the
    // line before (the event set) is kept.
    if (file == kGroupIni && section >= 18) return;
    if (const SectionKind *kind = section_kind(file, section)) current_key_set = kind->key_set;
}

// The slot whose name in SectionNames is `name`, or -1. The names are
// unique, so the one match is found from the kinds: a name, or a prefix and
// two digits.
static int section_slot(int file, const char *name) {
    for (int k = 0; k < kSectionKindCount; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        size_t length = std::strlen(kind.name);
        if (kind.file != file || std::strncmp(name, kind.name, length) != 0) continue;
        const char *number = name + length;
        if (kind.slots == 1) {
            if (*number == '\0') return kind.first_slot;
        } else if (number[0] >= '0' && number[0] <= '9' && number[1] >= '0' && number[1] <= '9' && !number[2]) {
            int index = (number[0] - '0') * 10 + (number[1] - '0');
            if (index < kind.slots) return kind.first_slot + index;
        }
    }
    return -1;
}

static void read_header(int file, char *line) {
    char *end = std::strchr(line, ']');
    if (!end) return;
    *end = '\0';
    int slot = section_slot(file, line + 1);
    // An unknown section changes nothing: its keys go to the section before.
    if (slot >= 0) actual_section = static_cast<uint8_t>(slot);
    note.fate = slot >= 0 ? LineFate::Header : LineFate::UnknownHeader;
}

static void read_key_line(int file, char *line) {
    note.fate = LineFate::NoSection;
    if (actual_section == 255) return;
    note.fate = LineFate::UnknownKey;
    char *equals = std::strchr(line, '=');
    if (!equals) return;
    *equals = '\0';
    const char *key = line;  // exactly as written: "Name " is not "Name"
    note.key = key;

    // An empty key would match the first unused slot, which has no field:
    // only the named slots can lead to a store.
    choose_key_set(file, actual_section);
    const KeySet &keys = key_set(file, current_key_set);
    // Files list their keys in key-set order: the key after the last one
    // read is the one to try first. Keys are unique within a set.
    static int last_slot = -1;
    int slot = last_slot + 1;
    if (slot >= keys.count || std::strcmp(keys.fields[slot].key, key) != 0) {
        slot = 0;
        while (slot < keys.count && std::strcmp(keys.fields[slot].key, key) != 0) ++slot;
        if (slot == keys.count) return;
    }
    last_slot = slot;

    char *value = equals + 1;
    if (*value == '"') ++value;
    char *end = std::strchr(value, '"');
    if (!end) end = std::strchr(value, '\n');  // a CR before it stays in the value
    if (end) *end = '\0';
    p_s = value;
    note.fate = LineFate::Key;
    note.value = value;
    note.width = keys.fields[slot].width;
    note.text_field = keys.fields[slot].kind == FieldKind::Text;
    note.where = FillVar(file, actual_section, slot);
}

void EncodeINIText(int file, const char *bytes, size_t size) {
    // 298 characters at a time: the rest of a longer line is read as a line
    // of its own.
    char line[300], told[300];
    int number = 0;
    bool whole = true;  // the last read ended its line
    const char *at = bytes, *end = bytes + size;
    while (next_line(at, end, line, 299)) {
        if (ReadNote) {
            std::memcpy(told, line, sizeof told);
            note = ReadLine{file, whole ? ++number : number, told, !whole, LineFate::Skipped, 0, "", "", nullptr, 0, false};
            whole = std::strchr(line, '\n') != nullptr;
        }
        switch (line[0]) {
        case '\n':
        case ';':
        case ' ':
        case '\0':
        case '\a': break;
        case '[': read_header(file, line); break;
        default: read_key_line(file, line); break;
        }
        if (ReadNote && line[0]) {
            note.section = actual_section;
            ReadNote(note);
        }
    }
}

// Parses `source` as file number `file`: 0; 1 when it is missing; 2 when it
// is there but could not be read, or is no regular file, which must not be
// taken for an empty one and then overwritten by the next save.
static int encode(int file, const FileBytes &source, const char *path) {
    int why = unreadable(source);
    if (why == ENOENT) return 1;
    if (why) {
        note_unreadable(path, why);
        return 2;
    }
    EncodeINIText(file, source.bytes.data(), source.bytes.size());
    return 0;
}

int EncodeINIFile(int file, const char *path) { return encode(file, read_file_bytes(path), path); }

static FileSource source_of_load = nullptr;

static int load_file(int file, const char *name) {
    char path[kProgramDirSize + 32];
    std::snprintf(path, sizeof path, "%s%s", ProgramDir, name);
    const FileBytes *source = source_of_load ? source_of_load(name) : nullptr;
    if (!source) source = remembered_file(ProgramDir, name);
    if (source) return encode(file, *source, path);
    return EncodeINIFile(file, path);
}

int LoadKorvelINI() { return load_file(kKorvelIni, "korvel.ini"); }
int LoadJobsINI() { return load_file(kJobsIni, "jobs.ini"); }
int LoadJobsSTSINI() { return load_file(kJobsStsIni, "jobsSTS.ini"); }
int LoadSensorINI() { return load_file(kSensorIni, "sensor.ini"); }

const char *ini_file_name(IniFile file) {
    static const char *const kNames[kIniFiles] = {"korvel.ini", "jobs.ini", "", "sensor.ini", "jobsSTS.ini"};
    return file >= 0 && file < kIniFiles ? kNames[file] : "";
}

void group_file_name(char *name, unsigned size, int number) {
    std::snprintf(name, size, "group_%c%c.ini", '0' + number / 10 % 10, '0' + number % 10);
}

int LoadGroupsINI() {
    int result = 0;
    for (int group = 0; group < kGroups; ++group) {
        char name[16];
        group_file_name(name, sizeof name, group);
        g_index = group;
        result = load_file(kGroupIni, name);
        if (result > 1) return result;
    }
    return result;
}

int LoadINI() { return LoadINIFiles(5); }

static int load_files(int count, bool working_copy);

int LoadINIFiles(int count) { return load_files(count, true); }

int LoadINIFilesFrom(int count, FileSource source) {
    source_of_load = source;
    int result = load_files(count, false);
    source_of_load = nullptr;
    return result;
}

static int load_files(int count, bool working_copy) {
    // A process's first load finds the records' memory mostly untouched and
    // keeps it so; later loads find it in use, where memset is cheaper.
    static bool first_load = true;
    std::memset(stored_pages, 0, sizeof stored_pages);
    if (first_load) {
        clear_record_pages(INI);
    } else {
        std::memset(&INI, 0, sizeof INI);
    }
    actual_section = 255;  // Korvel reads every start afresh
    UnreadableError = 0;
    int result = LoadKorvelINI();
    if (result == 1) {
        char path[kProgramDirSize + 32];
        std::snprintf(path, sizeof path, "%skorvel.ini", ProgramDir);
        note_unreadable(path, ENOENT);
    }
    if (result != 0) return result;
    int (*const loads[])() = {LoadJobsINI, LoadJobsSTSINI, LoadGroupsINI, LoadSensorINI};
    for (int i = 0; i + 1 < count && i < 4; ++i) {
        result = loads[i]();
        if (result > 1) return result;
    }
    DecodeSchedules();
    if (working_copy && first_load) {
        mark_stored(offsetof(ConfigRecord, Schedule), sizeof INI.Schedule);  // decoded in their own entries
        copy_record_pages(INI1, INI, stored_pages);
    } else if (working_copy) {
        std::memcpy(&INI1, &INI, sizeof INI1);
    }
    first_load = false;
    return 0;
}
