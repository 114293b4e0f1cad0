#include "instrument/AxisSelection.h"

#include <algorithm>
#include <cmath>

namespace {

// How far beside an interval's end a point still counts as on it, relative to the point's X: the ends are
// floats.
constexpr double EndTolerance = 1e-05;

bool IsOnEnd(double end, double x) {
    return std::fabs(end - x) < EndTolerance * std::fabs(x);
}

// The first interval that holds x, or -1.
int FindInterval(const USDConstraints& constraints, double x) {
    for (int i = 0; i < constraints.numIntervals; ++i) {
        const auto start = static_cast<double>(constraints.startPoints[i]);
        const auto end = static_cast<double>(constraints.endPoints[i]);
        if ((start <= x || IsOnEnd(start, x)) && (x <= end || IsOnEnd(end, x))) {
            return i;
        }
    }
    return -1;
}

}  // namespace

AxisSelection::AxisSelection(std::span<const double> axis, const USDConstraints& constraints) {
    takesAll =
        constraints.includeAll || (constraints.numIntervals > 0 &&
                                   (constraints.startPoints == nullptr || constraints.endPoints == nullptr));
    if (takesAll) {
        return;
    }
    averages = constraints.useAverage > 1;
    const std::size_t size = averages ? static_cast<std::size_t>(constraints.useAverage) : 1;
    std::vector<bool> isMet(static_cast<std::size_t>(std::max(constraints.numIntervals, 0)));
    int open = -1;
    std::size_t first = 0;
    for (std::size_t i = 0; i < axis.size(); ++i) {
        const int interval = FindInterval(constraints, axis[i]);
        if (interval != open) {
            CloseGroup(first, size);
            open = interval;
            first = points.size();
        }
        if (interval < 0) {
            continue;
        }
        isMet[static_cast<std::size_t>(interval)] = true;
        points.push_back(i);
        if (points.size() - first == size) {
            CloseGroup(first, size);
            first = points.size();
        }
    }
    CloseGroup(first, size);
    for (std::size_t i = 0; i < isMet.size(); ++i) {
        if (!isMet[i]) {
            emptyIntervals.push_back(static_cast<int>(i));
        }
    }
}

// The points from `first` on are a column where they are enough for one.
void AxisSelection::CloseGroup(std::size_t first, std::size_t size) {
    const std::size_t count = points.size() - first;
    if (count == size) {
        columns.push_back({first, count});
    } else {
        leftOut += count;
    }
}
