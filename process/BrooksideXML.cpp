#include "process/BrooksideXML.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <mutex>
#include <set>
#include <string_view>

#include "archive/XmlModule.h"
#include "base/BelievedCount.h"
#include "base/CopyMessage.h"
#include "base/Exception.h"
#include "base/NumberParser.h"
#include "base/OrderedWork.h"
#include "base/PathNames.h"
#include "frame/CellOutput.h"
#include "frame/CellRunSink.h"
#include "frame/FormatRecogniser.h"
#include "process/BrooksideLibraryParse.h"
#include "process/BrooksideParseFailure.h"
#include "process/BrooksideWarnings.h"
#include "process/BufferReader.h"
#include "process/SampleBlock.h"
#include "process/SampleRow.h"
#include "process/TabWalk.h"

namespace {

enum Column { ColumnWafer = 1, ColumnPhase = 2, ColumnTime = 3 };
// Fields of a raw line; the variables begin behind them.
enum Field { FieldTime = 1, FieldRowNumber = 2, FieldFirstVariable = 3 };

constexpr const char* ParseErrorStart = "XML Parse error:\r\n";
constexpr const char* RawDataErrorStart = "Error in RAWDATA section:\r\n";

constexpr int NameRow = 1;
constexpr int FirstDataRow = 2;
constexpr const char* TimeName = "Time";
constexpr const char* WaferName = "Wafer (Batch)";
constexpr const char* PhaseName = "Interval (Phase)";

// How a raw text's phase column is told apart from a field's number.
constexpr int NoPhaseID = -1;
constexpr int PhaseColumnMissing = 0;

// What a length of 32 bits can tell.
constexpr std::size_t LongestPlainLine = std::numeric_limits<std::uint32_t>::max() - 1;

// Where threads cost more than they bring; and the rows that one reads at a time, whose cells stay in the
// processor's cache.
constexpr std::uint64_t LeastForThreads = std::uint64_t{1} << 21;
constexpr int CellsOfBlock = 1 << 15;
constexpr int MostRowsOfBlock = 256;

// Reads up to the line that names the columns; false where there is none.
bool FindColumnLine(BufferReader& reader) {
    while (reader.NextLine()) {
        if (EqualIgnoringCase(reader.GetField(FieldTime), TimeName)) {
            return true;
        }
    }
    return false;
}

// The rows that a phase asks for.
std::int64_t CountRows(const BrooksideModel::PhaseRecord& phase) {
    return phase.isBackground ? 0 : std::int64_t{phase.to} - phase.from + 1;
}

}  // namespace

struct BrooksideXML::RowWalk {
    explicit RowWalk(ReadSpreadSheetData& target) : sink(target) {}

    ReadSpreadSheetData& sink;
    BufferReader reader;
    ColumnMap columnMap;
    int phaseColumn = NoPhaseID;
    std::string section;  // whose lines the reader walks
    int lastRowNumber = 0;
    int tableRow = FirstDataRow;
    int wantedRow = 0;
};

/** The complete reading: the lines of a raw text by their row numbers. */
struct BrooksideXML::Section {
    struct LineAt {
        int rowNumber;
        std::uint32_t length;
        const char* start;
    };

    BufferReader reader;
    ColumnMap columnMap;
    int phaseColumn = NoPhaseID;
    bool isReadable = false;
    bool hasLongLines = false;  // one at least is read as one that isn't plain
    std::vector<LineAt> lines;  // by row number

    /** Whether lines are read without moving the reader, but for long ones. */
    bool MayBePlain() const { return reader.IsPlain() && phaseColumn <= PhaseColumnMissing; }
    /** The lines of a phase, as a range of `lines`. */
    std::pair<std::size_t, std::size_t> Find(const PhaseRecord& phase) const {
        const auto first =
            std::lower_bound(lines.begin(), lines.end(), phase.from,
                             [](const LineAt& line, int number) { return line.rowNumber < number; });
        const auto last = std::upper_bound(first, lines.end(), phase.to, [](int number, const LineAt& line) {
            return number < line.rowNumber;
        });
        return {static_cast<std::size_t>(first - lines.begin()),
                static_cast<std::size_t>(last - lines.begin())};
    }
};

/** The complete reading: the rows of a phase. */
struct BrooksideXML::PhaseRows {
    Section* section;
    const WaferRecord* wafer;
    const PhaseRecord* phase;
    std::size_t firstLine;
    int first;  // rows of the table, from one to before the other
    int end;
};

