#include "spreadsheet/Excel2007File.h"

#include <algorithm>
#include <istream>
#include <limits>
#include <utility>

#include "base/Exception.h"
#include "base/PathNames.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "frame/OptionsText.h"
#include "host/NvString.h"
#include "host/NvSystemInfo.h"
#include "spreadsheet/BinaryBook.h"
#include "spreadsheet/SheetChoice.h"
#include "spreadsheet/SheetList.h"
#include "spreadsheet/WorkbookCells.h"
#include "spreadsheet/WorkbookPackage.h"
#include "spreadsheet/XmlBook.h"

namespace {

// The extension that stands for the XML flavour in the classic reading, in this case only.
constexpr const char* XmlExtension = "xlsx";

// Where the parts lie by the classic reading, and where they are looked for when nothing says where they are.
const BookParts XmlParts{"xl/workbook.xml", "xl/sharedStrings.xml", "xl/styles.xml"};
const BookParts BinaryParts{"xl/workbook.bin", "xl/sharedStrings.bin", "xl/styles.bin"};

constexpr std::string_view WorkbookType = "/relationships/officedocument";
constexpr std::string_view SharedStringsType = "/relationships/sharedstrings";
constexpr std::string_view StylesType = "/relationships/styles";
constexpr std::string_view ApplicationType = "/relationships/extended-properties";
constexpr std::string_view DocumentType = "/metadata/core-properties";

// The part of the one relationship of a type, seen from another part; empty where there is none.
std::string FindTarget(const std::vector<WorkbookPackage::Relationship>& relationships,
                       std::string_view type) {
    const auto found = std::find_if(
        relationships.begin(), relationships.end(),
        [type](const auto& relationship) { return ToLowerCase(relationship.type).ends_with(type); });
    return found == relationships.end() ? std::string() : found->target;
}

// XML begins with its bracket, a mark or, in UTF-16, with either and a NUL; the first record of a binary
// workbook with an id of two bytes.
bool BeginsAsXml(const WorkbookPackage& package, const std::string& part) {
    const auto stream = package.OpenPart(part);
    const int first = stream == nullptr ? 0 : stream->get();
    constexpr std::string_view xmlBeginnings("<\t\r\n \xef\xfe\xff\0",
                                             9);  // a letter, a blank, a byte order mark
    return first >= 0 && xmlBeginnings.find(static_cast<char>(first)) != std::string_view::npos;
}

// Whether positions beyond an offset can still be told to a sink.
bool FitsBehind(std::int64_t offset, int size) {
    return offset <= std::numeric_limits<int>::max() - size;
}

std::string DescribeFlavour(const std::string& contentType, bool isBinary) {
    struct Flavour {
        std::string_view type;
        const char* text;
    };
    static constexpr Flavour Flavours[] = {{"spreadsheetml.template.main", "XML template (.xltx)"},
                                           {"sheet.macroenabled.main", "XML with macros (.xlsm)"},
                                           {"template.macroenabled.main", "XML template with macros (.xltm)"},
                                           {"addin.macroenabled.main", "XML add-in (.xlam)"}};
    const std::string type = ToLowerCase(contentType);
    for (const Flavour& flavour : Flavours) {
        if (!isBinary && type.find(flavour.type) != std::string::npos) {
            return flavour.text;
        }
    }
    return isBinary ? "binary (.xlsb)" : "XML (.xlsx)";
}

void AddFact(std::vector<FileContents::Fact>& facts, const char* name, const std::string& value) {
    if (!value.empty()) {
        facts.emplace_back(name, value);
    }
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

// The bases are the positions of a sheet's first cell.
struct Excel2007File::BinaryPlacement {
    bool vertical = false;
    std::int64_t rowBase = 1;
    std::int64_t colBase = 1;
    std::int64_t rowTotal = 0;
    std::int64_t colTotal = 0;
    int maxRows = 0;
    int maxCols = 0;
    unsigned long unknownRecords = 0;

    // Tells the sink the size including this sheet; false for a size that no sheet can have.
    bool Place(const SheetSize& size, ReadSpreadSheetData& sink) {
        if (size.rows < 0) {
            return false;
        }
        if (vertical) {
            maxCols = std::max(maxCols, size.cols);
            rowBase = rowTotal + 1;
            rowTotal += size.rows;
        } else {
            maxRows = std::max(maxRows, size.rows);
            colBase = colTotal + 1;
            colTotal += size.cols;
        }
        // A cell may stand anywhere in a sheet, whatever its size says.
        if (!FitsBehind(rowBase, MaxSheetRows) || !FitsBehind(colBase, MaxSheetColumns)) {
            return false;
        }
        sink.SetDataSize(static_cast<int>(vertical ? maxCols : colTotal),
                         static_cast<int>(vertical ? rowTotal : maxRows));
        return true;
    }
};

// Puts the cells of binary sheets into the table as they come.
class Excel2007File::BinaryReceiver : public SheetReceiver {
public:
    BinaryReceiver(const Book& book, ReadSpreadSheetData& readerSink, BinaryPlacement& sheetPlacement,
                   LeftOutCells& leftOut)
        : sink(readerSink), placement(sheetPlacement), cells(book, readerSink, leftOut) {}

    bool TakeSize(const SheetSize& size) override { return placement.Place(size, sink); }
    bool TakeCell(const SheetCell& cell) override {
        return cells.Push(cell, static_cast<int>(cell.col - 1 + placement.colBase),
                          static_cast<int>(cell.row - 1 + placement.rowBase));
    }
    void TakeOtherRecord() override { ++placement.unknownRecords; }

private:
    ReadSpreadSheetData& sink;
    BinaryPlacement& placement;
    ClassicBinaryCells cells;
};

Excel2007File::Excel2007File() = default;
Excel2007File::~Excel2007File() = default;

void Excel2007File::Close() {
    book.reset();
    package.reset();
    sheets.clear();
    sheetNames.clear();
    selectedSheets.clear();
    vertical = false;
    extent.reset();
    workbookPart.clear();
    warning.clear();
    optionsBuffer.clear();
    FormatReader::Close();
}

void Excel2007File::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusNoData, "The sheet(s) contains no data."},
        {StatusNoSheets, "The file contains no sheets."},
        {StatusBadOptions, "Unable to open Excel file."},
        {StatusCorrupt, "The file is corrupt."},
        {StatusWrongSheetSize, "At least one of the sheets do not have a correct size."},
        {StatusUnsupported, "The file contains an unsupported format."}};
    CopyStatusText(Texts, buffer, size);
}

