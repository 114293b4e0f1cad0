#pragma once

#include <cstddef>
#include <vector>

/** X values that go by a step; where the last one is declared, it is exactly that. */
struct EvenAxis {
    double first = 1.0;
    double step = 1.0;
    double last = 1.0;
    std::size_t lastPoint = 0; /**< the point, from 0, that has the declared last X; 0: none is declared */

    /** From one end to the other in so many points, which are 2 at least. */
    static EvenAxis Between(double first, double last, std::size_t points) {
        return {first, (last - first) / static_cast<double>(points - 1), last, points - 1};
    }

    double GetX(std::size_t point) const {
        return point > 0 && point == lastPoint ? last : first + static_cast<double>(point) * step;
    }
    std::vector<double> Make(std::size_t points) const {
        std::vector<double> xs(points);
        for (std::size_t i = 0; i < points; ++i) {
            xs[i] = first + static_cast<double>(i) * step;
        }
        if (lastPoint > 0 && lastPoint < points) {
            xs[lastPoint] = last;
        }
        return xs;
    }
};
