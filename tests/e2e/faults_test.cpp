// Files that are not what they seem, a directory that cannot be written, a
// terminal that goes away and a signal in the middle of a pause: the editor
// ends cleanly, says why, and loses no file.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>

#include "support/editor_session.h"

namespace {

constexpr int kMainSystem = 10;

std::string random_bytes(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char &c : bytes) c = static_cast<char>(random());
    return bytes;
}

// Replaces `name` in the editor's directory: "missing", "directory",
// "unreadable" or the contents given.
void spoil(EditorSession &editor, const std::string &name, const std::string &how) {
    std::remove(editor.dir.path(name).c_str());
    if (how == "missing") return;
    if (how == "directory") {
        mkdir(editor.dir.path(name).c_str(), 0755);
    } else if (how == "unreadable") {
        editor.dir.write(name, "[System]\n");
        editor.unprivileged = true;  // root reads anything
    } else {
        editor.dir.write(name, how);
    }
}

TEST(Faults, AConfigurationFileThatIsNoneEndsWithStatusTwo) {
    for (const char *how : {"missing", "directory", "unreadable"}) {
        SCOPED_TRACE(how);
        EditorSession editor;
        spoil(editor, "korvel.ini", how);
        ASSERT_TRUE(editor.open(false));
        if (std::string(how) == "unreadable") chmod(editor.dir.path("korvel.ini").c_str(), 0);
        ASSERT_TRUE(editor.ended_with(2)) << editor.screen();
        EXPECT_TRUE(editor.wait_for_text("Cannot load initialization file !"));
    }
}

TEST(Faults, OddConfigurationContentsNeverBreakTheStart) {
    const std::string code = "[System]\nKeyCode=\"MERID32001RU0001\"\n";
    std::string huge = code;
    while (huge.size() < 10 * 1024 * 1024) huge += "Name=\"a system that is named far too often\"\nLocation=x\n";
    const struct {
        const char *what;
        std::string contents;
        const char *shown;
    } cases[] = {
        {"empty", "", "No UPS model code is set"},
        {"binary", random_bytes(64 * 1024, 7), "No UPS model code is set"},
        {"10 MB", huge, "Corvane v 5.3.0"},
        {"lines of 100 000 characters", code + "Name=\"" + std::string(100000, 'n') + "\"\n" + std::string(100000, '[') + "\n",
         "Corvane v 5.3.0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        EditorSession editor;
        spoil(editor, "korvel.ini", c.contents);
        ASSERT_TRUE(editor.open(false));
        ASSERT_TRUE(editor.wait_for_text(c.shown, 10000)) << editor.screen();
        editor.hangup();
        ASSERT_TRUE(editor.wait_exit());
        EXPECT_FALSE(WIFSIGNALED(editor.wait_status()) && WTERMSIG(editor.wait_status()) != SIGHUP)
            << "status " << editor.wait_status();
    }
}

TEST(Faults, ALanguageFileThatIsNoneEndsWithStatusFive) {
    std::string english = read_file(std::string(CORVANE_DATA_DIR) + "lang_00.ini");
    std::string huge = english;
    while (huge.size() < 10 * 1024 * 1024) huge += "String9999=\"" + std::string(200, 'x') + "\"\n";
    std::string long_lines = english;
    long_lines.replace(long_lines.find("String000="), 0, "String000=\"" + std::string(100000, 'L') + "\"\n");
    const struct {
        const char *how;
        std::string contents;
        int status;  // -1: it starts
    } cases[] = {
        {"missing", "missing", 5},
        {"directory", "directory", 5},
        {"unreadable", "unreadable", 5},
        {"empty", "", 5},
        {"binary", random_bytes(64 * 1024, 11), 5},
        {"10 MB", huge, -1},
        {"lines of 100 000 characters", long_lines, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.how);
        EditorSession editor;
        spoil(editor, "lang_00.ini", c.contents);
        ASSERT_TRUE(editor.open(false));
        if (std::string(c.how) == "unreadable") chmod(editor.dir.path("lang_00.ini").c_str(), 0);
        if (c.status > 0) {
            ASSERT_TRUE(editor.ended_with(c.status)) << editor.screen();
            EXPECT_TRUE(editor.wait_for_text("Cannot load language strings file !"));
        } else {
            ASSERT_TRUE(editor.wait_for_text("Corvane v 5.3.0", 10000) && editor.wait_for_marker(10)) << editor.screen();
            ASSERT_TRUE(editor.leave_main_menu());
            ASSERT_TRUE(editor.ended_with(0)) << editor.screen();
        }
    }
}

TEST(Faults, AReadOnlyDirectoryAtSave) {
    EditorSession editor;
    editor.unprivileged = true;
    std::string before = editor.dir.read("korvel.ini");
    ASSERT_TRUE(editor.open());
    chmod(editor.dir.path().c_str(), 0555);
    const std::vector<std::string> files = editor.dir.list();
    ASSERT_TRUE(editor.choose(kMainSystem, "5 - Event log")) << editor.screen();
    ASSERT_TRUE(editor.choose(12, "5 - Event log:     [No]")) << editor.screen();
    ASSERT_TRUE(editor.choose(20, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.leave_main_menu());
    ASSERT_TRUE(editor.wait_for_text("Save the changes?")) << editor.screen();
    editor.send("y\r");
    ASSERT_TRUE(editor.wait_for_text("Saving failed: the configuration files were not written.")) << editor.screen();
    ASSERT_TRUE(editor.ended_with(1)) << editor.screen();
    EXPECT_EQ(editor.dir.read("korvel.ini"), before);
    EXPECT_EQ(editor.dir.list(), files) << "no temporary left behind";
}

TEST(Faults, TheTerminalClosedDuringAnEntry) {
    EditorSession editor;
    std::string before = editor.dir.read("korvel.ini");
    ASSERT_TRUE(editor.open()) << editor.screen();
    ASSERT_TRUE(editor.choose(kMainSystem, "5 - Event log")) << editor.screen();
    ASSERT_TRUE(editor.choose(6, "New value")) << editor.screen();
    editor.send("half a na");
    editor.settle(100);
    editor.hangup();
    ASSERT_TRUE(editor.wait_exit(3000)) << "still running after the terminal was closed";
    EXPECT_EQ(editor.dir.read("korvel.ini"), before);
}

TEST(Faults, SigtermDuringThePause) {
    EditorSession editor;
    std::string before = editor.dir.read("korvel.ini");
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSystem, "5 - Event log")) << editor.screen();
    ASSERT_TRUE(editor.choose(14, "New value [1-1000]")) << editor.screen();
    editor.send("5000\r");
    ASSERT_TRUE(editor.wait_for_text("Value out of range.")) << editor.screen();
    auto sent = std::chrono::steady_clock::now();
    editor.signal(SIGTERM);
    ASSERT_TRUE(editor.wait_exit(3000));
    auto took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - sent);
    EXPECT_LT(took.count(), 1000) << "it did not sit out the pause";
    EXPECT_TRUE(WIFSIGNALED(editor.wait_status()) && WTERMSIG(editor.wait_status()) == SIGTERM);
    struct termios state;
    ASSERT_TRUE(editor.modes(&state));
    EXPECT_TRUE((state.c_lflag & ECHO) && (state.c_lflag & ICANON)) << "the terminal is usable again";
    EXPECT_TRUE(editor.cursor_visible());
    EXPECT_EQ(editor.dir.read("korvel.ini"), before);
}

}  // namespace
