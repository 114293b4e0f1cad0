#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "karta/internal/RowFilter.h"
#include "karta/internal/SpreadsheetSink.h"

/** A sink that keeps nothing and writes every call that it gets as one line of a trace. */
class TraceSink : public SpreadsheetSink {
public:
    /**
     * The stream stays the caller's and must outlive the sink. `dropsUnwanted`: cells of rows that aren't
     * wanted are no lines, for readers that ask for no row.
     */
    explicit TraceSink(std::ostream& target, RowFilter wanted = {}, bool dropsUnwanted = false);
    ~TraceSink() override;

    void Set(int col, int row, int value) override;
    void Set(int col, int row, std::int64_t value) override;
    void Set(int col, int row, double value) override;
    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;
    int NextRowToRead(int row) override;
    void SetDataSize(int cols, int rows) override;

private:
    void WriteCell(int col, int row, const char* type, std::string_view value);

    std::ostream& stream;
    RowFilter filter;
    bool dropsRows;
    std::string line;
};

/** A text as traces show it: in double quotes, in printable ASCII. */
std::string QuoteForTrace(std::string_view text);
