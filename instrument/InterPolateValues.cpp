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
    std::size_t index;  // in the spectrum
};

/** The neighbours of a grid value, by their places among the valid points; None where there is none. */
struct Bracket {
    int lower = None;
    int upper = None;
};

// Brings the points into ascending order of x; those with one x stay in their order. Axes are regular, so
// that there is hardly ever anything to sort.
void SortPoints(std::vector<Point>& points) {
    const auto isNotDescending = [](const Point& left, const Point& right) { return left.x <= right.x; };
    if (std::adjacent_find(points.begin(), points.end(), isNotDescending) == points.end()) {
        std::reverse(points.begin(), points.end());
        return;
    }
    const auto isBefore = [](const Point& left, const Point& right) {
        return left.x < right.x || (left.x == right.x && left.index < right.index);
    };
    if (!std::is_sorted(points.begin(), points.end(), isBefore)) {
        std::sort(points.begin(), points.end(), isBefore);
    }
}

// The points that have a value, in ascending order of x; of those with one x the first.
std::vector<Point> ValidPoints(const std::vector<float>& xs, const std::vector<float>& ys) {
    std::vector<Point> points;
    points.reserve(xs.size());
    for (std::size_t i = 0; i < xs.size(); ++i) {
        if (ys[i] != MissingValue && !std::isnan(xs[i])) {
            points.push_back({xs[i], ys[i], i});
        }
    }
    SortPoints(points);
    points.erase(std::unique(points.begin(), points.end(),
                             [](const Point& left, const Point& right) { return left.x == right.x; }),
                 points.end());
    return points;
}

// The place of the first point behind x. `place` is a guess: the place of the grid's last value, from which
// the next one is a step or two away.
std::size_t FindPlace(const std::vector<Point>& points, float x, std::size_t place) {
    const std::size_t last = std::min(place + 2, points.size());
    for (std::size_t i = place > 2 ? place - 2 : 0; i <= last; ++i) {
        if ((i == 0 || points[i - 1].x <= x) && (i == points.size() || points[i].x > x)) {
            return i;
        }
    }
    const auto behind = std::upper_bound(points.begin(), points.end(), x,
                                         [](float value, const Point& point) { return value < point.x; });
    return static_cast<std::size_t>(behind - points.begin());
}

std::vector<Bracket> FindBrackets(const std::vector<float>& grid, const std::vector<Point>& points) {
    std::vector<Bracket> brackets;
    brackets.reserve(grid.size());
    std::size_t place = 0;
    for (const float x : grid) {
        Bracket bracket;
        if (!std::isnan(x)) {
            place = FindPlace(points, x, place);
            bracket.lower = static_cast<int>(place) - 1;
            const bool isHit = place > 0 && points[place - 1].x == x;
            bracket.upper = isHit ? bracket.lower : static_cast<int>(place);
            if (bracket.upper == static_cast<int>(points.size())) {
                bracket.upper = None;
            }
        }
        brackets.push_back(bracket);
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
void FillGaps(std::vector<Bracket>& brackets) {
    for (std::size_t i = brackets.size(); i-- > 1;) {
        if (brackets[i - 1].lower == None) {
            brackets[i - 1].lower = brackets[i].lower;
        }
    }
    for (std::size_t i = 1; i < brackets.size(); ++i) {
        if (brackets[i].upper == None) {
            brackets[i].upper = brackets[i - 1].upper;
        }
    }
}

}  // namespace

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
    std::vector<Bracket> brackets = FindBrackets(grid, points);
    karta::ThrowIfStopped(stop);
    ExtendEnds(brackets, static_cast<int>(points.size()));
    FillGaps(brackets);
    karta::ThrowIfStopped(stop);
    std::vector<float> values(grid.size(), MissingValue);
    for (std::size_t i = 0; i < std::min(grid.size(), xs.size()); ++i) {
        const auto [lower, upper] = brackets[i];
        const bool isFar = std::fabs(xs[i] - grid[i]) > std::fabs(tolerance);
        if (lower != None && upper != None && !isFar) {
            const Point& left = points[static_cast<std::size_t>(lower)];
            const Point& right = points[static_cast<std::size_t>(upper)];
            values[i] = LinearValue(left.x, right.x, left.y, right.y, grid[i]);
        }
    }
    return values;
}

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