namespace {

/** What comes of some rows that any thread reads. */
struct RowsRead {
    std::unique_ptr<SampleBlock> block;
    std::uint64_t shortRows = 0;
    std::uint64_t texts = 0;
    std::exception_ptr failure;
};

/** Blocks that serve again. */
class SampleBlocks {
public:
    SampleBlocks(int blockCols, int blockRows) : cols(blockCols), rows(blockRows) {}

    std::unique_ptr<SampleBlock> Take() {
        const std::lock_guard lock(mutex);
        if (free.empty()) {
            return std::make_unique<SampleBlock>(cols, rows);
        }
        std::unique_ptr<SampleBlock> block = std::move(free.back());
        free.pop_back();
        return block;
    }
    void Give(std::unique_ptr<SampleBlock> block) {
        const std::lock_guard lock(mutex);
        free.push_back(std::move(block));
    }

private:
    int cols;
    int rows;
    std::mutex mutex;
    std::vector<std::unique_ptr<SampleBlock>> free;
};

}  // namespace

BrooksideXML::BrooksideXML() = default;

BrooksideXML::~BrooksideXML() = default;

void BrooksideXML::Close() {}

void BrooksideXML::GetErrorMessage(char* buffer, unsigned int size) {
    // Behind the first of these stands what was wrong.
    static constexpr StatusText Texts[] = {
        {StatusSAXException, ParseErrorStart},
        {StatusXMLException, ParseErrorStart},
        {StatusException, ParseErrorStart},
        {StatusRawData, RawDataErrorStart},
        {StatusDOMException, "An unknown exception occurred."},
        {StatusUnknownException, "An unknown exception occurred."},
        {StatusForWriting, "The file was opened for writing which is not supported."},
    };
    const bool isKnown = !failureText.empty() ||
                         std::any_of(std::begin(Texts), std::end(Texts),
                                     [this](const StatusText& entry) { return entry.status == status; });
    if (isKnown && status != StatusOk) {
        CopyStatusText(Texts, buffer, size);
    } else {
        CopyMessage("An unknown error occurred.", buffer, size);
    }
}

const char* BrooksideXML::GetWarningMessage() {
    return warningText.empty() ? nullptr : warningText.c_str();
}

void BrooksideXML::Clear() {
    status = StatusOk;
    failureText.clear();
    warningText.clear();
    model = {};
    variableNames.clear();
    sections.clear();
    hasSections = false;
    shortLines = 0;
    textSamples = 0;
    sizeKnown = false;
}

int BrooksideXML::Open(bool forRead, const char* path, NvImportOpenOptions* /*options*/) {
    Clear();
    if (!forRead) {
        status = StatusForWriting;
        return status;
    }
    return Parse({path, "", ""});
}

int BrooksideXML::Open(const char* xmlText, const char* id) {
    Clear();
    return Parse({nullptr, xmlText == nullptr ? "" : xmlText, id == nullptr ? "" : id});
}

void BrooksideXML::Fail(int failure, const std::string& text) {
    status = failure;
    failureText = (failure == StatusRawData ? RawDataErrorStart : ParseErrorStart) + text;
}

int BrooksideXML::Parse(const BrooksideDocument& document) {
    try {
        model = ReadBrooksideModel(document, GetContext()->reading);
    } catch (const BrooksideParseFailure& failure) {
        if (failure.GetKind() == BrooksideParseFailure::Tree) {
            status = StatusDOMException;
        } else {
            Fail(failure.GetKind() == BrooksideParseFailure::Document ? StatusSAXException
                                                                      : StatusXMLException,
                 failure.what());
        }
    } catch (const Exception& exception) {
        Fail(StatusException, exception.what());
    } catch (...) {
        status = StatusUnknownException;
    }
    if (model.missingAttributes > 0) {
        const auto count = static_cast<std::uint64_t>(model.missingAttributes);
        Note("missing-attributes", count, model.firstMissingAttribute,
             karta::CountOf(count, "attribute") +
                 " of the format aren't in the document or of another kind, the first is " +
                 model.firstMissingAttribute);
    }
    if (model.replacedRawData > 0) {
        const auto count = static_cast<std::uint64_t>(model.replacedRawData);
        Note("replaced-raw-data", count, model.firstReplacedRawData,
             karta::CountOf(count, "raw text has", "raw texts have") +
                 " the name of a later one and can't be told from it, the first is " +
                 model.firstReplacedRawData);
    }
    return status;
}

