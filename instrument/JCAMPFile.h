#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "host/NCDataVector.h"
#include "instrument/JCAMPData.h"
#include "instrument/JCAMPSeries.h"

class COleDateTime;
class JCAMPStream;
class JCAMPTable;

/**
 * JCAMP-DX text files, one or several in one import; read only. A file is a sequence of labelled records,
 * `##LABEL= value`, which make data blocks; a block has pages, which are its spectra. Every page of every
 * selected block becomes one row and every X point one column.
 *
 *     row 1   columns 3..  "t 400"      the X value as the column's name
 *     row 2   1, the X unit, the X values; all of the first spectrum only
 *     row 3.. the row's number minus 1, "Type : title" (with "file, " before it in a selection), Y values
 *
 * Ordinates of the form (X++(Y..Y)) in AFFN, PAC, SQZ, DIF and DUP, and pairs (XY..XY). X is computed from
 * ##FIRSTX=, ##LASTX= and ##NPOINTS=; the abscissas in the data aren't looked at, nor is ##XFACTOR= for
 * them. A spectrum that doesn't hold what it promises is cut, and GetWarningMessage tells of the last one.
 * Refused: binary data, RA-data, n-tuples, assignments, (X,Y) pairs under ##XYPAIRS=.
 *
 * Open scans the labels and decodes nothing; Read goes back to each page. A file is open only within
 * these two. Blocks of different axes can't be read together unless a derived class fills `xGrid`.
 *
 * Source: JCAMP-DX 4.24 (Appl. Spectrosc. 42 (1988) 151) and 5.01 (Pure Appl. Chem. 71 (1999) 1549).
 *
 * Options record: section Settings with "DataBlocks", the indexes of the blocks to read, from 0. It counts
 * for files of two blocks or more.
 *
 * Limits: a line is taken in pieces of 255 bytes. The values that stand for others by a repetition count
 * are bounded by the file's size, so that a few bytes can't ask for a billion cells; beyond, the number
 * of points is called illegal (0x60b).
 */
class KARTA_EXPORT JCAMPFile : public FormatReader, public FileContents {
public:
    enum JCAMPStatus {
        StatusCannotOpen = 0x600,
        StatusNotJCAMP = 0x601,
        StatusBinaryData = 0x602,
        StatusNoTerminator = 0x603,
        StatusMissingValue = 0x604,
        StatusUnpairedTitles = 0x605,
        StatusIllegalLabel = 0x606,
        StatusIllegalFactor = 0x607,
        StatusIllegalPointCount = 0x608,
        StatusNothingSelected = 0x609,
        StatusNoBlocks = 0x60a,
        StatusSizeUnknown = 0x60b,
        StatusNoPages = 0x60c,
        StatusUnknownClass = 0x60d,
        StatusAssignments = 0x60e,
        StatusRAData = 0x60f,
        StatusNTuples = 0x610,
        StatusXYPoints = 0x612, /**< never raised */
        StatusXYPairs = 0x613,
        StatusInvalidSeries = 0x614, /**< never raised */
        StatusNoSpacing = 0x615,
        StatusAbscissaRepeated = 0x616,
        StatusFirstOrdinateDifference = 0x617,
        StatusUnexpectedEnd = 0x618,
        StatusIllegalCharacter = 0x619,
        StatusInvalidCharacter = 0x61a,
        StatusRepeatedTwice = 0x61b,
        StatusClassesDiffer = 0x61e,
        StatusInterrupted = 0x61f, /**< never raised */
        StatusNotMeasured = 0x620
    };

    JCAMPFile();
    ~JCAMPFile() override;

    /** Clears the status; the blocks stay until the next Open. */
    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    /** What the last spectrum that wasn't whole lacks. */
    const char* GetWarningMessage() override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Nothing asks it, since both counts are computed from the blocks: 0x620. */
    int EstablishSize() override;

    /**
     * Called by Read when the selected blocks have different axes: where a derived class fills `xGrid` and
     * returns 0. This one gives up with status 4.
     */
    virtual int InitXValues(ReadSpreadSheetData* sink);

protected:
    /** The blocks of an import without options: all of them. Where a host asks the user. */
    virtual std::vector<int> GetSelectedJCAMPDataBlocks();

public:
    int GetNumJCAMPBlocks() const { return static_cast<int>(blocks.size()); }
    /** Appends a line for every block that is no link; the index of a block counts the links too. */
    int GetJCAMPBlockList(std::vector<std::string>& list);
    /** Selects one more block, by its index from 0; one that isn't there is ignored. */
    int SelectJCAMPBlock(int index);
    /** Selects these blocks and no others. */
    int SelectJCAMPBlock(const std::vector<int>& indexes);

    /** The heading of a host's list of blocks; the buffer holds 64 bytes. Empty as soon as there are blocks.
     */
    void GetTitle(char* buffer) const;
    /** The date of the block that was read last: its text, and `date` filled; else the empty text. */
    std::string GetDateCreated(COleDateTime& date) const;

    bool JCAMPWarning() const { return progress.warningCode != JCAMPProgress::WarningNone; }
    bool MultiSelection() const { return multiFile; }

    /** The blocks that aren't links; number is the block's index. */
    std::vector<Part> ListParts() override;
    /** Of the first block with spectra. */
    std::vector<Fact> ListFacts() override;

protected:
    /** The common X axis for spectra of different axes; empty when they all have one. */
    NCDataVector<float> xGrid;
    std::vector<JCAMPData> blocks;
    bool xRangesDiffer = false;
    bool pointCountsDiffer = false;

private:
    struct Prefixes;

    // Scanning of labels.
    int CheckFile(JCAMPStream& stream);
    int ReadLabel(std::string_view line, JCAMPStream& stream);
    void ReadTitle(std::string_view value);
    int ReadDataLabel(std::string_view form, JCAMPStream& stream);
    void AddPage(std::string_view name, const JCAMPStream& stream);

    // Selection.
    bool SetOptions(NvImportOpenOptions* options);
    static std::vector<int> GetVectorFromString(const std::string& text);
    static std::string GetStringFromVector(const std::vector<int>& indexes);
    void Reset();
    int OpenComplete(const std::vector<std::string>& paths, const NvImportOpenOptions* options);
    int CheckMultiSelection();
    static int MinPagePointNo(const std::vector<JCAMPPage>& pages);
    static int MaxPagePointNo(const std::vector<JCAMPPage>& pages);

    std::string DescribeAxes() const;

    // Reading of data.
    int ReadBlock(JCAMPSeries& series, JCAMPStream& stream, const JCAMPData& block);
    std::string LabelOf(const JCAMPData& block) const;

    static std::string_view deblank(std::string_view text);
    static std::string strstrip(std::string_view text);

    Prefixes MakePrefixes() const;
    std::string DescribeStatus() const;
    bool TellsLine() const;

    int currentBlock = -1;  // the block being looked at: messages name its file
    int depth = -1;
    int titlesSeen = 0;
    int endsSeen = 0;
    int titleCount = 0;
    JCAMPProgress progress;
    bool multiFile = false;
    std::string errorText;
    std::string currentFileName;
    std::string currentPath;
    std::string warningText;
    std::vector<std::uint8_t> optionsBlob;
    std::unique_ptr<JCAMPTable> complete;  // null in the classic reading
};

class KARTA_EXPORT JCAMPFileFactory : public SprFileFactory {
public:
    explicit JCAMPFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
