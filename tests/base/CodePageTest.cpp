#include "base/CodePage.h"

#include <gtest/gtest.h>

TEST(CodePageTest, ReadsThePagesThatSpreadsheetsName) {
    struct Case {
        int number;
        const char* bytes;
        const char* text;
    };
    const Case cases[] = {
        {367, "caf\xE9", "café"},          {437, "\x81\x9B", "ü¢"}, {850, "\x81\x9B", "üø"},
        {932, "\x8A\xBF\x8E\x9A", "漢字"}, {936, "\xBA\xBA", "汉"}, {949, "\xC7\xD1", "한"},
        {950, "\xBA\x7E", "漢"},           {1250, "\xB9", "ą"},     {1251, "\xCB\xE8", "Ли"},
        {1252, "\x80\xE9", "€é"},          {1253, "\xE1", "α"},     {1254, "\xF0", "ğ"},
        {10000, "\x8A\xA5", "ä•"},         {32768, "\x8A", "ä"},    {32769, "\xE4", "ä"},
        {65001, "\xC3\xA4", "ä"},
    };
    for (const Case& page : cases) {
        const CodePage codePage(page.number);
        EXPECT_TRUE(codePage.IsKnown()) << page.number;
        EXPECT_EQ(codePage.ToUtf8(page.bytes), page.text) << page.number;
        EXPECT_EQ(codePage.ToUtf8("plain 1"), "plain 1") << page.number;
    }
}

TEST(CodePageTest, WindowsStandsInForWhatIsNotKnown) {
    const CodePage page(21010);
    EXPECT_FALSE(page.IsKnown());
    EXPECT_EQ(page.ToUtf8("\x80"), "€");
}

TEST(CodePageTest, BytesOfNoCharacterAreQuestionMarks) {
    EXPECT_EQ(CodePage(932).ToUtf8("a\x8A"), "a?") << "cut in a character";
    EXPECT_EQ(CodePage(1253).ToUtf8("a\xFF"
                                    "b"),
              "a?b");
    EXPECT_EQ(CodePage(65001).ToUtf8("\xC3("), "?(");
}

TEST(CodePageTest, LongTextsComeWhole) {
    const std::string bytes(5000, '\xE9');
    EXPECT_EQ(CodePage(1252).ToUtf8(bytes).size(), 10000U);
}

TEST(CodePageTest, NamesAreThoseOfPeople) {
    for (const char* name : {"windows-1252", "CP1252", "Windows-1252", "latin-1", "ISO-8859-1"}) {
        const auto page = CodePage::Find(name);
        ASSERT_TRUE(page) << name;
        EXPECT_EQ(page->ToUtf8("\xE9"), "é") << name;
    }
    EXPECT_EQ(CodePage::Find("cp850")->ToUtf8("\x81"), "ü");
    EXPECT_EQ(CodePage::Find("utf-16-le")->ToUtf8(std::string_view("a\0", 2)), "a");
    EXPECT_EQ(CodePage::Find("utf-16-be")->ToUtf8(std::string_view("\0a", 2)), "a");
    EXPECT_FALSE(CodePage::Find("no such set"));
}
