#include "spreadsheet/ExcelFile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

#include "base/CopyMessage.h"
#include "base/PathNames.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "host/NvSystemInfo.h"
#include "host/SerialDate.h"
#include "host/XMLSection.h"
#include "spreadsheet/BaseStream.h"
#include "spreadsheet/ExcelSharedStrings.h"
#include "spreadsheet/ExcelStgStream.h"

namespace {

// Records, in the order in which a file has them.
constexpr int EofRecord = 0x000A;
constexpr int FilePassRecord = 0x002F;
constexpr int BundlesOffsetRecord = 0x008E;
constexpr int BundleHeaderRecord = 0x008F;
constexpr int FormatRecord = 0x041E;
constexpr int XfRecord = 0x00E0;
constexpr int BoundSheetRecord = 0x0085;
constexpr int SstRecord = 0x00FC;
constexpr int ContinueRecord = 0x003C;
constexpr int IntegerRecord = 0x0002;
constexpr int NumberRecord = 0x0203;
constexpr int LabelRecord = 0x0204;
constexpr int BoolErrRecord = 0x0205;
constexpr int FormulaRecord = 0x0006;
constexpr int FormulaRecordOfBiff3 = 0x0206;
constexpr int FormulaRecordOfBiff4 = 0x0406;
constexpr int SharedFormulaRecord = 0x04BC;
constexpr int RkRecord = 0x027E;
constexpr int MulRkRecord = 0x00BD;
constexpr int LabelSstRecord = 0x00FD;

// Records that are known by the low byte of their id, whatever the version.
constexpr int BofLow = 0x09;
constexpr int DimensionsLow = 0x00;
constexpr int LabelLow = 0x04;
constexpr int RowLow = 0x08;
constexpr int StringLow = 0x07;
constexpr int WsBoolLow = 0x81;
constexpr int RStringLow = 0xD6;

constexpr int HeaderSize = 4;
constexpr int MaxLengthBeforeBiff8 = 0x820;
constexpr int BofSize = 10;

// BOF. The versions are the values of biffHigh, not the generations of the format.
constexpr int Biff8Version = 0x0600;
constexpr int GlobalsSubstream = 5;
constexpr int WorksheetSubstream = 0x10;
constexpr int Biff4WorkbookSubstream = 0x100;
constexpr int HighOfBiff3 = 2;
constexpr int HighOfBiff4 = 4;
constexpr int HighOfBiff5 = 8;

// WSBOOL.
constexpr int DialogBit = 0x10;
// DIMENSIONS of a sheet with nothing in it: no rows, but all columns.
constexpr int ColumnsOfEmptySheet = 256;

// BOUNDSHEET: the type and the visibility of a sheet.
constexpr int SheetTypeMask = 0x0F00;
constexpr int VisibilityMask = 0x0003;

// The date formats that a file needn't write down.
constexpr std::pair<int, int> BuiltInDateFormats[] = {{0x0E, 0x16}, {0x2D, 0x2F}};
constexpr std::string_view DateLetters = "ymdhms";

// SST.
constexpr int SharedTextOffset = 8;

// Cell records.
constexpr int XfOffset = 4;
constexpr int ValueOffset = 6;
constexpr int IntegerOffset = 7;
constexpr int TextOffset = 8;
constexpr int NoNumber = 0xFFFF;
constexpr int TextResult = 0;
constexpr int BoolResult = 1;
constexpr int RkGroupsOffset = 4;
constexpr int RkGroupSize = 6;
constexpr int LastColumnSize = 2;

// Open looks at every byte of the globals once and at the head of every sheet once, so a file in which it
// comes to more than a few times its size leads in circles.
constexpr long long MaxWalks = 4;
// A small file may be walked as often as it likes: that takes no time.
constexpr long long MinWalkBudget = 1 << 22;

// A sheet's declared size isn't bound to its cells. No version has more rows or columns than this, so no
// label is written beyond.
constexpr int MaxLabels = 0x20000;

constexpr const char* SheetsKey = "Sheets";
constexpr const char* VerticalKey = "Vertical";

std::uint32_t ByteAt(const char* buffer, int offset) {
    return static_cast<std::uint8_t>(buffer[offset]);
}

int LowByte(int id) {
    return id & 0xFF;
}

int Add(int left, int right) {
    constexpr std::int64_t Least = std::numeric_limits<int>::min();
    constexpr std::int64_t Most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::int64_t{left} + right, Least, Most));
}

