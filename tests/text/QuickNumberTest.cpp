#include "text/QuickNumber.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "tests/text/NumberTexts.h"
#include "text/PlainNumber.h"

namespace {

/** The form that is found quickly is what the plain way finds; whether it was. */
bool IsSameAsPlain(const std::string& text) {
    // What follows a field may be anything.
    for (const std::string behind :
         {",17.5,20,30,40,50,60", "\n12345678901234567890", "\n                    "}) {
        const std::string bytes = text + behind;
        QuickNumber quick;
        if (!quick.Find(bytes.data()) || quick.GetEnd() != bytes.data() + text.size() || !quick.HasForm()) {
            return false;
        }
        const PlainNumber plain(std::string_view(bytes).substr(0, text.size()), bytes.data() + bytes.size());
        EXPECT_EQ(plain.GetEnd(), quick.GetEnd()) << bytes;
        EXPECT_EQ(quick.GetBits(), plain.GetForm().bits) << bytes;
        EXPECT_EQ(quick.GetBits(), plain.GetBits()) << bytes;
    }
    return true;
}

}  // namespace

TEST(QuickNumberTest, NumbersOfAllLengthsAreThoseOfThePlainWay) {
    EXPECT_GT(CountReadOfAllLengths(IsSameAsPlain), 1400);
}

TEST(QuickNumberTest, EveryNumberOfFourDigitsWithAPointSomewhere) {
    ForEachOfFourDigits([](const std::string& text, const std::string& number, std::size_t point) {
        // But for zeros in front.
        const bool isRead = point == 1 || number.front() != '0';
        EXPECT_EQ(IsSameAsPlain(text), isRead) << text;
    });
}

TEST(QuickNumberTest, WhatNeedsMoreThanALookIsLeft) {
    for (const char* text : {"",
                             "-",
                             ".",
                             ".5",
                             "-.5",
                             "5.",
                             "+1",
                             "00",
                             "01.5",
                             "123456789",
                             "12345678.12345678",
                             "1.123456789",
                             "1e5",
                             "1.5e3",
                             "1,5",
                             "1 5",
                             "0x10",
                             "1.2.3",
                             "nan",
                             "2024-01-01",
                             "7/8"}) {
        EXPECT_FALSE(IsSameAsPlain(text)) << text;
    }
}
