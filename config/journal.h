// The commit point of a save, so that after a kill or a power cut at any
// moment the files are all old or all new once any Corvane process has run.
//
// Every file is staged first (replace_file). Then the journal, which lists
// each staged copy and its target, and holds the whole new text of each
// file rewritten in place, is written to Corvane's own directory inside the
// Korvel directory (.corvane/) and synced: from then on the save is done.
// The files are put in place, their directories synced, and the journal
// removed. A process that takes the directory's lock finishes a journal it
// finds, which is safe to repeat; without one, it removes staged files that
// an interrupted save left.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "config/replace_file.h"

// Corvane's directory inside a Korvel directory, and the journal's name there.
constexpr const char *kCorvaneDir = ".corvane/";
constexpr const char *kJournalName = ".corvane/journal";

// Makes Corvane's directory inside `directory` where there is none, its
// path in `own`. 0, or ENOTSUP when there cannot be one that we may write.
int corvane_directory(const char *directory, std::string &own);

// One step of a save: a staged copy renamed over its target, a target
// rewritten in place with `text` (no staged copy), or a target removed.
struct JournalStep {
    std::string staged, target, text;
    bool remove = false;
};

// Writes and syncs the journal of `steps` into `directory` (ending in "/");
// `check`, when given, is asked last, just before the commit point, and
// its non-zero result abandons the save. 0 once the journal is the commit
// point; ENOTSUP when the directory cannot hold it (then the save commits
// without one, as before); else the error number or `check`'s result
// (nothing was replaced).
int journal_write(const char *directory, const std::vector<JournalStep> &steps, const std::function<int()> &check = nullptr);
// Does what the journal of `directory` lists, syncs the directories and
// removes the journal. 0, or the error number, with the path it concerns in
// `failed`; `done`, when given, gets how many of its steps changed their
// target, a rewrite counted from its first write.
int journal_finish(const char *directory, int *done = nullptr, std::string *failed = nullptr);

// The whole of a regular file. False, with errno saying why, when it cannot be read.
bool read_whole_file(const std::string &path, std::string &text);

// What the last recover_directory found.
enum class Recovery { Nothing, Finished, Cleaned };
// Finishes an unfinished save of `directory`, or removes the staged files
// an interrupted one left. Only under the directory's lock. 0, or the error
// number; `found` says what there was.
int recover_directory(const char *directory, Recovery &found);
extern Recovery LastRecovery;  // what lock_directory's recovery found
extern int LastRecoveryError;
// Whether `directory` holds the journal of a save not yet finished.
bool unfinished_save(const char *directory);
// Whether `name` is that of a staged copy of one of Korvel's files: ".NAME.XXXXXX".
bool staged_name(const char *name);
