#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "console/globals.h"
#include "console/lang.h"
#include "console/terminal.h"
#include "support/console_capture.h"
#include "support/scratch_dir.h"

namespace {

// A scratch program directory holding language files.
class LanguageFiles : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(AllocText(), 0); }
    void TearDown() override { FreeText(); }
    void write(const std::string &name, const std::string &content) { dir_.write(name, content); }
    // A section with texts first..last numbered in order.
    static std::string texts(int first, int last, const std::string &word = "T") {
        std::string lines;
        char line[64];
        for (int n = first; n <= last; ++n) {
            std::snprintf(line, sizeof line, "String%03d=\"%s%d\"\n", n, word.c_str(), n);
            lines += line;
        }
        return lines;
    }
    ScratchDir dir_;
};

TEST_F(LanguageFiles, MissingTextsShowTheirNumber) {
    EXPECT_STREQ(LangText[42], "Text 042");
    EXPECT_STREQ(LangText[1099], "Text 1099");

    write("lang_00.ini", "English\n[Corvane]\n" + texts(0, 9));
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    EXPECT_STREQ(LangText[0], "T0");
    EXPECT_STREQ(LangText[9], "T9");
    EXPECT_STREQ(LangText[10], "Text 010");
    EXPECT_STREQ(LangText[1099], "Text 1099");
}

TEST_F(LanguageFiles, AMisnumberedLineStopsTheLoading) {
    // A blank before "=" makes a different key: loading stops at text 5 and
    // the texts from there on keep what they had.
    write("lang_00.ini", "English\n[Corvane]\n" + texts(0, 4, "A") + "String005 =\"x\"\n" + texts(6, 20, "A"));
    write("lang_01.ini", "Deutsch\n[Corvane]\n" + texts(0, 2, "B") + texts(4, 20, "B"));
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    EXPECT_STREQ(LangText[4], "A4");
    EXPECT_STREQ(LangText[5], "Text 005");
    EXPECT_STREQ(LangText[6], "Text 006");

    // A second language overwrites only up to its own gap (text 3 missing).
    write("lang_00.ini", "English\n[Corvane]\n" + texts(0, 20, "A"));
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    ASSERT_EQ(LoadText(kCorvane, 1), 0);
    EXPECT_STREQ(LangText[2], "B2");
    EXPECT_STREQ(LangText[3], "A3");
    EXPECT_STREQ(LangText[20], "A20");
}

TEST_F(LanguageFiles, QuotesLineEndsAndLength) {
    std::string long_text(150, 'L');
    write("lang_00.ini",
          "English\r\n[Corvane]\r\n"
          "String000=\"crlf\"\r\n"
          "String001=\"no closing quote\n"
          "String002=\"say \"hi\" twice\"\n"
          "String003=\"" + long_text + "\"\n"
          "String004=\"\"\n"
          "String005=\n"
          "String006=unquoted\n"
          "String007=\"" + std::string(100, 'x') + "\"\n");
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    EXPECT_STREQ(LangText[0], "crlf");
    EXPECT_STREQ(LangText[1], "no closing quote");
    EXPECT_STREQ(LangText[2], "say \"hi\" twice") << "up to the last quote";
    EXPECT_EQ(std::string(LangText[3]), std::string(100, 'L')) << "at most 100 characters";
    EXPECT_STREQ(LangText[4], "");
    EXPECT_STREQ(LangText[5], "");
    EXPECT_STREQ(LangText[6], "nquoted") << "the text always starts two characters after =";
    EXPECT_EQ(std::string(LangText[7]), std::string(100, 'x'));
    EXPECT_STREQ(LangText[8], "Text 008");
}

TEST_F(LanguageFiles, VersionLineOnlyBeforeTheSection) {
    write("lang_00.ini", "English\nVersion: 1.0\nVersion:2.5.1 beta\n[Corvane]\nVersion: 9\n" + texts(0, 3));
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    EXPECT_STREQ(LangFileVersion, "2.5.1 beta") << "the last one before the header wins";

    write("lang_01.ini", "English\nVersion: 12345678901234567890123\n[Corvane]\n");
    ASSERT_EQ(LoadText(kCorvane, 1), 0);
    EXPECT_STREQ(LangFileVersion, "12345678901234567890");

    write("lang_02.ini", "English\n[Corvane]\n");
    ASSERT_EQ(LoadText(kCorvane, 2), 0);
    EXPECT_STREQ(LangFileVersion, "") << "cleared for a file without a version";
}

TEST_F(LanguageFiles, MissingFileOrSectionAreReportedByResult) {
    EXPECT_EQ(LoadText(kCorvane, 5), 1);
    write("lang_00.ini", "English\n[Tarnwick]\n" + texts(0, 3) + "[Corvan]\n");
    EXPECT_EQ(LoadText(kCorvane, 0), 2);
    EXPECT_STREQ(LangText[0], "Text 000") << "nothing loaded from a file without the section";

    // Each program kind reads its own section; Halverton's files have their own name.
    write("lang1_00.ini", "English\n[Halverton]\n" + texts(0, 99, "H"));
    EXPECT_EQ(LoadText(kHalverton, 0), 0);
    EXPECT_STREQ(LangText[1], "H1");
    EXPECT_STREQ(sys_mess[0], "H80") << "status texts come from 80-99";
    EXPECT_STREQ(sys_mess[19], "H99");
    EXPECT_STREQ(LM[0], "H1   [ Version 5.3.0 ]");
    EXPECT_STREQ(LM[49], "H50");
}

