#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/CodePage.h"
#include "base/LineReader.h"
#include "frame/CellOutput.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

/**
 * The text exchange format of The Unscrambler (.uns, .inp): a series of data matrices, each with optional
 * names of its observations and variables. Open indexes the matrices; one of them, the first until
 * SetCurrentDataSet chooses another, is read at a time. Read only, no options.
 *
 *     %3 2 Wheat          a matrix: rows, columns, name
 *     12.5 0.5            its values, row by row over as many lines as it takes; m is a missing one
 *     13 m 14.25 1e-1
 *     #L first second     names of the observations (and more lines of them)
 *     third
 *     #C Protein Ash      names of the variables
 *
 * With variable names the table has them in row 1; with observation names its first two columns are the
 * running number and the name. By the classic rules a line holds at most 255 characters behind its blanks:
 * the index ends at a longer one, and the values of a matrix fail at it.
 *
 * The complete reading takes lines of any length, names and comments (# and another letter) in front of the
 * values as well as behind them, and a last line without its end. Values that are too few are missing cells,
 * with a note.
 */
class KARTA_EXPORT UnscramblerFile : public FormatReader, public FileContents {
public:
    enum UnscramblerFileStatus {
        StatusStreamFailed = 0x700,
        StatusNoMatrix = 0x701,
        StatusEmptyFile = 0x702,
        StatusNotUnscrambler = 0x703,
        StatusMatrixHeader = 0x704,
        /** Only a result inside; no object's status. */
        StatusIllegalCharacter = 0x705,
        StatusIndexOutOfRange = 0x706,
        StatusData = 0x707,
        StatusObservationNames = 0x708,
        StatusVariableNames = 0x709,
        StatusSizeUnused = 0x70a
    };

    UnscramblerFile();
    ~UnscramblerFile() override;

    /** The index of the matrices stays. */
    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Not in use: the size is the current matrix's and follows every choice. */
    int EstablishSize() override;

    /** Where a host asks which matrix to read, from 0; the default takes the first. */
    virtual int GetDatasetIndex();

    int GetNumberOfDataSets() const { return static_cast<int>(matrices.size()); }
    /** Appends the names. Leaves no matrix current: SetCurrentDataSet must follow. */
    int GetDataSetList(std::vector<std::string>& names);
    /** `index` counts from 0. */
    int SetCurrentDataSet(int index);

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;
    bool SelectPart(int number) override;

    /** Whether the first byte that isn't white space is a percent sign. */
    static bool IsUnscramblerFile(const char* path);

private:
    static constexpr std::int64_t NoOffset = -1;

    struct MatrixHeader {
        std::string name;
        int numObservations = -1;
        int numVariables = -1;
        std::int64_t dataOffset = NoOffset;
        std::int64_t observationNamesOffset = NoOffset; /**< of the line that begins them */
        std::int64_t variableNamesOffset = NoOffset;
    };

    /** What the complete reading found of a matrix's values. */
    struct ValueCount {
        std::int64_t found = 0;
        std::int64_t surplus = 0;
    };

    int OpenMatrices(const char* fileName);
    int SetOptions();
    int ChoosePart(const NvImportOpenOptions* options);
    int IndexMatrices();
    bool AddMatrix(std::string_view line);
    static bool ReadCount(std::string_view& line, int& count);
    bool AddNames(std::string_view line, std::int64_t offset);
    bool ReadLine(std::string_view& line, bool& atEnd);
    std::string_view ReadNextWord();
    static int ReadNextValue(std::string_view& line, double& value, bool& missing);
    int ReadNextDataValue(double& value, bool& missing);
    int ReadData(ReadSpreadSheetData* sink, int maxRow, int maxCol, int minRow, int minCol);
    int ReadDataRow(ReadSpreadSheetData* sink, int row, int maxCol, int minCol);
    int ReadObservationNames(ReadSpreadSheetData* sink, int maxRow, int minRow);
    int ReadVariableNames(ReadSpreadSheetData* sink, int maxCol, int minCol);
    void SeekTo(std::int64_t offset);
    int ReadClassic(ReadSpreadSheetData* sink);

    void TellShape();
    int ReadComplete(ReadSpreadSheetData* sink);
    int ReadAllValues(CellOutput& output, ValueCount& count);
    std::string_view NextValueWord();
    bool NextBlockLine();
    void PassNames(int count);
    void PassComment();
    void PutRow(CellOutput& output, int row, const std::vector<std::optional<double>>& values);
    std::vector<std::string> ReadNames(std::int64_t offset, int wanted, const char* what);
    std::string ToText(std::string_view bytes);
    void NoteValues(const ValueCount& count);
    void NoteOthers();

    const MatrixHeader& Current() const;
    bool HasSize();
    static int ColShiftOf(const MatrixHeader& matrix);
    static int RowShiftOf(const MatrixHeader& matrix);

    std::vector<MatrixHeader> matrices;
    int currentMatrix = -1;  // its place in the index, -1 for none
    LineReader stream;
    // What is left of the line that values or words are taken from, and whether none follows it.
    std::string_view workLine;
    bool workLineIsLast = false;
    // Of the complete reading: whether the part is the user's choice, the set of the texts' characters, the
    // lines of comments, and the values of a row with what a run of them is gathered in.
    bool isChosen = false;
    std::optional<CodePage> encoding;
    std::int64_t comments = 0;
    std::int64_t lineNumber = 0;
    std::uint64_t lineStart = 0;
    std::vector<double> run;
};

class KARTA_EXPORT UnscramblerFileFactory : public SprFileFactory {
public:
    explicit UnscramblerFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
