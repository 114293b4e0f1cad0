#pragma once

#include <string>
#include <string_view>

/**
 * For formats that are zip packages: the file of which an input is one part, so that what mutates is the
 * part and not the packing. An extension of two steps names the part, ".sheet.xlsx" say; for any other the
 * input is the file itself.
 */
std::string WrapInput(std::string_view extension, std::string_view input);
