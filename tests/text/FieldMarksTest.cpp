// The marks of lines are where fields end and points stand, wherever the look at them begins.
#include "text/FieldMarks.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::vector<std::size_t> FindPlaces(std::string_view lines, char delimiter, std::size_t from) {
    std::vector<std::size_t> places;
    for (std::size_t i = from; i < lines.size(); ++i) {
        if (lines[i] == delimiter || lines[i] == '\n' || lines[i] == '.') {
            places.push_back(i);
        }
    }
    return places;
}

/** Those that a reading hands out one by one. */
std::vector<std::size_t> ReadPlaces(FieldMarks& marks, std::string_view lines, std::size_t from) {
    std::vector<std::size_t> places;
    const char* at = lines.data() + from;
    FieldMarks::Reading reading;
    while (true) {
        if (!reading.HasTwo()) {
            reading = marks.Look(at);
            if (!reading.HasTwo()) {
                return places;
            }
        }
        EXPECT_LT(reading.GetFirst(), reading.GetSecond());
        places.push_back(static_cast<std::size_t>(reading.GetFirst() - lines.data()));
        at = reading.GetFirst() + 1;
        reading.Skip(1);
    }
}

}  // namespace

TEST(FieldMarksTest, TellsWhereFieldsEndAndPointsStandInLinesOfAnyDensity) {
    for (const std::string field :
         {"1", "", "12.5", "123456.789012", "-1.5", "a text of many words, perhaps",
          "0123456789012345678901234567890123456789012345678901234567890123456789"}) {
        std::string lines;
        while (lines.size() < 20'000) {
            lines += field + (lines.size() % 7 == 3 ? "\n" : "\t");
        }
        lines.back() = '\n';
        FieldMarks marks;
        marks.Begin(lines, '\t');
        for (const std::size_t from : {0U, 1U, 63U, 64U, 65U, 4095U, 4096U, 10'001U, 19'990U}) {
            std::vector<std::size_t> expected = FindPlaces(lines, '\t', from);
            // The last one has none behind it.
            expected.pop_back();
            EXPECT_EQ(ReadPlaces(marks, lines, from), expected) << field << " from " << from;
        }
    }
}

TEST(FieldMarksTest, LooksAtNothingBehindTheLines) {
    const std::string text(200, ',');
    for (std::size_t size = 0; size < 140; ++size) {
        FieldMarks marks;
        marks.Begin(std::string_view(text).substr(0, size), ',');
        EXPECT_EQ(ReadPlaces(marks, std::string_view(text).substr(0, size), 0).size(),
                  size == 0 ? 0 : size - 1);
    }
}

TEST(FieldMarksTest, SeeksTheFirstMarkFromAPlaceOn) {
    const std::string lines = "1.5,2.5,3.5\n4.5,5.5,6.5\n";
    FieldMarks marks;
    marks.Begin(lines, ',');
    FieldMarks::Reading reading = marks.Look(lines.data());
    reading.Seek(lines.data() + 8);
    ASSERT_TRUE(reading.HasTwo());
    EXPECT_EQ(reading.GetFirst() - lines.data(), 9);
    EXPECT_EQ(reading.GetSecond() - lines.data(), 11);
    reading.Seek(lines.data() + lines.size());
    EXPECT_FALSE(reading.HasTwo());
}

TEST(FieldMarksTest, FindsNoneWhereNoneIsCloseBy) {
    const std::string lines = std::string(10'000, 'x') + "\n1\n";
    FieldMarks marks;
    marks.Begin(lines, ',');
    EXPECT_FALSE(marks.Look(lines.data()).HasTwo());
    EXPECT_TRUE(marks.Look(lines.data() + 9000).HasTwo());
}