int BrooksideXML::EstablishSize() {
    numCols = 1;
    numRows = 1;
    sizeKnown = status == StatusOk;
    if (status == StatusOk && IsComplete()) {
        return WithinBudget(StatusRawData, [this] {
            PlanRows();
            return status;
        });
    }
    return status;
}

MyKindOfFile BrooksideXML::IsMyKindOfFile(const char* path) {
    const auto isValid = XmlModule::Find("karta_xml_is_valid_brookside", karta_xml_is_valid_brookside);
    return isValid(path) ? KindYes : KindNo;
}

const BrooksideXML::WaferRecord& BrooksideXML::WaferAt(int wafer) const {
    return model.wafers.at(static_cast<std::size_t>(wafer) - 1);
}

const BrooksideXML::PhaseRecord& BrooksideXML::PhaseAt(int wafer, int phase) const {
    return WaferAt(wafer).phases.at(static_cast<std::size_t>(phase) - 1);
}

int BrooksideXML::SizePhases(int wafer) const {
    return static_cast<int>(WaferAt(wafer).phases.size());
}

const std::string& BrooksideXML::GetWaferID(int wafer) const {
    return WaferAt(wafer).waferID;
}

const std::string& BrooksideXML::GetWaferAttribute(int wafer, WaferAttributeType type) const {
    return WaferAt(wafer).attributes.at(type);
}

const std::string& BrooksideXML::GetPhaseName(int wafer, int phase) const {
    return PhaseAt(wafer, phase).name;
}

const std::string& BrooksideXML::GetPhaseNumber(int wafer, int phase) const {
    return PhaseAt(wafer, phase).number;
}

const std::string& BrooksideXML::GetPhaseStartTime(int wafer, int phase) const {
    return PhaseAt(wafer, phase).startTime;
}

void BrooksideXML::GetPhaseFromTo(int wafer, int phase, int& from, int& to) const {
    from = PhaseAt(wafer, phase).from;
    to = PhaseAt(wafer, phase).to;
}

float BrooksideXML::GetPhaseDuration(int wafer, int phase) const {
    return PhaseAt(wafer, phase).duration;
}

const std::vector<BrooksideXML::SumData>* BrooksideXML::GetSumData(int wafer, int phase) const {
    return &PhaseAt(wafer, phase).sumData;
}

const std::vector<BrooksideXML::RecipeParameter>* BrooksideXML::GetRecipeParameterList(int wafer,
                                                                                       int phase) const {
    return &PhaseAt(wafer, phase).recipeParameters;
}

// Always false, for the caller to hand on.
bool BrooksideXML::FailRawData(const std::string& text) {
    Fail(StatusRawData, text);
    return false;
}

// Goes to the first sample of a section and maps its fields to the table's columns. What is wrong with the
// section, or nothing.
std::string BrooksideXML::InitNextBuffer(BufferReader& reader, int& numVars, ColumnMap& columnMap,
                                         const std::string& sectionName, int& phaseColumn) {
    phaseColumn = phaseID.empty() ? NoPhaseID : PhaseColumnMissing;
    columnMap.clear();
    const auto section = model.rawData.find(sectionName);
    if (section == model.rawData.end()) {
        return "The RAWDATA section with name '" + sectionName + "' could not be found";
    }
    reader.Init(section->second, sectionName);
    // By the classic rule a line that names the columns and has nothing behind it isn't one.
    const bool isThere = FindColumnLine(reader);
    if (!isThere || (reader.AtEnd() && !IsComplete())) {
        return "Time could not be found in RAWDATA section '" + sectionName + "'";
    }
    columnMap.emplace_back(FieldTime, ColumnTime);
    for (int field = FieldFirstVariable; field <= reader.CountFields(); ++field) {
        const char* const name = reader.GetField(field);
        if (!phaseID.empty() && EqualIgnoringCase(name, phaseID)) {
            phaseColumn = field;
            continue;
        }
        const auto [known, isNew] = variableNames.emplace(name, numVars + 1 + ColumnTime);
        numVars += isNew ? 1 : 0;
        columnMap.emplace_back(field, known->second);
    }
    if (columnMap.size() == 1) {
        AddBrooksideWarning(warningText, "No variables found in RAWDATA section " + sectionName + "\n");
    }
    return {};
}