const char* Excel2007File::GetWarningMessage() {
    return warning.empty() ? nullptr : warning.c_str();
}

int Excel2007File::GetNumCols() {
    return IsComplete() && CanRead() ? GetExtent().cols : 1;
}

int Excel2007File::GetNumRows() {
    return IsComplete() && CanRead() ? GetExtent().rows : 1;
}

int Excel2007File::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    TakeSheets({});
    selectedSheets.clear();
    extent.reset();
    book.reset();
    package.reset();
    workbookPart.clear();
    isBinary = false;
    return WithinBudget(StatusCorrupt, [&] {
        if (IsComplete()) {
            OpenComplete(path);
        } else {
            OpenClassic(path);
        }
        if (status == StatusOk) {
            IsComplete() ? GetCompleteSheet(options) : GetSheet(options);
        }
        return status;
    });
}

void Excel2007File::OpenClassic(const char* path) {
    package = std::make_unique<WorkbookPackage>(path, WorkbookPackage::Names::AsStored, GetContext());
    isBinary = NvGetFileExtension(path) != XmlExtension;
    if (isBinary) {
        book = std::make_unique<BinaryBook>(*package, BinaryParts, RecordForm::Short, GetContext());
    } else {
        book = std::make_unique<XmlBook>(*package, XmlParts, XmlForm::Literal, GetContext());
    }
    workbookPart = isBinary ? BinaryParts.workbook : XmlParts.workbook;
    std::vector<Book::Sheet> listed;
    std::vector<WorkbookSheet> list;
    const bool isListed = book->ReadSheetList(listed);
    if (isBinary) {
        // The classic rule of records: hidden sheets aren't there.
        SheetList::DropHidden(listed, GetContext()->notes);
    }
    // A binary workbook that lists no sheet is looked at no further.
    if (!isListed ||
        (!(isBinary && listed.empty()) &&
         !SheetList::KeepWorksheets(*package, WorkbookPackage::GetRelationshipsPart(workbookPart), isBinary,
                                    isBinary ? "bin" : "xml", listed, list))) {
        status = StatusCorrupt;
        return;
    }
    TakeSheets(std::move(list));
}

