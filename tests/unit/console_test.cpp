// The console: escape sequences, frames and padding byte for byte, the key
// and line readers, waits and commands through their seams, the debug
// trace, and the language files.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "console/globals.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/terminal.h"
#include "support/fixtures.h"

namespace {

const std::string ESC = "\x1b", kCyan = ESC + "[1;36m", kWhite = ESC + "[1;37m";

// The screens' golden frames hold the ordinary drawing; these are its edges.
TEST(Terminal, DrawingAtItsEdges) {
    ConsoleCapture console;
    print_escapeseq(SEQ_COUNT);  // one past the table: nothing, and no stray read
    cursor_gotopos(150, 120, 7);
    print_center(std::string(70, 'T').c_str());
    EXPECT_EQ(console.take_output(), ESC + "[99;99H" + "\n\r****" + std::string(70, 'T') + "****");
}

TEST(Terminal, PaddingAndCentringInPlace) {
    const struct {
        bool centre;
        const char *text;
        unsigned width;
        const char *fill, *expected;
    } cases[] = {{false, "ab", 5, " ", "ab   "}, {false, "ab   ", 3, ".", "ab   "},   {false, "", 4, "-", "----"},
                 {true, "ab", 7, ".", "..ab..."},  {true, "ab", 6, "<>", "<><>ab"}, {true, "toolong", 4, ".", "toolong"},
                 {true, "x", 200, ".", "x"},
                 // what the terminal shows counts: one column per UTF-8 character
                 {false, "Grün", 6, " ", "Grün  "}, {true, "Grün", 8, ".", "..Grün.."}, {true, "äbc", 5, "<<<", "<<<äb"}};
    for (const auto &c : cases) {
        char text[300];
        std::strcpy(text, c.text);
        EXPECT_STREQ(c.centre ? center(text, c.width, c.fill) : dopln(text, c.width, c.fill), c.expected) << c.text;
    }
}

TEST(Terminal, WaitsCommandsAndTheTraceGoThroughTheirSeams) {
    // The editor's own way of running commands: plain ones started directly.
    const struct {
        const char *command;
        int status;
    } commands[] = {{"true", 0}, {"false", 1 << 8}, {"sh -c exit", 0}, {"test 1 = 2", 1 << 8}, {"exit 3", 3 << 8},
                    {"test \"a b\" = \"a b\"", 0}, {"no-such-program-anywhere", 127 << 8}};
    for (const auto &c : commands) EXPECT_EQ(ConsoleShell(c.command), c.status) << c.command;

    ConsoleCapture console;
    ussleep(1);
    ussleep(2);
    sleepp(3);
    s_tick();
    EXPECT_EQ(console.sleeps, (std::vector<unsigned long>{20, 2, 3000, 20}));
    con_puts("drawn");
    EXPECT_EQ(run_command("stty -echo -icanon"), 0);
    EXPECT_EQ(console.commands, std::vector<std::string>{"stty -echo -icanon"});
    EXPECT_EQ(console.shown_at_last_pause, "drawn") << "what was drawn reaches the screen first";
    beep();
    EXPECT_EQ(console.take_output(), "drawn\a");

    // The trace: silent unless switched on, to the screen or appended to a log.
    ScratchDir dir;
    const struct {
        int debug, log;
        const char *text, *shown, *logged;
    } traces[] = {{0, 0, "first ", "", "<missing>"}, {1, 0, "second ", "second ", "<missing>"},
                  {0, 1, "one ", "", "one "}, {0, 1, "two ", "", "one two "}};
    for (const auto &t : traces) {
        bDebug = static_cast<unsigned char>(t.debug);
        bDebugLog = static_cast<unsigned char>(t.log);
        printfc(t.text);
        EXPECT_EQ(console.take_output(), t.shown);
        EXPECT_EQ(dir.read("debugs.log"), t.logged);
    }
    bDebug = bDebugLog = 0;
}

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
    console.type("1\n0\n");
    EXPECT_THROW(get_int(1, 0, nullptr, "Bad"), ConsoleCapture::InputExhausted) << "an empty range asks for ever";
    EXPECT_EQ(console::toupper('z') + console::toupper(0xE4), 'Z' + 0xE4) << "only ASCII letters change";
    EXPECT_EQ(console::tolower('Q'), 'q');
    EXPECT_FALSE(console::isdigit(256 + '7'));
}

TEST(TextEntry, WhatIsKeptAndWhatRings) {
    const struct {
        int max;
        std::string typed, kept;  // kept "=": the field is left as it was
        int bells;
    } cases[] = {
        {32, std::string(35, 'x') + "\n", std::string(30, 'x'), 5}, {32, std::string(30, 'y') + "\r", std::string(30, 'y'), 0},
        {32, "\n", "=", 0}, {32, ESC + "[Anew\n", "=", 0}, {32, "ab\n", "ab", 0},
        {32, std::string("a\"b") + '\0' + "c\n", "abc", 2},  // what the files cannot hold
        {260, std::string(300, 'p') + "\n", std::string(258, 'p'), 42},
        {6, "aää\n", "aä", 1},  // cut at the width, never inside a character
    };
    for (const auto &c : cases) {
        ConsoleCapture console;
        std::string field(300, 'o');  // the old value fills the field
        console.type(c.typed);
        get_str(&field[0], c.max, "New value");
        std::string expected = c.kept == "=" ? std::string(300, 'o') : c.kept + std::string(c.max - c.kept.size(), '\0') +
                                                                             std::string(300 - c.max, 'o');
        EXPECT_EQ(field, expected) << "zero-filled to max, nothing written past it: " << visible(c.typed);
        EXPECT_EQ(visible(console.take_output()), visible("\nNew value\t" + kCyan + std::string(c.bells, '\a')));
    }

    // The model code waits for something; no colour, one prompt.
    ConsoleCapture console;
    char code[32] = "";
    console.type("\n\r\nMERID32XXXRU\n");
    get_prtk(code, 32, "UPS model code");
    EXPECT_STREQ(code, "MERID32XXXRU");
    EXPECT_EQ(console.take_output(), "\nUPS model code: ");
}

