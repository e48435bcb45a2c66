// The console's key and line readers, and the shipped language files.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "console/globals.h"
#include "console/input.h"
#include "config/language.h"
#include "console/lang.h"
#include "console/terminal.h"
#include "support/fixtures.h"

namespace {

const std::string ESC = "\x1b";

TEST(Keys, MenuKeysAndAnswers) {
    ConsoleCapture console;
    // The byte after ESC is not looked at; a lone ESC takes the next two keys.
    console.type(ESC + "[A" + ESC + "[B\n1\r" + ESC + "OB" + ESC + "[C" + ESC + "\n\n\n");
    for (MenuKey expected : {KEY_UP, KEY_DOWN, KEY_ENTER, KEY_NONE, KEY_NONE, KEY_DOWN, KEY_NONE, KEY_NONE, KEY_ENTER}) {
        EXPECT_EQ(read_key(), expected);
    }
    EXPECT_THROW(read_key(), ConsoleCapture::InputExhausted);

    console.type("\n\n  yes\nnope\n");
    EXPECT_EQ(test_key(), 'Y') << "Enter alone does not answer";
    EXPECT_EQ(test_key(), 'N');
    EXPECT_STREQ(yesnostr("Yes", "No"), "[y=Yes,n=No]");
    EXPECT_STREQ(yesnostr(nullptr, "No"), "[y=Yes,n=No]") << "a missing word keeps the last hint";
    console.take_output();
    console.type("JA\nnein\n");
    EXPECT_EQ(get_yesno("ja", "nein", "Speichern?"), 1);
    EXPECT_EQ(get_yesno("ja", "nein", "Speichern?"), 0);
    EXPECT_EQ(console.take_output(), "\nSpeichern? [j=ja,n=nein] : \nSpeichern? [j=ja,n=nein] : ");
    EXPECT_EQ(std::strlen(yesno(1, "A very long word for the buffer", "No")), 19u);

    // A number word leaves the rest of the line for the next reader.
    console.type("\n0 x 4\n2 MERID\n");
    EXPECT_EQ(get_int(1, 3, "[1-3] : ", "Bad"), 2u);
    EXPECT_EQ(visible(console.take_output()), visible("[1-3] : \a\nBad\n[1-3] : \a\nBad\n[1-3] : \a\nBad\n[1-3] : "));
    EXPECT_EQ(test_key(), 'M');
    console.type(ESC + "[A\n2\n");
    EXPECT_EQ(get_int(0, 3, nullptr, "Bad"), 2u) << "an ESC-led word is no number";
    console.type("1\n0\n");
    EXPECT_THROW(get_int(1, 0, nullptr, "Bad"), ConsoleCapture::InputExhausted) << "an empty range asks for ever";
    EXPECT_EQ(console::toupper('z') + console::toupper(0xE4), 'Z' + 0xE4) << "only ASCII letters change";
    EXPECT_EQ(console::tolower('Q'), 'q');
    EXPECT_FALSE(console::isdigit(256 + '7'));
}

// Every text the editor uses is worded in every shipped language, within a
// frame's width on the screen; the rest stays empty, and yes and no start
// with different letters.
TEST(Language, EveryShippedLanguageHasEveryTextTheEditorUses) {
    std::vector<int> used = {0,   2,   3,   4,   5,   7,   8,   11,  12,  15,  16,  17,  18,  19,  20,  21,  23,  24,
                             25,  26,  27,  30,  33,  34,  35,  37,  38,  41,  42,  43,  47,  49,  50,  51,  57,  58,
                             59,  60,  62,  65,  66,  68,  72,  73,  74,  77,  78,  101, 102, 103, 104, 105, 116, 117,
                             127, 129, 130, 131, 133, 135, 136, 137, 138, 139, 141, 142, 144, 146, 147, 148, 149, 150,
                             160, 161, 162, 163, 164, 165, 166, 167, 168, 170, 175, 184, 186, 187, 188, 189, 204, 205,
                             209, 222, 234, 235, 242, 246, 249, 258, 279, 280, 283, 284, 287, 303, 304, 310, 316, 317,
                             318, 320, 324, 328, 330, 332, 333, 335, 336, 337, 338, 339, 340, 341, 342, 343};
    for (auto range : {std::make_pair(79, 100), {106, 113}, {152, 157}, {171, 174}, {190, 197}, {223, 233},
                       {273, 278}, {384, 391}, {400, 421}, {1000, 1006}}) {
        for (int n = range.first; n <= range.second; ++n) used.push_back(n);
    }
    const struct {
        const char *file, *name;
        int number;
    } languages[] = {{"lang_00.ini", "English", 0}, {"lang_01.ini", "Deutsch", 1}};
    for (const auto &language : languages) {
        SCOPED_TRACE(language.file);
        ScratchDir dir;
        const std::string text = read_file(std::string(CORVANE_DATA_DIR) + language.file);
        EXPECT_EQ(text.substr(0, text.find('\n')), language.name);
        dir.write(language.file, text);
        ASSERT_EQ(AllocText(), 0);
        ASSERT_EQ(LoadText(kCorvane, language.number), 0);
        int worded = 0;
        for (int n = 0; n < kTextCount; ++n) worded += LangText[n][0] != '\0';
        for (int n : used) {
            EXPECT_GT(std::strlen(LangText[n]), 0u) << "text " << n << " is used but empty";
            EXPECT_NE(std::string(LangText[n]).substr(0, 5), "Text ") << "text " << n << " is missing";
            EXPECT_LE(columns(LangText[n]), n == kTextWindowTooSmall ? 100u : 62u) << "text " << n << " is too wide";
        }
        EXPECT_EQ(worded, static_cast<int>(used.size())) << "texts no screen uses stay empty";
        EXPECT_NE(std::tolower(LangText[316][0]), std::tolower(LangText[317][0]));
        EXPECT_STREQ(LangFileVersion, "5.3.0");
        FreeText();
    }
}

}  // namespace
