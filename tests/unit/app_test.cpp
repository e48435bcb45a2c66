// Model codes, and every fuzz seed and regression input through the checks
// the fuzzers apply.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <glob.h>
#include <sstream>
#include <string>

#include "config/model_code.h"
#include "fuzz/checks.h"
#include "support/fixtures.h"

namespace {

TEST(ModelCode, FamiliesSpeedsAndBrands) {
    const struct {
        const char *code;
        int type, family;
        unsigned baud;
        int brand;  // 255 with type 255: refused
    } cases[] = {
        {"MERID32xxxRU", 30, 0, 2400, 0},     {"TOVAR09xxxxZZ", 14, 1, 9600, 3},  // an unknown brand is no error
        {"MERID21xxx55", 21, 0, 1200, 1},     {"MERID34xxxRN", 30, 0, 4800, 2},
        {"MERID39xxxC2", 30, 0, 9600, 4},     {"MERID32xxxB8", 30, 0, 2400, 5},
        {"TOVAR0yxxxB8", 255, 0, 2400, 255},  {"MERID32xxxR", 255, 0, 2400, 255},
        {"merid32xxxRU", 255, 0, 2400, 255},  {"ABCDE32xxxRU", 255, 0, 2400, 255}, {"", 255, 0, 2400, 255},
    };
    for (const auto &c : cases) {
        FindUpsModelTxt("TOVAR09xxxxZZ");  // a valid result before, so that a reset shows
        const auto *found = FindUpsModelTxt(c.code);
        EXPECT_EQ(found != nullptr, c.type != 255) << c.code;
        EXPECT_STREQ(FindModel.name, c.type != 255 ? c.code : "Unknow model") << c.code;
        EXPECT_EQ(FindModel.model_type, c.type) << c.code;
        EXPECT_EQ(FindModel.family, c.family) << c.code;
        EXPECT_EQ(FindModel.baud, c.baud) << c.code;
        EXPECT_EQ(FindModel.brand, c.brand) << c.code;
        EXPECT_EQ(GetBrand(c.code), c.brand) << c.code;
    }
    // Read only within its field; the name keeps at most 50 characters.
    char field[12];
    std::memcpy(field, "MERID32xxxRUtrailing", sizeof field);
    ASSERT_NE(FindUpsModelTxt(field, sizeof field), nullptr);
    EXPECT_STREQ(FindModel.name, "MERID32xxxRU");
    EXPECT_EQ(std::strlen(FindUpsModelTxt(std::string(80, 'X').replace(0, 12, "MERID32xxxRU").c_str())->name), 50u);
}

std::vector<std::string> expand(const std::string &pattern) {
    std::vector<std::string> paths;
    glob_t found;
    if (glob((std::string(CORVANE_SOURCE_DIR) + pattern).c_str(), 0, nullptr, &found) == 0) {
        for (size_t i = 0; i < found.gl_pathc; ++i) paths.push_back(found.gl_pathv[i]);
    }
    globfree(&found);
    return paths;
}

TEST(FuzzInputs, SeedsAndRegressionsPassTheirChecks) {
    const struct {
        const char *name;
        void (*check)(const uint8_t *, size_t);
    } targets[] = {
        {"korvel_ini", check_korvel_ini},       {"jobs_ini", check_jobs_ini},
        {"jobs_sts_ini", check_jobs_sts_ini},   {"sensor_ini", check_sensor_ini},
        {"group_ini", check_group_ini},         {"language_file", check_language_file},
        {"group_profile", check_group_profile}, {"schedules", check_schedules},
        {"model_code", check_model_code},
    };
    ScratchDir keep_program_dir;  // the checks move ProgramDir about
    struct Failed { std::string what; };
    Swap<decltype(CheckFailed)> failing(CheckFailed, [](const char *what) { throw Failed{what}; });
    for (const auto &target : targets) {
        std::vector<std::string> inputs = expand("fuzz/regressions/" + std::string(target.name) + "/*");
        std::ifstream list(std::string(CORVANE_SOURCE_DIR) + "fuzz/seeds.list");
        for (std::string line, name, pattern; std::getline(list, line);) {
            std::istringstream words(line);
            if (!(words >> name) || name != target.name) continue;
            while (words >> pattern) {
                for (const std::string &path : expand(pattern)) inputs.push_back(path);
            }
        }
        EXPECT_GT(inputs.size(), 0u) << "no seeds for " << target.name;
        for (const std::string &path : inputs) {
            std::string bytes = read_file(path);
            try {
                target.check(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
            } catch (const Failed &failed) {
                ADD_FAILURE() << path << ": " << failed.what;
            }
        }
    }
}

}  // namespace
