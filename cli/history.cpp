// history, rollback and the generations diff compares with: the states the
// directory's saves kept, and the way back to one of them.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/commands.h"
#include "cli/store.h"
#include "config/files.h"
#include "config/history.h"
#include "config/ini_writer.h"

namespace {

std::string when(long long seconds, bool utc) {
    std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    if (utc ? !gmtime_r(&time, &parts) : !localtime_r(&time, &parts)) return std::to_string(seconds);
    char text[64];
    std::strftime(text, sizeof text, utc ? "%Y-%m-%dT%H:%M:%SZ" : "%Y-%m-%d %H:%M:%S %Z", &parts);
    return text;
}

// The generation `number` names (0: the newest), or why there is none.
std::string find_generation(int number, Generation &generation) {
    std::vector<Generation> list = history_list(ProgramDir);
    if (list.empty()) return std::string(ProgramDir) + ": no history yet: each save from now on keeps one";
    if (number == 0) number = list.back().number;
    int error = history_read(ProgramDir, number, generation);
    if (error == ENOENT) {
        return "no generation " + std::to_string(number) + "; there are " + std::to_string(list.front().number) + " to " +
               std::to_string(list.back().number);
    }
    if (error) return std::string(ProgramDir) + kCorvaneDir + ": generation " + std::to_string(number) + ": " + std::strerror(error);
    return "";
}

}  // namespace

int run_history(bool json) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Generation &generation : history_list(ProgramDir)) {
        if (json) {
            list.push_back({{"generation", generation.number}, {"time", when(generation.time, true)}, {"program", generation.program},
                            {"user", generation.user}, {"keys", generation.keys}});
            continue;
        }
        // The first keys say what it was; all of them are in --json.
        std::string keys;
        for (size_t i = 0; i < generation.keys.size() && i < 4; ++i) keys += " " + generation.keys[i];
        if (generation.keys.size() > 4) keys += " and " + std::to_string(generation.keys.size() - 4) + " more";
        std::printf("%d  %s  %s  %s %s\n", generation.number, when(generation.time, false).c_str(), generation.program.c_str(),
                    generation.user.c_str(), keys.empty() ? " (no key)" : keys.c_str());
    }
    if (json) print_json_text(list.dump(2));
    return kDone;
}

int run_rollback(int number) {
    Generation generation;
    if (std::string why = find_generation(number, generation); !why.empty()) return complain(why), kRefused;
    // Only what differs is written; a file the generation did not have goes.
    FileTexts texts{};
    std::vector<std::string> removed;
    for (const Generation::File &file : generation.files) {
        std::string path = ProgramDir + file.name, now;
        bool exists = access(path.c_str(), F_OK) == 0;
        if (file.unread || (!file.existed && !exists)) continue;
        if (!file.existed) {
            removed.push_back(file.name);
            continue;
        }
        if (exists && read_whole_file(path, now) && now == file.bytes) continue;
        FileText &text = texts.file[texts.count++];
        std::snprintf(text.name, sizeof text.name, "%s", file.name.c_str());
        text.size = file.bytes.size();
        text.bytes = static_cast<char *>(std::malloc(text.size + 1));
        if (!text.bytes) return FreeTexts(texts), complain(std::strerror(ENOMEM)), kRefused;
        std::memcpy(text.bytes, file.bytes.data(), text.size);
    }
    if (texts.count == 0 && removed.empty()) {
        std::printf("the files are as generation %d has them already\n", generation.number);
        return kDone;
    }
    int error = WriteTexts(texts, nullptr, removed);
    FreeTexts(texts);
    std::vector<std::string> written;
    if (int status = saved(error, written)) return status;
    for (const std::string &name : written) std::printf("%s: as in generation %d\n", name.c_str(), generation.number);
    for (const std::string &name : removed) std::printf("%s: removed, as generation %d had none\n", name.c_str(), generation.number);
    if (LastGeneration) std::printf("the files before the rollback are generation %d\n", LastGeneration);
    return kDone;
}

int load_generation(const std::string &name) {
    Generation generation;
    int number = name.size() > 1 && name.find_first_not_of("0123456789", 1) == std::string::npos ? std::atoi(name.c_str() + 1) : -1;
    std::string why = number > 0 ? find_generation(number, generation) : name + ": not a generation; corvanectl history lists them";
    if (!why.empty()) return complain(why), kCannotLoad;
    std::vector<std::pair<std::string, std::string>> files;
    for (const Generation::File &file : generation.files) {
        if (file.existed && !file.unread) files.emplace_back(file.name, file.bytes);
    }
    if (load_given(files, {}, true) == 0) return INI1 = INI, kDone;
    return complain(name + ": " + kWatchedNames[0] + ": " + UnreadableReason()), kCannotLoad;
}
