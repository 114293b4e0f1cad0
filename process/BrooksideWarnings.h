#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/** Adds to a warning text, which has an end even for a log that is wrong in every line. */
void AddBrooksideWarning(std::string& warnings, std::string_view text);

/** How many of `count` things there are, and the names of the first few: "3: A, B, C". */
std::string ListBrooksideNames(const std::vector<std::string>& names, std::size_t count);

/** How many names ListBrooksideNames spells out. */
constexpr std::size_t MaxListedBrooksideNames = 20;
