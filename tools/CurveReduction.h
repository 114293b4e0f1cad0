#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "tools/PlotBlock.h"

// Many points in as many stretches as a picture has room for. A peak of one point is seen all the same.

/** Points in stretches of nearly the same length, all from 0. */
class Stretches {
public:
    /** No more stretches than points. */
    Stretches(std::size_t pointCount, std::size_t most);

    std::size_t Count() const { return count; }
    /** Whether a stretch has more than one point. */
    bool IsReduced() const { return count < points; }
    std::size_t Begin(std::size_t stretch) const { return stretch * points / count; }
    std::size_t End(std::size_t stretch) const { return (stretch + 1) * points / count; }
    /** Of each stretch the value in its middle. */
    std::vector<double> TakeMiddles(const std::vector<double>& values) const;

private:
    std::size_t points;
    std::size_t count;
};

/** The least and the greatest number of each stretch, NaN where it has none. */
struct Envelope {
    std::vector<float> low;
    std::vector<float> high;
};
Envelope FindEnvelope(std::span<const float> values, const Stretches& stretches);

/** What Quantiles are taken of, in their order. */
inline constexpr std::array<double, 5> QuantileShares = {0.0, 0.05, 0.5, 0.95, 1.0};

/** Of all numbers of all curves in each stretch, one list a share. */
using Quantiles = std::array<std::vector<float>, QuantileShares.size()>;
Quantiles FindQuantiles(const PlotBlock& block, const Stretches& stretches);

/** Places from 0 to count - 1: all, or as many as `most`, evenly, with the first and the last. */
std::vector<std::size_t> ChooseEvenly(std::size_t count, std::size_t most);

/** The greatest number in each cell of a grid over curves and points, a row a stretch of curves. */
std::vector<float> FindMap(const PlotBlock& block, const Stretches& curves, const Stretches& points);
