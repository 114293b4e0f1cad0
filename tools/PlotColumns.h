#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/TableShape.h"
#include "table/TableData.h"

/** The columns of numbers and of points in time of a plain table, for curves over one of them. */
class PlotColumns {
public:
    struct Column {
        int col = 0;
        std::string name; /**< in UTF-8, never empty */
        bool isTime = false;
    };

    /** None where no column holds numbers. The table stays the caller's and must outlive this. */
    static std::optional<PlotColumns> Find(TableData& table, const karta::TableShape& shape);

    const std::vector<Column>& GetColumns() const { return columns; }
    int GetFirstRow() const { return firstRow; }
    int GetLastRow() const { return table.GetNumberOfRows(); }
    std::size_t CountRows() const {
        return static_cast<std::size_t>(GetLastRow()) - static_cast<std::size_t>(firstRow) + 1;
    }
    /** The place among the columns of what the others are drawn over: time, or else what grows from row to
     * row. None: the rows' numbers. */
    std::optional<std::size_t> GetAxis() const { return axis; }
    double GetValue(std::size_t column, int row) const;

private:
    PlotColumns(TableData& columnTable, const karta::TableShape& shape);

    void FindColumns(const karta::TableShape& shape);
    void FindAxis();
    bool Rises(const Column& column) const;

    TableData& table;
    int firstRow = 1;
    std::vector<Column> columns;
    std::optional<std::size_t> axis;
};
