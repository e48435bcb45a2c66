// Administrator tasks on the system, network, connection and UPS screens,
// each checked in the files written by the save.
#include <gtest/gtest.h>

#include <string>

#include "support/editor_session.h"

namespace {

// Marker rows (counted from 0) of the items used here.
enum SystemRow { kSysName = 6, kSysLanguage = 10, kSysEventLog = 12, kSysMinimum = 15, kSysMaximum = 16,
                 kSysNetwork = 18, kSysBack = 20 };
enum NetworkRow { kNetProtection = 13, kNetPassword = 14, kNetBack = 16 };
enum UpsRow { kUpsName = 7, kUpsModel = 8, kUpsConnection = 10, kUpsBack = 21 };
enum ConnectionRow { kConnKind = 7, kConnAddress = 12, kConnDevice = 13, kConnProtection = 14, kConnPassword = 15,
                     kConnBack = 17 };
constexpr int kMainSystem = 10, kMainConnections = 11;
constexpr int kListBack = 22;  // the connections list's way back

TEST(SystemParameters, RenameTheSystemAndSwitchTheEventLog) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSystem, "5 - Event log")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSysName, "New value")) << editor.screen();
    ASSERT_TRUE(editor.type("Lab rack 7", kSysName)) << editor.screen();
    EXPECT_EQ(editor.row(kSysName), "  --> 1 - System name:     Lab rack 7");
    ASSERT_TRUE(editor.move_to(kSysEventLog));
    editor.enter();
    ASSERT_TRUE(editor.wait_until([&] { return editor.row(kSysEventLog).find("[No]") != std::string::npos; }));
    ASSERT_TRUE(editor.choose(kSysBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    std::string system = ini_section(editor.dir.read("korvel.ini"), "System");
    EXPECT_NE(system.find("\nName=\"Lab rack 7\"\n"), std::string::npos) << system;
    EXPECT_NE(system.find("\nEventLog=0\n"), std::string::npos) << system;
    EXPECT_NE(system.find("\nLocation=\"Building A, ground floor\"\n"), std::string::npos) << "the rest kept";
}

TEST(SystemParameters, ChooseAnotherLanguage) {
    EditorSession editor;
    std::string english = editor.dir.read("lang_00.ini");
    editor.dir.write("lang_01.ini", "Deutsch" + english.substr(7));
    editor.dir.write("lang_03.ini", "Hidden behind the gap" + english.substr(7));
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSystem, "4 - Language:     English")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSysLanguage, "Choose the language")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(8));
    EXPECT_EQ(editor.row(8), "  --> English");
    EXPECT_EQ(editor.row(9), "      Deutsch");
    EXPECT_EQ(editor.row(10), std::string(70, '-')) << "file 02 is missing: 03 is not listed";
    EXPECT_EQ(editor.row(11), "      Back");
    EXPECT_EQ(editor.screen().find("Hidden"), std::string::npos);
    editor.down();
    editor.down();
    ASSERT_TRUE(editor.wait_for_marker(11)) << "from the last language over the separator to back";
    editor.up();
    ASSERT_TRUE(editor.wait_for_marker(9));
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("4 - Language:     Deutsch")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSysBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    EXPECT_NE(editor.dir.read("korvel.ini").find("\nLanguage=1\n"), std::string::npos);
}