TEST(NumberEntry, RangesDefaultsAndRefusals) {
    const struct {
        uint32_t low, high, fallback;
        std::string typed;
        uint16_t expected;
        bool refused;
    } cases[] = {
        {1, 31, 5, "0\n", 5, true},         {1, 31, 5, "-1\n", 5, true},       {1, 31, 5, "32\n", 5, true},
        {1, 31, 5, "99999999999999999999\n", 5, true}, {1000, 65535, 1234, "70000\n", 1234, true},
        {1, 31, 5, "\n", 5, false},         {1, 31, 5, ESC + "[A\n", 5, false}, {1, 31, 5, "12abc\n", 12, false},
        {1, 31, 5, "  +7\r", 7, false},     {1, 31, 5, "31\n", 31, false},
        {0, 100000, 0, "70000\n", 70000 & 0xFFFF, false},  // past 16 bits: the low 16 bits
        {0, 65535, 42, std::string(5000, '9') + "\n", 42, true},  // bounded, not overrun
    };
    for (const auto &c : cases) {
        ConsoleCapture console;
        console.type(c.typed);
        EXPECT_EQ(get_int1(c.low, c.high, c.fallback, "", "Out of range"), c.expected) << c.typed.substr(0, 20);
        EXPECT_EQ(console.take_output(), kWhite + (c.refused ? "\a\nOut of range\n" : "")) << c.typed.substr(0, 20);
        EXPECT_EQ(console.sleeps.size(), c.refused ? 1u : 0u);
        if (c.refused) {
            EXPECT_NE(console.shown_at_last_pause.find("Out of range"), std::string::npos);
        }
        EXPECT_EQ(console.unread(), 0u);
    }
}

// Texts first..last numbered in order, each "<word><n>".
std::string texts(int first, int last, const std::string &word = "T") {
    std::string lines;
    for (int n = first; n <= last; ++n) lines += "String" + std::string(n < 10 ? "00" : n < 100 ? "0" : "") +
                                                 std::to_string(n) + "=\"" + word + std::to_string(n) + "\"\n";
    return lines;
}

TEST(Language, LoadingRules) {
    ScratchDir dir;
    ASSERT_EQ(AllocText(), 0);
    EXPECT_STREQ(LangText[42], "Text 042");
    EXPECT_STREQ(LangText[1099], "Text 1099");
    const std::string long_text(150, 'L');
    dir.write("lang_00.ini", "English\nVersion: 1.0\nVersion:2.5.1 beta\r\n[Corvane]\r\n"
                             "String000=\"crlf\"\r\nString001=\"no closing quote\nString002=\"say \"hi\" twice\"\n"
                             "String003=\"" + long_text + "\"\nString004=\"\"\nString005=\nString006=unquoted\n"
                             "String007 =\"a blank before = stops here\"\n" + texts(8, 20));
    std::strcpy(sys_mess[0], "kept");
    ASSERT_EQ(LoadText(kCorvane, 0), 0);
    const char *expected[] = {"crlf", "no closing quote", "say \"hi\" twice", nullptr, "", "", "nquoted", "Text 007",
                              "Text 008"};
    for (int n = 0; n < 9; ++n) {
        if (expected[n]) {
            EXPECT_STREQ(LangText[n], expected[n]) << n;
        }
    }
    EXPECT_EQ(std::string(LangText[3]), std::string(100, 'L')) << "at most 100 characters";
    EXPECT_STREQ(LangFileVersion, "2.5.1 beta") << "the last version line before the section";
    EXPECT_STREQ(sys_mess[0], "kept") << "the editor's own kind has no status texts";

    // A second language overwrites up to its own gap; a version is cleared.
    dir.write("lang_01.ini", "Deutsch\n[Corvane]\n" + texts(0, 2, "B") + texts(4, 20, "B"));
    ASSERT_EQ(LoadText(kCorvane, 1), 0);
    EXPECT_STREQ(LangText[2], "B2");
    EXPECT_STREQ(LangText[3], std::string(100, 'L').c_str());
    EXPECT_STREQ(LangFileVersion, "");
    dir.write("lang_02.ini", "English\nVersion: 12345678901234567890123\n[Corvane]\nVersion: 9\n");
    ASSERT_EQ(LoadText(kCorvane, 2), 0);
    EXPECT_STREQ(LangFileVersion, "12345678901234567890");

    EXPECT_EQ(LoadText(kCorvane, 5), 1) << "no such file";
    dir.write("lang_03.ini", "English\n[Tarnwick]\n" + texts(0, 3) + "[Corvan]\n");
    EXPECT_EQ(LoadText(kCorvane, 3), 2) << "no such section";
    EXPECT_STREQ(LangText[0], "B0") << "nothing loaded";
    dir.write("lang1_00.ini", "English\n[Halverton]\n" + texts(0, 99, "H"));
    EXPECT_EQ(LoadText(kHalverton, 0), 0);
    EXPECT_STREQ(sys_mess[0], "H80") << "status texts come from 80-99";
    EXPECT_STREQ(sys_mess[19], "H99");
    EXPECT_STREQ(LM[0], "H1   [ Version 5.3.0 ]");
    EXPECT_STREQ(LM[49], "H50");
    FreeText();
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
