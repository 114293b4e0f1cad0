#pragma once

#include <string>

#include "karta/internal/FormatCatalogue.h"
#include "karta/internal/ReadWishes.h"

/** How the advice on blocks begins. */
inline constexpr const char* ChooseSomeBlocks = "choose some of them";

/**
 * What can be chosen where a file's blocks don't go into one table: "blocks 1 to 3 share one axis, ...".
 * Empty where the file has no blocks to choose from. Tries which of them can be read together.
 */
std::string AdviseOnBlocks(const FormatCatalogue& formats, int format, const karta::ReadWishes& wishes);
