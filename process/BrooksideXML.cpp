#include "process/BrooksideXML.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <tuple>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "base/CopyMessage.h"
#include "base/Exception.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/Unicode.h"
#include "host/FNClass.h"
#include "process/BrooksideDom.h"
#include "process/BrooksideFields.h"
#include "process/BrooksideGrammar.h"
#include "process/BrooksideWarnings.h"
#include "process/BufferReader.h"

namespace {

enum Column { ColumnWafer = 1, ColumnPhase = 2, ColumnTime = 3 };
// Fields of a raw line; the variables begin behind them.
enum Field { FieldTime = 1, FieldRowNumber = 2, FieldFirstVariable = 3 };

constexpr int NameRow = 1;
constexpr int FirstDataRow = 2;
constexpr const char* TimeName = "Time";

// How a raw text's phase column is told apart from a field's number.
constexpr int NoPhaseID = -1;
constexpr int PhaseColumnMissing = 0;

/** Errors of validity end the parse as those of form do. */
class MyErrorHandler : public xercesc::DefaultHandler {
public:
    void error(const xercesc::SAXParseException& exception) override {
        throw xercesc::SAXParseException(exception);
    }
};

/** Knows the three texts of the grammar, wherever a document says that they lie, and nothing else. */
class MyEntityResolver : public ClosedEntityResolver {
public:
    MyEntityResolver()
        : ClosedEntityResolver(
              {{"FDCRequest.dtd", FDCRequestGrammar}, {"FDC.dtd", FDCGrammar}, {"base.dtd", BaseGrammar}}) {}
};

bool StartsWithIgnoringCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && EqualIgnoringCase(text.substr(0, start.size()), start);
}

// Reads up to the line that names the columns. False when there is none, or nothing behind it.
bool FindColumnLine(BufferReader& reader) {
    while (reader.NextLine()) {
        if (EqualIgnoringCase(reader.GetField(FieldTime), TimeName)) {
            break;
        }
    }
    return !reader.AtEnd();
}

}  // namespace

struct BrooksideXML::Document {
    const char* path = nullptr;  // null for a text in memory
    const char* text = "";
    const char* id = "";

    void ParseInto(BrooksideDomParser& parser) const {
        if (path != nullptr) {
            ParseFile(parser, path);
            return;
        }
        parser.parse(
            xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(text), std::strlen(text), id));
    }
};

struct BrooksideXML::Builder {
    BrooksideXML& model;
    std::map<const xercesc::DOMNode*, RawDataText>& texts;

    void ReadDOM(const xercesc::DOMDocument* document) {
        const xercesc::DOMNode* request = FindRequiredNode(document->getFirstChild(), "FDCRequest");
        const xercesc::DOMNode* children = request->getFirstChild();
        const xercesc::DOMNode* system = FindRequiredNode(children, "APCSystemName");
        const xercesc::DOMNode* logistics = FindRequiredNode(children, "Logistics");
        const xercesc::DOMNode* trend = FindRequiredNode(children, "Trend");
        const xercesc::DOMNode* dataset = FindRequiredNode(trend->getFirstChild(), "dataset");
        const xercesc::DOMNode* response = FindRequiredNode(children, "Response");

        auto& attributes = model.attributes;
        attributes[AttributeAPCSystem] = GetTextAttribute(system, "ID");
        attributes[AttributeMessageSequence] = GetTextAttribute(request, "MessageSequenceIdentifier");
        attributes[AttributeFDCModel] = GetTextAttribute(logistics, "FDCModel");
        attributes[AttributeRecipe] = GetTextAttribute(logistics, "RecipeID");
        attributes[AttributeControlJob] = GetTextAttribute(logistics, "ControlJobID");
        attributes[AttributeEquipment] = GetTextAttribute(logistics, "EquipmentID");
        attributes[AttributeToolType] = GetTextAttribute(logistics, "ToolType");
        attributes[AttributeResource] = GetTextAttribute(logistics, "ResourceID");
        attributes[AttributeTopic] = GetTextAttribute(response, "TopicName");
        FindAttribute(logistics, "chamberRecipe", attributes[AttributeChamberRecipe]);
        attributes[AttributeTrend] = GetTextAttribute(trend, "Name");

        ReadWafers(dataset);
        ReadRawData(FindRequiredNode(children, "RawData"));
    }

