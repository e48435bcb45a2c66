// Starting and leaving the editor: the main menu, the save question, the
// start-up failures and the first-use dialogue.
#include <gtest/gtest.h>

#include <string>

#include "support/editor_session.h"

namespace {

const std::string kStars(70, '*');
std::string centred(const std::string &text) {
    size_t before = (62 - text.size()) / 2;
    return "****" + std::string(before, ' ') + text + std::string(62 - before - text.size(), ' ') + "****";
}

TEST(MainMenu, RowsMarkerAndMoves) {
    EditorSession editor;
    ASSERT_TRUE(editor.open()) << editor.screen();
    EXPECT_EQ(editor.row(4), kStars);
    EXPECT_EQ(editor.row(5), centred("Korvel UPS Monitoring"));
    EXPECT_EQ(editor.row(6), centred("Corvane v 5.3.0 10/2012"));
    EXPECT_EQ(editor.row(7), centred(""));
    EXPECT_EQ(editor.row(8), centred("Korvel UPS Monitoring"));
    EXPECT_EQ(editor.row(9), kStars);
    EXPECT_EQ(editor.row(10), "  --> 1 - System parameters");
    EXPECT_EQ(editor.row(11), "      2 - UPS units");
    EXPECT_EQ(editor.row(12), "      3 - Messaging");
    EXPECT_EQ(editor.row(13), "      4 - Schedules");
    EXPECT_EQ(editor.row(14), "      5 - Jobs");
    EXPECT_EQ(editor.row(15), std::string(70, '-'));
    EXPECT_EQ(editor.row(16), "      0 - Back");
    EXPECT_FALSE(editor.cursor_visible());

    editor.up();  // nothing above item 1
    editor.send("3");  // digits do not select
    editor.settle();
    EXPECT_EQ(editor.marker_row(), 10);
    ASSERT_TRUE(editor.move_to(14));
    editor.down();  // from item 5 over the separator to the exit line
    ASSERT_TRUE(editor.wait_until([&] { return editor.marker_row() == 16; })) << editor.screen();
    EXPECT_EQ(editor.row(14), "      5 - Jobs");
    editor.down();  // nothing below the exit
    editor.settle();
    EXPECT_EQ(editor.marker_row(), 16);
    editor.up();
    ASSERT_TRUE(editor.wait_until([&] { return editor.marker_row() == 14; })) << editor.screen();

    ASSERT_TRUE(editor.leave_main_menu());
    ASSERT_TRUE(editor.ended_with(0)) << editor.screen();
    EXPECT_EQ(editor.output().find("Save the changes?"), std::string::npos) << "nothing changed, nothing asked";
    EXPECT_TRUE(editor.cursor_visible());
}

// Opens System parameters and toggles the event log `times` times.
void toggle_event_log(EditorSession &editor, int times) {
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("5 - Event log") && editor.wait_for_marker(6)) << editor.screen();
    ASSERT_TRUE(editor.move_to(12)) << editor.screen();
    for (int i = 0; i < times; ++i) {
        std::string before = editor.row(12);
        editor.enter();
        ASSERT_TRUE(editor.wait_until([&] { return editor.row(12) != before && editor.marker_row() == 12; }))
            << editor.screen();
    }
    ASSERT_TRUE(editor.move_to(20));  // back
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("Corvane v 5.3.0") && editor.wait_for_marker(10)) << editor.screen();
}

TEST(SaveQuestion, AChangeUndoneAsksNothing) {
    EditorSession editor;
    std::string before = editor.dir.read("korvel.ini");
    ASSERT_TRUE(editor.open()) << editor.screen();
    toggle_event_log(editor, 2);
    ASSERT_TRUE(editor.leave_main_menu());
    ASSERT_TRUE(editor.ended_with(0)) << editor.screen();
    EXPECT_EQ(editor.output().find("Save the changes?"), std::string::npos);
    EXPECT_EQ(editor.dir.read("korvel.ini"), before);
}

