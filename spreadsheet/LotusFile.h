#pragma once

#include <cstdint>
#include <vector>

#include "base/ByteCursor.h"
#include "base/MappedFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

/**
 * Lotus 1-2-3 worksheets of the old record format, WKS and WK1, and Symphony's WRK and WR1. Later versions
 * are recognised only to tell the user which one the file is of. Reads only.
 *
 * A file is a chain of records: type and length, 16 bits each, little-endian, and the body. Cells come in the
 * file's order: integers, numbers and labels as they stand (bytes aren't converted). A formula's result
 * arrives as an empty text, unless it is one of four markers (two infinities, two that are no number).
 *
 * The size is that of the DIMENSIONS record, while cells are placed from column and row 1: of a sheet that
 * begins further on the last columns and rows fall outside and are dropped. Rows can't be skipped, and the
 * options record isn't looked at. Read wants the size to have been asked for.
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
    /** The first five fields of every cell's body. */
    struct CellPlace {
        int col;
        int row;
    };

    int IsLotusFile();
    void MeasureOnce();
    bool FindLotusRecord(int type, char* buffer, std::size_t size);
    bool ReadRecordTypeAndLength(int& type, int& length);
    int ReadRecord(ReadSpreadSheetData* sink, int type, int length);
    static CellPlace ReadPlace(ByteCursor& body);
    void ReadInteger(ReadSpreadSheetData* sink, ByteCursor body) const;
    void ReadNumber(ReadSpreadSheetData* sink, ByteCursor body) const;
    void ReadLabel(ReadSpreadSheetData* sink, ByteCursor body) const;
    void ReadFormula(ReadSpreadSheetData* sink, ByteCursor body) const;
    bool IsValidPos(int col, int row) const;
    static bool IsValidDouble(double value);

    MappedFile stream;
    ByteCursor cursor;
    int version = 0;
    int firstRow = -1;
    int firstCol = -1;
};

class KARTA_EXPORT LotusFileFactory : public SprFileFactory {
public:
    LotusFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