    // Each before those of the same raw text and first row, as a lower bound puts it.
    void ReadWafers(const xercesc::DOMNode* dataset) {
        struct Place {
            std::string rawData;
            int from;
            bool operator<(const Place& other) const {
                return std::tie(rawData, from) < std::tie(other.rawData, other.from);
            }
        };
        std::multimap<Place, WaferRecord> sorted;
        for (; dataset != nullptr; dataset = FindNode(dataset->getNextSibling(), "dataset")) {
            WaferRecord wafer = ReadWafer(dataset);
            Place place{ToLowerCase(wafer.attributes[WaferRawData]),
                        wafer.phases.empty() ? 0 : wafer.phases.front().from};
            const auto next = sorted.lower_bound(place);
            sorted.emplace_hint(next, std::move(place), std::move(wafer));
        }
        for (auto& [place, wafer] : sorted) {
            model.wafers.push_back(std::move(wafer));
        }
    }

    WaferRecord ReadWafer(const xercesc::DOMNode* dataset) {
        WaferRecord wafer;
        wafer.waferID = GetTextAttribute(dataset, "WaferID");
        wafer.tableID = wafer.waferID;
        auto& attributes = wafer.attributes;
        attributes[WaferRawData] = FNClass(GetTextAttribute(dataset, "rawDataName")).GetNameAndExt();
        attributes[WaferLot] = GetTextAttribute(dataset, "LotID");
        attributes[WaferSlot] = GetTextAttribute(dataset, "SlotID");
        attributes[WaferRoute] = GetTextAttribute(dataset, "RouteID");
        attributes[WaferProduct] = GetTextAttribute(dataset, "ProductID");
        attributes[WaferOperationNumber] = GetTextAttribute(dataset, "OperationNumber");
        attributes[WaferOperationName] = GetTextAttribute(dataset, "OperationName");
        attributes[WaferOperationPassCount] = GetTextAttribute(dataset, "OPERATIONPASSCOUNT");
        attributes[WaferPriorityClass] = GetTextAttribute(dataset, "PriorityClass");
        attributes[WaferLineCode] = GetTextAttribute(dataset, "LineCode");
        attributes[WaferJobClass] = GetTextAttribute(dataset, "JobClass");
        attributes[WaferQualityCode] = GetTextAttribute(dataset, "QualityCode");

        std::multimap<int, PhaseRecord> sorted;
        const xercesc::DOMNode* interval = FindNode(dataset->getFirstChild(), "Interval");
        for (; interval != nullptr; interval = FindNode(interval->getNextSibling(), "Interval")) {
            PhaseRecord phase = ReadPhase(interval);
            const auto next = sorted.lower_bound(phase.from);
            sorted.emplace_hint(next, phase.from, std::move(phase));
        }
        for (auto& [from, phase] : sorted) {
            wafer.phases.push_back(std::move(phase));
        }
        return wafer;
    }

    PhaseRecord ReadPhase(const xercesc::DOMNode* interval) {
        PhaseRecord phase;
        phase.name = GetTextAttribute(interval, "Name");
        phase.isBackground = StartsWithIgnoringCase(phase.name, "b_");
        if (!phase.isBackground && !StartsWithIgnoringCase(phase.name, "f_")) {
            model.apstat = true;
        }
        phase.number = GetTextAttribute(interval, "Number");
        phase.from = GetIntAttribute(interval, "FromRow");
        phase.to = GetIntAttribute(interval, "ToRow");
        phase.duration = GetFloatAttribute(interval, "Duration");
        phase.startTime = GetTextAttribute(interval, "StartTime");
        const xercesc::DOMNode* node = FindNode(interval->getFirstChild(), "sumdata");
        for (; node != nullptr; node = FindNode(node->getNextSibling(), "sumdata")) {
            SumData& sum = phase.sumData.emplace_back();
            sum.name = GetTextAttribute(node, "Name");
            FindAttribute(node, "StatName", sum.statName);
            sum.value = GetTextAttribute(node, "Value");
        }
        node = FindNode(interval->getFirstChild(), "RecipeParameter");
        for (; node != nullptr; node = FindNode(node->getNextSibling(), "RecipeParameter")) {
            RecipeParameter& parameter = phase.recipeParameters.emplace_back();
            parameter.name = GetTextAttribute(node, "Name");
            parameter.value = GetFloatAttribute(node, "Value");
            parameter.lowerLimit = GetFloatAttribute(node, "ValueLowerLimit");
            parameter.upperLimit = GetFloatAttribute(node, "ValueUpperLimit");
            parameter.useCurrentValue = GetBoolAttribute(node, "UseCurrentValueFlag");
        }
        return phase;
    }

