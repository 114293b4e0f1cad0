#include "spreadsheet/ExcelFile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <span>
#include <string_view>
#include <utility>

#include "base/ByteCursor.h"
#include "base/PathNames.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "host/NvSystemInfo.h"
#include "spreadsheet/BaseStream.h"
#include "spreadsheet/BiffText.h"
#include "spreadsheet/ExcelSharedStrings.h"
#include "spreadsheet/ExcelStgStream.h"
#include "spreadsheet/SheetChoice.h"

namespace {

// Records, in the order in which a file has them.
constexpr int EofRecord = 0x000A;
constexpr int FilePassRecord = 0x002F;
constexpr int BundlesOffsetRecord = 0x008E;
constexpr int BundleHeaderRecord = 0x008F;
constexpr int CodePageRecord = 0x0042;
constexpr int DateModeRecord = 0x0022;
constexpr int FormatOfBiff2Record = 0x001E;  // and of BIFF3
constexpr int FormatRecord = 0x041E;
constexpr int XfOfBiff2Record = 0x0043;
constexpr int XfOfBiff3Record = 0x0243;
constexpr int XfOfBiff4Record = 0x0443;
constexpr int XfRecord = 0x00E0;
constexpr int BoundSheetRecord = 0x0085;
constexpr int SstRecord = 0x00FC;
constexpr int ContinueRecord = 0x003C;
constexpr int IxfeRecord = 0x0044;
constexpr int StringOfBiff2Record = 0x0007;
constexpr int StringRecord = 0x0207;
constexpr int SharedFormulaRecord = 0x04BC;
// What may stand between a formula and its text.
constexpr int RecordsBeforeText[] = {SharedFormulaRecord, 0x00BC, 0x0021, 0x0221, 0x0036, 0x0037, 0x0236,
                                     ContinueRecord};

// Records that are known by the low byte of their id, whatever the version.
constexpr int BofLow = 0x09;
constexpr int DimensionsLow = 0x00;
constexpr int LabelLow = 0x04;
constexpr int RowLow = 0x08;
constexpr int StringLow = 0x07;
constexpr int WsBoolLow = 0x81;

constexpr int HeaderSize = 4;
constexpr int MaxLengthBeforeBiff8 = 0x820;
constexpr int BofSize = 10;

// BOF. The versions are the values of biffHigh, not the generations of the format.
constexpr int Biff8Version = 0x0600;
constexpr int GlobalsSubstream = 5;
constexpr int WorksheetSubstream = 0x10;
constexpr int ChartSubstream = 0x20;
constexpr int MacroSubstream = 0x40;
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
constexpr int MacroType = 0x0100;
constexpr int ChartType = 0x0200;

// XF: where a format's number stands.
constexpr int FormatInXfOfBiff2 = 2;
constexpr int FormatInXfOfBiff3 = 1;
constexpr int FormatMaskOfBiff2 = 0x3F;
constexpr int FormatInXf = 2;

// The code page of workbooks whose texts are of 16-bit characters.
constexpr int UnicodePage = 1200;

// The date formats that a file needn't write down.
constexpr std::pair<int, int> BuiltInDateFormats[] = {{0x0E, 0x16}, {0x2D, 0x2F}};
constexpr std::string_view DateLetters = "ymdhms";

// SST.
constexpr int SharedTextOffset = 8;

// Open looks at every byte of the globals once and at the head of every sheet once, so a file in which it
// comes to more than a few times its size leads in circles.
constexpr long long MaxWalks = 4;
// A small file may be walked as often as it likes: that takes no time.
constexpr long long MinWalkBudget = 1 << 22;

// A sheet's declared size isn't bound to its cells. No version has more rows or columns than this, so no
// label is written beyond.
constexpr int MaxLabels = 0x20000;

// How far a walk over a sheet goes before it looks whether it is to stop.
constexpr int RecordsBetweenLooks = 4096;
constexpr unsigned WalkedRecordsBetweenLooks = 64;
// FILEPASS stands among the first records.
constexpr int RecordsBeforeFilePass = 16;
// The names that a note tells, of more sheets.
constexpr std::size_t MaxNamesInNote = 20;

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

// The bytes of a record from an offset on, as far as it has them.
std::string_view TextBytesOf(const ExcelFile::BIFFRecord& record, int offset) {
    return offset < record.length
               ? std::string_view(record.data + offset, static_cast<std::size_t>(record.length - offset))
               : std::string_view();
}

// Of numbers or a shared text, with all its fields.
bool IsPlainRecord(int id, int length) {
    constexpr int NumberLength = 14;
    constexpr int RkLength = 10;
    switch (id) {
        case BiffCellRecord::Number:
            return length == NumberLength;
        case BiffCellRecord::Rk:
        case BiffCellRecord::LabelSst:
            return length == RkLength;
        case BiffCellRecord::MulRk:
            return length >= RkLength && length <= MaxLengthBeforeBiff8;
        default:
            return false;
    }
}

void CopyRecord(const ExcelFile::BIFFRecord& from, ExcelFile::BIFFRecord& to) {
    std::memcpy(to.data, from.data, static_cast<std::size_t>(from.length));
    if (from.length < to.length) {
        std::memset(to.data + from.length, 0, static_cast<std::size_t>(to.length - from.length));
    }
    to.id = from.id;
    to.length = from.length;
}

// The first names of a list, with commas.
std::string JoinNames(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), MaxNamesInNote); ++i) {
        text += (i == 0 ? "" : ", ") + names[i];
    }
    return names.size() > MaxNamesInNote ? text + ", ..." : text;
}

