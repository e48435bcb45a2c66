// Contents no scenario file can spell (random bytes, ten megabytes, lines of
// a hundred thousand characters) in place of the configuration or the
// language file: the start never breaks, and ends as it should.
#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <string>
#include <sys/wait.h>

#include "support/editor_session.h"

namespace {

std::string random_bytes(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char &c : bytes) c = static_cast<char>(random());
    return bytes;
}

std::string grown(std::string text, const std::string &line) {
    while (text.size() < 10 * 1024 * 1024) text += line;
    return text;
}

TEST(Faults, OddContentsNeverBreakTheStart) {
    const std::string code = "[System]\nKeyCode=\"MERID32001RU0001\"\n";
    const std::string english = read_file(std::string(CORVANE_DATA_DIR) + "lang_00.ini");
    std::string long_lines = english;
    long_lines.replace(long_lines.find("String000="), 0, "String000=\"" + std::string(100000, 'L') + "\"\n");
    const struct {
        const char *file, *what;
        std::string contents;
        const char *shown;  // nullptr: it ends with status 5
    } cases[] = {
        {"korvel.ini", "empty", "", "No UPS model code is set"},
        {"korvel.ini", "binary", random_bytes(64 * 1024, 7), "No UPS model code is set"},
        {"korvel.ini", "10 MB", grown(code, "Name=\"a system that is named far too often\"\nLocation=x\n"),
         "Corvane v 5.3.0"},
        {"korvel.ini", "lines of 100 000 characters",
         code + "Name=\"" + std::string(100000, 'n') + "\"\n" + std::string(100000, '[') + "\n", "Corvane v 5.3.0"},
        {"lang_00.ini", "binary", random_bytes(64 * 1024, 11), nullptr},
        {"lang_00.ini", "10 MB", grown(english, "String9999=\"" + std::string(200, 'x') + "\"\n"), "Corvane v 5.3.0"},
        {"lang_00.ini", "lines of 100 000 characters", long_lines, "Corvane v 5.3.0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.file) + ", " + c.what);
        EditorSession editor;
        editor.dir.write(c.file, c.contents);
        ASSERT_TRUE(editor.open(false));
        if (!c.shown) {
            EXPECT_TRUE(editor.ended_with(5)) << editor.screen();
            continue;
        }
        ASSERT_TRUE(editor.wait_for_text(c.shown, 10000)) << editor.screen();
        editor.hangup();
        ASSERT_TRUE(editor.wait_exit());
        EXPECT_FALSE(WIFSIGNALED(editor.wait_status()) && WTERMSIG(editor.wait_status()) != SIGHUP)
            << "status " << editor.wait_status();
    }
}

}  // namespace
