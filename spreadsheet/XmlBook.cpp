#include "spreadsheet/XmlBook.h"

#include <utility>

#include "base/PathNames.h"
#include "host/NvString.h"
#include "spreadsheet/SharedStringsPart.h"
#include "spreadsheet/SheetPart.h"

namespace {

int ToInt(const std::string& text) {
    int value = 0;
    NvString::ToInt(text, value);
    return value;
}

bool ToBool(const std::string& text) {
    return text == "1" || EqualIgnoringCase(text, "true") || EqualIgnoringCase(text, "on");
}

}  // namespace

XmlBook::XmlBook(const WorkbookPackage& workbookPackage, BookParts bookParts, XmlForm partForm,
                 std::shared_ptr<karta::ReadContext> context)
    : Book(workbookPackage, std::move(bookParts), std::move(context)), form(partForm) {}

// A sheet without a relationship has no part.
bool XmlBook::ReadSheetList(std::vector<Sheet>& sheets) {
    NodeAttributeHandler properties(form, "workbookPr", "date1904");
    package.ParsePart(parts.workbook, properties);
    dateSystem = ToBool(properties.GetValue()) ? DateSystem::From1904 : DateSystem::From1900;

    ChildAttributesHandler handler(
        form, "sheets", "sheet", {"name", "r:id", "state"}, [&](const std::vector<std::string>& values) {
            if (!values[1].empty()) {
                sheets.push_back({values[0], values[1], values[2] == "hidden" || values[2] == "veryHidden"});
            }
        });
    return package.ParsePart(parts.workbook, handler) && handler.HasFoundNode();
}

bool XmlBook::ReadTables() {
    return InitSharedStrings() && InitNumFormats() && InitFormatCodes();
}

// The part may be missing: then the cells that refer to it are empty.
bool XmlBook::InitSharedStrings() {
    sharedStrings.Clear();
    if (!package.HasPart(parts.sharedStrings)) {
        return true;
    }
    SharedStringsHandler handler(form, sharedStrings);
    return package.ParsePart(parts.sharedStrings, handler) && handler.HasFoundNode();
}

bool XmlBook::InitNumFormats() {
    styles.cellFormats.clear();
    if (!package.HasPart(parts.styles)) {
        return true;
    }
    ChildAttributesHandler handler(form, "cellXfs", {}, {"numFmtId"}, [this](const auto& values) {
        styles.cellFormats.push_back(ToInt(values[0]));
    });
    return package.ParsePart(parts.styles, handler);
}

bool XmlBook::InitFormatCodes() {
    styles.codes.clear();
    if (!package.HasPart(parts.styles)) {
        return true;
    }
    ChildAttributesHandler handler(
        form, "numFmts", {}, {"formatCode", "numFmtId"},
        [this](const auto& values) { styles.codes[ToInt(values[1])] = values[0]; });
    return package.ParsePart(parts.styles, handler);
}

bool XmlBook::ReadSheet(const std::string& part, SheetReceiver& receiver) {
    SheetHandler handler(form, receiver);
    return package.ParsePart(part, handler) && handler.HasFoundNode();
}

SheetSize XmlBook::ReadClaimedSize(const std::string& part) {
    DimensionHandler handler(form);
    package.ParsePart(part, handler, GetNames(form));
    return handler.GetSize();
}
