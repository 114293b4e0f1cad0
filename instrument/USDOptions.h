#pragma once

#include <cstdint>
#include <vector>

#include "frame/NvImport.h"
#include "instrument/USDBase.h"

// The constraints of a spectral axis in the open-options record, for the readers that derive from USDBase.

/**
 * Takes the settings of a record that has bytes; what it doesn't hold stays as it is in `constraints`, and
 * bytes that are no settings change nothing. Raises std::ios_base::failure when the record is cut short, or
 * when its lists and its count of intervals disagree.
 */
void ReadUSDOptions(const NvImportOpenOptions& options, USDConstraints& constraints);

/** Lets a record hold these settings, as LendOptions does. */
void LendUSDOptions(USDConstraints& constraints, std::vector<std::uint8_t>& memory,
                    NvImportOpenOptions& options);
