#pragma once

#include <string>

#include "frame/SpreadSheetDataBase.h"

/**
 * A source: what a writer pulls its cells from. Columns come first and rows second, and both count from
 * 1. Exactly one of IsFloat, IsString and IsMissing is true for a cell.
 */
class KARTA_EXPORT WriteSpreadSheetData : public virtual SpreadSheetDataBase {
public:
    /** The number in a cell for which IsFloat is true. */
    virtual double GetFloatValue(int col, int row) = 0;
    /** The cell's text, for every type of cell; a number as the host formats it. */
    virtual std::string GetString(int col, int row) = 0;
    /**
     * The first column and row of the numeric block; what lies before them are identifiers. False: the
     * table has no numeric block.
     */
    virtual bool GetDataOrigin(int* firstDataCol, int* firstDataRow) = 0;
    virtual bool IsFloat(int col, int row) = 0;
    virtual bool IsMissing(int col, int row) = 0;
    virtual bool IsString(int col, int row) = 0;
};
