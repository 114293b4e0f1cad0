#include "tools/Progress.h"

#include <unistd.h>

#include <iostream>

namespace {

constexpr auto Patience = std::chrono::milliseconds(500);
constexpr auto Interval = std::chrono::milliseconds(100);
// The clock is looked at once in so many rows.
constexpr unsigned int CallsBetween = 64;

}  // namespace

Progress::Progress(bool wanted)
    : enabled(wanted && isatty(STDERR_FILENO) != 0), next(std::chrono::steady_clock::now() + Patience) {}

Progress::~Progress() {
    if (drawn) {
        std::cerr << "\r\x1b[K" << std::flush;
    }
}

void Progress::Show(int row, int rows) {
    if (!enabled || ++calls % CallsBetween != 0) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now < next) {
        return;
    }
    next = now + Interval;
    drawn = true;
    std::cerr << "\rreading row " << row;
    if (rows >= row) {
        std::cerr << " of " << rows;
    }
    std::cerr << "\x1b[K" << std::flush;
}
