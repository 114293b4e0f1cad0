#include "tools/TraceSink.h"

#include <ostream>
#include <utility>

#include "base/NumberFormat.h"

namespace {

// Digits that tell every float, and every double, from its neighbours.
constexpr int FloatDigits = 9;
constexpr int DoubleDigits = 17;

void AppendQuoted(std::string& line, std::string_view text) {
    static constexpr char Digits[] = "0123456789abcdef";
    line += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
            case '"':
            case '\\':
                line += {'\\', c};
                break;
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            case '\t':
                line += "\\t";
                break;
            default:
                if (byte < 0x20 || byte > 0x7e) {
                    line += {'\\', 'x', Digits[byte >> 4], Digits[byte & 15]};
                } else {
                    line += c;
                }
                break;
        }
    }
    line += '"';
}

}  // namespace

std::string QuoteForTrace(std::string_view text) {
    std::string quoted;
    AppendQuoted(quoted, text);
    return quoted;
}

TraceSink::TraceSink(std::ostream& target, RowFilter wanted, bool dropsUnwanted)
    : stream(target), filter(std::move(wanted)), dropsRows(dropsUnwanted) {}

TraceSink::~TraceSink() = default;

void TraceSink::WriteCell(int col, int row, const char* type, std::string_view value) {
    if (dropsRows && !filter.IsWanted(row)) {
        return;
    }
    line.assign("Set ").append(std::to_string(col)).append(" ").append(std::to_string(row));
    line.append(" ").append(type).append(" ").append(value).append("\n");
    stream << line;
}

void TraceSink::Set(int col, int row, int value) {
    WriteCell(col, row, "int", std::to_string(value));
}

void TraceSink::Set(int col, int row, std::int64_t value) {
    WriteCell(col, row, "int64", std::to_string(value));
}

void TraceSink::Set(int col, int row, double value) {
    WriteCell(col, row, "double", FormatG(value, DoubleDigits));
}

void TraceSink::Set(int col, int row, const char* text) {
    WriteCell(col, row, "text", QuoteForTrace(text));
}

void TraceSink::Set(int col, int row, float value) {
    WriteCell(col, row, "float", FormatG(value, FloatDigits));
}

int TraceSink::NextRowToRead(int row) {
    const int answer = filter.NextRowToRead(row);
    stream << "NextRowToRead " << row << ' ' << answer << '\n';
    return answer;
}

void TraceSink::SetDataSize(int cols, int rows) {
    SpreadsheetSink::SetDataSize(cols, rows);
    stream << "SetDataSize " << cols << ' ' << rows << '\n';
}
