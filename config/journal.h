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

#include "config/replace_file.h"

// Corvane's directory inside a Korvel directory, and the journal's name there.
constexpr const char *kCorvaneDir = ".corvane/";
constexpr const char *kJournalName = ".corvane/journal";

// Writes and syncs the journal of the `count` staged files into
// `directory` (ending in "/"). 0 once it is the commit point; ENOTSUP when
// the directory cannot hold it (then the save commits without one, as
// before); another error number when it failed (nothing was replaced).
int journal_write(const char *directory, const ReplaceFile *staged, int count);
// Puts in place what the journal of `directory` lists, syncs the
// directories and removes the journal. 0, or the error number; `done`, when
// given, gets how many of its files are in place.
int journal_finish(const char *directory, int *done = nullptr);

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
