#include "cli/store.h"

#include "cli/keys.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
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

int files_for(const std::vector<std::string> &keys) {
    int count = 1;
    for (const std::string &key : keys) {
        size_t colon = key.find(':');
        IniFile file = kKorvelIni;
        int group = 0;
        // A name that is none of the files is refused later, after a whole load.
        bool known = colon == std::string::npos || parse_file_name(key.substr(0, colon), file, group);
        count = std::max(count, known ? reading_rank(file) + 1 : 5);
    }
    return count;
}

int load_directory(const std::string &directory, bool lock, int files) {
    std::string dir = directory.empty() ? "./" : directory.back() == '/' ? directory : directory + "/";
    if (!set_program_dir(dir.c_str())) return complain(directory + ": " + std::strerror(ENAMETOOLONG)), kCannotLoad;
    if (lock) {
        int error = lock_directory(ProgramDir);
        if (error == EWOULDBLOCK) return complain(directory + ": an editor holds this Korvel directory"), kLocked;
        if (error) return complain(directory + ": " + std::strerror(error)), kCannotLoad;
        // Only a command that writes asks, before its save, what changed meanwhile.
        remember_files(ProgramDir);
    }
    // The reader's own traces are the editor's debugging aid, not ours.
    ConsoleOut = std::fopen("/dev/null", "w");
    // A missing korvel.ini is noted like an unreadable file.
    if (LoadINIFiles(files) != 0) return complain(std::string(UnreadablePath) + ": " + UnreadableReason()), kCannotLoad;
    return kDone;
}

namespace {

std::map<std::string, std::string> before;  // each file's text as the record was read

bool remember(const char *name, const char *bytes, size_t size) {
    before[name].assign(bytes, size);
    return false;
}

bool changed(const char *name, const char *bytes, size_t size) {
    auto old = before.find(name);
    return old == before.end() || old->second != std::string(bytes, size);
}

}  // namespace

int save_changes(std::vector<std::string> &written) {
    // A file changed by hand while we read and checked is not overwritten.
    for (int i = 0; i < kWatchedFiles; ++i) {
        if (file_changed(ProgramDir, i)) return complain(std::string(kWatchedNames[i]) + " changed on disk meanwhile: nothing written"), kRefused;
    }
    // The texts of the record as read, made the way a save makes them; then
    // the save writes only the files whose text is not the same.
    auto now = std::make_unique<ConfigRecord>(INI);
    INI = INI1;
    SaveWanted = remember;
    SaveINI();
    INI = *now;
    SaveWanted = changed;
    int error = SaveINI();
    SaveWanted = nullptr;
    for (const char *name = SavedFiles; *name;) {
        size_t length = std::strcspn(name, " ");
        written.emplace_back(name, length);
        name += length + (name[length] == ' ');
    }
    if (error) {
        complain(std::string("saving failed: ") + std::strerror(error) +
                 (*SavedFiles ? std::string("; written: ") + SavedFiles + "; not written: " + UnsavedFiles : "; no file changed"));
        return kRefused;
    }
    return kDone;
}

void store_defaults() {
    SaveWanted = [](const char *, const char *, size_t) { return false; };
    SaveINI();
    SaveWanted = nullptr;
}

bool load_texts() {
    if (AllocText() != 0) return false;
    return LoadText(kCorvane, INI.System.Language) == 0 || LoadText(kCorvane, 0) == 0;
}