std::span<const std::uint8_t> BytesOf(const ExcelFile::BIFFRecord& record, int offset) {
    return {reinterpret_cast<const std::uint8_t*>(record.data) + offset,
            static_cast<std::size_t>(record.length - offset)};
}

}  // namespace

ExcelFile::ExcelFile() = default;
ExcelFile::~ExcelFile() = default;

void ExcelFile::Close() {
    stream.reset();
    optionsBuffer = {};
    FormatReader::Close();
}

int ExcelFile::GetNumCols() {
    if (status != StatusOk) {
        return -1;
    }
    return vertical ? Add(LargestOf(&WorksheetEntry::cols), LabelCount()) : SumOf(&WorksheetEntry::cols);
}

int ExcelFile::GetNumRows() {
    if (status != StatusOk) {
        return -1;
    }
    return vertical ? SumOf(&WorksheetEntry::rows) : Add(LargestOf(&WorksheetEntry::rows), LabelCount());
}

int ExcelFile::SumOf(int WorksheetEntry::* size) const {
    int sum = 0;
    for (const int sheet : selectedSheets) {
        sum = Add(sum, worksheets[static_cast<std::size_t>(sheet)].*size);
    }
    return sum;
}

int ExcelFile::LargestOf(int WorksheetEntry::* size) const {
    int largest = selectedSheets.empty() ? 0 : std::numeric_limits<int>::min();
    for (const int sheet : selectedSheets) {
        largest = std::max(largest, worksheets[static_cast<std::size_t>(sheet)].*size);
    }
    return largest;
}

// Several sheets have a row or column of labels behind them.
int ExcelFile::LabelCount() const {
    return selectedSheets.size() > 1 ? 1 : 0;
}

void ExcelFile::GetErrorMessage(char* buffer, unsigned int size) {
    const std::string application = NvSystemInfo::GetApplicationName();
    std::string text;
    switch (status) {
        case StatusOpenFailed:
            text = "Unable to open Excel file.";
            break;
        case StatusBadGlobals:
            text =
                "An error occurred when reading the Workbook section in the Excel file. An invalid "
                "BIFF-record was found.";
            break;
        case StatusBadWorksheet:
            text =
                "An error occurred when reading a Worksheet in the Excel file. An invalid BIFF-record was "
                "found.";
            break;
        case StatusNotExcel:
            text = "This file does not appear to be a valid Excel file.";
            break;
        case StatusNoWorksheet:
            text = "The specified Worksheet is either a dialog / form or has no data.";
            break;
        case StatusProtected:
            text = application +
                   " cannot read (password-) protected Excel workbooks. You will need to remove the password "
                   "protection to be able to read the file into " +
                   application + ".";
            break;
        case StatusNoExcelStream:
            text = "No Excel stream was found in the file.";
            break;
        case StatusNoSheets:
            text = "The excel file does not contain any sheets.";
            break;
        case StatusUnknownVersion:
            text = application +
                   " can not read this version of Excel files. Only Excel files based on the BIFF2 to BIFF8 "
                   "formats can be read. This includes files generated by Excel version 2, 3, 4, 5, 95, 97, "
                   "2000 & XP.";
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            return;
    }
    CopyMessage(text, buffer, size);
}

int ExcelFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    Reset(fileName);
    OpenStream(fileName);
    if (status != StatusOk) {
        return status;
    }
    if (!ReadBiffRecord(record)) {
        status = StatusNotExcel;
        return status;
    }
    if (LowByte(record.id) == BofLow) {
        OpenWorkbook(options);
    } else {
        // Nothing was walked, so this finds no sheets.
        GetSheet(options);
    }
    return status;
}

void ExcelFile::Reset(const char* fileName) {
    numCols = -1;
    numRows = -1;
    selectedSheets.clear();
    worksheetCount = 0;
    worksheets.assign(1, {});
    biffHigh = 0;
    isBiff2 = 0;
    isBiff8 = false;
    sharedStrings.reset();
    dateXf.clear();
    walkBudget = std::max(MaxWalks * static_cast<long long>(NvFile::GetSize(fileName)), MinWalkBudget);
}

