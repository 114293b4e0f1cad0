#include "tools/TableSource.h"

#include <algorithm>
#include <string_view>

#include "base/Ascii.h"
#include "host/NvString.h"
#include "tools/Interrupt.h"
#include "tools/Utf8Text.h"

namespace {

// "007" is a name; "0", "0.5" and "0e3" are numbers.
bool HasLeadingZero(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t+-");
    return first != std::string::npos && text[first] == '0' && first + 1 < text.size() &&
           IsDigit(text[first + 1]);
}

bool IsNumber(const std::string& text) {
    double value = 0.0;
    return NvString::ToDouble(text, value);
}

}  // namespace

std::string SafeCell(std::string text) {
    const char first = text.empty() ? '\0' : text.front();
    const bool isSign = first == '+' || first == '-';
    if (first == '=' || first == '@' || first == '\t' || first == '\r' || (isSign && !IsNumber(text))) {
        text.insert(text.begin(), '\'');
    }
    return text;
}

int WantedRows::At(int row) const {
    Interrupt::ThrowIfRequested();
    return rows[static_cast<std::size_t>(row) - 1];
}

std::string WantedRows::GetString(int col, int row) {
    std::string text = AsUtf8(table.GetString(col, At(row)));
    return makesSafe && table.IsString(col, At(row)) ? SafeCell(std::move(text)) : text;
}

bool WantedRows::GetDataOrigin(int* firstDataCol, int* firstDataRow) {
    int row = 0;
    if (!table.GetDataOrigin(firstDataCol, &row)) {
        return false;
    }
    const auto place = std::lower_bound(rows.begin(), rows.end(), row);
    *firstDataRow = static_cast<int>(place - rows.begin()) + 1;
    return place != rows.end();
}

std::optional<double> NumericRows::NumberAt(int col, int row) const {
    return NumberInTable(col, At(row));
}

std::optional<double> NumericRows::NumberInTable(int col, int tableRow) const {
    if (tableRow <= heads) {
        return std::nullopt;
    }
    TableData& table = GetTable();
    double number = 0.0;
    switch (table.GetKind(col, tableRow)) {
        case TableData::Missing:
            return std::nullopt;
        case TableData::Float:
        case TableData::Double:
            table.FindNumber(col, tableRow, number);
            return number;
        case TableData::Bool:
            return static_cast<double>(table.GetInt64(col, tableRow));
        case TableData::Text: {
            const std::string_view text = table.GetText(col, tableRow);
            return !HasLeadingZero(text) && NvString::ToDouble(text, number) ? std::optional(number)
                                                                             : std::nullopt;
        }
        default:
            return table.IsFloat(col, tableRow) ? std::optional(table.GetFloatValue(col, tableRow))
                                                : std::nullopt;
    }
}

void NumericRows::GetNumbers(int firstCol, int row, std::span<double> numbers, double missing) const {
    const int tableRow = At(row);
    const TableData::RowNumbers known = GetTable().GetRowNumbers(tableRow);
    for (double& number : numbers) {
        const int col = firstCol++;
        if (tableRow <= heads || known.Find(col, number) == TableData::Missing) {
            number = NumberInTable(col, tableRow).value_or(missing);
        }
    }
}

double NumericRows::GetFloatValue(int col, int row) {
    return NumberAt(col, row).value_or(0.0);
}

bool NumericRows::IsFloat(int col, int row) {
    const int tableRow = At(row);
    const TableData::Kind kind = GetTable().GetKind(col, tableRow);
    if (kind == TableData::Bool || kind == TableData::Text) {
        return NumberAt(col, row).has_value();
    }
    // Without a look at the number, which lies somewhere else.
    return TableData::IsNumber(kind) && tableRow > heads;
}

bool NumericRows::IsString(int col, int row) {
    // Most cells are empty or numbers, which one look tells.
    const TableData::Kind kind = GetTable().GetKind(col, At(row));
    return kind != TableData::Missing && !TableData::IsNumber(kind) && !IsMissing(col, row) &&
           !IsFloat(col, row);
}

// As a table finds it: behind the leading rows and columns that have no number in them.
bool NumericRows::GetDataOrigin(int* firstDataCol, int* firstDataRow) {
    if (!origin) {
        int firstCol = GetNumberOfColumns() + 1;
        int firstRow = 0;
        for (int row = 1; row <= GetNumberOfRows(); ++row) {
            for (int col = 1; col < firstCol; ++col) {
                if (IsFloat(col, row)) {
                    firstCol = col;
                    firstRow = firstRow == 0 ? row : firstRow;
                }
            }
        }
        origin = firstRow == 0 ? std::pair(0, 0) : std::pair(firstCol, firstRow);
    }
    *firstDataCol = origin->first;
    *firstDataRow = origin->second;
    return origin->second != 0;
}

std::size_t NumericRows::CountUnwritable() {
    int firstCol = 0;
    int firstRow = 0;
    if (!GetDataOrigin(&firstCol, &firstRow)) {
        return 0;
    }
    std::size_t count = 0;
    const int cols = GetNumberOfColumns();
    for (int row = firstRow; row <= GetNumberOfRows(); ++row) {
        const int tableRow = At(row);
        const TableData::RowNumbers known = GetTable().GetRowNumbers(tableRow);
        for (int col = firstCol; col <= cols; ++col) {
            double number = 0.0;
            const bool isNumber = tableRow > heads && known.Find(col, number) != TableData::Missing;
            count += !isNumber && IsString(col, row) ? 1 : 0;
        }
    }
    return count;
}
