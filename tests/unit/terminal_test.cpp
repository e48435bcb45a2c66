#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "console/globals.h"
#include "console/terminal.h"
#include "support/console_capture.h"
#include "support/scratch_dir.h"

namespace {

const std::string ESC = "\x1b";

std::string stars(int n) { return std::string(n, '*'); }

TEST(Terminal, EscapeSequencesAndCursorAreByteExact) {
    ConsoleCapture console;
    const char *expected[] = {"[2J", "[?25l", "[?25h", "[40m", "[1;37m", "[0;37;40m",
                              "[1;36m", "[1;32m", "[1;31m", "[0;31;40m"};
    for (unsigned i = 0; i < SEQ_COUNT; ++i) {
        print_escapeseq(i);
        EXPECT_EQ(visible(console.take_output()), visible(ESC + expected[i])) << "sequence " << i;
        EXPECT_EQ(seq_escape[i][0], std::strlen(expected[i]) + 1) << "length byte of " << i;
    }
    print_escapeseq(SEQ_COUNT);  // out of the table: nothing, and no stray read
    EXPECT_EQ(console.take_output(), "");

    cursor_gotopos(5, 3, 10);
    EXPECT_EQ(console.take_output(), ESC + "[15;03H");
    cursor_gotopos(0, 0, 0);
    EXPECT_EQ(console.take_output(), ESC + "[00;00H");
    cursor_gotopos(9, 69, 90);  // line 99, the last the two digits can hold
    EXPECT_EQ(console.take_output(), ESC + "[99;69H");
    cursor_gotopos(150, 120, 7);  // beyond: still a well-formed sequence
    EXPECT_EQ(console.take_output(), ESC + "[99;99H");
}

TEST(Terminal, FrameLinesAreSeventyColumns) {
    ConsoleCapture console;
    print_line(0);
    EXPECT_EQ(console.take_output(), "\n\r" + std::string(70, '-'));
    print_line(1);
    EXPECT_EQ(console.take_output(), "\n\r" + stars(70));
    print_line(2);
    EXPECT_EQ(console.take_output(), "\n\r" + std::string(70, '#'));
    print_line(3);
    EXPECT_EQ(console.take_output(), "\n\r****" + std::string(62, ' ') + "****");
    print_line(4);  // stays on the current line
    EXPECT_EQ(console.take_output(), stars(70));
    print_line(7);
    EXPECT_EQ(console.take_output(), "\n\r");
}

TEST(Terminal, CenteredTitlesKeepTheFrame) {
    ConsoleCapture console;
    print_center("");
    EXPECT_EQ(console.take_output(), "\n\r****" + std::string(62, ' ') + "****");

    // Odd lengths put the extra blank after the text.
    print_center("abc");
    EXPECT_EQ(console.take_output(), "\n\r****" + std::string(29, ' ') + "abc" + std::string(30, ' ') + "****");
    print_center("Jobs");
    EXPECT_EQ(console.take_output(), "\n\r****" + std::string(29, ' ') + "Jobs" + std::string(29, ' ') + "****");

    std::string full(62, 'x');
    print_center(full.c_str());
    EXPECT_EQ(console.take_output(), "\n\r****" + full + "****");

    // Longer than the frame: no padding at all rather than a wrapped count.
    std::string title(70, 'T');
    print_center(title.c_str());
    EXPECT_EQ(console.take_output(), "\n\r****" + title + "****");
}

TEST(Terminal, PaddingAndCentringInPlace) {
    char text[64] = "ab";
    EXPECT_EQ(std::string(dopln(text, 5, " ")), "ab   ");
    EXPECT_EQ(std::string(dopln(text, 5, " ")), "ab   ") << "already as wide: unchanged";
    EXPECT_EQ(std::string(dopln(text, 3, ".")), "ab   ") << "wider than asked: unchanged";
    std::strcpy(text, "");
    EXPECT_EQ(std::string(dopln(text, 4, "-")), "----");

    std::strcpy(text, "ab");
    EXPECT_EQ(std::string(center(text, 7, ".")), "..ab...");
    std::strcpy(text, "ab");
    EXPECT_EQ(std::string(center(text, 6, "<>")), "<><>ab") << "multi-character fill is cut at the width";
    std::strcpy(text, "toolong");
    EXPECT_EQ(std::string(center(text, 4, ".")), "toolong");
    char wide[300] = "x";
    EXPECT_EQ(std::string(center(wide, 200, ".")), "x") << "widths from 200 on are refused";
}

TEST(Terminal, WaitsGoThroughOneSleepAndShowWhatWasWritten) {
    ConsoleCapture console;
    ussleep(1);
    ussleep(2);
    sleepp(3);
    s_tick();
    EXPECT_EQ(console.sleeps, (std::vector<unsigned long>{20, 2, 3000, 20}));

    // The message before a pause must reach the screen before the pause.
    console.take_output();
    con_puts("msg");
    ussleep(5);
    EXPECT_EQ(console.shown_at_last_pause, "msg");
    beep();
    EXPECT_EQ(console.take_output(), "msg\a");
}

TEST(Terminal, ShellCommandsFollowWhatWasDrawn) {
    ConsoleCapture console;
    con_puts("drawn");
    EXPECT_EQ(run_command("stty -echo -icanon"), 0);
    EXPECT_EQ(console.commands, std::vector<std::string>{"stty -echo -icanon"});
    EXPECT_EQ(console.shown_at_last_pause, "drawn");
    EXPECT_EQ(console.take_output(), "drawn");
}

TEST(Terminal, CommandsReportTheirStatusAsTheShellWould) {
    // The editor's own way of running commands, plain ones started directly.
    int (*run)(const char *) = ConsoleShell;
    EXPECT_EQ(run("true"), 0);
    EXPECT_EQ(run("false"), std::system("false"));
    EXPECT_EQ(run("sh -c exit"), 0);
    EXPECT_EQ(run("test 1 = 2"), std::system("test 1 = 2"));
    EXPECT_EQ(run("exit 3"), 3 << 8) << "shell syntax goes to the shell";
    EXPECT_EQ(run("test \"a b\" = \"a b\""), 0) << "so do quotes";
    EXPECT_EQ(run("no-such-program-anywhere"), 127 << 8) << "and what cannot be started";
}

class DebugTrace : public ::testing::Test {
protected:
    void TearDown() override { bDebug = bDebugLog = 0; }
    std::string log() { return dir_.read("debugs.log"); }
    ScratchDir dir_;
};

TEST_F(DebugTrace, IsSilentUnlessSwitchedOn) {
    ConsoleCapture console;
    printfc("\n\rfirst ");
    EXPECT_EQ(console.take_output(), "");
    EXPECT_EQ(log(), "<missing>");

    bDebug = 1;
    printfc("\n\rsecond ");
    EXPECT_EQ(console.take_output(), "\n\rsecond ");
    EXPECT_EQ(log(), "<missing>");

    bDebug = 0;
    bDebugLog = 1;
    printfc("one ");
    printfc("two ");
    EXPECT_EQ(console.take_output(), "");
    EXPECT_EQ(log(), "one two ") << "the log is appended to, never rewritten";
}

}  // namespace
