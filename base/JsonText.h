#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"

/**
 * Appends a text as JSON writes it, in double quotes; what a terminal would obey is escaped. The text must be
 * UTF-8.
 */
KARTA_EXPORT void AppendJsonText(std::string& json, std::string_view text);
