#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/CodePage.h"
#include "base/Note.h"
#include "frame/CellOutput.h"
#include "frame/CellRuns.h"
#include "frame/ReadSpreadSheetData.h"
#include "spreadsheet/BiffCell.h"
#include "spreadsheet/CellErrors.h"
#include "spreadsheet/ExcelSharedStrings.h"
#include "spreadsheet/NumberFormats.h"

// What a decoded cell of a BIFF workbook becomes: the classic rule and the complete one.

/** What the cells of a workbook refer to. */
struct BiffTables {
    /** Forgets all. */
    void Clear();

    NumberFormats formats;
    std::vector<int> xfFormats;  // of each cell format its number format
    DateSystem dateSystem = DateSystem::From1900;
    CodePage codePage;  // of the texts before BIFF8
    std::unique_ptr<ExcelSharedStrings> sharedStrings;

    // The same by the classic rule.
    std::unordered_set<int> classicDateFormats;
    std::vector<bool> classicDateXf;
};

/**
 * The classic rule. Ids are compared exactly, and the versions with 2, 3 and 4, though the high byte of the
 * first record's id is 0, 2, 4 and 8 for the real ones: so BIFF2 loses its numbers and labels, and BIFF3 also
 * its formulas. Truth values and errors are missing values alike, texts are bytes up to their first NUL, and
 * a number in a date format is the date's text. Tables of years ago were made so.
 */
class ClassicBiffCells {
public:
    /** All stay the caller's. `high` is the high byte of the file's first id. */
    ClassicBiffCells(ReadSpreadSheetData& readerSink, const BiffTables& workbookTables, int high)
        : sink(readerSink), tables(workbookTables), biffHigh(high) {}

    /** The next cells go so many columns and rows further. */
    void MoveTo(int columns, int rows);
    /** Whether the rule reads the cell's record in this version. */
    bool Reads(const BiffCell& cell) const;
    void Put(const BiffCell& cell);
    /** The text that a formula gave: `count` characters of `bytes`. */
    void PutFormulaText(const BiffCell& cell, int count, std::string_view bytes);
    /** What was left out. */
    void AddTo(karta::Notes& notes) const;

private:
    enum LeftOut { TruthValues, Errors, Texts, OtherVersions, LeftOutCount };

    struct Place {
        int col;
        int row;
    };
    Place PlaceOf(const BiffCell& cell) const;
    void Count(LeftOut kind, const BiffCell& cell);
    void PutNumber(const BiffCell& cell);
    void PutText(const BiffCell& cell, int count, std::string_view bytes);

    ReadSpreadSheetData& sink;
    const BiffTables& tables;
    int biffHigh;
    int colOffset = 0;
    int rowOffset = 0;
    std::array<std::uint64_t, LeftOutCount> leftOut{};
    std::string firstLeftOut;
    std::string text;
};

/** The complete rule: every cell as what it is. */
class CompleteBiffCells {
public:
    /** All stay the caller's, who ends the numbers. */
    CompleteBiffCells(CellOutput& cellOutput, CellRuns& plainNumbers, const BiffTables& workbookTables)
        : output(&cellOutput), numbers(&plainNumbers), tables(workbookTables) {}
    /** The cells are only measured. */
    explicit CompleteBiffCells(const BiffTables& workbookTables) : tables(workbookTables) {}

    /** The next sheet's cells go so many rows and columns further; `name` is for notes, empty for a single
     * one. */
    void BeginSheet(const std::string& name, int columns, int rows);
    /** The tables have changed. */
    void ForgetKinds() { areKindsKnown = false; }
    /** BIFF2: the format of the cells to come that say so. */
    void SetFormatOfNextCells(int xf) { nextXf = xf; }
    /** Any cell but a text of its own record. */
    void Put(const BiffCell& cell);
    void PutText(const BiffCell& cell, std::string_view text);

    /** How far the values of the present sheet reach. */
    int GetCols() const { return cols; }
    int GetRows() const { return rows; }
    void AddTo(karta::Notes& notes) const;

private:
    bool Extend(const BiffCell& cell);
    void PutSharedText(const BiffCell& cell);
    NumberKind KindOf(const BiffCell& cell);

    CellOutput* output = nullptr;
    CellRuns* numbers = nullptr;
    const BiffTables& tables;
    std::vector<NumberKind> kinds;  // of each cell format
    bool areKindsKnown = false;
    int nextXf = 0;
    std::string sheetName;
    int colOffset = 0;
    int rowOffset = 0;
    int cols = 0;
    int rows = 0;
    ErrorCells errors;
    std::uint64_t outside = 0;
    std::uint64_t missingTexts = 0;
    std::string firstMissingText;
};
