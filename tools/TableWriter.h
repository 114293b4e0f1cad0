#pragma once

#include <vector>

#include "base/OutputFile.h"
#include "table/TableData.h"

/** The forms of a table that the program writes by itself, in UTF-8 with line feeds. */
enum class TableForm {
    Csv,      /**< RFC 4180: a field is quoted only when it must be */
    Tsv,      /**< the same with tabs */
    JsonLines /**< an array a row; a cell never set is null, and NaN and infinities are texts */
};

/**
 * These rows of the table, all columns. Numbers in the shortest form that reads back the same. Nothing
 * more is written once the output has failed.
 */
void WriteTable(TableData& table, const std::vector<int>& rows, TableForm form, OutputFile& output);
