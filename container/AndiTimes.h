#pragma once

#include <cstddef>
#include <utility>
#include <vector>

class CellOutput;

/**
 * The times of a trace's points: those that its file has, or those of a start and a step, which take no
 * memory however long the trace is.
 */
class AndiTimes {
public:
    AndiTimes() = default;
    explicit AndiTimes(std::vector<double> times) : count(times.size()), given(std::move(times)) {}
    AndiTimes(std::size_t points, double first, double interval)
        : count(points), start(first), step(interval) {}

    std::size_t GetCount() const { return count; }
    /** Of a point that is there. */
    double At(std::size_t point) const {
        return given.empty() ? start + static_cast<double>(point) * step : given[point];
    }
    /** Whether the points that both have are at the same times, but for the last digits of floats. */
    bool AreLike(const AndiTimes& other) const;
    /** All of them side by side in a row. */
    void SetRow(CellOutput& output, int firstCol, int row) const;

private:
    std::size_t count = 0;
    double start = 0.0;
    double step = 0.0;
    std::vector<double> given;  // empty where start and step tell them
};
