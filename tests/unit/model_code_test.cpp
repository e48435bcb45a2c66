#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "app/model_code.h"
#include "app/startup.h"

namespace {

void expect_unknown(const char *code) {
    SCOPED_TRACE(code);
    EXPECT_EQ(FindUpsModelTxt(code), nullptr);
    EXPECT_STREQ(FindModel.name, "Unknow model");
    EXPECT_EQ(FindModel.model_type, 255);
    EXPECT_EQ(FindModel.family, 0);
    EXPECT_EQ(FindModel.baud, 2400);
    EXPECT_EQ(FindModel.brand, 255);
    EXPECT_EQ(GetBrand(code), 255);
}

TEST(ModelCode, FamiliesSpeedsAndBrands) {
    ASSERT_NE(FindUpsModelTxt("MERID32xxxRU"), nullptr);
    EXPECT_STREQ(FindModel.name, "MERID32xxxRU");
    EXPECT_EQ(FindModel.model_type, 30);
    EXPECT_EQ(FindModel.family, 0);
    EXPECT_EQ(FindModel.baud, 2400);
    EXPECT_EQ(FindModel.brand, 0);

    ASSERT_NE(FindUpsModelTxt("TOVAR09xxxxZZ"), nullptr);
    EXPECT_EQ(FindModel.model_type, 14);
    EXPECT_EQ(FindModel.family, 1);
    EXPECT_EQ(FindModel.baud, 9600);
    EXPECT_EQ(FindModel.brand, 3) << "an unknown brand is no error";

    ASSERT_NE(FindUpsModelTxt("MERID21xxx55"), nullptr);
    EXPECT_EQ(FindModel.model_type, 21) << "variant other than 3";
    EXPECT_EQ(FindModel.baud, 1200);
    EXPECT_EQ(FindModel.brand, 1);
    struct {
        const char *code;
        int brand;
        unsigned baud;
    } brands[] = {{"MERID34xxxRN", 2, 4800}, {"MERID39xxxC2", 4, 9600}, {"MERID32xxxB8", 5, 2400}};
    for (const auto &c : brands) {
        EXPECT_EQ(GetBrand(c.code), c.brand) << c.code;
        EXPECT_EQ(FindModel.baud, c.baud) << c.code;
    }
}

TEST(ModelCode, InvalidCodesResetTheResult) {
    FindUpsModelTxt("TOVAR09xxxxZZ");  // a valid result before, so that the reset shows
    expect_unknown("TOVAR0yxxxB8");    // bad speed character
    expect_unknown("MERID32xxxR");     // 11 characters: too short though prefix and speed are right
    expect_unknown("merid32xxxRU");    // the family is case-sensitive
    expect_unknown("ABCDE32xxxRU");
    expect_unknown("");

    // A code that fills its field is read only within the field.
    char field[12];
    std::memcpy(field, "MERID32xxxRUtrailing", sizeof field);
    ASSERT_NE(FindUpsModelTxt(field, sizeof field), nullptr);
    EXPECT_STREQ(FindModel.name, "MERID32xxxRU");
    EXPECT_EQ(std::strlen(FindUpsModelTxt(std::string(80, 'X').replace(0, 12, "MERID32xxxRU").c_str())->name), 50u)
        << "the name keeps at most 50 characters";
}

TEST(ProgramDirectory, IsWhereThePathPoints) {
    char dir[256];
    ASSERT_TRUE(getprgdir("/opt/korvel/corvane", dir, sizeof dir));
    EXPECT_STREQ(dir, "/opt/korvel/");
    ASSERT_TRUE(getprgdir("corvane", dir, sizeof dir));
    EXPECT_STREQ(dir, "./") << "no directory part: the current directory";
    ASSERT_TRUE(getprgdir("./bin/corvane", dir, sizeof dir));
    EXPECT_STREQ(dir, "./bin/");
    ASSERT_TRUE(getprgdir("/corvane", dir, sizeof dir));
    EXPECT_STREQ(dir, "/");
    EXPECT_FALSE(getprgdir(("/" + std::string(300, 'd') + "/corvane").c_str(), dir, sizeof dir))
        << "a directory that does not fit is refused, not cut";
}

}  // namespace
