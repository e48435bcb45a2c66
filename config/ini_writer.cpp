#include "config/ini_writer.h"

#include "config/history.h"
#include "config/journal.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <initializer_list>
#include <set>
#include <string>

#include "config/codec.h"
#include "config/defaults.h"
#include "config/files.h"
#include "config/ini_reader.h"
#include "config/replace_file.h"
#include "console/terminal.h"

namespace {

// A file's text as it is produced. Each line is a few pieces put one after
// another: no format is parsed for it, which made producing a file cost as
// much as reading it.
struct Producing {
    std::string text;

    Producing &operator<<(const char *piece) { return text.append(piece), *this; }
    Producing &operator<<(char byte) { return text.push_back(byte), *this; }
    Producing &operator<<(unsigned number) {
        char digits[12];
        char *at = digits + sizeof digits;
        do *--at = static_cast<char>('0' + number % 10); while (number /= 10);
        return text.append(at, static_cast<size_t>(digits + sizeof digits - at)), *this;
    }
};

// `end` is the end of the record: a text that fills its field has no
// terminator and runs on to the next zero byte of the record, as Korvel has
// always written it.
void write_section(Producing &out, const KeySet &keys, const SectionKind &kind, const unsigned char *entry,
                   const unsigned char *end) {
    for (int slot = 0; slot < keys.count; ++slot) {
        const Field &field = keys.fields[slot];
        const unsigned char *where = entry + field.offset;
        if (field.kind == FieldKind::Text) {
            size_t room = static_cast<size_t>(end - where);
            const void *zero = std::memchr(where, 0, room);
            size_t length = zero ? static_cast<size_t>(static_cast<const unsigned char *>(zero) - where) : room;
            const char *text = reinterpret_cast<const char *>(where);
            const SaveDefault *instead = length == 0 ? save_default(kind, field.key) : nullptr;
            if (instead && !instead->stored) {
                text = instead->value.text;
                length = std::strlen(text);
            }
            out << field.key << "=\"";
            out.text.append(text, length);
            out << "\"\n";
        } else {
            unsigned value = field_number(where, field.width);
            if (kind.skip_zero_keys && value == 0) continue;
            out << field.key << '=' << value << '\n';
        }
    }
    out << '\n';
}

// Every section of `file` from `base` (the record, or one group of it).
int produce(IniFile file, ConfigRecord &record, const unsigned char *base, const char *name, FileText &text) {
    text = FileText{};
    std::snprintf(text.name, sizeof text.name, "%s", name);
    Producing out;
    out.text.reserve(16384);
    const unsigned char *end = reinterpret_cast<const unsigned char *>(&record) + sizeof record;
    out << "; This is file with configuration parameters for KORVEL \n; Do not change any line !\n\n";
    for (int k = 0; k < kSectionKindCount; ++k) {
        const SectionKind &kind = kSectionKinds[k];
        if (kind.file != file) continue;
        apply_save_defaults(record, kind);
        const KeySet &keys = key_set(file, kind.key_set);
        if (kind.slots == 1) {
            out << '[' << kind.name << "]\n";
            write_section(out, keys, kind, base + kind.base, end);
            continue;
        }
        // Series: every entry under its own number, or, when compacted, the
        // entries in use numbered again from 00 in the order written.
        unsigned written = 0;
        for (unsigned index = 0; index < kind.entries; ++index) {
            const unsigned char *entry = base + kind.base + index * kind.entry_size;
            if (kind.compact && !entry_used(keys, entry)) continue;
            unsigned number = kind.compact ? written : index;
            out << '[' << kind.name << static_cast<char>('0' + number / 10) << static_cast<char>('0' + number % 10) << "]\n";
            write_section(out, keys, kind, entry, end);
            ++written;
        }
    }
    text.bytes = static_cast<char *>(std::malloc(out.text.size() + 1));
    if (!text.bytes) return ENOMEM;
    std::memcpy(text.bytes, out.text.c_str(), out.text.size() + 1);
    text.size = out.text.size();
    return 0;
}

// The trace of a file whose save failed, by the writer that writes it.
const char *failure_message(const char *name) {
    if (std::strcmp(name, "korvel.ini") == 0) return "\n\rSaveKorvelINI fail ";
    if (std::strcmp(name, "jobs.ini") == 0) return "\n\rSaveJobsINI fail ";
    if (std::strcmp(name, "jobsSTS.ini") == 0) return "\n\rSaveJobsSTSINI fail ";
    if (std::strcmp(name, "sensor.ini") == 0) return "\n\rSaveSensorINI fail ";
    return "\n\rSaveGroupsINI fail ";
}

// Puts every staged file (`names` are their names) in place and removes
// the files `removed`, after the journal that makes it all one commit,
// with the generation that keeps the files as they were. A failure before
// the commit point leaves every file old; one after it (rare: everything
// is on disk already) leaves the names of the files that changed and those
// that did not yet, which the next Corvane process to take the lock
// finishes from the journal.
int commit_staged(ReplaceFile *staged, const char *const *names, int count, const std::vector<std::string> &removed) {
    std::vector<NewFile> changes;
    std::vector<JournalStep> steps;
    for (int i = 0; i < count; ++i) {
        const ReplaceFile &file = staged[i];
        changes.push_back({names[i], std::string(file.bytes, file.size), false});
        steps.push_back({file.temporary, file.target, file.temporary[0] ? "" : changes.back().bytes, false});
    }
    for (const std::string &name : removed) {
        changes.push_back({name, "", true});
        steps.push_back({"", ProgramDir + name, "", true});
    }
    // The staged copies' names are durable before the journal that names them.
    std::set<std::string> directories;
    for (int i = 0; i < count; ++i) {
        if (staged[i].temporary[0]) directories.insert(directory_part(staged[i].target));
    }
    for (const std::string &directory : directories) {
        if (int error = sync_directory(directory.c_str())) {
            std::snprintf(FailedPath, sizeof FailedPath, "%s", directory.c_str());
            for (int i = 0; i < count; ++i) replace_discard(staged[i]);
            return error;
        }
    }
    JournalStep generation;
    int number = 0;
    auto last_look = [&] {
        int result = outside_changes(staged, count);
        FailedReading = result > 0;
        return result;
    };
    int error = history_stage(ProgramDir, changes, generation, number);
    if (!error) {
        steps.push_back(generation);
        error = journal_write(ProgramDir, steps, last_look);
        if (error) unlink(generation.staged.c_str());
    } else if (error != ENOTSUP) {
        std::snprintf(FailedPath, sizeof FailedPath, "%s", generation.staged.c_str());
    }
    const bool journaled = !error;
    // Without a journal, the last look comes just before the files are replaced.
    if (error == ENOTSUP) error = last_look();
    if (error) {
        if (!FailedPath[0] && ChangedFiles[0]) std::snprintf(FailedPath, sizeof FailedPath, "%s", ChangedFiles);
        if (!FailedPath[0]) std::snprintf(FailedPath, sizeof FailedPath, "%s%s", ProgramDir, kJournalName);
        for (int i = 0; i < count; ++i) replace_discard(staged[i]);
        return error;
    }
    int first_error = 0, done = 0;
    if (journaled) {
        // From the journal, as a recovery would: what it has not done stays to do.
        std::string failed;
        first_error = journal_finish(ProgramDir, &done, &failed);
        std::snprintf(FailedPath, sizeof FailedPath, "%s", failed.c_str());
        for (int i = 0; i < count; ++i) {
            staged[i].temporary[0] = '\0';
            if (staged[i].descriptor >= 0) close(staged[i].descriptor), staged[i].descriptor = -1;
        }
        LastGeneration = number;
        if (!first_error) history_prune(ProgramDir);
    }
    char *fresh = SavedFiles, *old = UnsavedFiles;
    for (int i = 0; i < count; ++i) {
        int error = journaled ? 0 : first_error ? ECANCELED : replace_commit(staged[i]);
        bool changed = journaled ? i < done : !error || staged[i].placed;
        if (error && !first_error) {
            first_error = error;
            std::snprintf(FailedPath, sizeof FailedPath, "%s", staged[i].target);
        }
        replace_discard(staged[i]);
        char *list = changed ? fresh : old;
        std::snprintf(list + std::strlen(list), sizeof SavedFiles - std::strlen(list), "%s%s", *list ? " " : "", names[i]);
    }
    for (size_t i = 0; !journaled && !first_error && i < removed.size(); ++i) {
        std::string path = ProgramDir + removed[i];
        if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            first_error = errno;
            std::snprintf(FailedPath, sizeof FailedPath, "%s", path.c_str());
        }
    }
    return first_error;
}

