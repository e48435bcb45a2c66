// Administrator tasks on the messaging and job screens, each checked in the
// files written by the save.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "support/editor_session.h"

namespace {

constexpr int kMainMessaging = 12, kMainJobs = 14;
enum MessagingRow { kRecipients = 9, kModem = 11, kGsmModem = 12, kMessagingBack = 15 };
constexpr int kRecipientsBack = 18;  // recipient n is on row 6 + n
enum ModemRow { kModemAllowed = 7, kRepeat = 11, kModemBack = 15 };
enum GsmRow { kGsmAllowed = 7, kGsmType = 10, kGsmBack = 12 };
enum JobsRow { kFirstList = 9, kSecondList = 10, kResetAll = 12, kScript = 14, kJobsBack = 16 };
constexpr int kFirstListBack = 18, kSecondListBack = 20;  // job row r is on row 6 + r
enum JobRow { kRunProgram = 8, kJobBack = 19 };
enum ActionRow { kSwitch = 11, kDelay = 12, kInterval = 13, kFile = 14, kActionBack = 16 };

std::string replace_all(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

bool in_key_mode(const PtySession &session) {
    struct termios state;
    return session.modes(&state) && !(state.c_lflag & (ECHO | ICANON));
}

TEST(Messaging, AddAndRemoveSmsRecipients) {
    EditorSession editor(std::string(CORVANE_TEST_DATA) + "full");
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.erase(korvel.find("[SMS_09]"), ini_section(korvel, "SMS_09").size() + 2);  // nine recipients
    editor.dir.write("korvel.ini", korvel);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainMessaging, "4 - WAP")) << editor.screen();
    ASSERT_TRUE(editor.choose(kRecipients, "SMS recipients")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(7));
    EXPECT_EQ(editor.row(16), "      10 - (not defined)");

    ASSERT_TRUE(editor.choose(16, "Type * to delete this recipient.")) << editor.screen();
    editor.send("Duty manager\r");
    ASSERT_TRUE(editor.wait_for_text("Phone number:")) << "the number is asked at once\n" << editor.screen();
    ASSERT_TRUE(editor.type("+420 777 000 111", 16)) << editor.screen();
    EXPECT_EQ(editor.row(16), "  --> 10 - Name:  Duty manager       Phone number:  +420 777 000 111");

