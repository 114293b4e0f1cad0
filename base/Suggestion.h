#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"

/**
 * The candidate that a mistyped word was probably meant to be: one that begins with it, or is a few letters
 * away, in any case of letters. Empty when none is near. Of several that are equally near the first one.
 */
KARTA_EXPORT std::string FindSuggestion(std::string_view word, const std::vector<std::string>& candidates);
