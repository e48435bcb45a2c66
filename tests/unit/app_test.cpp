// Model codes, every screen of every shipped language within 80 columns, and
// every fuzz seed and regression input through the checks the fuzzers apply.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <glob.h>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "app/main_menu.h"
#include "config/ini_reader.h"
#include "config/language.h"
#include "config/model_code.h"
#include "config/record.h"
#include "console/lang.h"
#include "console/view.h"
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

// Keys a curious administrator presses, the screens drawn for them read
// back: what they need of the window, and the title of each.
class Walk {
public:
    explicit Walk(unsigned seed) : random_(seed) { current_ = this; }
    ~Walk() { current_ = nullptr; }
    std::map<std::string, std::string> too_wide;  // title: the row, for every screen wider than 80 columns
    std::set<std::string> titles;

private:
    static int next_byte() {  // the keys of a move or a line one by one, a new one when they are out
        Walk &w = *current_;
        static const char *const kLines[] = {"", "1", "5", "100", "65535", "abc", "*", "Ein langer Name mit Umlauten äöü!"};
        if (w.keys_.empty()) {
            if (w.look(w.console_.take_output()), ++w.pressed_ > kKeys) return -1;
            int roll = std::uniform_int_distribution<int>(0, 99)(w.random_);
            w.keys_ = roll < 48 ? "\x1b[B" : roll < 70 ? "\x1b[A" : roll < 92 ? "\n" : std::string(kLines[roll % 8]) + "\n";
        }
        int c = static_cast<unsigned char>(w.keys_[0]);
        return w.keys_.erase(0, 1), c;
    }
    void look(const std::string &output) {
        size_t clear = output.rfind("\033[2J");
        frame_ = clear == std::string::npos ? frame_ + output : output.substr(clear);
        // Not for a marker that moved, nor for a frame drawn before.
        if ((clear == std::string::npos && output.find('\n') == std::string::npos) || !measured_.insert(std::hash<std::string>()(frame_)).second) return;
        std::string title;
        for (const auto &cells : picture_of(frame_.data(), frame_.size(), Colours()).rows) {
            std::string row;
            for (const auto &cell : cells) row += cell.size ? std::string(cell.bytes, cell.size) : " ";
            size_t first = row.find_first_not_of("* ");
            if (title.empty() && row.compare(0, 5, "**** ") == 0 && first != std::string::npos) title = row.substr(first, row.find("  ", first) - first);
            if (cells.size() > 80 && !too_wide.count(title)) too_wide[title] = row;
        }
        titles.insert(title);
    }
    static constexpr int kKeys = 6000;
    static inline Walk *current_ = nullptr;
    std::mt19937 random_;
    ConsoleCapture console_;
    Swap<int (*)()> reader_{ConsoleReadByte, next_byte};
    std::string keys_, frame_;
    std::set<size_t> measured_;
    int pressed_ = 0;
};

// Every screen, walked with the values of the demo and of the full-size
// directory, in every shipped language: no row wider than a standard
// terminal, and no language text taken for a format. The walks see some
// sixty screens and entries (by their titles); far fewer means they no
// longer get past the first menus.
TEST(Screens, EveryRowOfEveryLanguageFitsEightyColumns) {
    for (const char *fixture : {CORVANE_DEMO_DIR, CORVANE_TEST_DATA "full"}) {
        for (int language : {0, 1, 2}) {  // 2: English, every text a string of formats
            SCOPED_TRACE(std::string(fixture) + " in language " + std::to_string(language));
            ScratchDir dir;
            dir.copy_from(fixture);
            const std::string name = "lang_0" + std::to_string(language) + ".ini";
            std::string text = read_file(std::string(CORVANE_DATA_DIR) + (language == 2 ? "lang_00.ini" : name));
            if (language == 2) text = std::regex_replace(text, std::regex("^(String[0-9]+)=\".*\"$", std::regex::multiline), "$1=\"%n%s%x%n\"");
            dir.write(name, text);
            ASSERT_EQ(LoadINI(), 0);
            ASSERT_TRUE(AllocText() == 0 && LoadText(kCorvane, language) == 0);
            INI1 = INI;
            std::set<std::string> titles;
            for (unsigned seed = 1; seed <= 6; ++seed) {
                Walk walk(seed);
                try {
                    for (;;) main_menu();
                } catch (const ConsoleCapture::InputExhausted &) {
                }
                for (const auto &wide : walk.too_wide) ADD_FAILURE() << wide.first << ":\n" << wide.second;
                titles.insert(walk.titles.begin(), walk.titles.end());
            }
            if (language < 2) {  // the formats' titles are all alike
                EXPECT_GE(titles.size(), 50u) << "the walks stopped short: screens seen: " << titles.size();
            }
            FreeText();
        }
    }
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
