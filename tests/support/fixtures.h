// What the tests stand on: a scratch Korvel directory, the console's seams
// captured in memory, and time zones.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "config/files.h"
#include "console/input.h"
#include "console/terminal.h"

inline std::string read_file(const std::string &path) {  // "<missing>" when it cannot be read
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return file ? text.str() : "<missing>";
}

inline std::string visible(const std::string &bytes) {  // control characters spelled out, for failures
    std::string shown;
    for (unsigned char c : bytes) {
        const char *name = c == 27 ? "ESC" : c == 7 ? "BEL" : c == 9 ? "TAB" : c == 10 ? "LF" : c == 13 ? "CR" : nullptr;
        shown += c >= 32 ? std::string(1, static_cast<char>(c)) : "<" + (name ? std::string(name) : std::to_string(c)) + ">";
    }
    return shown;
}

// A temporary directory that ProgramDir points into while it exists; it goes
// with everything in it.
class ScratchDir {
public:
    ScratchDir() {
        char pattern[] = "/tmp/corvane-test-XXXXXX";
        if (!mkdtemp(pattern)) std::abort();
        dir_ = std::string(pattern) + "/";
        saved_program_dir_ = ProgramDir;
        std::snprintf(ProgramDir, kProgramDirSize, "%s", dir_.c_str());
    }
    ~ScratchDir() {
        std::snprintf(ProgramDir, kProgramDirSize, "%s", saved_program_dir_.c_str());
        // A test may have made parts read-only; a link is left alone (chmod would change its target).
        namespace fs = std::filesystem;
        std::error_code ignored;
        fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add, ignored);
        for (auto i = fs::recursive_directory_iterator(dir_, ignored); i != fs::recursive_directory_iterator(); i.increment(ignored)) {
            if (!i->is_symlink()) fs::permissions(i->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
        fs::remove_all(dir_, ignored);
    }
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;
    std::string path(const std::string &name = "") const { return dir_ + name; }  // the directory ends in "/"
    void write(const std::string &name, const std::string &content) const {
        std::ofstream(dir_ + name, std::ios::binary) << content;
    }
    std::string read(const std::string &name) const { return read_file(dir_ + name); }
    std::vector<std::string> list() const {  // sorted
        std::vector<std::string> names;
        std::error_code ignored;
        for (const auto &entry : std::filesystem::directory_iterator(dir_, ignored)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    void copy_from(const std::string &directory) const {  // files and folders, not links
        namespace fs = std::filesystem;
        fs::copy(directory, dir_, fs::copy_options::recursive | fs::copy_options::skip_symlinks);
    }

private:
    std::string dir_, saved_program_dir_;
};

// A seam (or any global) set for the life of the object, and put back.
template <typename T> class Swap {
public:
    Swap(T &place, T value) : place_(place), saved_(place) { place_ = value; }
    ~Swap() { place_ = saved_; }
    Swap(const Swap &) = delete;
    Swap &operator=(const Swap &) = delete;

private:
    T &place_;
    T saved_;
};

// Screen output to memory, input from a script; waits and shell commands
// are skipped.
class ConsoleCapture {
public:
    struct InputExhausted {};  // thrown when input is asked for past the script: the code still wanted more

    ConsoleCapture() {
        ConsoleOut = stream_ = open_memstream(&buffer_, &size_);
        console_forget_input();
        current = this;
    }
    ~ConsoleCapture() {
        current = nullptr;
        ConsoleOut = nullptr;
        console_forget_input();
        fclose(stream_);
        free(buffer_);
    }
    void type(const std::string &keys) { input_ += keys; }
    std::string take_output() {  // everything written since the last call
        fflush(stream_);
        std::string text(buffer_, size_);
        // open_memstream's size follows the write position: back at the start,
        // the next call returns only what comes after.
        rewind(stream_);
        fflush(stream_);
        return text;
    }

private:
    static inline ConsoleCapture *current = nullptr;
    static int next_byte() {
        return current->position_ < current->input_.size() ? static_cast<unsigned char>(current->input_[current->position_++]) : -1;
    }
    Swap<int (*)()> read_{ConsoleReadByte, next_byte};
    Swap<void (*)()> ended_{ConsoleInputEnded, [] { throw InputExhausted{}; }};
    Swap<void (*)(unsigned long)> sleep_{ConsoleSleep, [](unsigned long) {}};
    Swap<int (*)(const char *)> shell_{ConsoleShell, [](const char *) { return 0; }};
    std::string input_;
    std::size_t position_ = 0;
    char *buffer_ = nullptr;
    std::size_t size_ = 0;
    FILE *stream_ = nullptr;
};

// TZ set for the life of the object, as it was afterwards. loaded() says
// whether the zone's rules are here: an unknown zone is taken for UTC
// without a word.
struct ZoneSetting {
    explicit ZoneSetting(const char *zone) : zone_(zone), had_(getenv("TZ") != nullptr), saved_(had_ ? getenv("TZ") : "") {
        setenv("TZ", zone, 1), tzset();
    }
    ~ZoneSetting() { had_ ? setenv("TZ", saved_.c_str(), 1) : unsetenv("TZ"), tzset(); }
    bool loaded() const { return zone_ == "UTC" || access(("/usr/share/zoneinfo/" + zone_).c_str(), R_OK) == 0; }

private:
    std::string zone_;
    bool had_;
    std::string saved_;
};

inline time_t utc(int year, int month, int day, int hour, int minute) {
    struct tm at = {};
    at.tm_year = year - 1900, at.tm_mon = month - 1, at.tm_mday = day, at.tm_hour = hour, at.tm_min = minute;
    return timegm(&at);
}
