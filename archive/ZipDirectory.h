#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// What the directory of a zip archive says of where things lie; the library that unpacks them keeps that to
// itself.

/**
 * In an archive that was put behind other bytes as it was, offsets count from its own beginning: how many
 * bytes come before it is seen by where its directory ends against where it should end.
 */
std::size_t CountLeadingBytes(std::span<const std::uint8_t> bytes);

/**
 * Of each entry, in the order of the directory, its packed bytes, as the directory counts them; none where
 * its local header isn't there or its bytes aren't all. `archive` begins where its offsets count from.
 */
std::vector<std::span<const std::uint8_t>> ListPackedBytes(std::span<const std::uint8_t> archive);

/**
 * Whether two entries share bytes of the archive, each taken as its local header and its packed bytes.
 * `archive` begins where its offsets count from. False also where the directory can't be followed.
 */
bool HasOverlappingEntries(std::span<const std::uint8_t> archive);
