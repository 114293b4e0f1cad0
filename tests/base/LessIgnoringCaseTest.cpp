#include "base/LessIgnoringCase.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

TEST(LessIgnoringCaseTest, LettersOfAnyCaseAreTheSame) {
    std::map<std::string, int, LessIgnoringCase> map;
    EXPECT_TRUE(map.emplace("Wafer", 1).second);
    EXPECT_FALSE(map.emplace("WAFER", 2).second);
    EXPECT_EQ(map.find(std::string_view("wAfer"))->second, 1);
}

TEST(LessIgnoringCaseTest, OtherBytesStandAsTheyAre) {
    const LessIgnoringCase less;
    EXPECT_TRUE(less("a", "B"));
    EXPECT_TRUE(less("A_x", "a_y"));
    EXPECT_TRUE(less("_", "a"));
    EXPECT_TRUE(less("Time", "\xc2\xb0"));
    EXPECT_TRUE(less("a", "ab"));
    EXPECT_FALSE(less("\xc3\x84", "\xc3\x84"));
}
