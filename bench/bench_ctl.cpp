// corvanectl against crudini on the full-size directory, whole processes
// side by side: reading one value, and changing one (each run writes, as
// the value alternates; corvanectl's write is synced, crudini's is not).
// The floor is what any process that reads the file and prints the value
// costs: a static C program that does only that.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

extern char **environ;

namespace {

std::string staged_directory() {
    static std::string dir;
    if (dir.empty()) {
        char pattern[] = "/tmp/corvane-ctl-XXXXXX";
        if (!mkdtemp(pattern)) std::abort();
        dir = pattern;
        if (std::system(("cp " CORVANE_TEST_DATA "full/* " + dir).c_str()) != 0) std::abort();
    }
    return dir;
}

// Runs a program to its end with its output thrown away; false when it fails.
bool run(std::vector<std::string> argv) {
    std::vector<char *> args;
    for (std::string &arg : argv) args.push_back(&arg[0]);
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
    pid_t pid;
    int status = -1;
    if (posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ) == 0) waitpid(pid, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    return status == 0;
}

void BM_CorvanectlGet(benchmark::State &state) {
    const std::string dir = staged_directory();
    for (auto _ : state) {
        if (!run({CORVANE_CTL, "-C", dir, "get", "System.Name"})) state.SkipWithError("corvanectl failed");
    }
}

void BM_FloorGet(benchmark::State &state) {
    const std::string file = staged_directory() + "/korvel.ini";
    for (auto _ : state) {
        if (!run({CORVANE_FLOOR, file, "System", "Name"})) state.SkipWithError("the floor failed");
    }
}

void BM_CrudiniGet(benchmark::State &state) {
    const std::string file = staged_directory() + "/korvel.ini";
    for (auto _ : state) {
        if (!run({"crudini", "--get", file, "System", "Name"})) state.SkipWithError("crudini failed");
    }
}

void BM_CorvanectlSet(benchmark::State &state) {
    const std::string dir = staged_directory();
    int round = 0;
    for (auto _ : state) {
        std::string value = "System.Name=Plant " + std::to_string(round++ % 2);
        if (!run({CORVANE_CTL, "-C", dir, "set", value})) state.SkipWithError("corvanectl failed");
    }
}

void BM_CrudiniSet(benchmark::State &state) {
    const std::string file = staged_directory() + "/korvel.ini";
    int round = 0;
    for (auto _ : state) {
        std::string value = "\"Plant " + std::to_string(round++ % 2) + "\"";
        if (!run({"crudini", "--set", file, "System", "Name", value})) state.SkipWithError("crudini failed");
    }
}

}  // namespace

BENCHMARK(BM_FloorGet)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CorvanectlGet)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CrudiniGet)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CorvanectlSet)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CrudiniSet)->Unit(benchmark::kMillisecond);