    ASSERT_TRUE(editor.choose(10, "Type * to delete this recipient.")) << editor.screen();
    ASSERT_TRUE(editor.type("*", 10)) << "no number asked after *\n" << editor.screen();
    EXPECT_EQ(editor.row(10), "  -->  4 - (not defined)");
    ASSERT_TRUE(editor.choose(kRecipientsBack, "4 - WAP")) << editor.screen();
    ASSERT_TRUE(editor.choose(kMessagingBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    korvel = editor.dir.read("korvel.ini");
    EXPECT_NE(ini_section(korvel, "SMS_02").find("Martina Dvorakova"), std::string::npos);
    EXPECT_NE(ini_section(korvel, "SMS_03").find("Lucie Prochazkova"), std::string::npos) << "no gap";
    EXPECT_NE(ini_section(korvel, "SMS_08").find("Name=\"Duty manager\"\nTelNumber=\"+420 777 000 111\""),
              std::string::npos);
    EXPECT_EQ(korvel.find("[SMS_09]"), std::string::npos);
}

TEST(Messaging, TheModemScreenWhileOffAndOn) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainMessaging, "4 - WAP")) << editor.screen();
    ASSERT_TRUE(editor.choose(kModem, "1 - Modem in use:     [No]")) << editor.screen();
    EXPECT_EQ(editor.row(11), "      5 - Repeat count:") << "no values while off";
    EXPECT_EQ(editor.cell(11, 10).colour, 7);
    EXPECT_FALSE(editor.cell(11, 10).bold) << "dimmed";
    editor.down();
    ASSERT_TRUE(editor.wait_for_marker(kModemBack)) << "only items 1 and 0";
    editor.up();
    ASSERT_TRUE(editor.wait_for_marker(kModemAllowed));

    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("5 - Repeat count:     3")) << editor.screen();
    ASSERT_TRUE(editor.choose(kRepeat, "New value [0-99]")) << editor.screen();
    int bells = editor.bells();
    ASSERT_TRUE(editor.type("100", kRepeat)) << editor.screen();
    EXPECT_EQ(editor.bells(), bells + 1);
    EXPECT_EQ(editor.row(kRepeat), "  --> 5 - Repeat count:     3");
    ASSERT_TRUE(editor.choose(kRepeat, "New value [0-99]")) << editor.screen();
    ASSERT_TRUE(editor.type("99", kRepeat)) << editor.screen();
    ASSERT_TRUE(editor.choose(kModemBack, "4 - WAP")) << editor.screen();
    ASSERT_TRUE(editor.choose(kMessagingBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    std::string modem = ini_section(editor.dir.read("korvel.ini"), "ModemConfig");
    EXPECT_NE(modem.find("\nAllowed=1\n"), std::string::npos) << modem;
    EXPECT_NE(modem.find("\nRepeat=99\n"), std::string::npos) << modem;
}

TEST(Messaging, GsmModemTypeAndTheUpwardJump) {
    EditorSession editor;
    std::string korvel = editor.dir.read("korvel.ini");
    korvel.replace(korvel.find("[ModemConfig]\nAllowed=0"), 23, "[ModemConfig]\nAllowed=1");
    editor.dir.write("korvel.ini", korvel);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainMessaging, "4 - WAP")) << editor.screen();
    ASSERT_TRUE(editor.choose(kGsmModem, "4 - Modem type:     [0 - Siemens]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kGsmType, "4 - Modem type:     [1 - Falcom]")) << editor.screen();

    ASSERT_TRUE(editor.choose(kGsmAllowed, "1 - GSM modem in use:     [No]")) << editor.screen();
    EXPECT_EQ(editor.row(kGsmType), "      4 - Modem type:") << "dimmed, no value";
    editor.down();
    ASSERT_TRUE(editor.wait_for_marker(kGsmBack)) << "down skips the dimmed rows";
    editor.up();
    ASSERT_TRUE(editor.wait_for_marker(kGsmType)) << "up follows the dial-out modem, which is on\n" << editor.screen();
    ASSERT_TRUE(editor.choose(kGsmBack, "4 - WAP")) << editor.screen();
    ASSERT_TRUE(editor.choose(kMessagingBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();
    std::string gsm = ini_section(editor.dir.read("korvel.ini"), "SMSConfig");
    EXPECT_NE(gsm.find("\nAllowed=0\n"), std::string::npos) << gsm;
    EXPECT_NE(gsm.find("\nType=1"), std::string::npos) << gsm;
}

TEST(Jobs, TheListsShowEachActionByColour) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainJobs, "5 - Edit the shutdown script")) << editor.screen();
    ASSERT_TRUE(editor.choose(kFirstList, "Jobs for UPS events")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(7));
    EXPECT_EQ(editor.row(7), "  -->  1 - Power failure     [LEOBSEMC]");
    EXPECT_EQ(editor.row(15).substr(0, 11), "       9 - ");
    EXPECT_EQ(editor.row(16).substr(0, 11), "      10 - ") << "10 stands one column further left";
    // Job 0 logs, shows a local message, mails and texts; nothing else.
    const bool on[] = {true, false, true, false, false, true, true, false};
    size_t first = editor.row(7).find('[') + 1;
    for (int action = 0; action < 8; ++action) {
        PtySession::Cell letter = editor.cell(7, static_cast<int>(first) + action);
        EXPECT_EQ(letter.text, std::string(1, "LEOBSEMC"[action]));
        EXPECT_EQ(letter.colour, on[action] ? 2 : 1) << "action " << action;
        EXPECT_EQ(letter.bold, on[action]) << "bright green on, dark red off: action " << action;
    }

    // Job 2 has no shutdown: its row 5 is dimmed and passed over, and up
    // from row 6 lands on row 3.
    ASSERT_TRUE(editor.choose(9, "Communication lost")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(7));
    EXPECT_EQ(editor.row(11), "       5 - Shut down the system:");
    ASSERT_TRUE(editor.move_to(10));
    editor.down();
    ASSERT_TRUE(editor.wait_for_marker(12)) << editor.screen();
    editor.up();
    ASSERT_TRUE(editor.wait_for_marker(9)) << editor.screen();
    EXPECT_EQ(editor.row(12).find("-->"), std::string::npos);
    ASSERT_TRUE(editor.choose(kJobBack, "Jobs for UPS events")) << editor.screen();

    ASSERT_TRUE(editor.choose(kFirstListBack, "5 - Edit the shutdown script")) << editor.screen();
    ASSERT_TRUE(editor.choose(kSecondList, "12 - Sensor alarm cleared")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(7));
    ASSERT_TRUE(editor.choose(7, "10 - Reset this job")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(7));
    EXPECT_EQ(editor.row(4), "****" + std::string(24, ' ') + "UPS on bypass" + std::string(25, ' ') + "****")
        << "row 1 of the second list is job 10";
}