// Produces from a copy of INI, saves, and lets INI take the defaults the
// save applied once the files were staged.
int save_from_record(int (*produce_texts)(ConfigRecord &, FileTexts &)) {
    static ConfigRecord produced;
    produced = INI;
    FileTexts texts;
    int error = produce_texts(produced, texts);
    if (error) return error;
    error = WriteTexts(texts);
    if (!error || SavedFiles[0] || UnsavedFiles[0]) INI = produced;
    FreeTexts(texts);
    return error;
}

template <IniFile file> int one_file(ConfigRecord &record, FileTexts &texts) {
    texts.count = 1;
    return ProduceFile(file, record, 0, texts.file[0]);
}

int group_files(ConfigRecord &record, FileTexts &texts) {
    texts.count = 0;
    for (int group = 0; group < kGroups; ++group) {
        if (!record.Group[group].Name[0]) continue;
        if (int error = ProduceFile(kGroupIni, record, group, texts.file[texts.count])) return FreeTexts(texts), error;
        ++texts.count;
    }
    return 0;
}

}  // namespace

int ProduceFile(IniFile file, ConfigRecord &record, int group, FileText &text) {
    if (file == kGroupIni) {
        char name[16];
        int number = 0;  // its file's number: the groups in use before it
        for (int g = 0; g < group; ++g) number += record.Group[g].Name[0] != 0;
        group_file_name(name, sizeof name, number);
        return produce(file, record, reinterpret_cast<const unsigned char *>(&record.Group[group]), name, text);
    }
    if (file == kKorvelIni) EncodeSchedules(record);
    return produce(file, record, reinterpret_cast<const unsigned char *>(&record), ini_file_name(file), text);
}