void ExcelFile::OpenStream(const char* fileName) {
    if (CompoundFile::IsCompoundFile(fileName)) {
        stream = std::make_unique<ExcelStgStream>(fileName);
    } else {
        stream = std::make_unique<BaseStream>(fileName, std::ios_base::in);
    }
    const int streamStatus = stream->GetStatus();
    if (streamStatus != 0) {
        status = streamStatus == ExcelStgStream::StatusNoStream ? StatusNoExcelStream : StatusOpenFailed;
    }
}

// The first record is a BOF: what kind of file is it?
void ExcelFile::OpenWorkbook(NvImportOpenOptions* options) {
    biffHigh = record.id >> 8;
    if (biffHigh > HighOfBiff5) {
        status = StatusUnknownVersion;
        return;
    }
    isBiff2 = biffHigh == 0 ? 1 : 0;
    isBiff8 = uI2Shuffle(record.data, 0) == Biff8Version;
    const int substream = I2Shuffle(record.data, 2);
    if (substream == WorksheetSubstream) {
        OpenSingleSheet(options);
        return;
    }
    if (substream == GlobalsSubstream || (substream == Biff4WorkbookSubstream && biffHigh == HighOfBiff4)) {
        ReadWorkbookGlobals();
    }
    GetSheet(options);
}

void ExcelFile::OpenSingleSheet(NvImportOpenOptions* options) {
    const int found = IsWorksheet(0);
    selectedSheets = {0};
    worksheets[0].cols = numCols;
    worksheets[0].rows = numRows;
    if (found != StatusOk) {
        status = found;
    } else if (WantsOptions(options)) {
        SetOptions(options);
    }
}

// One record: its id, the length of its data, the data. Nothing else is checked here; what a record lacks
// at its end reads as zeros.
bool ExcelFile::ReadBiffRecord(BIFFRecord& target) {
    char header[HeaderSize];
    stream->Read(header, HeaderSize);
    if (stream->GetStatus() != 0) {
        return false;
    }
    const std::int16_t length = I2Shuffle(header, 2);
    if (length < 0 || length > (isBiff8 ? MaxRecordLength : MaxLengthBeforeBiff8)) {
        return false;
    }
    if (length < target.length) {
        std::memset(target.data + length, 0, static_cast<std::size_t>(target.length - length));
    }
    target.id = uI2Shuffle(header, 0);
    target.length = length;
    stream->Read(target.data, length);
    return stream->GetStatus() == 0;
}

// The same for the walks of Open, which offsets in the file could lead in circles.
bool ExcelFile::WalkBiffRecord(BIFFRecord& target) {
    if (walkBudget < 0 || !ReadBiffRecord(target)) {
        return false;
    }
    walkBudget -= HeaderSize + target.length;
    return true;
}

// Looks from `offset` on for the size of a sheet, which it leaves in numCols and numRows. A sheet that ends
// before it has told its size keeps that of the sheet before: this is meant.
int ExcelFile::IsWorksheet(long offset) {
    const int position = stream->Tell();
    stream->Seek(offset, 0);
    bool isDialog = false;
    bool hasNoData = false;
    bool isRead = WalkBiffRecord(nextRecord);
    for (; isRead && nextRecord.id != EofRecord; isRead = WalkBiffRecord(nextRecord)) {
        const char* data = nextRecord.data;
        if (LowByte(nextRecord.id) == WsBoolLow) {
            isDialog = (data[0] & DialogBit) != 0;
        } else if (LowByte(nextRecord.id) == DimensionsLow) {
            // In BIFF8 the column end and the reserved word behind it are taken as one number.
            numRows = isBiff8 ? I4Shuffle(data, 4) : uI2Shuffle(data, 2);
            numCols = isBiff8 ? I4Shuffle(data, 10) : uI2Shuffle(data, 6);
            hasNoData = numRows == 0 && numCols == ColumnsOfEmptySheet;
            break;
        }
        if (isDialog) {
            break;
        }
    }
    stream->Seek(position, 0);
    if (!isRead) {
        return StatusBadWorksheet;
    }
    if (isDialog || hasNoData) {
        return StatusNoWorksheet;
    }
    return StatusOk;
}

