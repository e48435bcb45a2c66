#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "console/input.h"
#include "console/terminal.h"
#include "support/console_capture.h"

namespace {

const std::string ESC = "\x1b";
const std::string kCyan = ESC + "[1;36m";
const std::string kWhite = ESC + "[1;37m";

TEST(MenuKeys, ArrowsEnterAndEverythingElse) {
    ConsoleCapture console;
    console.type(ESC + "[A" + ESC + "[B" + "\n" + "1" + "\r" + ESC + "OB" + ESC + "[C");
    EXPECT_EQ(read_key(), KEY_UP);
    EXPECT_EQ(read_key(), KEY_DOWN);
    EXPECT_EQ(read_key(), KEY_ENTER);
    EXPECT_EQ(read_key(), KEY_NONE) << "digits do not select";
    EXPECT_EQ(read_key(), KEY_NONE) << "only line feed is Enter";
    EXPECT_EQ(read_key(), KEY_DOWN) << "the byte after ESC is not looked at";
    EXPECT_EQ(read_key(), KEY_NONE);
    EXPECT_EQ(console.unread(), 0u);

    // A lone ESC swallows the next two keys, whatever they are.
    console.type(ESC + "\n\n" + "\n");
    EXPECT_EQ(read_key(), KEY_NONE);
    EXPECT_EQ(read_key(), KEY_ENTER);
    EXPECT_THROW(read_key(), ConsoleCapture::InputExhausted);
}

TEST(TextEntry, KeepsMaxMinusTwoAndRingsPerDroppedCharacter) {
    ConsoleCapture console;
    char field[32];
    std::strcpy(field, "old");
    console.type(std::string(35, 'x') + "\n");
    get_str(field, 32, "New value");
    EXPECT_EQ(std::string(field), std::string(30, 'x'));
    EXPECT_EQ(visible(console.take_output()), visible("\nNew value\t" + kCyan + std::string(5, '\a')));

    // Exactly max - 2 characters: all kept, no bell.
    console.type(std::string(30, 'y') + "\r");
    get_str(field, 32, "p");
    EXPECT_EQ(std::string(field), std::string(30, 'y'));
    EXPECT_EQ(console.take_output().find('\a'), std::string::npos);
}

TEST(TextEntry, EmptyOrEscapeLeavesTheFieldAlone) {
    ConsoleCapture console;
    char field[32] = "keep me";
    console.type("\n");
    get_str(field, 32, "p");
    EXPECT_STREQ(field, "keep me");
    console.type(ESC + "[Anew\n");
    get_str(field, 32, "p");
    EXPECT_STREQ(field, "keep me");

    // A shorter entry replaces the whole old text, not just its start.
    console.type("ab\n");
    get_str(field, 32, "p");
    EXPECT_STREQ(field, "ab");

    // What the files cannot hold is refused with the bell.
    console.take_output();
    console.type(std::string("a\"b") + '\0' + "c\n");
    get_str(field, 32, "p");
    EXPECT_STREQ(field, "abc");
    EXPECT_EQ(console.take_output().substr(std::string("\np\t").size() + 7), "\a\a");

    // Fields wider than the usual lines (paths of 260) keep their full width.
    char path[260];
    console.type(std::string(300, 'p') + "\n");
    get_str(path, 260, "p");
    EXPECT_EQ(std::strlen(path), 258u);
}

TEST(TextEntry, ModelCodePromptWaitsForSomething) {
    ConsoleCapture console;
    char code[32] = "";
    console.type("\n\r\nMERID32XXXRU\n");
    get_prtk(code, 32, "UPS model code");
    EXPECT_STREQ(code, "MERID32XXXRU");
    EXPECT_EQ(console.take_output(), "\nUPS model code: ") << "no colour, one prompt";

    // With only empty lines typed it is still waiting.
    console.type("\n\n");
    EXPECT_THROW(get_prtk(code, 32, "p"), ConsoleCapture::InputExhausted);
}

TEST(NumberEntry, RefusedNumbersKeepTheOldValueAfterTheMessage) {
    ConsoleCapture console;
    for (const char *typed : {"0\n", "-1\n", "32\n", "99999999999999999999\n"}) {
        console.type(typed);
        EXPECT_EQ(get_int1(1, 31, 5, "", "Out of range"), 5) << typed;
        EXPECT_EQ(visible(console.take_output()), visible(kWhite + "\a\nOut of range\n")) << typed;
        EXPECT_EQ(console.sleeps, std::vector<unsigned long>{2000000}) << typed;
        EXPECT_NE(console.shown_at_last_pause.find("Out of range"), std::string::npos);
        console.sleeps.clear();
    }

    console.type("70000\n");
    EXPECT_EQ(get_int1(1000, 65535, 1234, "", "e"), 1234);
    EXPECT_EQ(console.sleeps.size(), 1u);
}

TEST(NumberEntry, AcceptedNumbersAndTheDefault) {
    ConsoleCapture console;
    console.type("\n");
    EXPECT_EQ(get_int1(1, 31, 5, "", "e"), 5);
    console.type(ESC + "[A\n");
    EXPECT_EQ(get_int1(1, 31, 5, "", "e"), 5);
    console.type("12abc\n");
    EXPECT_EQ(get_int1(1, 31, 5, "", "e"), 12);
    console.type("  +7\r");
    EXPECT_EQ(get_int1(1, 31, 5, "", "e"), 7);
    console.type("31\n");
    EXPECT_EQ(get_int1(1, 31, 5, "", "e"), 31);
    EXPECT_TRUE(console.sleeps.empty()) << "nothing refused, nothing waited";
    EXPECT_EQ(console.take_output(), kWhite + kWhite + kWhite + kWhite + kWhite) << "only the colour reset";

    // A range reaching past 16 bits hands back the low 16 bits.
    console.type("70000\n");
    EXPECT_EQ(get_int1(0, 100000, 0, "", "e"), 70000 & 0xFFFF);

    // A line far longer than any number is bounded, not overrun.
    console.type(std::string(5000, '9') + "\n");
    EXPECT_EQ(get_int1(0, 65535, 42, "", "e"), 42);
    EXPECT_EQ(console.unread(), 0u);
}

TEST(NumberEntry, AskedUntilValidWithoutDefault) {
    ConsoleCapture console;
    console.type("\n0 x 4\n2\n");
    EXPECT_EQ(get_int(1, 3, "[1-3] : ", "Bad"), 2u);
    EXPECT_EQ(visible(console.take_output()),
              visible("[1-3] : \a\nBad\n[1-3] : \a\nBad\n[1-3] : \a\nBad\n[1-3] : "));
    EXPECT_TRUE(console.sleeps.empty());

    // An empty range can never be satisfied: it keeps asking.
    console.type("1\n0\n");
    EXPECT_THROW(get_int(1, 0, nullptr, "Bad"), ConsoleCapture::InputExhausted);
}

TEST(Answers, SaveQuestionWordAndHints) {
    {
        ConsoleCapture console;
        console.type("\n\n  yes please\n");
        EXPECT_EQ(test_key(), 'Y') << "Enter alone does not answer";
    }
    {
        ConsoleCapture console;
        console.type("nope\n");
        EXPECT_EQ(test_key(), 'N');
    }

    EXPECT_STREQ(yesnostr("Yes", "No"), "[y=Yes,n=No]");
    EXPECT_STREQ(yesnostr(nullptr, "No"), "[y=Yes,n=No]") << "a missing word keeps the last hint";
    EXPECT_STREQ(yesnostr("Ja", "Nein"), "[j=Ja,n=Nein]");

    {
        ConsoleCapture console;
        console.type("JA\n");
        EXPECT_EQ(get_yesno("ja", "nein", "Speichern?"), 1);
        EXPECT_EQ(console.take_output(), "\nSpeichern? [j=ja,n=nein] : ");
    }
    {
        ConsoleCapture console;
        console.type("nein\n");
        EXPECT_EQ(get_yesno("ja", "nein", "Speichern?"), 0);
    }

    EXPECT_STREQ(yesno(1, "Yes", "No"), "Yes");
    EXPECT_STREQ(yesno(0, "Yes", "No"), "No");
    EXPECT_STREQ(yesno(1, nullptr, "No"), "No") << "a null text leaves the buffer";
    EXPECT_EQ(std::strlen(yesno(1, "A very long word for the buffer", "No")), 19u);
}

TEST(Answers, WordsLeaveTheRestOfTheLineUnread) {
    ConsoleCapture console;
    console.type("2 MERID\n");
    EXPECT_EQ(get_int(1, 5, nullptr, "e"), 2u);
    EXPECT_EQ(console.unread(), 6u);
    EXPECT_EQ(test_key(), 'M');
}

TEST(Digits, LeadingDigitsOnly) {
    uint16_t value = 99;
    EXPECT_EQ(getnum("1234abc", &value), 4);
    EXPECT_EQ(value, 1234);
    EXPECT_EQ(getnum("x12", &value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(getnum("70000", &value), 5);
    EXPECT_EQ(value, 70000 & 0xFFFF);

    EXPECT_EQ(console::toupper('a'), 'A');
    EXPECT_EQ(console::toupper(0xE4), 0xE4) << "only ASCII letters change";
    EXPECT_EQ(console::tolower('Q'), 'q');
    EXPECT_TRUE(console::isdigit('7'));
    EXPECT_FALSE(console::isdigit(256 + '7'));
    EXPECT_FALSE(console::isdigit(-1));
}

TEST(InsertValueScreen, FramesTheLabel) {
    ConsoleCapture console;
    menu_insert_value("Name");
    std::string side = "\n\r****" + std::string(62, ' ') + "****";
    std::string expected = ESC + "[2J" + ESC + "[07;00H" + "\n\r" + std::string(70, '*') + side + "\n\r****" +
                           std::string(29, ' ') + "Name" + std::string(29, ' ') + "****" + side + "\n\r" +
                           std::string(70, '*') + "\n\r" + std::string(70, '-') + "\n\r      Name:\t" + kCyan;
    EXPECT_EQ(visible(console.take_output()), visible(expected));
}

}  // namespace
