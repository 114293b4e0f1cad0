#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/MappedFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

class Mat4Content;
class MatContent;
class OutputFile;
struct MatChoice;
struct MatHeader;

/**
 * MATLAB's MAT-files: level 4 read and written, level 5 (also compressed) read. Which it is, the first 20
 * bytes tell.
 *
 * The complete reading takes all arrays of either level as parts, also those in cells and structures, and
 * reads the one with most numbers unless the options name others; see MatWorkspace. What follows are the
 * classic rules.
 *
 * Level 4: Open indexes up to 20 matrices and one of them, the first until SetCurMatrix chooses another,
 * becomes the table: numbers as doubles, a text matrix as a column of strings, a sparse one with its zeros.
 * Infinite and missing values become empty cells. A host's class may keep one of two layouts, in which
 * matrices of conventional names stand around the data (see SetOptions). What is short of the end of the
 * file or of room in the sink ends the read quietly.
 *
 * Level 5: the first array of the file becomes the table, in the type that its values are stored in. Its
 * size reaches the sink through SetDataSize in Read; until then the table counts 1 by 1. Failures that have
 * a text of their own leave Read as an Exception. The layout of arrays: MAT-File Format, The MathWorks.
 *
 * Written are level 4 files: the numeric block as DATA, the identifiers as OBSID1... and VARID1...
 */
class KARTA_EXPORT MatFile : public FormatReader, public FileContents {
public:
    enum MatFileStatus {
        StatusOpenFailed = 0x400,
        StatusNoMatFile = 0x401,
        StatusCorrupt = 0x402,
        StatusMatrixHeader = 0x403,
        StatusMatrix = 0x404,
        StatusWriteFailed = 0x405,
        StatusNoNumericBlock = 0x406,
        /** The answer of EstablishSize, which isn't in use; it has no text. */
        StatusSizeUnused = 0x407,
        /** Kept for hosts that know it; nothing raises it. */
        StatusComplexData = 0x408,
        StatusDataType = 0x409,
        StatusVersion = 0x40a
    };

    /** An array of a level 5 file. */
    struct msMatrix {
        char name[32] = {};
        int rows = 0;
        int columns = 0;
        int elementType = 0;
        bool sparse = false;
        int dataType = 0;               /**< of the real part; unset for a sparse array */
        std::uint64_t dataPosition = 0; /**< in the stream; of the row indices for a sparse array */
        std::uint32_t dataSize = 0;     /**< in bytes */
        int columnStart = 0;            /**< the array's first column in the table, from 1 */
        int rowStart = 0;               /**< and its first row */
    };

    MatFile();
    ~MatFile() override;

    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int Write(WriteSpreadSheetData* source) override;
    int EstablishSize() override;

    /**
     * Called by Open for a level 4 file that was indexed well; the place where a host lets the user choose
     * a matrix or keep a layout, and stores status 4 when the user gives up. The default takes the first
     * matrix alone. True when the status isn't 0.
     */
    virtual bool SetOptions();

    /** Of a level 4 file. */
    int GetNumberOfMatrices() const;
    /** Appends a line a matrix, with its size and type. Status 0x401 when no matrix is current. */
    int GetMatrixList(std::vector<std::string>& list);
    /** From 0; what is out of range selects none. */
    void SetCurMatrix(int index);
    /** Whether the current matrix has an imaginary part, which isn't read. */
    bool IsComplex() const;

    std::vector<Part> ListParts() override;
    /** By the complete reading alone. */
    std::vector<Fact> ListFacts() override;
    bool SelectPart(int number) override;

    // The layout of several level 5 arrays in one table. The names VARNAM, VARNUM, OBSNAM and OBSNUM, of
    // which six characters count, are those of identifiers; the first other array holds the data.

    /** The place, from 1, of the first array whose name has the first `n` characters of `name`; 0 for none.
     */
    static int ExistsMatrix(const std::vector<msMatrix>& matrices, const char* name, int n);
    /** Raises Exception when there is no data or when the identifiers don't fit it. */
    static bool CheckDimensions(const std::vector<msMatrix>& matrices);
    static void SetSheetSize(ReadSpreadSheetData* sink, const std::vector<msMatrix>& matrices);
    static void SetSheetIndex(std::vector<msMatrix>& matrices);
    /**
     * Sets the names in a text array, of which VARNAM and OBSNAM have some; the digit 0 ends each. A row
     * without one sets nothing and its characters stand before those of the next.
     */
    static void SetNames(ReadSpreadSheetData* sink, const msMatrix& matrix,
                         const std::vector<char>& characters);

protected:
    std::string textFileName;  // without its folder, when writing
    bool namedLayout = false;  // OBSNUM, OBSNAM, VARNAM around the data
    bool idLayout = false;     // COLUMNID and ROWID, or OBSID and VARID, around DATA
    int currentMatrix = -1;

private:
    int OpenForWriting(const char* fileName);
    int OpenClassic();
    int OpenComplete(const char* fileName, const NvImportOpenOptions* options);
    int TakeLayout();
    MatChoice GetChoice() const;
    const MatHeader* CurrentHeader() const;
    bool GetTableSize(int& rows, int& columns);
    int FailureOfLevel() const;

    std::int32_t mode = ModeClosed;
    MappedFile file;
    std::unique_ptr<MatContent> content;  // looks into the file
    Mat4Content* level4 = nullptr;        // the same, where the classic reading finds a level 4 file
    bool isLevel5 = false;
    std::unique_ptr<OutputFile> output;
};

class KARTA_EXPORT MatFileFactory : public SprFileFactory {
public:
    explicit MatFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