TEST(SaveQuestion, TheYesWordInEitherCaseSaves) {
    for (const char *answer : {"yes", "YES"}) {
        SCOPED_TRACE(answer);
        EditorSession editor;
        ASSERT_TRUE(editor.open()) << editor.screen();
        toggle_event_log(editor, 1);
        ASSERT_TRUE(editor.leave_main_menu());
        ASSERT_TRUE(editor.wait_for_text("Save the changes? [y=Yes,n=No] :")) << editor.screen();
        editor.send(std::string(answer) + "\r");
        ASSERT_TRUE(editor.wait_for_text("The configuration has been saved.")) << editor.screen();
        ASSERT_TRUE(editor.ended_with(1)) << editor.screen();
        EXPECT_NE(editor.dir.read("korvel.ini").find("\nEventLog=0\n"), std::string::npos);
        EXPECT_NE(editor.dir.read("jobs.ini").find("[Job_29]"), std::string::npos) << "every file written";
    }
}

TEST(SaveQuestion, AnyOtherAnswerDiscards) {
    EditorSession editor;
    std::string before = editor.dir.read("korvel.ini");
    ASSERT_TRUE(editor.open()) << editor.screen();
    toggle_event_log(editor, 1);
    ASSERT_TRUE(editor.leave_main_menu());
    ASSERT_TRUE(editor.wait_for_text("Save the changes?")) << editor.screen();
    editor.send("\r\r");  // Enter alone is no answer: the question waits for a word
    editor.settle();
    EXPECT_FALSE(editor.exited());
    editor.send("nope\r");
    ASSERT_TRUE(editor.ended_with(0)) << editor.screen();
    EXPECT_EQ(editor.dir.read("korvel.ini"), before);
}

TEST(StartUp, TheFirstUseDialogueAsksForLanguageAndModelCode) {
    EditorSession editor;
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.replace(korvel.find("KeyCode=\"MERID32001RU0001\""), 26, "KeyCode=\"\"");
    editor.dir.write("korvel.ini", korvel);
    std::string deutsch = editor.dir.read("lang_00.ini");
    deutsch.replace(0, 7, "Deutsch");
    editor.dir.write("lang_01.ini", deutsch);

    ASSERT_TRUE(editor.open(false));
    ASSERT_TRUE(editor.wait_for_text("[1-2] :")) << editor.screen();
    EXPECT_TRUE(editor.wait_for_text("No UPS model code is set: choose a language, then enter it."));
    EXPECT_TRUE(editor.wait_for_text("    1. English"));
    EXPECT_TRUE(editor.wait_for_text("    2. Deutsch"));
    editor.send("2\r");
    ASSERT_TRUE(editor.wait_for_text("UPS model code:")) << editor.screen();

    int bells = editor.bells();
    editor.send("MERID3\r");
    ASSERT_TRUE(editor.wait_for_text("This model code is not valid.")) << editor.screen();
    EXPECT_EQ(editor.bells(), bells + 1);
    EXPECT_EQ(editor.dir.read("korvel.ini"), korvel) << "nothing saved for a wrong code";

    editor.send("MERID32001C20042\r");  // brand C2: logo set 03
    ASSERT_TRUE(editor.wait_for_text("Corvane v 5.3.0") && editor.wait_for_marker(10)) << editor.screen();
    std::string saved = editor.dir.read("korvel.ini");
    EXPECT_NE(saved.find("KeyCode=\"MERID32001C20042\""), std::string::npos) << "saved at once";
    EXPECT_NE(saved.find("Language=1"), std::string::npos);
    for (const char *kept : {"html/log2_03.png", "html/logo_03.png"}) EXPECT_TRUE(editor.dir.exists(kept)) << kept;
    for (const char *gone : {"html/log2_00.png", "html/logo_00.png", "html/log2_01.png", "html/logo_01.png",
                             "html/log2_02.png", "html/logo_02.png"}) {
        EXPECT_FALSE(editor.dir.exists(gone)) << gone;
    }

    ASSERT_TRUE(editor.leave_main_menu());
    ASSERT_TRUE(editor.ended_with(0)) << "already saved: no question" << editor.screen();
}

}  // namespace
