#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/TextArena.h"
#include "spreadsheet/WorkbookPart.h"

/** The largest numbers that a sheet of this format knows. */
constexpr int MaxSheetRows = 1048576;
constexpr int MaxSheetColumns = 16384;

/** A worksheet in memory: 16 bytes a cell beside its text, kept until all of its part was seen. */
struct SheetContent {
    /** What a cell pushes. */
    enum Kind : std::uint8_t {
        Empty,        /**< the empty text */
        Number,       /**< `text` as it stands */
        Date,         /**< the date of the number in `text` */
        SharedString, /**< the shared string `index` */
        False,
        True
    };
    struct Cell {
        int column;
        Kind kind;
        union {
            const char* text;
            std::int64_t index;
        };
    };
    struct Row {
        int number;
        std::size_t firstCell; /**< its cells reach to those of the next row */
    };

    std::vector<Row> rows;
    std::vector<Cell> cells;
    TextArena texts;
    int columns = 0; /**< the largest end of any row's spans */

    /** One past the last cell of a row. */
    std::size_t EndOfRow(std::size_t row) const {
        return row + 1 < rows.size() ? rows[row + 1].firstCell : cells.size();
    }
};

/**
 * Reads a worksheet part: the rows are the children of `sheetData`, whatever they are called, and their
 * cells the children `c` of these. A row or a cell without a reference comes after the one before it. A
 * row or column beyond those that a sheet can have ends the parse.
 */
class SheetHandler : public NodeHandler {
public:
    /** `dateStyles` tells of each cell format whether it is one of dates. Both stay the caller's. */
    SheetHandler(const std::vector<bool>& dateStyles, SheetContent& target)
        : NodeHandler(u"sheetData"), isDateStyle(dateStyles), content(target) {}

    /** The number that the letters in a cell's reference stand for, A being 1; 0 without any. */
    static int GetColumnIndex(std::u16string_view reference);

protected:
    void StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) override;
    void EndElement(int level) override;

private:
    void StartRow(const xercesc::Attributes& attributes);
    void StartCell(const xercesc::Attributes& attributes);
    void FinishCell();
    SheetContent::Kind GetKind(std::u16string_view type, std::u16string_view style) const;
    bool IsDate(std::u16string_view style) const;

    const std::vector<bool>& isDateStyle;
    SheetContent& content;
    int lastColumn = 0;
    bool inCell = false;
    bool inValue = false;
    bool hasValue = false;
    SheetContent::Cell cell{};
    std::string value;
};

/**
 * Finds the size that a worksheet part claims before its cells, and then ends the parse: no more is read
 * of the part than its beginning.
 */
class DimensionHandler : public XmlHandler {
public:
    /** Both -1 where the part claims nothing. */
    int GetColumns() const { return columns; }
    int GetRows() const { return rows; }

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                      const xercesc::Attributes& attributes) override;

private:
    int columns = -1;
    int rows = -1;
};
