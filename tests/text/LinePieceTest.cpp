// Lines that are read together hold what each of their fields is by itself.
#include "text/LinePiece.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "text/FieldForm.h"

namespace {

LineRules MakeRules(std::size_t cols, char delimiter) {
    LineRules rules;
    rules.dialect.delimiter = std::string(1, delimiter);
    rules.dialect.quote = '"';
    rules.types.assign(cols, {ColumnType::Number, '.',
                              FieldForm::Integer | FieldForm::WideInteger | FieldForm::PointNumbers |
                                  FieldForm::Missing | FieldForm::Nothing});
    rules.isUtf8 = true;
    rules.makesRuns = true;
    rules.makesTexts = true;
    return rules;
}

std::vector<std::string_view> Divide(std::string_view line, char delimiter) {
    std::vector<std::string_view> fields;
    while (true) {
        const std::size_t end = std::min(line.find(delimiter), line.size());
        fields.push_back(line.substr(0, end));
        if (end == line.size()) {
            return fields;
        }
        line.remove_prefix(end + 1);
    }
}

/** What the piece has at a row's column is what the field is. */
void ExpectField(const LinePiece& piece, std::size_t col, std::uint32_t row, std::string_view field) {
    const LinePiece::Column& column = piece.GetColumns()[col];
    const auto other = std::find_if(column.others.begin(), column.others.end(),
                                    [&](const LinePiece::Other& one) { return one.row == row; });
    const bool isOther = other != column.others.end() && other->kind != LinePiece::Other::Source;
    const FieldForm form = GetFieldForm(field, DateOrder::None);
    if (field.empty()) {
        ASSERT_TRUE(isOther) << row << " " << col;
        EXPECT_EQ(other->kind, LinePiece::Other::Missing);
        return;
    }
    if (isOther) {
        EXPECT_EQ(other->kind, LinePiece::Other::Value) << field;
        EXPECT_EQ(other->text, field);
        EXPECT_EQ(piece.GetForm(*other).bits, form.bits) << field;
        // Blanks around a number take a second look.
        EXPECT_TRUE(!form.hasNumber || field.find(' ') != std::string_view::npos) << field;
        return;
    }
    ASSERT_TRUE(form.hasNumber) << field;
    EXPECT_EQ(column.numbers[row], form.number) << field;
    EXPECT_EQ(std::signbit(column.numbers[row]), std::signbit(form.number)) << field;
    EXPECT_EQ(column.hasDecimals ? column.decimals[row] : 0, form.decimals) << field;
    EXPECT_EQ(other != column.others.end(), !form.isCanonical && form.decimals == 0) << field;
}

/** All lines, read as one piece. */
void ExpectLines(const std::string& text, const LineRules& wanted) {
    LineRules rules = wanted;
    rules.textEnd = text.data() + text.size();
    const char delimiter = rules.dialect.delimiter.front();
    LinePiece piece;
    piece.Read(text, rules);
    ASSERT_TRUE(piece.IsParted());
    std::uint32_t row = 0;
    std::size_t odd = 0;
    for (std::size_t at = 0; at < text.size(); ++row) {
        const std::size_t feed = std::min(text.find('\n', at), text.size());
        std::string_view line = std::string_view(text).substr(at, feed - at);
        const std::string_view whole = std::string_view(text).substr(at, feed + 1 - at);
        at = feed + 1;
        line.remove_suffix(line.ends_with('\r') ? 1 : 0);
        const std::vector<std::string_view> fields = Divide(line, delimiter);
        if (line.empty() || line.front() == '#' || fields.size() != rules.types.size()) {
            ASSERT_LT(odd, piece.GetOddLines().size()) << line;
            EXPECT_EQ(piece.GetOddLines()[odd].row, row) << line;
            EXPECT_EQ(piece.GetOddLines()[odd].line, whole);
            ++odd;
            continue;
        }
        for (std::size_t col = 0; col < fields.size(); ++col) {
            ExpectField(piece, col, row, fields[col]);
        }
    }
    EXPECT_EQ(piece.GetRowCount(), row);
    EXPECT_EQ(piece.GetOddLines().size(), odd);
}

}  // namespace