TEST(Jobs, EditTheProgramStart) {
    EditorSession editor;
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainJobs, "5 - Edit the shutdown script")) << editor.screen();
    ASSERT_TRUE(editor.choose(kFirstList, "Jobs for UPS events")) << editor.screen();
    ASSERT_TRUE(editor.choose(7, "9 - Message:     Power failure")) << editor.screen();
    ASSERT_TRUE(editor.choose(kRunProgram, "3 - Repeat interval:")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(kSwitch));
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("1 - Run program:     [Yes]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kDelay, "New value [0-9999]")) << editor.screen();
    int bells = editor.bells();
    ASSERT_TRUE(editor.type("10000", kDelay)) << editor.screen();
    EXPECT_EQ(editor.bells(), bells + 1) << "10000 is refused";
    EXPECT_EQ(editor.row(kDelay), "  --> 2 - Delay:     0");
    ASSERT_TRUE(editor.choose(kDelay, "New value [0-9999]")) << editor.screen();
    ASSERT_TRUE(editor.type("30", kDelay)) << editor.screen();
    ASSERT_TRUE(editor.choose(kInterval, "New value [0-9999]")) << editor.screen();
    ASSERT_TRUE(editor.type("60", kInterval)) << editor.screen();
    ASSERT_TRUE(editor.choose(kFile, "New value")) << editor.screen();
    ASSERT_TRUE(editor.type("/usr/local/bin/on-power-fail", kFile)) << editor.screen();
    ASSERT_TRUE(editor.choose(kActionBack, "2 - Run program:     [Yes]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kJobBack, "Jobs for UPS events")) << editor.screen();

    // Job 3 is odd: no interval, and the program stands on the third line.
    ASSERT_TRUE(editor.choose(10, "Communication restored")) << editor.screen();
    ASSERT_TRUE(editor.choose(kRunProgram, "4 - Program:")) << editor.screen();
    ASSERT_TRUE(editor.wait_for_marker(kSwitch));
    EXPECT_EQ(editor.row(12), "      2 - Delay:     0");
    EXPECT_EQ(editor.row(13), "      4 - Program:");
    EXPECT_EQ(editor.row(15), "      0 - Back");
    ASSERT_TRUE(editor.choose(13, "New value")) << editor.screen();
    ASSERT_TRUE(editor.type("/bin/true", 13)) << editor.screen();
    ASSERT_TRUE(editor.choose(15, "2 - Run program:     [No]")) << editor.screen();
    ASSERT_TRUE(editor.choose(kJobBack, "Jobs for UPS events")) << editor.screen();
    ASSERT_TRUE(editor.choose(kFirstListBack, "5 - Edit the shutdown script")) << editor.screen();
    ASSERT_TRUE(editor.choose(kJobsBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    std::string jobs = editor.dir.read("jobs.ini");
    std::string job0 = ini_section(jobs, "Job_00");
    EXPECT_NE(job0.find("\nExecute=1\nExecuteDelay=30\nExecuteInterval=60\nFile=\"/usr/local/bin/on-power-fail\"\n"),
              std::string::npos)
        << job0;
    std::string job3 = ini_section(jobs, "Job_03");
    EXPECT_NE(job3.find("\nExecute=0\nExecuteDelay=0\nExecuteInterval=0\nFile=\"/bin/true\"\n"), std::string::npos)
        << job3;
}

TEST(Jobs, ResetAllJobs) {
    EditorSession editor;
    std::string jobs = editor.dir.read("jobs.ini");
    size_t message = jobs.find("Message=\"");
    while (message != std::string::npos) {
        jobs.replace(message, jobs.find('\n', message) - message, "Message=\"custom\"");
        message = jobs.find("Message=\"", message + 1);
    }
    jobs = replace_all(jobs, "LogDelay=0", "LogDelay=77");
    editor.dir.write("jobs.ini", jobs);
    ASSERT_TRUE(editor.open());
    ASSERT_TRUE(editor.choose(kMainJobs, "5 - Edit the shutdown script")) << editor.screen();
    ASSERT_TRUE(editor.choose(kResetAll, "1 - Yes")) << editor.screen();
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("5 - Edit the shutdown script") && editor.wait_for_marker(kResetAll));
    ASSERT_TRUE(editor.choose(kJobsBack, "Corvane v 5.3.0")) << editor.screen();
    ASSERT_TRUE(editor.save()) << editor.screen();

    jobs = editor.dir.read("jobs.ini");
    EXPECT_NE(ini_section(jobs, "Job_00").find("\nLogDelay=0\n"), std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_00").find("\nLocalMessageInterval=60\n"), std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_00").find("Message=\"Power failure\""), std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_01").find("\nLocalMessageInterval=0\n"), std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_02").find("Message=\"Korvel has lost communication with the UPS!\""),
              std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_06").find("\nShutdown=0\n"), std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_06").find("\nEmail=0\n"), std::string::npos);
    EXPECT_NE(ini_section(jobs, "Job_21").find("Message=\"Sensor alarm cleared\""), std::string::npos);
    for (const char *kept : {"Job_22", "Job_25", "Job_29"}) {
        EXPECT_NE(ini_section(jobs, kept).find("Message=\"custom\""), std::string::npos) << kept;
        EXPECT_NE(ini_section(jobs, kept).find("\nLogDelay=77\n"), std::string::npos) << kept;
    }
}

