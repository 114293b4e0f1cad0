#include "instrument/InterPolateValues.h"

#include <algorithm>
#include <cmath>

#include "base/Stopped.h"
#include "base/TolerantEqual.h"

namespace {

constexpr int None = -1;

struct Point {
    float x;
    float y;
};

/** The neighbours of a grid value, by their places among the valid points; None where there is none. */
struct Bracket {
    int lower = None;
    int upper = None;
};

/** Those of all grid values; all without one of the two are from one place to before the other. */
struct Brackets {
    std::vector<Bracket> all;
    std::size_t firstGap = 0;
    std::size_t gapsEnd = 0;
};

// Brings the points into ascending order of x; of those with one x the first stays.
void SortPoints(std::vector<Point>& points) {
    std::stable_sort(points.begin(), points.end(),
                     [](const Point& left, const Point& right) { return left.x < right.x; });
    points.erase(std::unique(points.begin(), points.end(),
                             [](const Point& left, const Point& right) { return left.x == right.x; }),
                 points.end());
}

// The points that have a value, in ascending order of x; of those with one x the first. Axes are regular, so
// that there is hardly ever anything to sort.
std::vector<Point> ValidPoints(const std::vector<float>& xs, const std::vector<float>& ys) {
    std::vector<Point> points(xs.size());
    std::size_t count = 0;
    bool isAscending = true;
    bool isDescending = true;
    for (std::size_t i = 0; i < xs.size(); ++i) {
        if (ys[i] != MissingValue && !std::isnan(xs[i])) {
            const float before = points[count == 0 ? 0 : count - 1].x;
            isAscending = isAscending && (count == 0 || before < xs[i]);
            isDescending = isDescending && (count == 0 || before > xs[i]);
            points[count++] = {xs[i], ys[i]};
        }
    }
    points.resize(count);
    if (!isAscending && isDescending) {
        std::reverse(points.begin(), points.end());
    } else if (!isAscending) {
        SortPoints(points);
    }
    return points;
}

// The place of the first point behind x. `place` is a guess: the place of the grid's last value, from which
// the next one is a step or two away.
std::size_t FindPlace(const std::vector<Point>& points, float x, std::size_t place) {
    constexpr int MostSteps = 4;
    for (int step = 0; step < MostSteps; ++step) {
        if (place < points.size() && points[place].x <= x) {
            ++place;
        } else if (place > 0 && points[place - 1].x > x) {
            --place;
        } else {
            return place;
        }
    }
    const auto behind = std::upper_bound(points.begin(), points.end(), x,
                                         [](float value, const Point& point) { return value < point.x; });
    return static_cast<std::size_t>(behind - points.begin());
}

Brackets FindBrackets(const std::vector<float>& grid, const std::vector<Point>& points) {
    Brackets brackets;
    brackets.all.resize(grid.size());
    brackets.firstGap = grid.size();
    std::size_t place = 0;
    for (std::size_t i = 0; i < grid.size(); ++i) {
        const float x = grid[i];
        Bracket& bracket = brackets.all[i];
        if (!std::isnan(x)) {
            place = FindPlace(points, x, place);
            bracket.lower = static_cast<int>(place) - 1;
            const bool isHit = place > 0 && points[place - 1].x == x;
            bracket.upper = isHit ? bracket.lower : static_cast<int>(place);
            if (bracket.upper == static_cast<int>(points.size())) {
                bracket.upper = None;
            }
        }
        if (bracket.lower == None || bracket.upper == None) {
            brackets.firstGap = std::min(brackets.firstGap, i);
            brackets.gapsEnd = i + 1;
        }
    }
    return brackets;
}

// Grid values in front of the first point that has a lower neighbour take the first two points that there
// are, those behind the last that has an upper one the last two.
void ExtendEnds(std::vector<Bracket>& brackets, int numPoints) {
    const auto hasLower = [](const Bracket& bracket) { return bracket.lower != None; };
    const auto hasUpper = [](const Bracket& bracket) { return bracket.upper != None; };
    const auto leadingEnd = std::find_if(brackets.begin(), brackets.end(), hasLower);
    const auto firstUpper = std::find_if(brackets.begin(), brackets.end(), hasUpper);
    if (leadingEnd != brackets.begin() && firstUpper != brackets.end()) {
        const int first = firstUpper->upper;
        std::fill(brackets.begin(), leadingEnd, Bracket{first, std::min(first + 1, numPoints - 1)});
    }
    const auto trailingBegin = std::find_if(brackets.rbegin(), brackets.rend(), hasUpper).base();
    const auto lastLower = std::find_if(brackets.rbegin(), brackets.rend(), hasLower);
    if (trailingBegin != brackets.end() && lastLower != brackets.rend()) {
        const int last = lastLower->lower;
        std::fill(trailingBegin, brackets.end(), Bracket{std::max(last - 1, 0), last});
    }
}

// What still has no lower neighbour takes the next grid value's, what has no upper one the previous one's.
void FillGaps(Brackets& brackets) {
    std::vector<Bracket>& all = brackets.all;
    for (std::size_t i = std::min(brackets.gapsEnd, all.size() - 1); i > brackets.firstGap; --i) {
        if (all[i - 1].lower == None) {
            all[i - 1].lower = all[i].lower;
        }
    }
    for (std::size_t i = std::max<std::size_t>(brackets.firstGap, 1); i < brackets.gapsEnd; ++i) {
        if (all[i].upper == None) {
            all[i].upper = all[i - 1].upper;
        }
    }
}

}  // namespace

float LinearValue(float x1, float x2, float y1, float y2, float x) {
    if (y1 == MissingValue || y2 == MissingValue || x1 == MissingValue || x2 == MissingValue) {
        if (TolerantEqual(x1, x)) {
            return y1;
        }
        return TolerantEqual(x2, x) ? y2 : MissingValue;
    }
    if (TolerantEqual(x1, x2)) {
        return y1;
    }
    return (y2 - y1) / (x2 - x1) * (x - x1) + y1;
}

std::vector<float> InterPolateValues(const std::vector<float>& grid, const std::vector<float>& xs,
                                     const std::vector<float>& ys, double tolerance,
                                     const std::stop_token& stop) {
    if (xs.size() != ys.size() || xs.size() < 2 || grid.size() < 2) {
        return {};
    }
    // Each step is one pass over the points, a few milliseconds for a million.
    karta::ThrowIfStopped(stop);
    const std::vector<Point> points = ValidPoints(xs, ys);
    karta::ThrowIfStopped(stop);
    Brackets brackets = FindBrackets(grid, points);
    karta::ThrowIfStopped(stop);
    ExtendEnds(brackets.all, static_cast<int>(points.size()));
    FillGaps(brackets);
    karta::ThrowIfStopped(stop);
    std::vector<float> values(grid.size(), MissingValue);
    for (std::size_t i = 0; i < std::min(grid.size(), xs.size()); ++i) {
        const auto [lower, upper] = brackets.all[i];
        const bool isFar = std::fabs(xs[i] - grid[i]) > std::fabs(tolerance);
        if (lower != None && upper != None && !isFar) {
            const Point& left = points[static_cast<std::size_t>(lower)];
            const Point& right = points[static_cast<std::size_t>(upper)];
            values[i] = LinearValue(left.x, right.x, left.y, right.y, grid[i]);
        }
    }
    return values;
}