void Excel2007File::OpenComplete(const char* path) {
    package = std::make_unique<WorkbookPackage>(path, WorkbookPackage::Names::AnyCase, GetContext());
    workbookPart = FindWorkbookPart();
    if (workbookPart.empty()) {
        status = StatusCorrupt;
        failureText = "The file is a zip archive but holds no workbook.";
        return;
    }
    isBinary = !BeginsAsXml(*package, workbookPart);
    const char* const extension = isBinary ? ".bin" : ".xml";
    const BookParts parts{workbookPart,
                          FindTable(SharedStringsType, std::string("sharedStrings") + extension),
                          FindTable(StylesType, std::string("styles") + extension)};
    if (isBinary) {
        book = std::make_unique<BinaryBook>(*package, parts, RecordForm::Full, GetContext());
    } else {
        book = std::make_unique<XmlBook>(*package, parts, XmlForm::Full, GetContext());
    }
    std::vector<Book::Sheet> listed;
    if (!book->ReadSheetList(listed)) {
        status = StatusCorrupt;
        failureText = "The workbook's list of sheets can't be read: " + workbookPart + " is damaged.";
        failurePlace.part = workbookPart;
        return;
    }
    std::vector<WorkbookSheet> list;
    SheetList::ResolveWorksheets(*package, workbookPart, listed, list, GetContext()->notes);
    TakeSheets(std::move(list));
}

// By what the package says, or else by the names that workbooks have.
std::string Excel2007File::FindWorkbookPart() const {
    for (const std::string& name : {FindTarget(package->ReadRelationships({}), WorkbookType),
                                    XmlParts.workbook, BinaryParts.workbook}) {
        if (!name.empty() && package->HasPart(name)) {
            return name;
        }
    }
    return {};
}

// A table of the workbook: where its relationship leads, or else beside the workbook by its usual name.
std::string Excel2007File::FindTable(std::string_view type, const std::string& usualName) const {
    const std::string target = FindTarget(package->ReadRelationships(workbookPart), type);
    return target.empty() ? WorkbookPackage::ResolveTarget(workbookPart, usualName) : target;
}

void Excel2007File::TakeSheets(std::vector<WorkbookSheet> list) {
    sheets = std::move(list);
    sheetNames.clear();
    for (const WorkbookSheet& sheet : sheets) {
        sheetNames.push_back(sheet.name);
    }
}

int Excel2007File::Read(ReadSpreadSheetData* sink) {
    if (!CanRead()) {
        return status;
    }
    return WithinBudget(StatusCorrupt, [&] {
        if (IsComplete()) {
            return ReadComplete(sink);
        }
        return isBinary ? ReadBinary(sink) : ReadXmlSheets(sink);
    });
}

// The size is told to the sink in Read: classically it isn't known before.
int Excel2007File::EstablishSize() {
    numCols = GetNumCols();
    numRows = GetNumRows();
    return StatusOk;
}

int Excel2007File::GetSheetOptions() {
    selectedSheets.assign(1, 0);
    vertical = true;
    return status;
}

bool Excel2007File::CanRead() {
    if (status == StatusOk && book == nullptr) {
        status = StatusWrongMode;
    }
    return status == StatusOk;
}

