#include "tools/PlotColumns.h"

#include <algorithm>
#include <cmath>

#include "tools/PlotNumber.h"
#include "tools/TableHead.h"

namespace {

// A page can't be searched by eye for more.
constexpr std::size_t MostColumns = 200;

// Some cells may be remarks; of a column that is drawn most are numbers.
constexpr double LeastShareOfNumbers = 0.5;

}  // namespace

std::optional<PlotColumns> PlotColumns::Find(TableData& table, const karta::TableShape& shape) {
    PlotColumns found(table, shape);
    const bool hasNumbers = std::any_of(found.columns.begin(), found.columns.end(),
                                        [](const Column& column) { return !column.isTime; });
    if (!hasNumbers || found.CountRows() < 2) {
        return std::nullopt;
    }
    return found;
}

PlotColumns::PlotColumns(TableData& columnTable, const karta::TableShape& shape) : table(columnTable) {
    FindColumns(shape);
    FindAxis();
}

void PlotColumns::FindColumns(const karta::TableShape& shape) {
    const TableHead head(table, &shape);
    firstRow = head.GetFirstDataRow();
    for (int col = 1; col <= table.GetNumberOfColumns() && columns.size() < MostColumns; ++col) {
        std::size_t numbers = 0;
        std::size_t times = 0;
        std::size_t cells = 0;
        for (int row = firstRow; row <= table.GetNumberOfRows(); ++row) {
            const TableData::Kind kind = table.GetKind(col, row);
            cells += kind == TableData::Missing ? 0 : 1;
            if (IsPointInTime(kind)) {
                ++times;
            } else if (!std::isnan(PlotNumberOf(table, col, row))) {
                ++numbers;
            }
        }
        const auto most = static_cast<double>(std::max(numbers, times));
        if (most > 0.0 && most >= LeastShareOfNumbers * static_cast<double>(cells)) {
            columns.push_back({col, head.LabelOf(col), times > numbers});
        }
    }
}

void PlotColumns::FindAxis() {
    const auto isTime = [](const Column& column) { return column.isTime; };
    auto time = std::find_if(columns.begin(), columns.end(),
                             [&](const Column& column) { return column.isTime && Rises(column); });
    if (time == columns.end()) {
        time = std::find_if(columns.begin(), columns.end(), isTime);
    }
    if (time != columns.end()) {
        axis = static_cast<std::size_t>(time - columns.begin());
    } else if (columns.size() > 1 && Rises(columns.front())) {
        axis = 0;
    }
}

bool PlotColumns::Rises(const Column& column) const {
    double last = -HUGE_VAL;
    for (int row = firstRow; row <= table.GetNumberOfRows(); ++row) {
        const double value = PlotNumberOf(table, column.col, row);
        if (!(value > last)) {
            return false;
        }
        last = value;
    }
    return true;
}

double PlotColumns::GetValue(std::size_t column, int row) const {
    const Column& wanted = columns[column];
    const double value = PlotNumberOf(table, wanted.col, row);
    return IsPointInTime(table.GetKind(wanted.col, row)) == wanted.isTime ? value : NoNumber;
}
