#pragma once

#include <cstdint>
#include <span>

/**
 * Whether the bytes are a netCDF file of the classic format (CDF-1) or of the 64-bit-offset one (CDF-2)
 * whose header is borne out by the file's length: every count, name, attribute and variable that it
 * announces is there, whole. The netCDF library believes what a header says, and dies or spins on one that
 * lies, so it is given no file that hasn't passed here.
 *
 * A file whose data are cut off doesn't pass, although the library would fill the gap with zeros. A
 * dimension that no variable uses can't be held against anything: its length is the reader's to doubt.
 *
 * The format: "The NetCDF Classic Format Specification", Unidata.
 */
bool IsSoundClassicFile(std::span<const std::uint8_t> file);
