// Planning UPS actions: the schedule list, the schedule editor and the view of
// the coming actions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "support/editor_session.h"

namespace {

constexpr int kMainSchedules = 13;
constexpr int kListBack = 22, kView = 20;  // schedule n is on row 2 + n
enum EditorRow { kDelete = 9, kUps = 10, kAction = 11, kTiming = 12, kEditorBack = 14 };
// Items of the pick lists stand on row 8 + n, UPS entries in the chooser on 3 + n.
int item(int n) { return 8 + n; }
int ups(int n) { return 3 + n; }

// The demo without its schedules.
void without_schedules(EditorSession &editor) {
    std::string korvel = editor.dir.read("korvel.ini");
    for (size_t at; (at = korvel.find("[Schedule_")) != std::string::npos;) korvel.erase(at, korvel.find("\n\n", at) + 2 - at);
    editor.dir.write("korvel.ini", korvel);
}

TEST(Schedules, PlanAWeeklyUpsTest) {
    EditorSession editor;
    without_schedules(editor);
    editor.environment.push_back("TZ=Europe/Berlin");
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSchedules, "Scheduled actions") && editor.wait_for_marker(3)) << editor.screen();
    EXPECT_EQ(editor.row(3), "  -->  1 - (not defined)");
    ASSERT_TRUE(editor.choose(3, "1 - Delete")) << editor.screen();
    ASSERT_TRUE(editor.choose(kUps, "Choose a UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(ups(1), "2 - UPS name:     Main UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(kAction, "6 - Panel test")) << editor.screen();
    EXPECT_EQ(editor.screen().find("Shut down the system"), std::string::npos) << "OS shutdown is not offered";
    ASSERT_TRUE(editor.choose(item(4), "3 - Action:     UPS test")) << editor.screen();
    ASSERT_TRUE(editor.choose(kTiming, "4 - Monthly")) << editor.screen();
    ASSERT_TRUE(editor.choose(item(3), "Time [HH:MM]")) << editor.screen();
    editor.send("10:00\r");
    ASSERT_TRUE(editor.wait_for_text("7 - Saturday") && editor.wait_for_marker(item(1))) << editor.screen();
    ASSERT_TRUE(editor.choose(item(2), "4 - Timing:     Weekly - Monday - 10:00")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEditorBack, "Scheduled actions") && editor.wait_for_marker(3)) << editor.screen();
    EXPECT_EQ(editor.row(3), "  -->  1 - Main UPS        UPSTEST   [W - Mon - 10:00]");
    ASSERT_TRUE(editor.choose(kListBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    std::string schedule = ini_section(editor.dir.read("korvel.ini"), "Schedule_00");
    ASSERT_EQ(schedule.size(), std::string("[Schedule_00]\nData=\"\"").size() + 18) << schedule;
    std::string data = schedule.substr(schedule.find('"') + 1, 18);
    EXPECT_EQ(data.substr(8), "0000040301") << "UPS 0, UPS test, weekly, Monday";
    // The moment is today at 10:00 in the editor's zone.
    time_t start = static_cast<time_t>(std::stoul(data.substr(0, 8), nullptr, 16));
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    struct tm local;
    localtime_r(&start, &local);
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(local.tm_hour, 10);
    EXPECT_EQ(local.tm_min, 0);
}

TEST(Schedules, RefusedTimesAndAbandonedAnswers) {
    EditorSession editor;
    without_schedules(editor);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSchedules, "Scheduled actions")) << editor.screen();
    ASSERT_TRUE(editor.choose(3, "1 - Delete")) << editor.screen();

    ASSERT_TRUE(editor.choose(kTiming, "4 - Monthly")) << editor.screen();
    ASSERT_TRUE(editor.choose(item(2), "Time [HH:MM]")) << editor.screen();
    int bells = editor.bells();
    editor.send("25:00\r");
    ASSERT_TRUE(editor.wait_for_text("Invalid date or time.")) << editor.screen();
    EXPECT_EQ(editor.bells(), bells + 1);
    ASSERT_TRUE(editor.wait_for_text("Time [HH:MM]")) << "asked again";
    editor.send("\r");  // abandoned
    ASSERT_TRUE(editor.wait_for_text("4 - Timing:     Unknown") && editor.wait_for_marker(kTiming)) << editor.screen();

    ASSERT_TRUE(editor.choose(kTiming, "4 - Monthly")) << editor.screen();
    ASSERT_TRUE(editor.choose(item(1), "Time [DD.MM.YYYY HH:MM]")) << editor.screen();
    editor.send("01.01.2020 10:00\r");  // in the past
    ASSERT_TRUE(editor.wait_for_text("Invalid date or time.")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_text("Time [DD.MM.YYYY HH:MM]")) << editor.screen();
    editor.send("\r");
    ASSERT_TRUE(editor.wait_for_text("4 - Timing:     Unknown") && editor.wait_for_marker(kTiming)) << editor.screen();
    ASSERT_TRUE(editor.choose(kEditorBack, "Scheduled actions")) << editor.screen();
    ASSERT_TRUE(editor.choose(kListBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.leave_main_menu());
    ASSERT_TRUE(editor.ended_with(0)) << "nothing was set\n" << editor.screen();
}

