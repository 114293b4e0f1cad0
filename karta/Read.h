#pragma once

#include <string>
#include <vector>

#include "base/Export.h"
#include "karta/Error.h"
#include "karta/ReadOptions.h"
#include "karta/Reader.h"
#include "karta/Scan.h"
#include "karta/Table.h"

namespace karta {

/**
 * Reads a file into a table, of any format that this library knows: spectra, chromatograms, workbooks,
 * process data, delimited text. Shape, units and types are the table's to tell.
 *
 *     karta::Table sheet = karta::Read("book.xlsx", {.part = "Results"});
 *
 * Raises Error: why there is no table, with its code, the file, and what to try. Any number of threads may
 * read at once.
 */
KARTA_EXPORT Table Read(const std::string& path, const ReadOptions& options = {});
/** Several files as one table, by the formats that can; others are for Scan. */
KARTA_EXPORT Table Read(const std::vector<std::string>& paths, const ReadOptions& options = {});

}  // namespace karta
