#include "base/LineReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/ByteScan.h"
#include "tests/support/TempFolder.h"

namespace {

// The lines of a file as the reader gives them, the one at the end marked.
std::vector<std::string> Lines(const std::string& bytes) {
    const TempFolder folder;
    LineReader reader(folder.Write("a", bytes).c_str());
    std::vector<std::string> lines;
    bool atEnd = false;
    while (!atEnd) {
        const LineReader::Line line = reader.Next();
        atEnd = line.atEnd;
        EXPECT_EQ(line.text[line.length], '\0');
        lines.push_back(std::string(line.text, line.length) + (atEnd ? "$" : ""));
    }
    return lines;
}

}  // namespace

TEST(LineReader, LineFeedBehindTheLastLineMakesOneMore) {
    EXPECT_EQ(Lines("a\nb\n"), (std::vector<std::string>{"a", "b", "$"}));
    EXPECT_EQ(Lines("a\nb"), (std::vector<std::string>{"a", "b$"}));
    EXPECT_EQ(Lines(""), std::vector<std::string>{"$"});
    EXPECT_EQ(Lines("\n\n"), (std::vector<std::string>{"", "", "$"}));
}

TEST(LineReader, CarriageReturnsAndNulsAreBytes) {
    EXPECT_EQ(Lines("a\r\nb"), (std::vector<std::string>{"a\r", "b$"}));
    EXPECT_EQ(Lines(std::string("a\0b\nc", 5)), (std::vector<std::string>{std::string("a\0b", 3), "c$"}));
}

TEST(LineReader, LinesLongerThanTheBufferAreWhole) {
    const std::string longLine(3000000, 'x');
    EXPECT_EQ(Lines("a\n" + longLine + "\nb"), (std::vector<std::string>{"a", longLine, "b$"}));
    EXPECT_EQ(Lines(longLine), std::vector<std::string>{longLine + "$"});
}

TEST(LineReader, LinesAcrossTheBuffersEndAreWhole) {
    std::string bytes;
    std::vector<std::string> lines;
    for (int i = 0; i < 60000; ++i) {
        lines.push_back("line " + std::to_string(i));
        bytes += lines.back() + "\n";
    }
    lines.emplace_back("$");
    EXPECT_EQ(Lines(bytes), lines);
}

TEST(LineReader, TellsAndSeeks) {
    const TempFolder folder;
    LineReader reader(folder.Write("a", "one\ntwo\nthree").c_str());
    reader.Next();
    EXPECT_EQ(reader.Tell(), 4U);
    EXPECT_TRUE(reader.Skip(1));
    EXPECT_EQ(reader.Tell(), 8U);
    reader.Seek(4);
    EXPECT_STREQ(reader.Next().text, "two");
    reader.Rewind();
    EXPECT_STREQ(reader.Next().text, "one");
    EXPECT_FALSE(reader.Skip(9));
}

TEST(LineReader, AfterTheEndThereIsNothing) {
    const TempFolder folder;
    LineReader reader(folder.Write("a", "one").c_str());
    reader.Next();
    EXPECT_TRUE(reader.Next().IsNothing());
    EXPECT_TRUE(reader.Next().IsNothing());
}

TEST(LineReader, MissingFileHasNoLines) {
    const TempFolder folder;
    LineReader reader(folder.Path("none").c_str());
    EXPECT_FALSE(reader.IsOpen());
    EXPECT_TRUE(reader.Next().IsNothing());
}

TEST(ByteScan, FindsAndCountsAsALoopWould) {
    unsigned int state = 1;
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        state = state * 1664525U + 1013904223U;
        const std::size_t length = state >> 16 & 63;
        for (std::size_t i = 0; i < length; ++i) {
            state = state * 1664525U + 1013904223U;
            text += "ab\x80\x00\xff"[state >> 24 & 3];
        }
        for (const char wanted : {'a', 'b', '\x80', '\0', '\x01'}) {
            char* end = text.data() + text.size();
            std::size_t at = text.find(wanted);
            at = at == std::string::npos ? text.size() : at;
            EXPECT_EQ(FindByte(text.data(), end, wanted), text.data() + at);
            EXPECT_EQ(CountByte(text.data(), end, wanted),
                      static_cast<std::size_t>(std::count(text.begin(), text.end(), wanted)));
        }
    }
    const std::string many(100000, 'x');
    EXPECT_EQ(CountByte(many.data(), many.data() + many.size(), 'x'), many.size());
}
