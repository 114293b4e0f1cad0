#pragma once

#include "frame/ReadSpreadSheetData.h"
#include "host/NCDataMatrix.h"
#include "host/NCStringVector.h"

/**
 * A sink that takes the batch-shaped table of a process log apart: the measurements as a matrix, and three
 * vectors with the wafer and the phase of each row and the name of each column. Made for the tables of
 * BrooksideFile and BrooksideXML: names in row 1, wafers in column 1, phases in column 2, numbers behind.
 *
 * All places count from 1, as in the table; -99 is the missing value. A cell outside the announced size is
 * ignored.
 */
class KARTA_EXPORT SAReadBrooksideData : public ReadSpreadSheetData {
public:
    SAReadBrooksideData();
    /** Copies share the four objects: whoever copies sees to it that only one of them is destroyed. */
    SAReadBrooksideData(const SAReadBrooksideData&) = default;
    SAReadBrooksideData& operator=(const SAReadBrooksideData&) = default;
    ~SAReadBrooksideData() override;

    using ReadSpreadSheetData::Set;
    /** In the matrix a text that isn't wholly a number, the empty text included, is a missing value. */
    void Set(int col, int row, const char* text) override;
    /** In column 2 the phase, as a whole number. */
    void Set(int col, int row, float value) override;

    /** Adds so many columns and rows to what is there, each time it is called. */
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override;
    int GetNumberOfRows() override;

    NCDataMatrix<float>* data; /**< by row and column; row 1 and the first two columns stay missing */
    NCStringVector* wafers;    /**< by row */
    NCStringVector* phases;    /**< by row */
    NCStringVector* names;     /**< by column */
};