void ExcelFile::AddWorksheet(const std::string& name, std::int32_t offset, bool hidden) {
    worksheets.push_back({name, offset, numCols, numRows, hidden});
    ++worksheetCount;
}

int ExcelFile::ReadWorkbookGlobals() {
    if (status != StatusOk) {
        return status;
    }
    dateFormats.clear();
    if (biffHigh == HighOfBiff5) {
        for (const auto& [first, last] : BuiltInDateFormats) {
            for (int number = first; number <= last; ++number) {
                dateFormats.insert(number);
            }
        }
    }
    const bool isWhole = WalkGlobals();
    if (status != StatusOk) {
        return status;
    }
    if (worksheetCount > 0) {
        SetCurWorksheet({1});
    }
    if (!isWhole) {
        status = StatusBadGlobals;
    }
    return status;
}

// Up to the EOF of the globals; false when it isn't reached.
bool ExcelFile::WalkGlobals() {
    stream->Seek(worksheets[0].offset, 0);
    while (WalkBiffRecord(record)) {
        bool isGood = true;
        if (record.id == EofRecord) {
            return true;
        }
        if (biffHigh == HighOfBiff4 && record.id == BundlesOffsetRecord) {
            stream->Seek(I4Shuffle(record.data, 0), 0);
        } else if (biffHigh == HighOfBiff4 && record.id == BundleHeaderRecord) {
            isGood = ReadBundleHeader();
        } else if (biffHigh == HighOfBiff5) {
            isGood = ReadGlobal();
        }
        if (!isGood) {
            return false;
        }
    }
    return false;
}

// BIFF4: a sheet's length and name, and right behind it the sheet itself.
bool ExcelFile::ReadBundleHeader() {
    const std::int32_t length = I4Shuffle(record.data, 0);
    const std::string name = CopyText(record, 5, static_cast<int>(ByteAt(record.data, 4)));
    if (!WalkBiffRecord(nextRecord)) {
        return false;
    }
    bool isGood = true;
    if (LowByte(nextRecord.id) == BofLow && I2Shuffle(nextRecord.data, 2) == WorksheetSubstream) {
        const int position = stream->Tell();
        const int found = IsWorksheet(position);
        if (found == StatusOk) {
            AddWorksheet(name, position, false);
        }
        isGood = found == StatusOk || found == StatusNoWorksheet;
    }
    stream->Seek(std::int64_t{length} - BofSize, 1);
    return isGood;
}

// BIFF5 and later. False ends the walk.
bool ExcelFile::ReadGlobal() {
    switch (record.id) {
        case FilePassRecord:
            status = StatusProtected;
            return false;
        case FormatRecord:
            ReadFormat();
            return true;
        case XfRecord:
            // Only formats that came before count.
            dateXf.push_back(dateFormats.contains(I2Shuffle(record.data, 2)));
            return true;
        case BoundSheetRecord:
            return ReadBoundSheet();
        case SstRecord:
            return ReadSharedStrings();
        default:
            return true;
    }
}

bool ExcelFile::ReadBoundSheet() {
    const int type = uI2Shuffle(record.data, 4);
    if ((type & SheetTypeMask) != 0) {
        return true;
    }
    const std::int32_t offset = I4Shuffle(record.data, 0);
    const int found = IsWorksheet(offset);
    if (found == StatusOk) {
        // BIFF8's option byte counts into the length, and the bytes are taken as they are: a name of 16-bit
        // characters ends behind its first letter.
        const char* name = isBiff8 ? CopyText(record, 8, I2Shuffle(record.data, 6))
                                   : CopyText(record, 7, I1Shuffle(record.data, 6));
        AddWorksheet(name, offset, (type & VisibilityMask) != 0);
    }
    return found == StatusOk || found == StatusNoWorksheet;
}

