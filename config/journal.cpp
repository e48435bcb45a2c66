#include "config/journal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <functional>
#include <fcntl.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "config/history.h"
#include "config/replace_file.h"

Recovery LastRecovery = Recovery::Nothing;
int LastRecoveryError = 0;

namespace {

constexpr const char *kJournalHeader = "corvane journal 1\n";

// The steps of the journal's text; false when it is not a whole journal.
bool parse(const std::string &journal, std::vector<JournalStep> &steps) {
    if (journal.compare(0, std::strlen(kJournalHeader), kJournalHeader) != 0) return false;
    size_t at = std::strlen(kJournalHeader);
    auto line = [&](std::string &out) {
        size_t end = journal.find('\n', at);
        if (end == std::string::npos) return false;
        out = journal.substr(at, end - at), at = end + 1;
        return true;
    };
    for (std::string kind; line(kind);) {
        if (kind == "end") return at == journal.size();
        JournalStep step;
        std::string size;
        if (kind == "rename" && line(step.staged) && line(step.target)) {
            steps.push_back(step);
        } else if (kind == "remove" && line(step.target)) {
            step.remove = true;
            steps.push_back(step);
        } else if (kind == "inplace" && line(step.target) && line(size) && !size.empty() &&
                   size.find_first_not_of("0123456789") == std::string::npos && std::stoul(size) <= journal.size() - at) {
            step.text = journal.substr(at, std::stoul(size));
            at += step.text.size();
            steps.push_back(step);
        } else {
            return false;
        }
    }
    return false;
}

// `began` is set once the target has been written to.
int rewrite(const JournalStep &step, bool &began) {
    int descriptor = open(step.target.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    // The space first, so that a full disk stops the rewrite before it starts.
    int error = reserve_space(descriptor, static_cast<off_t>(step.text.size()));
    began = !error;
    if (!error) error = write_all(descriptor, step.text.data(), step.text.size(), 0);
    if (!error && (ftruncate(descriptor, static_cast<off_t>(step.text.size())) != 0 || SaveSync(descriptor) != 0)) error = errno;
    if (close(descriptor) != 0 && !error) error = errno;
    return error;
}

}  // namespace

bool read_whole_file(const std::string &path, std::string &text) {
    FileBytes file = read_file_bytes(path.c_str());
    text = std::move(file.bytes);
    int why = unreadable(file);
    errno = why >= 0 ? why : EINVAL;  // no regular file
    return why == 0;
}

bool staged_name(const char *name) {
    size_t length = std::strlen(name);
    if (length < 9 || name[0] != '.' || name[length - 7] != '.') return false;
    std::string target(name + 1, length - 8);
    for (const char *watched : kWatchedNames) {
        if (target == watched) return true;
    }
    return false;
}

int corvane_directory(const char *directory, std::string &own) {
    own = std::string(directory) + kCorvaneDir;
    struct stat state;
    if (mkdir(own.c_str(), 0700) != 0 && errno != EEXIST) return ENOTSUP;
    return stat(own.c_str(), &state) == 0 && S_ISDIR(state.st_mode) && access(own.c_str(), W_OK) == 0 ? 0 : ENOTSUP;
}

int journal_write(const char *directory, const std::vector<JournalStep> &steps, const std::function<int()> &check) {
    std::string own;
    if (corvane_directory(directory, own)) return ENOTSUP;
    std::string text = kJournalHeader;
    for (const JournalStep &step : steps) {
        if (step.remove) {
            text += "remove\n" + step.target + "\n";
        } else if (!step.staged.empty()) {
            text += "rename\n" + step.staged + "\n" + step.target + "\n";
        } else {
            text += "inplace\n" + step.target + "\n" + std::to_string(step.text.size()) + "\n" + step.text;
        }
    }
    text += "end\n";
    std::string fresh = own + "journal.new", journal = std::string(directory) + kJournalName;
    int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return errno == EACCES || errno == EROFS ? ENOTSUP : errno;
    int error = write_all(descriptor, text.data(), text.size(), 0);
    if (!error && SaveSync(descriptor) != 0) error = errno;
    if (close(descriptor) != 0 && !error) error = errno;
    // The last look at the files before the save cannot be taken back.
    if (!error && check) error = check();
    if (!error && SaveRename(fresh.c_str(), journal.c_str()) != 0) error = errno;
    // The commit point: the journal's name on disk.
    if (!error) error = sync_directory(own.c_str());
    if (error) unlink(journal.c_str()), unlink(fresh.c_str());
    return error;
}

int journal_finish(const char *directory, int *done, std::string *failed) {
    if (done) *done = 0;
    std::string journal = std::string(directory) + kJournalName, text;
    std::vector<JournalStep> steps;
    auto failing = [&](const std::string &path, int error) {
        if (failed) *failed = path;
        return error;
    };
    // A journal that is not whole was never the commit point.
    if (read_whole_file(journal, text) && parse(text, steps)) {
        std::set<std::string> directories;
        for (const JournalStep &step : steps) {
            int error = 0;
            bool began = false;
            if (step.remove) {
                began = unlink(step.target.c_str()) == 0;
                if (!began && errno != ENOENT) error = errno;
            } else if (step.staged.empty()) {
                error = rewrite(step, began);
            } else if (access(step.staged.c_str(), F_OK) == 0) {  // not renamed yet
                error = SaveRename(step.staged.c_str(), step.target.c_str()) == 0 ? 0 : errno;
                // A file mounted on its own cannot be renamed over: rewritten
                // in place from its staged copy, which goes once it is.
                JournalStep in_place{"", step.target, "", false};
                if ((error == EBUSY || error == EXDEV) && read_whole_file(step.staged, in_place.text) &&
                    (error = rewrite(in_place, began)) == 0) {
                    unlink(step.staged.c_str());
                }
            }
            if (done && (began || !error)) ++*done;
            if (error) return failing(step.target, error);
            directories.insert(directory_part(step.target));
        }
        for (const std::string &each : directories) {
            if (int error = sync_directory(each.c_str())) return failing(each, error);
        }
    }
    if (unlink(journal.c_str()) != 0 && errno != ENOENT) return failing(journal, errno);
    std::string own = std::string(directory) + kCorvaneDir;
    int error = sync_directory(own.c_str());
    return error ? failing(own, error) : 0;
}

bool unfinished_save(const char *directory) { return access((std::string(directory) + kJournalName).c_str(), F_OK) == 0; }

int recover_directory(const char *directory, Recovery &found) {
    found = Recovery::Nothing;
    if (unfinished_save(directory)) {
        found = Recovery::Finished;
        return journal_finish(directory);
    }
    // Staged copies of a save that ended before its commit point.
    DIR *listing = opendir(directory);
    if (!listing) return errno;
    int error = 0;
    while (const dirent *entry = readdir(listing)) {
        if (!staged_name(entry->d_name)) continue;
        if (unlink((std::string(directory) + entry->d_name).c_str()) != 0 && !error) error = errno;
        found = Recovery::Cleaned;
    }
    closedir(listing);
    for (const char *name : {"journal.new", kStagedGeneration}) {
        if (unlink((std::string(directory) + kCorvaneDir + name).c_str()) == 0) found = Recovery::Cleaned;
    }
    return error;
}