// Enters every wafer's section for the sake of its names. Wafers of one section stand together, and what
// entering it gives can't change: only the warning comes again.
bool BrooksideXML::CollectVariables(int& numVars) {
    variableNames.clear();
    variableNames.emplace(TimeName, ColumnTime);
    BufferReader reader;
    ColumnMap columnMap;
    int phaseColumn = NoPhaseID;
    const std::string* entered = nullptr;
    for (const WaferRecord& wafer : model.wafers) {
        const std::string& section = wafer.attributes[WaferRawData];
        if (section.empty()) {
            continue;
        }
        if (entered == nullptr || !EqualIgnoringCase(*entered, section)) {
            const std::string failure = InitNextBuffer(reader, numVars, columnMap, section, phaseColumn);
            if (!failure.empty()) {
                return FailRawData(failure);
            }
            entered = &section;
        } else if (columnMap.size() == 1) {
            AddBrooksideWarning(warningText, "No variables found in RAWDATA section " + section + "\n");
        }
    }
    return true;
}

std::int64_t BrooksideXML::CountNamedRows() const {
    std::int64_t total = 0;
    for (const WaferRecord& wafer : model.wafers) {
        for (const PhaseRecord& phase : wafer.phases) {
            total += CountRows(phase);
        }
    }
    return total;
}

// The name row and the rows that the phases ask for, as far as the raw texts bear them out. Rows are
// numbered, and may be few and far apart.
int BrooksideXML::CountTableRows() const {
    std::int64_t bytes = 0;
    for (const auto& [name, text] : model.rawData) {
        bytes += static_cast<std::int64_t>(text.size());
    }
    constexpr std::int64_t MostRows = std::numeric_limits<int>::max() - 1;
    return static_cast<int>(std::min(BelievedCount(CountNamedRows(), bytes), MostRows)) + NameRow;
}

void BrooksideXML::WriteNames(ReadSpreadSheetData& sink) const {
    for (const auto& [name, col] : variableNames) {
        sink.Set(col, NameRow, name.c_str());
    }
    sink.Set(ColumnWafer, NameRow, WaferName);
    sink.Set(ColumnPhase, NameRow, PhaseName);
}

// The lines of a phase. One beyond its last row ends it, and is lost for the next; where the table row isn't
// the wanted one, it takes a table row nevertheless.
bool BrooksideXML::ReadPhase(RowWalk& walk, const WaferRecord& wafer, const PhaseRecord& phase) {
    while (walk.lastRowNumber < phase.to) {
        int rowNumber = 0;
        do {
            if (!walk.reader.NextLine()) {
                return FailRawData("Unexpected EOF in RAWDATA section '" + wafer.attributes[WaferRawData] +
                                   "'.");
            }
            rowNumber = ToLeadingInt(walk.reader.GetField(FieldRowNumber));
        } while (rowNumber < phase.from);
        if (rowNumber <= walk.lastRowNumber) {
            return FailRawData("Row numbers are not increasing in RAWDATA section '" +
                               wafer.attributes[WaferRawData] + "'.");
        }
        walk.lastRowNumber = rowNumber;
        if (walk.tableRow != walk.wantedRow) {
            ++walk.tableRow;
            continue;
        }
        if (rowNumber > phase.to) {
            break;
        }
        const int row = walk.tableRow++;
        walk.wantedRow = walk.sink.NextRowToRead(row);
        walk.sink.Set(ColumnWafer, row, wafer.tableID.c_str());
        if (walk.phaseColumn == NoPhaseID) {
            walk.sink.Set(ColumnPhase, row, phase.number.c_str());
        } else if (walk.phaseColumn != PhaseColumnMissing) {
            walk.sink.Set(ColumnPhase, row, walk.reader.GetField(walk.phaseColumn));
        }
        for (const auto& [field, col] : walk.columnMap) {
            walk.sink.Set(col, row, walk.reader.GetField(field));
        }
    }
    return true;
}

bool BrooksideXML::ReadWafer(RowWalk& walk, const WaferRecord& wafer) {
    const std::string& section = wafer.attributes[WaferRawData];
    if (!EqualIgnoringCase(section, walk.section)) {
        int numVars = static_cast<int>(variableNames.size()) - 1;
        const std::string failure =
            InitNextBuffer(walk.reader, numVars, walk.columnMap, section, walk.phaseColumn);
        if (!failure.empty()) {
            return FailRawData(failure);
        }
        walk.lastRowNumber = 0;
        walk.section = section;
    }
    return std::all_of(wafer.phases.begin(), wafer.phases.end(), [&](const PhaseRecord& phase) {
        return phase.isBackground || ReadPhase(walk, wafer, phase);
    });
}

int BrooksideXML::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    return WithinBudget(StatusRawData, [this, sink] {
        return IsComplete() ? ReadCompletely(*sink) : ReadClassically(*sink);
    });
}

