// What the tests stand on: a scratch Korvel directory, the console's seams
// captured in memory, and time zones.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

std::string read_file(const std::string &path);  // "<missing>" when it cannot be read
std::string visible(const std::string &bytes);   // control characters spelled out, for failures

// A temporary directory that ProgramDir points into while it exists; it goes
// with everything in it.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;
    std::string path(const std::string &name = "") const { return dir_ + name; }  // the directory ends in "/"
    void write(const std::string &name, const std::string &content) const;
    std::string read(const std::string &name) const { return read_file(dir_ + name); }
    bool exists(const std::string &name) const;
    std::vector<std::string> list() const;               // sorted
    void copy_from(const std::string &directory) const;  // files and folders, not links

private:
    std::string dir_, saved_program_dir_;
};

// Screen output to memory, input from a script, waits and shell commands
// recorded instead of done.
class ConsoleCapture {
public:
    struct InputExhausted {};  // thrown when input is asked for past the script: the code still wanted more
    ConsoleCapture();
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture &) = delete;
    ConsoleCapture &operator=(const ConsoleCapture &) = delete;
    void type(const std::string &keys) { input_ += keys; }
    std::size_t unread() const { return input_.size() - position_; }
    std::string take_output();  // everything written since the last call
    std::vector<unsigned long> sleeps;  // microseconds
    std::vector<std::string> commands;
    std::string shown_at_last_pause;  // what had reached the screen when the last wait or command began

private:
    static int read_byte();
    static void input_ended() { throw InputExhausted{}; }
    static void sleep(unsigned long microseconds);
    static int shell(const char *command);
    int (*saved_read_)();
    void (*saved_ended_)();
    void (*saved_sleep_)(unsigned long);
    int (*saved_shell_)(const char *);
    std::string input_;
    std::size_t position_ = 0;
    char *buffer_ = nullptr;
    std::size_t size_ = 0;
    FILE *stream_ = nullptr;
};

// TZ set for the life of the object, unset afterwards.
struct ZoneSetting {
    explicit ZoneSetting(const char *zone) { setenv("TZ", zone, 1), tzset(); }
    ~ZoneSetting() { unsetenv("TZ"), tzset(); }
};

inline time_t utc(int year, int month, int day, int hour, int minute) {
    struct tm at = {};
    at.tm_year = year - 1900, at.tm_mon = month - 1, at.tm_mday = day, at.tm_hour = hour, at.tm_min = minute;
    return timegm(&at);
}
