#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/MemoryShare.h"
#include "base/Note.h"
#include "base/TextArena.h"
#include "frame/CellOutput.h"
#include "frame/ReadSpreadSheetData.h"
#include "spreadsheet/Book.h"
#include "spreadsheet/CellErrors.h"
#include "spreadsheet/PlainCells.h"

// What a decoded cell of a workbook becomes: the classic rules of either flavour, and the complete one, which
// holds for both.

/** Counts the cells of a classic read that its rules leave empty or change, for the notes about them. */
class LeftOutCells {
public:
    /** The last two, of the binary flavour, are changed. */
    enum Kind { Marked, FormulaText, InlineText, Date, Error, Other, CutText, MaskedError, KindCount };

    void Add(Kind kind, int col, int row);
    void AddTo(karta::Notes& notes) const;

private:
    std::string ListKinds(std::size_t begin, std::size_t end, std::uint64_t& sum) const;

    std::array<std::uint64_t, KindCount> counts{};
    std::string firstPlace;
};

/** A worksheet of XML in memory, as the classic rule has it: 16 bytes a cell beside its text. */
class ClassicXmlSheet : public SheetReceiver {
public:
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

    /** `dateStyles` tells of each cell format whether it is one of dates. All stay the caller's. */
    ClassicXmlSheet(const std::vector<bool>& dateStyles, std::shared_ptr<karta::ReadContext> context,
                    LeftOutCells& leftOutCells)
        : isDateStyle(dateStyles), share(std::move(context), "the sheet"), leftOut(leftOutCells) {}

    bool StartRow(int number, int claimedColumns) override;
    bool TakeCell(const SheetCell& cell) override;

    /** Of each cell format of a workbook whether the classic rule takes its numbers for dates. */
    static std::vector<bool> ListDateStyles(const BookStyles& styles);
    static bool IsDateFormat(std::string code);
    /** What a cell pushes; valid until `buffer` changes. */
    static const char* GetText(const Cell& cell, const SharedStrings& sharedStrings, std::string& buffer);

    const std::vector<Row>& GetRows() const { return rows; }
    const Cell& GetCell(std::size_t index) const { return cells[index]; }
    /** One past the last cell of a row. */
    std::size_t EndOfRow(std::size_t row) const {
        return row + 1 < rows.size() ? rows[row + 1].firstCell : cells.size();
    }
    /** The largest end of any row's spans. */
    int GetColumns() const { return columns; }

private:
    Kind GetKind(const SheetCell& cell) const;
    void CountLeftOut(const SheetCell& cell);
    template <class Element>
    void ChargeGrowth(const std::vector<Element>& list);

    const std::vector<bool>& isDateStyle;
    MemoryShare share;
    LeftOutCells& leftOut;
    std::vector<Row> rows;
    std::vector<Cell> cells;
    TextArena texts;
    int columns = 0;
};

/** Pushes the cells of a binary worksheet by the classic rule. */
class ClassicBinaryCells {
public:
    /** All stay the caller's. */
    ClassicBinaryCells(const Book& workbook, ReadSpreadSheetData& readerSink, LeftOutCells& leftOutCells);

    /** At this place of the table; false for a cell that can't be. */
    bool Push(const SheetCell& cell, int col, int row);

private:
    void SetNumber(double value, int col, int row, int xf);
    void SetError(const SheetCell& cell, int col, int row);
    static const char* GetErrorString(std::uint8_t code);

    const Book& book;
    ReadSpreadSheetData& sink;
    LeftOutCells& leftOut;
    std::vector<bool> isDateFormat;  // of each cell format
};

/** Hands the cells of either flavour out as what they are. */
class CompleteCells : public SheetReceiver {
public:
    /** All stay the caller's; the output is that of the sink, and the book's tables have been read. */
    CompleteCells(const Book& workbook, ReadSpreadSheetData& sink, CellOutput& cellOutput,
                  std::shared_ptr<karta::ReadContext> context);

    /**
     * The next sheet's cells go so many columns and rows further; `name` is for notes, empty where the read
     * has one sheet only. Rows end as the sheet goes on where `endsRows`.
     */
    void BeginSheet(const std::string& name, int columns, int rows, bool endsRows);
    bool StartRow(int number, int claimedColumns) override;
    bool TakeCell(const SheetCell& cell) override;
    PlainCells* GetPlainCells() override { return &plain; }
    /** Behind the sheet's cells, however it ended. */
    void EndSheet() { plain.EndSheet(); }

    /** As PlainCells have them. */
    const SheetSize& GetExtent() const { return plain.GetExtent(); }
    const SheetSize& GetLastCell() const { return plain.GetLastCell(); }
    void AddNotes(karta::Notes& notes) const;

    /** Whether there is more to a cell than its format. */
    static bool HoldsSomething(const SheetCell& cell);

private:
    bool Put(const SheetCell& cell, int col, int row);
    bool PutNumber(const SheetCell& cell, int col, int row);
    bool PutSharedText(const SheetCell& cell, int col, int row);
    bool PutBool(const SheetCell& cell, int col, int row);
    bool PutDate(const SheetCell& cell, int col, int row);
    bool PutContradiction(const SheetCell& cell, int col, int row);

    const Book& book;
    CellOutput& output;
    std::shared_ptr<karta::ReadContext> context;
    PlainCells plain;
    std::string sheetName;
    bool endRows = false;
    int lastRow = 0;
    int rowsSinceCheck = 0;
    ErrorCells errors;
    std::uint64_t contradictions = 0;
    std::string firstContradiction;
    std::uint64_t missingTexts = 0;
    std::string firstMissingText;
};

/** Finds how far a sheet's values reach, without handing out any. */
class ExtentReceiver : public SheetReceiver {
public:
    bool TakeCell(const SheetCell& cell) override;
    const SheetSize& GetExtent() const { return extent; }

private:
    SheetSize extent{0, 0};
};
