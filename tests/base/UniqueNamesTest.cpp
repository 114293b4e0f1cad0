#include "base/UniqueNames.h"

#include <gtest/gtest.h>

TEST(UniqueNames, ANameThatComesAgainGetsANumber) {
    karta::UniqueNames names;
    EXPECT_EQ(names.Take("skipped"), "skipped");
    EXPECT_EQ(names.Take("skipped"), "skipped (2)");
    EXPECT_EQ(names.Take("other"), "other");
    EXPECT_EQ(names.Take("skipped"), "skipped (3)");
}

TEST(UniqueNames, ANumberThatIsTakenIsLeftOut) {
    karta::UniqueNames names;
    names.Take("a");
    names.Take("a (2)");
    EXPECT_EQ(names.Take("a"), "a (3)");
}
