#include "support/fixtures.h"

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <ftw.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "console/globals.h"
#include "console/input.h"
#include "console/terminal.h"

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return file ? text.str() : "<missing>";
}

std::string visible(const std::string &bytes) {
    static const char *const kNames[32] = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "BEL",
                                           nullptr, "TAB",   "LF",    nullptr, nullptr, "CR"};
    std::string shown;
    for (unsigned char c : bytes) {
        if (c == 27) {
            shown += "<ESC>";
        } else if (c < 32) {
            shown += "<" + (kNames[c] ? std::string(kNames[c]) : std::to_string(c)) + ">";
        } else {
            shown += static_cast<char>(c);
        }
    }
    return shown;
}

ScratchDir::ScratchDir() {
    char pattern[] = "/tmp/corvane-test-XXXXXX";
    if (!mkdtemp(pattern)) std::abort();
    dir_ = std::string(pattern) + "/";
    saved_program_dir_ = ProgramDir;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", dir_.c_str());
}

// A test may have made it read-only; a link is left alone (chmod would change its target).
static int remove_entry(const char *path, const struct stat *state, int, struct FTW *) {
    if (!S_ISLNK(state->st_mode)) chmod(path, 0700);
    return remove(path);
}

ScratchDir::~ScratchDir() {
    std::snprintf(ProgramDir, kProgramDirSize, "%s", saved_program_dir_.c_str());
    chmod(dir_.c_str(), 0700);
    nftw(dir_.c_str(), remove_entry, 16, FTW_DEPTH | FTW_PHYS);
}

void ScratchDir::write(const std::string &name, const std::string &content) const {
    std::ofstream(dir_ + name, std::ios::binary) << content;
}

bool ScratchDir::exists(const std::string &name) const {
    struct stat state;
    return lstat((dir_ + name).c_str(), &state) == 0;
}

static std::vector<std::string> entries(const std::string &path) {
    std::vector<std::string> names;
    if (DIR *directory = opendir(path.c_str())) {
        while (dirent *entry = readdir(directory)) {
            if (std::string(".") != entry->d_name && std::string("..") != entry->d_name) names.push_back(entry->d_name);
        }
        closedir(directory);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> ScratchDir::list() const { return entries(dir_); }

static void copy_tree(const std::string &from, const std::string &to) {
    for (const std::string &name : entries(from)) {
        struct stat state;
        if (lstat((from + "/" + name).c_str(), &state) != 0) continue;
        if (S_ISDIR(state.st_mode)) {
            mkdir((to + name).c_str(), 0755);
            copy_tree(from + "/" + name, to + name + "/");
        } else if (S_ISREG(state.st_mode)) {
            std::ofstream(to + name, std::ios::binary) << read_file(from + "/" + name);
        }
    }
}

void ScratchDir::copy_from(const std::string &directory) const { copy_tree(directory, dir_); }

static ConsoleCapture *current = nullptr;

ConsoleCapture::ConsoleCapture()
    : saved_read_(ConsoleReadByte), saved_ended_(ConsoleInputEnded), saved_sleep_(ConsoleSleep), saved_shell_(ConsoleShell) {
    ConsoleOut = stream_ = open_memstream(&buffer_, &size_);
    ConsoleReadByte = read_byte;
    ConsoleInputEnded = input_ended;
    ConsoleSleep = sleep;
    ConsoleShell = shell;
    console_forget_input();
    current = this;
}

ConsoleCapture::~ConsoleCapture() {
    current = nullptr;
    ConsoleOut = nullptr;
    ConsoleReadByte = saved_read_;
    ConsoleInputEnded = saved_ended_;
    ConsoleSleep = saved_sleep_;
    ConsoleShell = saved_shell_;
    console_forget_input();
    fclose(stream_);
    free(buffer_);
}

std::string ConsoleCapture::take_output() {
    fflush(stream_);
    std::string text(buffer_, size_);
    // open_memstream's size follows the write position: back at the start,
    // the next call returns only what comes after.
    rewind(stream_);
    fflush(stream_);
    return text;
}

int ConsoleCapture::read_byte() {
    if (current->position_ >= current->input_.size()) return -1;
    return static_cast<unsigned char>(current->input_[current->position_++]);
}

void ConsoleCapture::sleep(unsigned long microseconds) {
    current->sleeps.push_back(microseconds);
    current->shown_at_last_pause.assign(current->buffer_, current->size_);
}

int ConsoleCapture::shell(const char *command) {
    current->commands.push_back(command);
    current->shown_at_last_pause.assign(current->buffer_, current->size_);
    return 0;
}