TEST(SystemParameters, DataLogBoundsInTheWrongOrderAreCorrected) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainSystem, "6.3 - Data log maximum:     2000")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSysMaximum, "New value [1-3000]")) << editor.screen();
    ASSERT_TRUE(editor.type("5000", kSysMaximum)) << editor.screen();  // above the 3000 the prompt shows, yet accepted
    EXPECT_NE(editor.row(kSysMaximum).find("5000"), std::string::npos);

    ASSERT_TRUE(editor.choose(kSysMinimum, "New value [1-3000]")) << editor.screen();
    int bells = editor.bells();
    editor.send("30000\r");
    ASSERT_TRUE(editor.wait_for_text("The minimum must stay below the maximum")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(kSysMinimum)) << editor.screen();
    EXPECT_EQ(editor.bells(), bells + 1);
    EXPECT_NE(editor.row(kSysMinimum).find("4999"), std::string::npos) << editor.row(kSysMinimum);

    ASSERT_TRUE(editor.choose(kSysMinimum, "New value [1-3000]")) << editor.screen();
    ASSERT_TRUE(editor.type("30001", kSysMinimum)) << editor.screen();  // refused: the old value stays
    EXPECT_NE(editor.row(kSysMinimum).find("4999"), std::string::npos);
    ASSERT_TRUE(editor.choose(kSysBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    std::string system = ini_section(editor.dir.read("korvel.ini"), "System");
    EXPECT_NE(system.find("\nDataLogMin=4999\nDataLogMax=5000\n"), std::string::npos) << system;
}

TEST(Network, PasswordProtection) {
    {
        EditorSession editor;
        ASSERT_TRUE(editor.open());
        ASSERT_TRUE(editor.choose(kMainSystem, "7 - Network")) << editor.screen();
        ASSERT_TRUE(editor.choose(kSysNetwork, "7 - Password protection:     [No]")) << editor.screen();
        ASSERT_TRUE(editor.move_to(kNetProtection));
        editor.down();  // 7.1 is dimmed and skipped while protection is off
        ASSERT_TRUE(editor.wait_for_marker(kNetBack));
        editor.up();
        ASSERT_TRUE(editor.wait_for_marker(kNetProtection));
        editor.enter();
        ASSERT_TRUE(editor.wait_for_text("7 - Password protection:     [Yes]"));
        ASSERT_TRUE(editor.choose(kNetPassword, "Set password")) << editor.screen();
        int echoed = static_cast<int>(editor.output().size());
        ASSERT_TRUE(editor.type("abc", kNetPassword)) << editor.screen();
        EXPECT_EQ(editor.output().find("abc", static_cast<size_t>(echoed)), std::string::npos) << "not echoed";
        ASSERT_TRUE(editor.choose(kNetBack, "7 - Network")) << editor.screen();
        ASSERT_TRUE(editor.choose(kSysBack, "Corvane v 5.3.0")) << editor.screen();
        ASSERT_TRUE(editor.save()) << editor.screen();
        EXPECT_NE(editor.dir.read("korvel.ini").find("\nPasswordProtection=294\n"), std::string::npos);
    }
    {
        EditorSession editor;
        std::string korvel = editor.dir.read("korvel.ini");
        korvel.replace(korvel.find("PasswordProtection=0"), 20, "PasswordProtection=294");
        editor.dir.write("korvel.ini", korvel);
        ASSERT_TRUE(editor.open());
        ASSERT_TRUE(editor.choose(kMainSystem, "7 - Network")) << editor.screen();
        ASSERT_TRUE(editor.choose(kSysNetwork, "7 - Password protection:     [Yes]")) << editor.screen();
        ASSERT_TRUE(editor.choose(kNetPassword, "Set password")) << editor.screen();
        editor.send("\r");  // empty: protection off, the marker back on item 7
        ASSERT_TRUE(editor.wait_for_marker(kNetProtection)) << editor.screen();
        EXPECT_NE(editor.row(kNetProtection).find("[No]"), std::string::npos);
        ASSERT_TRUE(editor.choose(kNetBack, "7 - Network")) << editor.screen();
        ASSERT_TRUE(editor.choose(kSysBack, "Corvane v 5.3.0")) << editor.screen();
        ASSERT_TRUE(editor.save()) << editor.screen();
        EXPECT_NE(editor.dir.read("korvel.ini").find("\nPasswordProtection=0\n"), std::string::npos);
    }
}

TEST(Connections, CreateAndConnectAUps) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainConnections, "UPS connections")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(3));
    EXPECT_EQ(editor.row(7), "       5 - (not defined)");
    ASSERT_TRUE(editor.choose(7, "1 - UPS name:     (not defined)")) << editor.screen();
    ASSERT_TRUE(editor.choose(kUpsName, "Type * to delete this UPS.")) << editor.screen();
    ASSERT_TRUE(editor.type("Rack 9 UPS", kUpsName)) << editor.screen();
    EXPECT_NE(editor.row(kUpsModel).find("Unknown model code"), std::string::npos);

    ASSERT_TRUE(editor.choose(kUpsModel, "New value")) << editor.screen();
    int bells = editor.bells();
    editor.send("BADCODE\r");
    ASSERT_TRUE(editor.wait_until([&] { return editor.bells() == bells + 1; })) << editor.screen();
    ASSERT_TRUE(editor.wait_for_text("New value")) << "asked again";
    ASSERT_TRUE(editor.type("MERID32009RU0009", kUpsModel)) << editor.screen();
    EXPECT_NE(editor.row(kUpsModel).find("MERID32009RU0009"), std::string::npos);

    ASSERT_TRUE(editor.choose(kUpsConnection, "1 - Connection:     [Serial line]")) << editor.screen();
    editor.enter();  // serial -> TCP/IP
    ASSERT_TRUE(editor.wait_for_text("1 - Connection:     [TCP/IP]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kConnAddress, "New value")) << editor.screen();
    ASSERT_TRUE(editor.type("10.1.2.3", kConnAddress)) << editor.screen();
    ASSERT_TRUE(editor.choose(kConnDevice, "New value [1-65535]")) << editor.screen();
    ASSERT_TRUE(editor.type("7", kConnDevice)) << editor.screen();
    ASSERT_TRUE(editor.move_to(kConnProtection));
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("Password protection:     [Yes]"));
    ASSERT_TRUE(editor.choose(kConnPassword, "Set password")) << editor.screen();
    ASSERT_TRUE(editor.type("secret", kConnPassword)) << editor.screen();
    ASSERT_TRUE(editor.choose(kConnBack, "4 - Connection")) << editor.screen();
    ASSERT_TRUE(editor.choose(kUpsBack, "UPS connections")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(7));
    EXPECT_EQ(editor.row(7), "  -->  5 - Rack 9 UPS       MERID32009RU0009   TCP/IP - 10.1.2.3 - 7");
    ASSERT_TRUE(editor.choose(kListBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    std::string ups = ini_section(editor.dir.read("korvel.ini"), "UPS_04");
    for (const char *line : {"Name=\"Rack 9 UPS\"", "Type=\"MERID32009RU0009\"", "Connection=3", "Port=\"/dev/ttyS0\"",
                             "IPAddress=\"10.1.2.3\"", "Device=7", "Message=1", "MessageRate=60",
                             "SystemShutdown=1", "SystemShutDelayAllow=1", "SystemShutLeadAllow=0",
                             "SystemShutdownDelay=5", "SystemShutdownLead=5", "UPSShutdown=0", "UPSShutdownDelay=5",
                             "UPSReboot=1", "Password=646"}) {
        EXPECT_NE(ups.find(std::string("\n") + line + "\n"), std::string::npos) << line << " in\n" << ups;
    }
}

}  // namespace
