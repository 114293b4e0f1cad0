#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "text/TextDialect.h"

/** How many characters of a text its dialect is guessed from. */
constexpr std::size_t SniffedCharacters = 1 << 16;

/**
 * Guesses the dialect of a text in UTF-8, of which `text` is the beginning; `isCut` says that more follows.
 *
 * Each delimiter of a list is tried: it fits as far as the records have one width, the quotes leave no
 * faults, and the cells are numbers or dates. A file whose records are, whole, one value each is one column;
 * so is one that no delimiter divides often enough.
 */
TextDialect SniffDialect(std::string_view text, bool isCut);

/** The same where the delimiter is known: its quotes are guessed. */
TextDialect SniffQuotes(std::string_view text, bool isCut, const std::string& delimiter);

/** A first line `sep=X` names the delimiter: its length with the line end, 0 where there is none. */
std::size_t GetDirectiveLength(std::string_view text);

/** The text behind the lines in front that begin with `#`. */
std::string_view SkipRemarks(std::string_view text);
