#pragma once

#include <array>
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

class BufferReader;
class XmlPlatform;

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

    /** What the document says of itself. */
    enum AttributeType {
        AttributeAPCSystem,
        AttributeMessageSequence,
        AttributeFDCModel,
        AttributeRecipe,
        AttributeControlJob,
        AttributeEquipment,
        AttributeToolType,
        AttributeResource,
        AttributeTopic,
        AttributeChamberRecipe, /**< the only one that may be missing; then empty */
        AttributeTrend,
        AttributeCount
    };

    /** What it says of a wafer. */
    enum WaferAttributeType {
        WaferLot,
        WaferSlot,
        WaferRawData, /**< file name and extension, without the folder */
        WaferRoute,
        WaferProduct,
        WaferOperationNumber,
        WaferOperationName,
        WaferOperationPassCount,
        WaferPriorityClass,
        WaferLineCode,
        WaferJobClass,
        WaferQualityCode,
        WaferAttributeCount
    };

    /** A statistic over a phase. */
    struct SumData {
        std::string name;
        std::string statName; /**< empty when it isn't told */
        std::string value;
    };

    struct RecipeParameter {
        std::string name;
        float value = 0.0F;
        float lowerLimit = 0.0F;
        float upperLimit = 0.0F;
        bool useCurrentValue = false;
    };

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
    bool IsApstat() const { return apstat; }
    const std::string& GetAttribute(AttributeType type) const { return attributes.at(type); }
    int SizeWafer() const { return static_cast<int>(wafers.size()); }
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
    struct PhaseRecord {
        std::string name;
        std::string number;
        int from = 0;  // row numbers of the raw text
        int to = 0;
        float duration = 0.0F;
        std::string startTime;
        std::vector<SumData> sumData;
        std::vector<RecipeParameter> recipeParameters;
        bool isBackground = false;
    };
    struct WaferRecord {
        std::string waferID;
        std::string tableID;  // the one written to the table
        std::vector<PhaseRecord> phases;
        std::array<std::string, WaferAttributeCount> attributes;
    };
    /** What is to be parsed: a file or a text. */
    struct Document;
    /** Builds the model from a parsed document; nothing else here sees the XML library. */
    struct Builder;
    /** The state of one walk through the rows. */
    struct RowWalk;

    /** A field of a raw line and its table column. */
    using ColumnMap = std::vector<std::pair<int, int>>;
    using NameMap = std::map<std::string, int, LessIgnoringCase>;

    void Clear();
    int Parse(const Document& document);
    const WaferRecord& WaferAt(int wafer) const;
    const PhaseRecord& PhaseAt(int wafer, int phase) const;
    bool FailRawData(const std::string& text);
    bool InitNextBuffer(BufferReader& reader, int& numVars, ColumnMap& columnMap,
                        const std::string& sectionName, int& phaseColumn);
    bool CollectVariables(int& numVars);
    int CountTableRows() const;
    bool ReadWafer(RowWalk& walk, const WaferRecord& wafer);
    bool ReadPhase(RowWalk& walk, const WaferRecord& wafer, const PhaseRecord& phase);
    void WriteNames(ReadSpreadSheetData& sink) const;

    std::unique_ptr<XmlPlatform> platform;
    std::string errorText;
    std::string warningText;
    std::vector<WaferRecord> wafers;  // by raw data name, then by the first phase's first row
    std::map<std::string, std::shared_ptr<const std::string>, LessIgnoringCase> rawData;
    std::array<std::string, AttributeCount> attributes;
    NameMap variableNames;
    std::string phaseID;
    bool apstat = false;
};

class KARTA_EXPORT BrooksideXMLFactory : public SprFileFactory {
public:
    BrooksideXMLFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
