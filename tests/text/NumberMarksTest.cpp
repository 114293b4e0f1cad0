// Fields without a mark are written as they stand: what the look at all of them says is what a look at each
// says.
#include "text/NumberMarks.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/NumberFormat.h"
#include "text/PlainNumber.h"

namespace {

/** Whether a field has a mark, which stands in it or at its end. */
bool IsMarked(const NumberMarks& marks, std::size_t begin, std::size_t end) {
    return marks.FindOther(begin, end + 1) <= end;
}

bool StandsAsItIs(std::string_view field) {
    const PlainNumber plain(field);
    return plain.IsThere() && plain.GetEnd() == field.data() + field.size() && plain.GetForm().hasNumber &&
           plain.GetForm().isCanonical;
}

/** Looks at the fields as one line each with others in front, so that each comes at each place of a block. */
void ExpectRight(const std::vector<std::string>& fields, char delimiter) {
    std::string text;
    std::vector<std::size_t> begins;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        begins.push_back(text.size());
        text += fields[i];
        text += i + 1 == fields.size() ? "" : i % 7 == 6 ? "\n" : std::string(1, delimiter);
    }
    NumberMarks marks;
    marks.Look(text, delimiter);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t end = begins[i] + fields[i].size();
        if (!IsMarked(marks, begins[i], end)) {
            EXPECT_TRUE(StandsAsItIs(fields[i])) << fields[i];
            if (StandsAsItIs(fields[i])) {
                EXPECT_EQ(FormatShortest(PlainNumber(fields[i]).GetForm().number), fields[i]);
            }
        }
        EXPECT_EQ(marks.FindEnd(begins[i], text.size()), end) << i;
        EXPECT_EQ(marks.FindStart(0, end), begins[i]) << i;
        EXPECT_EQ(marks.CountEnds(0, end), i) << i;
    }
}

}  // namespace

TEST(NumberMarks, NumbersThatStandAsTheyAreHaveNone) {
    const std::string text = "0,1,-1,12345,1.5,-0.25,0.01,100.001,99999999.123456\n10000,-12.000012,7\n";
    NumberMarks marks;
    marks.Look(text, ',');
    EXPECT_EQ(marks.FindOther(0, text.size()), text.size());
    EXPECT_EQ(marks.CountEnds(0, text.size()), 12U);
}

TEST(NumberMarks, OthersHaveOneInThemOrAtTheirEnd) {
    for (const char* const field : {"",
                                    "-",
                                    "+1",
                                    "-0",
                                    "00",
                                    "01",
                                    "-01.5",
                                    ".5",
                                    "-.5",
                                    "5.",
                                    "1.50",
                                    "0.0",
                                    "-0.0",
                                    "1..2",
                                    "1.2.3",
                                    "1-2",
                                    "1.-2",
                                    "--1",
                                    "1e5",
                                    "nan",
                                    "x",
                                    " 1",
                                    "1 ",
                                    "\"1\"",
                                    "#1",
                                    "\xc3\xa9",
                                    "500000",
                                    "0.001",
                                    "0.0001",
                                    "1234567890123456",
                                    "-12345678.1234567",
                                    "1.234567890123456",
                                    "1\r"}) {
        for (std::size_t ahead = 0; ahead < 130; ++ahead) {
            std::string text;
            while (text.size() < ahead) {
                text += ahead - text.size() == 1 ? "\n" : "1,";
            }
            const std::size_t begin = text.size();
            text += field;
            const std::size_t end = text.size();
            for (const char* const behind : {"", ",2", "\n"}) {
                NumberMarks marks;
                const std::string all = text + behind;
                marks.Look(all, ',');
                EXPECT_TRUE(IsMarked(marks, begin, end)) << field << " at " << begin;
                EXPECT_GE(marks.FindOther(begin, all.size()), begin);
            }
        }
    }
}

TEST(NumberMarks, ALookAtAllFieldsSaysWhatALookAtEachSays) {
    constexpr std::string_view Characters = "0000123456789.-";
    std::mt19937 random(1);
    for (const char delimiter : {',', ';', '\t'}) {
        for (int round = 0; round < 400; ++round) {
            std::vector<std::string> fields;
            for (int i = 0; i < 300; ++i) {
                std::string field;
                if (round % 2 == 0) {
                    for (std::size_t size = random() % 19; size > 0; --size) {
                        field += Characters[random() % Characters.size()];
                    }
                } else {
                    field = FormatG(
                        static_cast<double>(static_cast<int>(random() % 2'000'000) - 1'000'000) / 128.0,
                        static_cast<int>(1 + random() % 12));
                }
                fields.push_back(std::move(field));
            }
            ExpectRight(fields, delimiter);
        }
    }
}