// A format is one of dates when it has two date letters anywhere, also in quoted text. The one reading
// serves BIFF5 and BIFF8: in the latter the upper byte of the count and the option byte stand before the
// text, so that its last two characters are not seen; and a text of 16-bit characters, which ends early
// here, counts as a date. All of this is meant.
void ExcelFile::ReadFormat() {
    const std::int8_t count = I1Shuffle(record.data, 2);
    if (count < 0) {
        return;
    }
    std::string text(record.data + 3, static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < 2 && i < text.size() && text[i] == '\0'; ++i) {
        text[i] = '_';
    }
    const std::string_view format(text.c_str());
    const std::size_t first = std::min(format.find_first_of(DateLetters), format.size());
    if (first == text.size()) {
        return;
    }
    const std::string_view rest = format.substr(std::min(first + 1, format.size()));
    const std::size_t second = std::min(rest.find_first_of(DateLetters), rest.size());
    if (second != text.size() - first - 1) {
        dateFormats.insert(I2Shuffle(record.data, 0));
    }
}

bool ExcelFile::ReadSharedStrings() {
    sharedStrings = std::make_unique<ExcelSharedStrings>(I4Shuffle(record.data, 4));
    if (record.length > SharedTextOffset + 3) {
        sharedStrings->Parse(BytesOf(record, SharedTextOffset));
    }
    bool isRead = WalkBiffRecord(record);
    while (isRead && record.id == ContinueRecord) {
        sharedStrings->Parse(BytesOf(record, 0));
        isRead = WalkBiffRecord(record);
    }
    sharedStrings->Finish();
    // The record behind the strings is passed over with them.
    return isRead;
}

bool ExcelFile::GetSheet(NvImportOpenOptions* options) {
    std::vector<std::string> names;
    if (GetWorksheets(names) != StatusOk) {
        return false;
    }
    if (names.empty()) {
        status = StatusNoSheets;
        return false;
    }
    if (names.size() == 1) {
        const auto only =
            std::find_if(worksheets.begin() + 1, worksheets.end(),
                         [](const WorksheetEntry& sheet) { return sheet.cols > 0 && sheet.rows > 0; });
        return SetCurWorksheet({static_cast<int>(only - worksheets.begin())});
    }
    const std::vector<int> before = selectedSheets;
    if (HasOptions(options)) {
        if (!SetOptions(options)) {
            return false;
        }
    } else {
        GetSheetOptions(&names);
        if (status == StatusAbortedByUser) {
            stream.reset();
            return false;
        }
        if (WantsOptions(options)) {
            GetOptions(options);
        }
    }
    // A choice of sheets that don't exist leaves the one from before, which is the first sheet.
    SetCurWorksheet(std::exchange(selectedSheets, before));
    return status == StatusOk;
}

int ExcelFile::GetSheetOptions(std::vector<std::string>* /*sheetNames*/) {
    selectedSheets = {1};
    vertical = true;
    return status;
}

bool ExcelFile::SetOptions(NvImportOpenOptions* options) {
    if (HasOptions(options)) {
        ConvertSheetStringToVector(DecodeOptionsText(*options), selectedSheets, vertical);
    }
    return true;
}

bool ExcelFile::GetOptions(NvImportOpenOptions* options) {
    std::string text;
    ConvertSheetVectorToString(selectedSheets, vertical, text);
    LendOptions(text, optionsBuffer, *options);
    return true;
}

void ExcelFile::ConvertSheetVectorToString(const std::vector<int>& sheets, bool stacked, std::string& text) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    settings.Write(SheetsKey, sheets);
    settings.Write(VerticalKey, stacked);
    text = document.Flush();
}

void ExcelFile::ConvertSheetStringToVector(const std::string& text, std::vector<int>& sheets, bool& stacked) {
    if (text.empty()) {
        sheets.clear();
        stacked = false;
        return;
    }
    const auto document = XMLSection::CreateXMLSectionFromString(text);
    const XMLSection* settings = document == nullptr ? nullptr : document->GetSection(XMLSection::Settings);
    if (settings != nullptr) {
        settings->Read(SheetsKey, sheets);
        settings->Read(VerticalKey, stacked);
    }
}

