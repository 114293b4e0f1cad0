#include "base/SeparatedText.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

std::string Quoted(const std::string& field) {
    std::string text = "\"";
    for (const char c : field) {
        text += std::string(c == '"' ? 2 : 1, c);
    }
    return text + '"';
}

}  // namespace

// At all places of fields of all lengths, of which many bytes are looked at together.
TEST(SeparatedText, FieldsAreQuotedWhereverThatIsNeeded) {
    for (const char special : {',', '"', '\n', '\r', ';', '\t', '\0', '\x7f', '\xff'}) {
        for (std::size_t before = 0; before < 40; ++before) {
            for (const std::size_t behind : {0U, 1U, 9U, 33U}) {
                const std::string field =
                    std::string(before, 'a') + special + std::string(behind, 'z') + (behind == 9 ? "\"" : "");
                SeparatedText text;
                text.Add(field);
                text.EndRow();
                const bool isQuoted =
                    special == ',' || special == '"' || special == '\n' || special == '\r' || behind == 9;
                ASSERT_EQ(text.GetBytes(), (isQuoted ? Quoted(field) : field) + "\n");
            }
        }
    }
}

TEST(SeparatedText, RowsHaveAllTheirFields) {
    SeparatedText text('\t');
    text.EndRow(3);
    text.AddPlainFields("1;2;;", ';', 4);
    text.AddQuoted("a\"\"b");
    text.Add("");
    text.EndRow(8);
    text.EndRow();
    EXPECT_EQ(text.GetBytes(), "\t\t\n1\t2\t\t\t\"a\"\"b\"\t\t\t\n\n");
    text.Begin(';');
    text.Add("\t");
    text.Add(";");
    text.EndRow();
    EXPECT_EQ(text.GetBytes(), "\t;\";\"\n");
}

TEST(SeparatedText, ADroppedRowLeavesNothing) {
    SeparatedText text;
    text.AddPlain("1");
    text.EndRow();
    const std::size_t before = text.GetBytes().size();
    text.Add(std::string(10'000, '"'));
    text.DropRow(before);
    text.AddPlain("2");
    text.EndRow();
    EXPECT_EQ(text.GetBytes(), "1\n2\n");
}
