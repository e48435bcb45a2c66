#include "config/history.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

#include "config/replace_file.h"

int LastGeneration = 0;

namespace {

constexpr const char *kHeader = "corvane generation 1\n";
constexpr const char *kPrefix = "generation.";

std::string generation_path(const char *directory, int number) {
    char name[32];
    std::snprintf(name, sizeof name, "%s%06d", kPrefix, number);
    return std::string(directory) + kCorvaneDir + name;
}

// The numbers of the generations there are, in order.
std::vector<int> numbers(const char *directory) {
    std::vector<int> found;
    DIR *listing = opendir((std::string(directory) + kCorvaneDir).c_str());
    while (const dirent *entry = listing ? readdir(listing) : nullptr) {
        const char *name = entry->d_name;
        size_t prefix = std::strlen(kPrefix);
        if (std::strncmp(name, kPrefix, prefix) != 0 || std::strlen(name) != prefix + 6 ||
            std::strspn(name + prefix, "0123456789") != 6) {
            continue;
        }
        found.push_back(std::atoi(name + prefix));
    }
    if (listing) closedir(listing);
    std::sort(found.begin(), found.end());
    return found;
}

// The name /etc/passwd gives user `uid`, or its number. The file is read
// directly, not through the name service: corvanectl is linked statically,
// where that would load the system's own libraries at run time.
std::string login_name(uid_t uid) {
    std::FILE *users = std::fopen("/etc/passwd", "re");
    char line[1024];
    std::string name = std::to_string(uid);
    while (users && std::fgets(line, sizeof line, users)) {
        char *first = std::strchr(line, ':'), *second = first ? std::strchr(first + 1, ':') : nullptr;
        char *number = second ? second + 1 : nullptr, *after = nullptr;
        if (number && std::strtoul(number, &after, 10) == uid && after != number && *after == ':') {
            name.assign(line, first);
            break;
        }
    }
    if (users) std::fclose(users);
    return name;
}

// Who saves: the user, and the one who became root through sudo.
std::string user_name() {
    std::string name = login_name(getuid());
    const char *through = std::getenv("SUDO_USER");
    if (through && *through && name != through) name += std::string(" (sudo by ") + through + ")";
    return name;
}

std::string text_of(const Generation &generation) {
    std::string text = kHeader;
    text += "number " + std::to_string(generation.number) + "\ntime " + std::to_string(generation.time) + "\nprogram " +
            generation.program + "\nuser " + generation.user + "\nkeys";
    for (const std::string &key : generation.keys) text += " " + key;
    text += "\n";
    for (const Generation::File &file : generation.files) {
        if (file.unread) {
            text += "unread " + file.name + "\n";
        } else if (!file.existed) {
            text += "absent " + file.name + "\n";
        } else {
            text += "file " + file.name + " " + std::to_string(file.bytes.size()) + "\n" + file.bytes;
        }
    }
    return text + "end\n";
}

// False when `text` is not a whole generation.
bool parse(const std::string &text, Generation &generation, bool with_files) {
    if (text.compare(0, std::strlen(kHeader), kHeader) != 0) return false;
    size_t at = std::strlen(kHeader);
    for (;;) {
        size_t end = text.find('\n', at);
        if (end == std::string::npos) return false;
        std::string line = text.substr(at, end - at);
        at = end + 1;
        size_t space = line.find(' ');
        std::string word = line.substr(0, space), rest = space == std::string::npos ? "" : line.substr(space + 1);
        if (word == "end") return at == text.size();
        if (word == "number") generation.number = std::atoi(rest.c_str());
        if (word == "time") generation.time = std::atoll(rest.c_str());
        if (word == "program") generation.program = rest;
        if (word == "user") generation.user = rest;
        for (size_t from = 0; word == "keys" && from < rest.size();) {
            size_t next = std::min(rest.find(' ', from), rest.size());
            generation.keys.push_back(rest.substr(from, next - from));
            from = next + 1;
        }
        if (word == "file" || word == "absent" || word == "unread") {
            Generation::File file;
            size_t blank = rest.find(' ');
            file.name = rest.substr(0, blank);
            // Only Korvel's own files: a rollback writes what a generation names.
            if (std::find(std::begin(kWatchedNames), std::end(kWatchedNames), file.name) == std::end(kWatchedNames)) return false;
            file.existed = word != "absent";
            file.unread = word == "unread";
            if (word == "file") {
                size_t size = blank == std::string::npos ? std::string::npos : std::strtoul(rest.c_str() + blank + 1, nullptr, 10);
                if (size > text.size() - at) return false;
                if (with_files) file.bytes = text.substr(at, size);
                at += size;
            }
            generation.files.push_back(file);
        }
    }
}

// Each key of an INI text and its value, as "SECTION.KEY" of the file
// `name`, starting in `section`.
std::map<std::string, std::string> keys_of(const std::string &name, const std::string &text, std::string section) {
    std::map<std::string, std::string> keys;
    std::string prefix = name == "korvel.ini" ? "" : name + ":";
    for (size_t at = 0; at < text.size();) {
        size_t end = std::min(text.find('\n', at), text.size());
        std::string line = text.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        size_t equals = line.find('=');
        if (line.size() > 2 && line.front() == '[' && line.back() == ']') {
            section = line.substr(1, line.size() - 2);
        } else if (equals != std::string::npos && equals > 0 && line[0] != ';') {
            keys[prefix + section + "." + line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    return keys;
}

// The section a text is in at `at`: that of the last header before it.
std::string section_at(const std::string &text, size_t at) {
    size_t header = at ? text.rfind("\n[", at - 1) : std::string::npos;
    if (header == std::string::npos) return text.compare(0, 1, "[") == 0 ? text.substr(1, text.find(']') - 1) : "";
    size_t close = text.find(']', header);
    return close == std::string::npos ? "" : text.substr(header + 2, close - header - 2);
}

}  // namespace

void changed_keys(const std::string &name, const std::string &before, const std::string &after, std::vector<std::string> &keys) {
    if (before == after) return;  // most files of a save: no key to look at
    // Only the lines between the first and the last that differ, unless
    // sections begin there, which would move the keys after them.
    size_t head = 0, tail = 0, shorter = std::min(before.size(), after.size());
    while (head < shorter && before[head] == after[head]) ++head;
    while (tail < shorter - head && before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) ++tail;
    head = head ? before.rfind('\n', head - 1) + 1 : 0;  // whole lines: npos + 1 is 0
    size_t cut = before.find('\n', before.size() - tail), end_before = cut == std::string::npos ? before.size() : cut;
    end_before = std::max(end_before, head);
    size_t end_after = std::max(after.size() - (before.size() - end_before), head);
    std::string old_part = before.substr(head, end_before - head), new_part = after.substr(head, end_after - head);
    if (old_part.find("\n[") != std::string::npos || new_part.find("\n[") != std::string::npos || !old_part.compare(0, 1, "[") ||
        !new_part.compare(0, 1, "[")) {
        old_part = before, new_part = after, head = 0;
    }
    std::string section = section_at(before, head);
    std::map<std::string, std::string> old_keys = keys_of(name, old_part, section), new_keys = keys_of(name, new_part, section);
    for (const auto &key : old_keys) {
        auto now = new_keys.find(key.first);
        if (now == new_keys.end() || now->second != key.second) keys.push_back(key.first);
    }
    for (const auto &key : new_keys) {
        if (!old_keys.count(key.first)) keys.push_back(key.first);
    }
}

int history_stage(const char *directory, const std::vector<NewFile> &changes, JournalStep &step, int &number) {
    std::string own;
    if (corvane_directory(directory, own)) return ENOTSUP;
    Generation generation;
    std::vector<int> there = numbers(directory);
    generation.number = number = there.empty() ? 1 : there.back() + 1;
    generation.time = static_cast<long long>(std::time(nullptr));
    generation.program = program_invocation_short_name;
    generation.user = user_name();
    for (const char *name : kWatchedNames) {
        Generation::File file;
        file.name = name;
        // As read before the save, which its commit point makes sure they still are;
        // read now only where nothing was remembered.
        const FileBytes *remembered = remembered_file(directory, name);
        FileBytes now = remembered ? FileBytes() : read_file_bytes((std::string(directory) + name).c_str());
        const FileBytes &read = remembered ? *remembered : now;
        file.existed = read.existed;
        file.unread = unreadable(read) && read.existed;
        file.bytes = read.bytes;
        for (const NewFile &change : changes) {
            if (change.name == name) changed_keys(name, file.bytes, change.removed ? "" : change.bytes, generation.keys);
        }
        generation.files.push_back(file);
    }
    std::string text = text_of(generation);
    step = JournalStep{own + kStagedGeneration, generation_path(directory, number), "", false};
    int descriptor = open(step.staged.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return errno;
    int error = write_all(descriptor, text.data(), text.size(), 0);
    if (!error && SaveSync(descriptor) != 0) error = errno;
    if (close(descriptor) != 0 && !error) error = errno;
    if (error) unlink(step.staged.c_str());
    return error;
}

void history_prune(const char *directory) {
    std::vector<int> there = numbers(directory);
    for (size_t i = 0; i + kGenerations < there.size(); ++i) unlink(generation_path(directory, there[i]).c_str());
}

std::vector<Generation> history_list(const char *directory, bool with_files) {
    std::vector<Generation> list;
    for (int number : numbers(directory)) {
        std::string text;
        Generation generation;
        // A damaged generation is left out rather than shown half.
        if (read_whole_file(generation_path(directory, number), text) && parse(text, generation, with_files)) {
            generation.number = number;
            list.push_back(generation);
        }
    }
    return list;
}

int history_read(const char *directory, int number, Generation &generation) {
    std::string text;
    if (!read_whole_file(generation_path(directory, number), text)) return errno ? errno : EIO;
    generation = Generation();
    if (!parse(text, generation, true)) return EINVAL;
    generation.number = number;
    return 0;
}
