#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/Export.h"
#include "karta/ReadOptions.h"

namespace karta {

/** One item of a list like "1,3-5": first and last, from 1, the same for a number by itself. Nothing for what
 * is none. */
KARTA_EXPORT std::optional<std::pair<int, int>> ParseRange(const std::string& item);

/** "1100:1800" as the program's options and a read's wishes have it; the ends in any order. Nothing for what
 * is none. */
std::optional<Interval> ParseInterval(const std::string& text);
/** The same; raises Error (BadOption) for what is none. */
Interval RequireInterval(const std::string& text);

}  // namespace karta
