#include "spreadsheet/LotusFile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include "frame/CellOutput.h"
#include "frame/CellRuns.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "spreadsheet/CellErrors.h"
#include "spreadsheet/NumberFormats.h"

namespace {

// The first record: type 0, its length telling the generation, and the version behind it.
constexpr int TypeBeginningOfFile = 0;
constexpr int OldBofLength = 2;
constexpr int NewBofLength = 26;
constexpr std::size_t BofSize = 6;

constexpr int VersionWks = 0x0404;
constexpr int VersionSymphony = 0x0405;
constexpr int VersionWk1 = 0x0406;

constexpr int VersionWk3 = 0x1000;
constexpr int VersionWk4 = 0x1002;
constexpr int VersionWorkbook = 0x1003;
constexpr int VersionJapanese = 0x0600;
constexpr int VersionForm = 0x8007;

constexpr int TypeEndOfFile = 1;
constexpr int TypeDimensions = 6;
constexpr int TypeInteger = 13;
constexpr int TypeNumber = 14;
constexpr int TypeLabel = 15;
constexpr int TypeFormula = 16;
constexpr int TypeString = 51;
// No record of this generation has a greater type.
constexpr int LastType = 0x100;
// No version has more columns; nothing lies beyond but damage.
constexpr int LastColumn = 256;

// First column, first row, last column, last row.
constexpr std::size_t DimensionsSize = 8;

// The bodies of cells: a format byte, column and row, then the value.
constexpr int IntegerSize = 7;
constexpr int NumberSize = 13;
constexpr int FormulaSize = 13;
// With the alignment prefix and no text.
constexpr int LabelSize = 6;

// The program's own page; the pages of other countries' versions can't be told from a file.
constexpr int OemCodePage = 850;

// How often a walk looks whether it is to stop.
constexpr int RecordsBetweenLooks = 4096;

#define SUPPORTED_FORMATS                                                                                 \
    "Lotus 1-2-3 version 1.A (WKS)\r\nLotus 1-2-3 version 2.0-2.2 (WK1)\r\nSymphony file 1.0/1.01 (WRK) " \
    "and\r\nSymphony file 1.1/1.2/2.0 (WR1)."

// The fewest bytes of a cell's body; 0 for records that are no cells.
int SmallestBody(int type) {
    switch (type) {
        case TypeInteger:
            return IntegerSize;
        case TypeNumber:
            return NumberSize;
        case TypeLabel:
            return LabelSize;
        case TypeFormula:
            return FormulaSize;
        default:
            return 0;
    }
}

int StatusOfOldVersion(int version) {
    switch (version) {
        case VersionWks:
        case VersionSymphony:
        case VersionWk1:
            return SpreadsheetFile::StatusOk;
        default:
            return LotusFile::StatusUnknownVersion;
    }
}

int StatusOfNewVersion(int version) {
    switch (version) {
        case VersionWk3:
            return LotusFile::StatusVersion3;
        case VersionWk4:
            return LotusFile::StatusVersion4;
        case VersionJapanese:
            return LotusFile::StatusJapanese;
        case VersionForm:
            return LotusFile::StatusFormFile;
        case VersionWorkbook:
            return LotusFile::StatusWorkbook;
        default:
            return LotusFile::StatusUnknownVersion;
    }
}

// What the last versions mark a cell without a number by: an infinity for an error, the other for a value
// that isn't available.
bool IsError(double value) {
    return !std::isfinite(value);
}

std::string_view ErrorTextOf(double value) {
    return std::signbit(value) ? "NA" : "ERR";
}

// What a cell's format byte shows of its number; its highest bit protects the cell.
NumberKind KindOf(std::uint8_t format) {
    switch (format & 0x7F) {
        case 0x72:
        case 0x73:
        case 0x74:
        case 0x79:
        case 0x7A:
            return NumberKind::Date;
        case 0x77:
        case 0x78:
        case 0x7B:
        case 0x7C:
            return NumberKind::Time;
        default:
            return NumberKind::Number;
    }
}

// The numbers that the classic reading passes on from a formula, bit for bit.
bool IsValidDouble(double value) {
    switch (std::bit_cast<std::uint64_t>(value)) {
        case 0xFFF8000000000000:
        case 0x7FF0000000000000:
        case 0xFFF0000000000000:
        case 0xFAFFFFFFFFFFFFFF:
            return true;
        default:
            return false;
    }
}

FormatRecogniser::Evidence Recognise(const char* /*path*/, std::string_view head) {
    ByteCursor cursor({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
    const int type = cursor.ReadI16();
    const int length = cursor.ReadI16();
    const int version = cursor.ReadU16();
    const bool isKnown =
        (length == OldBofLength && StatusOfOldVersion(version) == SpreadsheetFile::StatusOk) ||
        (length == NewBofLength && StatusOfNewVersion(version) != LotusFile::StatusUnknownVersion);
    return !cursor.HasFailed() && type == TypeBeginningOfFile && isKnown ? FormatRecogniser::Evidence::Proof
                                                                         : FormatRecogniser::Evidence::None;
}

}  // namespace

/** The complete rule: every cell as what it is, and what its formula gave. */
class LotusFile::CompleteCells {
public:
    /** All stay the caller's, who ends the numbers. */
    CompleteCells(CellOutput& cellOutput, CellRuns& plainNumbers, const CodePage& labels)
        : output(&cellOutput), numbers(&plainNumbers), codePage(labels) {}
    /** The cells are only measured. */
    explicit CompleteCells(const CodePage& labels) : codePage(labels) {}

    void Take(const Cell& cell) {
        if (cell.col < 1 || cell.col > LastColumn || cell.row < 1) {
            ++outside;
            return;
        }
        if (cell.kind == Cell::Kind::String) {
            // It tells what the formula gave in place of its number.
            formula.reset();
        } else {
            Flush();
        }
        cols = std::max(cols, cell.col);
        rows = std::max(rows, cell.row);
        if (cell.kind == Cell::Kind::Formula) {
            formula = cell;
        } else if (output != nullptr) {
            Put(cell);
        }
    }

    void Finish(karta::Notes& notes) {
        Flush();
        errors.AddTo(notes);
        if (outside > 0) {
            notes.Add({"cells-outside",
                       outside,
                       {},
                       karta::CountOf(outside, "cell") + " with a place outside of any sheet " +
                           (outside == 1 ? "is" : "are") + " left out"});
        }
    }

    int GetCols() const { return cols; }
    int GetRows() const { return rows; }

private:
    // The last formula's number, unless a text has taken its place.
    void Flush() {
        if (formula && output != nullptr) {
            Put(*formula);
        }
        formula.reset();
    }

    void Put(const Cell& cell) {
        if (cell.kind == Cell::Kind::Label || cell.kind == Cell::Kind::String) {
            numbers->End(cell.col);
            output->Text(cell.col, cell.row, codePage.ToUtf8(cell.text));
        } else if (IsError(cell.number)) {
            numbers->End(cell.col);
            errors.Add(cell.col, cell.row, ErrorTextOf(cell.number));
            output->Error(cell.col, cell.row, ErrorTextOf(cell.number));
        } else if (const NumberKind kind = KindOf(cell.format); kind == NumberKind::Number) {
            numbers->Put(cell.col, cell.row, cell.number);
        } else {
            numbers->End(cell.col);
            PutDated(*output, cell.col, cell.row, cell.number, kind, DateSystem::From1900);
        }
    }

    CellOutput* output = nullptr;
    CellRuns* numbers = nullptr;
    const CodePage& codePage;
    std::optional<Cell> formula;
    ErrorCells errors;
    std::uint64_t outside = 0;
    int cols = 0;
    int rows = 0;
};

/** The classic rule: bytes as they stand, and formulas empty but for four markers. */
class LotusFile::ClassicCells {
public:
    ClassicCells(ReadSpreadSheetData& target, int tableCols, int tableRows)
        : sink(target), cols(tableCols), rows(tableRows) {}

    void Take(const Cell& cell) {
        const bool isInside = cell.col >= 1 && cell.col <= cols && cell.row >= 1 && cell.row <= rows;
        if (cell.kind == Cell::Kind::Formula) {
            TakeFormula(cell, isInside);
        } else if (cell.kind == Cell::Kind::String) {
            return;
        } else if (!isInside) {
            ++dropped;
        } else if (cell.kind == Cell::Kind::Integer) {
            sink.Set(cell.col, cell.row, static_cast<int>(cell.number));
        } else if (cell.kind == Cell::Kind::Number) {
            sink.Set(cell.col, cell.row, cell.number);
        } else {
            text.assign(cell.text);
            sink.Set(cell.col, cell.row, text.c_str());
        }
    }

    void AddTo(karta::Notes& notes) const {
        if (emptied > 0) {
            notes.Add({"classic-left-out",
                       emptied,
                       {},
                       "the classic reading leaves the results of " + karta::CountOf(emptied, "formula") +
                           " empty; the complete reading has them"});
        }
        if (dropped > 0) {
            notes.Add({"classic-left-out",
                       dropped,
                       {},
                       "the classic reading leaves out " + karta::CountOf(dropped, "cell") +
                           " outside of the size that it counts; the complete reading has them"});
        }
    }

private:
    // A formula outside of the table is the one cell that is set there.
    void TakeFormula(const Cell& cell, bool isInside) {
        if (isInside && IsValidDouble(cell.number)) {
            sink.Set(cell.col, cell.row, cell.number);
        } else if (cell.col >= 1 && cell.row >= 1) {
            sink.Set(cell.col, cell.row, "");
            ++emptied;
        }
    }

    ReadSpreadSheetData& sink;
    int cols;
    int rows;
    std::uint64_t emptied = 0;
    std::uint64_t dropped = 0;
    std::string text;
};

LotusFile::LotusFile() = default;
LotusFile::~LotusFile() = default;

void LotusFile::Close() {
    // The cursor looks into the file, so it goes first.
    cursor = {};
    stream.Close();
    numCols = numRows = -1;
    sizeKnown = false;
    version = 0;
    FormatReader::Close();
}

int LotusFile::GetNumCols() {
    MeasureOnce();
    return status == StatusOk ? numCols : -1;
}

int LotusFile::GetNumRows() {
    MeasureOnce();
    return status == StatusOk ? numRows : -1;
}

// As the DIMENSIONS record has it, or in the complete reading as the cells do.
void LotusFile::MeasureOnce() {
    if (status != StatusOk || sizeKnown) {
        return;
    }
    if (IsComplete()) {
        CompleteCells cells(codePage);
        status = WalkCells(cells);
        numCols = cells.GetCols();
        numRows = cells.GetRows();
        sizeKnown = status == StatusOk;
    } else if (!ReadDimensions()) {
        status = StatusNoDimensions;
    }
}

bool LotusFile::ReadDimensions() {
    char body[DimensionsSize] = {};
    if (!FindLotusRecord(TypeDimensions, body, sizeof body)) {
        numCols = numRows = -1;
        return false;
    }
    ByteCursor dimensions({reinterpret_cast<const std::uint8_t*>(body), sizeof body});
    const int startCol = dimensions.ReadI16();
    const int startRow = dimensions.ReadI16();
    numCols = dimensions.ReadI16() - startCol + 1;
    numRows = dimensions.ReadI16() - startRow + 1;
    sizeKnown = true;
    return true;
}

void LotusFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, "Unable to open file."},
        {StatusNotLotus, "The file does not seem to be a valid Lotus 1-2-3 file."},
        {StatusVersion3,
         "The file is a Lotus version 3.0 (WK3) file.  However, KARTA does only support the following Lotus "
         "formats:\r\n\r\n" SUPPORTED_FORMATS},
        {StatusVersion4,
         "The file is a Lotus version 4.0 (WK4) file. However, KARTA does only support the following Lotus "
         "formats:\r\n\r\n" SUPPORTED_FORMATS},
        {StatusJapanese,
         "The file is a Lotus 1-2-3/J (WJ1) file. However, KARTA does only support the following Lotus "
         "formats:\r\n\r\n" SUPPORTED_FORMATS},
        {StatusFormFile, "This file is a Lotus 1-2-3 (FRM) file. Such files cannot be imported by KARTA."},
        {StatusWorkbook,
         "The file seems to be a Lotus Workbook (123) file.  However, KARTA does only support the following "
         "Lotus formats:\r\n\r\n" SUPPORTED_FORMATS},
        {StatusUnknownVersion,
         "unrecognized Lotus 1-2-3 version format. KARTA supports the following Lotus "
         "formats:\r\n\r\n" SUPPORTED_FORMATS},
        {StatusNoDimensions,
         "An error occurred while trying to establish size size of the dataset. The file seems to be corrupt "
         "and cannot be imported."},
        {StatusUnexpectedEnd,
         "Found unexpected EOF (End-Of-File) while reading for data. The file seems to be corrupt and cannot "
         "be imported."},
        {StatusReadFailed, "Read() failed. The file seems to be corrupt and cannot be imported."},
        {StatusBadRecord, "A corrupt data record was found. The file cannot be imported."},
    };
    CopyStatusText(Texts, buffer, size);
}

int LotusFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    cursor = {};
    codePage = CodePage(OemCodePage);
    stream = MappedFile(fileName);
    numCols = numRows = -1;
    sizeKnown = false;
    if (!stream.IsOpen()) {
        status = StatusStreamFailed;
        return status;
    }
    cursor = ByteCursor(stream.GetBytes());
    status = IsLotusFile();
    if (IsComplete()) {
        GetContext()->budget.AddInput(fileName);
        ChooseEncoding(options);
    }
    return status;
}

void LotusFile::ChooseEncoding(const NvImportOpenOptions* options) {
    codePage = CodePage(OemCodePage);
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Encoding);
    auto chosen = wanted ? CodePage::Find(*wanted) : std::nullopt;
    if (chosen) {
        codePage = std::move(*chosen);
    } else if (wanted) {
        AddNote({"unknown-encoding",
                 1,
                 {},
                 "the encoding \"" + *wanted + "\" isn't known; code page 850 is taken"});
    }
}

int LotusFile::IsLotusFile() {
    cursor.Seek(0);
    if (!cursor.Has(BofSize)) {
        return StatusNotLotus;
    }
    const int type = cursor.ReadI16();
    const int length = cursor.ReadI16();
    version = cursor.ReadU16();
    if (type != TypeBeginningOfFile || (length != OldBofLength && length != NewBofLength)) {
        return StatusNotLotus;
    }
    return length == OldBofLength ? StatusOfOldVersion(version) : StatusOfNewVersion(version);
}

