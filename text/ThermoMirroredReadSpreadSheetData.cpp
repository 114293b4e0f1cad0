#include "text/ThermoMirroredReadSpreadSheetData.h"

#include <algorithm>
#include <cstring>
#include <limits>

ThermoMirroredReadSpreadSheetData::ThermoMirroredReadSpreadSheetData(int rows, int cols, std::size_t bytes)
    : numRows(rows), numCols(cols) {
    // Memory that nothing is written to costs nothing.
    characters.reserve(bytes);
    ends.reserve(bytes / 4);
}

void ThermoMirroredReadSpreadSheetData::Set(int col, int row, const char* text) {
    if (row > numRows || col > numCols || Append(col, row, text)) {
        return;
    }
    others.Set(col, row, text);
    hasOthers = true;
}

// False for a cell that isn't the next one of the last line or the first one of a later line.
bool ThermoMirroredReadSpreadSheetData::Append(int col, int row, std::string_view text) {
    if (row < 1 || col < 1) {
        return true;
    }
    const auto line = static_cast<std::size_t>(row);
    if (line > lines.size() && col == 1) {
        lines.resize(line, {characters.size(), ends.size(), 0});
    }
    if (line != lines.size() || col != lines.back().count + 1) {
        return false;
    }
    const std::size_t end = characters.size() - lines.back().firstCharacter + text.size() + 1;
    if (end > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    characters.insert(characters.end(), text.data(), text.data() + text.size() + 1);
    ends.push_back(static_cast<std::uint32_t>(end));
    ++lines.back().count;
    return true;
}

// The parser that fills the table delivers texts only.
void ThermoMirroredReadSpreadSheetData::Set(int /*col*/, int /*row*/, float /*value*/) {}

void ThermoMirroredReadSpreadSheetData::SetDataSize(int /*cols*/, int /*rows*/) {}

// Of a table that didn't come in one order, and of a cell that isn't there.
std::string_view ThermoMirroredReadSpreadSheetData::GetOther(int row, int col) const {
    if (const char* const text = others.GetText(col + 1, row + 1); *text != '\0') {
        return text;
    }
    return IsThere(row, col) ? GetInLine(row, col) : std::string_view("");
}