// The shutdown-script item with `path` as the editor's PATH.
void run_shutdown_script(EditorSession &editor) {
    ASSERT_TRUE(editor.open()) << editor.screen();
    ASSERT_TRUE(editor.choose(kMainJobs, "5 - Edit the shutdown script")) << editor.screen();
    ASSERT_TRUE(editor.choose(kScript, "Open ups_shut.scr in the vi editor?")) << editor.screen();
    editor.enter();
    ASSERT_TRUE(editor.wait_for_text("6 - Back") && editor.wait_for_marker(kScript)) << editor.screen();
    EXPECT_EQ(editor.row(7), "      1 - Disable all jobs:     [No]");
    EXPECT_EQ(editor.row(kScript), "  --> 5 - Edit the shutdown script");
    EXPECT_EQ(editor.screen().find("not found"), std::string::npos) << "the screen is drawn anew";
    EXPECT_TRUE(in_key_mode(editor)) << "single keys again";
    editor.up();
    ASSERT_TRUE(editor.wait_for_marker(kResetAll)) << "and the keys work";
}

TEST(Jobs, TheShutdownScriptOpensTheEditor) {
    EditorSession editor;
    ASSERT_EQ(mkdir(editor.dir.path("bin").c_str(), 0755), 0);
    editor.dir.write("bin/vi", "#!/bin/sh\necho \"$@\" > \"$PWD/vi-called\"\n");
    ASSERT_EQ(chmod(editor.dir.path("bin/vi").c_str(), 0755), 0);
    editor.environment.push_back("PATH=" + editor.dir.path("bin") + ":" + getenv("PATH"));
    run_shutdown_script(editor);
    EXPECT_EQ(editor.dir.read("vi-called"), "ups_shut.scr\n");
}

TEST(Jobs, TheShutdownScriptWithoutAnEditor) {
    EditorSession editor;
    ASSERT_EQ(mkdir(editor.dir.path("bin").c_str(), 0755), 0);
    ASSERT_EQ(symlink("/bin/stty", editor.dir.path("bin/stty").c_str()), 0);
    editor.environment.push_back("PATH=" + editor.dir.path("bin"));
    run_shutdown_script(editor);
    EXPECT_NE(editor.output().find("not found"), std::string::npos) << "the shell said so";
}

}  // namespace
