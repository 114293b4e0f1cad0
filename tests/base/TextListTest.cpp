#include "base/TextList.h"

#include <gtest/gtest.h>

TEST(TextList, TextsStandWhereTheyWereAdded) {
    TextList list;
    list.Add("one");
    list.Add(std::string_view("t\0o", 3));
    ASSERT_EQ(list.GetSize(), 2U);
    EXPECT_EQ(list.Get(0), "one");
    EXPECT_EQ(list.Get(1), std::string_view("t\0o", 3));
    EXPECT_EQ(list.Get(1).data()[3], '\0');
}

TEST(TextList, ClearedItIsAnotherList) {
    TextList list;
    const TextList second;
    const std::uint64_t before = list.GetNumber();
    EXPECT_NE(before, second.GetNumber());
    list.Clear();
    EXPECT_NE(list.GetNumber(), before);
    EXPECT_NE(list.GetNumber(), second.GetNumber());
    EXPECT_EQ(list.GetSize(), 0U);
}
