#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "config/group_profile.h"
#include "config/record.h"
#include "console/globals.h"
#include "support/console_capture.h"
#include "support/scratch_dir.h"

namespace {

void put16(std::string &bytes, size_t offset, unsigned value) {
    bytes[offset] = static_cast<char>(value & 0xFF);
    bytes[offset + 1] = static_cast<char>(value >> 8);
}

class Profile : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(events_, 0, sizeof events_);
        bDebug = 1;  // the messages go to the debug trace; show it to the capture
    }
    void TearDown() override { bDebug = 0; }
    // A file of `count` records, record i with Type1 = i + 1.
    void write_records(const std::string &name, int count, size_t extra = 0) {
        std::string bytes;
        for (int i = 0; i < count; ++i) {
            std::string record(450, '\0');
            put16(record, 0, static_cast<unsigned>(i + 1));
            bytes += record;
        }
        dir_.write(name, bytes + std::string(extra, '\x7f'));
    }
    GroupEvent events_[kGroupEvents];
    ScratchDir dir_;
};

TEST_F(Profile, SavedRecordsAreLittleEndianWithTheTableOffsets) {
    GroupEvent &event = events_[1];
    event.Type[0] = 0x0102;
    event.Type[5] = 24;
    event.Priority[0] = 0x0A0B;
    event.Priority[5] = 255;
    event.Job.Log = 1;
    event.Job.LogDelay = 0x1234;
    event.Job.ExecuteInterval = 600;
    std::strcpy(event.Job.File, "/opt/korvel/run.sh");
    event.Job.LocalMessage = 1;
    event.Job.NetMessageInterval = 0x4321;
    event.Job.CallDelay = 77;
    event.Job.VoiceDelay = 0xBEEF;
    std::strcpy(event.Job.Message, "Group on battery");
    events_[7].Type[0] = 5;  // a second event in use; events 0 and 2-6 are not

    ConsoleCapture console;
    ASSERT_EQ(SaveGroupProfile(dir_.path("p.bin").c_str(), events_), 0);

    std::string first(450, '\0');
    put16(first, 0, 0x0102);
    put16(first, 10, 24);
    put16(first, 12, 0x0A0B);
    put16(first, 22, 255);
    put16(first, 24, 1);
    put16(first, 26, 0x1234);
    put16(first, 32, 600);
    first.replace(34, 18, "/opt/korvel/run.sh");
    put16(first, 294, 1);
    put16(first, 304, 0x4321);
    put16(first, 320, 77);
    put16(first, 328, 0xBEEF);
    first.replace(330, 16, "Group on battery");
    std::string second(450, '\0');
    put16(second, 0, 5);
    EXPECT_EQ(dir_.read("p.bin"), first + second);
    EXPECT_EQ(console.take_output(), "");

    // Read back into another group.
    GroupEvent other[kGroupEvents];
    std::memset(other, 0xEE, sizeof other);
    ASSERT_EQ(LoadGroupProfile(dir_.path("p.bin").c_str(), other), 0);
    EXPECT_EQ(std::memcmp(&other[0], &events_[1], sizeof(GroupEvent)), 0);
    EXPECT_EQ(+other[1].Type[0], 5);
    EXPECT_EQ(+other[2].Type[0], 0) << "the rest cleared";
    EXPECT_EQ(+other[63].Job.Message[0], 0);

    // A group with no events in use saves an empty file.
    std::memset(events_, 0, sizeof events_);
    ASSERT_EQ(SaveGroupProfile(dir_.path("empty.bin").c_str(), events_), 0);
    EXPECT_EQ(dir_.read("empty.bin"), "");
}

TEST_F(Profile, TheEndOfFileIsNoticedByAShortRead) {
    ConsoleCapture console;
    write_records("two.bin", 2);
    ASSERT_EQ(LoadGroupProfile(dir_.path("two.bin").c_str(), events_), 0);
    EXPECT_EQ(+events_[0].Type[0], 1);
    EXPECT_EQ(+events_[1].Type[0], 2);
    EXPECT_EQ(console.take_output(), "\nRecord not readed - maybe end of file ! ");

    write_records("short.bin", 2, 100);
    ASSERT_EQ(LoadGroupProfile(dir_.path("short.bin").c_str(), events_), 0);
    EXPECT_EQ(+events_[1].Type[0], 2);
    EXPECT_EQ(+events_[2].Type[0], 0) << "the short record is dropped";
    EXPECT_EQ(console.take_output(), "\nRecord not readed - maybe end of file ! ");

    dir_.write("empty.bin", "");
    ASSERT_EQ(LoadGroupProfile(dir_.path("empty.bin").c_str(), events_), 0);
    EXPECT_EQ(+events_[0].Type[0], 0) << "an empty file clears the list";
    EXPECT_EQ(console.take_output(), "\nRecord not readed - maybe end of file ! ");
}

TEST_F(Profile, SixtyFourRecordsAtMost) {
    ConsoleCapture console;
    write_records("full.bin", 64);
    ASSERT_EQ(LoadGroupProfile(dir_.path("full.bin").c_str(), events_), 0);
    EXPECT_EQ(+events_[63].Type[0], 64);
    EXPECT_EQ(console.take_output(), "\nRecords is more that MAX_GROUP_EVENTS! ");

    write_records("long.bin", 70);
    ASSERT_EQ(LoadGroupProfile(dir_.path("long.bin").c_str(), events_), 0);
    EXPECT_EQ(+events_[0].Type[0], 1);
    EXPECT_EQ(+events_[63].Type[0], 64) << "the first 64; the rest ignored";
    EXPECT_EQ(console.take_output(), "\nRecords is more that MAX_GROUP_EVENTS! ");
}

TEST_F(Profile, FilesThatCannotBeOpened) {
    ConsoleCapture console;
    events_[0].Type[0] = 9;
    EXPECT_EQ(LoadGroupProfile(dir_.path("missing.bin").c_str(), events_), ENOENT);
    EXPECT_EQ(+events_[0].Type[0], 9) << "left as it was";
    EXPECT_EQ(SaveGroupProfile(dir_.path("no/such/dir.bin").c_str(), events_), ENOENT);
    EXPECT_EQ(console.take_output(), "\nCannot open file! \nCannot open file! ");
    // A directory opens for reading but cannot be read: one message, no loop.
    EXPECT_EQ(LoadGroupProfile(dir_.path().c_str(), events_), 0);
    EXPECT_EQ(console.take_output(), "\nRecord not readed - maybe end of file ! ");
}

TEST(ProfileByteOrder, SwappingTouchesNumbersOnly) {
    EXPECT_EQ(swap_word(0x1234), 0x3412);
    uint16_t probe = 1;
    unsigned char first;
    std::memcpy(&first, &probe, 1);
    EXPECT_EQ(test_big_endian(), first == 0);

    GroupEvent event;
    std::memset(&event, 0, sizeof event);
    event.Type[0] = 0x0102;
    event.Priority[5] = 0x00FF;
    event.Job.VoiceDelay = 0xABCD;
    std::strcpy(event.Job.File, "ab");
    std::strcpy(event.Job.Message, "cd");
    swap_event_data(event);
    EXPECT_EQ(+event.Type[0], 0x0201);
    EXPECT_EQ(+event.Priority[5], 0xFF00);
    EXPECT_EQ(+event.Job.VoiceDelay, 0xCDAB);
    EXPECT_STREQ(event.Job.File, "ab");
    EXPECT_STREQ(event.Job.Message, "cd");
}

}  // namespace
