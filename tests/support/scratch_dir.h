// A temporary Korvel directory: ProgramDir points into it while it exists,
// and it is removed with everything in it afterwards.
#pragma once

#include <string>
#include <vector>

class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;

    // The directory (ending in "/"), or a file in it.
    std::string path(const std::string &name = "") const { return dir_ + name; }
    void write(const std::string &name, const std::string &content) const;
    std::string read(const std::string &name) const;  // "<missing>" when it cannot be read
    bool exists(const std::string &name) const;
    // The names of the directory's entries, sorted.
    std::vector<std::string> list() const;
    // Copies `directory`'s files and subdirectories in (not its links).
    void copy_from(const std::string &directory) const;

private:
    std::string dir_;
    std::string saved_program_dir_;
};

std::string read_file(const std::string &path);