// What a later workbook with a password is, whatever its extension.
bool HoldsEncryptedPackage(const char* path) {
    const CompoundFile file(path);
    return std::any_of(file.GetEntries().begin(), file.GetEntries().end(),
                       [](const auto& entry) { return EqualIgnoringCase(entry.name, "EncryptedPackage"); });
}

const char* KindOfSheet(int type) {
    return type == ChartType ? "chart" : type == MacroType ? "macro sheet" : "module";
}

}  // namespace

ExcelFile::ExcelFile() = default;
ExcelFile::~ExcelFile() = default;

void ExcelFile::Close() {
    stream = {};
    optionsBuffer = {};
    FormatReader::Close();
}

int ExcelFile::GetNumCols() {
    if (status != StatusOk || !MeasureChosenSheets()) {
        return -1;
    }
    return vertical ? Add(LargestOf(&WorksheetEntry::cols), LabelCount()) : SumOf(&WorksheetEntry::cols);
}

int ExcelFile::GetNumRows() {
    if (status != StatusOk || !MeasureChosenSheets()) {
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

// In the classic reading several sheets have a row or column of labels behind them.
int ExcelFile::LabelCount() const {
    return selectedSheets.size() > 1 && !IsComplete() ? 1 : 0;
}

// The classic reading believes what a sheet declares, the complete one looks. False, with a status, where a
// sheet can't be read.
bool ExcelFile::MeasureChosenSheets() {
    if (!IsComplete() || !stream.IsOpen()) {
        return true;
    }
    CompleteBiffCells cells(tables);
    for (const int number : selectedSheets) {
        WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(number)];
        if (sheet.rows >= 0) {
            continue;
        }
        cells.BeginSheet({}, 0, 0);
        const int found = WalkSheet(sheet, cells);
        if (found != StatusOk && selectedSheets.size() == 1) {
            status = found;
            return false;
        }
        sheet.cols = cells.GetCols();
        sheet.rows = cells.GetRows();
    }
    return true;
}

void ExcelFile::GetErrorMessage(char* buffer, unsigned int size) {
    const std::string& application = NvSystemInfo::GetApplicationName();
    const std::string isProtected = application +
                                    " cannot read (password-) protected Excel workbooks. You will need to "
                                    "remove the password protection to "
                                    "be able to read the file into " +
                                    application + ".";
    const std::string isUnknown =
        application +
        " can not read this version of Excel files. Only Excel files based on the BIFF2 to BIFF8 formats can "
        "be "
        "read. This includes files generated by Excel version 2, 3, 4, 5, 95, 97, 2000 & XP.";
    const StatusText texts[] = {
        {StatusOpenFailed, "Unable to open Excel file."},
        {StatusBadGlobals,
         "An error occurred when reading the Workbook section in the Excel file. An invalid BIFF-record was "
         "found."},
        {StatusBadWorksheet,
         "An error occurred when reading a Worksheet in the Excel file. An invalid BIFF-record was found."},
        {StatusNotExcel, "This file does not appear to be a valid Excel file."},
        {StatusNoWorksheet, "The specified Worksheet is either a dialog / form or has no data."},
        {StatusProtected, isProtected},
        {StatusNoExcelStream, "No Excel stream was found in the file."},
        {StatusNoSheets, "The excel file does not contain any sheets."},
        {StatusUnknownVersion, isUnknown},
    };
    CopyStatusText(texts, buffer, size);
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
    if (IsComplete()) {
        GetContext()->budget.AddInput(fileName);
        ChooseEncoding(options);
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
    tables.Clear();
    boundSheets.clear();
    hasForcedEncoding = false;
    hasOwnFormats = hasOwnXfs = false;
    formatCount = 0;
    hasNextRecord = false;
    path = fileName;
    walkBudget = std::max(MaxWalks * static_cast<long long>(NvFile::GetSize(fileName)), MinWalkBudget);
}

void ExcelFile::OpenStream(const char* fileName) {
    if (CompoundFile::IsCompoundFile(fileName)) {
        stream = RecordBytes(std::make_unique<ExcelStgStream>(
            fileName, IsComplete() ? ExcelStgStream::Naming::AnyCase : ExcelStgStream::Naming::Exact));
    } else {
        stream = RecordBytes(std::make_unique<BaseStream>(fileName, std::ios_base::in));
    }
    const int streamStatus = stream.GetStatus();
    if (streamStatus != 0) {
        status = streamStatus == ExcelStgStream::StatusNoStream ? StatusNoExcelStream : StatusOpenFailed;
        if (IsComplete() && status == StatusNoExcelStream && HoldsEncryptedPackage(fileName)) {
            status = StatusProtected;
        }
        return;
    }
    if (IsComplete()) {
        stream.Seek(0, 2);
        streamSize = stream.Tell();
        stream.Seek(0, 0);
    }
}

void ExcelFile::ChooseEncoding(const NvImportOpenOptions* options) {
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Encoding);
    auto chosen = wanted ? CodePage::Find(*wanted) : std::nullopt;
    if (chosen) {
        tables.codePage = std::move(*chosen);
        hasForcedEncoding = true;
    } else if (wanted) {
        AddNote(
            {"unknown-encoding", 1, {}, "the encoding \"" + *wanted + "\" isn't known and not looked at"});
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
    decoder.Begin(isBiff2 != 0, !IsComplete());
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
    if (IsComplete()) {
        boundSheets.push_back({});
        ListSheets();
        for (int i = 0; i < RecordsBeforeFilePass && status == StatusOk && WalkBiffRecord(nextRecord); ++i) {
            if (nextRecord.id == FilePassRecord) {
                status = StatusProtected;
                return;
            }
        }
        if (stream.GetStatus() != 0) {
            OpenStream(path.c_str());
        }
        GetSheet(options);
        return;
    }
    const int found = IsWorksheet(0);
    selectedSheets = {0};
    worksheets[0].cols = numCols;
    worksheets[0].rows = numRows;
    if (found != StatusOk) {
        status = found;
    }
}

// One record: its id, the length of its data, the data. Nothing else is checked here; what a record lacks
// at its end reads as zeros.
bool ExcelFile::ReadBiffRecord(BIFFRecord& target) {
    char header[HeaderSize];
    if (!stream.Read(header, HeaderSize)) {
        return false;
    }
    const std::int16_t length = I2Shuffle(header, 2);
    const int maxLength = isBiff8 || IsComplete() ? MaxRecordLength : MaxLengthBeforeBiff8;
    if (length < 0 || length > maxLength) {
        return false;
    }
    if (length < target.length) {
        std::memset(target.data + length, 0, static_cast<std::size_t>(target.length - length));
    }
    target.id = uI2Shuffle(header, 0);
    target.length = length;
    bytesRead += HeaderSize + length;
    return stream.Read(target.data, static_cast<std::size_t>(length));
}

// The same for the walks of Open, which offsets in the file could lead in circles.
bool ExcelFile::WalkBiffRecord(BIFFRecord& target) {
    if (walkBudget < 0 || !ReadBiffRecord(target)) {
        return false;
    }
    walkBudget -= HeaderSize + target.length;
    // Of shared strings a record holds many.
    if (++walkedRecords % WalkedRecordsBetweenLooks == 0) {
        GetContext()->ThrowIfStopped();
    }
    return true;
}

// Looks from `offset` on for the size of a sheet, which it leaves in numCols and numRows. A sheet that ends
// before it has told its size keeps that of the sheet before.
int ExcelFile::IsWorksheet(long offset) {
    const int position = stream.Tell();
    stream.Seek(offset, 0);
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
    stream.Seek(position, 0);
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
    if (biffHigh == HighOfBiff5) {
        for (const auto& [first, last] : BuiltInDateFormats) {
            for (int number = first; number <= last; ++number) {
                tables.classicDateFormats.insert(number);
            }
        }
    }
    const bool isWhole = WalkGlobals();
    if (status != StatusOk) {
        return status;
    }
    ListSheets();
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
    stream.Seek(worksheets[0].offset, 0);
    while (WalkBiffRecord(record)) {
        bool isGood = true;
        if (record.id == EofRecord) {
            return true;
        }
        if (biffHigh == HighOfBiff4 && record.id == BundlesOffsetRecord) {
            stream.Seek(I4Shuffle(record.data, 0), 0);
        } else if (biffHigh == HighOfBiff4 && record.id == BundleHeaderRecord) {
            isGood = ReadBundleHeader();
        } else if (biffHigh == HighOfBiff5) {
            isGood = ReadGlobal();
        } else if (IsComplete() && record.id == FilePassRecord) {
            status = StatusProtected;
            isGood = false;
        } else {
            ReadTableRecord();
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
    BoundSheet sheet;
    sheet.length = static_cast<std::uint8_t>(record.data[4]);
    sheet.name = TextBytesOf(record, 5).substr(0, static_cast<std::size_t>(sheet.length));
    if (!WalkBiffRecord(nextRecord)) {
        return false;
    }
    bool isGood = true;
    if (LowByte(nextRecord.id) == BofLow) {
        const int substream = I2Shuffle(nextRecord.data, 2);
        sheet.offset = stream.Tell();
        sheet.type = substream == WorksheetSubstream ? 0
                     : substream == ChartSubstream   ? ChartType
                                                     : MacroType;
        isGood = TakeSheet(sheet);
    }
    stream.Seek(std::int64_t{length} - BofSize, 1);
    return isGood;
}

// BIFF5 and later. False ends the walk.
bool ExcelFile::ReadGlobal() {
    switch (record.id) {
        case FilePassRecord:
            status = StatusProtected;
            return false;
        case BoundSheetRecord:
            return TakeSheet(DecodeBoundSheet());
        case SstRecord:
            return ReadSharedStrings();
        default:
            ReadTableRecord();
            return true;
    }
}

// The records that tell what the cells refer to; false for another one.
bool ExcelFile::ReadTableRecord() {
    switch (record.id) {
        case FormatOfBiff2Record:
        case FormatRecord:
            ReadFormat();
            ReadClassicFormat();
            return true;
        case XfOfBiff2Record:
            AddXf(record.data[FormatInXfOfBiff2] & FormatMaskOfBiff2);
            return true;
        case XfOfBiff3Record:
        case XfOfBiff4Record:
            AddXf(static_cast<std::uint8_t>(record.data[FormatInXfOfBiff3]));
            return true;
        case XfRecord:
            AddXf(uI2Shuffle(record.data, FormatInXf));
            // By the classic rule only formats that came before count.
            tables.classicDateXf.push_back(
                tables.classicDateFormats.contains(I2Shuffle(record.data, FormatInXf)));
            return true;
        case CodePageRecord:
            ReadCodePage();
            return true;
        case DateModeRecord:
            tables.dateSystem = uI2Shuffle(record.data, 0) != 0 ? DateSystem::From1904 : DateSystem::From1900;
            return true;
        default:
            return false;
    }
}

void ExcelFile::AddXf(int format) {
    if (!std::exchange(hasOwnXfs, true)) {
        tables.xfFormats.clear();
    }
    tables.xfFormats.push_back(format);
}

void ExcelFile::ReadCodePage() {
    if (hasForcedEncoding || !IsComplete()) {
        return;
    }
    const int number = uI2Shuffle(record.data, 0);
    tables.codePage = CodePage(number == UnicodePage ? CodePage::Western : number);
    if (!tables.codePage.IsKnown() && !isBiff8) {
        AddNote(
            {"unknown-code-page",
             1,
             {},
             "the code page " + std::to_string(number) + " isn't known; texts are taken for Windows-1252"});
    }
}

ExcelFile::BoundSheet ExcelFile::DecodeBoundSheet() const {
    constexpr int LengthOffset = 6;
    BoundSheet sheet;
    sheet.offset = I4Shuffle(record.data, 0);
    sheet.type = uI2Shuffle(record.data, 4) & SheetTypeMask;
    sheet.visibility = uI2Shuffle(record.data, 4) & VisibilityMask;
    sheet.length = static_cast<std::uint8_t>(record.data[LengthOffset]);
    sheet.name = TextBytesOf(record, LengthOffset + 1);
    return sheet;
}

// False ends the walk over the globals. The complete rule lists a sheet of any kind; see ListSheets.
bool ExcelFile::TakeSheet(const BoundSheet& sheet) {
    if (IsComplete()) {
        boundSheets.push_back(sheet);
        return true;
    }
    return sheet.type != 0 || ListClassicSheet(sheet);
}

// The classic rule: a worksheet that tells its size. BIFF8's option byte counts into the name's length, and
// the bytes are taken as they are: a name of 16-bit characters ends behind its first letter.
bool ExcelFile::ListClassicSheet(const BoundSheet& sheet) {
    const int found = IsWorksheet(sheet.offset);
    if (found == StatusOk) {
        int length = sheet.length;
        std::string_view name = sheet.name;
        if (isBiff8) {
            const int options = name.empty() ? 0 : static_cast<std::uint8_t>(name.front());
            length = static_cast<std::int16_t>(sheet.length | options << 8);
            name.remove_prefix(std::min<std::size_t>(1, name.size()));
        } else if (biffHigh == HighOfBiff5) {
            // The count is taken for a signed byte: a longer name is none.
            length = sheet.length > std::numeric_limits<std::int8_t>::max() ? 0 : sheet.length;
        }
        name = name.substr(0, static_cast<std::size_t>(std::max(length, 0)));
        AddWorksheet(std::string(name.substr(0, name.find('\0'))), sheet.offset, sheet.visibility != 0);
    }
    return found == StatusOk || found == StatusNoWorksheet;
}

// The complete rule: every worksheet, of whatever size, under its whole name.
void ExcelFile::ListSheets() {
    numCols = numRows = -1;
    for (const BoundSheet& sheet : boundSheets) {
        if (sheet.type == 0) {
            AddWorksheet(DecodeText(sheet.name, sheet.length), sheet.offset, sheet.visibility != 0);
        }
    }
}

std::string ExcelFile::DecodeText(std::string_view bytes, int length) const {
    BiffText text(static_cast<std::size_t>(length), isBiff8, tables.codePage);
    text.Add(bytes);
    return text.Get();
}

// What the workbook calls a number format; before BIFF5 they count by themselves.
void ExcelFile::ReadFormat() {
    if (!std::exchange(hasOwnFormats, true)) {
        tables.formats.Clear();
        formatCount = 0;
    }
    const bool isOfBiff2 = record.id == FormatOfBiff2Record;
    const int number = biffHigh == HighOfBiff5 ? uI2Shuffle(record.data, 0) : formatCount;
    const int lengthOffset = isOfBiff2 ? 0 : 2;
    const int length = isBiff8 ? uI2Shuffle(record.data, lengthOffset)
                               : static_cast<std::uint8_t>(record.data[lengthOffset]);
    tables.formats.Define(number, DecodeText(TextBytesOf(record, lengthOffset + (isBiff8 ? 2 : 1)), length));
    ++formatCount;
}

// A format is one of dates when it has two date letters anywhere, also in quoted text. The one reading
// serves BIFF5 and BIFF8: in the latter the upper byte of the count and the option byte stand before the
// text, so that its last two characters are not seen; and a text of 16-bit characters, which ends early
// here, counts as a date. BIFF4 and before have no dates.
void ExcelFile::ReadClassicFormat() {
    if (biffHigh != HighOfBiff5 || record.id != FormatRecord) {
        return;
    }
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
        tables.classicDateFormats.insert(I2Shuffle(record.data, 0));
    }
}

bool ExcelFile::ReadSharedStrings() {
    tables.sharedStrings = std::make_unique<ExcelSharedStrings>(
        I4Shuffle(record.data, 4), IsComplete() ? ExcelSharedStrings::Complete : ExcelSharedStrings::Classic);
    ExcelSharedStrings& strings = *tables.sharedStrings;
    if (record.length > SharedTextOffset + (IsComplete() ? 0 : 3)) {
        strings.Parse(BytesOf(record, SharedTextOffset));
    }
    bool isRead = WalkBiffRecord(record);
    while (isRead && record.id == ContinueRecord) {
        strings.Parse(BytesOf(record, 0));
        isRead = WalkBiffRecord(record);
    }
    strings.Finish();
    if (!IsComplete()) {
        // The record behind the strings is passed over with them.
        return isRead;
    }
    if (std::cmp_not_equal(strings.GetSize(), strings.GetCount())) {
        AddNote({"string-count",
                 1,
                 {},
                 "the workbook tells of " + std::to_string(strings.GetCount()) + " shared strings and has " +
                     std::to_string(strings.GetSize())});
    }
    if (isRead) {
        // What stands behind the strings counts too.
        stream.Seek(-(HeaderSize + std::int64_t{record.length}), 1);
    }
    return isRead;
}

bool ExcelFile::GetSheet(NvImportOpenOptions* options) {
    if (status == StatusOk && IsComplete()) {
        return ChooseParts(options);
    }
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
    return ChooseClassically(options, names);
}

bool ExcelFile::ChooseClassically(NvImportOpenOptions* options, std::vector<std::string>& names) {
    const std::vector<int> before = selectedSheets;
    if (HasOptions(options)) {
        SheetChoice::Read(*options, selectedSheets, vertical);
    } else {
        GetSheetOptions(&names);
        if (status == StatusAbortedByUser) {
            stream = {};
            return false;
        }
        if (WantsOptions(options)) {
            SheetChoice::Lend(selectedSheets, vertical, optionsBuffer, *options);
        }
    }
    // A choice of sheets that don't exist leaves the one from before, which is the first sheet.
    SetCurWorksheet(std::exchange(selectedSheets, before));
    return status == StatusOk;
}

// The complete rule: the sheets that the record names, else the first that a user sees.
bool ExcelFile::ChooseParts(NvImportOpenOptions* options) {
    if (worksheetCount == 0) {
        status = StatusNoSheets;
        return false;
    }
    vertical = SheetChoice::ReadVertical(options);
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Part);
    if (!wanted) {
        const auto visible = std::find_if(worksheets.begin() + 1, worksheets.end(),
                                          [](const WorksheetEntry& sheet) { return !sheet.hidden; });
        selectedSheets = {visible == worksheets.end() ? 1 : static_cast<int>(visible - worksheets.begin())};
    } else if (const auto places = FindParts(ListSheetsAsParts(), *wanted)) {
        selectedSheets.clear();
        for (const std::size_t place : *places) {
            selectedSheets.push_back(static_cast<int>(place) + 1);
        }
    } else {
        failureText = "The workbook has no sheet \"" + *wanted + "\".";
        status = StatusNoWorksheet;
        return false;
    }
    if (WantsOptions(options)) {
        SheetChoice::LendParts(NameChosenParts(), vertical, optionsBuffer, *options);
    }
    return true;
}

// By name where that finds the same sheet again, else by place.
std::string ExcelFile::NameChosenParts() const {
    const std::vector<Part> parts = ListSheetsAsParts();
    std::string names;
    for (const int number : selectedSheets) {
        const std::string& name = parts[static_cast<std::size_t>(number) - 1].name;
        const auto found = FindParts(parts, name);
        const bool isFound = !name.empty() && name.find(',') == std::string::npos && found &&
                             *found == std::vector{static_cast<std::size_t>(number) - 1};
        names += (names.empty() ? "" : ",") + (isFound ? name : std::to_string(number));
    }
    return names;
}

int ExcelFile::GetSheetOptions(std::vector<std::string>* /*sheetNames*/) {
    selectedSheets = {1};
    vertical = true;
    return status;
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
    if (selectedSheets.empty() || !stream.IsOpen()) {
        status = StatusBadWorksheet;
        return status;
    }
    status = IsComplete() ? ReadComplete(*sink) : ReadClassic(*sink);
    return status;
}

int ExcelFile::ReadClassic(ReadSpreadSheetData& sink) {
    ClassicBiffCells cells(sink, tables, biffHigh);
    int rowOffset = 0;
    int colOffset = 0;
    bool isGood = true;
    for (const int number : selectedSheets) {
        WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(number)];
        cells.MoveTo(colOffset, rowOffset);
        isGood = ReadClassicSheet(cells, sheet);
        if (selectedSheets.size() > 1) {
            LabelSheet(&sink, sheet, colOffset, rowOffset);
        }
        // A size of -1, of a first sheet that ended before it told one, moves the next sheet back as it
        // lowers the table's size.
        int& offset = vertical ? rowOffset : colOffset;
        offset = Add(offset, vertical ? sheet.rows : sheet.cols);
    }
    cells.AddTo(GetContext()->notes);
    // Only the last sheet decides.
    return isGood ? static_cast<int>(StatusOk) : static_cast<int>(StatusBadWorksheet);
}

// False when a record couldn't be read. A sheet without EOF ends at the BOF of the next.
bool ExcelFile::ReadClassicSheet(ClassicBiffCells& cells, const WorksheetEntry& sheet) {
    stream.Seek(sheet.offset, 0);
    bool isHead = true;
    while (isHead) {
        if (!ReadBiffRecord(record)) {
            return false;
        }
        // The record that ends the head is dropped, whatever it is: as a rule DIMENSIONS.
        const int low = LowByte(record.id);
        isHead = low != RowLow && low != LabelLow && low != DimensionsLow && record.id != EofRecord;
    }
    for (int records = 1; ReadBiffRecord(record); ++records) {
        if (record.id == EofRecord) {
            return true;
        }
        const bool isNextSheet = LowByte(record.id) == BofLow;
        if (!ReadClassicCells(cells)) {
            return false;
        }
        if (isNextSheet) {
            return true;
        }
        if (records % RecordsBetweenLooks == 0) {
            GetContext()->ThrowIfStopped();
        }
    }
    return false;
}

// False when a record that belongs to a cell couldn't be read.
bool ExcelFile::ReadClassicCells(ClassicBiffCells& cells) {
    for (const BiffCell& cell : decoder.Decode(record.id, record.data, record.length)) {
        if (cell.kind == BiffCell::Kind::FormulaText && cells.Reads(cell)) {
            if (!ReadClassicFormulaText(cells, cell)) {
                return false;
            }
        } else {
            cells.Put(cell);
        }
    }
    return true;
}

// A text result stands in a record of its own behind the formula, or behind the formula that it shares. What
// stands there instead is passed over.
bool ExcelFile::ReadClassicFormulaText(ClassicBiffCells& cells, const BiffCell& cell) {
    if (!ReadBiffRecord(nextRecord)) {
        return false;
    }
    if (nextRecord.id == SharedFormulaRecord && !ReadBiffRecord(nextRecord)) {
        return false;
    }
    if (LowByte(nextRecord.id) == StringLow) {
        const int length = isBiff2 != 0 ? I1Shuffle(nextRecord.data, 0) : uI2Shuffle(nextRecord.data, 0);
        const int textOffset = 2 + (isBiff8 ? 1 : 0) - isBiff2;
        cells.PutFormulaText(cell, length, TextBytesOf(nextRecord, textOffset));
    }
    return true;
}

int ExcelFile::ReadComplete(ReadSpreadSheetData& sink) {
    CellOutput output(sink);
    CellRuns runs(sink, output);
    CompleteBiffCells cells(output, runs, tables);
    const bool isAlone = selectedSheets.size() == 1;
    int tableCols = 0;
    int tableRows = 0;
    int colOffset = 0;
    int rowOffset = 0;
    int result = StatusBadWorksheet;
    for (const int number : selectedSheets) {
        WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(number)];
        cells.BeginSheet(isAlone ? std::string() : sheet.name, colOffset, rowOffset);
        lastCell = {0, 0};
        const int found = WalkSheet(sheet, cells);
        if (found == StatusOk || isAlone) {
            result = found;
            if (found != StatusOk && lastCell.rows > 0) {
                failurePlace.cell = GetCellName(sheet.name, lastCell.cols, lastCell.rows);
            }
        } else {
            AddNote({"unreadable-part", 1, sheet.name,
                     "the sheet \"" + sheet.name +
                         "\" can't be read to its end; what lies behind the break is missing"});
        }
        sheet.cols = cells.GetCols();
        sheet.rows = cells.GetRows();
        tableCols = std::max(tableCols, Add(colOffset, sheet.cols));
        tableRows = std::max(tableRows, Add(rowOffset, sheet.rows));
        int& offset = vertical ? rowOffset : colOffset;
        offset = Add(offset, vertical ? sheet.rows : sheet.cols);
    }
    runs.EndAll();
    sink.SetDataSize(tableCols, tableRows);
    cells.AddTo(GetContext()->notes);
    NoteOtherParts();
    return result;
}

