// The console module in a real terminal: a one-screen fixture program run in
// a pseudo-terminal, its screen read back through libvterm.
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <sys/wait.h>

#include "support/pty_session.h"

namespace {

const std::string kStars(70, '*');
const std::string kSide = "****" + std::string(62, ' ') + "****";

struct Fixture : PtySession {
    bool open(PtySession::Options options = {}) {
        if (!start({CORVANE_FIXTURE, CORVANE_DATA_DIR}, options)) return false;
        return options.stdin_null || wait_until([&] { return marker_row() == 7; });
    }
    // The row on which "-->" stands in column 2, or -1.
    int marker_row() const {
        for (int r = 0; r < 40; ++r) {
            if (row(r).compare(0, 5, "  -->") == 0) return r;
        }
        return -1;
    }
    bool in_raw_mode() const {
        struct termios state;
        return modes(&state) && !(state.c_lflag & (ECHO | ICANON));
    }
    bool in_line_mode() const {
        struct termios state;
        return modes(&state) && (state.c_lflag & ECHO) && (state.c_lflag & ICANON);
    }
};

TEST(ConsoleFixture, FrameValuesAndMarkerLandOnTheirRowsAndColumns) {
    Fixture term;
    ASSERT_TRUE(term.open()) << term.screen();
    // cursor_gotopos(2, 0, 0) puts the first line break on terminal line 2,
    // so the frame starts on line 3 (row 2 counted from 0).
    EXPECT_EQ(term.row(1), "");
    EXPECT_EQ(term.row(2), kStars);
    EXPECT_EQ(term.row(3), kSide);
    EXPECT_EQ(term.row(4), "****" + std::string(22, ' ') + "System parameters" + std::string(23, ' ') + "****");
    EXPECT_EQ(term.row(5), kSide);
    EXPECT_EQ(term.row(6), kStars);
    EXPECT_EQ(term.row(7), "  --> 1 - System name:");
    EXPECT_EQ(term.row(8), "      2 - Data log rate:     5");
    EXPECT_EQ(term.row(9), std::string(70, '-'));
    EXPECT_EQ(term.row(10), "      0 - Back");
    EXPECT_EQ(term.row(11), "");
    EXPECT_EQ(term.row(12), kStars);

    // Labels in bright white, the value in bright cyan, the cursor hidden.
    EXPECT_EQ(term.cell(8, 10).colour, 7);
    EXPECT_TRUE(term.cell(8, 10).bold);
    EXPECT_EQ(term.cell(8, 29).text, "5");
    EXPECT_EQ(term.cell(8, 29).colour, 6);
    EXPECT_TRUE(term.cell(8, 29).bold);
    EXPECT_FALSE(term.cursor_visible());
    EXPECT_TRUE(term.in_raw_mode());

    // The marker moves over the separator and stops at both ends.
    term.up();
    term.down();
    ASSERT_TRUE(term.wait_until([&] { return term.marker_row() == 8; })) << term.screen();
    EXPECT_EQ(term.row(7), "      1 - System name:") << "the old marker is erased";
    term.down();
    ASSERT_TRUE(term.wait_until([&] { return term.marker_row() == 10; })) << term.screen();
    term.down();
    term.send("1");  // digits do not select
    term.settle();
    EXPECT_EQ(term.marker_row(), 10);
    term.up();
    ASSERT_TRUE(term.wait_until([&] { return term.marker_row() == 8; })) << term.screen();
}

TEST(ConsoleFixture, TextAndNumberEntryInLineMode) {
    Fixture term;
    ASSERT_TRUE(term.open()) << term.screen();

    term.enter();
    ASSERT_TRUE(term.wait_for_text("New value")) << term.screen();
    EXPECT_EQ(term.row(9), "****" + std::string(25, ' ') + "System name" + std::string(26, ' ') + "****");
    EXPECT_EQ(term.row(13), "      System name:");
    EXPECT_TRUE(term.in_line_mode()) << "the entry is typed with echo and line editing";
    term.send("Rack 12\r");
    ASSERT_TRUE(term.wait_until([&] { return term.row(7) == "  --> 1 - System name:     Rack 12"; }))
        << term.screen();
    EXPECT_EQ(term.cell(7, 27).colour, 6);
    EXPECT_TRUE(term.in_raw_mode());

    // A refused number: bell, the message, a pause, and the old value stays.
    term.down();
    ASSERT_TRUE(term.wait_until([&] { return term.marker_row() == 8; }));
    term.enter();
    ASSERT_TRUE(term.wait_for_text("New value [1-1000]")) << term.screen();
    int bells_before = term.bells();
    term.send("5000\r");
    ASSERT_TRUE(term.wait_for_text("Value out of range.")) << term.screen();
    EXPECT_EQ(term.bells(), bells_before + 1);
    ASSERT_TRUE(term.wait_until([&] { return term.marker_row() == 8; }, 6000)) << term.screen();
    EXPECT_EQ(term.row(8), "  --> 2 - Data log rate:     5");

    term.enter();
    ASSERT_TRUE(term.wait_for_text("New value [1-1000]")) << term.screen();
    term.send("250\r");
    ASSERT_TRUE(term.wait_until([&] { return term.row(8) == "  --> 2 - Data log rate:     250"; }))
        << term.screen();

    term.down();
    term.enter();
    ASSERT_TRUE(term.wait_exit());
    EXPECT_TRUE(WIFEXITED(term.wait_status()) && WEXITSTATUS(term.wait_status()) == 0);
    EXPECT_NE(term.output().find("name=Rack 12 number=250"), std::string::npos);
    EXPECT_TRUE(term.in_line_mode());
    EXPECT_TRUE(term.cursor_visible());
}

TEST(ConsoleFixture, EndOfInputEndsAtOnceWithStatusZero) {
    // Ctrl-D on an empty line of a text entry is the end of input.
    Fixture term;
    ASSERT_TRUE(term.open()) << term.screen();
    term.enter();
    ASSERT_TRUE(term.wait_for_text("New value")) << term.screen();
    term.send("\x04");
    ASSERT_TRUE(term.wait_exit(3000)) << "still running after the end of input";
    EXPECT_TRUE(WIFEXITED(term.wait_status()));
    EXPECT_EQ(WEXITSTATUS(term.wait_status()), 0);
    EXPECT_TRUE(term.cursor_visible());
    EXPECT_TRUE(term.in_line_mode());

    // Standard input that is not a terminal and already at its end: the
    // first key read ends the program instead of spinning on it.
    Fixture piped;
    PtySession::Options options;
    options.stdin_null = true;
    ASSERT_TRUE(piped.open(options));
    ASSERT_TRUE(piped.wait_exit(3000)) << piped.screen();
    EXPECT_TRUE(WIFEXITED(piped.wait_status()));
    EXPECT_EQ(WEXITSTATUS(piped.wait_status()), 0);
}

TEST(ConsoleFixture, ClosingTheTerminalEndsTheProgram) {
    Fixture term;
    ASSERT_TRUE(term.open()) << term.screen();
    term.hangup();
    ASSERT_TRUE(term.wait_exit(3000)) << "still running after the terminal was closed";
    int status = term.wait_status();
    EXPECT_TRUE((WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP) || (WIFEXITED(status) && WEXITSTATUS(status) == 0))
        << "status " << status;
}

TEST(ConsoleFixture, SignalsRestoreTheTerminalThenEndTheProgram) {
    for (int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        SCOPED_TRACE(strsignal(signal_number));
        Fixture term;
        ASSERT_TRUE(term.open()) << term.screen();
        ASSERT_TRUE(term.in_raw_mode());
        ASSERT_FALSE(term.cursor_visible());
        if (signal_number == SIGINT) {
            term.send("\x03");  // Ctrl-C, as the user presses it
        } else {
            term.signal(signal_number);
        }
        ASSERT_TRUE(term.wait_exit(3000));
        int status = term.wait_status();
        EXPECT_TRUE(WIFSIGNALED(status)) << "status " << status;
        EXPECT_EQ(WTERMSIG(status), signal_number) << "ended by the signal's own default action";
        EXPECT_TRUE(term.in_line_mode()) << "echo and line mode are back";
        EXPECT_TRUE(term.cursor_visible());
        // Normal colours and the cursor come last; only line ends may follow
        // (the restored terminal maps them as it likes).
        const std::string reset = "\x1b[0m\x1b[?25h";
        size_t at = term.output().rfind(reset);
        ASSERT_NE(at, std::string::npos);
        EXPECT_EQ(term.output().find_first_not_of("\r\n", at + reset.size()), std::string::npos);
    }
}

}  // namespace
