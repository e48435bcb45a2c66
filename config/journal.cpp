#include "config/journal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "config/replace_file.h"

Recovery LastRecovery = Recovery::Nothing;
int LastRecoveryError = 0;

namespace {

constexpr const char *kJournalHeader = "corvane journal 1\n";

std::string directory_part(const std::string &path) {
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// One step of a journal: a staged copy renamed over its target, or (with
// no staged copy) the target rewritten in place with `text`.
struct Step {
    std::string staged, target, text;
};

// The steps of the journal's text; false when it is not a whole journal.
bool parse(const std::string &journal, std::vector<Step> &steps) {
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
        Step step;
        std::string size;
        if (kind == "rename" && line(step.staged) && line(step.target)) {
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

int rewrite(const Step &step) {
    int descriptor = open(step.target.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    // The space first, so that a full disk stops the rewrite before it starts.
    int error = reserve_space(descriptor, static_cast<off_t>(step.text.size()));
    if (!error) error = write_all(descriptor, step.text.data(), step.text.size(), 0);
    if (!error && (ftruncate(descriptor, static_cast<off_t>(step.text.size())) != 0 || SaveSync(descriptor) != 0)) error = errno;
    if (close(descriptor) != 0 && !error) error = errno;
    return error;
}

bool read_whole(const std::string &path, std::string &text) {
    std::FILE *stream = std::fopen(path.c_str(), "rb");
    if (!stream) return false;
    char block[65536];
    for (size_t got; (got = std::fread(block, 1, sizeof block, stream)) > 0;) text.append(block, got);
    bool ok = !std::ferror(stream);
    std::fclose(stream);
    return ok;
}

}  // namespace

bool staged_name(const char *name) {
    size_t length = std::strlen(name);
    if (length < 9 || name[0] != '.' || name[length - 7] != '.') return false;
    std::string target(name + 1, length - 8);
    for (const char *watched : kWatchedNames) {
        if (target == watched) return true;
    }
    return false;
}

int journal_write(const char *directory, const ReplaceFile *staged, int count) {
    std::string own = std::string(directory) + kCorvaneDir;
    if (mkdir(own.c_str(), 0700) != 0 && errno != EEXIST) return ENOTSUP;
    if (access(own.c_str(), W_OK) != 0) return ENOTSUP;
    std::string text = kJournalHeader;
    for (int i = 0; i < count; ++i) {
        const ReplaceFile &file = staged[i];
        if (file.temporary[0]) {
            text += std::string("rename\n") + file.temporary + "\n" + file.target + "\n";
        } else {
            text += std::string("inplace\n") + file.target + "\n" + std::to_string(file.size) + "\n";
            text.append(file.bytes, file.size);
        }
    }
    text += "end\n";
    std::string fresh = own + "journal.new", journal = std::string(directory) + kJournalName;
    int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return errno == EACCES || errno == EROFS ? ENOTSUP : errno;
    int error = write_all(descriptor, text.data(), text.size(), 0);
    if (!error && SaveSync(descriptor) != 0) error = errno;
    if (close(descriptor) != 0 && !error) error = errno;
    if (!error && SaveRename(fresh.c_str(), journal.c_str()) != 0) error = errno;
    // The commit point: the journal's name on disk.
    if (!error) error = sync_directory(own.c_str());
    if (error) unlink(journal.c_str()), unlink(fresh.c_str());
    return error;
}

int journal_finish(const char *directory, int *done) {
    if (done) *done = 0;
    std::string journal = std::string(directory) + kJournalName, text;
    std::vector<Step> steps;
    // A journal that is not whole was never the commit point.
    if (read_whole(journal, text) && parse(text, steps)) {
        std::set<std::string> directories;
        for (const Step &step : steps) {
            int error = 0;
            if (step.staged.empty()) {
                error = rewrite(step);
            } else if (access(step.staged.c_str(), F_OK) == 0) {  // not renamed yet
                error = SaveRename(step.staged.c_str(), step.target.c_str()) == 0 ? 0 : errno;
                // A file mounted on its own cannot be renamed over: rewritten
                // in place from its staged copy, which goes once it is.
                Step in_place{"", step.target, ""};
                if ((error == EBUSY || error == EXDEV) && read_whole(step.staged, in_place.text) && (error = rewrite(in_place)) == 0) {
                    unlink(step.staged.c_str());
                }
            }
            if (error) return error;
            if (done) ++*done;
            directories.insert(directory_part(step.target));
        }
        for (const std::string &each : directories) {
            if (int error = sync_directory(each.c_str())) return error;
        }
    }
    if (unlink(journal.c_str()) != 0 && errno != ENOENT) return errno;
    return sync_directory((std::string(directory) + kCorvaneDir).c_str());
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
    if (unlink((std::string(directory) + kCorvaneDir + "journal.new").c_str()) == 0) found = Recovery::Cleaned;
    return error;
}
