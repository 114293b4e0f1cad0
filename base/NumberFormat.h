#pragma once

#include <cstddef>
#include <string>

#include "base/Export.h"

// Numbers as texts, whatever the process's locale.

/** As printf's %.<precision>g in the C locale; every NaN is "nan". */
KARTA_EXPORT std::string FormatG(double value, int precision = 6);

/** The same at the end of a text. */
void AppendG(std::string& text, double value);

/** The shortest text that reads back to the same number; "nan", "inf" and "-inf". */
KARTA_EXPORT std::string FormatShortest(float value);
KARTA_EXPORT std::string FormatShortest(double value);

/** The room that PrintShortest wants. */
constexpr std::size_t ShortestNumberSize = 40;

/** The same to a place of at least that room; returns the text's end, behind which no NUL is put. */
KARTA_EXPORT char* PrintShortest(double value, char* text);
KARTA_EXPORT char* PrintShortest(float value, char* text);

/** With so many digits behind the point, as %.<decimals>f; what takes more than the same room is as above. */
KARTA_EXPORT char* PrintDecimals(double value, int decimals, char* text);
