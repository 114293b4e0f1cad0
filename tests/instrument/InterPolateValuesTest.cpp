#include "instrument/InterPolateValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "base/TolerantEqual.h"

namespace {

using Values = std::vector<float>;

constexpr float NaN = std::numeric_limits<float>::quiet_NaN();

// The same once more, one grid value at a time over all points. For each the largest x not above it and the
// smallest not below; the ends and the gaps as the rules have them.
Values PlainInterpolation(const Values& grid, const Values& xs, const Values& ys, double tolerance) {
    const auto findBelow = [&](float limit, bool strictly) {
        int found = -1;
        for (int i = 0; i < static_cast<int>(xs.size()); ++i) {
            const auto at = static_cast<std::size_t>(i);
            const bool fits = ys[at] != -99.0F && (strictly ? xs[at] < limit : xs[at] <= limit);
            if (fits && (found < 0 || xs[at] > xs[static_cast<std::size_t>(found)])) {
                found = i;
            }
        }
        return found;
    };
    const auto findAbove = [&](float limit, bool strictly) {
        int found = -1;
        for (int i = 0; i < static_cast<int>(xs.size()); ++i) {
            const auto at = static_cast<std::size_t>(i);
            const bool fits = ys[at] != -99.0F && (strictly ? xs[at] > limit : xs[at] >= limit);
            if (fits && (found < 0 || xs[at] < xs[static_cast<std::size_t>(found)])) {
                found = i;
            }
        }
        return found;
    };
    std::vector<int> lower;
    std::vector<int> upper;
    for (const float g : grid) {
        lower.push_back(findBelow(g, false));
        upper.push_back(findAbove(g, false));
    }
    const std::size_t size = grid.size();
    std::size_t leading = 0;
    while (leading < size && lower[leading] < 0) {
        ++leading;
    }
    const int smallest = findAbove(-std::numeric_limits<float>::infinity(), false);
    const int largest = findBelow(std::numeric_limits<float>::infinity(), false);
    for (std::size_t i = 0; i < leading && smallest >= 0; ++i) {
        const int second = findAbove(xs[static_cast<std::size_t>(smallest)], true);
        lower[i] = smallest;
        upper[i] = second < 0 ? smallest : second;
    }
    for (std::size_t i = size; i-- > 0 && upper[i] < 0 && largest >= 0;) {
        const int second = findBelow(xs[static_cast<std::size_t>(largest)], true);
        upper[i] = largest;
        lower[i] = second < 0 ? largest : second;
    }
    Values result(size, -99.0F);
    for (std::size_t i = 0; i < size; ++i) {
        // No gap is left on ascending axes; on descending ones none can be filled.
        if (lower[i] < 0 || upper[i] < 0 || std::fabs(xs[i] - grid[i]) > std::fabs(tolerance)) {
            continue;
        }
        const auto l = static_cast<std::size_t>(lower[i]);
        const auto u = static_cast<std::size_t>(upper[i]);
        result[i] = LinearValue(xs[l], xs[u], ys[l], ys[u], grid[i]);
    }
    return result;
}

Values Axis(std::size_t size, float first, float step) {
    Values axis;
    for (std::size_t i = 0; i < size; ++i) {
        axis.push_back(static_cast<float>(i) * step + first);
    }
    return axis;
}

}  // namespace

TEST(InterPolateValuesTest, PointsOnTheGridKeepTheirValues) {
    EXPECT_EQ(InterPolateValues({1, 2, 3}, {1, 2, 3}, {7, 8, 5}, 2), (Values{7, 8, 5}));
}

TEST(InterPolateValuesTest, ValuesBetweenLieOnTheLine) {
    EXPECT_EQ(InterPolateValues({1.5, 2.5}, {1, 2, 3}, {7, 8, 5}, 2), (Values{7.5, 6.5}));
    EXPECT_EQ(InterPolateValues({1.5, 2.25, 3}, {1, 2, 3}, {7, 8, 4}, 2), (Values{7.5, 7, 4}));
}

TEST(InterPolateValuesTest, SizesThatDoNotFitGiveNothing) {
    EXPECT_EQ(InterPolateValues({1, 2, 3}, {1, 2, 3}, {7, 8}, 2), Values());
    EXPECT_EQ(InterPolateValues({1}, {1, 2}, {7, 8}, 2), Values());
    EXPECT_EQ(InterPolateValues({}, {1, 2}, {7, 8}, 2), Values());
    EXPECT_EQ(InterPolateValues({1, 2}, {1}, {7}, 2), Values());
}

TEST(InterPolateValuesTest, AscendingEndsAreExtrapolatedFromTheTwoNearestPoints) {
    EXPECT_EQ(InterPolateValues({0, 1, 2, 3}, {1, 2, 3, 4}, {10, 20, 25, 35}, 2), (Values{0, 10, 20, 25}));
    EXPECT_EQ(InterPolateValues({2, 3, 4, 5}, {1, 2, 3, 4}, {10, 20, 25, 35}, 2), (Values{20, 25, 35, 45}));
}

TEST(InterPolateValuesTest, DescendingEndsStayMissing) {
    EXPECT_EQ(InterPolateValues({5, 4, 3, 2}, {4, 3, 2, 1}, {10, 20, 25, 35}, 2), (Values{-99, 10, 20, 25}));
    EXPECT_EQ(InterPolateValues({3, 2, 1, 0}, {4, 3, 2, 1}, {10, 20, 25, 35}, 2), (Values{20, 25, 35, -99}));
}