// All cells of a sheet; returns the status. Charts inside are passed over.
int ExcelFile::WalkSheet(const WorksheetEntry& sheet, CompleteBiffCells& cells) {
    if (stream.GetStatus() != 0) {
        // A failure stays with a stream; another sheet may be whole.
        OpenStream(path.c_str());
    }
    stream.Seek(sheet.offset, 0);
    bytesRead = 0;
    hasNextRecord = false;
    hasOwnFormats = hasOwnXfs = biffHigh == HighOfBiff5;
    int depth = 0;
    for (int records = 1; NextRecord(); ++records) {
        if (records % RecordsBetweenLooks == 0) {
            GetContext()->ThrowIfStopped();
            GetContext()->budget.ChargeWork(RecordsBetweenLooks, "The sheets");
        }
        if (record.id == EofRecord && depth == 0) {
            return StatusOk;
        }
        if (record.id == FilePassRecord) {
            return StatusProtected;
        }
        if (LowByte(record.id) == BofLow && records > 1) {
            if (depth == 0 && I2Shuffle(record.data, 2) != ChartSubstream) {
                NoteMissingEnd(sheet);
                return StatusOk;
            }
            ++depth;
        } else if (record.id == EofRecord) {
            --depth;
        } else if (depth == 0) {
            TakeSheetRecord(cells);
            records += PutPlainRecords(cells, RecordsBetweenLooks - 1 - records % RecordsBetweenLooks);
        }
    }
    if (bytesRead > 0 && sheet.offset + bytesRead >= streamSize) {
        NoteMissingEnd(sheet);
        return StatusOk;
    }
    return StatusBadWorksheet;
}

