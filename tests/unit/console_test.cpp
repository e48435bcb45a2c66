// The console's key and line readers, and the shipped language files.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
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
    // The byte after ESC is not looked at; a lone ESC takes the next two keys; a NUL is a key.
    console.type(ESC + "[A" + ESC + "[B\n1" + std::string(1, '\0') + "\r" + ESC + "OB" + ESC + "[C" + ESC + "\n\n\n");
    for (MenuKey expected : {KEY_UP, KEY_DOWN, KEY_ENTER, KEY_NONE, KEY_NONE, KEY_NONE, KEY_DOWN, KEY_NONE, KEY_NONE, KEY_ENTER}) {
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
    char centred[16] = "ab";
    EXPECT_STREQ(center(centred, 7, "-"), "--ab---") << "the odd column goes right";
}

// Every text the programs show (tools/used-texts lists them from the
// sources) is worded in every shipped language, within a frame's width on
// the screen; the rest stays empty, and yes and no start with different
// letters.
TEST(Language, EveryShippedLanguageHasEveryTextTheEditorUses) {
    const std::set<int> used = {
#include "used_texts.inc"
    };
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
        for (int n = 0; n < kTextCount; ++n) {
            if (!used.count(n)) {
                EXPECT_STREQ(LangText[n], "") << "text " << n << " is worded, but no source shows it (a bare number?)";
                continue;
            }
            EXPECT_GT(std::strlen(LangText[n]), 0u) << "text " << n << " is used but empty";
            EXPECT_NE(std::string(LangText[n]).substr(0, 5), "Text ") << "text " << n << " is missing";
            EXPECT_LE(columns(LangText[n]), n == kTextWindowTooSmall ? 100u : 62u) << "text " << n << " is too wide";
        }
        EXPECT_NE(std::tolower(LangText[316][0]), std::tolower(LangText[317][0]));
        EXPECT_STREQ(LangFileVersion, "5.3.0");
        FreeText();
    }
    ScratchDir dir;  // a line that is not the next number's ends the reading
    dir.write("lang_00.ini", "English\n[Corvane]\nString000=\"A\"\nString002=\"B\"\n");
    ASSERT_TRUE(AllocText() == 0 && LoadText(kCorvane, 0) == 0);
    EXPECT_STREQ(LangText[1], "Text 001");
    FreeText();
}

}  // namespace
