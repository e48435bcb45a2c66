// corvanectl: Korvel's settings from scripts, through the editor's own
// reader, rules and safe save.
#include <climits>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <unistd.h>

#include "cli/cli11.h"
#include "cli/commands.h"
#include "cli/store.h"
#include "config/files.h"

#ifndef CORVANE_VERSION
#define CORVANE_VERSION "5.3.0"
#endif

namespace {

// What the command line asks for.
struct Request {
    std::string directory;
    int wait_seconds = 0;
    std::vector<std::string> keys, assignments;
    std::string source, action, group, pattern;
    bool dry_run = false, json = false, create = false, nul = false, completing = false;
    int days = 100, generation = 0;
};

struct Command {
    const char *name, *description;
    void (*options)(CLI::App &command, Request &request);
};

const Command kCommands[] = {
    {"get", "print values, one per line",
     [](CLI::App &command, Request &request) {
         command.add_option("KEY", request.keys, "[FILE:]SECTION.KEY")->required();
         command.add_flag("--json", request.json, "as one JSON object of key and value");
         command.add_flag("-z", request.nul, "each value followed by a NUL byte instead of a line end");
     }},
    {"set", "change values, checked as the editor's screens check them",
     [](CLI::App &command, Request &request) {
         command.add_option("KEY=VALUE", request.assignments)->required();
         command.add_flag("--dry-run", request.dry_run, "print what would change, write nothing");
         command.add_flag("--json", request.json, "as one JSON object: changes, entries, notes, files written");
         command.add_flag("--create", request.create, "a key that names an entry no entry has, UPS[NAME].KEY, adds that entry");
     }},
    {"dump", "print every setting a save writes",
     [](CLI::App &command, Request &request) {
         command.add_flag("--json", request.json, "as one JSON object: file, section, key, value");
     }},
    {"apply", "change the settings a JSON object of the dump's shape gives",
     [](CLI::App &command, Request &request) {
         command.add_option("FILE", request.source, "the JSON file, or - for standard input")->required();
         command.add_flag("--dry-run", request.dry_run, "print what would change, write nothing");
         command.add_flag("--json", request.json, "as one JSON object: changes, entries, notes, files written");
         command.add_flag("--create", request.create, "an entry named UPS[NAME] that no entry has is added");
     }},
    {"diff", "print the keys whose values differ from another Korvel directory's or a dump's",
     [](CLI::App &command, Request &request) {
         command.add_option("OTHER", request.source, "a Korvel directory, a JSON file of the dump's shape, - for standard input, or @N for generation N")
             ->required();
         command.add_flag("--json", request.json, "as a JSON list of key, here, other, secret");
     }},
    {"check", "report what Korvel will read differently from what the files say",
     [](CLI::App &command, Request &request) { command.add_flag("--json", request.json, "as a JSON list"); }},
    {"profile", "save a group's events to a profile file, or load them from one",
     [](CLI::App &command, Request &request) {
         command.add_option("ACTION", request.action, "save or load")->required()->check(CLI::IsMember({"save", "load"}));
         command.add_option("GROUP", request.group, "the group: its file's number (01) or its name")->required();
         command.add_option("FILE", request.source, "the profile file")->required();
     }},
    {"recover", "finish a save that was interrupted, or remove what it staged (run before Korvel starts)", [](CLI::App &, Request &) {}},
    {"history", "list the generations the last saves kept: number, time, program, user, keys changed",
     [](CLI::App &command, Request &request) { command.add_flag("--json", request.json, "as a JSON list"); }},
    {"rollback", "restore the files of a generation (default: as they were before the last save)",
     [](CLI::App &command, Request &request) {
         command.add_option("N", request.generation, "the generation's number, as history lists it")->check(CLI::PositiveNumber);
     }},
    {"next", "print the coming scheduled actions",
     [](CLI::App &command, Request &request) { command.add_option("--days", request.days, "how many days ahead (default 100)"); }},
    {"keys", "list every key with its file, type, accepted values, default, and whether it is secret",
     [](CLI::App &command, Request &request) {
         command.add_option("PATTERN", request.pattern, "only the keys this shell pattern matches (UPS_NN.* or UPS_03.*)");
         command.add_flag("--json", request.json, "as a JSON list");
         command.add_flag("--complete", request.completing, "the names that begin with PATTERN, for shell completion")->group("");
     }},
};

// Whether a command is among the arguments, or the help that lists every
// command may be asked for (-h, also in a group of short flags, or --help).
bool wanted(const char *name, int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0 || std::strncmp(argv[i], "-h", 2) == 0 || std::strncmp(argv[i], "--h", 3) == 0) return true;
    }
    return false;
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app{"corvanectl: read, change and check the settings of a Korvel directory"};
    app.set_version_flag("--version", "corvanectl " CORVANE_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // -C and --wait after the command too
    Request request;
    app.add_option("-C", request.directory, "the Korvel directory (default: the one corvanectl is installed in)");
    app.add_flag("--show-secrets", show_secrets, "print passwords, their digests and SNMP communities instead of ********");
    app.add_flag("--wait{-1}", request.wait_seconds, "wait for an editor or another corvanectl to let go of the directory (=SECONDS: at most that long)");
    // Only the commands named are built: the parser matches a command by
    // its name alone, so the others would change nothing, and building all
    // of them with their options costs a script's every call more than
    // reading korvel.ini does.
    for (const Command &command : kCommands) {
        if (wanted(command.name, argc, argv)) command.options(*app.add_subcommand(command.name, command.description), request);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) {  // --help, --version
            std::ostringstream out, err;
            app.exit(error, out, err);
            std::fputs(out.str().c_str(), stdout);
            std::fputs(err.str().c_str(), stderr);
            return kDone;
        }
        return complain(std::string(error.what()) + "; see corvanectl --help"), kRefused;
    }
    const std::string command = app.get_subcommands().front()->get_name();  // exactly one is required

    // The schema is the program's own: no directory is read.
    if (command == "keys") return run_keys(request.pattern, request.json, request.completing);

    // The directory of the program itself, however it was started (through
    // PATH, a symbolic link ...), and named absolutely in every message.
    std::string &directory = request.directory;
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
    bool writes = ((command == "set" || command == "apply") && !request.dry_run) || (command == "profile" && request.action == "load") ||
                  command == "recover" || command == "rollback";
    if (command == "check") prepare_check();
    // A read of korvel.ini alone needs no other file.
    int files = command == "get" ? files_for(request.keys) : 5;
    if (int status = load_directory(directory, writes, files, request.wait_seconds)) return status;
    // Whatever goes wrong ends with a message and a status, never an abort.
    const ChangeOptions changing{request.dry_run, request.json, request.create};
    try {
        if (command == "get") return run_get(request.keys, request.json ? GetForm::Json : request.nul ? GetForm::Nul : GetForm::Lines);
        if (command == "set") return run_set(request.assignments, changing);
        if (command == "dump") return run_dump(request.json);
        if (command == "diff") return run_diff(request.source, request.json);
        if (command == "recover") return run_recover();
        if (command == "history") return run_history(request.json);
        if (command == "rollback") return run_rollback(request.generation);
        if (command == "apply") return run_apply(request.source, changing);
        if (command == "check") return run_check(request.json);
        if (command == "profile") return run_profile(request.action, request.group, request.source);
        return run_next(request.days);
    } catch (const std::exception &error) {
        return complain(error.what()), command == "diff" ? kCannotLoad : kRefused;
    }
}