void ExcelFile::NoteMissingEnd(const WorksheetEntry& sheet) {
    AddNote({"no-end", 1, sheet.name, "the sheet \"" + sheet.name + "\" ends without its last record"});
}

// Before BIFF5 a sheet has its own formats.
void ExcelFile::TakeSheetRecord(CompleteBiffCells& cells) {
    if (record.id == IxfeRecord) {
        cells.SetFormatOfNextCells(uI2Shuffle(record.data, 0));
    } else if (biffHigh < HighOfBiff5 && ReadTableRecord()) {
        cells.ForgetKinds();
    } else {
        PutCells(cells);
    }
}

void ExcelFile::PutCells(CompleteBiffCells& cells) {
    for (const BiffCell& cell : decoder.Decode(record.id, record.data, record.length)) {
        lastCell = {cell.col + 1, cell.row + 1};
        if (cell.kind == BiffCell::Kind::Text) {
            cells.PutText(cell, ReadText(cell.count, cell.bytes));
        } else if (cell.kind == BiffCell::Kind::FormulaText) {
            cells.PutText(cell, ReadFormulaText());
        } else {
            cells.Put(cell);
        }
    }
}

// The records to come of numbers and shared texts, from where they lie; how many they were. Before BIFF5 each
// could be one of the sheet's own formats.
int ExcelFile::PutPlainRecords(CompleteBiffCells& cells, int most) {
    int count = 0;
    for (; count < most && !hasNextRecord && biffHigh >= HighOfBiff5; ++count) {
        const std::string_view ahead = stream.GetAhead();
        if (ahead.size() <= HeaderSize) {
            break;
        }
        const char* const bytes = ahead.data();  // NOLINT(bugprone-suspicious-stringview-data-usage): sized
        const int id = BiffU16(bytes, 0);
        const int length = BiffU16(bytes, 2);
        if (!IsPlainRecord(id, length) || ahead.size() - HeaderSize <= static_cast<std::size_t>(length)) {
            break;
        }
        for (const BiffCell& cell : decoder.Decode(id, bytes + HeaderSize, length)) {
            lastCell = {cell.col + 1, cell.row + 1};
            cells.Put(cell);
        }
        bytesRead += HeaderSize + length;
        stream.Skip(HeaderSize + static_cast<std::size_t>(length));
    }
    return count;
}

