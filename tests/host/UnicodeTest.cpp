#include "host/Unicode.h"

#include <gtest/gtest.h>

TEST(UnicodeTest, EveryLengthOfUtf8IsWritten) {
    EXPECT_EQ(ToUtf8(u"a\u00e5\u6570\U0001d6fc"), "a\xc3\xa5\xe6\x95\xb0\xf0\x9d\x9b\xbc");
    EXPECT_EQ(ToUtf8(u"\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff"),
              "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf");
    EXPECT_EQ(ToUtf8(u""), "");
}

TEST(UnicodeTest, HalfASurrogatePairBecomesAQuestionMark) {
    const char16_t halves[] = {0xd800, u'a', 0xdc00, 0xd800};
    EXPECT_EQ(ToUtf8({halves, 4}), "?a??");
}

TEST(UnicodeTest, AppendsBehindWhatIsThere) {
    std::string text = "x";
    AppendUtf8(u"y", text);
    EXPECT_EQ(text, "xy");
}
