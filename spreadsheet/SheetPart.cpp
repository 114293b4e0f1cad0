#include "spreadsheet/SheetPart.h"

#include <algorithm>

#include <xercesc/sax/SAXException.hpp>

#include "base/Unicode.h"
#include "host/NvString.h"

namespace {

// Inside `sheetData`.
enum Level { RowLevel = 1, CellLevel = 2, ValueLevel = 3 };

void CheckRange(int number, int limit) {
    if (number < 0 || number > limit) {
        throw xercesc::SAXException("a position lies outside of what a sheet can have");
    }
}

void CheckAnswer(bool goesOn) {
    if (!goesOn) {
        throw xercesc::SAXException("the sheet isn't wanted any further");
    }
}

// What stands behind the first colon of "1:3"; no larger than a sheet can be.
int GetSpansEnd(std::u16string_view spans) {
    const std::size_t colon = spans.find(u':');
    const int end = colon == std::u16string_view::npos ? 0 : ToInt(spans.substr(colon + 1));
    return std::clamp(end, 0, MaxSheetColumns);
}

SheetCell::Type GetType(std::u16string_view type) {
    struct Known {
        std::u16string_view name;
        SheetCell::Type type;
    };
    static constexpr Known Types[] = {
        {u"s", SheetCell::Type::SharedText},    {u"n", SheetCell::Type::MarkedNumber},
        {u"str", SheetCell::Type::FormulaText}, {u"inlineStr", SheetCell::Type::InlineText},
        {u"b", SheetCell::Type::Bool},          {u"e", SheetCell::Type::Error},
        {u"d", SheetCell::Type::Date}};
    if (type.empty()) {
        return SheetCell::Type::Number;
    }
    const auto* const found = std::find_if(std::begin(Types), std::end(Types),
                                           [type](const Known& known) { return known.name == type; });
    return found == std::end(Types) ? SheetCell::Type::Other : found->type;
}

// The digits behind the letters of a reference; 0 where there are none.
int GetRowIndex(std::u16string_view reference) {
    const std::size_t digits = reference.find_first_of(u"0123456789");
    return digits == std::u16string_view::npos ? 0 : ToInt(reference.substr(digits));
}

}  // namespace

int SheetHandler::GetColumnIndex(std::u16string_view reference, XmlForm form) {
    int column = 0;
    for (char16_t letter : reference) {
        if (form == XmlForm::Full && letter >= u'a' && letter <= u'z') {
            letter = static_cast<char16_t>(letter - u'a' + u'A');
        }
        if (letter >= u'A' && letter <= u'Z') {
            column = column * 26 + (letter - u'A' + 1);
            CheckRange(column, MaxSheetColumns);
        }
    }
    return column;
}

void SheetHandler::StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) {
    if (level == RowLevel) {
        inRow = GetForm() == XmlForm::Literal || name == u"row";
        if (inRow) {
            StartRow(attributes);
        }
    } else if (level == CellLevel && inRow && name == u"c") {
        StartCell(attributes);
    } else if (inCell) {
        StartInCell(level, name);
    }
}

void SheetHandler::StartInCell(int level, std::u16string_view name) {
    if (inItem) {
        inItemText = item.StartElement(level - ValueLevel, name);
        if (inItemText) {
            BeginText();
        }
    } else if (level == ValueLevel && !cell.hasValue && name == u"v") {
        cell.hasValue = true;
        inValue = true;
        BeginText();
    } else if (level == ValueLevel && cell.type == SheetCell::Type::InlineText && name == u"is") {
        inItem = true;
        item.Start();
    }
}

void SheetHandler::EndElement(int level) {
    if (level == CellLevel && inCell) {
        inCell = false;
        FinishCell();
    } else if (level == ValueLevel && inValue) {
        inValue = false;
        value.clear();
        if (GetForm() == XmlForm::Full && cell.type == SheetCell::Type::FormulaText) {
            AppendUnescaped(value, EndText());
        } else {
            AppendUtf8(value, EndText());
        }
    } else if (level == ValueLevel) {
        inItem = false;
    } else if (inItem && item.EndElement(level - ValueLevel)) {
        AppendUnescaped(inlineText, EndText());
    }
}

void SheetHandler::StartRow(const xercesc::Attributes& attributes) {
    const int number = ToInt(GetAttributeValue(attributes, u"r"));
    const bool isNumbered = GetForm() == XmlForm::Literal || number > 0;
    CheckRange(number, MaxSheetRows);
    rowNumber = isNumbered ? number : rowNumber + 1;
    isRowNamed = isNumbered;
    CheckRange(rowNumber, MaxSheetRows);
    lastColumn = 0;
    CheckAnswer(receiver.StartRow(rowNumber, GetSpansEnd(GetAttributeValue(attributes, u"spans"))));
}

void SheetHandler::StartCell(const xercesc::Attributes& attributes) {
    std::u16string_view reference;
    std::u16string_view type;
    std::u16string_view style;
    const XMLSize_t count = attributes.getLength();
    for (XMLSize_t i = 0; i < count; ++i) {
        const XMLCh* const name = attributes.getQName(i);
        if (name[0] == u'\0' || name[1] != u'\0') {
            continue;
        }
        if (name[0] == u'r') {
            reference = attributes.getValue(i);
        } else if (name[0] == u's') {
            style = attributes.getValue(i);
        } else if (name[0] == u't') {
            type = attributes.getValue(i);
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

void SheetHandler::PlaceCell(std::u16string_view reference) {
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
    const bool isInline = cell.type == SheetCell::Type::InlineText;
    cell.text = isInline && (!cell.hasValue || !inlineText.empty()) ? inlineText : value;
    CheckAnswer(receiver.TakeCell(cell));
}

void DimensionHandler::startElement(const XMLCh* /*uri*/, const XMLCh* localName, const XMLCh* name,
                                    const xercesc::Attributes& attributes) {
    const std::u16string_view element = form == XmlForm::Full ? localName : name;
    if (element == u"sheetData") {
        throw xercesc::SAXException("the part claims no size");
    }
    if (element != u"dimension") {
        return;
    }
    // One cell, or the first and the last.
    std::u16string_view last = GetAttributeValue(attributes, u"ref");
    last.remove_prefix(last.rfind(u':') + 1);
    const int lastColumn = SheetHandler::GetColumnIndex(last, form);
    const int lastRow = GetRowIndex(last);
    if (lastColumn > 0 && lastRow > 0 && lastRow <= MaxSheetRows) {
        size = {lastColumn, lastRow};
    }
    throw xercesc::SAXException("the size is known");
}
