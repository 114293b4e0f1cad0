#pragma once

#include <memory>
#include <string>
#include <vector>

#include "spreadsheet/Book.h"

/** A workbook of XML parts (ECMA-376, Part 1, SpreadsheetML). */
class XmlBook : public Book {
public:
    XmlBook(const WorkbookPackage& workbookPackage, BookParts bookParts, XmlForm partForm,
            std::shared_ptr<karta::ReadContext> context);

    bool ReadSheetList(std::vector<Sheet>& sheets) override;
    bool ReadTables() override;
    bool ReadSheet(const std::string& part, SheetReceiver& receiver) override;
    SheetSize ReadClaimedSize(const std::string& part) override;

private:
    bool InitSharedStrings();
    bool InitNumFormats();
    bool InitFormatCodes();

    XmlForm form;
};
