#pragma once

#include <span>
#include <vector>

#include "karta/Block.h"

namespace karta {

/** All points of several axes, in the first one's direction. */
class AxisUnion {
public:
    void Add(std::span<const double> axis);
    std::vector<double> Take();

private:
    std::vector<double> points;
    bool falls = false;
};

/** The points of the first axis that lie on all others. */
class AxisIntersection {
public:
    void Add(std::span<const double> axis);
    std::vector<double> Take() const;

private:
    std::vector<double> first;
    double low = 0.0;
    double high = 0.0;
};

/** Whether the values rise or fall throughout, so that they can be an axis. */
bool IsAxis(std::span<const double> values);

/**
 * The block on other points: linear between a row's own points, and missing beyond its ends. The block's own
 * axis must be one.
 */
Block PutOnGrid(const Block& block, const std::vector<double>& points);

}  // namespace karta
