#pragma once

#include <cstdint>

#include "frame/SpreadSheetDataBase.h"

/**
 * A sink: what a reader pushes its cells into, one by one. Columns come first and rows second, and both
 * count from 1. Cell (1, 1) is the top left cell of the file's table; rows and columns of names are
 * ordinary ones with texts in them. A cell that is never set stays empty.
 */
class KARTA_EXPORT ReadSpreadSheetData : public virtual SpreadSheetDataBase {
public:
    /** The three wider number forms are narrowed to float unless a sink keeps more. */
    virtual void Set(int col, int row, int value);
    virtual void Set(int col, int row, std::int64_t value);
    virtual void Set(int col, int row, double value);
    /** `text` is the caller's and may change after the call. */
    virtual void Set(int col, int row, const char* text) = 0;
    virtual void Set(int col, int row, float value) = 0;

    /**
     * The row filter. Asked with the row just finished, 0 before the first. A negative answer ends the
     * read at once, as a success; an answer beyond the next row makes the reader skip forward to it.
     */
    virtual int NextRowToRead(int row);

    /** The size of the table, before the first cell; again when the reader learns it only on the way. */
    virtual void SetDataSize(int cols, int rows) = 0;
};
