#include "instrument/JCAMPInterPolate.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

std::vector<float> JCAMPInterPolate(const NCDataVector<float>& grid, const std::vector<float>& xs,
                                    const std::vector<float>& ys) {
    std::vector<std::pair<float, float>> points;
    for (std::size_t i = 0; i < std::min(xs.size(), ys.size()); ++i) {
        if (ys[i] != NCDataVector<float>::MissingValue && !std::isnan(xs[i]) && !std::isnan(ys[i])) {
            points.emplace_back(xs[i], ys[i]);
        }
    }
    std::sort(points.begin(), points.end());
    std::vector<float> result;
    result.reserve(static_cast<std::size_t>(grid.GetSize()));
    for (int place = 1; place <= grid.GetSize(); ++place) {
        const float x = grid(place);
        const auto upper =
            std::lower_bound(points.begin(), points.end(), x,
                             [](const auto& point, float limit) { return point.first < limit; });
        if (upper != points.end() && upper->first == x) {
            result.push_back(upper->second);
        } else if (upper == points.end() || upper == points.begin()) {
            result.push_back(NCDataVector<float>::MissingValue);
        } else {
            const auto lower = std::prev(upper);
            const float share = (x - lower->first) / (upper->first - lower->first);
            result.push_back(lower->second + share * (upper->second - lower->second));
        }
    }
    return result;
}
