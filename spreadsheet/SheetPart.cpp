#include "spreadsheet/SheetPart.h"

#include <algorithm>

#include "host/NvString.h"
#include "spreadsheet/PlainCells.h"

namespace {

// Inside `sheetData`.
enum Level { RowLevel = 1, CellLevel = 2, ValueLevel = 3 };

void CheckRange(int number, int limit) {
    if (number < 0 || number > limit) {
        throw XmlEnd("a position lies outside of what a sheet can have");
    }
}

void CheckAnswer(bool goesOn) {
    if (!goesOn) {
        throw XmlEnd("the sheet isn't wanted any further");
    }
}

// What stands behind the first colon of "1:3"; no larger than a sheet can be.
int GetSpansEnd(std::string_view spans) {
    const std::size_t colon = spans.find(':');
    const int end = colon == std::string_view::npos ? 0 : ToInt(spans.substr(colon + 1));
    return std::clamp(end, 0, MaxSheetColumns);
}

SheetCell::Type GetType(std::string_view type) {
    if (type.empty()) {
        return SheetCell::Type::Number;
    }
    if (type.size() > 1) {
        return type == "str"         ? SheetCell::Type::FormulaText
               : type == "inlineStr" ? SheetCell::Type::InlineText
                                     : SheetCell::Type::Other;
    }
    switch (type.front()) {
        case 's':
            return SheetCell::Type::SharedText;
        case 'n':
            return SheetCell::Type::MarkedNumber;
        case 'b':
            return SheetCell::Type::Bool;
        case 'e':
            return SheetCell::Type::Error;
        case 'd':
            return SheetCell::Type::Date;
        default:
            return SheetCell::Type::Other;
    }
}

// The one attribute of a row that another namespace brings along, as programs write it; empty where there is
// none.
std::string_view FindPrefixedName(const XmlElement& element) {
    for (const XmlAttribute& attribute : element.attributes) {
        if (attribute.name.find(':') != std::string_view::npos && !attribute.name.starts_with("xmlns:")) {
            return attribute.name;
        }
    }
    return {};
}

// The digits behind the letters of a reference; 0 where there are none.
int GetRowIndex(std::string_view reference) {
    const std::size_t digits = reference.find_first_of("0123456789");
    return digits == std::string_view::npos ? 0 : ToInt(reference.substr(digits));
}

}  // namespace

