#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "frame/NvImport.h"

// An options record as the readers of this library fill it: one binary string whose text is an XMLSection
// with the subsection "Settings".

/** The record holds bytes: the format takes its settings from them. */
KARTA_EXPORT bool HasOptions(const NvImportOpenOptions* options);

/** The record is there and empty: the format is to fill it with the choices made. */
bool WantsOptions(const NvImportOpenOptions* options);

/** The text of a record that has bytes. Raises std::ios_base::failure when it is cut short. */
KARTA_EXPORT std::string DecodeOptionsText(const NvImportOpenOptions& options);

/** The bytes of a record with this text. */
KARTA_EXPORT std::vector<std::uint8_t> EncodeOptionsText(std::string_view text);

/**
 * Lets a record hold this text. It then points into `memory`, which is the reader's: the record's user copies
 * the bytes before the reader is closed.
 */
void LendOptions(std::string_view text, std::vector<std::uint8_t>& memory, NvImportOpenOptions& options);
