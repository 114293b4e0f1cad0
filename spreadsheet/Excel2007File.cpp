#include "spreadsheet/Excel2007File.h"

#include <algorithm>
#include <istream>
#include <limits>

#include "archive/XmlPlatform.h"
#include "base/CopyMessage.h"
#include "base/PathNames.h"
#include "frame/OptionsText.h"
#include "host/NvString.h"
#include "host/SerialDate.h"
#include "spreadsheet/SharedStringsPart.h"
#include "spreadsheet/SheetChoice.h"
#include "spreadsheet/SheetPart.h"
#include "spreadsheet/WorkbookPart.h"

namespace {

// The extension that stands for the XML flavour, in this case only.
constexpr const char* XmlExtension = "xlsx";

constexpr const char* WorkbookPartName = "xl/workbook.xml";
constexpr const char* BinaryWorkbookPartName = "xl/workbook.bin";
constexpr const char* RelationshipsPartName = "xl/_rels/workbook.xml.rels";
constexpr const char* SharedStringsPartName = "xl/sharedStrings.xml";
constexpr const char* StylesPartName = "xl/styles.xml";

// What the target of a worksheet's relationship has in it, and that of a chart sheet hasn't.
constexpr const char* WorksheetFolder = "worksheets/";

// The number formats that are dates without being defined in the workbook.
constexpr int FirstDateFormat = 14;
constexpr int LastDateFormat = 22;

int ToInt(const std::string& text) {
    int value = 0;
    NvString::ToInt(text, value);
    return value;
}

// A text that is no number counts as 0.
std::string GetDateTimeValue(const char* text) {
    double serial = 0.0;
    NvString::ToDouble(text, serial);
    return IEEEDate_2_string(serial);
}

// What a cell pushes; valid until `buffer` changes.
const char* GetText(const SheetContent::Cell& cell, const SharedStrings& sharedStrings, std::string& buffer) {
    switch (cell.kind) {
        case SheetContent::Number:
            return cell.text;
        case SheetContent::Date:
            buffer = GetDateTimeValue(cell.text);
            return buffer.c_str();
        case SheetContent::SharedString:
            return sharedStrings.Get(cell.index);
        case SheetContent::False:
            return "FALSE";
        case SheetContent::True:
            return "TRUE";
        case SheetContent::Empty:
            break;
    }
    return "";
}

// Whether positions beyond an offset can still be told to a sink.
bool FitsBehind(std::int64_t offset, int size) {
    return offset <= std::numeric_limits<int>::max() - size;
}

}  // namespace

// Offsets are added to a sheet's own columns and rows. They are 64 bits wide because a selection may name
// the same sheet any number of times.
struct Excel2007File::XmlPlacement {
    std::int64_t colOffset = 0;
    std::int64_t rowOffset = 0;
    int lastColSeen = 0;   // the largest column of a cell, side by side
    int lastColSeenV = 0;  // the same, stacked
    int lastRowIndex = 0;
    int maxRows = 0;
};

Excel2007File::Excel2007File() : platform(std::make_unique<XmlPlatform>()) {}
Excel2007File::~Excel2007File() = default;

void Excel2007File::Close() {
    zipFile.reset();
    sharedStrings.Clear();
    numFormats.clear();
    isDateFormat.clear();
    formatInfo.clear();
    sheetNames.clear();
    hiddenSheets.clear();
    selectedSheets.clear();
    vertical = false;
    warning.clear();
    optionsBuffer.clear();
    FormatReader::Close();
}

