// The history of a Korvel directory: every journaled save keeps the files
// it replaces as a generation in Corvane's own directory (.corvane/), with
// when, by which program and by whom it was made and the keys it changed,
// so that any of the last kGenerations states can be had back.
//
// A generation is one file, staged before the save's commit point and put
// in place by the journal like Korvel's files, so that it exists exactly
// when the save it belongs to happened.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "config/journal.h"

constexpr int kGenerations = 10;
// The staged generation of a save not yet committed, inside Corvane's directory.
constexpr const char *kStagedGeneration = "generation.new";

struct Generation {
    int number = 0;
    long long time = 0;  // seconds since the epoch
    std::string program, user;
    std::vector<std::string> keys;  // as corvanectl names them: "UPS_00.Name", "jobs.ini:Job_01.Log"
    // Each of Korvel's files as it was: its name, whether it existed, its bytes.
    struct File {
        std::string name;
        bool existed = false, unread = false;
        std::string bytes;
    };
    std::vector<File> files;
};

// The file a save makes of a Korvel file: its name, and its new bytes, or
// none when the save removes it.
struct NewFile {
    std::string name, bytes;
    bool removed = false;
};

// Stages the generation of a save of `changes` to `directory`: the
// watched files as they are now, and the keys `changes` changes. The
// journal step that puts it in place goes to `step`. 0, ENOTSUP when the
// directory keeps no history, or the error number.
int history_stage(const char *directory, const std::vector<NewFile> &changes, JournalStep &step, int &number);
// Removes the generations older than the last kGenerations.
void history_prune(const char *directory);
// The generations of `directory`, oldest first (files left out unless `with_files`).
std::vector<Generation> history_list(const char *directory, bool with_files = false);
// Generation `number`. 0, ENOENT when there is none, or the error number.
int history_read(const char *directory, int number, Generation &generation);
// The keys whose values differ between two texts of the file `name`.
void changed_keys(const std::string &name, const std::string &before, const std::string &after, std::vector<std::string> &keys);
// The generation the last committed save of this process made, 0 when none.
extern int LastGeneration;
