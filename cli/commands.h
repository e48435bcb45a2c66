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

// A change asked for: the key as named, and the new value as text.
using Change = std::pair<std::string, std::string>;
// Checks every change before any is made; then, unless `dry_run`, writes the
// files whose text changes. Prints one line per key whose value changes.
int run_changes(const std::vector<Change> &changes, bool dry_run);
int run_set(const std::vector<std::string> &assignments, bool dry_run);
// `source` is a file name, or "-" for standard input.
int run_apply(const std::string &source, bool dry_run);