void Excel2007File::GetErrorMessage(char* buffer, unsigned int size) {
    switch (status) {
        case StatusNoData:
            CopyMessage("The sheet(s) contains no data.", buffer, size);
            break;
        case StatusNoSheets:
            CopyMessage("The file contains no sheets.", buffer, size);
            break;
        case StatusBadOptions:
            CopyMessage("Unable to open Excel file.", buffer, size);
            break;
        case StatusCorrupt:
            CopyMessage("The file is corrupt.", buffer, size);
            break;
        case StatusWrongSheetSize:
            CopyMessage("At least one of the sheets do not have a correct size.", buffer, size);
            break;
        case StatusUnsupported:
            CopyMessage("The file contains an unsupported format.", buffer, size);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

const char* Excel2007File::GetWarningMessage() {
    return warning.empty() ? nullptr : warning.c_str();
}

int Excel2007File::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    sheetNames.clear();
    hiddenSheets.clear();
    selectedSheets.clear();
    zipFile = std::make_unique<ZipFile>(path);
    isBinary = NvGetFileExtension(path) != XmlExtension;
    if (!isBinary) {
        InitSheetVector();
    } else if (const auto stream = OpenPart(BinaryWorkbookPartName)) {
        InitBinarySheetsVector(*stream);
    } else {
        status = StatusCorrupt;
    }
    if (status == StatusOk) {
        GetSheet(options);
    }
    return status;
}

int Excel2007File::Read(ReadSpreadSheetData* sink) {
    return isBinary ? ReadBinary(sink) : ReadXML(sink);
}

// The size is told to the sink in Read: it isn't known before.
int Excel2007File::EstablishSize() {
    numCols = 1;
    numRows = 1;
    return StatusOk;
}

int Excel2007File::GetSheetOptions() {
    selectedSheets.assign(1, 0);
    vertical = true;
    return status;
}

bool Excel2007File::CanRead() {
    if (status == StatusOk && zipFile == nullptr) {
        status = StatusWrongMode;
    }
    return status == StatusOk;
}

const ZipFile::Entry* Excel2007File::GetZipEntry(const std::string& name) const {
    return zipFile->FindEntry(name);
}

// Null when there is no such part.
std::unique_ptr<std::istream> Excel2007File::OpenPart(const std::string& name) const {
    const ZipFile::Entry* const entry = GetZipEntry(name);
    return entry == nullptr ? nullptr : zipFile->GetInputStream(*entry);
}

// Whether the part was there and well-formed to its end.
bool Excel2007File::InitParser(const std::string& name, NodeHandler& handler) const {
    const auto stream = OpenPart(name);
    return stream != nullptr && ParseXml(*stream, handler);
}

void Excel2007File::GetSheet(NvImportOpenOptions* options) {
    if (sheetNames.empty()) {
        status = StatusNoSheets;
        return;
    }
    if (sheetNames.size() == 1) {
        selectedSheets.assign(1, 0);
    } else if (HasOptions(options)) {
        if (!SetOptions(options)) {
            return;
        }
    } else {
        if (GetSheetOptions() == StatusAbortedByUser) {
            return;
        }
        if (WantsOptions(options)) {
            GetOptions(options);
        }
    }
}

bool Excel2007File::SetOptions(const NvImportOpenOptions* options) {
    try {
        SheetChoice::Read(*options, selectedSheets, vertical);
    } catch (...) {
        status = StatusBadOptions;
        return false;
    }
    const bool allThere = std::all_of(selectedSheets.begin(), selectedSheets.end(), [this](int sheet) {
        return sheet >= 0 && static_cast<std::size_t>(sheet) < sheetNames.size();
    });
    if (!allThere) {
        status = StatusBadOptions;
    }
    return allThere;
}

void Excel2007File::GetOptions(NvImportOpenOptions* options) {
    try {
        SheetChoice::Lend(selectedSheets, vertical, optionsBuffer, *options);
    } catch (...) {
        status = StatusBadOptions;
    }
}

// Takes the sheets that are no worksheets off the list: for each relationship that leads elsewhere, the
// first sheet with its id. The target is looked at for nothing else. `ids` is in step with sheetNames.
void Excel2007File::KeepWorksheets(const std::string& relationships, std::vector<std::string> ids,
                                   bool anyCase) {
    std::multimap<std::string, std::size_t> places;
    for (std::size_t place = 0; place < ids.size(); ++place) {
        places.emplace(anyCase ? ToLowerCase(ids[place]) : std::move(ids[place]), place);
    }
    std::vector<bool> isRemoved(sheetNames.size());
    ChildAttributesHandler handler(
        u"Relationships", u"Relationship", {u"Target", u"Id"}, [&](const std::vector<std::string>& values) {
            const std::string id = anyCase ? ToLowerCase(values[1]) : values[1];
            const auto found = places.lower_bound(id);
            const bool isWorksheet = values[0].find(WorksheetFolder) != std::string::npos;
            if (!isWorksheet && found != places.end() && found->first == id) {
                isRemoved[found->second] = true;
                places.erase(found);
            }
        });
    if (!InitParser(relationships, handler) || !handler.HasFoundNode()) {
        status = StatusCorrupt;
        return;
    }
    std::vector<std::string> names;
    std::vector<bool> hidden;
    for (std::size_t place = 0; place < isRemoved.size(); ++place) {
        if (!isRemoved[place]) {
            names.push_back(std::move(sheetNames[place]));
            hidden.push_back(hiddenSheets[place]);
        }
    }
    sheetNames = std::move(names);
    hiddenSheets = std::move(hidden);
}

std::string Excel2007File::GetSheetPartName(int place, const char* extension) {
    return NvString::Format("xl/worksheets/sheet%lld.%s", static_cast<long long>(place) + 1, extension);
}

int Excel2007File::InitSheetVector() {
    std::vector<std::string> ids;
    ChildAttributesHandler handler(
        u"sheets", u"sheet", {u"name", u"r:id", u"state"}, [&](const std::vector<std::string>& values) {
            if (!values[1].empty()) {
                sheetNames.push_back(values[0]);
                ids.push_back(values[1]);
                hiddenSheets.push_back(values[2] == "hidden" || values[2] == "veryHidden");
            }
        });
    if (InitParser(WorkbookPartName, handler) && handler.HasFoundNode()) {
        KeepWorksheets(RelationshipsPartName, std::move(ids), false);
    } else {
        status = StatusCorrupt;
    }
    return status;
}

// The part may be missing: then the cells that refer to it are empty.
int Excel2007File::InitSharedStrings() {
    sharedStrings.Clear();
    if (GetZipEntry(SharedStringsPartName) == nullptr) {
        return status;
    }
    SharedStringsHandler handler(sharedStrings);
    if (!InitParser(SharedStringsPartName, handler) || !handler.HasFoundNode()) {
        status = StatusCorrupt;
    }
    return status;
}

int Excel2007File::InitNumFormats() {
    numFormats.clear();
    if (GetZipEntry(StylesPartName) == nullptr) {
        return status;
    }
    ChildAttributesHandler handler(
        u"cellXfs", {}, {u"numFmtId"},
        [this](const std::vector<std::string>& values) { numFormats.push_back(ToInt(values[0])); });
    if (!InitParser(StylesPartName, handler)) {
        status = StatusCorrupt;
    }
    return status;
}

int Excel2007File::InitIsDateTime() {
    isDateFormat.clear();
    if (GetZipEntry(StylesPartName) == nullptr) {
        return status;
    }
    ChildAttributesHandler handler(u"numFmts", {}, {u"formatCode", u"numFmtId"},
                                   [this](const std::vector<std::string>& values) {
                                       isDateFormat[ToInt(values[1])] = IsDateFormat(values[0]);
                                   });
    if (!InitParser(StylesPartName, handler)) {
        status = StatusCorrupt;
    }
    return status;
}

// Only the first "Red" is taken out, and in this case only; other colours and quoted texts are searched
// for the letters of dates too.
bool Excel2007File::IsDateFormat(std::string code) {
    const std::size_t colour = code.find("Red");
    if (colour != std::string::npos) {
        code.erase(colour, 3);
    }
    return code.find_first_of("ymdhs") != std::string::npos;
}

std::vector<bool> Excel2007File::ListDateStyles() const {
    std::vector<bool> dateStyles;
    dateStyles.reserve(numFormats.size());
    for (const int format : numFormats) {
        const auto found = isDateFormat.find(format);
        dateStyles.push_back((format >= FirstDateFormat && format <= LastDateFormat) ||
                             (found != isDateFormat.end() && found->second));
    }
    return dateStyles;
}

bool Excel2007File::ReadSheet(int sheet, const std::vector<bool>& dateStyles, SheetContent& content) const {
    SheetHandler handler(dateStyles, content);
    return InitParser(GetSheetPartName(sheet, "xml"), handler) && handler.HasFoundNode();
}

// Moves the offsets behind the sheets read so far and tells the sink the size including this one. Side by
// side, `lastColSeen` is added again before every sheet and never set back: from the third sheet on the
// widest one counts more than once. Hosts have tables saved in this layout, so it stays.
bool Excel2007File::PlaceSheet(const SheetContent& content, XmlPlacement& placement,
                               ReadSpreadSheetData* sink) const {
    placement.colOffset += placement.lastColSeen;
    placement.rowOffset += placement.lastRowIndex;
    if (!FitsBehind(placement.colOffset, MaxSheetColumns) || !FitsBehind(placement.rowOffset, MaxSheetRows)) {
        return false;
    }
    const int rows = content.rows.back().number;
    if (vertical) {
        placement.lastRowIndex = rows;
        sink->SetDataSize(std::max(content.columns, placement.lastColSeenV),
                          static_cast<int>(rows + placement.rowOffset));
    } else {
        placement.maxRows = std::max(placement.maxRows, rows);
        sink->SetDataSize(static_cast<int>(content.columns + placement.colOffset), placement.maxRows);
    }
    return true;
}

void Excel2007File::PushRow(const SheetContent& content, std::size_t row, XmlPlacement& placement,
                            ReadSpreadSheetData* sink) const {
    const int rowNumber = static_cast<int>(content.rows[row].number + placement.rowOffset);
    int& lastCol = vertical ? placement.lastColSeenV : placement.lastColSeen;
    std::string buffer;
    const std::size_t end = content.EndOfRow(row);
    for (std::size_t i = content.rows[row].firstCell; i < end; ++i) {
        const SheetContent::Cell& cell = content.cells[i];
        lastCol = std::max(lastCol, cell.column);
        sink->Set(static_cast<int>(cell.column + placement.colOffset), rowNumber,
                  GetText(cell, sharedStrings, buffer));
    }
}

// The sink is asked by the place of a row in the part, not by its number.
void Excel2007File::PushRows(const SheetContent& content, XmlPlacement& placement,
                             ReadSpreadSheetData* sink) const {
    const auto count = static_cast<std::int64_t>(content.rows.size());
    std::int64_t row = 0;
    do {
        row = sink->NextRowToRead(static_cast<int>(row + placement.rowOffset)) - placement.rowOffset;
        if (row < 1 || row > count) {
            return;
        }
        PushRow(content, static_cast<std::size_t>(row - 1), placement, sink);
    } while (row < count);
}

int Excel2007File::ReadXML(ReadSpreadSheetData* sink) {
    if (!CanRead()) {
        return status;
    }
    const std::vector<int> selection = selectedSheets;
    if (InitSharedStrings() != StatusOk || InitNumFormats() != StatusOk || InitIsDateTime() != StatusOk) {
        return status;
    }
    const std::vector<bool> dateStyles = ListDateStyles();
    XmlPlacement placement;
    std::size_t emptySheets = 0;
    for (const int sheet : selection) {
        SheetContent content;
        if (!ReadSheet(sheet, dateStyles, content)) {
            status = StatusCorrupt;
            return status;
        }
        if (content.rows.empty()) {
            ++emptySheets;
            continue;
        }
        if (!PlaceSheet(content, placement, sink)) {
            status = StatusCorrupt;
            return status;
        }
        PushRows(content, placement, sink);
    }
    if (emptySheets == selection.size()) {
        status = StatusNoData;
    }
    return status;
}

void Excel2007File::ReadDimension(Part& part) const {
    if (const auto stream = OpenPart(GetSheetPartName(part.number, "xml"))) {
        DimensionHandler handler;
        ParseXml(*stream, handler);
        part.cols = handler.GetColumns();
        part.rows = handler.GetRows();
    }
}

std::vector<FileContents::Part> Excel2007File::ListParts() {
    std::vector<Part> parts;
    for (std::size_t place = 0; place < sheetNames.size(); ++place) {
        Part part;
        part.kind = "sheet";
        part.name = sheetNames[place];
        part.number = static_cast<int>(place);
        part.hidden = hiddenSheets[place];
        if (isBinary) {
            ReadBinaryDimension(part);
        } else {
            ReadDimension(part);
        }
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> Excel2007File::ListFacts() {
    return {{"flavour", isBinary ? "binary (.xlsb)" : "XML (.xlsx)"},
            {"sheets", std::to_string(sheetNames.size())}};
}

Excel2007FileFactory::Excel2007FileFactory(signed char priority)
    : SprFileFactory("Excel2007 File", "Excel 2007 Files (*.xlsx; *.xlsb)", "Excel 2007 Files (*.xlsx)", 2,
                     ".xlsx\0.xlsb\0", 0, 1, 0, 1, 0, priority) {}

MyKindOfFile Excel2007FileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* Excel2007FileFactory::GetSpreadsheetFile() {
    return new Excel2007File;
}

static Excel2007FileFactory excel2007FileFactory(1);
