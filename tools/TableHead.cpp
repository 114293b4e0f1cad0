#include "tools/TableHead.h"

#include <algorithm>

#include "tools/Utf8Text.h"

namespace {

bool IsRowOfNames(TableData& table, int row) {
    bool hasText = false;
    for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
        if (!table.IsMissing(col, row)) {
            if (table.GetKind(col, row) != TableData::Text) {
                return false;
            }
            hasText = true;
        }
    }
    return hasText;
}

}  // namespace

TableHead::TableHead(TableData& headedTable, const karta::TableShape* shape) : table(headedTable) {
    if (shape != nullptr && shape->isKnown) {
        nameRow = shape->nameRow;
        unitRow = shape->unitRow;
        firstDataRow = std::max(shape->firstDataRow, nameRow + 1);
        return;
    }
    nameRow = IsRowOfNames(table, 1) ? 1 : 0;
    firstDataRow = nameRow + 1;
}

std::string TableHead::NameOf(int col) const {
    return nameRow == 0 ? std::string() : AsUtf8(table.GetString(col, nameRow));
}

std::string TableHead::LabelOf(int col) const {
    std::string label = NameOf(col);
    if (label.empty()) {
        label = "column " + std::to_string(col);
    }
    const std::string unit = unitRow == 0 ? std::string() : AsUtf8(table.GetString(col, unitRow));
    return unit.empty() ? label : label + " (" + unit + ")";
}