// A text that begins with these bytes of the present record, and may go on in the next ones.
std::string ExcelFile::ReadText(int count, std::string_view bytes) {
    BiffText text(static_cast<std::size_t>(count), isBiff8, tables.codePage);
    text.Add(bytes);
    while (!text.IsWhole() && PeekRecord() && nextRecord.id == ContinueRecord) {
        text.Add(TextBytesOf(nextRecord, 0));
        hasNextRecord = false;
    }
    return text.Get();
}

// The text of the formula of the present record stands in a record of its own behind it, with those that
// define shared formulas in between.
std::string ExcelFile::ReadFormulaText() {
    while (PeekRecord()) {
        if (nextRecord.id == StringRecord || nextRecord.id == StringOfBiff2Record) {
            NextRecord();
            const bool isOfBiff2 = record.id == StringOfBiff2Record;
            const int count =
                isOfBiff2 ? static_cast<std::uint8_t>(record.data[0]) : uI2Shuffle(record.data, 0);
            return ReadText(count, TextBytesOf(record, isOfBiff2 ? 1 : 2));
        }
        if (std::find(std::begin(RecordsBeforeText), std::end(RecordsBeforeText), nextRecord.id) ==
            std::end(RecordsBeforeText)) {
            break;
        }
        hasNextRecord = false;
    }
    return {};
}

