#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "spreadsheet/BiffCell.h"
#include "spreadsheet/BiffRules.h"
#include "spreadsheet/RecordBytes.h"
#include "spreadsheet/SheetCell.h"

/**
 * Workbooks of the record format BIFF, versions 2 to 8 ([MS-XLS] and its forerunners), as a plain file or
 * inside a compound file. Only reads.
 *
 * Open walks the workbook's globals once: it notes each worksheet's place and name, the shared strings, and
 * the number formats. Read goes to each chosen sheet and passes its cells on in the order of the file; no
 * sheet is held in memory, and the sink's row filter isn't asked. Sheets count from 1.
 *
 * The complete reading gives every cell of every version as what it is, texts in UTF-8, dates by their
 * formats. A table is as large as its cells. Its options are "Part" (sheets by name or place, or all),
 * "Vertical" (a bool, true for one below the other) and "Encoding" (of the texts before BIFF8); without a
 * choice the first visible sheet is read.
 *
 * In the classic reading numbers are doubles; a number in a date format is the date's text; truth values and
 * errors are empty texts; a formula gives its stored result; cells that no record names stay unset. Of
 * several chosen sheets each is put below the one before, with its name in a last column of its own, or
 * beside it, with its name in a last row. A sheet's declared size counts, empty leading rows included.
 * Options record: see SheetChoice; a file with exactly one sheet that has data doesn't look at it. A record
 * cut short raises std::ios_base::failure from Open. BIFF2 files give their formula results only and BIFF3
 * files their RK numbers and texts of RSTRING; a format is a date by its letters; names and texts stored as
 * 16-bit characters outside the shared strings come out as their first character.
 */
class KARTA_EXPORT ExcelFile : public FormatReader, public FileContents {
public:
    enum ExcelFileStatus {
        StatusOpenFailed = 0x100,
        StatusBadGlobals = 0x101,
        StatusBadWorksheet = 0x102,
        StatusNotExcel = 0x103,
        StatusNoWorksheet = 0x104,
        StatusProtected = 0x105,
        StatusNoExcelStream = 0x106,
        StatusNoSheets = 0x107,
        StatusUnknownVersion = 0x108
    };

    /** The longest record that any version has. */
    static constexpr int MaxRecordLength = 0x2020;

    /** One record. The bytes of `data` behind `length` are zero. */
    struct BIFFRecord {
        std::uint16_t id = 0;
        std::int16_t length = 0;
        char data[MaxRecordLength] = {};
    };

    /** A worksheet: its name, the stream's offset at which it is read, and its size: that which it declares,
     * or in the complete reading that of its cells, -1 until it is measured. */
    struct WorksheetEntry {
        std::string name;
        std::int32_t offset = 0;
        int cols = 0;
        int rows = 0;
        bool hidden = false;
    };

    ExcelFile();
    ExcelFile(const ExcelFile&) = delete;
    ExcelFile& operator=(const ExcelFile&) = delete;
    ~ExcelFile() override;

    void Close() override;
    /** The size of the chosen sheets put together. */
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Nothing to do: the sizes come from the table of worksheets. Always 1. */
    int EstablishSize() override;

    /**
     * Where a host lets the user choose among the sheets: it fills selectedSheets and vertical, and may set
     * status 4. The default takes the first sheet. Returns the status.
     */
    virtual int GetSheetOptions(std::vector<std::string>* sheetNames);

    /** Appends the names of the sheets that have a size; a name's place isn't the sheet's number. */
    int GetWorksheets(std::vector<std::string>& names);

    /** Chooses sheets by their numbers. One that doesn't exist leaves the older choice: false. */
    bool SetCurWorksheet(const std::vector<int>& sheets);

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

    // Little-endian fields of a buffer, which must hold the whole field.
    static std::int8_t I1Shuffle(const char* buffer, int offset);
    static std::int16_t I2Shuffle(const char* buffer, int offset);
    static std::uint16_t uI2Shuffle(const char* buffer, int offset);
    static std::int32_t I4Shuffle(const char* buffer, int offset);
    static double DShuffle(const char* buffer, int offset);

    /** The number in an RK field: a whole number or the upper half of a double, perhaps over 100. */
    static double NumFromRk(int rk);

protected:
    /** The choice: below each other, or side by side; and the sheets' numbers, in reading order. */
    bool vertical = true;
    std::vector<int> selectedSheets;

private:
    /** A sheet of any kind as the globals list it. */
    struct BoundSheet {
        std::string name; /**< bytes as they stand; in BIFF8 behind an option byte */
        int length = 0;   /**< of the name in characters */
        std::int32_t offset = 0;
        int type = 0;
        int visibility = 0;
    };

