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

// The largest end of the spans, which are written "1:3 7:9"; no larger than a sheet can be.
int GetSpansEnd(std::u16string_view spans) {
    int end = 0;
    std::size_t colon = spans.find(u':');
    while (colon != std::u16string_view::npos) {
        spans.remove_prefix(colon + 1);
        end = std::max(end, ToInt(spans.substr(0, spans.find(u' '))));
        colon = spans.find(u':');
    }
    return std::min(end, MaxSheetColumns);
}

}  // namespace

int SheetHandler::GetColumnIndex(std::u16string_view reference) {
    int column = 0;
    for (const char16_t letter : reference) {
        if (letter >= u'A' && letter <= u'Z') {
            column = column * 26 + (letter - u'A' + 1);
            CheckRange(column, MaxSheetColumns);
        }
    }
    return column;
}

void SheetHandler::StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) {
    if (level == RowLevel) {
        StartRow(attributes);
    } else if (level == CellLevel && name == u"c") {
        StartCell(attributes);
    } else if (level == ValueLevel && inCell && !hasValue && name == u"v") {
        hasValue = true;
        inValue = true;
        BeginText();
    }
}

void SheetHandler::EndElement(int level) {
    if (level == ValueLevel && inValue) {
        inValue = false;
        value.clear();
        AppendUtf8(value, EndText());
    } else if (level == CellLevel && inCell) {
        inCell = false;
        FinishCell();
    }
}

void SheetHandler::StartRow(const xercesc::Attributes& attributes) {
    const std::u16string_view reference = GetAttributeValue(attributes, u"r");
    const int before = content.rows.empty() ? 0 : content.rows.back().number;
    const int number = reference.empty() ? before + 1 : ToInt(reference);
    CheckRange(number, MaxSheetRows);
    content.rows.push_back({number, content.cells.size()});
    content.columns = std::max(content.columns, GetSpansEnd(GetAttributeValue(attributes, u"spans")));
    lastColumn = 0;
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
    lastColumn = reference.empty() ? lastColumn + 1 : GetColumnIndex(reference);
    CheckRange(lastColumn, MaxSheetColumns);
    cell.column = lastColumn;
    cell.kind = GetKind(type, style);
    inCell = true;
    hasValue = false;
    value.clear();
}

// Only four types are understood; all others, results of formulas and inline texts among them, are empty.
SheetContent::Kind SheetHandler::GetKind(std::u16string_view type, std::u16string_view style) const {
    if (type.empty()) {
        return !style.empty() && IsDate(style) ? SheetContent::Date : SheetContent::Number;
    }
    if (type == u"s") {
        return SheetContent::SharedString;
    }
    return type == u"b" ? SheetContent::True : SheetContent::Empty;
}

bool SheetHandler::IsDate(std::u16string_view style) const {
    const int index = ToInt(style);
    return index >= 0 && static_cast<std::size_t>(index) < isDateStyle.size() &&
           isDateStyle[static_cast<std::size_t>(index)];
}

void SheetHandler::FinishCell() {
    if (!hasValue) {
        cell.kind = SheetContent::Empty;
    }
    int number = 0;
    switch (cell.kind) {
        case SheetContent::Number:
        case SheetContent::Date:
            cell.text = content.texts.Add(value);
            break;
        case SheetContent::SharedString:
            NvString::ToInt(value, number);
            cell.index = number;
            break;
        case SheetContent::True:
        case SheetContent::False:
            NvString::ToInt(value, number);
            cell.kind = number == 0 ? SheetContent::False : SheetContent::True;
            break;
        case SheetContent::Empty:
            break;
    }
    content.cells.push_back(cell);
}

void DimensionHandler::startElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* name,
                                    const xercesc::Attributes& attributes) {
    const std::u16string_view element = name;
    if (element == u"sheetData") {
        throw xercesc::SAXException("the part claims no size");
    }
    if (element != u"dimension") {
        return;
    }
    // One cell, or the first and the last.
    std::u16string_view last = GetAttributeValue(attributes, u"ref");
    last.remove_prefix(last.rfind(u':') + 1);
    const int lastColumn = SheetHandler::GetColumnIndex(last);
    const std::size_t digits = last.find_first_of(u"0123456789");
    const int lastRow = digits == std::u16string_view::npos ? 0 : ToInt(last.substr(digits));
    if (lastColumn > 0 && lastRow > 0 && lastRow <= MaxSheetRows) {
        columns = lastColumn;
        rows = lastRow;
    }
    throw xercesc::SAXException("the size is known");
}
