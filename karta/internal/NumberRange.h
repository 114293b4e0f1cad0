#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/Export.h"

namespace karta {

/** One item of a list like "1,3-5": first and last, from 1, the same for a number by itself. Nothing for what
 * is none. */
KARTA_EXPORT std::optional<std::pair<int, int>> ParseRange(const std::string& item);

}  // namespace karta