std::vector<FileContents::Part> LotusFile::ListParts() {
    return {};
}

std::vector<FileContents::Fact> LotusFile::ListFacts() {
    const char* program = "Lotus 1-2-3 version 2.0-2.2 (WK1), Symphony 1.1/1.2/2.0 (WR1)";
    if (version == VersionWks) {
        program = "Lotus 1-2-3 version 1.A (WKS)";
    } else if (version == VersionSymphony) {
        program = "Symphony 1.0/1.01 (WRK)";
    }
    std::vector<Fact> facts = {{"version", program}};
    if (IsComplete()) {
        facts.emplace_back("encoding", codePage.GetName());
    }
    return facts;
}

bool LotusFile::ReadRecordTypeAndLength(int& type, int& length) {
    type = cursor.ReadI16();
    length = cursor.ReadI16();
    return !cursor.HasFailed();
}

// The start of the body of the first record of a type; what it hasn't got stays as it was in the buffer.
bool LotusFile::FindLotusRecord(int wanted, char* buffer, std::size_t size) {
    cursor.Seek(0);
    int type = 0;
    int length = 0;
    while (ReadRecordTypeAndLength(type, length) && length >= 0) {
        if (type == wanted) {
            // What the body has beyond the buffer isn't missed: the file may end in it.
            const auto body =
                cursor.ReadText(std::min(static_cast<std::uint64_t>(length), std::uint64_t{size}));
            std::copy(body.begin(), body.end(), buffer);
            return !cursor.HasFailed();
        }
        cursor.Skip(static_cast<std::uint64_t>(length));
    }
    return false;
}

int LotusFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    status = IsComplete() ? ReadComplete(*sink) : ReadClassic(*sink);
    return status;
}

int LotusFile::ReadComplete(ReadSpreadSheetData& sink) {
    CellOutput output(sink);
    CellRuns numbers(sink, output);
    CompleteCells cells(output, numbers, codePage);
    const int result = WalkCells(cells);
    if (shortCells > 0) {
        const std::string place = "byte " + std::to_string(firstShortCell);
        AddNote({"short-records", shortCells, place,
                 karta::CountOf(shortCells, "cell") + " shorter than " + (shortCells == 1 ? "its" : "their") +
                     " fields left out (first: " + place + ")"});
    }
    cells.Finish(GetContext()->notes);
    numbers.EndAll();
    numCols = cells.GetCols();
    numRows = cells.GetRows();
    sizeKnown = true;
    sink.SetDataSize(numCols, numRows);
    return result;
}

int LotusFile::ReadClassic(ReadSpreadSheetData& sink) {
    ClassicCells cells(sink, numCols, numRows);
    const int result = WalkCells(cells);
    cells.AddTo(GetContext()->notes);
    return result;
}

// All cells in the order of the file, up to its last record; returns the status. The complete reading takes
// a file that ends before it, and passes over records of later versions, where the classic one fails.
template <class Cells>
int LotusFile::WalkCells(Cells& cells) {
    cursor.Seek(0);
    shortCells = 0;
    int type = 0;
    int length = 0;
    for (int records = 1;; ++records) {
        const std::size_t start = cursor.Tell();
        int result = StatusOk;
        if (!ReadRecordTypeAndLength(type, length)) {
            result = StatusUnexpectedEnd;
        } else if (type > LastType && !IsComplete()) {
            result = StatusBadRecord;
        } else if (type == TypeEndOfFile) {
            return StatusOk;
        } else {
            result = WalkRecord(type, length, cells);
        }
        if (result == StatusUnexpectedEnd && IsComplete() && start > 0) {
            AddNote({"cut-records", 1, "byte " + std::to_string(start),
                     "the file ends at byte " + std::to_string(start) + ", before its last record"});
            return StatusOk;
        }
        if (result != StatusOk) {
            failurePlace.byte = start;
            return result;
        }
        if (records % RecordsBetweenLooks == 0) {
            GetContext()->ThrowIfStopped();
        }
    }
}