int SheetHandler::GetColumnIndex(std::string_view reference, XmlForm form) {
    int column = 0;
    for (char letter : reference) {
        if (letter < 'A') {
            continue;
        }
        if (form == XmlForm::Full && letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
        if (letter <= 'Z') {
            column = column * 26 + (letter - 'A' + 1);
            CheckRange(column, MaxSheetColumns);
        }
    }
    return column;
}

void SheetHandler::StartInside(int level, std::string_view name, const XmlElement& element) {
    SetTakesRaw(false);
    if (level == RowLevel) {
        inRow = GetForm() == XmlForm::Literal || name == "row";
        if (inRow) {
            StartRow(element);
            // A cell without a prefix is then of the same namespace.
            isRowPlain = isRowNamed && element.name == "row";
            prefixedName = FindPrefixedName(element);
            SetTakesRaw(isRowPlain);
        }
    } else if (level == CellLevel && inRow && name == "c") {
        StartCell(element);
    } else if (inCell) {
        StartInCell(level, name);
    }
}

void SheetHandler::StartInCell(int level, std::string_view name) {
    if (inItem) {
        inItemText = item.StartElement(level - ValueLevel, name);
        if (inItemText) {
            BeginText();
        }
    } else if (IsValue(level, name)) {
        cell.hasValue = true;
        inValue = true;
        BeginText();
    } else if (level == ValueLevel && cell.type == SheetCell::Type::InlineText && name == "is") {
        inItem = true;
        item.Start();
    }
}

// Of a cell's values the first counts.
bool SheetHandler::IsValue(int level, std::string_view name) const {
    return level == ValueLevel && !cell.hasValue && name == "v";
}

// Whether the value is a text with escapes.
bool SheetHandler::IsEscaped() const {
    return GetForm() == XmlForm::Full && cell.type == SheetCell::Type::FormulaText;
}

void SheetHandler::TextInside(int level, std::string_view name, const XmlElement& element,
                              std::string_view chars) {
    // The road of nearly every value.
    if (inCell && !inItem && IsValue(level, name) && !IsEscaped()) {
        cell.hasValue = true;
        value.assign(chars);
        return;
    }
    NodeHandler::TextInside(level, name, element, chars);
}

XmlEvents::Taken SheetHandler::TakeRaw(std::string_view document, bool noDeclarations) {
    Taken taken;
    PlainCell cellThere;
    PlainRow row;
    static_assert(PlainRow::Longest <= PlainCell::Longest);
    const char* const limit = document.data() + document.size();
    while (document.size() - taken.bytes >= PlainCell::Longest) {
        const char* const from = document.data() + taken.bytes;
        const char* end = cellThere.Take(from, limit);
        if (end != nullptr && TakePlain(cellThere)) {
            taken.tags += cellThere.tags;
        } else if (end = noDeclarations && end == nullptr ? row.Take(from, limit, prefixedName) : nullptr;
                   end != nullptr && TakePlain(row)) {
            taken.tags += 2;
        } else {
            break;
        }
        taken.bytes += static_cast<std::size_t>(end - from);
    }
    return taken;
}

// The same of the end of a row and the beginning of the next one.
bool SheetHandler::TakePlain(const PlainRow& plain) {
    if (plain.number < 1 || plain.number > MaxSheetRows) {
        return false;
    }
    StartRow(plain.number, std::min(plain.claimedColumns, MaxSheetColumns));
    return true;
}

// Just as the events of its elements would do it; false for a cell that these are needed for.
bool SheetHandler::TakePlain(const PlainCell& plain) {
    const SheetCell::Type type = GetType(plain.type);
    const bool isShared = type == SheetCell::Type::SharedText && plain.hasValue;
    const bool mayBeEscaped =
        plain.isInline || (type == SheetCell::Type::FormulaText && GetForm() == XmlForm::Full);
    if (plain.column > MaxSheetColumns || (isShared && !plain.isIndex) ||
        (mayBeEscaped && plain.GetValue().find(EscapeBegin) != std::string_view::npos)) {
        return false;
    }
    lastColumn = plain.column;
    if (plainCells != nullptr &&
        (isShared ? plainCells->TakeShared(plain.column, rowNumber, plain.index) : TakeNumber(plain, type))) {
        return true;
    }
    cell.col = plain.column;
    cell.row = rowNumber;
    cell.type = type;
    cell.style = plain.style;
    cell.hasValue = plain.hasValue;
    cell.hasIndex = isShared;
    cell.index = isShared ? plain.index : 0;
    cell.hasNumber = plain.isNumber;
    cell.number = plain.number;
    cell.text = plain.GetValue();
    CheckAnswer(receiver.TakeCell(cell));
    return true;
}

bool SheetHandler::TakeNumber(const PlainCell& plain, SheetCell::Type type) {
    double number = plain.number;
    return (type == SheetCell::Type::Number || type == SheetCell::Type::MarkedNumber) &&
           (plain.isNumber || NvString::ToDouble(plain.GetValue(), number)) &&
           plainCells->TakeNumber(plain.column, rowNumber, plain.style, number);
}

void SheetHandler::EndInside(int level) {
    SetTakesRaw(level == CellLevel && inRow && isRowPlain);
    if (level == CellLevel && inCell) {
        inCell = false;
        FinishCell();
    } else if (level == ValueLevel && inValue) {
        inValue = false;
        if (IsEscaped()) {
            value.clear();
            AppendUnescaped(value, EndText());
        } else {
            TakeText(value);
        }
    } else if (level == ValueLevel) {
        inItem = false;
    } else if (inItem && item.EndElement(level - ValueLevel)) {
        AppendUnescaped(inlineText, EndText());
    }
}

void SheetHandler::StartRow(const XmlElement& element) {
    StartRow(ToInt(GetAttributeValue(element, "r")), GetSpansEnd(GetAttributeValue(element, "spans")));
}

void SheetHandler::StartRow(int number, int claimedColumns) {
    const bool isNumbered = GetForm() == XmlForm::Literal || number > 0;
    CheckRange(number, MaxSheetRows);
    rowNumber = isNumbered ? number : rowNumber + 1;
    isRowNamed = isNumbered;
    CheckRange(rowNumber, MaxSheetRows);
    lastColumn = 0;
    CheckAnswer(receiver.StartRow(rowNumber, claimedColumns));
}

void SheetHandler::StartCell(const XmlElement& element) {
    std::string_view reference;
    std::string_view type;
    std::string_view style;
    for (const XmlAttribute& attribute : element.attributes) {
        if (attribute.name.size() != 1) {
            continue;
        }
        if (attribute.name[0] == 'r') {
            reference = attribute.value;
        } else if (attribute.name[0] == 's') {
            style = attribute.value;
        } else if (attribute.name[0] == 't') {
            type = attribute.value;
        }
    }
    PlaceCell(reference);
    cell.type = GetType(type);
    cell.style = style.empty() ? -1 : ToInt(style);
    cell.hasValue = false;
    inCell = true;
    inItem = false;
    value.clear();
    inlineText.clear();
}

void SheetHandler::PlaceCell(std::string_view reference) {
    const int column = GetColumnIndex(reference, GetForm());
    lastColumn = GetForm() == XmlForm::Full && column == 0 ? lastColumn + 1 : column;
    CheckRange(lastColumn, MaxSheetColumns);
    cell.col = lastColumn;
    cell.row = rowNumber;
    if (!isRowNamed) {
        const int row = GetRowIndex(reference);
        if (row > rowNumber && row <= MaxSheetRows) {
            rowNumber = row;
            cell.row = row;
            CheckAnswer(receiver.StartRow(row, 0));
        }
    }
}

void SheetHandler::FinishCell() {
    int number = 0;
    cell.hasIndex = cell.type == SheetCell::Type::SharedText && NvString::ToInt(value, number);
    cell.index = number;
    cell.hasNumber = false;
    const bool isInline = cell.type == SheetCell::Type::InlineText;
    cell.text = isInline && (!cell.hasValue || !inlineText.empty()) ? inlineText : value;
    CheckAnswer(receiver.TakeCell(cell));
}

void DimensionHandler::StartElement(const XmlElement& element) {
    const std::string_view name = form == XmlForm::Full ? element.localName : element.name;
    if (name == "sheetData") {
        throw XmlEnd("the part claims no size");
    }
    if (name != "dimension") {
        return;
    }
    // One cell, or the first and the last.
    std::string_view last = GetAttributeValue(element, "ref");
    last.remove_prefix(last.rfind(':') + 1);
    const int lastColumn = SheetHandler::GetColumnIndex(last, form);
    const int lastRow = GetRowIndex(last);
    if (lastColumn > 0 && lastRow > 0 && lastRow <= MaxSheetRows) {
        size = {lastColumn, lastRow};
    }
    throw XmlEnd("the size is known");
}
