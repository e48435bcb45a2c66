// Parallel operation: groups, their members, their event rules and profiles,
// each checked in the group files written by the save.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>

#include "support/editor_session.h"

namespace {

constexpr int kMainConnections = 11, kConnectionsParallel = 20, kConnectionsBack = 22;
enum ParallelRow { kGroupsEnabled = 9, kGroupList = 14, kParallelBack = 16 };
constexpr int kGroupListBack = 18;  // group n is on row 6 + n
enum GroupRow { kName = 5, kRedundancy = 6, kBatterySwitch = 8, kBatteryRuntime = 9, kMembers = 15, kEvents = 17,
                kLoad = 18, kSave = 19, kGroupBack = 21 };
constexpr int kMembersBack = 18;                    // slot n on 8 + n
constexpr int kChooserRemove = 21;                  // UPS entry n on 3 + n
constexpr int kEventNextPage = 18, kEventListBack = 20;  // event row r on 8 + r
enum EventRow { kConditions = 7, kExecute = 10, kShutdownAction = 13, kEmail = 14, kEventBack = 21 };
constexpr int kSlotsBack = 14;  // slot n on 6 + n
enum ConditionRow { kRemoveSlot = 9, kType = 10, kQualifier = 11, kConditionBack = 13 };
constexpr int kTypeNextPage = 18;  // type chooser row r on 5 + r
enum ActionRow { kSwitch = 11, kDelay = 12 };

// The demo without groups, parallel operation off.
void without_groups(EditorSession &editor) {
    std::remove(editor.dir.path("group_00.ini").c_str());
    std::remove(editor.dir.path("group_01.ini").c_str());
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.replace(korvel.find("EnabledGroups=1"), 15, "EnabledGroups=0");
    editor.dir.write("korvel.ini", korvel);
}

// From the main menu to the group list.
bool open_group_list(EditorSession &editor) {
    return editor.choose(kMainConnections, "UPS connections") &&
           editor.choose(kConnectionsParallel, "Parallel operation") && editor.wait_for_marker(kGroupsEnabled) &&
           editor.choose(kGroupList, "Groups") && editor.wait_for_marker(7);
}

// From the group list back to the main menu.
bool leave_group_list(EditorSession &editor) {
    return editor.choose(kGroupListBack, "4 - No shutdown for a single UPS") &&
           editor.choose(kParallelBack, "UPS connections") && editor.choose(kConnectionsBack, "Corvane v 5.3.0");
}

// Sets condition slot `slot_row` of the open event: a type picked on `page`
// (1 or 2) at chooser row `type_row`; then, when qualifier_row is given, a
// qualifier form (and count).
bool set_condition(EditorSession &editor, int slot_row, int page, int type_row, const std::string &type_name) {
    if (!editor.choose(slot_row, "1 - Delete") || !editor.choose(kType, "Choose the event")) return false;
    if (page == 2 && !editor.choose(kTypeNextPage, "24 - Group on battery")) return false;
    return editor.choose(5 + type_row, "2 - Event:     " + type_name);
}

TEST(Groups, CreateAGroupWithMembers) {
    EditorSession editor;
    without_groups(editor);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainConnections, "UPS connections")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConnectionsParallel, "5 - Groups")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(kGroupsEnabled));
    editor.down();
    editor.down();
    editor.down();
    editor.down();  // groups off: from item 4 straight to back
    ASSERT_TRUE(editor.wait_for_marker(kParallelBack)) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupsEnabled, "1 - Groups enabled:     [Yes]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupList, "Groups") && editor.wait_for_marker(7)) << editor.screen();
    EXPECT_EQ(editor.row(16), "      10 - (not defined)");

    ASSERT_TRUE(editor.choose(7, "UPS group")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(4));
    editor.down();
    editor.down();  // no name yet: only delete, name and back
    ASSERT_TRUE(editor.wait_for_marker(kGroupBack)) << editor.screen();
    ASSERT_TRUE(editor.choose(kName, "New value")) << editor.screen();
    ASSERT_TRUE(editor.type("Servers", kName)) << editor.screen();
    ASSERT_TRUE(editor.choose(kRedundancy, "3 - Redundancy:     [N+1]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kBatterySwitch, "4 - Shutdown on battery:     [Allowed]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kBatteryRuntime, "New value [0-65535]")) << editor.screen();
    ASSERT_TRUE(editor.type("300", kBatteryRuntime)) << editor.screen();

    ASSERT_TRUE(editor.choose(kMembers, "UPS members") && editor.wait_for_marker(9)) << editor.screen();
    ASSERT_TRUE(editor.choose(9, "Choose a UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(4, "1 - Main UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(10, "Choose a UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(8, "UPS members") && editor.wait_for_marker(10)) << "entry 5 is undefined";
    EXPECT_EQ(editor.row(10), "  --> 2 - (not defined)") << "the slot stays as it was";
    ASSERT_TRUE(editor.choose(10, "Choose a UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(6, "2 - Network UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(11, "Choose a UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(5, "3 - Rack 2 UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(11, "Choose a UPS")) << editor.screen();
    ASSERT_TRUE(editor.choose(kChooserRemove, "3 - (not defined)")) << "item 17 empties the slot";
    ASSERT_TRUE(editor.choose(kMembersBack, "UPS group")) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupBack, "Groups") && editor.wait_for_marker(7)) << editor.screen();
    EXPECT_EQ(editor.row(7), "  -->  1 - Servers");
    ASSERT_TRUE(leave_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    EXPECT_NE(editor.dir.read("korvel.ini").find("\nEnabledGroups=1\n"), std::string::npos);
    std::string group = editor.dir.read("group_00.ini");
    EXPECT_EQ(group,
              "; This is file with configuration parameters for KORVEL \n; Do not change any line !\n\n"
              "[Common]\nName=\"Servers\"\nAllowedBatteryShutdown=1\nAllowedSystemShutdown=0\nAllowedUPSShutdown=0\n"
              "AllowedUPSReboot=1\nBatteryRuntimeShutdown=300\nSystemShutdownDelay=0\nUPSShutdownDelay=0\n"
              "RedundancyLevel=1\n\n[UPS]\nUPS_00=1\nUPS_01=3\n\n");
    EXPECT_FALSE(editor.dir.exists("group_01.ini"));
}

TEST(Groups, WriteEventRules) {
    EditorSession editor;
    without_groups(editor);
    editor.dir.write("group_00.ini", "[Common]\nName=\"Rack A\"\nAllowedUPSReboot=1\n[UPS]\nUPS_00=1\nUPS_01=2\n");
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.replace(korvel.find("EnabledGroups=0"), 15, "EnabledGroups=1");
    editor.dir.write("korvel.ini", korvel);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(open_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.choose(7, "2 - Name     Rack A")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEvents, "65 - Next page") && editor.wait_for_marker(9)) << editor.screen();

    // Event 1: battery low on at most 3 units, and a type from page two.
    ASSERT_TRUE(editor.choose(9, "10 - Message:     Event 00")) << "a new event's message" << editor.screen();
    ASSERT_TRUE(editor.choose(kConditions, "1 - (not defined)")) << editor.screen();
    ASSERT_TRUE(set_condition(editor, 7, 1, 7, "Battery low")) << editor.screen();
    ASSERT_TRUE(editor.choose(kQualifier, "4 - Any member")) << editor.screen();
    ASSERT_TRUE(editor.choose(10, "New value [0-8]")) << editor.screen();
    ASSERT_TRUE(editor.type("3", kQualifier)) << editor.screen();
    EXPECT_EQ(editor.row(kQualifier), "  --> 3 - Qualifier:     At most [3]");
    ASSERT_TRUE(editor.choose(kConditionBack, "1 - Battery low - [3]")) << editor.screen();
    ASSERT_TRUE(set_condition(editor, 8, 2, 2, "Battery fault")) << editor.screen();  // page 2 row 2: type 13
    ASSERT_TRUE(editor.choose(kQualifier, "4 - Any member")) << editor.screen();
    ASSERT_TRUE(editor.choose(11, "3 - Qualifier:     All members")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConditionBack, "2 - Battery fault - [254]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSlotsBack, "1 - Conditions")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEmail, "1 - E-mail:     [No]")) << editor.screen();
    EXPECT_EQ(editor.row(6), "****" + std::string(24, ' ') + "Power failure" + std::string(25, ' ') + "****")
        << "titled with the job name of the group's index";
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("1 - E-mail:     [Yes]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kDelay, "New value [0-9999]")) << editor.screen();
    ASSERT_TRUE(editor.type("45", kDelay)) << editor.screen();
    ASSERT_TRUE(editor.choose(14, "7 - E-mail:     [Yes]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEventBack, "Events") && editor.wait_for_marker(9)) << editor.screen();
    EXPECT_EQ(editor.row(9), "  -->  1 - Event - Event 00");

    // Event 2 (odd): no interval rows; its shutdown has no delay row.
    ASSERT_TRUE(editor.choose(10, "10 - Message:     Event 01")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConditions, "1 - (not defined)")) << editor.screen();
    ASSERT_TRUE(set_condition(editor, 7, 2, 12, "Redundancy lost")) << editor.screen();
    ASSERT_TRUE(editor.choose(kQualifier, "New value [0-8]")) << "a count for the group conditions";
    ASSERT_TRUE(editor.type("2", kQualifier)) << editor.screen();
    ASSERT_TRUE(editor.choose(kConditionBack, "1 - Redundancy lost - [2]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSlotsBack, "1 - Conditions")) << editor.screen();
    ASSERT_TRUE(editor.choose(kExecute, "1 - Run program:") && editor.wait_for_marker(kSwitch)) << editor.screen();
    EXPECT_EQ(editor.screen().find("Repeat interval"), std::string::npos);
    EXPECT_EQ(editor.row(13), "      4 - Program:");
    ASSERT_TRUE(editor.choose(15, "3 - Run program:     [No]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kShutdownAction, "1 - Shut down the system:") && editor.wait_for_marker(kSwitch));
    EXPECT_EQ(editor.screen().find("Delay"), std::string::npos) << "a switch only";
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("1 - Shut down the system:     [Yes]")) << editor.screen();
    editor.down();
    ASSERT_TRUE(editor.wait_for_marker(13)) << "from the switch straight to back";
    ASSERT_TRUE(editor.choose(13, "6 - Shut down the system:     [Yes]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEventBack, "Events") && editor.wait_for_marker(10)) << editor.screen();

    // An event on page two.
    ASSERT_TRUE(editor.choose(kEventNextPage, "9 - (not defined)") && editor.wait_for_marker(9)) << editor.screen();
    ASSERT_TRUE(editor.choose(9, "10 - Message:     Event 08")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConditions, "1 - (not defined)")) << editor.screen();
    ASSERT_TRUE(set_condition(editor, 7, 1, 1, "Power failure")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConditionBack, "1 - Power failure - [0]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSlotsBack, "1 - Conditions")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEventBack, "Events")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEventListBack, "2 - Name     Rack A")) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupBack, "Groups")) << editor.screen();
    ASSERT_TRUE(leave_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    std::string group = editor.dir.read("group_00.ini");
    std::string first = ini_section(group, "Event_00"), second = ini_section(group, "Event_01"),
                third = ini_section(group, "Event_02");
    EXPECT_NE(first.find("\nType1=7\nType2=13\nType3=0\n"), std::string::npos) << first;
    EXPECT_NE(first.find("\nPriority1=103\nPriority2=254\n"), std::string::npos) << first;
    EXPECT_NE(first.find("\nEmail=1\nEmailDelay=45\n"), std::string::npos) << first;
    EXPECT_NE(first.find("\nLog=1\n"), std::string::npos) << first;
    EXPECT_NE(second.find("\nType1=23\n"), std::string::npos) << second;
    EXPECT_NE(second.find("\nPriority1=2\n"), std::string::npos) << second;
    EXPECT_NE(second.find("\nShutdown=1\nShutdownDelay=0\n"), std::string::npos) << second;
    EXPECT_NE(third.find("\nType1=1\n"), std::string::npos) << third;
    EXPECT_NE(third.find("Message=\"Event 08\""), std::string::npos) << "the ninth event, written third";
    EXPECT_EQ(group.find("[Event_03]"), std::string::npos);
}

TEST(Groups, RemovingAConditionMovesTheLaterOnesUp) {
    EditorSession editor;
    std::string group = editor.dir.read("group_00.ini");
    group.replace(group.find("Type1=1\nType2=1\nType3=0\nType4=0\nType5=0\nType6=0\nPriority1=2\nPriority2=0\n"
                             "Priority3=0\nPriority4=0\nPriority5=0\nPriority6=0\n"),
                  110,
                  "Type1=1\nType2=5\nType3=9\nType4=0\nType5=0\nType6=24\nPriority1=2\nPriority2=101\n"
                  "Priority3=254\nPriority4=0\nPriority5=0\nPriority6=7\n");
    editor.dir.write("group_00.ini", group);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(open_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.choose(7, "2 - Name     Server rack A")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEvents, "65 - Next page")) << editor.screen();
    ASSERT_TRUE(editor.choose(9, "1 - Conditions")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConditions, "6 - Group on battery - [7]")) << editor.screen();
    EXPECT_EQ(editor.row(8), "      2 - Battery test running - [1]") << "101 is the second form's 1";
    ASSERT_TRUE(editor.choose(8, "2 - Event:     Battery test running")) << editor.screen();
    ASSERT_TRUE(editor.choose(kRemoveSlot, "2 - UPS overload - [254]")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(8));
    EXPECT_EQ(editor.row(7), "      1 - Power failure - [2]");
    EXPECT_EQ(editor.row(10), "      4 - (not defined)");
    EXPECT_EQ(editor.row(11), "      5 - Group on battery - [7]");
    EXPECT_EQ(editor.row(12), "      6 - (not defined)");
    ASSERT_TRUE(editor.choose(kSlotsBack, "1 - Conditions")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEventBack, "Events")) << editor.screen();
    ASSERT_TRUE(editor.choose(kEventListBack, "UPS group")) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupBack, "Groups")) << editor.screen();
    ASSERT_TRUE(leave_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    std::string event = ini_section(editor.dir.read("group_00.ini"), "Event_00");
    EXPECT_NE(event.find("Type1=1\nType2=9\nType3=0\nType4=0\nType5=24\nType6=0\n"
                         "Priority1=2\nPriority2=254\nPriority3=0\nPriority4=0\nPriority5=7\nPriority6=7\n"),
              std::string::npos)
        << "only Type6 emptied\n" << event;
}

TEST(Groups, ProfilesCarryEventsToAnotherGroup) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(open_group_list(editor)) << editor.screen();

    // A missing profile: the bell, the message, nothing changed.
    ASSERT_TRUE(editor.choose(8, "2 - Name     Network core")) << editor.screen();
    ASSERT_TRUE(editor.choose(kLoad, "Load profile :")) << editor.screen();
    int bells = editor.bells();
    editor.send("missing.profile\r");
    ASSERT_TRUE(editor.wait_for_text("The profile file could not be read or written.")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(kLoad)) << editor.screen();
    EXPECT_EQ(editor.bells(), bells + 1);
    ASSERT_TRUE(editor.choose(kGroupBack, "Groups")) << editor.screen();

    // Group 1's three events out to a file, and into group 2.
    ASSERT_TRUE(editor.choose(7, "2 - Name     Server rack A")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSave, "Save profile :")) << editor.screen();
    ASSERT_TRUE(editor.type("rack-a.profile", kSave)) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupBack, "Groups")) << editor.screen();
    ASSERT_TRUE(editor.choose(8, "2 - Name     Network core")) << editor.screen();
    ASSERT_TRUE(editor.choose(kLoad, "Load profile :")) << editor.screen();
    ASSERT_TRUE(editor.type("rack-a.profile", kLoad)) << editor.screen();
    ASSERT_TRUE(editor.choose(kGroupBack, "Groups")) << editor.screen();
    ASSERT_TRUE(leave_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    struct stat state;
    ASSERT_EQ(stat(editor.dir.path("rack-a.profile").c_str(), &state), 0);
    EXPECT_EQ(state.st_size, 3 * 450);
    std::string rack = editor.dir.read("group_00.ini"), core = editor.dir.read("group_01.ini");
    EXPECT_NE(core.find("Name=\"Network core\""), std::string::npos) << "the group's own settings stay";
    EXPECT_NE(core.find("[UPS]\nUPS_00=3\nUPS_01=4\n"), std::string::npos);
    EXPECT_EQ(rack.substr(rack.find("[Event_00]")), core.substr(core.find("[Event_00]")))
        << "identical events";
}

TEST(Groups, GroupsAreWrittenInTheOrderOfTheirEntries) {
    EditorSession editor;
    without_groups(editor);
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.replace(korvel.find("EnabledGroups=0"), 15, "EnabledGroups=1");
    editor.dir.write("korvel.ini", korvel);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(open_group_list(editor)) << editor.screen();
    for (const auto &[row, name] : {std::pair<int, const char *>{9, "Third"}, {12, "Sixth"}}) {
        ASSERT_TRUE(editor.choose(row, "UPS group")) << editor.screen();
        ASSERT_TRUE(editor.choose(kName, "New value")) << editor.screen();
        ASSERT_TRUE(editor.type(name, kName)) << editor.screen();
        ASSERT_TRUE(editor.choose(kGroupBack, "Groups")) << editor.screen();
    }
    ASSERT_TRUE(leave_group_list(editor)) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    EXPECT_NE(editor.dir.read("group_00.ini").find("Name=\"Third\""), std::string::npos);
    EXPECT_NE(editor.dir.read("group_01.ini").find("Name=\"Sixth\""), std::string::npos);
    EXPECT_FALSE(editor.dir.exists("group_02.ini"));
}

}  // namespace
