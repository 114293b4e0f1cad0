#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/ByteCursor.h"
#include "base/CodePage.h"
#include "base/MappedFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

/**
 * Lotus 1-2-3 worksheets of the old record format, WKS and WK1, and Symphony's WRK and WR1. Later versions
 * are recognised only to tell the user which one the file is of. Reads only.
 *
 * A file is a chain of records: type and length, 16 bits each, little-endian, and the body. Cells come in the
 * file's order.
 *
 * The complete reading gives every cell: integers and numbers, labels in UTF-8, the results of formulas as
 * numbers, texts or errors. The table is as large as its cells, and later records than this generation knows
 * are passed over. Of the options it looks at "Encoding".
 *
 * The classic reading gives labels as they stand (bytes aren't converted), and a formula's result as an empty
 * text, unless it is one of four markers (two infinities, two that are no number). Its size is that of the
 * DIMENSIONS record, while cells are placed from column and row 1: of a sheet that begins further on the last
 * columns and rows fall outside and are dropped. Rows can't be skipped, and the options record isn't looked
 * at. Read wants the size to have been asked for.
 */
class KARTA_EXPORT LotusFile : public FormatReader, public FileContents {
public:
    enum LotusFileStatus {
        StatusStreamFailed = 0x900,
        StatusNotLotus = 0x901,
        StatusVersion3 = 0x902,
        StatusVersion4 = 0x903,
        StatusJapanese = 0x904,
        StatusFormFile = 0x905,
        StatusWorkbook = 0x906,
        StatusUnknownVersion = 0x907,
        StatusNoDimensions = 0x908,
        StatusUnexpectedEnd = 0x909,
        /** Kept for hosts that know it: the bytes of an open file can always be had. */
        StatusReadFailed = 0x90A,
        StatusBadRecord = 0x90B
    };

    LotusFile();
    ~LotusFile() override;

    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Does nothing: GetNumCols and GetNumRows measure by themselves. */
    int EstablishSize() override;

    /** None: a file is one sheet. */
    std::vector<Part> ListParts() override;
    /** The version of the program that the file is for. */
    std::vector<Fact> ListFacts() override;

private:
    /** A cell as the file has it, from column and row 1 on. */
    struct Cell {
        enum class Kind : std::uint8_t {
            Integer,
            Number,
            Label,
            Formula, /**< its number */
            String   /**< the text of the formula before it, which has no number then */
        };
        Kind kind;
        int col;
        int row;
        std::uint8_t format;
        double number;
        std::string_view text; /**< bytes as they stand, without the label's prefix */
    };
    class CompleteCells;
    class ClassicCells;

    int IsLotusFile();
    void ChooseEncoding(const NvImportOpenOptions* options);
    void MeasureOnce();
    bool ReadDimensions();
    bool FindLotusRecord(int type, char* buffer, std::size_t size);
    bool ReadRecordTypeAndLength(int& type, int& length);
    template <class Cells>
    int WalkCells(Cells& cells);
    template <class Cells>
    int WalkRecord(int type, int length, Cells& cells);
    static Cell ReadCell(Cell::Kind kind, ByteCursor body);
    int ReadComplete(ReadSpreadSheetData& sink);
    int ReadClassic(ReadSpreadSheetData& sink);

    MappedFile stream;
    ByteCursor cursor;
    CodePage codePage;
    int version = 0;
    std::uint64_t shortCells = 0;
    std::size_t firstShortCell = 0;  // its offset
};

class KARTA_EXPORT LotusFileFactory : public SprFileFactory {
public:
    LotusFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
