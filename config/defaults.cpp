#include "config/defaults.h"

#include <cstdio>
#include <cstddef>
#include <cstring>
#include <vector>

#include "console/lang.h"

namespace {

const SaveDefault kSaveDefaults[] = {
    {"Serial_", {"Device", 0, "AUTO"}, true},
    {"EmailConfig", {"Port", 25, nullptr}, true},
    {"EmailConfig", {"Timeout", 5, nullptr}, true},
    {"EmailConfig", {"Subject", 0, "Korvel"}, false},
    {"BriskenModemConfig", {"DeviceNo", 1, nullptr}, true},
    {"WapConfig", {"Port", 9200, nullptr}, true},
};

// A new UPS entry; its Port is a copy of the serial device.
const DefaultValue kNewUps[] = {
    {"Type", 0, ""},           {"Serial", 0, ""},           {"Address", 0, nullptr},
    {"IPAddress", 0, "127.0.0.1"}, {"Connection", kSerialLine, nullptr}, {"Password", 0, nullptr},
    {"Device", 1, nullptr},    {"Message", 1, nullptr},     {"MessageDelay", 0, nullptr},
    {"MessageRate", 60, nullptr}, {"MessageType", 0, nullptr}, {"SystemShutdown", 1, nullptr},
    {"SystemShutDelayAllow", 1, nullptr}, {"SystemShutLeadAllow", 0, nullptr}, {"SystemShutdownDelay", 5, nullptr},
    {"SystemShutdownLead", 5, nullptr}, {"UPSShutdown", 0, nullptr}, {"UPSShutdownDelay", 5, nullptr},
    {"UPSReboot", 1, nullptr},
};
// On a zeroed group, event and job. A job's message and repeat interval
// depend on its number; an event's message on its number.
const DefaultValue kNewGroup[] = {{"AllowedUPSReboot", 1, nullptr}, {"RedundancyLevel", 0, nullptr}};
const DefaultValue kNewEvent[] = {{"Log", 1, nullptr}};
const DefaultValue kResetJob[] = {{"Log", 1, nullptr}, {"LocalMessage", 1, nullptr}};

const KeySet &keys_of(IniFile file, const char *section) {
    for (int k = 0; k < kSectionKindCount; ++k) {
        if (kSectionKinds[k].file == file && std::strcmp(kSectionKinds[k].name, section) == 0) {
            return key_set(file, kSectionKinds[k].key_set);
        }
    }
    return key_set(-1, 0);
}

void store(const Field &field, unsigned char *entry, const DefaultValue &value) {
    unsigned char *where = entry + field.offset;
    if (value.text) {
        set_text(reinterpret_cast<char *>(where), field.width, value.text);
    } else if (field.width == 1) {
        *where = static_cast<unsigned char>(value.number);
    } else {
        uint16_t number = static_cast<uint16_t>(value.number);
        std::memcpy(where, &number, sizeof number);
    }
}

template <size_t N> void store_all(const DefaultValue (&values)[N], IniFile file, const char *section, void *entry) {
    const KeySet &keys = keys_of(file, section);
    for (const DefaultValue &value : values) {
        if (const Field *field = field_named(keys, value.key)) store(*field, static_cast<unsigned char *>(entry), value);
    }
}

// The rows of kSaveDefaults of each section kind, found once: a save looks
// them up for every empty field it writes.
const std::vector<const SaveDefault *> &defaults_of(const SectionKind &kind) {
    static const std::vector<std::vector<const SaveDefault *>> table = [] {
        std::vector<std::vector<const SaveDefault *>> rows(static_cast<size_t>(kSectionKindCount));
        for (int k = 0; k < kSectionKindCount; ++k) {
            for (const SaveDefault &row : kSaveDefaults) {
                if (kSectionKinds[k].file == kKorvelIni && std::strcmp(row.section, kSectionKinds[k].name) == 0) rows[k].push_back(&row);
            }
        }
        return rows;
    }();
    static const std::vector<const SaveDefault *> none;
    std::ptrdiff_t k = &kind - kSectionKinds;
    return k >= 0 && k < kSectionKindCount ? table[static_cast<size_t>(k)] : none;
}

}  // namespace

const SaveDefault *save_default(const SectionKind &kind, const char *key) {
    for (const SaveDefault *row : defaults_of(kind)) {
        if (std::strcmp(row->value.key, key) == 0) return row;
    }
    return nullptr;
}

void apply_save_defaults(ConfigRecord &record, const SectionKind &kind) {
    const KeySet &keys = key_set(kind.file, kind.key_set);
    unsigned char *entry = reinterpret_cast<unsigned char *>(&record) + kind.base;
    for (const SaveDefault *row : defaults_of(kind)) {
        const Field *field = row->stored ? field_named(keys, row->value.key) : nullptr;
        if (!field) continue;
        const unsigned char *where = entry + field->offset;
        bool empty = field->kind == FieldKind::Text ? where[0] == 0 : field_number(where, field->width) == 0;
        if (empty) store(*field, entry, row->value);
    }
}

void store_new_defaults(NewEntry which, void *entry) {
    switch (which) {
    case NewEntry::Ups: store_all(kNewUps, kKorvelIni, "UPS_", entry); break;
    case NewEntry::Group: store_all(kNewGroup, kGroupIni, "Common", entry); break;
    case NewEntry::Event: store_all(kNewEvent, kGroupIni, "Event_", entry); break;
    }
}

void JobToDefault(JobEntry &job, int index, int mode) {
    std::memset(&job, 0, sizeof job);
    store_all(kResetJob, kJobsIni, "Job_", &job);
    // Events that last (power failure, battery low ...) repeat their message.
    bool repeating = index < 22 ? index % 2 == 0 : index != 24 && index != 27 && index != 29;
    job.LocalMessageInterval = repeating ? 60 : 0;

    int text;
    if (index >= 22) {
        text = kStatusJobMessages[index - 22];
    } else if (mode == 0) {
        text = index == 2 ? 341_text : kJobNames[index];
    } else {
        text = kOtherJobMessages[index];
    }
    if (text >= 0 && text < kTextCount && LangText[text]) {
        std::snprintf(job.Message, sizeof job.Message, "%s", LangText[text]);
    }
}
