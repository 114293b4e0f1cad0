#pragma once

#include <vector>

#include "base/OutputFile.h"
#include "base/TableShape.h"
#include "table/TableData.h"

/** The forms of a table that the program writes by itself, in UTF-8 with line feeds. */
enum class TableForm {
    Csv,      /**< RFC 4180: a field is quoted only when it must be */
    Tsv,      /**< the same with tabs */
    JsonLines /**< an array a row; missing cells and NaN are null, and infinities are texts */
};

/** What is to be written how. */
struct FormRequest {
    TableForm form;
    bool safeCells = false; /**< texts are made harmless by SafeCell */
    /** JSON lines: an object a row below the row of names, with these names. */
    bool objects = false;
    /** Tells the row of names; may be null. Without it the first row has the names if all its cells are
     * texts. */
    const karta::TableShape* shape = nullptr;
};

/**
 * These rows of the table, all columns. Numbers in the shortest form that reads back the same. Nothing
 * more is written once the output has failed. Raises Failure once the user has interrupted.
 */
void WriteTable(TableData& table, const std::vector<int>& rows, const FormRequest& request,
                OutputFile& output);
