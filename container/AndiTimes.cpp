#include "container/AndiTimes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "frame/CellOutput.h"

namespace {

// Times on their way to a sink stay in the cache.
constexpr std::size_t PieceSize = 4096;

// Files of one method differ in the last digits of their floats at most.
bool SameTime(double left, double right) {
    return left == right || std::fabs(left - right) <= 1e-6 * std::max(std::fabs(left), std::fabs(right));
}

}  // namespace

bool AndiTimes::AreLike(const AndiTimes& other) const {
    if (given.empty() && other.given.empty() && start == other.start && step == other.step) {
        return true;
    }
    const std::size_t shared = std::min(count, other.count);
    for (std::size_t point = 0; point < shared; ++point) {
        if (!SameTime(At(point), other.At(point))) {
            return false;
        }
    }
    return true;
}

void AndiTimes::SetRow(CellOutput& output, int firstCol, int row) const {
    if (!given.empty()) {
        output.RowRun(firstCol, row, std::span(given));
        return;
    }
    std::array<double, PieceSize> times;
    for (std::size_t done = 0; done < count; done += PieceSize) {
        const std::size_t size = std::min(count - done, PieceSize);
        for (std::size_t i = 0; i < size; ++i) {
            times[i] = start + static_cast<double>(done + i) * step;
        }
        output.RowRun(firstCol + static_cast<int>(done), row, std::span<const double>(times.data(), size));
    }
}
