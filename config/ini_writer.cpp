#include "config/ini_writer.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "config/ini_reader.h"
#include "config/record.h"
#include "config/replace_file.h"
#include "config/files.h"
#include "console/terminal.h"
#include "config/codec.h"

static const unsigned char *record_end() { return reinterpret_cast<const unsigned char *>(&INI) + sizeof INI; }

static void write_section(ReplaceFile &out, const char *header, const KeySet &keys, const SectionKind &kind,
                          const unsigned char *entry) {
    replace_printf(out, "%s\n", header);
    for (int slot = 0; slot < keys.count; ++slot) {
        const Field &field = keys.fields[slot];
        const unsigned char *where = entry + field.offset;
        if (field.kind == FieldKind::Text) {
            // A text that fills its field has no terminator and runs on to
            // the next zero byte of the record, as Korvel has always written it.
            size_t room = static_cast<size_t>(record_end() - where);
            const void *zero = std::memchr(where, 0, room);
            size_t length = zero ? static_cast<size_t>(static_cast<const unsigned char *>(zero) - where) : room;
            const char *text = reinterpret_cast<const char *>(where);
            if (length == 0 && field.empty_as) {
                text = field.empty_as;
                length = std::strlen(text);
            }
            replace_printf(out, "%s=\"%.*s\"\n", field.key, static_cast<int>(length), text);
        } else {
            unsigned value = field_number(where, field.width);
            if (kind.skip_zero_keys && value == 0) continue;
            replace_printf(out, "%s=%u\n", field.key, value);
        }
    }
    replace_printf(out, "\n");
}

bool (*SaveWanted)(const char *name, const char *bytes, size_t size) = nullptr;

// While SaveINI runs, the files staged so far, committed together at its end.
static ReplaceFile staged[kWatchedFiles];
static int staged_count = -1;  // -1: no SaveINI running, each file is committed at once

int write_ini_file(IniFile file, const char *name, const unsigned char *base,
                   void (*before_section)(const SectionKind &)) {
    char path[kProgramDirSize + 32];
    std::snprintf(path, sizeof path, "%s%s", ProgramDir, name);
    static ReplaceFile single;
    ReplaceFile &out = staged_count >= 0 && staged_count < kWatchedFiles ? staged[staged_count] : single;
    if (int error = replace_open(out, path)) return error;

    replace_printf(out, "; This is file with configuration parameters for KORVEL \n; Do not change any line !\n\n");
    for (int k = 0; k < kSectionKindCount; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        if (kind.file != file) continue;
        if (before_section) before_section(kind);
        const KeySet &keys = key_set(file, kind.key_set);
        char header[kNameSize + 8];
        if (kind.slots == 1) {
            std::snprintf(header, sizeof header, "[%s]", kind.name);
            write_section(out, header, keys, kind, base + kind.base);
            continue;
        }
        // Series: every entry under its own number, or, when compacted, the
        // entries in use numbered again from 00 in the order written.
        unsigned written = 0;
        for (unsigned index = 0; index < kind.entries; ++index) {
            const unsigned char *entry = base + kind.base + index * kind.entry_size;
            if (kind.compact && !entry_used(keys, entry)) continue;
            std::snprintf(header, sizeof header, "[%s%02u]", kind.name, kind.compact ? written : index);
            write_section(out, header, keys, kind, entry);
            ++written;
        }
    }
    if (SaveWanted && !out.error && std::fflush(out.stream) == 0 && !SaveWanted(name, out.bytes, out.size)) {
        replace_discard(out);
        return 0;
    }
    if (int error = replace_stage(out)) return error;
    if (&out == &single) return replace_commit(out);  // staged just above
    ++staged_count;
    return 0;
}

static const unsigned char *whole_record() { return reinterpret_cast<const unsigned char *>(&INI); }

