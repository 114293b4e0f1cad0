#include "karta/internal/AxisGrid.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <utility>

namespace karta {

namespace {

constexpr double Missing = std::numeric_limits<double>::quiet_NaN();

/** Where a point of the grid lies among a block's own. */
struct Place {
    std::int64_t before = -1;  // -1: off the axis
    double share = 0.0;        // of the way to the next point
};

// Axes may fall; `axis` is looked at as if it rose.
std::vector<Place> PlacesOf(std::span<const double> axis, const std::vector<double>& points) {
    const auto count = static_cast<std::int64_t>(axis.size());
    const bool falls = count > 1 && axis.front() > axis.back();
    const auto at = [&](std::int64_t i) { return axis[static_cast<std::size_t>(falls ? count - 1 - i : i)]; };
    std::vector<Place> places;
    places.reserve(points.size());
    for (const double point : points) {
        Place place;
        if (count > 0 && point >= at(0) && point <= at(count - 1)) {
            std::int64_t low = 0;
            std::int64_t high = count - 1;
            while (high - low > 1) {
                const std::int64_t middle = low + (high - low) / 2;
                (at(middle) <= point ? low : high) = middle;
            }
            if (count > 1 && at(high) == point) {
                low = high;
            }
            const double width = low < count - 1 ? at(low + 1) - at(low) : 0.0;
            const double share = width > 0.0 ? (point - at(low)) / width : 0.0;
            // Back to the axis as it lies.
            if (falls && share > 0.0) {
                place = {count - 2 - low, 1.0 - share};
            } else {
                place = {falls ? count - 1 - low : low, share};
            }
        }
        places.push_back(place);
    }
    return places;
}

double ValueAt(const Block& block, std::int64_t row, const Place& place) {
    if (place.before < 0) {
        return Missing;
    }
    const double before = block.GetNumber(row, place.before);
    if (place.share == 0.0) {
        return before;
    }
    return before + place.share * (block.GetNumber(row, place.before + 1) - before);
}

}  // namespace

bool IsAxis(std::span<const double> values) {
    if (!values.empty() && (!std::isfinite(values.front()) || !std::isfinite(values.back()))) {
        return false;
    }
    return std::adjacent_find(values.begin(), values.end(), std::not_fn(std::less<>())) == values.end() ||
           std::adjacent_find(values.begin(), values.end(), std::not_fn(std::greater<>())) == values.end();
}

void AxisUnion::Add(std::span<const double> axis) {
    if (points.empty()) {
        falls = axis.size() > 1 && axis.front() > axis.back();
    }
    std::vector<double> added(axis.begin(), axis.end());
    std::sort(added.begin(), added.end());
    std::vector<double> all;
    std::set_union(points.begin(), points.end(), added.begin(), added.end(), std::back_inserter(all));
    points = std::move(all);
}

std::vector<double> AxisUnion::Take() {
    if (falls) {
        std::reverse(points.begin(), points.end());
    }
    return std::move(points);
}

void AxisIntersection::Add(std::span<const double> axis) {
    if (axis.empty()) {
        return;
    }
    const auto [least, greatest] = std::minmax(axis.front(), axis.back());
    if (first.empty()) {
        first.assign(axis.begin(), axis.end());
        low = least;
        high = greatest;
    }
    low = std::max(low, least);
    high = std::min(high, greatest);
}

std::vector<double> AxisIntersection::Take() const {
    std::vector<double> points;
    std::copy_if(first.begin(), first.end(), std::back_inserter(points),
                 [this](double point) { return point >= low && point <= high; });
    return points;
}

Block PutOnGrid(const Block& block, const std::vector<double>& points) {
    const std::vector<Place> places = PlacesOf(block.GetAxis(), points);
    BlockParts parts = block.GetParts();
    const auto count = static_cast<std::int64_t>(points.size());
    auto values = std::make_shared<Buffer>(static_cast<std::size_t>(parts.rows * count) * sizeof(double));
    auto* target = values->As<double>();
    for (std::int64_t row = 0; row < parts.rows; ++row) {
        for (const Place& place : places) {
            *target++ = ValueAt(block, row, place);
        }
    }
    auto axis = std::make_shared<Buffer>(points.size() * sizeof(double));
    if (!points.empty()) {
        std::memcpy(axis->GetData(), points.data(), points.size() * sizeof(double));
    }
    parts.points = count;
    parts.values = std::move(values);
    parts.axis = std::move(axis);
    parts.firstPoint = 0;
    parts.first = 0;
    parts.isRowMajor = true;
    parts.isFloat32 = false;
    parts.stride = count;
    parts.names.reset();
    return Block(std::move(parts));
}

}  // namespace karta