// The next record of a sheet, into `record`.
bool ExcelFile::NextRecord() {
    if (!hasNextRecord) {
        return ReadBiffRecord(record);
    }
    CopyRecord(nextRecord, record);
    hasNextRecord = false;
    return true;
}

// The same into `nextRecord`, without taking it.
bool ExcelFile::PeekRecord() {
    hasNextRecord = hasNextRecord || ReadBiffRecord(nextRecord);
    return hasNextRecord;
}

// What of the workbook isn't in the table.
void ExcelFile::NoteOtherParts() {
    std::vector<std::string> names;
    for (int number = 1; number <= worksheetCount; ++number) {
        if (std::find(selectedSheets.begin(), selectedSheets.end(), number) == selectedSheets.end()) {
            const WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(number)];
            names.push_back("\"" + sheet.name + (sheet.hidden ? "\" (hidden)" : "\""));
        }
    }
    if (!names.empty()) {
        AddNote({"other-parts", names.size(), {}, "sheets that are not in this table: " + JoinNames(names)});
    }
    names.clear();
    for (const BoundSheet& sheet : boundSheets) {
        if (sheet.type != 0) {
            names.push_back("\"" + DecodeText(sheet.name, sheet.length) + "\" (" + KindOfSheet(sheet.type) +
                            ")");
        }
    }
    if (!names.empty()) {
        AddNote({"other-sheets", names.size(), {}, "sheets that hold no table: " + JoinNames(names)});
    }
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

