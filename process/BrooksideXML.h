#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/LessIgnoringCase.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "process/BrooksideModel.h"

class BufferReader;
class CellOutput;
class CellRunSink;
class SampleRow;

/**
 * The XML form of a Brookside process log (Ver. 2.6): one FDCRequest document with a DataSet a wafer, an
 * Interval a phase, and the time series as tab-separated text in RawData elements. Read only; no options.
 *
 * The table: row 1 holds the names. Column 1 is the wafer, column 2 the phase's number, column 3 the time,
 * and the columns behind it are the variables of all raw texts. All cells are texts as they stand. A phase
 * whose name begins with "b_" is background and has no rows. The sink is told the size in Read; until then
 * GetNumRows and GetNumCols are 1.
 *
 * Open reads the whole document and keeps what it says, for the operations below, until the next Open:
 * Close changes nothing. Wafers and phases count from 1; a number out of range raises std::out_of_range.
 * Elements and attributes are found in any case of their letters. Nothing outside the document is opened.
 *
 * A line with too few fields leaves Read as an Exception.
 *
 * In the complete reading numbers are numbers, the rows of each interval are looked up by their row numbers,
 * and what can't be read is a missing cell or a note; the size is known from Open on.
 */
class KARTA_EXPORT BrooksideXML : public FormatReader, public FileContents {
public:
    enum BrooksideXMLStatus {
        StatusSAXException = 0xa0,
        StatusDOMException = 0xa1,
        StatusXMLException = 0xa2,
        StatusRawData = 0xa3,
        StatusUnknownException = 0xa4,
        StatusException = 0xa5,
        StatusForWriting = 0xa6
    };

    using enum BrooksideModel::AttributeType;
    using enum BrooksideModel::WaferAttributeType;
    using AttributeType = BrooksideModel::AttributeType;
    using WaferAttributeType = BrooksideModel::WaferAttributeType;
    using SumData = BrooksideModel::SumData;
    using RecipeParameter = BrooksideModel::RecipeParameter;

    BrooksideXML();
    BrooksideXML(const BrooksideXML&) = delete;
    BrooksideXML& operator=(const BrooksideXML&) = delete;
    ~BrooksideXML() override;

    /** Does nothing: the document stays until the next Open. */
    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    const char* GetWarningMessage() override;
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    /** Opens a document in memory, ended by a NUL, that needn't outlive the call; `id` names it in messages.
     */
    int Open(const char* xmlText, const char* id);
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /** Whether the document is valid by its grammar: KindYes or KindNo. */
    static MyKindOfFile IsMyKindOfFile(const char* path);

    /**
     * Names the column of the raw texts, in any case, that holds the phases for column 2; it is then no
     * variable. Null or the empty text: the intervals' numbers.
     */
    void SetPhaseID(const char* name) { phaseID = name == nullptr ? "" : name; }

    /** Whether an interval's name begins neither with "f_" nor with "b_". */
    bool IsApstat() const { return model.apstat; }
    const std::string& GetAttribute(AttributeType type) const { return model.attributes.at(type); }
    int SizeWafer() const { return static_cast<int>(model.wafers.size()); }
    int SizePhases(int wafer) const;
    const std::string& GetWaferID(int wafer) const;
    const std::string& GetWaferAttribute(int wafer, WaferAttributeType type) const;
    const std::string& GetPhaseName(int wafer, int phase) const;
    const std::string& GetPhaseNumber(int wafer, int phase) const;
    const std::string& GetPhaseStartTime(int wafer, int phase) const;
    void GetPhaseFromTo(int wafer, int phase, int& from, int& to) const;
    /** In seconds. */
    float GetPhaseDuration(int wafer, int phase) const;
    const std::vector<SumData>* GetSumData(int wafer, int phase) const;
    const std::vector<RecipeParameter>* GetRecipeParameterList(int wafer, int phase) const;

    /** A log is one table: it has no parts. */
    std::vector<Part> ListParts() override { return {}; }
    /** Wafers, phases, variables, what will be skipped, and what the document says of itself. */
    std::vector<Fact> ListFacts() override;

private:
    using PhaseRecord = BrooksideModel::PhaseRecord;
    using WaferRecord = BrooksideModel::WaferRecord;
    /** The state of one walk through the rows. */
    struct RowWalk;

    /** A field of a raw line and its table column. */
    using ColumnMap = std::vector<std::pair<int, int>>;
    using NameMap = std::map<std::string, int, LessIgnoringCase>;

    /** The complete reading: a raw text's lines by their row numbers. */
    struct Section;
    /** The same: the rows of a phase. */
    struct PhaseRows;

    void Clear();
    int Parse(const BrooksideDocument& document);
    const WaferRecord& WaferAt(int wafer) const;
    const PhaseRecord& PhaseAt(int wafer, int phase) const;
    void Fail(int failure, const std::string& text);
    bool FailRawData(const std::string& text);
    std::string InitNextBuffer(BufferReader& reader, int& numVars, ColumnMap& columnMap,
                               const std::string& sectionName, int& phaseColumn);
    bool CollectVariables(int& numVars);
    std::int64_t CountNamedRows() const;
    int CountTableRows() const;
    bool ReadWafer(RowWalk& walk, const WaferRecord& wafer);
    bool ReadPhase(RowWalk& walk, const WaferRecord& wafer, const PhaseRecord& phase);
    void WriteNames(ReadSpreadSheetData& sink) const;
    int ReadClassically(ReadSpreadSheetData& sink);

    void MakeSections();
    Section* EnterSection(const std::string& name);
    void IndexLines(Section& section, const std::string& text);
    Section* FindSection(const WaferRecord& wafer);
    void PlanRows();
    int ReadCompletely(ReadSpreadSheetData& sink);
    static bool PutLine(const BufferReader& reader, const ColumnMap& columnMap, SampleRow& sample);
    static bool PutPlainLine(std::string_view line, const ColumnMap& columnMap, SampleRow& sample);
    std::vector<PhaseRows> ListPhaseRows();
    bool MayShareRows(const std::vector<PhaseRows>& phases) const;
    void ReadRows(const PhaseRows& phase, int first, int last, CellOutput& output, SampleRow& sample,
                  std::uint64_t& shortRows) const;
    void ReadRowsInTurn(const std::vector<PhaseRows>& phases, CellOutput& output);
    void ReadRowsSideBySide(const std::vector<PhaseRows>& phases, CellRunSink& runs, CellOutput& output);
    void NoteLinesOfNoPhase();
    void NoteWhatPhasesHave();
    void TellShape();
    void Note(const char* code, std::uint64_t count, std::string place, std::string text);

    BrooksideModel model;
    std::string warningText;
    NameMap variableNames;
    std::string phaseID;
    // The complete reading's, made when they are first asked for.
    bool hasSections = false;
    std::map<std::string, std::unique_ptr<Section>, LessIgnoringCase> sections;
    std::uint64_t shortLines = 0;
    std::uint64_t textSamples = 0;
};

class KARTA_EXPORT BrooksideXMLFactory : public SprFileFactory {
public:
    BrooksideXMLFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
