#include "text/RecordScanner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using Records = std::vector<std::vector<std::string>>;

Records Scan(std::string_view text, const TextDialect& dialect,
             RecordScanner::End end = RecordScanner::End::File) {
    Records records;
    RecordScanner scanner(text, dialect, 0, end);
    std::string storage;
    while (scanner.Next()) {
        std::vector<std::string>& record = records.emplace_back();
        for (const TextField& field : scanner.GetFields()) {
            record.emplace_back(scanner.GetText(field, storage));
        }
    }
    return records;
}

TextDialect Divide(const std::string& delimiter, bool mergeRuns = false, bool skipsBlank = false) {
    return {delimiter, '"', '\0', mergeRuns, skipsBlank};
}

}  // namespace

// Lines without quotes are divided in a way of their own; a quote in front of them makes no difference.
TEST(RecordScannerTest, PlainLinesAreDividedLikeOthers) {
    struct Case {
        const char* line;
        TextDialect dialect;
        std::vector<std::string> fields;
    };
    const std::vector<Case> cases = {
        {"a,b,c", Divide(","), {"a", "b", "c"}},
        {",,", Divide(","), {"", "", ""}},
        {"", Divide(","), {""}},
        {" a , b ", Divide(","), {" a ", " b "}},
        {"a, b,  c,", Divide(",", false, true), {"a", "b", " c", ""}},
        {"a, ", Divide(",", false, true), {"a", ""}},
        {"a::b:c::", Divide("::"), {"a", "b:c", ""}},
        {"a,b", Divide(""), {"a,b"}},
        {"  a   b ", Divide(" ", true), {"a", "b"}},
        {"a  b", Divide(" "), {"a", "", "b"}},
        {"a,,b,", Divide(",", true), {"a", "b"}},
        {"   ", Divide(" ", true), {}},
        {"a number of words that is longer than eight bytes,b",
         Divide(","),
         {"a number of words that is longer than eight bytes", "b"}},
    };
    for (const Case& one : cases) {
        for (const char* lineEnd : {"\n", "\r\n", "\r", ""}) {
            if (*one.line == '\0' && *lineEnd == '\0') {
                continue;
            }
            const Records plain = Scan(std::string(one.line) + lineEnd, one.dialect);
            ASSERT_EQ(plain.size(), 1U) << one.line;
            EXPECT_EQ(plain[0], one.fields) << one.line;
        }
        // In quotes are as many fields again, by the other way.
        const std::string delimiter = one.dialect.delimiter;
        const Records quoted = Scan("\"q\"" + delimiter + one.line + "\n", one.dialect);
        ASSERT_EQ(quoted.size(), 1U) << one.line;
        if (!delimiter.empty() && !one.dialect.skipsBlank) {
            std::vector<std::string> expected = one.fields;
            expected.insert(expected.begin(), "q");
            EXPECT_EQ(quoted[0], expected) << one.line;
        }
    }
}

TEST(RecordScannerTest, LineEndsOfAllKindsEndRecords) {
    EXPECT_EQ(Scan("a\nb\r\nc\rd", Divide(",")), (Records{{"a"}, {"b"}, {"c"}, {"d"}}));
    EXPECT_EQ(Scan("a\n\r\n\rb\n", Divide(",")), (Records{{"a"}, {""}, {""}, {"b"}}));
    EXPECT_EQ(Scan("a\rb\r", Divide(",")), (Records{{"a"}, {"b"}}));
}

TEST(RecordScannerTest, RecordThatTheEndCutsIsNone) {
    EXPECT_EQ(Scan("a,b\nc,d", Divide(","), RecordScanner::End::Cut), (Records{{"a", "b"}}));
    EXPECT_EQ(Scan("a,b\nc,d\n", Divide(","), RecordScanner::End::Cut), (Records{{"a", "b"}, {"c", "d"}}));
    EXPECT_EQ(Scan("a b", Divide(" ", true), RecordScanner::End::Cut), Records{});
}

// A text may end its lines with one of the two only: looking for the other costs its bytes once.
TEST(RecordScannerTest, TextWithoutLineFeedsCostsNoMoreThanItsBytes) {
    constexpr std::size_t Lines = 3'000'000;
    std::string text;
    for (std::size_t i = 0; i < Lines; ++i) {
        text += "1\r";
    }
    RecordScanner scanner(text, Divide(","));
    std::size_t records = 0;
    while (scanner.NextLine()) {
        ++records;
    }
    EXPECT_EQ(records, Lines);
}
