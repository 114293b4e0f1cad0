#pragma once

#include <cstdint>
#include <string>

#include "base/Export.h"

// Dates and times as texts, by ISO 8601, in the Gregorian calendar. Fractions of a second are written as far
// as they are there, up to microseconds.

/** "2025-09-17": days since 1970-01-01. */
KARTA_EXPORT std::string FormatDate(std::int32_t days);
/** "13:42:00", "13:42:00.5": microseconds since midnight. */
KARTA_EXPORT std::string FormatTime(std::int64_t microseconds);
/** "2025-09-17T13:42:00": microseconds since 1970-01-01 00:00; `between` parts date and time. */
KARTA_EXPORT std::string FormatDateTime(std::int64_t microseconds, char between = 'T');
/** "30:00:00", "-0:00:01.5": hours without end, minutes, seconds. */
KARTA_EXPORT std::string FormatDuration(std::int64_t microseconds);
