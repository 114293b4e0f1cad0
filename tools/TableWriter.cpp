#include "tools/TableWriter.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <string_view>

#include "tools/Json.h"
#include "tools/Utf8Text.h"

namespace {

// Longer than any number in its shortest form.
constexpr std::size_t NumberSize = 40;

/** Texts of cells without an allocation a cell. */
class CellPrinter {
public:
    explicit CellPrinter(TableData& source) : table(source) {}

    /** The cell's text in UTF-8, valid until the next call. */
    std::string_view Print(int col, int row) {
        switch (table.GetKind(col, row)) {
            case TableData::Text:
                return AsUtf8(table.GetText(col, row), storage);
            case TableData::Int:
            case TableData::Int64:
                return PrintNumber(table.GetInt64(col, row));
            case TableData::Float:
                return PrintFloating(table.GetFloat(col, row));
            case TableData::Double:
                return PrintFloating(table.GetFloatValue(col, row));
            case TableData::Missing:
                break;
        }
        return {};
    }

private:
    template <class Number>
    std::string_view PrintNumber(Number value) {
        return {number, std::to_chars(number, std::end(number), value).ptr};
    }
    // The sign of a NaN means nothing.
    template <class Number>
    std::string_view PrintFloating(Number value) {
        return std::isnan(value) ? "nan" : PrintNumber(value);
    }

    TableData& table;
    std::string storage;
    char number[NumberSize];
};

void WriteField(std::string_view field, char separator, OutputFile& output) {
    const char special[] = {separator, '"', '\n', '\r'};
    if (field.find_first_of(std::string_view(special, sizeof special)) == std::string_view::npos) {
        output.Write(field);
        return;
    }
    output.Write('"');
    for (std::size_t quote = field.find('"'); quote != std::string_view::npos; quote = field.find('"')) {
        output.Write(field.substr(0, quote + 1));
        output.Write('"');
        field.remove_prefix(quote + 1);
    }
    output.Write(field);
    output.Write('"');
}

void WriteSeparated(TableData& table, char separator, OutputFile& output) {
    CellPrinter printer(table);
    const int cols = table.GetNumberOfColumns();
    for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= cols; ++col) {
            if (col > 1) {
                output.Write(separator);
            }
            WriteField(printer.Print(col, row), separator, output);
        }
        output.Write('\n');
    }
}

std::string JsonCell(TableData& table, CellPrinter& printer, int col, int row) {
    const TableData::Kind kind = table.GetKind(col, row);
    if (kind == TableData::Missing) {
        return "null";
    }
    const std::string_view text = printer.Print(col, row);
    const bool isText = kind == TableData::Text || !std::isfinite(table.GetFloatValue(col, row));
    return isText ? JsonQuote(text) : std::string(text);
}

void WriteJsonLines(TableData& table, OutputFile& output) {
    CellPrinter printer(table);
    const int cols = table.GetNumberOfColumns();
    for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
        output.Write('[');
        for (int col = 1; col <= cols; ++col) {
            output.Write(col > 1 ? "," : "");
            output.Write(JsonCell(table, printer, col, row));
        }
        output.Write("]\n");
    }
}

}  // namespace

void WriteTable(TableData& table, TableForm form, OutputFile& output) {
    switch (form) {
        case TableForm::Csv:
            WriteSeparated(table, ',', output);
            break;
        case TableForm::Tsv:
            WriteSeparated(table, '\t', output);
            break;
        case TableForm::JsonLines:
            WriteJsonLines(table, output);
            break;
    }
}
