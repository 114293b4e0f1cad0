#include "host/Unicode.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::string Convert(std::initializer_list<unsigned> units) {
    std::vector<std::uint8_t> bytes;
    for (const unsigned unit : units) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return Utf16ToUtf8(bytes);
}

}  // namespace

TEST(UnicodeTest, CharactersOfEveryWidth) {
    EXPECT_EQ(Convert({0x41, 0x7F, 0x80, 0xE5, 0x7FF}), "A\x7F\xC2\x80\xC3\xA5\xDF\xBF");
    EXPECT_EQ(Convert({0x800, 0x6E29, 0xFFFF}), "\xE0\xA0\x80\xE6\xB8\xA9\xEF\xBF\xBF");
    EXPECT_EQ(Convert({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80");
    EXPECT_EQ(Convert({}), "");
}

TEST(UnicodeTest, HalvesOfPairsAreReplaced) {
    EXPECT_EQ(Convert({0xD83D}), "\xEF\xBF\xBD");
    EXPECT_EQ(Convert({0xDE00, 0x41}), "\xEF\xBF\xBD\x41");
    EXPECT_EQ(Convert({0xD83D, 0x41}), "\xEF\xBF\xBD\x41");
    EXPECT_EQ(Convert({0xD83D, 0xD83D, 0xDE00}), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(UnicodeTest, OddLastByteIsLeftOut) {
    const std::uint8_t bytes[] = {0x41, 0x00, 0x42};
    EXPECT_EQ(Utf16ToUtf8(bytes), "A");
}

TEST(UnicodeTest, NumbersThatAreNoCharactersAreReplaced) {
    std::string text;
    AppendUtf8(text, 0x110000);
    AppendUtf8(text, 0xD800);
    EXPECT_EQ(text, "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(UnicodeTest, TextOfUnitsIsConverted) {
    EXPECT_EQ(ToUtf8(u"a\u00e5\u6570\U0001d6fc"), "a\xc3\xa5\xe6\x95\xb0\xf0\x9d\x9b\xbc");
    const char16_t halves[] = {0xd800, u'a', 0xdc00, 0xd800};
    EXPECT_EQ(ToUtf8({halves, 4}), "\xef\xbf\xbd\x61\xef\xbf\xbd\xef\xbf\xbd");
    std::string text = "x";
    AppendUtf8(text, std::u16string_view(u"y"));
    EXPECT_EQ(text, "xy");
}