// Korvel needs these set: an empty or zero value becomes the default in the
// record itself, each just before its own section is written, so that a
// full-width text of an earlier section, which runs on to the next zero
// byte, shows the record as it stood when that section was written.
static void apply_default(const SectionKind &kind) {
    switch (kind.base) {
    case offsetof(ConfigRecord, Serial):
        if (!INI.Serial[0].Device[0]) set_text(INI.Serial[0].Device, sizeof INI.Serial[0].Device, "AUTO");
        break;
    case offsetof(ConfigRecord, EmailConfig):
        if (INI.EmailConfig.Port == 0) INI.EmailConfig.Port = 25;
        if (INI.EmailConfig.Timeout == 0) INI.EmailConfig.Timeout = 5;
        break;
    case offsetof(ConfigRecord, BriskenModemConfig):
        if (INI.BriskenModemConfig.DeviceNo == 0) INI.BriskenModemConfig.DeviceNo = 1;
        break;
    case offsetof(ConfigRecord, WapConfig):
        if (INI.WapConfig.Port == 0) INI.WapConfig.Port = 9200;
        break;
    }
}

int SaveKorvelINI() {
    // The defaults are stored only when the file is written: a failure
    // leaves the record as it was.
    char device[sizeof INI.Serial[0].Device];
    std::memcpy(device, INI.Serial[0].Device, sizeof device);
    const EmailService email = INI.EmailConfig;
    const ViewerModem viewer = INI.BriskenModemConfig;
    const WapService wap = INI.WapConfig;
    int error = write_ini_file(kKorvelIni, "korvel.ini", whole_record(), apply_default);
    if (error) {
        std::memcpy(INI.Serial[0].Device, device, sizeof device);
        INI.EmailConfig = email;
        INI.BriskenModemConfig = viewer;
        INI.WapConfig = wap;
    }
    return error;
}

int SaveJobsINI() { return write_ini_file(kJobsIni, "jobs.ini", whole_record()); }
int SaveJobsSTSINI() { return write_ini_file(kJobsStsIni, "jobsSTS.ini", whole_record()); }
int SaveSensorINI() { return write_ini_file(kSensorIni, "sensor.ini", whole_record()); }

int SaveGroupsINI() {
    int written = 0;
    for (const GroupEntry &group : INI.Group) {
        if (!group.Name[0]) continue;
        char name[16];
        group_file_name(name, sizeof name, written);
        if (int error = write_ini_file(kGroupIni, name, reinterpret_cast<const unsigned char *>(&group))) {
            return error;
        }
        ++written;
    }
    return 0;
}

char SavedFiles[256], UnsavedFiles[256];

// Puts every staged file in place. A failure here (rare: everything is on
// disk already) leaves the names of the files that are new and those that
// are not.
static int commit_staged() {
    int first_error = 0;
    char *fresh = SavedFiles, *old = UnsavedFiles;
    for (int i = 0; i < staged_count; ++i) {
        const char *name = std::strrchr(staged[i].target, '/');
        name = name ? name + 1 : staged[i].target;
        int error = first_error ? ECANCELED : replace_commit(staged[i]);
        replace_discard(staged[i]);
        if (error && !first_error) first_error = error;
        char *list = error ? old : fresh;
        std::snprintf(list + std::strlen(list), sizeof SavedFiles - std::strlen(list), "%s%s", *list ? " " : "", name);
    }
    return first_error;
}

int SaveINI() {
    static const struct {
        int (*save)();
        const char *failure;
    } kWriters[] = {
        {SaveKorvelINI, "\n\rSaveKorvelINI fail "}, {SaveJobsINI, "\n\rSaveJobsINI fail "},
        {SaveJobsSTSINI, "\n\rSaveJobsSTSINI fail "}, {SaveGroupsINI, "\n\rSaveGroupsINI fail "},
        {SaveSensorINI, "\n\rSaveSensorINI fail "},
    };
    // A signal that ends the editor waits until every file is in place or
    // none is: never a temporary left, never half a set.
    sigset_t held, before;
    sigemptyset(&held);
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &before);
    SavedFiles[0] = UnsavedFiles[0] = '\0';
    EncodeSchedules();
    staged_count = 0;
    int result = 0;
    for (const auto &writer : kWriters) {
        if (int error = writer.save()) {
            printfc(writer.failure);
            result = error;
            break;
        }
    }
    if (result) {
        for (ReplaceFile &file : staged) replace_discard(file);
    } else {
        result = commit_staged();
    }
    staged_count = -1;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return result;
}
