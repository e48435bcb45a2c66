// The whole editor under random keys: arrows, Enter, text, digits and the
// occasional lone ESC, for a bounded time, on the demo directory and on the
// full-size one. It must never crash, never stop reading keys, never write
// outside its directory, and every save must be a fixed point: the files it
// writes load and save again to the very same bytes.
//
// CORVANE_MONKEY_SEED and CORVANE_MONKEY_SECONDS (per directory) give another
// seed and a longer run.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <cstdlib>
#include <iostream>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/record.h"
#include "config/files.h"
#include "support/editor.h"

namespace {

unsigned long setting(const char *name, unsigned long fallback) {
    const char *text = std::getenv(name);
    return text && *text ? std::strtoul(text, nullptr, 10) : fallback;
}

struct Figures {
    unsigned long keys = 0, sessions = 0, saves = 0;
    std::set<std::string> screens;  // the titles of the framed blocks seen
};

// The next key: mostly moves and Enter, sometimes a line of text or a number.
std::string next_key(std::mt19937 &random) {
    auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    int roll = pick(0, 99);
    if (roll < 6) {
        // Down to the way back and Enter leaves a screen; now and then all of
        // them, up to the save question.
        std::string leave;
        for (int i = 0; i < 30; ++i) leave += "\x1b[B";
        leave += "\r";
        return roll == 0 ? leave + leave + leave + leave + leave + leave : leave;
    }
    if (roll < 30) return "\x1b[B";
    if (roll < 50) return "\x1b[A";
    if (roll < 72) return "\r";
    if (roll < 74) return "\x1b";  // takes the next two keys with it
    if (roll < 90) {
        // Words a user types, including what the files cannot hold (a
        // double quote) and now and then a valid model code or "*".
        static const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz ABCXYZ0123456789.:-_*\"";
        if (pick(0, 15) == 0) return "MERID32001RU0001\r";
        if (pick(0, 20) == 0) return "*\r";
        std::string text;
        for (int n = pick(0, 14); n > 0; --n) text += kAlphabet[pick(0, sizeof kAlphabet - 2)];
        return text + "\r";
    }
    static const char *const kNumbers[] = {"0", "1", "2", "8", "30", "99", "255", "1000", "9999", "65535", "70000", "-1"};
    return std::string(kNumbers[pick(0, 11)]) + "\r";
}

// The files a save wrote, loaded and saved again elsewhere, must not change.
void expect_saved_files_stable(Editor &editor, ScratchDir &again) {
    std::string kept = ProgramDir;
    std::snprintf(ProgramDir, kProgramDirSize, "%s", editor.dir.path().c_str());
    actual_section = 255;
    ASSERT_EQ(LoadINI(), 0);
    std::snprintf(ProgramDir, kProgramDirSize, "%s", again.path().c_str());
    for (const std::string &name : again.list()) std::remove(again.path(name).c_str());
    ASSERT_EQ(SaveINI(), 0);
    std::snprintf(ProgramDir, kProgramDirSize, "%s", kept.c_str());
    for (const std::string &name : again.list()) {
        EXPECT_EQ(again.read(name), editor.dir.read(name)) << name << " is not what loading and saving it gives";
    }
}

// What may be in the Korvel directory after a session: Korvel's files, the
// language and the editor. Anything else (a temporary left by a save, a
// file written by a wrong path) is a fault.
void expect_only_korvel_files(const ScratchDir &dir, const ScratchDir &work) {
    static const std::regex kKorvel(R"((korvel|jobs|jobsSTS|sensor|group_0\d|lang_00)\.ini|corvane|corvanectl|html)");
    for (const std::string &name : dir.list()) EXPECT_TRUE(std::regex_match(name, kKorvel)) << "in the Korvel directory: " << name;
    static const std::regex kConfiguration(R"(.*\.ini)");
    for (const std::string &name : work.list()) EXPECT_FALSE(std::regex_match(name, kConfiguration)) << "in the working directory: " << name;
}

void monkey(const std::string &korvel_dir, unsigned long seed, unsigned long seconds, Figures &figures) {
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    ScratchDir again, work, tools;
    // A stand-in for the script editor; profile paths typed land in `work`.
    tools.write("vi", "#!/bin/sh\nexit 0\n");
    chmod(tools.path("vi").c_str(), 0755);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);

