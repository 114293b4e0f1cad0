#include "tools/TableWriter.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include "base/JsonRows.h"
#include "base/NumberFormat.h"
#include "base/SeparatedText.h"
#include "tools/Interrupt.h"
#include "tools/Json.h"
#include "tools/TableHead.h"
#include "tools/TableSource.h"
#include "tools/Utf8Text.h"

namespace {

// A row may have millions of fields.
constexpr std::size_t PieceSize = 65536;

/** Texts of cells without an allocation a cell. */
class CellPrinter {
public:
    explicit CellPrinter(TableData& source) : table(source) {}

    /** The text in UTF-8 of a cell of any kind but Float and Double; valid until the next call. */
    std::string_view Print(int col, int row) {
        switch (table.GetKind(col, row)) {
            case TableData::Text:
            case TableData::Error:
                return AsUtf8(table.GetText(col, row), storage);
            case TableData::Int:
            case TableData::Int64:
                return PrintNumber(table.GetInt64(col, row));
            case TableData::Missing:
                return {};
            default:
                storage = table.GetValueText(col, row);
                return storage;
        }
    }

private:
    std::string_view PrintNumber(std::int64_t value) {
        return {number, std::to_chars(number, std::end(number), value).ptr};
    }

    TableData& table;
    std::string storage;
    char number[ShortestNumberSize];
};

/** Writes what rows have gathered, if that is much or `isAll`: a row by itself may be short, or have millions
 * of fields. */
template <class Rows>
void WriteOut(Rows& rows, OutputFile& output, bool isAll = false) {
    if (isAll || rows.GetBytes().size() >= PieceSize) {
        output.Write(rows.GetBytes());
        rows.Clear();
    }
}

template <class Rows>
void AddNumber(Rows& rows, TableData::Kind kind, double value) {
    if (kind == TableData::Float) {
        rows.AddNumber(static_cast<float>(value));
    } else {
        rows.AddNumber(value);
    }
}

// Of any cell but a Float or Double.
void AddJsonCell(JsonRows& json, TableData& table, CellPrinter& printer, int col, int row, bool safeCells) {
    switch (table.GetKind(col, row)) {
        case TableData::Missing:
            json.AddNull();
            return;
        case TableData::Bool:
            json.AddBool(table.GetInt64(col, row) != 0);
            return;
        case TableData::Int:
        case TableData::Int64:
            json.AddInteger(table.GetInt64(col, row));
            return;
        default:
            break;
    }
    const std::string_view text = printer.Print(col, row);
    if (safeCells) {
        json.AddText(SafeCell(std::string(text)));
    } else {
        json.AddText(text);
    }
}

// Every member has a name of its own: a column without one, or with one that is taken, is told by its number.
std::vector<std::string> FindMembers(TableData& table, const TableHead& head) {
    std::vector<std::string> members;
    std::set<std::string> taken;
    for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
        const std::string number = std::to_string(col);
        std::string name = head.NameOf(col);
        if (name.empty()) {
            name = "column " + number;
        }
        if (!taken.insert(name).second) {
            name += " (column " + number + ")";
            taken.insert(name);
        }
        members.push_back(JsonQuote(name) + ":");
    }
    return members;
}

}  // namespace

char GetSeparator(TableForm form) {
    return form == TableForm::Tsv ? '\t' : ',';
}

void TableWriter::WriteSeparated(TableData& table, const std::vector<int>& rows) {
    CellPrinter printer(table);
    SeparatedText text(GetSeparator(request.form));
    const int cols = table.GetNumberOfColumns();
    for (const int row : rows) {
        if (output.HasFailed()) {
            return;
        }
        Interrupt::ThrowIfRequested();
        const TableData::RowNumbers numbers = table.GetRowNumbers(row);
        for (int col = 1; col <= cols; ++col) {
            WriteOut(text, output);
            double value = 0.0;
            const TableData::Kind kind = numbers.IsBeyond(col) ? table.FindPlainNumber(col, row, value)
                                                               : numbers.FindPlain(col, value);
            if (kind != TableData::Missing) {
                AddNumber(text, kind, value);
                continue;
            }
            const char* const source = table.GetSource(col, row);
            const std::string_view cell = source == nullptr ? printer.Print(col, row) : source;
            if (request.safeCells && table.IsString(col, row)) {
                text.Add(SafeCell(std::string(cell)));
            } else {
                text.Add(cell);
            }
        }
        text.EndRow();
    }
    WriteOut(text, output, true);
}

void TableWriter::WriteJsonLines(TableData& table, const std::vector<int>& rows) {
    int firstRow = 1;
    if (request.objects && !hasBegun) {
        const TableHead head(table, request.shape);
        firstRow = head.GetFirstDataRow();
        members = FindMembers(table, head);
    }
    CellPrinter printer(table);
    JsonRows json;
    json.Begin(GetMembers());
    const int cols = table.GetNumberOfColumns();
    for (const int row : rows) {
        if (output.HasFailed()) {
            return;
        }
        Interrupt::ThrowIfRequested();
        if (row < firstRow) {
            continue;
        }
        const TableData::RowNumbers numbers = table.GetRowNumbers(row);
        for (int col = 1; col <= cols; ++col) {
            WriteOut(json, output);
            double value = 0.0;
            const TableData::Kind kind =
                numbers.IsBeyond(col) ? table.FindNumber(col, row, value) : numbers.Find(col, value);
            if (kind != TableData::Missing) {
                AddNumber(json, kind, value);
            } else {
                AddJsonCell(json, table, printer, col, row, request.safeCells);
            }
        }
        json.EndRow();
    }
    WriteOut(json, output, true);
}

std::optional<RowTextForm> TableWriter::GetRowTextForm(std::size_t width) const {
    if (request.safeCells) {
        return std::nullopt;
    }
    const auto kind = request.form == TableForm::JsonLines ? RowTextForm::JsonLines : RowTextForm::Separated;
    return RowTextForm{kind, width, GetSeparator(request.form), GetMembers()};
}

void TableWriter::Write(TableData& table, const std::vector<int>& rows) {
    // Every cell, empty as it may be, has a separator behind it.
    output.Expect(static_cast<std::uint64_t>(rows.size()) *
                  static_cast<std::uint64_t>(table.GetNumberOfColumns()));
    if (request.form == TableForm::JsonLines) {
        WriteJsonLines(table, rows);
    } else {
        WriteSeparated(table, rows);
    }
    hasBegun = true;
}

void WriteTable(TableData& table, const std::vector<int>& rows, const FormRequest& request,
                OutputFile& output) {
    TableWriter(request, output).Write(table, rows);
}