    int SumOf(int WorksheetEntry::* size) const;
    int LargestOf(int WorksheetEntry::* size) const;
    int LabelCount() const;
    bool MeasureChosenSheets();

    bool ReadBiffRecord(BIFFRecord& target);
    bool WalkBiffRecord(BIFFRecord& target);
    void Reset(const char* fileName);
    void OpenStream(const char* fileName);
    void OpenWorkbook(NvImportOpenOptions* options);
    void OpenSingleSheet(NvImportOpenOptions* options);
    int IsWorksheet(long offset);
    void AddWorksheet(const std::string& name, std::int32_t offset, bool hidden);

    int ReadWorkbookGlobals();
    bool WalkGlobals();
    bool ReadBundleHeader();
    bool ReadGlobal();
    bool ReadTableRecord();
    BoundSheet DecodeBoundSheet() const;
    bool TakeSheet(const BoundSheet& sheet);
    bool ListClassicSheet(const BoundSheet& sheet);
    void ListSheets();
    void ReadFormat();
    void ReadClassicFormat();
    bool ReadSharedStrings();
    void ReadCodePage();
    void AddXf(int format);
    void ChooseEncoding(const NvImportOpenOptions* options);

    bool GetSheet(NvImportOpenOptions* options);
    bool ChooseClassically(NvImportOpenOptions* options, std::vector<std::string>& names);
    bool ChooseParts(NvImportOpenOptions* options);
    std::string NameChosenParts() const;
    std::vector<Part> ListSheetsAsParts() const;
    void MeasureAllSheets();
    void NoteOtherParts();

    int ReadClassic(ReadSpreadSheetData& sink);
    bool ReadClassicSheet(ClassicBiffCells& cells, const WorksheetEntry& sheet);
    bool ReadClassicCells(ClassicBiffCells& cells);
    bool ReadClassicFormulaText(ClassicBiffCells& cells, const BiffCell& cell);
    void LabelSheet(ReadSpreadSheetData* sink, WorksheetEntry& sheet, int colOffset, int rowOffset);

    int ReadComplete(ReadSpreadSheetData& sink);
    int WalkSheet(const WorksheetEntry& sheet, CompleteBiffCells& cells);
    void NoteMissingEnd(const WorksheetEntry& sheet);
    void TakeSheetRecord(CompleteBiffCells& cells);
    void PutCells(CompleteBiffCells& cells);
    int PutPlainRecords(CompleteBiffCells& cells, int most);
    std::string ReadText(int count, std::string_view bytes);
    std::string ReadFormulaText();
    bool NextRecord();
    bool PeekRecord();
    std::string DecodeText(std::string_view bytes, int length) const;

    BIFFRecord record;
    BIFFRecord nextRecord;  // what follows a record that is still needed
    int worksheetCount = 0;
    // Entry 0 is that of a file of a single sheet; the sheets of a workbook follow.
    std::vector<WorksheetEntry> worksheets = std::vector<WorksheetEntry>(1);
    // The high byte of the first record's id: 0, 2, 4 for BIFF2 to 4, 8 for all later ones.
    int biffHigh = 0;
    // A displacement: BIFF2's cell records have a byte more in front of the value.
    int isBiff2 = 0;
    bool isBiff8 = false;
    RecordBytes stream;
    BiffTables tables;
    BiffCellDecoder decoder;
    std::vector<BoundSheet> boundSheets;
    bool hasOwnFormats = false;  // a sheet before BIFF5 that began its own list of formats
    bool hasOwnXfs = false;
    int formatCount = 0;
    bool hasNextRecord = false;  // it was looked at and is still to come
    bool hasForcedEncoding = false;
    std::string path;
    long long streamSize = 0;
    long long bytesRead = 0;  // of the present sheet
    std::vector<std::uint8_t> optionsBuffer;
    SheetSize lastCell{0, 0};  // of the sheet that is read
    unsigned walkedRecords = 0;
    long long walkBudget = 0;  // bytes of records that Open may still look at
};

class KARTA_EXPORT ExcelFileFactory : public SprFileFactory {
public:
    explicit ExcelFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