TEST_F(LanguageFiles, TheEditorsOwnKindLeavesStatusTextsAlone) {
    write("lang_00.ini", "English\n[Corvane]\n" + texts(0, 99, "C"));
    std::strcpy(sys_mess[0], "kept");
    std::strcpy(sys_mess[12], "kept too");
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    EXPECT_STREQ(sys_mess[0], "kept");
    EXPECT_STREQ(sys_mess[12], "kept too");
}

TEST_F(LanguageFiles, ChoiceListsTheFilesPresentAndStoresTheChoice) {
    write("lang_00.ini", "English\n[Corvane]\n" + texts(0, 400, "E"));
    write("lang_01.ini", "Deutsch\r\n[Corvane]\n" + texts(0, 400, "D"));
    write("lang_02.ini", "A name far longer than thirty characters\n[Corvane]\n");
    write("lang_04.ini", "Hidden behind the gap\n[Corvane]\n");
    ConsoleCapture console;
    console.type("7\n3\n");
    unsigned char master = 0, working = 1;
    EXPECT_EQ(choice_language(&master, &working), 0);
    EXPECT_EQ(master, 2);
    EXPECT_STREQ(LangText[0], "D0") << "texts come from the working record's language";
    std::string shown = console.take_output();
    EXPECT_EQ(visible(shown), visible("\n\r    1. English\n\r    2. Deutsch\r\n\r    3. A name far longer than thirty "
                                      "\n\r [1-3] : \a\nText 333\n\n\r [1-3] : "))
        << "names are cut to 30 characters; the error text is the one loaded before the choice";
}

TEST_F(LanguageFiles, ChoiceWithoutFilesWaitsForever) {
    ConsoleCapture console;
    console.type("1\n0\n");
    unsigned char master = 0, working = 0;
    EXPECT_THROW(choice_language(&master, &working), ConsoleCapture::InputExhausted);
    EXPECT_NE(console.take_output().find("[1-0]"), std::string::npos);
}

void choose_first_language() {
    ConsoleCapture console;
    console.type("1\n");
    ConsoleOut = stdout;
    unsigned char master = 0, working = 0;
    choice_language(&master, &working);
}

TEST_F(LanguageFiles, ChoiceEndsTheProgramWhenTextsCannotLoad) {
    write("lang_00.ini", "English\n(no section)\n");
    EXPECT_EXIT(choose_first_language(), ::testing::ExitedWithCode(5), "");
}

// Every text number some screen, message or default uses.
std::vector<int> used_text_numbers() {
    std::vector<int> numbers = {0,   2,   3,   4,   5,   7,   8,   11,  12,  15,  16,  17,  18,  19,  20,  21,
                                23,  24,  25,  26,  27,  30,  33,  34,  35,  37,  38,  41,  42,  43,  47,  49,
                                50,  51,  57,  58,  59,  60,  62,  65,  66,  68,  72,  73,  74,  77,  78,  101,
                                102, 103, 104, 105, 116, 117, 127, 129, 130, 131, 133, 135, 136, 137, 138, 139,
                                141, 142, 144, 146, 147, 148, 149, 150, 160, 161, 162, 163, 164, 165, 166, 167,
                                168, 170, 175, 184, 186, 187, 188, 189, 204, 205, 209, 222, 234, 235, 242, 246,
                                249, 258, 279, 280, 283, 284, 287, 303, 304, 310, 316, 317, 318, 320, 324, 328,
                                330, 332, 333, 335, 336, 337, 338, 339, 340, 341, 342, 343, 1000};
    auto range = [&](int first, int last) {
        for (int n = first; n <= last; ++n) numbers.push_back(n);
    };
    range(79, 100);   // job and event names
    range(106, 113);  // action labels
    range(152, 157);  // group shutdown switches and delays
    range(171, 174);  // qualifier forms
    range(190, 197);  // modem screen
    range(223, 233);  // periods and weekdays
    range(273, 278);  // schedule actions
    range(384, 391);  // default messages of jobs 22-29
    range(400, 421);  // default messages of the job-status file
    return numbers;
}

TEST(ShippedLanguage, EnglishHasEveryTextTheEditorUses) {
    std::string saved = ProgramDir;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", CORVANE_DATA_DIR);
    ASSERT_EQ(AllocText(), 0);
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    int empty_count = 0;
    for (int n = 0; n < kTextCount; ++n) {
        char placeholder[16];
        std::snprintf(placeholder, sizeof placeholder, "Text %03d", n);
        EXPECT_STRNE(LangText[n], placeholder) << "every line present, in order: text " << n;
        if (!LangText[n][0]) ++empty_count;
    }
    for (int n : used_text_numbers()) {
        EXPECT_GT(std::strlen(LangText[n]), 0u) << "text " << n << " is used but empty";
        EXPECT_LE(std::strlen(LangText[n]), 62u) << "text " << n << " does not fit a framed title";
    }
    EXPECT_EQ(empty_count, kTextCount - static_cast<int>(used_text_numbers().size()))
        << "texts no screen uses stay empty";
    // The save question is answered by the first letter of yes or no.
    EXPECT_NE(std::tolower(LangText[316][0]), std::tolower(LangText[317][0]));
    EXPECT_STREQ(LangFileVersion, "5.3.0");
    FreeText();
    std::snprintf(ProgramDir, kProgramDirSize, "%s", saved.c_str());

    // The list of languages shows its first line.
    std::ifstream file(std::string(CORVANE_DATA_DIR) + "lang_00.ini");
    std::string first;
    std::getline(file, first);
    EXPECT_EQ(first, "English");
}

}  // namespace