int BrooksideXML::ReadClassically(ReadSpreadSheetData& sink) {
    int numVars = 0;
    if (!CollectVariables(numVars)) {
        return status;
    }
    sink.SetDataSize(numVars + ColumnTime, CountTableRows());
    if (sink.NextRowToRead(0) == NameRow) {
        WriteNames(sink);
    }
    RowWalk walk(sink);
    walk.wantedRow = sink.NextRowToRead(walk.tableRow - 1);
    for (const WaferRecord& wafer : model.wafers) {
        GetContext()->ThrowIfStopped();
        if (!ReadWafer(walk, wafer)) {
            break;
        }
    }
    return status;
}

// ---- The complete reading ----

void BrooksideXML::Note(const char* code, std::uint64_t count, std::string place, std::string text) {
    AddNote({code, count, std::move(place), std::move(text)});
}

// Indexes the section that wafers name; null where there is none that can be read.
BrooksideXML::Section* BrooksideXML::EnterSection(const std::string& name) {
    const auto [place, isNew] = sections.try_emplace(name);
    if (!isNew) {
        return place->second->isReadable ? place->second.get() : nullptr;
    }
    place->second = std::make_unique<Section>();
    Section& section = *place->second;
    int numVars = static_cast<int>(variableNames.size()) - 1;
    const std::string failure =
        InitNextBuffer(section.reader, numVars, section.columnMap, name, section.phaseColumn);
    if (!failure.empty()) {
        Note("unreadable-section", 1, name, failure + ": its wafers have no rows");
        return nullptr;
    }
    section.isReadable = true;
    IndexLines(section, name);
    return &section;
}

void BrooksideXML::IndexLines(Section& section, const std::string& name) {
    karta::ReadContext& context = *GetContext();
    bool isRising = true;
    int rowNumber = 0;
    for (const char* start = section.reader.Tell(); section.reader.NextRowNumber(rowNumber);
         start = section.reader.Tell()) {
        if (section.lines.size() == section.lines.capacity()) {
            context.ThrowIfStopped();
            const std::size_t room = std::max<std::size_t>(1024, section.lines.size() * 2);
            context.budget.ChargeMemory((room - section.lines.size()) * sizeof(Section::LineAt),
                                        "the lines of a raw text");
            section.lines.reserve(room);
        }
        isRising = isRising && (section.lines.empty() || section.lines.back().rowNumber < rowNumber);
        // A line of more is read as one that isn't plain.
        const auto length = std::min<std::size_t>(section.reader.GetLine().size(), LongestPlainLine + 1);
        section.hasLongLines = section.hasLongLines || length > LongestPlainLine;
        section.lines.push_back({rowNumber, static_cast<std::uint32_t>(length), start});
    }
    if (!isRising) {
        Note("rows-not-increasing", 1, name, "the row numbers of the raw text " + name + " don't increase");
        // Lines of one number stay in their order.
        std::sort(section.lines.begin(), section.lines.end(),
                  [](const Section::LineAt& left, const Section::LineAt& right) {
                      return left.rowNumber != right.rowNumber ? left.rowNumber < right.rowNumber
                                                               : left.start < right.start;
                  });
    }
}

void BrooksideXML::MakeSections() {
    if (hasSections) {
        return;
    }
    variableNames.clear();
    variableNames.emplace(TimeName, ColumnTime);
    for (const WaferRecord& wafer : model.wafers) {
        if (!wafer.phases.empty()) {
            EnterSection(wafer.attributes[WaferRawData]);
        }
    }
    hasSections = true;
}

BrooksideXML::Section* BrooksideXML::FindSection(const WaferRecord& wafer) {
    const auto found = sections.find(wafer.attributes[WaferRawData]);
    return found == sections.end() || !found->second->isReadable ? nullptr : found->second.get();
}

void BrooksideXML::PlanRows() {
    MakeSections();
    std::uint64_t rows = NameRow;
    for (const WaferRecord& wafer : model.wafers) {
        const Section* section = FindSection(wafer);
        for (const PhaseRecord& phase : wafer.phases) {
            if (section != nullptr && !phase.isBackground) {
                const auto [first, last] = section->Find(phase);
                rows += last - std::min(first, last);
            }
        }
    }
    GetContext()->budget.ChargeWork(rows, "the rows of a log");
    if (rows > static_cast<std::uint64_t>(std::numeric_limits<int>::max() - 1)) {
        throw karta::BudgetExceeded("the phases ask for more rows than a table can have");
    }
    numCols = static_cast<int>(variableNames.size()) - 1 + ColumnTime;
    numRows = static_cast<int>(rows);
}

