// corvanectl's way into a Korvel directory: the editor's reader, lock and
// safe save, with its own exit statuses and messages on standard error.
#pragma once

#include <string>
#include <utility>
#include <vector>

// Exit statuses, which scripts test.
enum Status { kDone = 0, kRefused = 1, kCannotLoad = 2, kLocked = 3 };

// Prints "corvanectl: <message>" on standard error.
void complain(const std::string &message);
// Prints a JSON text and a line end on standard output.
void print_json_text(const std::string &text);

// Loads every file of `directory` into the committed record INI and the
// working copy INI1, which the commands change. kDone, or kCannotLoad with the reason said. With `lock`, the
// directory is locked first, for as long as the process runs, waiting for it
// as lock_directory does (kLocked when another process holds it).
int load_directory(const std::string &directory, bool lock, int files = 5, int wait_seconds = 0);
// How many files of the reading order (korvel.ini, jobs.ini, jobsSTS.ini,
// the group files, sensor.ini) must be read to know the keys named.
int files_for(const std::vector<std::string> &keys);

// Writes the files whose text differs between the record as read (INI) and
// the working copy (INI1), through the editor's two-phase save, and then
// removes the files `removed` names; INI then takes the working copy. Where
// Korvel would read a file left as it is differently after the others
// change (a key before its first header goes to the section the file before
// it ends in), every file is written, as the editor's save does, and
// `notes` says so. kDone or kRefused with the reason said; `written` gets the
// names of the files written.
int save_changes(std::vector<std::string> &written, const std::vector<std::string> &removed, std::vector<std::string> &notes);

// Stores in the record as read and in the working copy the defaults a save
// stores (an empty serial device, a zero mail port ...), writing nothing:
// entries are then numbered as the save numbers them.
void store_defaults();
// What WriteTexts' `error` means, said: `written` gets the files it
// changed. kDone, or kRefused with the reason said.
int saved(int error, std::vector<std::string> &written);
// Loads the files `files` gives (name and bytes) into INI alone, and takes
// those `missing` names as missing: what Korvel would read with them in
// place of the files of ProgramDir, which give the others, or with `only`
// are missing too. LoadINIFiles' result.
int load_given(const std::vector<std::pair<std::string, std::string>> &files, const std::vector<std::string> &missing, bool only);

// The language texts (the record's language, else English), for what
// corvanectl shows as the editor does. False when none can be read.
bool load_texts();
