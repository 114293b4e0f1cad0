// What reaches a terminal.
#include "tools/TerminalText.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tools/Json.h"

TEST(TerminalText, ControlsAreEscapes) {
    EXPECT_EQ(VisibleText("plain \u00e5 \u6e29"), "plain \u00e5 \u6e29");
    EXPECT_EQ(VisibleText("a\nb\tc\rd"), "a\\nb\\tc\\rd");
    EXPECT_EQ(VisibleText(std::string("\0\x1b[2J\x7f", 6)), "\\x00\\x1b[2J\\x7f");
    EXPECT_EQ(VisibleText("\u0080\u009b\u009f\u00a0"), "\\x80\\x9b\\x9f\u00a0");
    EXPECT_EQ(VisibleText("\u061c\u200e\u200f\u202a\u202e\u2066\u2069"),
              "\\u061c\\u200e\\u200f\\u202a\\u202e\\u2066\\u2069");
    // A byte that isn't UTF-8 may be a control of an 8-bit terminal.
    EXPECT_EQ(VisibleText("\x9b\xe5\xc0\x80"), "\\x9b\\xe5\\xc0\\x80");
}

TEST(TerminalText, EveryByteEndsInPrintableText) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string text = {static_cast<char>(first), static_cast<char>(second)};
            for (const char c : VisibleText(text)) {
                const auto byte = static_cast<unsigned char>(c);
                EXPECT_TRUE(byte >= 0x20 && byte != 0x7f) << first << ' ' << second;
            }
        }
    }
}

TEST(TerminalFilter, LetsLinesAndTabsThrough) {
    std::ostringstream stream;
    {
        const TerminalFilter filter(stream);
        stream << "a\tb\n" << "\x1b[31m" << '\r' << 5 << std::flush;
    }
    stream << "\x1b";
    EXPECT_EQ(stream.str(), "a\tb\n\\x1b[31m\\r5\x1b");
}

TEST(TerminalFilter, KeepsCharactersTogetherAcrossWrites) {
    std::ostringstream stream;
    std::string expected;
    {
        const TerminalFilter filter(stream);
        for (int i = 0; i < 100000; ++i) {
            stream << '\xe6' << '\xb8' << '\xa9';
            expected += "\u6e29";
        }
    }
    EXPECT_TRUE(stream.str() == expected);
}

TEST(TerminalFilter, KeepsAFailureOfTheStream) {
    std::ostringstream stream;
    {
        const TerminalFilter filter(stream);
        stream.setstate(std::ios::badbit);
    }
    EXPECT_TRUE(stream.bad());
}

TEST(TerminalText, JsonHasItsOwnEscapes) {
    EXPECT_EQ(JsonQuote("a\"\\\n\x1b\x7f\u009b\u202e\u00e5"),
              "\"a\\\"\\\\\\n\\u001b\\u007f\\u009b\\u202e\u00e5\"");
}
