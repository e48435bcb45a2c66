#include "cli/store.h"

#include "cli/keys.h"
#include "config/journal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <map>
#include <memory>

#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/language.h"
#include "config/record.h"
#include "config/replace_file.h"
#include "config/files.h"
#include "console/lang.h"
#include "console/terminal.h"

void complain(const std::string &message) { std::fprintf(stderr, "corvanectl: %s\n", message.c_str()); }

void print_json_text(const std::string &text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

int files_for(const std::vector<std::string> &keys) {
    int count = 1;
    for (const std::string &key : keys) {
        size_t colon = key.find(':');
        IniFile file = kKorvelIni;
        int group = 0;
        // A name that is none of the files is refused later, after a whole load.
        bool known = (colon == std::string::npos && key.compare(0, 6, "group[") != 0) || parse_file_name(key.substr(0, colon), file, group);
        count = std::max(count, known ? reading_rank(file) + 1 : 5);
    }
    return count;
}

namespace {

// Which file each of the first `count` files of the reading order is, and
// when it was last written.
std::string file_states(int count) {
    std::string states;
    for (const char *name : kWatchedNames) {
        IniFile file = kKorvelIni;
        int group = 0;
        if (parse_file_name(name, file, group) && reading_rank(file) >= count) continue;
        struct stat state;
        if (stat((std::string(ProgramDir) + name).c_str(), &state) != 0) {
            states += "-;";
            continue;
        }
        states += std::to_string(state.st_ino) + "," + std::to_string(state.st_size) + "," + std::to_string(state.st_mtim.tv_sec) + "." +
                  std::to_string(state.st_mtim.tv_nsec) + ";";
    }
    return states;
}

}  // namespace

int load_directory(const std::string &directory, bool lock, int files, int wait_seconds) {
    std::string dir = directory.empty() ? "./" : directory.back() == '/' ? directory : directory + "/";
    if (!set_program_dir(dir.c_str())) return complain(directory + ": " + std::strerror(ENAMETOOLONG)), kCannotLoad;
    if (lock) {
        int error = lock_directory(ProgramDir, wait_seconds);
        if (error == EWOULDBLOCK) {
            char name[32];
            long holder = lock_holder(ProgramDir, name, sizeof name);
            std::string who = holder ? std::string(name) + " (process " + std::to_string(holder) + ")" : "another program";
            return complain(directory + ": " + who + " holds this Korvel directory" + (wait_seconds ? "" : "; --wait waits for it")), kLocked;
        }
        if (error) return complain(directory + ": " + std::strerror(error)), kCannotLoad;
        if (LastRecoveryError) {
            return complain(directory + ": an interrupted save cannot be finished: " + std::strerror(LastRecoveryError)), kCannotLoad;
        }
        // Only a command that writes asks, before its save, what changed meanwhile.
        remember_files(ProgramDir);
    }
    // The reader's own traces are the editor's debugging aid, not ours.
    if (!ConsoleOut) ConsoleOut = std::fopen("/dev/null", "w");
    if (!lock && unfinished_save(ProgramDir)) {
        complain(directory + ": a save was interrupted and is not finished yet: the files may be a mix of old and new until "
                             "corvanectl recover (or any Corvane that takes the lock) finishes it");
    }
    // Without the lock a save may run while we read: read again until no
    // file was replaced or rewritten meanwhile, so that the files read are
    // one set, all from before or all from after it.
    for (int attempt = 0;; ++attempt) {
        std::string before = file_states(files);
        // A missing korvel.ini is noted like an unreadable file.
        if (LoadINIFiles(files) != 0) return complain(std::string(UnreadablePath) + ": " + UnreadableReason()), kCannotLoad;
        if (lock || file_states(files) == before) return kDone;
        if (attempt == 20) return complain(directory + ": the files keep changing while they are read"), kCannotLoad;
        usleep(10000);
    }
}

namespace {

std::vector<std::pair<std::string, FileBytes>> given_files;
bool given_only = false;

const FileBytes *given_file(const char *name) {
    static const FileBytes missing;
    for (const auto &file : given_files) {
        if (file.first == name) return &file.second;
    }
    return given_only ? &missing : nullptr;
}

// Whether Korvel reads the same once only the texts `wanted` are written as
// once all of them are, the files `removed` gone and the others as they are.
bool reads_alike(const FileTexts &texts, const bool *wanted, const std::vector<std::string> &removed) {
    // Files left as they are that already hold their texts are read the
    // same either way: as a save wrote them, they are.
    bool kept_as_written = true;
    for (int i = 0; i < texts.count && kept_as_written; ++i) {
        const FileBytes *now = wanted[i] ? nullptr : remembered_file(ProgramDir, texts.file[i].name);
        kept_as_written = wanted[i] || (now && !unreadable(*now) && now->bytes.compare(0, std::string::npos, texts.file[i].bytes, texts.file[i].size) == 0);
    }
    if (kept_as_written) return true;
    // The reader reads into INI, which is ours again after. Both copies are
    // made whole before they are read.
    static std::unique_ptr<ConfigRecord> as_read(new ConfigRecord), some(new ConfigRecord);
    *as_read = INI;
    bool alike = true;
    for (bool all : {false, true}) {
        std::vector<std::pair<std::string, std::string>> files;
        for (int i = 0; i < texts.count; ++i) {
            if (all || wanted[i]) files.emplace_back(texts.file[i].name, std::string(texts.file[i].bytes, texts.file[i].size));
        }
        alike = alike && load_given(files, removed, false) == 0 && (!all || std::memcmp(some.get(), &INI, sizeof INI) == 0);
        *some = INI;
    }
    INI = *as_read;
    return alike;
}

}  // namespace

int load_given(const std::vector<std::pair<std::string, std::string>> &files, const std::vector<std::string> &missing, bool only) {
    given_files.clear();
    for (const auto &file : files) {
        FileBytes read;
        read.existed = read.regular = true;
        read.bytes = file.second;
        given_files.emplace_back(file.first, std::move(read));
    }
    for (const std::string &name : missing) given_files.emplace_back(name, FileBytes());
    given_only = only;
    int result = LoadINIFilesFrom(5, given_file);
    given_files.clear();
    return result;
}

// A save that changed no file: why, and the files it concerns.
static int not_saved(int error, const std::string &files) {
    if (error == kChangedOnDisk) return complain(files + " changed on disk meanwhile: nothing written"), kRefused;
    return complain("saving failed: " + files + ": " + std::strerror(error) + "; no file changed"), kRefused;
}

int saved(int error, std::vector<std::string> &written) {
    for (const char *name = SavedFiles; *name;) {
        size_t length = std::strcspn(name, " ");
        written.emplace_back(name, length);
        name += length + (name[length] == ' ');
    }
    if (error && (error == kChangedOnDisk || !*SavedFiles)) return not_saved(error, error == kChangedOnDisk ? ChangedFiles : FailedPath);
    if (error) {
        complain(std::string("saving failed: ") + FailedPath + ": " + std::strerror(error) + "; changed: " + SavedFiles +
                 "; not changed: " + (*UnsavedFiles ? UnsavedFiles : "none") +
                 (unfinished_save(ProgramDir) ? "; corvanectl recover (or the next Corvane to take the lock) finishes the save" : ""));
        return kRefused;
    }
    return kDone;
}

int save_changes(std::vector<std::string> &written, const std::vector<std::string> &removed, std::vector<std::string> &notes) {
    // A file changed by hand while we read and checked is not overwritten:
    // the save's last look before its commit point finds it.
    // The texts of the record as read and of the working copy, each made the
    // way a save makes it; the save writes only the files whose text differs.
    FileTexts before, after;
    int error = ProduceINI(INI, before);
    if (!error && (error = ProduceINI(INI1, after)) != 0) FreeTexts(before);
    if (error) return complain(std::string("saving failed: ") + std::strerror(error) + "; no file changed"), kRefused;
    bool wanted[kSavedFiles];
    bool every = true;
    for (int i = 0; i < after.count; ++i) {
        const FileText &text = after.file[i];
        wanted[i] = true;
        for (int k = 0; k < before.count; ++k) {
            const FileText &old = before.file[k];
            if (std::strcmp(old.name, text.name) == 0) wanted[i] = old.size != text.size || std::memcmp(old.bytes, text.bytes, text.size) != 0;
        }
        every = every && wanted[i];
    }
    FreeTexts(before);
    if (!every) {
        bool same = reads_alike(after, wanted, removed);
        for (int i = 0; i < after.count && !same; ++i) {
            if (!wanted[i]) notes.push_back(std::string(after.file[i].name) + ": written too, or Korvel would read it differently");
            wanted[i] = true;
        }
    }
    error = WriteTexts(after, wanted, removed);
    FreeTexts(after);
    if (!error) INI = INI1;
    return saved(error, written);
}

void store_defaults() {
    StoreSaveDefaults(INI);
    StoreSaveDefaults(INI1);
}

int run_recover() {
    if (LastRecovery == Recovery::Finished) std::printf("finished a save that was interrupted\n");
    if (LastRecovery == Recovery::Cleaned) std::printf("removed what an interrupted save had staged; the files are as before it\n");
    return kDone;
}

bool load_texts() {
    if (AllocText() != 0) return false;
    return LoadText(kCorvane, INI.System.Language) == 0 || LoadText(kCorvane, 0) == 0;
}
