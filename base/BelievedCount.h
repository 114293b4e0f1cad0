#pragma once

#include <algorithm>
#include <cstdint>

// The one rule for counts that a file tells, or that follow from what it tells, where nothing else bears
// them out: rows, points, repetitions.

/** A count up to here is believed of any file: numbered rows may be few and far apart, texts may be short. */
constexpr std::int64_t BelievedOfAnyFile = 1'000'000;

/**
 * As much of a count as is believed: up to BelievedOfAnyFile of any file, beyond that as far as the bytes
 * that could hold what is counted go. `borneOut` is how many that would be; 0 where there are none.
 */
constexpr std::int64_t BelievedCount(std::int64_t count, std::int64_t borneOut) {
    return std::clamp<std::int64_t>(count, 0, std::max(BelievedOfAnyFile, borneOut));
}

/** Whether all of a count is believed; a negative one never is. */
constexpr bool IsBelievedCount(std::int64_t count, std::int64_t borneOut) {
    return BelievedCount(count, borneOut) == count;
}
