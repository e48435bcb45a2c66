// Corvane's reader against a peer, libinih, on the same bytes: the full-size
// Korvel directory (korvel.ini, the job, job-status and sensor files, ten
// group files). libinih only splits the files into sections, keys and
// values and hands them to a handler; Corvane's load also finds every field,
// converts and stores it, decodes the schedules and makes the working copy.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <ini.h>

#include "config/ini_reader.h"
#include "config/files.h"

namespace {

const std::vector<std::string> &full_directory_files() {
    static std::vector<std::string> files;
    if (files.empty()) {
        for (const char *name : {"korvel.ini", "jobs.ini", "jobsSTS.ini", "sensor.ini"}) {
            files.push_back(std::string(CORVANE_TEST_DATA) + "full/" + name);
        }
        for (int group = 0; group < 10; ++group) {
            char name[32];
            std::snprintf(name, sizeof name, "full/group_%02d.ini", group);
            files.push_back(std::string(CORVANE_TEST_DATA) + name);
        }
    }
    return files;
}

// A handler that touches what it is given, as any user of the parser must.
int count_pair(void *user, const char *section, const char *name, const char *value) {
    *static_cast<size_t *>(user) += std::strlen(section) + std::strlen(name) + std::strlen(value);
    return 1;
}

void BM_PeerParse(benchmark::State &state) {
    size_t bytes = 0;
    for (auto _ : state) {
        for (const std::string &file : full_directory_files()) {
            if (ini_parse(file.c_str(), count_pair, &bytes) != 0) state.SkipWithError("libinih failed");
        }
    }
    benchmark::DoNotOptimize(bytes);
}

void BM_CorvaneLoad(benchmark::State &state) {
    std::snprintf(ProgramDir, kProgramDirSize, "%sfull/", CORVANE_TEST_DATA);
    for (auto _ : state) {
        actual_section = 255;
        if (LoadINI() != 0) state.SkipWithError("load failed");
    }
}

}  // namespace

BENCHMARK(BM_PeerParse)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CorvaneLoad)->Unit(benchmark::kMicrosecond);
