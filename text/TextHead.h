#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/TableShape.h"
#include "text/ColumnTypes.h"
#include "text/DelimitedOptions.h"
#include "text/RecordScanner.h"
#include "text/TextDialect.h"

/**
 * What the beginning of delimited text tells of the whole: how wide its records mostly are, which of them
 * name the columns and their units, and what the columns are. Facts only: every record stays a row.
 */
struct TextHead {
    std::size_t usualWidth = 0; /**< fields of most records */
    int nameRow = 0;            /**< from 1; 0: none */
    int unitRow = 0;
    int firstDataRow = 1;        /**< rows before it, and those of another width, say nothing about types */
    bool hasIndexColumn = false; /**< one name fewer than fields: the first column has none */
    int firstAxisColumn = 0;     /**< names from here on are numbers of one step; 0: none */
    std::vector<std::string> names;

    /** Whether a record says something about the types of its columns. */
    bool Votes(int row, std::size_t width, bool isRemark) const {
        return row >= firstDataRow && width == usualWidth && !isRemark;
    }
    /** Whether a row holds names or units, which are texts. */
    bool IsHead(int row) const { return row == nameRow || row == unitRow; }
    karta::TableShape GetShape(const std::vector<ColumnType>& types) const;
};

/** Looks at the records of the beginning of a text, in UTF-8, and lets them vote on the types. */
TextHead ReadTextHead(std::string_view text, bool isCut, const TextDialect& dialect,
                      const DelimitedOptions& options, ColumnTypes& types);
