#include "text/QuickNumber.h"

#include <gtest/gtest.h>

#include <string>

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
    const std::string digits = "9081726354";
    const std::string zeros = "0000000000";
    const std::string ends = "1200000000";
    int quick = 0;
    for (const std::string& source : {digits, zeros, ends}) {
        for (std::size_t whole = 0; whole <= 9; ++whole) {
            for (std::size_t fraction = 0; fraction <= 9; ++fraction) {
                for (const char* sign : {"", "-", "+"}) {
                    for (std::size_t from = 0; from < 3; ++from) {
                        const std::string front = sign + source.substr(from).substr(0, whole);
                        quick += IsSameAsPlain(front) ? 1 : 0;
                        quick += IsSameAsPlain(front + "." + source.substr(0, fraction)) ? 1 : 0;
                        quick += IsSameAsPlain(front + "." + std::string(fraction, '0') + "5") ? 1 : 0;
                    }
                }
            }
        }
    }
    EXPECT_GT(quick, 1400);
}

TEST(QuickNumberTest, EveryNumberOfFourDigitsWithAPointSomewhere) {
    for (int i = 0; i < 10'000; ++i) {
        const std::string number = std::to_string(10'000 + i).substr(1);
        for (std::size_t point = 1; point <= 4; ++point) {
            for (const std::string sign : {"", "-"}) {
                const std::string text =
                    sign + number.substr(0, point) + (point < 4 ? "." + number.substr(point) : std::string());
                // But for zeros in front.
                const bool isRead = point == 1 || number.front() != '0';
                EXPECT_EQ(IsSameAsPlain(text), isRead) << text;
            }
        }
    }
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
