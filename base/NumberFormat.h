#pragma once

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
