#pragma once

#include <string>

#include "tools/FormatCatalogue.h"
#include "tools/ReadRequest.h"

/**
 * What to choose where a file's blocks don't go into one table: "choose blocks with --blocks; blocks 1 to 3
 * share one axis, ...". Empty where the file has no blocks to choose from. Tries which of them can be read
 * together.
 */
std::string AdviseOnBlocks(const FormatCatalogue& formats, int format, const ReadRequest& request);
