#include <gtest/gtest.h>

#include <string>

#include "screens/screens.h"

namespace {

TEST(Password, DigestIsTheSumOfSignedBytes) {
    EXPECT_EQ(CalculatePassword(""), 0);
    EXPECT_EQ(CalculatePassword("abc"), 294);
    EXPECT_EQ(CalculatePassword("AB"), 131);
    EXPECT_EQ(CalculatePassword(std::string(120, 'z').c_str()), 14640);
    EXPECT_EQ(CalculatePassword("\xC8"), static_cast<uint16_t>(-56)) << "a byte of 200 counts as -56";
    EXPECT_EQ(CalculatePassword("a\xC8"), 97 - 56);
    // 700 bytes of 127 sum to 88900, kept modulo 65536.
    EXPECT_EQ(CalculatePassword(std::string(700, '\x7f').c_str()), 88900 % 65536);
}

}  // namespace