int BrooksideXML::ReadCompletely(ReadSpreadSheetData& sink) {
    PlanRows();
    sink.SetDataSize(numCols, numRows);
    CellOutput output(sink);
    output.Text(ColumnWafer, NameRow, WaferName);
    output.Text(ColumnPhase, NameRow, PhaseName);
    for (const auto& [name, col] : variableNames) {
        output.Text(col, NameRow, name);
    }
    output.EndRow(NameRow);
    std::uint64_t background = 0;
    for (const WaferRecord& wafer : model.wafers) {
        for (const PhaseRecord& phase : wafer.phases) {
            background += phase.isBackground ? 1 : 0;
        }
    }
    const std::vector<PhaseRows> phases = ListPhaseRows();
    auto* const runs = dynamic_cast<CellRunSink*>(&sink);
    if (runs != nullptr && runs->PrefersCellRuns() && MayShareRows(phases)) {
        ReadRowsSideBySide(phases, *runs, output);
    } else {
        ReadRowsInTurn(phases, output);
    }
    TellShape();
    if (background > 0) {
        Note("background-phases", background, {},
             karta::CountOf(background, "background phase has", "background phases have") + " no rows");
    }
    if (shortLines > 0) {
        Note("short-lines", shortLines, {},
             karta::CountOf(shortLines, "line has", "lines have") +
                 " fewer fields than columns: the rest is missing");
    }
    if (textSamples > 0) {
        Note("text-samples", textSamples, {},
             karta::CountOf(textSamples, "sample is no number and stays", "samples are no numbers and stay") +
                 " text");
    }
    NoteLinesOfNoPhase();
    NoteWhatPhasesHave();
    return status;
}

// What intervals say beside their rows, and rows that they name and no line has.
void BrooksideXML::NoteWhatPhasesHave() {
    std::uint64_t statistics = 0;
    std::uint64_t parameters = 0;
    std::uint64_t beyond = 0;
    for (const WaferRecord& wafer : model.wafers) {
        const Section* section = FindSection(wafer);
        for (const PhaseRecord& phase : wafer.phases) {
            statistics += phase.sumData.size();
            parameters += phase.recipeParameters.size();
            const bool hasLines = section != nullptr && !section->lines.empty();
            beyond += hasLines && CountRows(phase) > 0 && phase.to > section->lines.back().rowNumber ? 1 : 0;
        }
    }
    if (statistics + parameters > 0) {
        Note("phase-values", statistics + parameters, {},
             karta::CountOf(statistics, "statistic") + " and " +
                 karta::CountOf(parameters, "recipe parameter") + " of the phases are not in this table");
    }
    if (beyond > 0) {
        Note("rows-not-there", beyond, {},
             karta::CountOf(beyond, "phase names", "phases name") + " rows beyond the end of the raw text");
    }
}

// False for a line of too few fields.
bool BrooksideXML::PutLine(const BufferReader& reader, const ColumnMap& columnMap, SampleRow& sample) {
    bool isWhole = true;
    for (const auto& [field, col] : columnMap) {
        const auto text = reader.FindField(field);
        isWhole = isWhole && text;
        sample.Put(col, text.value_or(""));
    }
    return isWhole;
}

// The same in one walk along the line, whose fields the map names in their order.
bool BrooksideXML::PutPlainLine(std::string_view line, const ColumnMap& columnMap, SampleRow& sample) {
    TabWalk fields(line);
    std::string_view text;
    double value = 0.0;
    bool isWhole = true;
    for (const auto& [field, col] : columnMap) {
        if (fields.TakeNumber(field, value)) {
            sample.PutNumber(col, value);
            continue;
        }
        isWhole = isWhole && fields.MoveTo(field, text);
        text = isWhole ? text.substr(std::min(text.find_first_not_of(' '), text.size())) : "";
        sample.Put(col, text);
    }
    return isWhole;
}

std::vector<BrooksideXML::PhaseRows> BrooksideXML::ListPhaseRows() {
    std::vector<PhaseRows> phases;
    int row = FirstDataRow;
    for (const WaferRecord& wafer : model.wafers) {
        Section* const section = FindSection(wafer);
        for (const PhaseRecord& phase : wafer.phases) {
            if (section == nullptr || phase.isBackground) {
                continue;
            }
            const auto [first, last] = section->Find(phase);
            if (last > first) {
                const int rows = static_cast<int>(last - first);
                phases.push_back({section, &wafer, &phase, first, row, row + rows});
                row += rows;
            }
        }
    }
    return phases;
}

