#include "base/OemText.h"

#include <gtest/gtest.h>

namespace {

std::string AllBytes() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

}  // namespace

TEST(OemTextTest, BytesBelow0x80AreTheSame) {
    const std::string low = AllBytes().substr(0, 128);
    EXPECT_EQ(OemToAnsi(low), low);
    EXPECT_EQ(AnsiToOem(low), low);
}

TEST(OemTextTest, LettersOfWesternEurope) {
    EXPECT_EQ(OemToAnsi("\x81\x84\x94\x9b"), "\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xb8");
    EXPECT_EQ(AnsiToOem("\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xb8"), "\x81\x84\x94\x9b");
}

TEST(OemTextTest, CharactersOfThreeBytes) {
    EXPECT_EQ(OemToAnsi("\xb0\xfe"), "\xe2\x96\x91\xe2\x96\xa0");
    EXPECT_EQ(AnsiToOem("\xe2\x96\x91\xe2\x96\xa0"), "\xb0\xfe");
}

TEST(OemTextTest, EveryByteSurvivesTheWayThereAndBack) {
    EXPECT_EQ(AnsiToOem(OemToAnsi(AllBytes())), AllBytes());
}

TEST(OemTextTest, WhatTheCodePageLacksIsAQuestionMark) {
    // The euro sign, a Greek letter, a smiling face.
    EXPECT_EQ(AnsiToOem("\xe2\x82\xac\xce\xb1\xf0\x9f\x98\x84x"), "???x");
}

TEST(OemTextTest, BytesThatAreNoUtf8AreQuestionMarks) {
    EXPECT_EQ(AnsiToOem("\xfc"), "?");
    EXPECT_EQ(AnsiToOem("a\xc3"), "a?");
    EXPECT_EQ(AnsiToOem("\xc3x"), "?x");
    EXPECT_EQ(AnsiToOem("\x80\xbf"), "??");
    // More bytes than the character needs.
    EXPECT_EQ(AnsiToOem("\xc0\xaf"), "??");
}