int ExcelFile::GetWorksheets(std::vector<std::string>& names) {
    if (status != StatusOk) {
        return status;
    }
    for (int i = 1; i <= worksheetCount; ++i) {
        const WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(i)];
        if (sheet.cols > 0 && sheet.rows > 0) {
            names.push_back(sheet.name);
        }
    }
    return StatusOk;
}

bool ExcelFile::SetCurWorksheet(const std::vector<int>& sheets) {
    const bool areThere = std::all_of(sheets.begin(), sheets.end(),
                                      [&](int sheet) { return sheet >= 0 && sheet <= worksheetCount; });
    if (status != StatusOk || !areThere) {
        return false;
    }
    selectedSheets = sheets;
    return true;
}

int ExcelFile::EstablishSize() {
    return 1;
}

int ExcelFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (selectedSheets.empty() || stream == nullptr) {
        status = StatusBadWorksheet;
        return status;
    }
    int rowOffset = 0;
    int colOffset = 0;
    bool isGood = true;
    for (const int number : selectedSheets) {
        WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(number)];
        isGood = ReadSheet(sink, sheet, colOffset, rowOffset);
        if (selectedSheets.size() > 1) {
            LabelSheet(sink, sheet, colOffset, rowOffset);
        }
        // A size of -1, of a first sheet that ended before it told one, moves the next sheet back as it
        // lowers the table's size.
        int& offset = vertical ? rowOffset : colOffset;
        offset = Add(offset, vertical ? sheet.rows : sheet.cols);
    }
    // Only the last sheet decides.
    if (!isGood) {
        status = StatusBadWorksheet;
    }
    return status;
}

// False when a record couldn't be read. A sheet without EOF ends at the BOF of the next.
bool ExcelFile::ReadSheet(ReadSpreadSheetData* sink, const WorksheetEntry& sheet, int colOffset,
                          int rowOffset) {
    stream->Seek(sheet.offset, 0);
    bool isHead = true;
    while (isHead) {
        if (!ReadBiffRecord(record)) {
            return false;
        }
        // The record that ends the head is dropped, whatever it is: as a rule DIMENSIONS.
        const int low = LowByte(record.id);
        isHead = low != RowLow && low != LabelLow && low != DimensionsLow && record.id != EofRecord;
    }
    while (ReadBiffRecord(record)) {
        if (record.id == EofRecord) {
            return true;
        }
        // The high byte of the column is ignored.
        const int col = static_cast<int>(ByteAt(record.data, 2)) + 1;
        const int row = uI2Shuffle(record.data, 0) + 1;
        const bool isNextSheet = LowByte(record.id) == BofLow;
        if (!ReadCell(sink, {Add(colOffset, col), Add(rowOffset, row)})) {
            return false;
        }
        if (isNextSheet) {
            return true;
        }
    }
    return false;
}

// Ids are compared exactly, and the versions with 2, 3 and 4, though biffHigh is 0, 2, 4 and 8 for the real
// ones: so BIFF2 loses its numbers and labels, and BIFF3 also its formulas. This narrowness is meant. False
// when a record that belongs to the cell couldn't be read.
bool ExcelFile::ReadCell(ReadSpreadSheetData* sink, Cell cell) {
    switch (record.id) {
        case RkRecord:
            SetNumber(sink, cell, XfOffset, NumFromRk(I4Shuffle(record.data, ValueOffset)));
            return true;
        case MulRkRecord:
            if (biffHigh >= 5) {
                ReadMulRk(sink, cell);
            }
            return true;
        case LabelSstRecord:
            if (biffHigh >= 8) {
                const std::int32_t index = I4Shuffle(record.data, ValueOffset);
                sink->Set(cell.col, cell.row, sharedStrings == nullptr ? "" : sharedStrings->Find(index));
            }
            return true;
        case IntegerRecord:
            if (biffHigh == 2) {
                sink->Set(cell.col, cell.row, static_cast<double>(I2Shuffle(record.data, IntegerOffset)));
            }
            return true;
        case FormulaRecord:
            return biffHigh == 3 || biffHigh == 4 || ReadFormula(sink, cell);
        case FormulaRecordOfBiff3:
            return biffHigh != 3 || ReadFormula(sink, cell);
        case FormulaRecordOfBiff4:
            return biffHigh != 4 || ReadFormula(sink, cell);
        default:
            if (LowByte(record.id) == RStringLow) {
                sink->Set(cell.col, cell.row, CopyText(record, TextOffset, uI2Shuffle(record.data, 6)));
            } else if (biffHigh != 2) {
                ReadPlainCell(sink, cell);
            }
            return true;
    }
}