// Rows of the table that are all of one phase. Only of a text that isn't plain its reader is moved.
void BrooksideXML::ReadRows(const PhaseRows& phase, int first, int last, CellOutput& output,
                            SampleRow& sample, std::uint64_t& shortRows) const {
    Section& section = *phase.section;
    const bool arePlain = section.MayBePlain();
    for (int row = first; row < last; ++row) {
        const Section::LineAt& line =
            section.lines[phase.firstLine + static_cast<std::size_t>(row - phase.first)];
        const bool isPlain = arePlain && line.length <= LongestPlainLine;
        if (!isPlain) {
            section.reader.Seek(line.start);
            section.reader.NextLine();
        }
        output.Text(ColumnWafer, row, phase.wafer->tableID);
        sample.Begin(row);
        if (section.phaseColumn == NoPhaseID) {
            sample.Put(ColumnPhase, phase.phase->number);
        } else if (section.phaseColumn != PhaseColumnMissing) {
            sample.Put(ColumnPhase, section.reader.FindField(section.phaseColumn).value_or(""));
        }
        const bool isShort = isPlain ? !PutPlainLine({line.start, line.length}, section.columnMap, sample)
                                     : !PutLine(section.reader, section.columnMap, sample);
        sample.End();
        shortRows += isShort ? 1 : 0;
    }
}

void BrooksideXML::ReadRowsInTurn(const std::vector<PhaseRows>& phases, CellOutput& output) {
    SampleRow sample(output, std::nullopt);
    for (const PhaseRows& phase : phases) {
        for (int row = phase.first; row < phase.end; ++row) {
            GetContext()->ThrowIfStopped();
            ReadRows(phase, row, row + 1, output, sample, shortLines);
            output.EndRow(row);
        }
    }
    textSamples += sample.CountTexts();
}

// Whether several threads have something of it, nothing of the readers is moved, and blocks of all columns
// are no more than what the texts hold.
bool BrooksideXML::MayShareRows(const std::vector<PhaseRows>& phases) const {
    std::uint64_t bytes = 0;
    for (const auto& [name, text] : model.rawData) {
        bytes += text.size();
    }
    const auto cells = static_cast<std::uint64_t>(numCols) * static_cast<std::uint64_t>(numRows);
    return bytes >= LeastForThreads && cells <= bytes &&
           karta::ChooseThreadCount(GetContext()->threads, 2) > 1 &&
           std::all_of(phases.begin(), phases.end(), [](const PhaseRows& phase) {
               return phase.section->MayBePlain() && !phase.section->hasLongLines;
           });
}

// Some rows are a job, whatever phases they are of.
void BrooksideXML::ReadRowsSideBySide(const std::vector<PhaseRows>& phases, CellRunSink& runs,
                                      CellOutput& output) {
    const int atOnce = std::clamp(CellsOfBlock / numCols, 1, MostRowsOfBlock);
    const int end = phases.empty() ? FirstDataRow : phases.back().end;
    const auto jobs = static_cast<std::size_t>((end - FirstDataRow + atOnce - 1) / atOnce);
    SampleBlocks blocks(numCols, atOnce);
    const auto read = [&](std::size_t job) {
        RowsRead done;
        try {
            const int first = FirstDataRow + static_cast<int>(job) * atOnce;
            const int last = std::min(end, first + atOnce);
            done.block = blocks.Take();
            done.block->Begin(first);
            CellOutput cells(*done.block);
            SampleRow sample(cells, std::nullopt);
            auto phase = std::upper_bound(phases.begin(), phases.end(), first,
                                          [](int row, const PhaseRows& some) { return row < some.end; });
            for (; phase != phases.end() && phase->first < last; ++phase) {
                ReadRows(*phase, std::max(first, phase->first), std::min(last, phase->end), cells, sample,
                         done.shortRows);
            }
            done.texts = sample.CountTexts();
        } catch (...) {
            done.failure = std::current_exception();
        }
        return done;
    };
    karta::OrderedWork<RowsRead> work(jobs, karta::ChooseThreadCount(GetContext()->threads, jobs), read);
    for (std::size_t job = 0; job < jobs; ++job) {
        GetContext()->ThrowIfStopped();
        RowsRead done = work.Take();
        if (done.failure) {
            std::rethrow_exception(done.failure);
        }
        done.block->Put(runs, output);
        blocks.Give(std::move(done.block));
        shortLines += done.shortRows;
        textSamples += done.texts;
        output.EndRow(std::min(end, FirstDataRow + static_cast<int>(job + 1) * atOnce) - 1);
    }
}

