#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/Note.h"

#include "host/NvString.h"
#include "karta/internal/NumberRange.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/FileSummary.h"
#include "tools/Screen.h"
#include "tools/TableHead.h"
#include "tools/TableRead.h"
#include "tools/TerminalText.h"
#include "tools/Utf8Text.h"

namespace {

// A longer text is cut, so that one remark doesn't push the numbers out of sight.
constexpr std::size_t MaxCellWidth = 24;
constexpr std::size_t Gap = 2;

std::string CellText(TableData& table, int col, int row) {
    // No more than can be shown of a text of megabytes: an escape is wider than its character.
    const std::string text = AsUtf8(table.GetString(col, row));
    std::string visible = VisibleText(FitDisplayWidth(text, MaxCellWidth + 1));
    if (GetDisplayWidth(visible) > MaxCellWidth) {
        visible = std::string(FitDisplayWidth(visible, MaxCellWidth - 1)) + "\u2026";
    }
    return visible;
}

bool IsNumber(const std::string& text) {
    double value = 0.0;
    return NvString::ToDouble(text, value);
}

/** One column of the head, as texts, the column's number on top. */
struct Column {
    std::vector<std::string> cells;
    std::size_t width;
};

Column MakeColumn(TableData& table, int col, const std::vector<int>& rows) {
    Column column{{std::to_string(col)}, 0};
    for (const int row : rows) {
        column.cells.push_back(CellText(table, col, row));
    }
    for (const std::string& cell : column.cells) {
        column.width = std::max(column.width, GetDisplayWidth(cell));
    }
    return column;
}

// Of the standard's few styles those that are read on dark and light ground.
constexpr const char* HeadStyle = "\x1b[1m";
constexpr const char* MissingStyle = "\x1b[2m";
constexpr const char* PlainStyle = "\x1b[0m";
// How a missing cell is seen where there are colours.
constexpr const char* MissingMark = "\u00b7";

/** Makes the lines of the head. */
class HeadWriter {
public:
    HeadWriter(TableData& shownTable, const std::vector<int>& shownRows, const karta::TableShape& shape,
               bool withColour)
        : table(shownTable),
          rows(shownRows),
          nameRow(TableHead(table, &shape).GetNameRow()),
          hasColour(withColour),
          gutter(std::to_string(rows.empty() ? 0 : rows.back()).size()) {}

    /** As many columns as fit beside the row numbers; one at least. */
    void AddFitting(std::size_t room) {
        std::size_t used = gutter;
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            Column column = MakeColumn(table, col, rows);
            used += Gap + column.width;
            if (used > room && !columns.empty()) {
                break;
            }
            Add(col, std::move(column));
        }
    }
    void Add(int col) { Add(col, MakeColumn(table, col, rows)); }

    int CountColumns() const { return static_cast<int>(columns.size()); }

    std::string Write() const {
        std::string text;
        for (std::size_t line = 0; line <= rows.size(); ++line) {
            const bool isHead = line == 0 || rows[line - 1] == nameRow;
            const std::string number = line == 0 ? "" : std::to_string(rows[line - 1]);
            std::string made = std::string(gutter - number.size(), ' ') + number;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                AppendCell(made, i, line);
            }
            made.erase(made.find_last_not_of(' ') + 1);
            text += isHead && hasColour ? HeadStyle + made + PlainStyle : made;
            text += '\n';
        }
        return text;
    }

private:
    void Add(int col, Column column) {
        places.push_back(col);
        columns.push_back(std::move(column));
    }

    // Numbers stand at the right, so that their digits can be compared; texts at the left.
    void AppendCell(std::string& made, std::size_t index, std::size_t line) const {
        const Column& column = columns[index];
        const std::string& cell = column.cells[line];
        made.append(Gap, ' ');
        if (hasColour && line > 0 && cell.empty() && table.IsMissing(places[index], rows[line - 1])) {
            made += std::string(column.width - 1, ' ') + MissingStyle + MissingMark + PlainStyle;
            return;
        }
        const std::string blanks(column.width - GetDisplayWidth(cell), ' ');
        if (IsNumber(cell)) {
            made += blanks + cell;
        } else {
            made += index + 1 == columns.size() ? cell : cell + blanks;
        }
    }

    TableData& table;
    const std::vector<int>& rows;
    int nameRow;
    bool hasColour;
    std::size_t gutter;
    std::vector<int> places;
    std::vector<Column> columns;
};