// The cells of one value each that only BIFF3 lacks.
void ExcelFile::ReadPlainCell(ReadSpreadSheetData* sink, Cell cell) {
    switch (record.id) {
        case NumberRecord:
            SetNumber(sink, cell, XfOffset, DShuffle(record.data, ValueOffset + isBiff2));
            break;
        case LabelRecord: {
            const int length = isBiff2 != 0 ? I1Shuffle(record.data, 7) : uI2Shuffle(record.data, 6);
            sink->Set(cell.col, cell.row, CopyText(record, TextOffset, length));
            break;
        }
        case BoolErrRecord:
            // Truth values and errors are missing values alike.
            sink->Set(cell.col, cell.row, "");
            break;
        default:
            break;
    }
}

// Several RK numbers in neighbouring columns, each with its own format, and at the end the last column.
void ExcelFile::ReadMulRk(ReadSpreadSheetData* sink, Cell cell) {
    const int firstCol = static_cast<int>(ByteAt(record.data, 2));
    const int end = record.length - LastColumnSize;
    if (end < RkGroupsOffset) {
        return;
    }
    const int lastCol = uI2Shuffle(record.data, end);
    int offset = RkGroupsOffset;
    for (int col = firstCol; col <= lastCol && offset + RkGroupSize <= end; ++col) {
        SetNumber(sink, cell, offset, NumFromRk(I4Shuffle(record.data, offset + 2)));
        offset += RkGroupSize;
        ++cell.col;
    }
}

// The stored result: a number, or a mark in its place that says what else it is.
bool ExcelFile::ReadFormula(ReadSpreadSheetData* sink, Cell cell) {
    const int result = ValueOffset + isBiff2;
    if (uI2Shuffle(record.data, result + 6) != NoNumber) {
        SetNumber(sink, cell, XfOffset, DShuffle(record.data, result));
        return true;
    }
    switch (ByteAt(record.data, result)) {
        case BoolResult:
            sink->Set(cell.col, cell.row, static_cast<double>(I1Shuffle(record.data, result + 2)));
            return true;
        case TextResult:
            return ReadFormulaText(sink, cell);
        default:
            return true;
    }
}

// A text result stands in a record of its own behind the formula, or behind the formula that it shares.
bool ExcelFile::ReadFormulaText(ReadSpreadSheetData* sink, Cell cell) {
    if (!ReadBiffRecord(nextRecord)) {
        return false;
    }
    if (nextRecord.id == SharedFormulaRecord && !ReadBiffRecord(nextRecord)) {
        return false;
    }
    if (LowByte(nextRecord.id) == StringLow) {
        const int length = isBiff2 != 0 ? I1Shuffle(nextRecord.data, 0) : uI2Shuffle(nextRecord.data, 0);
        const int textOffset = 2 + (isBiff8 ? 1 : 0) - isBiff2;
        sink->Set(cell.col, cell.row, CopyText(nextRecord, textOffset, length));
    }
    return true;
}

// Also for a sheet whose read failed, and over its whole declared size.
void ExcelFile::LabelSheet(ReadSpreadSheetData* sink, WorksheetEntry& sheet, int colOffset, int rowOffset) {
    sheet.name = ToLowerCase(sheet.name);
    const bool saysSheet = sheet.name.find("sheet") != std::string::npos;
    const std::string label = saysSheet ? sheet.name : "sheet: " + sheet.name;
    if (vertical) {
        const int col = GetNumCols();
        for (int i = 1; i <= std::min(sheet.rows, MaxLabels); ++i) {
            sink->Set(col, Add(rowOffset, i), label.c_str());
        }
    } else {
        const int row = GetNumRows();
        for (int i = 1; i <= std::min(sheet.cols, MaxLabels); ++i) {
            sink->Set(Add(colOffset, i), row, label.c_str());
        }
    }
}