std::vector<FileContents::Part> ExcelFile::ListParts() {
    if (IsComplete() && stream.IsOpen()) {
        MeasureAllSheets();
    }
    return ListSheetsAsParts();
}

std::vector<FileContents::Part> ExcelFile::ListSheetsAsParts() const {
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

// Sheets that can't be read stay without a size. Each place in the file is walked once.
void ExcelFile::MeasureAllSheets() {
    std::map<std::int32_t, const WorksheetEntry*> measured;
    CompleteBiffCells cells(tables);
    for (int number = 1; number <= worksheetCount; ++number) {
        WorksheetEntry& sheet = worksheets[static_cast<std::size_t>(number)];
        const auto [known, isNew] = measured.emplace(sheet.offset, &sheet);
        if (!isNew) {
            sheet.cols = known->second->cols;
            sheet.rows = known->second->rows;
        } else if (sheet.rows < 0) {
            cells.BeginSheet({}, 0, 0);
            if (WalkSheet(sheet, cells) == StatusOk) {
                sheet.cols = cells.GetCols();
                sheet.rows = cells.GetRows();
            }
        }
    }
}

std::vector<FileContents::Fact> ExcelFile::ListFacts() {
    const char* version = isBiff8 ? "BIFF8" : "BIFF5";
    if (biffHigh < HighOfBiff5 && !isBiff8) {
        version = biffHigh == 0 ? "BIFF2" : biffHigh == HighOfBiff3 ? "BIFF3" : "BIFF4";
    }
    std::vector<Fact> facts = {{"version", version}};
    if (tables.sharedStrings != nullptr) {
        facts.emplace_back("strings", NvString::Format("%d", tables.sharedStrings->GetCount()));
    }
    if (IsComplete()) {
        facts.emplace_back("dates", tables.dateSystem == DateSystem::From1904 ? "from 1904" : "from 1900");
        if (!isBiff8) {
            facts.emplace_back("encoding", tables.codePage.GetName());
        }
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
    return BiffU16(buffer, offset);
}

std::int32_t ExcelFile::I4Shuffle(const char* buffer, int offset) {
    return BiffI32(buffer, offset);
}

double ExcelFile::DShuffle(const char* buffer, int offset) {
    return BiffDouble(buffer, offset);
}

double ExcelFile::NumFromRk(int rk) {
    return BiffRk(rk);
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

namespace {

// A compound file with a workbook in it, or a BOF of a plain one.
FormatRecogniser::Evidence Recognise(const char* path, std::string_view head) {
    using Evidence = FormatRecogniser::Evidence;
    ByteCursor cursor({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
    const int id = cursor.ReadU16();
    const int length = cursor.ReadU16();
    const int version = cursor.ReadU16();
    const int substream = cursor.ReadU16();
    const int high = id >> 8;
    const bool isKnownHigh = high == 0 || high == HighOfBiff3 || high == HighOfBiff4 || high == HighOfBiff5;
    const bool isBof = !cursor.HasFailed() && LowByte(id) == BofLow && isKnownHigh && length >= 4 &&
                       length <= 16 && version <= Biff8Version;
    const bool isSheet =
        substream == WorksheetSubstream || substream == ChartSubstream || substream == MacroSubstream;
    const bool isBook = (substream == GlobalsSubstream && high == HighOfBiff5) ||
                        (substream == Biff4WorkbookSubstream && high == HighOfBiff4);
    if (isBof && (isSheet || isBook)) {
        return Evidence::Proof;
    }
    if (!CompoundFile::IsCompoundFile(path)) {
        return Evidence::None;
    }
    const CompoundFile file(path);
    const bool hasWorkbook = ExcelStgStream::FindWorkbook(file, ExcelStgStream::Naming::AnyCase) != nullptr;
    return hasWorkbook ? Evidence::Proof : Evidence::None;
}

}  // namespace

static ExcelFileFactory excelFileFactory(1);
static const FormatRecogniser excelFileRecogniser("Excel File", "xls", {".xlt"}, Recognise);
