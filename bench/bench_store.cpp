// Loading and saving a full-size Korvel directory: 16 UPS entries, every
// recipient, schedule and sensor, 30 + 30 jobs and ten group files (one of
// them with all 64 events). Start-up pays one load, leaving with a save one
// save.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/files.h"

static void use_copy_of_full_directory() {
    static std::string directory;
    if (directory.empty()) {
        char pattern[] = "/tmp/corvane-bench-XXXXXX";
        if (!mkdtemp(pattern)) std::abort();
        directory = pattern;
        std::string copy = "cp " CORVANE_TEST_DATA "full/* " + directory;
        if (std::system(copy.c_str()) != 0) std::abort();
    }
    std::snprintf(ProgramDir, kProgramDirSize, "%s/", directory.c_str());
}

static void BM_LoadFullDirectory(benchmark::State &state) {
    use_copy_of_full_directory();
    for (auto _ : state) {
        if (LoadINI() != 0) state.SkipWithError("load failed");
    }
}
BENCHMARK(BM_LoadFullDirectory)->Unit(benchmark::kMicrosecond);

static void BM_SaveFullDirectory(benchmark::State &state) {
    use_copy_of_full_directory();
    if (LoadINI() != 0) state.SkipWithError("load failed");
    for (auto _ : state) {
        if (SaveINI() != 0) state.SkipWithError("save failed");
    }
}
BENCHMARK(BM_SaveFullDirectory)->Unit(benchmark::kMicrosecond)->UseRealTime()->MeasureProcessCPUTime();

// The save as it was before the journal and the history, which is still
// how it saves where Corvane's directory cannot be: the reference the
// journaled save is measured against.
static void BM_SaveFullDirectoryWithoutJournal(benchmark::State &state) {
    use_copy_of_full_directory();
    if (LoadINI() != 0) state.SkipWithError("load failed");
    std::string own = std::string(ProgramDir) + ".corvane";
    std::system(("rm -rf " + own + " && touch " + own).c_str());  // a file where the directory would be
    for (auto _ : state) {
        if (SaveINI() != 0) state.SkipWithError("save failed");
    }
    std::system(("rm -f " + own).c_str());
}
BENCHMARK(BM_SaveFullDirectoryWithoutJournal)->Unit(benchmark::kMicrosecond)->UseRealTime()->MeasureProcessCPUTime();
