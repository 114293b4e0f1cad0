#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

/**
 * Reads `size` bytes or raises std::ios_base::failure. Memory grows with the bytes that arrive and not
 * with the size that was asked for.
 */
std::vector<std::uint8_t> ReadExactly(std::istream& stream, std::size_t size);