    // Of two texts of one name the later counts.
    void ReadRawData(const xercesc::DOMNode* node) {
        for (; node != nullptr; node = FindNode(node->getNextSibling(), "RawData")) {
            const std::string name = GetTextAttribute(node, "Name");
            const auto found = texts.find(node);
            if (found == texts.end()) {
                throw Exception("Could not find RawData for file '" + name + "'");
            }
            if (!found->second.hasMark) {
                throw Exception("The RawData section '" + name + "' does not contain the string '" +
                                std::string(BrooksideDomParser::EndMark) + "'");
            }
            model.rawData[FNClass(name).GetNameAndExt()] =
                std::make_shared<const std::string>(std::move(found->second.text));
        }
    }
};

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

BrooksideXML::BrooksideXML() : platform(std::make_unique<XmlPlatform>()) {}

BrooksideXML::~BrooksideXML() = default;

void BrooksideXML::Close() {}

void BrooksideXML::GetErrorMessage(char* buffer, unsigned int size) {
    std::string text = "An unknown error occurred.";
    switch (status) {
        case StatusSAXException:
        case StatusXMLException:
        case StatusException:
            text = "XML Parse error:\r\n" + errorText;
            break;
        case StatusRawData:
            text = "Error in RAWDATA section:\r\n" + errorText;
            break;
        case StatusDOMException:
        case StatusUnknownException:
            text = "An unknown exception occurred.";
            break;
        case StatusForWriting:
            text = "The file was opened for writing which is not supported.";
            break;
        default:
            break;
    }
    CopyMessage(text, buffer, size);
}

const char* BrooksideXML::GetWarningMessage() {
    return warningText.empty() ? nullptr : warningText.c_str();
}

void BrooksideXML::Clear() {
    status = StatusOk;
    errorText.clear();
    warningText.clear();
    wafers.clear();
    rawData.clear();
    attributes.fill(std::string());
    variableNames.clear();
    apstat = false;
}

int BrooksideXML::Open(bool forRead, const char* path, NvImportOpenOptions* /*options*/) {
    Clear();
    if (!forRead) {
        status = StatusForWriting;
        return status;
    }
    Document document;
    document.path = path;
    return Parse(document);
}

int BrooksideXML::Open(const char* xmlText, const char* id) {
    Clear();
    Document document;
    document.text = xmlText == nullptr ? "" : xmlText;
    document.id = id == nullptr ? "" : id;
    return Parse(document);
}

// The DOM is gone when this returns.
int BrooksideXML::Parse(const Document& document) {
    try {
        BrooksideDomParser parser;
        MyErrorHandler errorHandler;
        parser.setValidationScheme(xercesc::XercesDOMParser::Val_Never);
        parser.setErrorHandler(&errorHandler);
        parser.setLoadExternalDTD(false);
        document.ParseInto(parser);
        Builder{*this, parser.GetRawData()}.ReadDOM(parser.getDocument());
    } catch (const xercesc::SAXException& exception) {
        status = StatusSAXException;
        errorText = ToUtf8(exception.getMessage());
    } catch (const xercesc::XMLException& exception) {
        status = StatusXMLException;
        errorText = ToUtf8(exception.getMessage());
    } catch (const xercesc::DOMException&) {
        status = StatusDOMException;
    } catch (const Exception& exception) {
        status = StatusException;
        errorText = exception.what();
    } catch (...) {
        status = StatusUnknownException;
    }
    return status;
}

int BrooksideXML::EstablishSize() {
    numCols = 1;
    numRows = 1;
    sizeKnown = status == StatusOk;
    return status;
}

MyKindOfFile BrooksideXML::IsMyKindOfFile(const char* path) {
    const XmlPlatform running;
    try {
        MyEntityResolver resolver;
        BrooksideDomParser parser(&resolver);
        MyErrorHandler errorHandler;
        parser.setValidationScheme(xercesc::XercesDOMParser::Val_Always);
        parser.setValidationConstraintFatal(true);
        parser.setErrorHandler(&errorHandler);
        ParseFile(parser, path);
    } catch (...) {
        return KindNo;
    }
    return KindYes;
}

const BrooksideXML::WaferRecord& BrooksideXML::WaferAt(int wafer) const {
    return wafers.at(static_cast<std::size_t>(wafer) - 1);
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
    status = StatusRawData;
    errorText = text;
    return false;
}

