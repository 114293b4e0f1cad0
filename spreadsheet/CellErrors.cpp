#include "spreadsheet/CellErrors.h"

#include <algorithm>
#include <iterator>

std::string_view GetErrorText(std::uint8_t code) {
    struct Error {
        std::uint8_t code;
        std::string_view text;
    };
    static constexpr Error Errors[] = {{0x00, "#NULL!"}, {0x07, "#DIV/0!"},      {0x0f, "#VALUE!"},
                                       {0x17, "#REF!"},  {0x1d, "#NAME?"},       {0x24, "#NUM!"},
                                       {0x2a, "#N/A"},   {0x2b, "#GETTING_DATA"}};
    const auto* const found = std::find_if(std::begin(Errors), std::end(Errors),
                                           [code](const Error& error) { return error.code == code; });
    return found == std::end(Errors) ? "#UNKNOWN!" : found->text;
}

std::string GetCellName(int col, int row) {
    std::string letters;
    for (int rest = col; rest > 0; rest = (rest - 1) / 26) {
        letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % 26));
    }
    return letters + std::to_string(row);
}

std::string GetCellName(const std::string& sheet, int col, int row) {
    return (sheet.empty() ? sheet : sheet + "!") + GetCellName(col, row);
}

void ErrorCells::Add(int col, int row, std::string_view text, std::string_view sheet) {
    if (count++ == 0) {
        firstPlace = sheet.empty() ? std::string() : std::string(sheet) + "!";
        firstPlace += GetCellName(col, row);
        firstText = text;
    }
}

void ErrorCells::AddTo(karta::Notes& notes) const {
    if (count == 0) {
        return;
    }
    const std::string text = count == 1 ? "1 cell holds the error " + firstText + " (" + firstPlace + ")"
                                        : karta::CountOf(count, "cell") + " hold errors such as " +
                                              firstText + " (first: " + firstPlace + ")";
    notes.Add({"error-cells", count, firstPlace, text});
}
