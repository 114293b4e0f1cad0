#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Unicode.h"

/**
 * How many places on a terminal a valid UTF-8 text takes: two for a wide character, none for a mark that
 * stands on another.
 */
std::size_t GetDisplayWidth(std::string_view text);

/** The characters with which a valid UTF-8 text begins, as many as `width` places on a terminal hold. */
std::string_view FitDisplayWidth(std::string_view text, std::size_t width);
