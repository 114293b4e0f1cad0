#include "base/BelievedCount.h"

#include <gtest/gtest.h>

#include <limits>

TEST(BelievedCountTest, AMillionIsBelievedOfTheSmallestFile) {
    EXPECT_TRUE(IsBelievedCount(0, 0));
    EXPECT_TRUE(IsBelievedCount(1'000'000, 0));
    EXPECT_FALSE(IsBelievedCount(1'000'001, 0));
    EXPECT_FALSE(IsBelievedCount(1'000'001, 1'000'000));
}

TEST(BelievedCountTest, MoreIsBelievedAsFarAsTheBytesGo) {
    EXPECT_TRUE(IsBelievedCount(5'000'000, 5'000'000));
    EXPECT_FALSE(IsBelievedCount(5'000'001, 5'000'000));
    EXPECT_EQ(BelievedCount(5'000'001, 5'000'000), 5'000'000);
    EXPECT_EQ(BelievedCount(std::numeric_limits<std::int64_t>::max(), 10), 1'000'000);
}

TEST(BelievedCountTest, ANegativeCountIsNone) {
    EXPECT_FALSE(IsBelievedCount(-1, 100));
    EXPECT_EQ(BelievedCount(-1, 100), 0);
}
