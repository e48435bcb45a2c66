// Every seed of the fuzz targets, and every input that once broke the
// editor, through the same checks the fuzzers apply.
#include <gtest/gtest.h>

#include <fstream>
#include <glob.h>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/checks.h"
#include "support/scratch_dir.h"

namespace {

struct Target {
    const char *name;
    void (*check)(const uint8_t *, size_t);
};

const Target kTargets[] = {
    {"korvel_ini", check_korvel_ini},       {"jobs_ini", check_jobs_ini},
    {"jobs_sts_ini", check_jobs_sts_ini},   {"sensor_ini", check_sensor_ini},
    {"group_ini", check_group_ini},         {"language_file", check_language_file},
    {"group_profile", check_group_profile}, {"schedules", check_schedules},
    {"model_code", check_model_code},
};

std::vector<std::string> expand(const std::string &pattern) {
    std::vector<std::string> paths;
    glob_t found;
    if (glob((std::string(CORVANE_SOURCE_DIR) + pattern).c_str(), 0, nullptr, &found) == 0) {
        for (size_t i = 0; i < found.gl_pathc; ++i) paths.push_back(found.gl_pathv[i]);
    }
    globfree(&found);
    return paths;
}

// The seeds fuzz/seeds.list names for `target`, and its regression inputs.
std::vector<std::string> inputs_of(const std::string &target) {
    std::ifstream list(std::string(CORVANE_SOURCE_DIR) + "fuzz/seeds.list");
    std::vector<std::string> paths;
    for (std::string line; std::getline(list, line);) {
        std::istringstream words(line);
        std::string name, pattern;
        if (!(words >> name) || name != target) continue;
        while (words >> pattern) {
            for (const std::string &path : expand(pattern)) paths.push_back(path);
        }
    }
    for (const std::string &path : expand("fuzz/regressions/" + target + "/*")) paths.push_back(path);
    return paths;
}

class FuzzInputs : public ::testing::TestWithParam<Target> {};

TEST_P(FuzzInputs, PassTheirChecks) {
    ScratchDir keep_program_dir;  // the checks move ProgramDir about
    std::vector<std::string> inputs = inputs_of(GetParam().name);
    ASSERT_FALSE(inputs.empty()) << "no seeds for " << GetParam().name;
    for (const std::string &path : inputs) {
        SCOPED_TRACE(path);
        std::string bytes = read_file(path);
        GetParam().check(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
}

INSTANTIATE_TEST_SUITE_P(Readers, FuzzInputs, ::testing::ValuesIn(kTargets),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
