#include "support/scratch_dir.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <ftw.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "console/globals.h"

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "<missing>";
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

ScratchDir::ScratchDir() {
    char pattern[] = "/tmp/corvane-test-XXXXXX";
    if (!mkdtemp(pattern)) std::abort();
    dir_ = std::string(pattern) + "/";
    saved_program_dir_ = ProgramDir;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", dir_.c_str());
}

static int remove_entry(const char *path, const struct stat *state, int, struct FTW *) {
    // A test may have made it read-only; a link is left alone, since chmod
    // would change what it points to.
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

std::string ScratchDir::read(const std::string &name) const { return read_file(dir_ + name); }

bool ScratchDir::exists(const std::string &name) const {
    struct stat state;
    return lstat((dir_ + name).c_str(), &state) == 0;
}

std::vector<std::string> ScratchDir::list() const {
    std::vector<std::string> names;
    if (DIR *directory = opendir(dir_.c_str())) {
        while (dirent *entry = readdir(directory)) {
            std::string name = entry->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        closedir(directory);
    }
    std::sort(names.begin(), names.end());
    return names;
}

static void copy_tree(const std::string &from, const std::string &to) {
    DIR *source = opendir(from.c_str());
    if (!source) return;
    while (dirent *entry = readdir(source)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        struct stat state;
        if (lstat((from + "/" + name).c_str(), &state) != 0) continue;  // links are not copied
        if (S_ISDIR(state.st_mode)) {
            mkdir((to + name).c_str(), 0755);
            copy_tree(from + "/" + name, to + name + "/");
        } else if (S_ISREG(state.st_mode)) {
            std::ofstream(to + name, std::ios::binary) << read_file(from + "/" + name);
        }
    }
    closedir(source);
}

void ScratchDir::copy_from(const std::string &directory) const { copy_tree(directory, dir_); }
