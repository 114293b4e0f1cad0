#include "container/MatLevel4Writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/OutputFile.h"
#include "frame/NumberRowSource.h"
#include "frame/WriteSpreadSheetData.h"

namespace {

constexpr int NumericType = 0;
constexpr int TextType = 1;

// The names of the identifiers' matrices have this length, whatever their number.
constexpr std::size_t IdNameLength = 7;
constexpr std::string_view DataName("DATA\0", 5);

// What is gathered before it is written: as many columns as give a piece of a row's memory its use.
constexpr std::size_t NumbersAtOnce = std::size_t{1} << 18;
constexpr std::size_t MostColumnsAtOnce = 64;

constexpr std::uint64_t MissingBits = 0xFFF8000000000000;

template <class Number>
std::string_view BytesOf(const Number& value) {
    static_assert(std::endian::native == std::endian::little);
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// The number that a text is, wholly and but for blanks around it.
std::optional<double> ToNumber(std::string_view text) {
    text = TrimSpace(text);
    double value = 0;
    const bool isNumber = !text.empty() && ParseDouble(text, value) == text.size() && std::isfinite(value);
    return isNumber ? std::optional(value) : std::nullopt;
}

std::string IdName(const char* stem, int number) {
    std::string name = stem + std::to_string(number);
    name.resize(IdNameLength, '\0');
    return name;
}

}  // namespace

Matlab4Writer::Matlab4Writer(OutputFile& target, WriteSpreadSheetData& table)
    : output(target), source(table), rowSource(dynamic_cast<NumberRowSource*>(&table)) {}

void Matlab4Writer::WriteDouble(double value) {
    output.Write(BytesOf(value));
}

void Matlab4Writer::WriteHeader(int type, int rows, int columns, std::string_view name) {
    const std::int32_t fields[] = {type, rows, columns, 0, static_cast<std::int32_t>(name.size())};
    output.Write(BytesOf(fields));
    output.Write(name);
}

void Matlab4Writer::WriteData() {
    output.Expect(sizeof(double) * static_cast<std::uint64_t>(blockRows) *
                  static_cast<std::uint64_t>(blockColumns));
    WriteHeader(NumericType, blockRows, blockColumns, DataName);
    const auto rows = static_cast<std::size_t>(blockRows);
    const auto columns = static_cast<int>(
        std::clamp<std::size_t>(NumbersAtOnce / std::max<std::size_t>(rows, 1), 1, MostColumnsAtOnce));
    std::vector<double> band(std::min(rows, NumbersAtOnce) * static_cast<std::size_t>(columns));
    for (int column = 0; column < blockColumns; column += columns) {
        WriteColumns(column, std::min(columns, blockColumns - column), band);
    }
}

// The file goes down the columns and tables lie in rows: row by row, some columns side by side are gathered
// and then written one after the other. A column that is longer than the band is written in pieces.
void Matlab4Writer::WriteColumns(int firstColumn, int columns, std::vector<double>& band) {
    const int rowsAtOnce = static_cast<int>(std::min(static_cast<std::size_t>(blockRows), NumbersAtOnce));
    std::array<double, MostColumnsAtOnce> numbers;
    const std::span<double> ofRow = std::span(numbers).first(static_cast<std::size_t>(columns));
    for (int firstRow = 0; firstRow < blockRows; firstRow += rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, blockRows - firstRow);
        for (int row = 0; row < rows; ++row) {
            GetNumbers(firstDataCol + firstColumn, firstDataRow + firstRow + row, ofRow);
            std::size_t place = static_cast<std::size_t>(row);
            for (const double number : ofRow) {
                band[place] = number;
                place += static_cast<std::size_t>(rows);
            }
        }
        output.Write({reinterpret_cast<const char*>(band.data()),
                      sizeof(double) * static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)});
    }
}

void Matlab4Writer::GetNumbers(int column, int row, std::span<double> numbers) {
    const auto missing = std::bit_cast<double>(MissingBits);
    if (rowSource != nullptr && !takesTexts) {
        rowSource->GetNumbers(column, row, numbers, missing);
        return;
    }
    for (double& number : numbers) {
        number = GetNumber(column++, row).value_or(missing);
    }
}