// Lines that no interval names, those of background phases aside.
void BrooksideXML::NoteLinesOfNoPhase() {
    std::map<const Section*, std::vector<std::pair<std::size_t, std::size_t>>> named;
    for (const WaferRecord& wafer : model.wafers) {
        if (const Section* section = FindSection(wafer)) {
            for (const PhaseRecord& phase : wafer.phases) {
                named[section].push_back(section->Find(phase));
            }
        }
    }
    std::uint64_t unused = 0;
    for (const auto& [name, section] : sections) {
        auto& ranges = named[section.get()];
        std::sort(ranges.begin(), ranges.end());
        std::size_t covered = 0;
        std::size_t end = 0;
        for (const auto& [first, last] : ranges) {
            const std::size_t from = std::max(first, end);
            covered += last > from ? last - from : 0;
            end = std::max(end, last);
        }
        unused += section->lines.size() - covered;
    }
    if (unused > 0) {
        Note("lines-of-no-phase", unused, {},
             karta::CountOf(unused, "line of the raw texts belongs", "lines of the raw texts belong") +
                 " to no phase");
    }
}

// Row 1 and the first two columns are names.
void BrooksideXML::TellShape() {
    karta::TableShape& shape = GetContext()->shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = NameRow;
    shape.firstDataRow = FirstDataRow;
    shape.labelColumns = {ColumnWafer, ColumnPhase};
}

std::vector<FileContents::Fact> BrooksideXML::ListFacts() {
    std::vector<Fact> facts;
    std::size_t phases = 0;
    std::size_t background = 0;
    for (const WaferRecord& wafer : model.wafers) {
        phases = std::max(phases, wafer.phases.size());
        background += static_cast<std::size_t>(
            std::count_if(wafer.phases.begin(), wafer.phases.end(),
                          [](const PhaseRecord& phase) { return phase.isBackground; }));
    }
    std::set<std::string, LessIgnoringCase> variables;
    for (const auto& [name, text] : model.rawData) {
        BufferReader reader;
        reader.Init(text, name);
        if (FindColumnLine(reader)) {
            for (int field = FieldFirstVariable; field <= reader.CountFields(); ++field) {
                variables.emplace(reader.GetField(field));
            }
        }
    }
    facts.emplace_back("wafers", static_cast<double>(model.wafers.size()), "");
    facts.emplace_back("phases", static_cast<double>(phases), "");
    facts.emplace_back(
        "samples", (IsComplete() && EstablishSize() == StatusOk ? numRows : CountTableRows()) - NameRow, "");
    facts.emplace_back("raw texts", static_cast<double>(model.rawData.size()), "");
    facts.emplace_back("variables",
                       ListBrooksideNames({variables.begin(), variables.end()}, variables.size()));
    facts.emplace_back("equipment", model.attributes[AttributeEquipment]);
    facts.emplace_back("recipe", model.attributes[AttributeRecipe]);
    if (background > 0) {
        facts.emplace_back("skipped", std::to_string(background) + " background phase(s)");
    }
    return facts;
}

BrooksideXMLFactory::BrooksideXMLFactory()
    : SprFileFactory("Brookside Ver. 2.6 XML File", "Brookside Ver. 2.6 XML Files (*.xml)", nullptr, 1,
                     ".xml\0", 0, 1, 1, 1, 0, 1) {}

MyKindOfFile BrooksideXMLFactory::IsMyKindOfFile(const char* fileName) {
    return HasExtension(fileName, "xml") ? KindProbably : KindUnknown;
}

SpreadsheetFile* BrooksideXMLFactory::GetSpreadsheetFile() {
    return new BrooksideXML;
}

static BrooksideXMLFactory brooksideXMLFactory;

namespace {

FormatRecogniser::Evidence RecogniseDocument(const char* /*path*/, std::string_view head) {
    return ToLowerCase(head).find("<fdcrequest") != std::string::npos ? FormatRecogniser::Evidence::Proof
                                                                      : FormatRecogniser::Evidence::None;
}

const FormatRecogniser brooksideXMLRecogniser("Brookside Ver. 2.6 XML File", "brookside-xml", {},
                                              RecogniseDocument);

}  // namespace
