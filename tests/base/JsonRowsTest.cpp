#include "base/JsonRows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/JsonText.h"
#include "base/VisibleCharacter.h"

TEST(JsonRows, ArraysHoldWhatJsonHasForEachCell) {
    JsonRows rows;
    rows.AddNumber(1.5);
    rows.AddNumber(0.1F);
    rows.AddNumber(std::nan(""));
    rows.AddNumber(-std::numeric_limits<double>::infinity());
    rows.AddNumber(std::numeric_limits<float>::infinity());
    rows.AddInteger(std::numeric_limits<std::int64_t>::min());
    rows.AddBool(true);
    rows.AddNull();
    rows.AddText("a \"b\"\n\u00e5");
    rows.AddPlainText("2025-09-17");
    rows.EndRow();
    EXPECT_EQ(rows.GetBytes(),
              "[1.5,0.1,null,\"-inf\",\"inf\",-9223372036854775808,true,null,\"a \\\"b\\\"\\n\u00e5\","
              "\"2025-09-17\"]\n");
}

TEST(JsonRows, ObjectsHaveAMemberAColumnAndShortRowsAreFilled) {
    const std::vector<std::string> members = {"\"a\":", "\"b\":", "\"c\":"};
    JsonRows rows;
    rows.Begin(&members);
    rows.AddPlain("1");
    rows.EndRow(3);
    rows.EndRow(1);
    rows.EndRow();
    EXPECT_EQ(rows.GetBytes(), "{\"a\":1,\"b\":null,\"c\":null}\n{\"a\":null}\n{}\n");
    rows.Begin(nullptr);
    rows.EndRow();
    EXPECT_EQ(rows.GetBytes(), "[]\n");
}

TEST(JsonRows, FieldsThatStandSideBySideGoOnTogether) {
    JsonRows rows;
    rows.AddPlainFields("1;2.5;-3", ';', 3);
    rows.AddNull();
    rows.AddPlainFields("4,5", ',', 2);
    rows.EndRow(7);
    EXPECT_EQ(rows.GetBytes(), "[1,2.5,-3,null,4,5,null]\n");
}

// A row of millions of fields is written piece by piece.
TEST(JsonRows, ARowGoesOnBehindWhatWasTaken) {
    JsonRows rows;
    rows.AddNumber(1.0);
    EXPECT_EQ(rows.GetBytes(), "[1");
    rows.Clear();
    rows.AddNumber(2.0);
    rows.EndRow(3);
    EXPECT_EQ(rows.GetBytes(), ",2,null]\n");
}

namespace {

// Of one character after the other, as the rule is told.
std::string Escaped(std::string_view text) {
    std::string json;
    while (!text.empty()) {
        if (text.front() == '"' || text.front() == '\\') {
            json += {'\\', text.front()};
            text.remove_prefix(1);
        } else {
            AppendVisibleCharacter(json, text, EscapeStyle::Json);
        }
    }
    return json;
}

}  // namespace

// Each in texts of all lengths and at all places, of which many are looked at together.
TEST(JsonRows, CharactersAreEscapedWhereverTheyStand) {
    std::vector<std::string> characters = {
        "\u00a0", "\u00e9", "\u061b",     "\u061c", "\u2007", "\u200e", "\u202a",   "\u202f", "\u2066",
        "\u206a", "\ufeff", "\U0001f600", "\x80",   "\xff",   "\xc3",   "\xe2\x80", "\xc2",   "\xed\xa0\x80"};
    for (int code = 0; code < 0x80; ++code) {
        characters.emplace_back(1, static_cast<char>(code));
    }
    for (int code = 0x80; code < 0xa0; ++code) {
        characters.push_back({'\xc2', static_cast<char>(code)});
    }
    for (const std::string& character : characters) {
        for (std::size_t before = 0; before < 34; ++before) {
            for (const std::size_t behind : {0U, 1U, 7U, 15U, 16U, 40U}) {
                std::string text = std::string(before, 'a') + character + std::string(behind, 'z');
                text += behind == 7 ? character : "";
                JsonRows rows;
                rows.AddText(text);
                rows.EndRow();
                const std::string expected = "\"" + Escaped(text) + "\"";
                ASSERT_EQ(rows.GetBytes(), "[" + expected + "]\n");
                std::string json;
                AppendJsonText(json, text);
                ASSERT_EQ(json, expected);
            }
        }
    }
}

TEST(JsonRows, ADroppedRowLeavesNothing) {
    JsonRows rows;
    rows.AddNumber(1.0);
    rows.EndRow();
    const std::size_t before = rows.GetBytes().size();
    rows.AddText(std::string(10'000, 'x'));
    rows.AddNull();
    rows.DropRow(before);
    rows.AddBool(true);
    rows.EndRow(2);
    EXPECT_EQ(rows.GetBytes(), "[1]\n[true,null]\n");
}
