#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "host/NvString.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/TableRead.h"
#include "tools/TerminalText.h"
#include "tools/Utf8Text.h"

namespace {

// A longer text is cut, so that one remark doesn't push the numbers out of sight.
constexpr std::size_t MaxCellWidth = 24;
constexpr std::size_t UsualWidth = 80;
constexpr std::size_t Gap = 2;

std::size_t TerminalWidth() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    int columns = 0;
    const char* wanted = std::getenv("COLUMNS");
    return wanted != nullptr && NvString::ToInt(wanted, columns) && columns > 0
               ? static_cast<std::size_t>(columns)
               : UsualWidth;
}

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

// Numbers stand at the right, so that their digits can be compared; texts at the left.
void AppendCell(std::string& line, const std::string& cell, std::size_t width, bool isLast) {
    const std::string blanks(width - GetDisplayWidth(cell), ' ');
    line.append(Gap, ' ');
    if (IsNumber(cell)) {
        line += blanks + cell;
    } else {
        line += isLast ? cell : cell + blanks;
    }
}

// As many columns as fit beside the row numbers; one at least.
std::vector<Column> FittingColumns(TableData& table, const std::vector<int>& rows, std::size_t gutter) {
    std::vector<Column> columns;
    const std::size_t room = TerminalWidth();
    std::size_t used = gutter;
    for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
        Column column = MakeColumn(table, col, rows);
        used += Gap + column.width;
        if (used > room && !columns.empty()) {
            break;
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

std::string Counted(int count, const char* noun) {
    return std::to_string(count) + " more " + noun + (count == 1 ? "" : "s");
}

/** How many rows aren't shown. */
struct RowsLeftOut {
    int known = 0;
    bool areMore = false;  // than known: the read ended before its end
};

void SayWhatIsLeftOut(const RowsLeftOut& rows, int cols) {
    std::string text = rows.areMore ? "more rows" : rows.known > 0 ? Counted(rows.known, "row") : "";
    if (cols > 0) {
        text += (text.empty() ? "" : " and ") + Counted(cols, "column");
    }
    if (!text.empty()) {
        std::cout << "(" << text << ")\n";
    }
}

void ShowRows(TableData& table, const std::vector<int>& rows, const RowsLeftOut& rowsLeftOut) {
    if (table.GetNumberOfColumns() == 0 || table.GetNumberOfRows() == 0) {
        std::cout << "(the table is empty)\n";
        return;
    }
    const std::size_t gutter = std::to_string(rows.empty() ? 0 : rows.back()).size();
    const std::vector<Column> columns = FittingColumns(table, rows, gutter);
    for (std::size_t line = 0; line <= rows.size(); ++line) {
        const std::string number = line == 0 ? "" : std::to_string(rows[line - 1]);
        std::string text = std::string(gutter - number.size(), ' ') + number;
        for (const Column& column : columns) {
            AppendCell(text, column.cells[line], column.width, &column == &columns.back());
        }
        text.erase(text.find_last_not_of(' ') + 1);
        std::cout << text << '\n';
    }
    SayWhatIsLeftOut(rowsLeftOut, table.GetNumberOfColumns() - static_cast<int>(columns.size()));
}

}  // namespace

int RunShow(const ReadRequest& request, int maxRows) {
    ReadRequest head = request;
    if (head.want.empty() && maxRows > 0) {
        // Readers that go row by row end behind the last row that is shown.
        head.want = "1-" + std::to_string(maxRows);
    }
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
    ShowRows(*read.table, rows, leftOut);
    ShowReport(request, read.report);
    return ExitSuccess;
}
