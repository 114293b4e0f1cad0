#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/LessIgnoringCase.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "host/NCDataVector.h"
#include "host/NCIntegralVector.h"
#include "host/NCStringVector.h"

class BrooksideFileSet;
class BrooksideHeader;
class BrooksideSamples;
class BrooksideStream;

/**
 * Wafer process logs of a Brookside data collector, as one batch-shaped table. A transition file (.trn)
 * lists the wafers of a run and, for each process phase of a wafer, its first and last line in a data file
 * with the time series of the sensors; both are tab-separated text. A package (.pkg) carries them all in
 * one file (BrooksideFileSet). Read only; no options.
 *
 * The table: row 1 holds the names. Column 1 is the wafer (text), column 2 the phase (int), column 3 the
 * time (float; empty where a wafer's phases weren't listed in order), and the columns behind it are the
 * variables of the log's chamber (float; empty for -999). The chamber is the first letter of the recipes.
 * Every phase has its rows, from 2 on, by data file and line; phases out of order come by their number.
 *
 * The size isn't known before the samples are read: GetNumRows and GetNumCols are 1, and Read tells the
 * sink. The row filter isn't asked. A data file that isn't there is a warning, and its rows have wafer and
 * phase only. Read also fills the vectors of the wafer lines and can be repeated; it then adds to them.
 *
 * Rows are believed up to a million, beyond that as far as the data files have bytes. Lines are cut at 4095
 * characters (BrooksideStream).
 *
 * In the complete reading lines are whole, entries that share lines each get them, times are never dropped,
 * and numbers are double; what can't be read is a missing cell, a text or a note (BrooksideSamples). The size
 * is known before Read.
 *
 * What the sink throws passes through Read.
 */
class KARTA_EXPORT BrooksideFile : public FormatReader, public FileContents {
public:
    enum BrooksideFileStatus {
        StatusOpenFailed = 0xb00,
        StatusNoFileLine = 0xb01,
        StatusNoPhases = 0xb02,
        StatusDuplicatePhase = 0xb03,
        StatusReserved4 = 0xb04, /**< never raised */
        StatusDifferentChambers = 0xb05,
        StatusUnknownException = 0xb06, /**< never raised */
        StatusException = 0xb07,        /**< never raised */
        StatusNoTime = 0xb08,
        StatusReserved9 = 0xb09, /**< never raised */
        StatusEndOfFile = 0xb0a,
        StatusForeignFile = 0xb0b,
        StatusNotANumber = 0xb0c,
        StatusNoFileSet = 0xb0d,
        StatusNoData = 0xb0e,
        StatusDuplicateWafer = 0xb0f
    };

    BrooksideFile();
    /**
     * A reader over a package text in memory, ended by a NUL, that stays the caller's and must outlive the
     * reader; `name` stands for the file name. It is ready to read without Open: a text that is no package
     * leaves status 0xb0d.
     */
    BrooksideFile(const char* packageText, const char* name, bool isCenterFile);
    BrooksideFile(const BrooksideFile&) = delete;
    BrooksideFile& operator=(const BrooksideFile&) = delete;
    ~BrooksideFile() override;

    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    const char* GetWarningMessage() override;
    /** Opening for writing answers 3 and changes nothing. */
    int Open(bool forRead, const char* name, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /**
     * Reads the set-points of a centring text, four tab-separated fields a line: A, B, C and the value. The
     * key is "A:B:C"; where B holds several parts joined by "$", each has its key. A key that the map has
     * already keeps its value. A line with fewer fields answers 0xb0b.
     */
    virtual int GetCentering(std::map<std::string, float>& centering);
    /** Reads the one "SetPoint" line; without one the outputs stay as they are. */
    virtual int GetCentering(std::string& first, std::string& second, std::string& third, float& value);

    /** The place of a wafer in the vectors below, in any case of its id; 0 when it isn't there. */
    int GetIxFromWaferID(const std::string& waferID) const;
    /** A wafer id that comes twice fails the read instead of giving a warning. */
    void SetIsPicky(bool picky) { isPicky = picky; }

    // One element a wafer line that Read kept, in the file's order.
    const NCStringVector* GetDataFileStringVector() const { return &dataFileNames; }
    const NCStringVector* GetRecipeStringVector() const { return &recipes; }
    const NCStringVector* GetLotStringVector() const { return &lots; }
    const NCStringVector* GetSlotStringVector() const { return &slots; }
    const NCStringVector* GetOperStringVector() const { return &operations; }
    /** The first and the last line over the wafer's phases. */
    const NCIntegralVector<int, -99>* GetFromIntVector() const { return &fromLines; }
    const NCIntegralVector<int, -99>* GetToIntVector() const { return &toLines; }
    /** The sum of the durations of the wafer's phases. */
    const NCDataVector<float>* GetTimeFloatVector() const { return &times; }

    /** A log is one table: it has no parts. */
    std::vector<Part> ListParts() override { return {}; }
    /** Wafers, phases, variables, and what Read will skip, with the reason. */
    std::vector<Fact> ListFacts() override;

private:
    struct LogRead;  // what one pass over the transition file gathers

    [[noreturn]] void FailWith(BrooksideFileStatus failure, const std::string& text = {}) const;
    void ReadTransition(LogRead& log);
    void CheckChamber(LogRead& log) const;
    void AddWafer(LogRead& log);
    void AddPhase(LogRead& log, int phase, const char* dataFile, const char* wafer);
    void WarnOfDuplicates(const LogRead& log);
    void WarnOfSkippedWafers(const LogRead& log);
    void NoteWhatIsLeftOut(const LogRead& log, const BrooksideHeader& header);
    void ReadLog(ReadSpreadSheetData& sink);
    std::int64_t PlanRows(LogRead& log, BrooksideSamples& samples) const;
    void ReadLogCompletely(LogRead& log, ReadSpreadSheetData& sink);
    void FinishTable(ReadSpreadSheetData& sink, const LogRead& log, const BrooksideSamples& samples);
    void TellShape();
    int FailAs(int failure, const std::string& text);
    std::shared_ptr<BrooksideFile> MakeScan() const;
    BrooksideStream OpenOwnText() const;
    bool OpenCentering(BrooksideStream& stream);

    using IDMap = std::map<std::string, int, LessIgnoringCase>;

    std::string fileName;
    std::string warningText;
    std::shared_ptr<const BrooksideFileSet> fileSet;
    NCStringVector dataFileNames;
    NCStringVector recipes;
    NCStringVector lots;
    NCStringVector slots;
    NCStringVector operations;
    NCIntegralVector<int, -99> fromLines;
    NCIntegralVector<int, -99> toLines;
    NCDataVector<float> times;
    IDMap waferIndex;
    bool isPicky = false;
};

class KARTA_EXPORT BrooksideFileFileFactory : public SprFileFactory {
public:
    BrooksideFileFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