    auto editor = std::make_unique<Editor>(korvel_dir);
    for (;;) {
        editor->environment = {"PATH=" + tools.path() + ":" + std::getenv("PATH"), "TZ=UTC"};
        editor->cwd = work.path();
        ASSERT_TRUE(editor->open()) << editor->screen();
        ++figures.sessions;
        while (!editor->exited && std::chrono::steady_clock::now() < deadline) {
            // The save question is answered with a word, and the model code
            // question (asked until a valid code comes) often with one.
            const std::string prompt = editor->row(editor->cursor_row());
            std::string key = next_key(random);
            if (prompt.find("Save the changes?") != std::string::npos) {
                key = random() % 4 ? "yes\r" : "no\r";
            } else if (editor->screen().find("      Model code:") != std::string::npos && random() % 2) {
                key = "MERID32001RU0001\r";
            }
            size_t answered = editor->output.size();
            editor->send(key);
            ++figures.keys;
            // The key reaches the terminal a moment after it is written: wait
            // until it is seen waiting or answered, then until it is read. A
            // slow reader (one line per two-second pause) is no hang; one
            // that reads nothing for longer than its longest pause is.
            editor->wait_until([&] { return editor->unread_input() > 0 || editor->output.size() > answered; }, 20);
            for (int unread = editor->unread_input(); unread > 0 && !editor->exited; unread = editor->unread_input()) {
                ASSERT_TRUE(editor->wait_until([&] { return editor->exited || editor->unread_input() < unread; }, 6000))
                    << "the editor stopped reading keys after " << figures.keys << " (seed " << seed << "), "
                    << unread << " bytes unread\n"
                    << editor->screen();
            }
            // Every fourth key, the titles of the framed blocks on the screen.
            static const std::regex kTitle(R"(^\*\*\*\* +(\S.*\S|\S) +\*\*\*\*$)");
            std::smatch title;
            for (int row = 0; figures.keys % 4 == 0 && row < editor->rows; ++row) {
                std::string text = editor->row(row);
                if (std::regex_match(text, title, kTitle)) figures.screens.insert(title[1]);
            }
        }
        bool closed = !editor->exited;
        if (closed) editor->hangup();
        ASSERT_TRUE(editor->wait_exit(5000)) << "still running after the terminal was closed";
        expect_only_korvel_files(editor->dir, work);
        if (closed) return;
        const std::string &output = editor->output;
        int status = editor->status;
        ASSERT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 1))
            << "ended with status " << status << " (seed " << seed << ")\n"
            << output.substr(output.size() > 4000 ? output.size() - 4000 : 0);
        if (WEXITSTATUS(status) == 1) {
            ++figures.saves;
            expect_saved_files_stable(*editor, again);
        }
        if (std::chrono::steady_clock::now() >= deadline) return;
        // The editor starts again on what it left.
        editor = std::make_unique<Editor>(editor->dir.path());
    }
}

TEST(Monkey, RandomKeysNeverBreakTheEditor) {
    const unsigned long seed = setting("CORVANE_MONKEY_SEED", 20261122);
    const unsigned long seconds = setting("CORVANE_MONKEY_SECONDS", 10);
    for (const std::string &dir : {std::string(CORVANE_DEMO_DIR), std::string(CORVANE_TEST_DATA) + "full"}) {
        SCOPED_TRACE(dir);
        Figures figures;
        monkey(dir, seed, seconds, figures);
        std::cout << "monkey on " << dir << ": seed " << seed << ", " << figures.keys << " keys, "
                  << figures.sessions << " sessions, " << figures.screens.size() << " screens, " << figures.saves
                  << " saves checked\n";
        EXPECT_GT(figures.screens.size(), 3u) << "the keys must get somewhere";
    }
}

}  // namespace
