#include "base/Unicode.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Both roads: from units, and from the bytes of a file. They must agree.
std::string Convert(const std::u16string& units) {
    std::vector<std::uint8_t> bytes;
    for (const char16_t unit : units) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xff));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    EXPECT_EQ(Utf16ToUtf8(bytes), ToUtf8(units));
    return ToUtf8(units);
}

}  // namespace

TEST(Unicode, CharactersOfEveryWidth) {
    EXPECT_EQ(Convert({0x41, 0x7f, 0x80, 0xe5, 0x7ff}), "A\x7f\xc2\x80\xc3\xa5\xdf\xbf");
    EXPECT_EQ(Convert({0x800, 0x6e29, 0xffff}), "\xe0\xa0\x80\xe6\xb8\xa9\xef\xbf\xbf");
    EXPECT_EQ(Convert({0xd83d, 0xde00}), "\xf0\x9f\x98\x80");
    EXPECT_EQ(Convert({}), "");
}

TEST(Unicode, CharactersStandAmongAsciiRuns) {
    EXPECT_EQ(Convert(u"abc\u00e5de\u6e29f"),
              "abc\xc3\xa5"
              "de\xe6\xb8\xa9"
              "f");
    EXPECT_EQ(Convert({0x41, 0xd83d, 0xde00, 0xd83d, 0xde00, 0x42, 0xd83d}),
              "A\xf0\x9f\x98\x80\xf0\x9f\x98\x80"
              "B?");
    std::string text = "x";
    AppendUtf8(text, u"y");
    EXPECT_EQ(text, "xy");
}

TEST(Unicode, HalvesOfPairsHaveNoCounterpart) {
    EXPECT_EQ(Convert({0xd83d}), "?");
    EXPECT_EQ(Convert({0xde00, 0x41}), "?A");
    EXPECT_EQ(Convert({0xd83d, 0x41}), "?A");
    EXPECT_EQ(Convert({0xd83d, 0xd83d, 0xde00}), "?\xf0\x9f\x98\x80");
}

TEST(Unicode, OddLastByteIsLeftOut) {
    const std::uint8_t bytes[] = {0x41, 0x00, 0x42};
    EXPECT_EQ(Utf16ToUtf8(bytes), "A");
}

TEST(Unicode, NumbersThatAreNoCharactersHaveNoCounterpart) {
    std::string text = "x";
    AppendUtf8(text, 0x110000);
    AppendUtf8(text, 0xd800);
    EXPECT_EQ(text, "x??");
}