void StoreSaveDefaults(ConfigRecord &record) {
    EncodeSchedules(record);
    for (int k = 0; k < kSectionKindCount; ++k) apply_save_defaults(record, kSectionKinds[k]);
}

void FreeTexts(FileTexts &texts) {
    for (int i = 0; i < texts.count; ++i) std::free(texts.file[i].bytes);
    texts.count = 0;
}

int ProduceINI(ConfigRecord &record, FileTexts &texts) {
    texts.count = 0;
    for (IniFile file : {kKorvelIni, kJobsIni, kJobsStsIni, kGroupIni, kSensorIni}) {
        for (int group = 0; group < (file == kGroupIni ? kGroups : 1); ++group) {
            if (file == kGroupIni && !record.Group[group].Name[0]) continue;
            if (int error = ProduceFile(file, record, group, texts.file[texts.count])) {
                FreeTexts(texts);
                return error;
            }
            ++texts.count;
        }
    }
    return 0;
}

char SavedFiles[256], UnsavedFiles[256], FailedPath[4096];
bool FailedReading;

int WriteTexts(const FileTexts &texts, const bool *wanted, const std::vector<std::string> &removed) {
    // A signal that ends the editor waits until every file is in place or
    // none is: never a temporary left, never half a set.
    sigset_t held, before;
    sigemptyset(&held);
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &before);
    SavedFiles[0] = UnsavedFiles[0] = FailedPath[0] = ChangedFiles[0] = '\0';
    FailedReading = false;
    LastGeneration = 0;
    static ReplaceFile staged[kSavedFiles];
    const char *names[kSavedFiles];
    int count = 0, result = 0;
    for (int i = 0; i < texts.count; ++i) {
        if (wanted && !wanted[i]) continue;
        const FileText &text = texts.file[i];
        char path[kProgramDirSize + 32];
        std::snprintf(path, sizeof path, "%s%s", ProgramDir, text.name);
        ReplaceFile &out = staged[count];
        int error = replace_open(out, path);
        if (!error) {
            replace_write(out, text.bytes, text.size);
            error = replace_stage(out);
        }
        if (error) {
            printfc(failure_message(text.name));
            std::snprintf(FailedPath, sizeof FailedPath, "%s", path);
            result = error;
            break;
        }
        names[count++] = text.name;
    }
    if (result) {
        for (int i = 0; i <= count && i < kSavedFiles; ++i) replace_discard(staged[i]);
    } else {
        result = commit_staged(staged, names, count, removed);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return result;
}

int SaveINI() {
    EncodeSchedules(INI);
    return save_from_record(ProduceINI);
}

int SaveKorvelINI() { return save_from_record(one_file<kKorvelIni>); }
int SaveJobsINI() { return save_from_record(one_file<kJobsIni>); }
int SaveJobsSTSINI() { return save_from_record(one_file<kJobsStsIni>); }
int SaveSensorINI() { return save_from_record(one_file<kSensorIni>); }
int SaveGroupsINI() { return save_from_record(group_files); }