bool Matlab4Writer::IDIsOnlyFloat(const IdLine& line) {
    for (int i = 0; i < line.count; ++i) {
        if (source.IsString(line.firstColumn + i * line.columnStep, line.firstRow + i * line.rowStep)) {
            return false;
        }
    }
    return true;
}

std::string Matlab4Writer::TextOf(const IdLine& line, int index) {
    const int column = line.firstColumn + index * line.columnStep;
    const int row = line.firstRow + index * line.rowStep;
    if (source.IsFloat(column, row)) {
        return FormatG(source.GetFloatValue(column, row));
    }
    return source.IsString(column, row) ? source.GetString(column, row) : std::string();
}

void Matlab4Writer::WriteIdNumbers(std::string_view name, const IdLine& line) {
    WriteHeader(NumericType, line.count, 1, name);
    for (int i = 0; i < line.count; ++i) {
        const int column = line.firstColumn + i * line.columnStep;
        const int row = line.firstRow + i * line.rowStep;
        WriteDouble(source.IsFloat(column, row) ? source.GetFloatValue(column, row) : 0.0);
    }
}

void Matlab4Writer::WriteIdTexts(std::string_view name, const IdLine& line) {
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(line.count));
    std::size_t length = 0;
    for (int i = 0; i < line.count; ++i) {
        texts.push_back(TextOf(line, i));
        if (texts.back().size() > length) {
            // Every text takes the longest one's room: that bounds what is gathered here too.
            length = texts.back().size();
            output.Expect(sizeof(double) * length * static_cast<std::uint64_t>(line.count));
        }
    }
    WriteHeader(TextType, line.count, static_cast<int>(length), name);
    for (std::size_t character = 0; character < length; ++character) {
        for (const std::string& text : texts) {
            WriteDouble(character < text.size() ? static_cast<unsigned char>(text[character]) : ' ');
        }
    }
}

void Matlab4Writer::WriteIdLine(std::string_view name, const IdLine& line) {
    if (IDIsOnlyFloat(line)) {
        WriteIdNumbers(name, line);
    } else {
        WriteIdTexts(name, line);
    }
}

void Matlab4Writer::WriteColumn() {
    for (int column = 1; column < firstDataCol; ++column) {
        WriteIdLine(IdName("OBSID", column), {column, firstDataRow, 0, 1, blockRows});
    }
}

void Matlab4Writer::WriteRow() {
    for (int row = 1; row < firstDataRow; ++row) {
        WriteIdLine(IdName("VARID", row), {firstDataCol, row, 1, 0, blockColumns});
    }
}

std::optional<double> Matlab4Writer::GetNumber(int column, int row) {
    if (source.IsFloat(column, row)) {
        return source.GetFloatValue(column, row);
    }
    return takesTexts && source.IsString(column, row) ? ToNumber(source.GetString(column, row))
                                                      : std::nullopt;
}

// As a table finds the block of its numbers: behind the leading columns and rows in which none is.
bool Matlab4Writer::FindBlockOfTexts() {
    takesTexts = true;
    firstDataCol = source.GetNumberOfColumns() + 1;
    firstDataRow = 0;
    for (int row = 1; row <= source.GetNumberOfRows(); ++row) {
        for (int column = 1; column < firstDataCol; ++column) {
            if (source.IsString(column, row) && GetNumber(column, row)) {
                firstDataCol = column;
                firstDataRow = firstDataRow == 0 ? row : firstDataRow;
            }
        }
    }
    return firstDataRow > 0;
}

bool Matlab4Writer::FindBlock() {
    return source.GetDataOrigin(&firstDataCol, &firstDataRow) || FindBlockOfTexts();
}

bool Matlab4Writer::Write() {
    if (!FindBlock()) {
        return false;
    }
    blockColumns = std::max(source.GetNumberOfColumns() - firstDataCol + 1, 0);
    blockRows = std::max(source.GetNumberOfRows() - firstDataRow + 1, 0);
    WriteData();
    WriteColumn();
    WriteRow();
    return true;
}
