// corvanectl: Korvel's settings from scripts, through the editor's own
// reader, rules and safe save.
#include <CLI/CLI.hpp>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "cli/commands.h"
#include "cli/store.h"
#include "config/files.h"

#ifndef CORVANE_VERSION
#define CORVANE_VERSION "5.3.0"
#endif

int main(int argc, char **argv) {
    CLI::App app{"corvanectl: read, change and check the settings of a Korvel directory"};
    app.set_version_flag("--version", "corvanectl " CORVANE_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // -C and --wait after the command too
    std::string directory;
    app.add_option("-C", directory, "the Korvel directory (default: the one corvanectl is installed in)");
    app.add_flag("--show-secrets", show_secrets, "print passwords, their digests and SNMP communities instead of ********");
    int wait_seconds = 0;
    app.add_flag("--wait{-1}", wait_seconds, "wait for an editor or another corvanectl to let go of the directory (=SECONDS: at most that long)");

    std::vector<std::string> keys, assignments;
    std::string source;
    bool dry_run = false, json = false, create = false;
    int days = 100;
    auto *get = app.add_subcommand("get", "print values, one per line");
    get->add_option("KEY", keys, "[FILE:]SECTION.KEY")->required();
    bool nul = false;
    get->add_flag("--json", json, "as one JSON object of key and value");
    get->add_flag("-z", nul, "each value followed by a NUL byte instead of a line end");
    auto *set = app.add_subcommand("set", "change values, checked as the editor's screens check them");
    set->add_option("KEY=VALUE", assignments)->required();
    set->add_flag("--dry-run", dry_run, "print what would change, write nothing");
    set->add_flag("--json", json, "as one JSON object: changes, entries, notes, files written");
    set->add_flag("--create", create, "a key that names an entry no entry has, UPS[NAME].KEY, adds that entry");
    auto *dump = app.add_subcommand("dump", "print every setting a save writes");
    dump->add_flag("--json", json, "as one JSON object: file, section, key, value");
    auto *apply = app.add_subcommand("apply", "change the settings a JSON object of the dump's shape gives");
    apply->add_option("FILE", source, "the JSON file, or - for standard input")->required();
    apply->add_flag("--dry-run", dry_run, "print what would change, write nothing");
    apply->add_flag("--json", json, "as one JSON object: changes, entries, notes, files written");
    apply->add_flag("--create", create, "an entry named UPS[NAME] that no entry has is added");
    auto *diff = app.add_subcommand("diff", "print the keys whose values differ from another Korvel directory's or a dump's");
    diff->add_option("OTHER", source, "a Korvel directory, a JSON file of the dump's shape, - for standard input, or @N for generation N")->required();
    diff->add_flag("--json", json, "as a JSON list of key, here, other, secret");
    auto *check = app.add_subcommand("check", "report what Korvel will read differently from what the files say");
    check->add_flag("--json", json, "as a JSON list");
    auto *profile = app.add_subcommand("profile", "save a group's events to a profile file, or load them from one");
    std::string action, group;
    profile->add_option("ACTION", action, "save or load")->required()->check(CLI::IsMember({"save", "load"}));
    profile->add_option("GROUP", group, "the group: its file's number (01) or its name")->required();
    profile->add_option("FILE", source, "the profile file")->required();
    auto *recover = app.add_subcommand("recover", "finish a save that was interrupted, or remove what it staged (run before Korvel starts)");
    auto *history = app.add_subcommand("history", "list the generations the last saves kept: number, time, program, user, keys changed");
    history->add_flag("--json", json, "as a JSON list");
    auto *rollback = app.add_subcommand("rollback", "restore the files of a generation (default: as they were before the last save)");
    int generation = 0;
    rollback->add_option("N", generation, "the generation's number, as history lists it")->check(CLI::PositiveNumber);
    auto *next = app.add_subcommand("next", "print the coming scheduled actions");
    next->add_option("--days", days, "how many days ahead (default 100)");
    auto *keys_command = app.add_subcommand("keys", "list every key with its file, type, accepted values, default, and whether it is secret");
    std::string pattern;
    bool completing = false;
    keys_command->add_option("PATTERN", pattern, "only the keys this shell pattern matches (UPS_NN.* or UPS_03.*)");
    keys_command->add_flag("--json", json, "as a JSON list");
    keys_command->add_flag("--complete", completing, "the names that begin with PATTERN, for shell completion")->group("");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) return app.exit(error), kDone;  // --help, --version
        return complain(std::string(error.what()) + "; see corvanectl --help"), kRefused;
    }

    // The schema is the program's own: no directory is read.
    if (keys_command->parsed()) return run_keys(pattern, json, completing);

    // The directory of the program itself, however it was started (through
    // PATH, a symbolic link ...), and named absolutely in every message.
    char where[4096];
    ssize_t length = directory.empty() ? readlink("/proc/self/exe", where, sizeof where - 1) : -1;
    if (length > 0) {
        where[length] = '\0';
        directory = std::string(where, std::strrchr(where, '/') - where + 1);
    } else if (directory.empty()) {
        if (!getprgdir(argv[0], where, sizeof where)) return complain(std::string(argv[0]) + ": path too long"), kCannotLoad;
        directory = where;
    }
    if (realpath(directory.c_str(), where)) directory = where;
    // A dry run writes nothing, so it needs no lock: it works while an editor runs.
    bool writes = ((set->parsed() || apply->parsed()) && !dry_run) || (profile->parsed() && action == "load") || recover->parsed() ||
                  rollback->parsed();
    if (check->parsed()) prepare_check();
    // A read of korvel.ini alone needs no other file.
    if (int status = load_directory(directory, writes, get->parsed() ? files_for(keys) : 5, wait_seconds)) return status;
    // Whatever goes wrong ends with a message and a status, never an abort.
    try {
        if (get->parsed()) return run_get(keys, json ? GetForm::Json : nul ? GetForm::Nul : GetForm::Lines);
        if (set->parsed()) return run_set(assignments, {dry_run, json, create});
        if (dump->parsed()) return run_dump(json);
        if (diff->parsed()) return run_diff(source, json);
        if (recover->parsed()) return run_recover();
        if (history->parsed()) return run_history(json);
        if (rollback->parsed()) return run_rollback(generation);
        if (apply->parsed()) return run_apply(source, {dry_run, json, create});
        if (check->parsed()) return run_check(json);
        if (profile->parsed()) return run_profile(action, group, source);
        return run_next(days);
    } catch (const std::exception &error) {
        return complain(error.what()), diff->parsed() ? kCannotLoad : kRefused;
    }
}