std::string Counted(int count, const char* noun) {
    return std::to_string(count) + " more " + noun + (count == 1 ? "" : "s");
}

/** How many rows aren't shown. */
struct RowsLeftOut {
    int known = 0;
    bool areMore = false;  // than known: the read ended before its end
};

std::string TellWhatIsLeftOut(const RowsLeftOut& rows, int cols) {
    std::string text = rows.areMore ? "more rows" : rows.known > 0 ? Counted(rows.known, "row") : "";
    if (cols > 0) {
        text += (text.empty() ? "" : " and ") + Counted(cols, "column");
    }
    return text.empty() ? text : "(" + text + ")\n";
}

// In the order in which the user named them, each as often as it was named.
std::vector<int> ColumnsOf(const std::string& list, int count) {
    std::vector<int> columns;
    std::istringstream stream(list);
    std::string item;
    while (std::getline(stream, item, ',')) {
        const auto range = karta::ParseRange(item);
        if (!range) {
            throw Failure("--columns takes columns like 1-3,7, not '" + item + "'", ExitUsage);
        }
        const auto [first, last] = *range;
        if (first > count) {
            throw Failure("--columns: there is no column " + std::to_string(first) + "; the table has " +
                          karta::CountOf(static_cast<std::uint64_t>(count), "column"));
        }
        for (int col = first; col <= std::min(last, count); ++col) {
            columns.push_back(col);
        }
    }
    return columns;
}

std::string TellRows(TableRead& read, const std::vector<int>& rows, const RowsLeftOut& rowsLeftOut,
                     const ShowRequest& wanted, const Screen& screen) {
    TableData& table = *read.table;
    if (table.GetNumberOfColumns() == 0 || table.GetNumberOfRows() == 0) {
        return "(the table is empty)\n";
    }
    HeadWriter head(table, rows, read.report.shape, screen.HasColour());
    int colsLeftOut = 0;
    if (!wanted.columns.empty()) {
        for (const int col : ColumnsOf(wanted.columns, table.GetNumberOfColumns())) {
            head.Add(col);
        }
    } else {
        head.AddFitting(wanted.wide ? std::string::npos : screen.GetWidth());
        colsLeftOut = table.GetNumberOfColumns() - head.CountColumns();
    }
    return head.Write() + TellWhatIsLeftOut(rowsLeftOut, colsLeftOut);
}

std::string TellFacts(const ReadRequest& request) {
    const FileSummary summary = SummariseFile(request, ChooseFormat(request));
    std::string text = FactLine("format", summary.format + " (" + summary.reason + ")");
    for (const FileContents::Fact& fact : summary.facts) {
        text += FactLine(fact.name, fact.value);
    }
    return text + "\n";
}

}  // namespace

int RunShow(const ReadRequest& request, const ShowRequest& wanted, const Screen& screen) {
    const int maxRows = wanted.rows;
    ReadRequest head = request;
    if (head.want.empty() && maxRows > 0) {
        // Readers that go row by row end behind the last row that is shown.
        head.want = "1-" + std::to_string(maxRows);
    }
    const std::string facts = wanted.facts ? TellFacts(request) : "";
    TableRead read;
    ReadTable(head, read);
    std::vector<int> rows = read.Rows(head);
    RowsLeftOut leftOut;
    if (request.want.empty()) {
        leftOut = {read.table->GetNumberOfRows() - static_cast<int>(rows.size()), read.hasMoreRows};
    }
    if (rows.size() > static_cast<std::size_t>(maxRows)) {
        leftOut.known += static_cast<int>(rows.size()) - maxRows;
        rows.resize(static_cast<std::size_t>(maxRows));
    }
    screen.Write(facts + TellRows(read, rows, leftOut, wanted, screen));
    ShowReport(request, read.report);
    return ExitSuccess;
}