TEST(InterPolateValuesTest, PointFartherThanTheToleranceIsMissing) {
    EXPECT_EQ(InterPolateValues({3, 4, 5}, {1, 2, 3}, {10, 20, 30}, 2), (Values{30, 40, 50}));
    EXPECT_EQ(InterPolateValues({3.5, 4.5, 5.5}, {1, 2, 3}, {10, 20, 30}, 2), (Values{-99, -99, -99}));
    EXPECT_EQ(InterPolateValues({3, 4, 5}, {1, 2, 3}, {10, 20, 30}, -2), (Values{30, 40, 50}));
}

TEST(InterPolateValuesTest, MissingPointsAreBridged) {
    EXPECT_EQ(InterPolateValues({1, 2, 3, 4}, {1, 2, 3, 4}, {10, -99, -99, 40}, 2), (Values{10, 20, 30, 40}));
    EXPECT_EQ(InterPolateValues({1, 2, 3, 4}, {1, 2, 3, 4}, {-99, 20, 30, -99}, 2), (Values{10, 20, 30, 40}));
    EXPECT_EQ(InterPolateValues({1, 2, 3}, {1, 2, 3}, {-99, -99, -99}, 2), (Values{-99, -99, -99}));
}

TEST(InterPolateValuesTest, OfEqualXTheFirstCounts) {
    EXPECT_EQ(InterPolateValues({5, 5}, {5, 5}, {1, 2}, 2), (Values{1, 1}));
}

TEST(InterPolateValuesTest, NumbersThatAreNoneDoNoHarm) {
    EXPECT_EQ(InterPolateValues({NaN, NaN}, {NaN, NaN}, {1, 2}, NaN), (Values{-99, -99}));
    EXPECT_EQ(InterPolateValues({1, NaN, 3}, {1, 2, 3}, {1, 2, 3}, 2).size(), 3U);
}

TEST(InterPolateValuesTest, LineThroughAMissingValueHoldsOnlyAtItsPoints) {
    EXPECT_EQ(LinearValue(1, 2, -99, 5, 2), 5.0F);
    EXPECT_EQ(LinearValue(1, 2, 5, -99, 1), 5.0F);
    EXPECT_EQ(LinearValue(1, 2, 5, -99, 1.5), -99.0F);
    EXPECT_EQ(LinearValue(-99, -98, 5, 7, -99), 5.0F);
    EXPECT_EQ(LinearValue(-99, -98, 5, 7, -98.5), -99.0F);
    EXPECT_EQ(LinearValue(3, 3, 5, 7, 9), 5.0F);
    EXPECT_EQ(LinearValue(1, 3, 5, 7, 2), 6.0F);
}

TEST(InterPolateValuesTest, UnevenAxesOfBothDirectionsFollowThePlainRules) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> apart(0.01F, 1.0F);
    for (int round = 0; round < 600; ++round) {
        const std::size_t size = 2 + random() % 60;
        const auto makeAxis = [&](bool isDescending) {
            Values axis;
            float x = apart(random) * 20;
            for (std::size_t i = 0; i < size; ++i) {
                // Now and then a long way, so that the next neighbours are far from the last ones.
                x += (isDescending ? -1 : 1) * apart(random) * (random() % 8 == 0 ? 40.0F : 1.0F);
                axis.push_back(random() % 50 == 0 ? NaN : x);
            }
            return axis;
        };
        const Values grid = makeAxis(round % 2 == 0);
        Values xs = makeAxis(round % 4 < 2);
        if (round % 5 == 0) {
            std::shuffle(xs.begin(), xs.end(), random);
        }
        if (round % 7 == 0) {
            xs[size / 2] = xs[size / 3];
        }
        Values ys;
        for (std::size_t i = 0; i < size; ++i) {
            ys.push_back(random() % 9 == 0 ? -99.0F : apart(random));
        }
        const Values values = InterPolateValues(grid, xs, ys, 1000.0);
        if (std::none_of(grid.begin(), grid.end(), [](float x) { return std::isnan(x); }) &&
            std::none_of(xs.begin(), xs.end(), [](float x) { return std::isnan(x); })) {
            ASSERT_EQ(values, PlainInterpolation(grid, xs, ys, 1000.0)) << "round " << round;
        }
        ASSERT_EQ(values.size(), size);
    }
}

TEST(InterPolateValuesTest, RandomAxesFollowThePlainRules) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> position(-20.0F, 20.0F);
    for (int round = 0; round < 3000; ++round) {
        const std::size_t size = 2 + random() % 20;
        const float step = position(random) / 8.0F;
        const Values grid = Axis(size, position(random), step);
        const Values xs =
            Axis(size, grid[0] + position(random) / 8.0F, step * (1.0F + position(random) / 100.0F));
        Values ys;
        for (std::size_t i = 0; i < size; ++i) {
            ys.push_back(random() % 4 == 0 ? -99.0F : position(random));
        }
        const double tolerance = 2.0 * static_cast<double>(step);
        ASSERT_EQ(InterPolateValues(grid, xs, ys, tolerance), PlainInterpolation(grid, xs, ys, tolerance))
            << "round " << round;
    }
}