void Excel2007File::GetSheet(NvImportOpenOptions* options) {
    if (sheetNames.empty()) {
        status = StatusNoSheets;
        return;
    }
    if (sheetNames.size() == 1) {
        selectedSheets.assign(1, 0);
    } else if (HasOptions(options)) {
        SetOptions(options);
    } else if (GetSheetOptions() != StatusAbortedByUser) {
        if (selectedSheets.size() == 1 && static_cast<std::size_t>(selectedSheets.front()) < sheets.size()) {
            SheetList::NoteOthers(sheets, static_cast<std::size_t>(selectedSheets.front()),
                                  GetContext()->notes);
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
        return sheet >= 0 && static_cast<std::size_t>(sheet) < sheets.size();
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

void Excel2007File::GetCompleteSheet(NvImportOpenOptions* options) {
    if (sheets.empty()) {
        status = StatusNoSheets;
        return;
    }
    vertical = true;
    if (HasOptions(options) && !SetCompleteOptions(options)) {
        status = StatusBadOptions;
        return;
    }
    if (selectedSheets.empty()) {
        const std::size_t chosen = SheetList::GetDefault(sheets);
        selectedSheets.assign(1, static_cast<int>(chosen));
        SheetList::NoteOthers(sheets, chosen, GetContext()->notes);
    }
    if (WantsOptions(options)) {
        SheetChoice::LendParts(GetChosenParts(), vertical, optionsBuffer, *options);
    }
}

// Chooses nothing where the record names no sheet; false for one that isn't there.
bool Excel2007File::SetCompleteOptions(const NvImportOpenOptions* options) {
    try {
        const CompleteOptions wanted(options);
        vertical = SheetChoice::ReadVertical(options);
        std::vector<int> places;
        if (const auto parts = wanted.GetText(CompleteOptions::Part)) {
            const auto found = FindParts(ListSheets(), *parts);
            if (!found) {
                failureText = "There is no sheet \"" + *parts + "\" in the workbook.";
                return false;
            }
            selectedSheets.assign(found->begin(), found->end());
        } else if (wanted.GetSettings() != nullptr &&
                   wanted.GetSettings()->Read(SheetChoice::Sheets, places)) {
            return SelectClassicPlaces(places);
        }
        return true;
    } catch (const std::ios_base::failure&) {
        return false;
    }
}

// The classic list of a binary workbook is without its hidden sheets.
bool Excel2007File::SelectClassicPlaces(const std::vector<int>& places) {
    std::vector<int> listed;
    for (std::size_t place = 0; place < sheets.size(); ++place) {
        if (!(isBinary && sheets[place].hidden)) {
            listed.push_back(static_cast<int>(place));
        }
    }
    for (const int place : places) {
        if (place < 0 || static_cast<std::size_t>(place) >= listed.size()) {
            return false;
        }
        selectedSheets.push_back(listed[static_cast<std::size_t>(place)]);
    }
    return true;
}

// By name where that is one sheet's alone and no list of them, else by their places.
std::string Excel2007File::GetChosenParts() const {
    if (selectedSheets.size() == 1) {
        const std::string& name = sheetNames[static_cast<std::size_t>(selectedSheets.front())];
        const auto found = FindParts(ListSheets(), name);
        if (found && found->size() == 1 &&
            found->front() == static_cast<std::size_t>(selectedSheets.front())) {
            return name;
        }
    }
    std::string places;
    for (const int place : selectedSheets) {
        places += (places.empty() ? "" : ",") + std::to_string(place + 1);
    }
    return places;
}

// Tells the sink the size including this sheet. Side by side, `lastColSeen` is added again before every sheet
// and never set back: from the third sheet on the widest one counts more than once, as the layout of sheets
// side by side wants it.
bool Excel2007File::PlaceSheet(const ClassicXmlSheet& sheet, XmlPlacement& placement,
                               ReadSpreadSheetData* sink) const {
    placement.colOffset += placement.lastColSeen;
    placement.rowOffset += placement.lastRowIndex;
    if (!FitsBehind(placement.colOffset, MaxSheetColumns) || !FitsBehind(placement.rowOffset, MaxSheetRows)) {
        return false;
    }
    const int rows = sheet.GetRows().back().number;
    if (vertical) {
        placement.lastRowIndex = rows;
        sink->SetDataSize(std::max(sheet.GetColumns(), placement.lastColSeenV),
                          static_cast<int>(rows + placement.rowOffset));
    } else {
        placement.maxRows = std::max(placement.maxRows, rows);
        sink->SetDataSize(static_cast<int>(sheet.GetColumns() + placement.colOffset), placement.maxRows);
    }
    return true;
}

void Excel2007File::PushRow(const ClassicXmlSheet& sheet, std::size_t row, XmlPlacement& placement,
                            ReadSpreadSheetData* sink) const {
    const ClassicXmlSheet::Row& present = sheet.GetRows()[row];
    const int rowNumber = static_cast<int>(present.number + placement.rowOffset);
    int& lastCol = vertical ? placement.lastColSeenV : placement.lastColSeen;
    std::string buffer;
    const std::size_t end = sheet.EndOfRow(row);
    for (std::size_t i = present.firstCell; i < end; ++i) {
        const ClassicXmlSheet::Cell& cell = sheet.GetCell(i);
        lastCol = std::max(lastCol, cell.column);
        sink->Set(static_cast<int>(cell.column + placement.colOffset), rowNumber,
                  ClassicXmlSheet::GetText(cell, book->GetSharedStrings(), buffer));
    }
}

// The sink is asked by the place of a row in the part, not by its number.
void Excel2007File::PushRows(const ClassicXmlSheet& sheet, XmlPlacement& placement,
                             ReadSpreadSheetData* sink) const {
    const auto count = static_cast<std::int64_t>(sheet.GetRows().size());
    std::int64_t row = 0;
    do {
        row = sink->NextRowToRead(static_cast<int>(row + placement.rowOffset)) - placement.rowOffset;
        if (row < 1 || row > count) {
            return;
        }
        PushRow(sheet, static_cast<std::size_t>(row - 1), placement, sink);
    } while (row < count);
}

int Excel2007File::ReadXML(ReadSpreadSheetData* sink) {
    return CanRead() ? WithinBudget(StatusCorrupt, [&] { return ReadXmlSheets(sink); }) : status;
}

int Excel2007File::ReadXmlSheets(ReadSpreadSheetData* sink) {
    const std::vector<int> selection = selectedSheets;
    if (!book->ReadTables()) {
        status = StatusCorrupt;
        return status;
    }
    const std::vector<bool> dateStyles = ClassicXmlSheet::ListDateStyles(book->GetStyles());
    XmlPlacement placement;
    LeftOutCells leftOut;
    std::size_t emptySheets = 0;
    for (const int place : selection) {
        ClassicXmlSheet sheet(dateStyles, GetContext(), leftOut);
        if (!book->ReadSheet(sheets[static_cast<std::size_t>(place)].part, sheet)) {
            status = StatusCorrupt;
            return status;
        }
        if (sheet.GetRows().empty()) {
            ++emptySheets;
            continue;
        }
        if (!PlaceSheet(sheet, placement, sink)) {
            status = StatusCorrupt;
            return status;
        }
        PushRows(sheet, placement, sink);
    }
    leftOut.AddTo(GetContext()->notes);
    if (emptySheets == selection.size()) {
        status = StatusNoData;
    }
    return status;
}

// All rows are pushed: the sink isn't asked for the next one in this flavour.
int Excel2007File::ReadBinary(ReadSpreadSheetData* sink) {
    const std::vector<int> selection = selectedSheets;
    if (!book->ReadTables()) {
        status = StatusCorrupt;
        return status;
    }
    BinaryPlacement placement;
    placement.vertical = vertical;
    LeftOutCells leftOut;
    BinaryReceiver receiver(*book, *sink, placement, leftOut);
    for (const int place : selection) {
        if (!book->ReadSheet(sheets[static_cast<std::size_t>(place)].part, receiver)) {
            status = StatusCorrupt;
            return status;
        }
    }
    leftOut.AddTo(GetContext()->notes);
    if (placement.unknownRecords != 0) {
        const std::string name = NvSystemInfo::GetApplicationName();
        warning += NvString::Format(
            "%lu record(s) was found that %s doesn't know how to read.\nThese can be web-links, drawings, "
            "formulas or other type of data that isn't\ninteresting for %s.\n",
            placement.unknownRecords, name.c_str(), name.c_str());
    }
    // Only the last text counts: a good one behind a bad one makes up for it.
    if (!book->AreTextsGood()) {
        status = StatusCorrupt;
    }
    return status;
}

// A sheet that can't be read costs itself; where it is the only one, the read.
int Excel2007File::ReadComplete(ReadSpreadSheetData* sink) {
    if (!book->ReadTables()) {
        failureText = "The workbook's shared strings or styles can't be read: their part is damaged.";
        status = StatusCorrupt;
        return status;
    }
    CellOutput output(*sink);
    CompleteCells cells(*book, *sink, output, GetContext());
    const bool isOnly = selectedSheets.size() == 1;
    SheetSize size{0, 0};
    for (const int place : selectedSheets) {
        const WorkbookSheet& sheet = sheets[static_cast<std::size_t>(place)];
        if (!FitsBehind(size.rows, MaxSheetRows) || !FitsBehind(size.cols, MaxSheetColumns)) {
            failureText = "The chosen sheets are more than a table can hold.";
            status = StatusCorrupt;
            return status;
        }
        cells.BeginSheet(isOnly ? std::string() : sheet.name, vertical ? 0 : size.cols,
                         vertical ? size.rows : 0, isOnly || vertical);
        const bool isWhole = book->ReadSheet(sheet.part, cells);
        cells.EndSheet();
        if (!isWhole) {
            if (isOnly) {
                failureText = "The " + DescribeFailure(sheet) + ".";
                failurePlace.part = sheet.part;
                if (const SheetSize& last = cells.GetLastCell(); last.rows > 0) {
                    failurePlace.cell = GetCellName(sheet.name, last.cols, last.rows);
                }
                status = StatusCorrupt;
                return status;
            }
            AddNote({"damaged-sheet", 1, sheet.name, "the " + DescribeFailure(sheet)});
        }
        const SheetSize& found = cells.GetExtent();
        if (found.rows == 0) {
            AddNote({"empty-sheet", 1, sheet.name, "the sheet \"" + sheet.name + "\" is empty"});
        }
        size.cols = vertical ? std::max(size.cols, found.cols) : size.cols + found.cols;
        size.rows = vertical ? size.rows + found.rows : std::max(size.rows, found.rows);
    }
    extent = std::make_unique<SheetSize>(size);
    sink->SetDataSize(size.cols, size.rows);
    output.EndRow(size.rows);
    cells.AddNotes(GetContext()->notes);
    return status;
}

std::string Excel2007File::DescribeFailure(const WorkbookSheet& sheet) const {
    return "sheet \"" + sheet.name + "\" can't be read to its end: its part " + sheet.part +
           (package->HasPart(sheet.part) ? " is damaged" : " isn't in the file");
}

SheetSize Excel2007File::MeasureSheet(const WorkbookSheet& sheet) const {
    ExtentReceiver receiver;
    book->ReadSheet(sheet.part, receiver);
    return receiver.GetExtent();
}

const SheetSize& Excel2007File::GetExtent() {
    if (extent == nullptr) {
        SheetSize size{0, 0};
        WithinBudget(StatusCorrupt, [&] {
            for (const int place : selectedSheets) {
                const SheetSize found = MeasureSheet(sheets[static_cast<std::size_t>(place)]);
                size.cols = vertical ? std::max(size.cols, found.cols) : size.cols + found.cols;
                size.rows = vertical ? size.rows + found.rows : std::max(size.rows, found.rows);
            }
            return status;
        });
        extent = std::make_unique<SheetSize>(size);
    }
    return *extent;
}

std::vector<FileContents::Part> Excel2007File::ListSheets() const {
    std::vector<Part> parts;
    for (std::size_t place = 0; place < sheets.size(); ++place) {
        Part part;
        part.kind = "sheet";
        part.name = sheets[place].name;
        part.number = static_cast<int>(place);
        part.hidden = sheets[place].hidden;
        parts.push_back(std::move(part));
    }
    return parts;
}

// Programs that write row by row leave a size of one cell behind: that, or none, is looked up in the complete
// reading.
std::vector<FileContents::Part> Excel2007File::ListParts() {
    std::vector<Part> parts = ListSheets();
    try {
        for (Part& part : parts) {
            const WorkbookSheet& sheet = sheets[static_cast<std::size_t>(part.number)];
            SheetSize size = book->ReadClaimedSize(sheet.part);
            if (IsComplete() && (size.cols < 0 || (size.cols == 1 && size.rows == 1))) {
                size = MeasureSheet(sheet);
            }
            part.cols = size.cols;
            part.rows = size.rows;
        }
    } catch (const karta::BudgetExceeded&) {
        // The other sizes stay unknown.
    }
    return parts;
}

std::vector<FileContents::Fact> Excel2007File::ListFacts() {
    std::vector<Fact> facts;
    if (IsComplete() && package == nullptr) {
        return facts;
    }
    facts.emplace_back("flavour",
                       DescribeFlavour(IsComplete() ? package->GetContentType(workbookPart) : "", isBinary));
    facts.emplace_back("sheets", std::to_string(sheetNames.size()));
    if (IsComplete()) {
        AddPackageFacts(facts);
    }
    return facts;
}

void Excel2007File::AddPackageFacts(std::vector<Fact>& facts) const {
    facts.emplace_back("date system", book->GetDateSystem() == DateSystem::From1904 ? "1904" : "1900");
    const auto relationships = package->ReadRelationships({});
    PropertiesHandler application;
    package->ParsePart(FindTarget(relationships, ApplicationType), application, XmlNames::ByNamespace);
    const std::string& version = application.Get("AppVersion");
    AddFact(facts, "application", application.Get("Application") + (version.empty() ? "" : " " + version));
    PropertiesHandler document;
    package->ParsePart(FindTarget(relationships, DocumentType), document, XmlNames::ByNamespace);
    AddFact(facts, "title", document.Get("title"));
    AddFact(facts, "author", document.Get("creator"));
    AddFact(facts, "created", document.Get("created"));
    AddFact(facts, "modified", document.Get("modified"));
}

Excel2007FileFactory::Excel2007FileFactory(char priority)
    : SprFileFactory("Excel2007 File", "Excel 2007 Files (*.xlsx; *.xlsb)", "Excel 2007 Files (*.xlsx)", 2,
                     ".xlsx\0.xlsb\0", 0, 1, 0, 1, 0, priority) {}

MyKindOfFile Excel2007FileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* Excel2007FileFactory::GetSpreadsheetFile() {
    return new Excel2007File;
}

static Excel2007FileFactory excel2007FileFactory(1);

// A zip archive whose list of content types names a workbook.
static FormatRecogniser::Evidence RecogniseWorkbook(const char* path, std::string_view head) {
    if (!head.starts_with("PK")) {
        return FormatRecogniser::Evidence::None;
    }
    try {
        const WorkbookPackage package(path, WorkbookPackage::Names::AnyCase, nullptr);
        return package.HasWorkbook() ? FormatRecogniser::Evidence::Proof : FormatRecogniser::Evidence::None;
    } catch (const Exception&) {
        return FormatRecogniser::Evidence::None;
    }
}

static const FormatRecogniser Excel2007Recogniser("Excel2007 File", "xlsx", {".xlsm", ".xltx", ".xltm"},
                                                  RecogniseWorkbook);