// Goes to the first sample of a section and maps its fields to the table's columns.
bool BrooksideXML::InitNextBuffer(BufferReader& reader, int& numVars, ColumnMap& columnMap,
                                  const std::string& sectionName, int& phaseColumn) {
    phaseColumn = phaseID.empty() ? NoPhaseID : PhaseColumnMissing;
    columnMap.clear();
    const auto section = rawData.find(sectionName);
    if (section == rawData.end()) {
        return FailRawData("The RAWDATA section with name '" + sectionName + "' could not be found");
    }
    reader.Init(*section->second, sectionName);
    if (!FindColumnLine(reader)) {
        return FailRawData("Time could not be found in RAWDATA section '" + sectionName + "'");
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
    return true;
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
    for (const WaferRecord& wafer : wafers) {
        const std::string& section = wafer.attributes[WaferRawData];
        if (section.empty()) {
            continue;
        }
        if (entered == nullptr || !EqualIgnoringCase(*entered, section)) {
            if (!InitNextBuffer(reader, numVars, columnMap, section, phaseColumn)) {
                return false;
            }
            entered = &section;
        } else if (columnMap.size() == 1) {
            AddBrooksideWarning(warningText, "No variables found in RAWDATA section " + section + "\n");
        }
    }
    return true;
}

// The name row and the rows that the phases ask for, as far as the raw texts could have them.
int BrooksideXML::CountTableRows() const {
    std::int64_t total = 0;
    for (const WaferRecord& wafer : wafers) {
        for (const PhaseRecord& phase : wafer.phases) {
            total += phase.isBackground ? 0 : std::int64_t{phase.to} - phase.from + 1;
        }
    }
    std::int64_t believable = 0;
    for (const auto& [name, text] : rawData) {
        believable += static_cast<std::int64_t>(text->size());
    }
    believable = std::min<std::int64_t>(believable, std::numeric_limits<int>::max() - 1);
    return static_cast<int>(std::clamp<std::int64_t>(total, 0, believable)) + NameRow;
}

void BrooksideXML::WriteNames(ReadSpreadSheetData& sink) const {
    for (const auto& [name, col] : variableNames) {
        sink.Set(col, NameRow, name.c_str());
    }
    sink.Set(ColumnWafer, NameRow, "Wafer (Batch)");
    sink.Set(ColumnPhase, NameRow, "Interval (Phase)");
}

// The lines of a phase. One beyond its last row ends it, and is lost for the next.
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
        if (rowNumber > phase.to) {
            break;
        }
        const int row = walk.tableRow++;
        if (row != walk.wantedRow) {
            continue;
        }
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
        if (!InitNextBuffer(walk.reader, numVars, walk.columnMap, section, walk.phaseColumn)) {
            return false;
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
    int numVars = 0;
    if (!CollectVariables(numVars)) {
        return status;
    }
    sink->SetDataSize(numVars + ColumnTime, CountTableRows());
    if (sink->NextRowToRead(0) == NameRow) {
        WriteNames(*sink);
    }
    RowWalk walk(*sink);
    walk.wantedRow = sink->NextRowToRead(walk.tableRow - 1);
    for (const WaferRecord& wafer : wafers) {
        if (!ReadWafer(walk, wafer)) {
            break;
        }
    }
    return status;
}

std::vector<FileContents::Fact> BrooksideXML::ListFacts() {
    std::vector<Fact> facts;
    std::size_t phases = 0;
    std::size_t background = 0;
    for (const WaferRecord& wafer : wafers) {
        phases = std::max(phases, wafer.phases.size());
        background += static_cast<std::size_t>(
            std::count_if(wafer.phases.begin(), wafer.phases.end(),
                          [](const PhaseRecord& phase) { return phase.isBackground; }));
    }
    std::set<std::string, LessIgnoringCase> variables;
    for (const auto& [name, text] : rawData) {
        BufferReader reader;
        reader.Init(*text, name);
        if (FindColumnLine(reader)) {
            for (int field = FieldFirstVariable; field <= reader.CountFields(); ++field) {
                variables.emplace(reader.GetField(field));
            }
        }
    }
    facts.emplace_back("wafers", std::to_string(wafers.size()));
    facts.emplace_back("phases", std::to_string(phases));
    facts.emplace_back("samples", std::to_string(CountTableRows() - NameRow));
    facts.emplace_back("raw texts", std::to_string(rawData.size()));
    facts.emplace_back("variables",
                       ListBrooksideNames({variables.begin(), variables.end()}, variables.size()));
    facts.emplace_back("equipment", attributes[AttributeEquipment]);
    facts.emplace_back("recipe", attributes[AttributeRecipe]);
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
