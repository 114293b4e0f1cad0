#pragma once

#include <string>

#include "frame/SpreadsheetData.h"

/** A table that only takes: it keeps the size that it is told of, and as a source it is empty. */
class SpreadsheetSink : public SpreadsheetData {
public:
    void SetDataSize(int cols, int rows) override {
        numCols = cols;
        numRows = rows;
    }
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }

    double GetFloatValue(int /*col*/, int /*row*/) override { return 0.0; }
    std::string GetString(int /*col*/, int /*row*/) override { return {}; }
    bool GetDataOrigin(int* /*firstDataCol*/, int* /*firstDataRow*/) override { return false; }
    bool IsFloat(int /*col*/, int /*row*/) override { return false; }
    bool IsMissing(int /*col*/, int /*row*/) override { return true; }
    bool IsString(int /*col*/, int /*row*/) override { return false; }

private:
    int numCols = 0;
    int numRows = 0;
};
