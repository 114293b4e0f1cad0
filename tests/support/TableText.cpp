#include "tests/support/TableText.h"

#include "karta/Table.h"

std::string DescribeTable(const karta::Table& table) {
    std::string text;
    for (const karta::Column& column : table.GetColumns()) {
        text += column.GetName() + " " + karta::GetTypeName(column.GetType()) + " of " +
                std::to_string(column.GetRowCount()) + ", missing " + std::to_string(column.GetNullCount());
        if (const auto& distinct = column.GetBuffers().dictionary) {
            text += ", " + std::to_string(distinct->GetRowCount()) + " distinct";
        }
        text += ": ";
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
            text += column.IsMissing(row) ? "-|" : column.ToText(row) + "|";
        }
        text += "\n";
    }
    for (const karta::Note& note : table.GetNotes()) {
        text += note.code + " " + note.place + " " + note.text + "\n";
    }
    return text;
}