// A record behind its header; returns the status. A negative length, which the classic reading refuses, is a
// long record's.
template <class Cells>
int LotusFile::WalkRecord(int type, int length, Cells& cells) {
    const bool isShort = length < SmallestBody(type);
    if (isShort && !IsComplete()) {
        return StatusBadRecord;
    }
    const std::size_t start = cursor.Tell();
    const ByteCursor body(cursor.Take(static_cast<std::uint16_t>(length)));
    if (cursor.HasFailed()) {
        return StatusUnexpectedEnd;
    }
    if (isShort) {
        firstShortCell = shortCells == 0 ? start : firstShortCell;
        ++shortCells;
        return StatusOk;
    }
    switch (type) {
        case TypeInteger:
            cells.Take(ReadCell(Cell::Kind::Integer, body));
            break;
        case TypeNumber:
            cells.Take(ReadCell(Cell::Kind::Number, body));
            break;
        case TypeLabel:
            cells.Take(ReadCell(Cell::Kind::Label, body));
            break;
        case TypeFormula:
            cells.Take(ReadCell(Cell::Kind::Formula, body));
            break;
        case TypeString:
            cells.Take(ReadCell(Cell::Kind::String, body));
            break;
        default:
            break;
    }
    return StatusOk;
}

// A format byte, column and row, then the value, which a label begins with its alignment.
LotusFile::Cell LotusFile::ReadCell(Cell::Kind kind, ByteCursor body) {
    Cell cell{};
    cell.kind = kind;
    cell.format = body.ReadU8();
    cell.col = body.ReadI16() + 1;
    cell.row = body.ReadI16() + 1;
    switch (kind) {
        case Cell::Kind::Integer:
            cell.number = body.ReadI16();
            break;
        case Cell::Kind::Number:
        case Cell::Kind::Formula:
            cell.number = body.ReadDouble();
            break;
        case Cell::Kind::Label:
            body.Skip(1);
            [[fallthrough]];
        case Cell::Kind::String:
            cell.text = body.ReadTerminatedText(body.GetRemaining());
            break;
    }
    return cell;
}

int LotusFile::EstablishSize() {
    return StatusNotImplemented;
}

LotusFileFactory::LotusFileFactory()
    : SprFileFactory("Lotus 1-2-3 File", "Lotus 1-2-3 Files (*.wks; *.wk1)", nullptr, 4,
                     ".wks\0.wk1\0.wrk\0.wr1\0", 0, 1, 0, 1, 0, 1) {}

MyKindOfFile LotusFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* LotusFileFactory::GetSpreadsheetFile() {
    return new LotusFile;
}

static LotusFileFactory lotusFileFactory;
static const FormatRecogniser lotusFileRecogniser("Lotus 1-2-3 File", "lotus", {}, Recognise);
