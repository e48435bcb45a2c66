// The console's key and line readers, the view of a frame larger than the
// window, and the shipped language files.
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
#include "console/view.h"
#include "support/fixtures.h"

#include <vterm.h>

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

// What a terminal of `rows` by `columns` shows after `bytes`: its rows
// (trailing blanks removed), then the cursor as "@row,column".
std::vector<std::string> on_terminal(const std::string &bytes, int rows, int columns) {
    VTerm *terminal = vterm_new(rows, columns);
    vterm_set_utf8(terminal, 1);
    vterm_screen_reset(vterm_obtain_screen(terminal), 1);
    vterm_input_write(terminal, bytes.data(), bytes.size());
    std::vector<std::string> shown;
    for (int r = 0; r < rows; ++r) {
        char text[1024];
        std::string line(text, vterm_screen_get_text(vterm_obtain_screen(terminal), text, sizeof text, VTermRect{r, r + 1, 0, columns}));
        shown.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
    }
    VTermPos cursor;
    vterm_state_get_cursorpos(vterm_obtain_state(terminal), &cursor);
    vterm_free(terminal);
    return shown.push_back("@" + std::to_string(cursor.row) + "," + std::to_string(cursor.col)), shown;
}

// A frame of `count` numbered rows from line 3, a marker "-->" on `marked`,
// as the screens draw one.
std::string list_frame(int count, int marked) {
    std::string frame = "\033[2J\033[03;00H";
    for (int row = 1; row <= count; ++row) frame += "\n\r      Row " + std::to_string(row);
    return frame + "\033[" + std::to_string(3 + marked) + ";03H-->";
}

// `text` with `mark` in the last of 40 columns.
std::string edge(const std::string &text, char mark) { return text + std::string(39 - text.size(), ' ') + mark; }

// The window shows the part of a frame around its cursor, rows cut at its
// width by characters, marks where the frame goes on, and the cursor where
// the frame's is; the frame's size counts characters, not bytes, and tabs.
TEST(View, ThePartAroundTheCursorCutToTheWindow) {
    const std::string wide = std::string(60, 'x') + "\xc3\xbc" + std::string(20, 'y');  // "ü" in column 60
    const struct Case {
        const char *what;
        std::string frame;
        int rows, columns;
        std::vector<std::string> expected;  // rows of the window, then "@row,column"
        unsigned lines, needed;             // what the frame needs
    } cases[] = {
        {"a marker near the top: the frame from its top, a mark at the foot", list_frame(20, 2), 6, 40,
         {"", "", "", "      Row 1", "  --> Row 2", edge("      Row 3", 'v'), "@4,5"}, 23, 12},
        {"a marker further down: in the middle", list_frame(20, 12), 6, 40,
         {edge("      Row 9", '^'), "      Row 10", "      Row 11", "  --> Row 12", "      Row 13", edge("      Row 14", 'v'), "@3,5"}, 23, 12},
        {"a marker on the last row: the frame's end", list_frame(20, 20), 6, 40,
         {edge("      Row 15", '^'), "      Row 16", "      Row 17", "      Row 18", "      Row 19", "  --> Row 20", "@5,5"}, 23, 12},
        {"a row cut after a character of two bytes, whole", "\033[2J\033[01;01H" + wide + "\033[02;01H", 3, 62,
         {std::string(60, 'x') + "\xc3\xbc>", "", "", "@1,0"}, 2, 81},
        {"a cursor beyond the width moves the part right", "\033[2J\033[01;01HName:\t" + std::string(50, 'v'), 3, 40,
         {"<" + std::string(19, 'v'), "", "", "@0,20"}, 1, 58},
        {"a line past 99, reached by moving down", "\033[2J\033[99;01Hfar\033[21B\rfurther", 4, 40,
         {edge("", '^'), "", "", "further", "@3,7"}, 120, 7},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        View view;
        FramePicture picture = picture_of(c.frame.data(), c.frame.size(), Colours());
        EXPECT_EQ(on_terminal(show_view(picture, c.rows, c.columns, true, true, view), c.rows, c.columns), c.expected);
        EXPECT_EQ(std::to_string(picture.lines) + "x" + std::to_string(picture.columns), std::to_string(c.lines) + "x" + std::to_string(c.needed));
    }
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
