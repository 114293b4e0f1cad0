#include "spreadsheet/LotusFile.h"

#include <algorithm>
#include <bit>
#include <string>
#include <string_view>

#include "base/CopyMessage.h"

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
// No record of this generation has a greater type.
constexpr int LastType = 0x100;

// First column, first row, last column, last row.
constexpr std::size_t DimensionsSize = 8;

// The bodies of cells: a format byte, column and row, then the value.
constexpr int IntegerSize = 7;
constexpr int NumberSize = 13;
constexpr int FormulaSize = 13;
// With the alignment prefix and no text.
constexpr int LabelSize = 6;

constexpr std::string_view SupportedFormats =
    "Lotus 1-2-3 version 1.A (WKS)\r\nLotus 1-2-3 version 2.0-2.2 (WK1)\r\nSymphony file 1.0/1.01 (WRK) "
    "and\r\nSymphony file 1.1/1.2/2.0 (WR1).";

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

}  // namespace

LotusFile::LotusFile() = default;
LotusFile::~LotusFile() = default;

int LotusFile::GetNumCols() {
    MeasureOnce();
    return status == StatusOk ? numCols : -1;
}

int LotusFile::GetNumRows() {
    MeasureOnce();
    return status == StatusOk ? numRows : -1;
}

void LotusFile::MeasureOnce() {
    if (status != StatusOk || sizeKnown) {
        return;
    }
    char body[DimensionsSize] = {};
    if (!FindLotusRecord(TypeDimensions, body, sizeof body)) {
        numCols = numRows = -1;
        status = StatusNoDimensions;
        return;
    }
    ByteCursor dimensions({reinterpret_cast<const std::uint8_t*>(body), sizeof body});
    const int startCol = dimensions.ReadI16();
    const int startRow = dimensions.ReadI16();
    numCols = dimensions.ReadI16() - startCol + 1;
    numRows = dimensions.ReadI16() - startRow + 1;
    sizeKnown = true;
    // A size of -1 would be a failure without a word.
    if (numCols == -1 || numRows == -1) {
        status = StatusNoDimensions;
    }
}

void LotusFile::GetErrorMessage(char* buffer, unsigned int size) {
    const std::string list(SupportedFormats);
    std::string text;
    switch (status) {
        case StatusStreamFailed:
            text = "Unable to open file.";
            break;
        case StatusNotLotus:
            text = "The file does not seem to be a valid Lotus 1-2-3 file.";
            break;
        case StatusVersion3:
            text =
                "The file is a Lotus version 3.0 (WK3) file.  However, KARTA does only support the following "
                "Lotus formats:\r\n\r\n" +
                list;
            break;
        case StatusVersion4:
            text =
                "The file is a Lotus version 4.0 (WK4) file. However, KARTA does only support the following "
                "Lotus formats:\r\n\r\n" +
                list;
            break;
        case StatusJapanese:
            text =
                "The file is a Lotus 1-2-3/J (WJ1) file. However, KARTA does only support the following "
                "Lotus formats:\r\n\r\n" +
                list;
            break;
        case StatusFormFile:
            text = "This file is a Lotus 1-2-3 (FRM) file. Such files cannot be imported by KARTA.";
            break;
        case StatusWorkbook:
            text =
                "The file seems to be a Lotus Workbook (123) file.  However, KARTA does only support the "
                "following Lotus formats:\r\n\r\n" +
                list;
            break;
        case StatusUnknownVersion:
            text =
                "unrecognized Lotus 1-2-3 version format. KARTA supports the following Lotus "
                "formats:\r\n\r\n" +
                list;
            break;
        case StatusNoDimensions:
            text =
                "An error occurred while trying to establish size size of the dataset. The file seems to be "
                "corrupt and cannot be imported.";
            break;
        case StatusUnexpectedEnd:
            text =
                "Found unexpected EOF (End-Of-File) while reading for data. The file seems to be corrupt and "
                "cannot be imported.";
            break;
        case StatusReadFailed:
            text = "Read() failed. The file seems to be corrupt and cannot be imported.";
            break;
        case StatusBadRecord:
            text = "A corrupt data record was found. The file cannot be imported.";
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            return;
    }
    CopyMessage(text, buffer, size);
}

int LotusFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    stream = MappedFile(fileName);
    if (!stream.IsOpen()) {
        status = StatusStreamFailed;
        return status;
    }
    cursor = ByteCursor(stream.GetBytes());
    numCols = numRows = -1;
    sizeKnown = false;
    status = IsLotusFile();
    return status;
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
    switch (version) {
        case VersionWks:
            return {{"version", "Lotus 1-2-3 version 1.A (WKS)"}};
        case VersionSymphony:
            return {{"version", "Symphony 1.0/1.01 (WRK)"}};
        default:
            return {{"version", "Lotus 1-2-3 version 2.0-2.2 (WK1), Symphony 1.1/1.2/2.0 (WR1)"}};
    }
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
    firstRow = firstCol = 1;
    cursor.Seek(0);
    int type = 0;
    int length = 0;
    while (status == StatusOk) {
        if (!ReadRecordTypeAndLength(type, length)) {
            status = StatusUnexpectedEnd;
        } else if (type > LastType) {
            status = StatusBadRecord;
        } else if (type == TypeEndOfFile) {
            break;
        } else {
            status = ReadRecord(sink, type, length);
        }
    }
    return status;
}

// A record behind its header; returns the status.
int LotusFile::ReadRecord(ReadSpreadSheetData* sink, int type, int length) {
    if (length < SmallestBody(type)) {
        return StatusBadRecord;
    }
    const ByteCursor body(cursor.Take(static_cast<std::uint64_t>(length)));
    if (cursor.HasFailed()) {
        return StatusUnexpectedEnd;
    }
    switch (type) {
        case TypeInteger:
            ReadInteger(sink, body);
            break;
        case TypeNumber:
            ReadNumber(sink, body);
            break;
        case TypeLabel:
            ReadLabel(sink, body);
            break;
        case TypeFormula:
            ReadFormula(sink, body);
            break;
        default:
            break;
    }
    return StatusOk;
}

LotusFile::CellPlace LotusFile::ReadPlace(ByteCursor& body) {
    body.Skip(1);
    const int col = body.ReadI16() + 1;
    const int row = body.ReadI16() + 1;
    return {col, row};
}

void LotusFile::ReadInteger(ReadSpreadSheetData* sink, ByteCursor body) const {
    const CellPlace place = ReadPlace(body);
    if (IsValidPos(place.col, place.row)) {
        sink->Set(place.col, place.row, static_cast<int>(body.ReadI16()));
    }
}

void LotusFile::ReadNumber(ReadSpreadSheetData* sink, ByteCursor body) const {
    const CellPlace place = ReadPlace(body);
    if (IsValidPos(place.col, place.row)) {
        sink->Set(place.col, place.row, body.ReadDouble());
    }
}

void LotusFile::ReadLabel(ReadSpreadSheetData* sink, ByteCursor body) const {
    const CellPlace place = ReadPlace(body);
    if (IsValidPos(place.col, place.row)) {
        body.Skip(1);
        const std::string text(body.ReadTerminatedText(body.GetRemaining()));
        sink->Set(place.col, place.row, text.c_str());
    }
}

// Meant so: only a marker arrives as a number, and any other result is left to the user as an empty text. So
// is the place of a formula outside of the table, which is the one way in which a cell there is set.
void LotusFile::ReadFormula(ReadSpreadSheetData* sink, ByteCursor body) const {
    const CellPlace place = ReadPlace(body);
    const double result = body.ReadDouble();
    if (IsValidPos(place.col, place.row) && IsValidDouble(result)) {
        sink->Set(place.col, place.row, result);
    } else if (place.col >= 1 && place.row >= 1) {
        sink->Set(place.col, place.row, "");
    }
}

int LotusFile::EstablishSize() {
    return StatusNotImplemented;
}

bool LotusFile::IsValidPos(int col, int row) const {
    return col >= firstCol && col <= numCols && row >= firstRow && row <= numRows;
}

// The markers, bit for bit.
bool LotusFile::IsValidDouble(double value) {
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