// `xfOffset` is where the record has the number of the cell's format.
void ExcelFile::SetNumber(ReadSpreadSheetData* sink, Cell cell, int xfOffset, double value) {
    Set(sink, cell.col, cell.row, uI2Shuffle(record.data, xfOffset), value);
}

void ExcelFile::Set(ReadSpreadSheetData* sink, int col, int row, int xf, double value) {
    const auto format = static_cast<std::size_t>(xf);
    if (format < dateXf.size() && dateXf[format]) {
        sink->Set(col, row, IEEEDate_2_string(value).c_str());
    } else {
        sink->Set(col, row, value);
    }
}

// A text of a record, up to its first NUL; valid until the next one.
const char* ExcelFile::CopyText(const BIFFRecord& source, int offset, int length) {
    const int size = std::clamp(length, 0, MaxRecordLength - offset);
    const std::string_view field(source.data + offset, static_cast<std::size_t>(size));
    workText = field.substr(0, field.find('\0'));
    return workText.c_str();
}

std::vector<FileContents::Part> ExcelFile::ListParts() {
    std::vector<Part> parts;
    const int first = worksheetCount > 0 ? 1 : 0;
    for (int i = first; i <= worksheetCount; ++i) {
        const WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(i)];
        Part part;
        part.kind = "sheet";
        part.name = sheet.name;
        part.number = i;
        part.cols = sheet.cols;
        part.rows = sheet.rows;
        part.hidden = sheet.hidden;
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> ExcelFile::ListFacts() {
    const char* version = isBiff8 ? "BIFF8" : "BIFF5";
    if (biffHigh < HighOfBiff5 && !isBiff8) {
        version = biffHigh == 0 ? "BIFF2" : biffHigh == HighOfBiff3 ? "BIFF3" : "BIFF4";
    }
    std::vector<Fact> facts = {{"version", version}};
    if (sharedStrings != nullptr) {
        facts.emplace_back("strings", NvString::Format("%d", sharedStrings->GetCount()));
    }
    return facts;
}

std::int8_t ExcelFile::I1Shuffle(const char* buffer, int offset) {
    return static_cast<std::int8_t>(buffer[offset]);
}

std::int16_t ExcelFile::I2Shuffle(const char* buffer, int offset) {
    return static_cast<std::int16_t>(uI2Shuffle(buffer, offset));
}

std::uint16_t ExcelFile::uI2Shuffle(const char* buffer, int offset) {
    return static_cast<std::uint16_t>(ByteAt(buffer, offset) | ByteAt(buffer, offset + 1) << 8);
}

std::int32_t ExcelFile::I4Shuffle(const char* buffer, int offset) {
    return static_cast<std::int32_t>(ByteAt(buffer, offset) | ByteAt(buffer, offset + 1) << 8 |
                                     ByteAt(buffer, offset + 2) << 16 | ByteAt(buffer, offset + 3) << 24);
}

double ExcelFile::DShuffle(const char* buffer, int offset) {
    const std::uint64_t low = static_cast<std::uint32_t>(I4Shuffle(buffer, offset));
    const std::uint64_t high = static_cast<std::uint32_t>(I4Shuffle(buffer, offset + 4));
    return std::bit_cast<double>(high << 32 | low);
}

double ExcelFile::NumFromRk(int rk) {
    const bool isInteger = (rk & 2) != 0;
    const bool isHundredfold = (rk & 1) != 0;
    const auto high = static_cast<std::uint64_t>(static_cast<std::uint32_t>(rk) & 0xFFFFFFFCU);
    const double value = isInteger ? static_cast<double>(rk >> 2) : std::bit_cast<double>(high << 32);
    return isHundredfold ? value / 100.0 : value;
}

ExcelFileFactory::ExcelFileFactory(signed char priority)
    : SprFileFactory("Excel File", "Excel 97-2003 Files (*.xl*)", nullptr, 2, ".xls\0.xlw\0", 0, 1, 0, 1, 1,
                     priority) {}

// The extension decides; the real test is Open.
MyKindOfFile ExcelFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* ExcelFileFactory::GetSpreadsheetFile() {
    return new ExcelFile;
}

static ExcelFileFactory excelFileFactory(1);
