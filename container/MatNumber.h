#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

/** A number of a MAT-file's data; `swapped` where the file's byte order isn't little-endian. */
template <class Number>
Number DecodeMatNumber(const std::uint8_t* from, bool swapped) {
    std::uint8_t ordered[sizeof(Number)];
    if (swapped) {
        std::reverse_copy(from, from + sizeof(Number), ordered);
        from = ordered;
    }
    Number value;
    std::memcpy(&value, from, sizeof value);
    return value;
}
