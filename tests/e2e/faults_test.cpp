// Files that are not what they seem: the start never breaks, never waits,
// says why, and changes no file. And signals at random moments.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "support/editor.h"

namespace {

TEST(Faults, AFileThatCannotBeReadStopsTheStartAndSaysWhy) {
    const char *cannot = "Cannot load initialization file !\r\n", *no_texts = "Cannot load language strings file !\r\n";
    const struct {
        const char *file, *fault, *why;
        int status;
    } cases[] = {
        {"korvel.ini", "missing", "No such file or directory", 2}, {"korvel.ini", "directory", "Is a directory", 2},
        {"korvel.ini", "fifo", "not a regular file", 2},           {"korvel.ini", "unreadable", "Permission denied", 2},
        {"jobs.ini", "device", "not a regular file", 2},           {"group_03.ini", "fifo", "not a regular file", 2},
        {"lang_00.ini", "missing", "No such file or directory", 5}, {"lang_00.ini", "device", "not a regular file", 5},
        {"lang_00.ini", "unreadable", "Permission denied", 5},     {"lang_00.ini", "empty", "no [Corvane] section", 5},
    };
    for (const auto &c : cases) {
        if (std::string(c.fault) == "unreadable" && geteuid() != 0) continue;  // nobody is only root's to become
        SCOPED_TRACE(std::string(c.file) + ", " + c.fault);
        Editor editor;
        const std::string path = editor.dir.path(c.file), fault = c.fault;
        std::remove(path.c_str());
        if (fault == "directory") mkdir(path.c_str(), 0755);
        if (fault == "fifo") mkfifo(path.c_str(), 0644);
        if (fault == "device") symlink("/dev/zero", path.c_str());
        if (fault == "empty") editor.dir.write(c.file, "");
        if (fault == "unreadable") {
            editor.dir.write(c.file, "[System]\n");
            chmod(path.c_str(), 0);
            editor.unprivileged = true;
        }
        // Korvel's files, each a name and a digest of its bytes (a FIFO is
        // not read: that would wait; the editor itself may become a copy).
        auto files = [&] {
            std::vector<std::string> seen;
            for (const std::string &name : editor.dir.list()) {
                struct stat state;
                bool regular = lstat(editor.dir.path(name).c_str(), &state) == 0 && S_ISREG(state.st_mode);
                if (name == "corvane") continue;
                std::string bytes = regular && state.st_mode & 0444 ? editor.dir.read(name) : "";
                seen.push_back(name + " " + std::to_string(std::hash<std::string>()(bytes)));
            }
            return seen;
        };
        std::vector<std::string> before = files();
        auto started = std::chrono::steady_clock::now();
        ASSERT_TRUE(editor.open(false));
        EXPECT_TRUE(editor.ended_with(c.status)) << editor.screen();
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));
        EXPECT_NE(editor.output.find(c.status == 2 ? cannot : no_texts), std::string::npos) << editor.output;
        EXPECT_NE(editor.output.find("corvane: " + path + ": " + c.why + "\r\n"), std::string::npos) << editor.output;
        EXPECT_EQ(files(), before) << "no file changed";
    }
}

// SIGTERM at random moments around the switches between single keys and
// lines (a "stty" child runs then): the terminal must always end up usable.
TEST(Faults, NoSignalLeavesTheTerminalRaw) {
    std::mt19937 random(20261123);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        Editor editor;
        ASSERT_TRUE(editor.open());
        editor.send("\r");  // System parameters
        ASSERT_TRUE(editor.wait_until([&] { return editor.marker_row() == 6; }));
        // Into the name's entry, or out of it with a line typed.
        if (round % 2) {
            editor.send("\r");
            ASSERT_TRUE(editor.wait_until([&] { return editor.screen().find("New value") != std::string::npos; }));
        }
        editor.send(round % 2 ? "x\r" : "\r");
        usleep(std::uniform_int_distribution<unsigned>(0, 15000)(random));
        editor.signal(SIGTERM);
        ASSERT_TRUE(editor.wait_exit());
        struct termios state;
        ASSERT_TRUE(editor.modes(&state));
        EXPECT_TRUE((state.c_lflag & ECHO) && (state.c_lflag & ICANON)) << "the terminal was left raw";
    }
}

}  // namespace
