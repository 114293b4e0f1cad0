#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "host/SpreadsheetData.h"
#include "tools/RowFilter.h"

/** A sink that keeps nothing and writes every call that it gets as one line of a trace. */
class TraceSink : public SpreadsheetData {
public:
    /** The stream stays the caller's and must outlive the sink. */
    explicit TraceSink(std::ostream& target, RowFilter wanted = {});
    ~TraceSink() override;

    void Set(int col, int row, int value) override;
    void Set(int col, int row, std::int64_t value) override;
    void Set(int col, int row, double value) override;
    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;
    int NextRowToRead(int row) override;
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }

    // A sink only: as a source it is an empty table.
    double GetFloatValue(int /*col*/, int /*row*/) override { return 0.0; }
    std::string GetString(int /*col*/, int /*row*/) override { return {}; }
    bool GetDataOrigin(int* /*firstDataCol*/, int* /*firstDataRow*/) override { return false; }
    bool IsFloat(int /*col*/, int /*row*/) override { return false; }
    bool IsMissing(int /*col*/, int /*row*/) override { return true; }
    bool IsString(int /*col*/, int /*row*/) override { return false; }

private:
    void WriteCell(int col, int row, const char* type, std::string_view value);

    std::ostream& stream;
    RowFilter filter;
    std::string line;
    int numCols = 0;
    int numRows = 0;
};

/** A text as traces show it: in double quotes, in printable ASCII. */
std::string QuoteForTrace(std::string_view text);
