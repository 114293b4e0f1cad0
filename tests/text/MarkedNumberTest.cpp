// A number whose ends are known is what the plain way reads.
#include "text/MarkedNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>

#include "tests/text/NumberTexts.h"
#include "text/PlainNumber.h"

namespace {

/** What is read by its marks is what the plain way reads; whether it was. */
bool IsSameAsPlain(const std::string& text) {
    bool isRead = false;
    // What stands around a field may be anything.
    for (const std::string before : {"1234567\t", "........", "0000000,"}) {
        const std::string bytes = before + text + ",17.5,20";
        const char* const begin = bytes.data() + before.size();
        const char* const end = begin + text.size();
        const std::size_t point = text.find('.');
        MarkedNumber marked;
        isRead = point == std::string::npos ? marked.ReadWhole(begin, end)
                                            : marked.ReadDecimal(begin, begin + point, end);
        if (!isRead) {
            continue;
        }
        const PlainNumber plain({begin, text.size()}, bytes.data() + bytes.size());
        const FieldForm form = plain.GetForm();
        EXPECT_EQ(plain.GetEnd(), end) << bytes;
        EXPECT_TRUE(form.hasNumber) << bytes;
        EXPECT_EQ(marked.GetValue(), form.number) << bytes;
        EXPECT_EQ(std::signbit(marked.GetValue()), std::signbit(form.number)) << bytes;
        EXPECT_EQ(marked.GetDecimals(), form.decimals) << bytes;
        EXPECT_EQ(form.isCanonical, marked.GetDecimals() == 0) << bytes;
    }
    return isRead;
}

}  // namespace

TEST(MarkedNumberTest, NumbersOfAllLengthsAreThoseOfThePlainWay) {
    EXPECT_GT(CountReadOfAllLengths(IsSameAsPlain), 1400);
}

TEST(MarkedNumberTest, EveryNumberOfFourDigitsWithAPointSomewhere) {
    ForEachOfFourDigits([](const std::string& text, const std::string& number, std::size_t point) {
        // But for zeros in front, and for minus zero.
        const bool isRead = (point == 1 || number.front() != '0') && !(point == 4 && number == "0000");
        EXPECT_EQ(IsSameAsPlain(text), isRead) << text;
    });
}

TEST(MarkedNumberTest, WhatNeedsMoreThanALookIsLeft) {
    for (const char* text : {"",
                             "-",
                             ".",
                             ".5",
                             "-.5",
                             "5.",
                             "+1",
                             "00",
                             "01.5",
                             "-0",
                             "100000",
                             "2300000",
                             "123456789",
                             "1e5",
                             "1,5",
                             "1 5",
                             "0x10",
                             "1:30",
                             "1.2.3",
                             "nan",
                             "12345678.12345678",
                             "1.123456789",
                             "1.5e3",
                             "7/8",
                             "-n",
                             "1.5 ",
                             " 1.5",
                             "1.5\xb0",
                             "2024-01-01",
                             "--1",
                             "1-",
                             "\xb2.5",
                             "1.-5"}) {
        EXPECT_FALSE(IsSameAsPlain(text)) << text;
    }
}
