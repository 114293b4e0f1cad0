#pragma once

#include <string>

#include "table/TableData.h"
#include "tests/support/SpreadsheetTruth.h"

/** How many of a sheet's known cells a table has as an independent reader found them. */
struct TruthComparison {
    int known = 0;
    int equal = 0;
    std::string firstDifference; /**< empty where all are equal */

    TruthComparison& operator+=(const TruthComparison& other);
};

/**
 * Compares a table of the complete reading, whose cell (1, 1) is the sheet's, with what is known of the
 * sheet. Numbers are equal to 12 digits, texts and errors byte by byte (a line end may be either), truth
 * values as such, and dates where they are the truth's serial numbers in the workbook's date system.
 */
TruthComparison CompareWithTruth(TableData& table, const SpreadsheetTruth& truth,
                                 const SpreadsheetTruth::Sheet& sheet);
