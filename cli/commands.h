// corvanectl's commands. Each runs on the directory loaded by
// load_directory and returns the process's exit status.
#pragma once

#include <string>
#include <utility>
#include <vector>

// Values one per line, each followed by a NUL, or as one JSON object.
enum class GetForm { Lines, Nul, Json };
int run_get(const std::vector<std::string> &keys, GetForm form);
int run_dump(bool json);
int run_next(int days);
// Says what taking the lock found: an interrupted save finished, its staged
// files removed, or nothing to do.
int run_recover();
// Lists the generations the saves kept, oldest first.
int run_history(bool json);
// Restores generation `number` (0: the newest, the state before the last
// save) through a save, which keeps a generation of its own.
int run_rollback(int number);
// Loads the files of generation "@N" as a Korvel directory's. kDone, or
// kCannotLoad with why said.
int load_generation(const std::string &name);
// Lists the keys `pattern` matches (all when empty); or, `completing`, the
// names that begin with it.
int run_keys(const std::string &pattern, bool json, bool completing);
// check watches the reading: prepare_check before the directory is loaded.
void prepare_check();
int run_check(bool json);
// `action` is "save" or "load"; `group` names a group in use by its file's
// number or by its name.
int run_profile(const std::string &action, const std::string &group, const std::string &path);

struct KeyRef;
// Prints {"KEY": value, ...}: numbers as numbers, texts as strings, or as
// {"hex": "..."} when they are not UTF-8.
void print_json(const std::vector<KeyRef> &keys);

// Whether secret values are printed as they are (--show-secrets); else as kHidden.
extern bool show_secrets;
// A value as output shows it.
std::string shown_value(bool secret, const std::string &value);

// One line of what a set or apply did: a key's change, or what happened to
// an entry ("added", "deleted", "now UPS_01") or a file.
struct Reported {
    std::string subject;  // the key or the entry, as named
    std::string what;     // for an entry or a file
    bool change = false;  // a key's change, from old_value to new_value
    std::string old_value, new_value;
    bool secret = false, number = false;
};
// {"changes": [{"key", "old", "new", "secret"}], "entries": [{"entry", "what"}],
// "notes": [...], "written": [files], "generation": null}.
void print_report_json(const std::vector<Reported> &lines, const std::vector<std::string> &notes, const std::vector<std::string> &written);

// A change asked for: the key as named, and the new value as text.
using Change = std::pair<std::string, std::string>;
// How set and apply report: lines, or one JSON object.
struct ChangeOptions {
    bool dry_run = false;
    bool json = false;
    bool create = false;  // a key that names an entry no entry has adds it
};
// Checks every change before any is made; then, unless a dry run, writes the
// files whose text changes. Prints one line per key whose value changes and
// per entry added, deleted or renumbered, or all of it as one JSON object.
// A secret key given kHidden keeps its value, so that a dump applied back
// changes nothing.
// `deleted` names entries ([FILE:]SECTION, by number or name) to delete;
// one that is not there is already as asked.
int run_changes(const std::vector<Change> &changes, const ChangeOptions &options, const std::vector<std::string> &deleted = {});
int run_set(const std::vector<std::string> &assignments, const ChangeOptions &options);
// The keys whose values differ from those of `other`, a Korvel directory
// or a JSON file of the dump's shape ("-": standard input), as Korvel reads
// them: 0 when none, 1 when some, 2 when `other` cannot be read.
int run_diff(const std::string &other, bool json);
// `source` is a file name, or "-" for standard input.
int run_apply(const std::string &source, const ChangeOptions &options);