TEST(Schedules, DeletingAScheduleIsAChange) {
    EditorSession editor;
    editor.environment.push_back("TZ=UTC");
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSchedules, "Scheduled actions") && editor.wait_for_marker(3)) << editor.screen();
    EXPECT_EQ(editor.row(3), "  -->  1 - Main UPS        UPSTEST   [W - Sun - 02:00]");
    ASSERT_TRUE(editor.choose(3, "1 - Delete")) << editor.screen();
    ASSERT_TRUE(editor.choose(kDelete, "Scheduled actions") && editor.wait_for_marker(3)) << editor.screen();
    EXPECT_EQ(editor.row(3), "  -->  1 - (not defined)");
    ASSERT_TRUE(editor.choose(kListBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    std::string korvel = editor.dir.read("korvel.ini");
    EXPECT_EQ(korvel.find("0000040300\""), std::string::npos) << "the weekly UPS test is gone";
    EXPECT_NE(korvel.find("[Schedule_02]"), std::string::npos);
    EXPECT_EQ(korvel.find("[Schedule_03]"), std::string::npos) << "three left, renumbered";
}

TEST(Schedules, TheNextActionsInTheEditorsZone) {
    EditorSession editor;
    // One daily panel test at 06:30 UTC: 12:00 in India.
    without_schedules(editor);
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.insert(korvel.find("[Mess_00]"), "[Schedule_00]\nData=\"695614680002060200\"\n\n");
    editor.dir.write("korvel.ini", korvel);
    editor.environment.push_back("TZ=Asia/Kolkata");
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSchedules, "Scheduled actions") && editor.wait_for_marker(3)) << editor.screen();
    EXPECT_EQ(editor.row(3), "  -->  1 - Network UPS     PANELTEST [D - 12:00]");
    time_t now = std::time(nullptr);
    ASSERT_TRUE(editor.move_to(kView)) << editor.screen();
    size_t before = editor.output().size();
    editor.enter();
    // A hundred lines scroll the title off the screen: look at what was written.
    ASSERT_TRUE(editor.wait_until([&] { return editor.output().find("Next page", before) != std::string::npos; }))
        << editor.screen();
    EXPECT_NE(editor.output().find("Actions of the next 100 days", before), std::string::npos);

    // The first firing: the next 12:00 in Kolkata (UTC+5:30, no daylight saving).
    time_t kolkata = now + 19800;
    struct tm first;
    gmtime_r(&kolkata, &first);
    if (first.tm_hour >= 12) {
        kolkata += 86400;
        gmtime_r(&kolkata, &first);
    }
    char line[64];
    std::snprintf(line, sizeof line, "\n\r%02d.%02d.%04d 12:00 Network UPS", first.tm_mday, first.tm_mon + 1,
                  first.tm_year + 1900);
    std::string expected = std::string(line) + std::string(40 - (std::strlen(line) - 2), ' ') + "Panel test";
    EXPECT_NE(editor.output().find(expected), std::string::npos) << expected;
    size_t lines = 0;
    for (size_t at = editor.output().find(" 12:00 Network UPS"); at != std::string::npos;
         at = editor.output().find(" 12:00 Network UPS", at + 1)) {
        ++lines;
    }
    EXPECT_GE(lines, 99u) << "one a day for 100 days";
    EXPECT_LE(lines, 100u);
}

}  // namespace
