#include "instrument/USDBase.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <ios>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "frame/OptionsText.h"
#include "instrument/USDOptions.h"
#include "tests/support/ReadTrace.h"

namespace {

using Intervals = std::vector<std::pair<float, float>>;

void Fill(USDConstraints& record, const Intervals& intervals, int average) {
    record.includeX = true;
    record.includeAll = false;
    record.useAverage = average;
    record.numIntervals = static_cast<int>(intervals.size());
    record.SetArrays(record.numIntervals);
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        record.startPoints[i] = intervals[i].first;
        record.endPoints[i] = intervals[i].second;
    }
}

USDBase Constrained(const Intervals& intervals, int average) {
    USDConstraints record;
    Fill(record, intervals, average);
    USDBase base;
    base.SetUSDConstraints(&record);
    return base;
}

/** The state machine once more, written down as a list of rules, for X and Y alike. */
struct PlainRules {
    Intervals intervals;
    int average = 0;

    float sum = 0.0F;
    int count = 0;
    int last = 0;

    int IntervalOf(float x) const {
        for (std::size_t i = 0; i < intervals.size(); ++i) {
            const auto [start, end] = intervals[i];
            const bool fromStart = start <= x || std::fabs((start - x) / x) < 1e-05;
            const bool toEnd = x <= end || std::fabs((end - x) / x) < 1e-05;
            if (fromStart && toEnd) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    /** Takes the point at x with this value, which may be x itself; true when it gives a column. */
    bool Take(float x, float& value) {
        const int interval = IntervalOf(x);
        if (interval == -1) {
            return false;
        }
        if (average < 2) {
            return true;
        }
        count = count + 1;
        bool column = true;
        if (interval == last) {
            const float s = sum + value;
            column = count == average;
            sum = column ? 0.0F : s;
            count = column ? 0 : count;
            value = column ? s / static_cast<float>(average) : value;
        } else if (interval > last) {
            const float t = value;
            value = (sum + t) / static_cast<float>(count);
            sum = t;
            count = 1;
        }
        last = interval;
        return column;
    }
};

// One spectrum through both: the same points must end columns, with the same bits.
void ExpectSamePass(USDBase& base, PlainRules& rules, std::mt19937& random, bool withY) {
    std::uniform_real_distribution<float> value(-10.0F, 10.0F);
    const float first = std::uniform_real_distribution<float>(-50.0F, 50.0F)(random);
    const float step = value(random) / 4.0F;
    const int numPoints = std::uniform_int_distribution<int>(0, 60)(random);
    base.Reset();
    rules.sum = 0.0F;
    rules.count = 0;
    for (int i = 0; i < numPoints; ++i) {
        const float position = static_cast<float>(i) * step + first;
        float x = position;
        float y = value(random);
        float expected = withY ? y : x;
        const bool column = rules.Take(position, expected);
        ASSERT_EQ(withY ? base.IsValid(x, y) : base.IsValid(x), column) << "point " << i;
        ASSERT_EQ(withY ? y : x, expected) << "point " << i;
        if (withY) {
            ASSERT_EQ(x, position);
        }
    }
}

void ExpectSameCount(USDBase& base, PlainRules& rules, std::mt19937& random) {
    const double first = std::uniform_real_distribution<double>(-50.0, 50.0)(random);
    const double step = std::uniform_real_distribution<double>(-2.0, 2.0)(random);
    const int numPoints = std::uniform_int_distribution<int>(0, 60)(random);
    rules.sum = 0.0F;
    rules.count = 0;
    int columns = 0;
    for (int i = 0; i < numPoints; ++i) {
        float x = static_cast<float>(i) * static_cast<float>(step) + static_cast<float>(first);
        columns += rules.Take(x, x) ? 1 : 0;
    }
    ASSERT_EQ(base.GetNumCol(numPoints, first, step), columns);
}

std::vector<bool> Decisions(USDBase& base, const std::vector<float>& points) {
    std::vector<bool> decisions;
    base.Reset();
    for (float x : points) {
        decisions.push_back(base.IsValid(x));
    }
    return decisions;
}

// What a reader makes of a record, or "failure" where it raises the stream's exception.
std::string TextAfterReading(const TestOptions& options) {
    USDConstraints record;
    Fill(record, {{1.0F, 2.0F}}, 0);
    record.includeAll = true;
    try {
        TestOptions copy = options;
        ReadUSDOptions(*copy.Get(), record);
    } catch (const std::ios_base::failure&) {
        return "failure";
    }
    std::string text;
    USDBase::GetStringFromUSDConstraints(&record, text);
    return text;
}

std::string TextOf(const char* includeX, const char* includeAll, const char* count, const char* average,
                   const char* starts, const char* ends) {
    return std::string("<XMLSection><Settings><IncludeXAsAnObservation>") + includeX +
           "</IncludeXAsAnObservation><IncludeAllObservations>" + includeAll +
           "</IncludeAllObservations><NumberOfIncludedIntervals>" + count +
           "</NumberOfIncludedIntervals><UseAverage>" + average + "</UseAverage><IncludeXStartPt>" + starts +
           "</IncludeXStartPt><IncludeXEndPt>" + ends + "</IncludeXEndPt></Settings></XMLSection>";
}

}  // namespace

TEST(USDBaseTest, StateMachineFollowsThePlainRulesOverRandomIntervalsAndAverages) {
    std::mt19937 random(20261121);
    std::uniform_real_distribution<float> position(-60.0F, 60.0F);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        PlainRules rules;
        for (int i = std::uniform_int_distribution<int>(0, 5)(random); i > 0; --i) {
            const float start = position(random);
            rules.intervals.emplace_back(start, start + position(random) / 2.0F + 20.0F);
        }
        rules.average = std::uniform_int_distribution<int>(-1, 6)(random);
        USDBase base = Constrained(rules.intervals, rules.average);
        // Several passes by one object: the interval of the last point is carried from each to the next.
        for (int pass = 0; pass < 6 && !HasFatalFailure(); ++pass) {
            switch (pass % 3) {
                case 0:
                    ExpectSameCount(base, rules, random);
                    break;
                default:
                    ExpectSamePass(base, rules, random, pass % 3 == 2);
                    break;
            }
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(USDBaseTest, EndsAreAsWideAsTheirToleranceAtEveryMagnitude) {
    std::mt19937 random(7);
    const auto anyFloat = [&random] { return std::bit_cast<float>(static_cast<std::uint32_t>(random())); };
    const float infinity = std::numeric_limits<float>::infinity();
    for (int round = 0; round < 3000; ++round) {
        PlainRules rules;
        for (int i = 0; i < 4; ++i) {
            const float start = round % 2 == 0 ? anyFloat() : std::ldexp(anyFloat(), -120);
            const float end = i % 2 == 0 ? anyFloat() : start + std::fabs(start) * 1e-4F;
            rules.intervals.emplace_back(start, end);
        }
        rules.intervals.emplace_back(round % 3 == 0 ? -infinity : 0.0F, round % 5 == 0 ? infinity : -0.0F);
        USDBase base = Constrained(rules.intervals, 0);
        std::vector<float> points{0.0F, -0.0F, infinity, -infinity, std::nanf(""), anyFloat()};
        for (const auto& [start, end] : rules.intervals) {
            for (const float edge : {start, end}) {
                for (const float factor : {1.0F, 1.00001F, 0.99999F}) {
                    float x = edge * factor;
                    for (int i = 0; i < 4; ++i) {
                        x = std::nextafter(x, -infinity);
                    }
                    for (int i = 0; i < 9; ++i) {
                        points.push_back(x);
                        x = std::nextafter(x, infinity);
                    }
                }
            }
        }
        for (float x : points) {
            ASSERT_EQ(base.IsValid(x), rules.IntervalOf(x) != -1) << "round " << round << " at " << x;
        }
    }
}

TEST(USDBaseTest, AsManyIntervalsAsPointsAreMeasuredAtOnce) {
    Intervals intervals;
    constexpr int Count = 300000;
    for (int i = 0; i < Count; ++i) {
        intervals.emplace_back(static_cast<float>(Count - i), static_cast<float>(Count - i) + 0.25F);
    }
    // Looking through all intervals for each point would take minutes.
    EXPECT_EQ(Constrained(intervals, 0).GetNumCol(Count, 1.0, 1.0), Count);
    EXPECT_EQ(Constrained(intervals, 0).GetNumCol(Count, Count + 10.0, 1.0), 0);
}

TEST(USDBaseTest, EveryPointCountsAtFirst) {
    USDBase base;
    EXPECT_TRUE(base.IncludeAllObservations());
    EXPECT_TRUE(base.IncludeXAsAnObservation());
    EXPECT_EQ(base.GetNumCol(1000, 400.0, 2.0), 1000);
    float x = 1.5F;
    float y = 2.5F;
    EXPECT_TRUE(base.IsValid(x));
    EXPECT_TRUE(base.IsValid(x, y));
    EXPECT_EQ(x, 1.5F);
    EXPECT_EQ(y, 2.5F);
}

TEST(USDBaseTest, IncludeAllCountsEveryPointWhateverTheAverage) {
    USDConstraints record;
    Fill(record, {{0.0F, 1.0F}}, 3);
    record.includeAll = true;
    USDBase base;
    base.SetUSDConstraints(&record);
    EXPECT_EQ(base.GetNumCol(7, 10.0, 1.0), 7);
    EXPECT_EQ(Decisions(base, {5.0F, 6.0F, std::nanf("")}), (std::vector<bool>{true, true, true}));
}

TEST(USDBaseTest, IncludeAllMeasuresEnormousCountsAtOnce) {
    USDBase base;
    EXPECT_EQ(base.GetNumCol(std::numeric_limits<int>::max(), 0.0, 1.0), std::numeric_limits<int>::max());
    EXPECT_EQ(base.GetNumCol(-5, 0.0, 1.0), 0);
}

TEST(USDBaseTest, NoIntervalGivesNoColumn) {
    USDBase base = Constrained({}, 0);
    EXPECT_EQ(base.GetNumCol(100, 0.0, 1.0), 0);
}

TEST(USDBaseTest, IntervalsWithoutArraysTakeEveryPoint) {
    USDConstraints record;
    record.includeAll = false;
    record.numIntervals = 2;
    USDBase base;
    base.SetUSDConstraints(&record);
    EXPECT_EQ(base.GetNumCol(9, 0.0, 1.0), 9);
}

TEST(USDBaseTest, AverageOfThreeOverSevenPointsLosesTheLast) {
    USDBase base = Constrained({{0.0F, 100.0F}}, 3);
    EXPECT_EQ(base.GetNumCol(7, 1.0, 1.0), 2);
    EXPECT_EQ(Decisions(base, {1, 2, 3, 4, 5, 6, 7}),
              (std::vector<bool>{false, false, true, false, false, true, false}));
}

TEST(USDBaseTest, GroupClosesWithTheMeansOfXAndOfY) {
    USDBase base = Constrained({{0.0F, 100.0F}}, 3);
    float x = 1.0F;
    EXPECT_FALSE(base.IsValid(x));
    x = 2.0F;
    EXPECT_FALSE(base.IsValid(x));
    x = 6.0F;
    EXPECT_TRUE(base.IsValid(x));
    EXPECT_EQ(x, 3.0F);
    float y = 10.0F;
    EXPECT_FALSE(base.IsValid(x, y));
    EXPECT_FALSE(base.IsValid(x, y));
    y = 40.0F;
    EXPECT_TRUE(base.IsValid(x, y));
    EXPECT_EQ(y, 20.0F);
    EXPECT_EQ(x, 3.0F);
}

TEST(USDBaseTest, CrossingIntoALaterIntervalClosesTheGroupEarly) {
    USDBase base = Constrained({{1.0F, 3.0F}, {4.0F, 6.0F}}, 2);
    std::vector<float> columns;
    base.Reset();
    for (float x : {1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F}) {
        if (base.IsValid(x)) {
            columns.push_back(x);
        }
    }
    // 4 closes the group that 3 opened, and is the first of the next: 4 and 5. 6 is lost.
    EXPECT_EQ(columns, (std::vector<float>{1.5F, 3.5F, 4.5F}));
}

TEST(USDBaseTest, PassThatEndedInALaterIntervalMakesTheNextOneLonger) {
    USDBase base = Constrained({{1.0F, 3.0F}, {4.0F, 6.0F}}, 2);
    EXPECT_EQ(base.GetNumCol(6, 1.0, 1.0), 3);
    EXPECT_EQ(Decisions(base, {1, 2, 3, 4, 5, 6}), (std::vector<bool>{true, true, false, true, true, false}));
}

TEST(USDBaseTest, PointOutsideChangesNoState) {
    USDBase base = Constrained({{1.0F, 2.0F}, {10.0F, 11.0F}}, 3);
    base.Reset();
    float x = 1.0F;
    EXPECT_FALSE(base.IsValid(x));
    x = 5.0F;
    EXPECT_FALSE(base.IsValid(x));
    EXPECT_EQ(x, 5.0F);
    x = 10.0F;
    EXPECT_TRUE(base.IsValid(x));
    EXPECT_EQ(x, 5.5F);
}

TEST(USDBaseTest, PointBesideAnEndCountsWithinARelativeTolerance) {
    USDBase base = Constrained({{300.0F, 500.0F}}, 0);
    EXPECT_EQ(Decisions(base, {300.0F, 500.0F, 299.998F, 500.004F}),
              (std::vector<bool>{true, true, true, true}));
    EXPECT_EQ(Decisions(base, {299.99F, 500.01F}), (std::vector<bool>{false, false}));
}

TEST(USDBaseTest, AtXOfZeroOnlyTheExactComparisonHolds) {
    USDBase beside = Constrained({{1e-30F, 1.0F}}, 0);
    USDBase on = Constrained({{0.0F, 0.0F}}, 0);
    EXPECT_EQ(Decisions(beside, {0.0F}), (std::vector<bool>{false}));
    EXPECT_EQ(Decisions(on, {0.0F}), (std::vector<bool>{true}));
}

TEST(USDBaseTest, FirstOfOverlappingIntervalsTakesThePoint) {
    // Were 2 and 3 the second interval's, 2 would cross into it and end a column.
    USDBase base = Constrained({{1.0F, 3.0F}, {2.0F, 5.0F}}, 3);
    EXPECT_EQ(Decisions(base, {1.0F, 2.0F, 3.0F, 4.0F}), (std::vector<bool>{false, false, true, true}));
}

TEST(USDBaseTest, NumbersThatAreNoneAreInNoInterval) {
    USDBase base = Constrained({{std::nanf(""), 10.0F}}, 2);
    EXPECT_EQ(Decisions(base, {1.0F, std::nanf("")}), (std::vector<bool>{false, false}));
}

TEST(USDBaseTest, GettingTheConstraintsLosesIncludeX) {
    USDConstraints record;
    Fill(record, {{1.0F, 2.0F}, {3.0F, 4.0F}}, 5);
    record.includeX = false;
    record.includeAll = true;
    USDBase base;
    base.SetUSDConstraints(&record);
    USDConstraints back;
    back.SetArrays(7);
    base.GetUSDConstraints(&back);
    EXPECT_TRUE(back.includeX);
    EXPECT_TRUE(back.includeAll);
    EXPECT_EQ(back.numIntervals, 2);
    EXPECT_EQ(back.useAverage, 5);
    EXPECT_EQ(back.startPoints[1], 3.0F);
    EXPECT_EQ(back.endPoints[1], 4.0F);
    EXPECT_FALSE(base.IncludeXAsAnObservation());
}

TEST(USDBaseTest, CopiesShareNothing) {
    USDBase first = Constrained({{1.0F, 3.0F}}, 2);
    float x = 1.0F;
    first.IsValid(x);
    USDBase copy(first);
    USDBase assigned;
    assigned = first;
    USDConstraints none;
    none.includeAll = false;
    first.SetUSDConstraints(&none);
    // Both hold the open group with its one member.
    x = 2.0F;
    EXPECT_TRUE(copy.IsValid(x));
    EXPECT_EQ(x, 1.5F);
    x = 2.0F;
    EXPECT_TRUE(assigned.IsValid(x));
    EXPECT_EQ(x, 1.5F);
}

TEST(USDBaseTest, ThereAreNoDefaultIntervals) {
    USDBase base;
    EXPECT_EQ(base.GetDefaults(nullptr, nullptr, 0), 0);
}

TEST(USDBaseTest, TextHoldsTheKeysInTheirOrder) {
    USDConstraints record;
    Fill(record, {{400.0F, 500.5F}, {600.0F, 1e10F}}, 4);
    std::string text;
    ASSERT_TRUE(USDBase::GetStringFromUSDConstraints(&record, text));
    EXPECT_EQ(text, TextOf("true", "false", "2", "4", "400,600", "500.5,1e+10"));
    USDConstraints back;
    back.SetArrays(2);
    ASSERT_TRUE(USDBase::GetUSDConstraintsFromString(text, &back));
    EXPECT_FALSE(back.includeAll);
    EXPECT_EQ(back.numIntervals, 2);
    EXPECT_EQ(back.useAverage, 4);
    EXPECT_EQ(back.startPoints[1], 600.0F);
    EXPECT_EQ(back.endPoints[0], 500.5F);
}

TEST(USDBaseTest, TextWithoutSettingsIsRefused) {
    USDConstraints record;
    EXPECT_FALSE(USDBase::GetUSDConstraintsFromString("no section", &record));
    EXPECT_FALSE(USDBase::GetUSDConstraintsFromString("<XMLSection></XMLSection>", &record));
}

TEST(USDOptionsTest, RecordWithoutTheKeysLeavesTheDefaults) {
    EXPECT_EQ(TextAfterReading(TestOptions{{"Sheets", "1"}}), TextOf("true", "true", "1", "0", "1", "2"));
    EXPECT_EQ(TextAfterReading(TestOptions{{"UseAverage", "3"}}), TextOf("true", "true", "1", "3", "1", "2"));
}

TEST(USDOptionsTest, BytesThatAreNoSettingsLeaveTheDefaults) {
    EXPECT_EQ(TextAfterReading(TestOptions(std::string("\x03\0\0\0abc", 7))),
              TextOf("true", "true", "1", "0", "1", "2"));
}

TEST(USDOptionsTest, ListsOfAnyLengthAreTaken) {
    EXPECT_EQ(TextAfterReading(TestOptions{{"NumberOfIncludedIntervals", "3"},
                                           {"IncludeXStartPt", "10,20,30"},
                                           {"IncludeXEndPt", "11,21,31"}}),
              TextOf("true", "true", "3", "0", "10,20,30", "11,21,31"));
    EXPECT_EQ(TextAfterReading(TestOptions{
                  {"NumberOfIncludedIntervals", "0"}, {"IncludeXStartPt", ""}, {"IncludeXEndPt", ""}}),
              TextOf("true", "true", "0", "0", "", ""));
}

TEST(USDOptionsTest, ListsAndCountThatDisagreeRaiseTheStreamsException) {
    EXPECT_EQ(
        TextAfterReading(TestOptions{
            {"NumberOfIncludedIntervals", "3"}, {"IncludeXStartPt", "10,20,30"}, {"IncludeXEndPt", "11"}}),
        "failure");
    EXPECT_EQ(TextAfterReading(TestOptions{{"NumberOfIncludedIntervals", "2"}}), "failure");
    EXPECT_EQ(TextAfterReading(TestOptions{{"NumberOfIncludedIntervals", "-1"}}), "failure");
    EXPECT_EQ(TextAfterReading(TestOptions{{"IncludeXStartPt", "10,20"}, {"IncludeXEndPt", "11,21"}}),
              "failure");
    EXPECT_EQ(TextAfterReading(TestOptions(std::string("\xff\0\0\0abc", 7))), "failure");
}

TEST(USDOptionsTest, WrittenBytesReadBack) {
    USDConstraints record;
    Fill(record, {{1.25F, 2.5F}}, 2);
    std::vector<std::uint8_t> bytes;
    NvImportOpenOptions options{0, nullptr};
    LendUSDOptions(record, bytes, options);
    EXPECT_EQ(DecodeOptionsText(options), TextOf("true", "false", "1", "2", "1.25", "2.5"));
}
