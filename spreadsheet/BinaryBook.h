#pragma once

#include <memory>
#include <string>
#include <vector>

#include "spreadsheet/Book.h"
#include "spreadsheet/RecordStream.h"

/**
 * A workbook of parts of records ([MS-XLSB]).
 *
 * In the short form the cells are those of the records that a sheet begins with
 * (blank to the results of formulas, without texts in the cell), a sheet without a size has none, one that
 * ends early has those before, and the lists of styles hold just as many records as they claim. A text that
 * is none is empty; whether texts are good is whether the last one was.
 */
class BinaryBook : public Book {
public:
    BinaryBook(const WorkbookPackage& workbookPackage, BookParts bookParts, RecordForm recordForm,
               std::shared_ptr<karta::ReadContext> context);

    bool ReadSheetList(std::vector<Sheet>& sheets) override;
    bool ReadTables() override;
    bool ReadSheet(const std::string& part, SheetReceiver& receiver) override;
    SheetSize ReadClaimedSize(const std::string& part) override;
    bool AreTextsGood() const override { return textsAreGood; }

    // The records of a sheet that are cells.
    enum CellRecord {
        BrtCellBlank = 1,
        BrtCellRk = 2,
        BrtCellError = 3,
        BrtCellBool = 4,
        BrtCellReal = 5,
        BrtCellSt = 6,
        BrtCellIsst = 7,
        BrtFmlaString = 8,
        BrtFmlaNum = 9,
        BrtFmlaBool = 10,
        BrtFmlaError = 11,
        BrtShortBlank = 12,
        BrtShortIsst = 18,
        BrtCellRString = 62
    };

private:
    void AddSheet(const RecordStream& records, std::vector<Sheet>& sheets);
    bool InitSharedStrings();
    bool InitStyles();
    template <class Take>
    bool ReadList(RecordStream& records, int itemId, int endId, Take take);
    bool ReadCells(RecordStream& records, SheetReceiver& receiver);
    bool TakePlain(const RecordStream& records, int row, PlainCells& plain);
    bool TakeCell(const RecordStream& records, int row, SheetReceiver& receiver);
    bool DecodeCell(const RecordStream& records, int id, std::size_t valueOffset);
    bool IsCell(int id) const;
    bool DecodeText(const RecordStream& records, std::size_t offset, std::string& out);

    RecordForm form;
    bool textsAreGood = true;
    std::vector<bool> isCutText;  // of the shared strings
    int lastColumn = 0;
    SheetCell cell;
    std::string text;
};
