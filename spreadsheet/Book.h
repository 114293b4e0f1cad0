#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "spreadsheet/NumberFormats.h"
#include "spreadsheet/SharedStrings.h"
#include "spreadsheet/SheetCell.h"
#include "spreadsheet/WorkbookPackage.h"

/** The number formats of a workbook's cells, as its part of styles has them. */
struct BookStyles {
    std::vector<int> cellFormats;     /**< of each cell format its number format */
    std::map<int, std::string> codes; /**< of the number formats that the workbook defines */
};

/** Where the parts of a workbook lie in its package. */
struct BookParts {
    std::string workbook;
    std::string sharedStrings;
    std::string styles;
};

/**
 * A workbook's parts, decoded: the one interface of its two flavours. Which sheets there are for a user and
 * what becomes of a cell is for others to say.
 */
class Book {
public:
    /** A sheet as the workbook's part lists it. */
    struct Sheet {
        std::string name;
        std::string relationship;
        bool hidden = false;
    };

    /** The package stays the caller's. */
    Book(const WorkbookPackage& workbookPackage, BookParts bookParts,
         std::shared_ptr<karta::ReadContext> context);
    Book(const Book&) = delete;
    Book& operator=(const Book&) = delete;
    virtual ~Book();

    // False: the part is missing, damaged, or isn't what it should be.

    virtual bool ReadSheetList(std::vector<Sheet>& sheets) = 0;
    /** What cells refer to: shared strings and styles. A workbook may be without these parts. */
    virtual bool ReadTables() = 0;
    /** False also when the receiver ended it. */
    virtual bool ReadSheet(const std::string& part, SheetReceiver& receiver) = 0;
    virtual SheetSize ReadClaimedSize(const std::string& part) = 0;

    /** False once the last text of a binary part was none: see BinaryBook. */
    virtual bool AreTextsGood() const { return true; }

    const SharedStrings& GetSharedStrings() const { return sharedStrings; }
    const BookStyles& GetStyles() const { return styles; }
    /** Known from the list of sheets on. */
    DateSystem GetDateSystem() const { return dateSystem; }

protected:
    const WorkbookPackage& package;
    const BookParts parts;
    SharedStrings sharedStrings;
    BookStyles styles;
    DateSystem dateSystem = DateSystem::From1900;
};