TEST(LinePieceTest, LinesOfNumbersHoldWhatEachFieldIsByItself) {
    const std::vector<std::string> fields = {"0",
                                             "7",
                                             "-3",
                                             "12345678",
                                             "123456789",
                                             "100000",
                                             "2300000",
                                             "0.5",
                                             "-0.25",
                                             "1.50",
                                             "0.0010",
                                             "0.00012",
                                             "20.442300",
                                             "1.5",
                                             "-1.5",
                                             "-0",
                                             "-0.0",
                                             "007",
                                             "1e5",
                                             "1.5e-3",
                                             "+4",
                                             "",
                                             "NA",
                                             ".5",
                                             "5.",
                                             "1.2.3",
                                             "12345678.1234567",
                                             "1 000.25",
                                             "x",
                                             "1,5",
                                             " 1.5",
                                             "1.5 ",
                                             "9007199254740993",
                                             "0.30000000000000004"};
    std::mt19937 generator(7);
    const auto random = [&generator] { return static_cast<unsigned int>(generator()); };
    for (int round = 0; round < 400; ++round) {
        const std::size_t cols = 1 + random() % 12;
        const std::string end = random() % 3 == 0 ? "\r\n" : "\n";
        // Of most lines all fields are read quickly.
        const unsigned int oneOf = 1U << random() % 9;
        std::string text;
        const std::size_t lines = 1 + random() % 200;
        for (std::size_t line = 0; line < lines; ++line) {
            const unsigned int kind = random() % (8 * oneOf);
            text += kind == 1 ? "#" : "";
            const std::size_t width = kind == 2 ? cols + 1 : kind == 3 && cols > 1 ? cols - 1 : cols;
            for (std::size_t col = 0; col < width; ++col) {
                text += col == 0 ? "" : "\t";
                text += random() % oneOf == 0
                            ? fields[random() % fields.size()]
                            : std::to_string(random() % 100'000 / 100.0).substr(0, 4 + col % 5);
            }
            text += line + 1 == lines && round % 2 == 0 ? "" : end;
            text += kind == 4 ? "\n" : "";
        }
        ExpectLines(text, MakeRules(cols, '\t'));
    }
}

TEST(LinePieceTest, ColumnsOfTextsStandAmongThoseOfQuickNumbers) {
    LineRules rules = MakeRules(4, ',');
    rules.types[1] = {ColumnType::Text, '.', 0};
    std::string text;
    for (int row = 0; row < 500; ++row) {
        text += std::to_string(row) + ".25,name." + std::to_string(row) + (row % 3 == 0 ? ",\"" : ",") +
                std::to_string(row % 7) + (row % 3 == 0 ? "\"," : ",") + std::to_string(row) + ".50\n";
    }
    rules.textEnd = text.data() + text.size();
    LinePiece piece;
    piece.Read(text, rules);
    ASSERT_EQ(piece.GetRowCount(), 500U);
    EXPECT_TRUE(piece.GetOddLines().empty());
    const std::vector<LinePiece::Column>& columns = piece.GetColumns();
    for (std::uint32_t row = 0; row < 500; ++row) {
        EXPECT_EQ(columns[0].numbers[row], row + 0.25);
        EXPECT_EQ(columns[2].numbers[row], row % 7);
        EXPECT_EQ(columns[3].numbers[row], row + 0.5);
        EXPECT_EQ(columns[3].decimals[row], 3);
        const TextRun run = columns[1].texts.GetRun(row, row + 1);
        EXPECT_EQ(std::string_view(run.bytes + run.begin, run.ends[0] - run.begin),
                  "name." + std::to_string(row));
    }
}

TEST(LinePieceTest, PiecesOneAfterTheOtherLeaveNothingOfTheLastOne) {
    LineRules rules = MakeRules(2, ',');
    LinePiece piece;
    for (const std::string text : {"1.50,2.50\n1.5,2.5\n1,2\n", "1.5,2.5\n1,2\n1.5,2.5\n1.50,2\n", "1,2\n"}) {
        rules.textEnd = text.data() + text.size();
        piece.Read(text, rules);
        const std::size_t rows = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        ASSERT_EQ(piece.GetRowCount(), rows);
        std::uint32_t row = 0;
        for (std::size_t at = 0; at < text.size(); ++row) {
            const std::size_t feed = text.find('\n', at);
            const std::vector<std::string_view> fields =
                Divide(std::string_view(text).substr(at, feed - at), ',');
            ExpectField(piece, 0, row, fields[0]);
            ExpectField(piece, 1, row, fields[1]);
            at = feed + 1;
        }
    }
}

TEST(LinePieceTest, LinesThatMustBePlainAreReadIfTheyAre) {
    LineRules rules = MakeRules(2, ',');
    rules.mustBePlain = true;
    const std::string plain = "1.5,2.5\n3.5,4.5\n";
    rules.textEnd = plain.data() + plain.size();
    LinePiece piece;
    piece.Read(plain, rules);
    EXPECT_TRUE(piece.IsPlain());
    EXPECT_EQ(piece.GetRowCount(), 2U);
    for (const char other : {'\0', '\x80', '\xe9'}) {
        for (std::size_t place = 0; place < plain.size(); ++place) {
            std::string text = plain;
            text[place] = other;
            rules.textEnd = text.data() + text.size();
            piece.Read(text, rules);
            EXPECT_FALSE(piece.IsPlain()) << place;
        }
    }
}
