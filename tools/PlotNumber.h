#pragma once

#include <limits>

#include "table/TableData.h"

// What a cell is to a picture.

inline constexpr double NoNumber = std::numeric_limits<double>::quiet_NaN();

inline bool IsPointInTime(TableData::Kind kind) {
    return kind == TableData::Date || kind == TableData::DateTime;
}

/** A number; of dates milliseconds since 1970, of times of day and durations seconds; NaN for all else. */
double PlotNumberOf(TableData& table, int col, int row);
