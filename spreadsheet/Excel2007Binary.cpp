// The binary flavour of Excel2007File: parts of records, each an id, a length and its data.
#include <algorithm>
#include <istream>
#include <limits>

#include "host/NvString.h"
#include "host/NvSystemInfo.h"
#include "host/SerialDate.h"
#include "spreadsheet/Excel2007File.h"
#include "spreadsheet/ExcelFile.h"
#include "spreadsheet/SheetPart.h"

namespace {

constexpr const char* RelationshipsPartName = "xl/_rels/workbook.bin.rels";
constexpr const char* SharedStringsPartName = "xl/sharedStrings.bin";
constexpr const char* StylesPartName = "xl/styles.bin";

enum RecordId {
    // Of a sheet.
    BrtRowHdr = 0,
    BrtCellBlank = 1,
    BrtCellRk = 2,
    BrtCellError = 3,
    BrtCellBool = 4,
    BrtCellReal = 5,
    BrtCellIsst = 7,
    BrtFmlaString = 8,
    BrtFmlaNum = 9,
    BrtFmlaBool = 10,
    BrtFmlaError = 11,
    BrtACBegin = 37,
    BrtACEnd = 38,
    BrtBeginSheetData = 145,
    BrtEndSheetData = 146,
    BrtWsDim = 148,
    SilentRecord = 427,
    // Of the workbook.
    BrtBeginBundleShs = 143,
    BrtBundleSh = 156,
    // Of the shared strings.
    BrtBeginSst = 159,
    BrtEndSst = 160,
    // Of the styles.
    BrtFmt = 44,
    BrtXF = 47,
    BrtBeginFmts = 615,
    BrtBeginCellXFs = 617
};

// Where the fields of the records stand in their data.
constexpr int RowOffset = 0;
constexpr int ColumnOffset = 0;
constexpr int StyleOffset = 4;
constexpr int ValueOffset = 8;
constexpr int FormulaTextOffset = 12;
constexpr int LastRowOffset = 4;
constexpr int LastColumnOffset = 12;
constexpr int SheetStateOffset = 0;
constexpr int SheetIdCountOffset = 8;
constexpr int SheetIdOffset = 12;
constexpr int StringCountOffset = 1;
constexpr int StringOffset = 5;
constexpr int FormatNumberOffset = 0;
constexpr int FormatCountOffset = 2;
constexpr int FormatCodeOffset = 6;
constexpr int XfFormatOffset = 2;
constexpr int CountOffset = 0;

constexpr int VisibleSheet = 0;
// A cell before any row record.
constexpr int NoRow = -1;

// The number formats that are dates without a code of their own. The times are dates here, unlike in the
// XML flavour.
bool IsDateNumber(int format) {
    return (format >= 14 && format <= 22) || (format >= 45 && format <= 47);
}

// A number of one or two bytes: the first byte's top bit tells which. The second byte's is not looked at,
// so a length of 16,384 or more, which takes a third byte in the file, is misread.
bool ReadShortNumber(std::istream& stream, unsigned int& number) {
    const int first = stream.get();
    number = static_cast<unsigned int>(first);
    if (stream.good() && (first & 0x80) != 0) {
        const int second = stream.get();
        number = static_cast<unsigned int>(second * 128 + (first ^ 0x80));
    }
    return stream.good();
}

// Reads on to the end: only there the archive compares the checksum.
bool IsIntact(std::istream& stream) {
    if (stream.bad()) {
        return false;
    }
    stream.clear();
    stream.ignore(std::numeric_limits<std::streamsize>::max());
    return !stream.bad();
}

struct SheetSize {
    int cols;
    int rows;
    bool isPossible;  // whether a sheet can be so large
};

SheetSize GetSheetSize(const char* dimension) {
    const int lastRow = ExcelFile::I4Shuffle(dimension, LastRowOffset);
    const int lastColumn = ExcelFile::I4Shuffle(dimension, LastColumnOffset);
    if (lastRow < 0 || lastRow >= MaxSheetRows || lastColumn < 0 || lastColumn >= MaxSheetColumns) {
        return {0, 0, false};
    }
    return {lastColumn + 1, lastRow + 1, true};
}

bool IsCell(int id) {
    return id >= BrtCellBlank && id <= BrtFmlaError && id != 6;
}

}  // namespace

// One record. Bytes behind it are zeros, so that every fixed field can be read of any record.
struct Excel2007File::BIFFRecord2007 {
    // The most that the two bytes of a length can tell, and room for a field that begins at its end.
    static constexpr std::size_t LongestData = 255 * 128 + 127;
    static constexpr std::size_t Room = 16;

    std::uint16_t id = 0;
    std::uint32_t length = 0;
    char data[LongestData + Room] = {};
};

// The bases are the positions of a sheet's first cell.
struct Excel2007File::BinaryPlacement {
    std::int64_t rowBase = 1;
    std::int64_t colBase = 1;
    std::int64_t rowTotal = 0;
    std::int64_t colTotal = 0;
    int maxRows = 0;
    int maxCols = 0;
    unsigned long unknownRecords = 0;
};

bool Excel2007File::ReadBiffRecord(std::istream& stream, BIFFRecord2007& record) {
    unsigned int id = 0;
    unsigned int length = 0;
    if (!ReadShortNumber(stream, id) || !ReadShortNumber(stream, length)) {
        return false;
    }
    const std::uint32_t before = record.length;
    record.id = static_cast<std::uint16_t>(id);
    record.length = length;
    if (length != 0) {
        stream.read(record.data, length);
    }
    if (length < before) {
        std::fill(record.data + length, record.data + before, '\0');
    }
    return stream.good();
}

bool Excel2007File::FindRecord(std::istream& stream, int id, BIFFRecord2007& record) {
    bool good = ReadBiffRecord(stream, record);
    while (good && record.id != id) {
        good = ReadBiffRecord(stream, record);
    }
    return good;
}

// A text of 16-bit characters, of which only the low bytes are kept. The one test of a text is whether its
// bytes up to the first NUL are more than its characters; a bad one leaves `out` as it is. A good text
// takes back the status that a bad one before it has set: only the last one counts.
int Excel2007File::GetStringDataPart(const BIFFRecord2007& record, std::uint64_t offset, std::uint32_t count,
                                     std::string& out) {
    const char* const end = record.data + record.length;
    const char* const begin = record.data + std::min<std::uint64_t>(offset, record.length);
    if (count < static_cast<std::size_t>(std::find(begin, end, '\0') - begin)) {
        status = StatusCorrupt;
        return status;
    }
    out.clear();
    const std::uint64_t there = static_cast<std::uint64_t>(end - begin + 1) / 2;
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(count, there); ++i) {
        out += begin[2 * i];
    }
    status = StatusOk;
    return status;
}

// Hidden sheets are not listed at all.
int Excel2007File::InitBinarySheetsVector(std::istream& stream) {
    std::vector<std::string> ids;
    BIFFRecord2007 record;
    if (!FindRecord(stream, BrtBeginBundleShs, record)) {
        status = StatusCorrupt;
        return status;
    }
    while (ReadBiffRecord(stream, record) && record.id == BrtBundleSh) {
        if (ExcelFile::I4Shuffle(record.data, SheetStateOffset) != VisibleSheet) {
            continue;
        }
        const auto idCount =
            static_cast<std::uint32_t>(ExcelFile::I4Shuffle(record.data, SheetIdCountOffset));
        const std::uint64_t nameCountOffset = SheetIdOffset + 2 * std::uint64_t{idCount};
        std::uint32_t nameCount = 0;
        if (nameCountOffset < record.length) {
            nameCount = static_cast<std::uint32_t>(
                ExcelFile::I4Shuffle(record.data, static_cast<int>(nameCountOffset)));
        }
        GetStringDataPart(record, SheetIdOffset, idCount, ids.emplace_back());
        GetStringDataPart(record, nameCountOffset + 4, nameCount, sheetNames.emplace_back());
    }
    hiddenSheets.assign(sheetNames.size(), false);
    // A name that can't be understood is empty and no failure.
    status = StatusOk;
    if (!IsIntact(stream)) {
        status = StatusCorrupt;
    } else if (!sheetNames.empty()) {
        KeepWorksheets(RelationshipsPartName, std::move(ids), true);
    }
    return status;
}

int Excel2007File::InitBinarySharedStringsVector() {
    sharedStrings.Clear();
    const auto stream = OpenPart(SharedStringsPartName);
    if (stream == nullptr) {
        return status;
    }
    BIFFRecord2007 record;
    std::string text;
    bool good = FindRecord(*stream, BrtBeginSst, record);
    const bool hasStrings = good;
    while (good && (good = ReadBiffRecord(*stream, record)) && record.id != BrtEndSst) {
        const auto count = static_cast<std::uint32_t>(ExcelFile::I4Shuffle(record.data, StringCountOffset));
        text.clear();
        GetStringDataPart(record, StringOffset, count, text);
        sharedStrings.Add(text.c_str());
    }
    if ((hasStrings && !good) || !IsIntact(*stream)) {
        status = StatusCorrupt;
    }
    return status;
}

int Excel2007File::InitBinaryFormatInfo() {
    formatInfo.clear();
    if (GetZipEntry(StylesPartName) == nullptr) {
        return status;
    }
    std::map<int, std::string> codes;
    if (ReadFormatCodes(codes)) {
        ReadCellFormats(codes);
    }
    return status;
}

// The last code alone decides whether the codes are good: see GetStringDataPart.
bool Excel2007File::ReadFormatCodes(std::map<int, std::string>& codes) {
    const auto stream = OpenPart(StylesPartName);
    BIFFRecord2007 record;
    if (!FindRecord(*stream, BrtBeginFmts, record)) {
        return true;
    }
    const int count = ExcelFile::I4Shuffle(record.data, CountOffset);
    for (int i = 0; i < count; ++i) {
        if (!ReadBiffRecord(*stream, record) || record.id != BrtFmt) {
            status = StatusCorrupt;
            return false;
        }
        const int number = ExcelFile::I2Shuffle(record.data, FormatNumberOffset);
        const auto length = static_cast<std::uint32_t>(ExcelFile::I4Shuffle(record.data, FormatCountOffset));
        std::string code;
        GetStringDataPart(record, FormatCodeOffset, length, code);
        codes[number] = code;
    }
    return true;
}

void Excel2007File::ReadCellFormats(const std::map<int, std::string>& codes) {
    const auto stream = OpenPart(StylesPartName);
    BIFFRecord2007 record;
    const int count =
        FindRecord(*stream, BrtBeginCellXFs, record) ? ExcelFile::I4Shuffle(record.data, CountOffset) : 0;
    for (int i = 0; i < count; ++i) {
        if (!ReadBiffRecord(*stream, record) || record.id != BrtXF) {
            status = StatusCorrupt;
            return;
        }
        const int number = ExcelFile::I2Shuffle(record.data, XfFormatOffset);
        const auto code = codes.find(number);
        formatInfo.push_back({number, code != codes.end() && IsDateFormat(code->second)});
    }
    if (!IsIntact(*stream)) {
        status = StatusCorrupt;
    }
}

void Excel2007File::SetNumber(ReadSpreadSheetData* sink, double value, int col, int row, int xf) const {
    if (xf >= 0 && static_cast<std::size_t>(xf) < formatInfo.size()) {
        const CellFormat& format = formatInfo[static_cast<std::size_t>(xf)];
        if (format.isDateCode || IsDateNumber(format.numFmt)) {
            sink->Set(col, row, IEEEDate_2_string(value).c_str());
            return;
        }
    }
    sink->Set(col, row, value);
}

// The codes are tested as bit masks, the first that has a bit in common wins: nearly all real codes (7,
// 0x0f, 0x17, 0x1d, 0x24, 0x2a) come out as the first text. Tables made so are in use, so it stays.
const char* Excel2007File::GetErrorString(char code) {
    struct ErrorText {
        int mask;
        const char* text;
    };
    static constexpr ErrorText Errors[] = {{0x07, "#DIV/0!"}, {0x0f, "#VALUE!"}, {0x17, "#REF!"},
                                           {0x1d, "#NAME?"},  {0x24, "#NUM!"},   {0x2a, "#N/A"}};
    for (const ErrorText& error : Errors) {
        if ((code & error.mask) != 0) {
            return error.text;
        }
    }
    return "Unknown error code";
}

// Leaves the part's size as it is where the sheet claims none, or none that a sheet can have.
void Excel2007File::ReadBinaryDimension(Part& part) const {
    const auto stream = OpenPart(GetSheetPartName(part.number, "bin"));
    BIFFRecord2007 record;
    if (stream == nullptr || !FindRecord(*stream, BrtWsDim, record)) {
        return;
    }
    const SheetSize size = GetSheetSize(record.data);
    if (size.isPossible) {
        part.cols = size.cols;
        part.rows = size.rows;
    }
}

// Tells the sink the size including this sheet; false for a size that no sheet can have.
bool Excel2007File::PlaceBinarySheet(const BIFFRecord2007& dimension, BinaryPlacement& placement,
                                     ReadSpreadSheetData* sink) const {
    const SheetSize size = GetSheetSize(dimension.data);
    if (!size.isPossible) {
        return false;
    }
    std::int64_t cols = 0;
    std::int64_t rows = 0;
    if (vertical) {
        placement.maxCols = std::max(placement.maxCols, size.cols);
        placement.rowBase = placement.rowTotal + 1;
        placement.rowTotal += size.rows;
        cols = placement.maxCols;
        rows = placement.rowTotal;
    } else {
        placement.maxRows = std::max(placement.maxRows, size.rows);
        placement.colBase = placement.colTotal + 1;
        placement.colTotal += size.cols;
        cols = placement.colTotal;
        rows = placement.maxRows;
    }
    // A cell may stand anywhere in a sheet, whatever its size says.
    if (placement.rowBase > std::numeric_limits<int>::max() - MaxSheetRows ||
        placement.colBase > std::numeric_limits<int>::max() - MaxSheetColumns) {
        return false;
    }
    sink->SetDataSize(static_cast<int>(cols), static_cast<int>(rows));
    return true;
}

// `row` is the row of the table in which the cell stands; false for a cell that can't be.
bool Excel2007File::PushCell(const BIFFRecord2007& record, int row, int colBase, ReadSpreadSheetData* sink) {
    const int column = ExcelFile::I4Shuffle(record.data, ColumnOffset);
    if (column < 0 || column >= MaxSheetColumns) {
        return false;
    }
    const int col = column + colBase;
    const int style = ExcelFile::I4Shuffle(record.data, StyleOffset);
    const int index = ExcelFile::I4Shuffle(record.data, ValueOffset);
    const char byte = record.data[ValueOffset];
    std::string text;
    switch (record.id) {
        case BrtCellBlank:
            sink->Set(col, row, "");
            break;
        case BrtCellRk:
            // Of the style only the low byte is used here.
            SetNumber(sink, ExcelFile::NumFromRk(index), col, row, style & 0xff);
            break;
        case BrtCellReal:
        case BrtFmlaNum:
            SetNumber(sink, ExcelFile::DShuffle(record.data, ValueOffset), col, row, style);
            break;
        case BrtCellError:
        case BrtFmlaError:
            sink->Set(col, row, GetErrorString(byte));
            break;
        case BrtCellBool:
        case BrtFmlaBool:
            sink->Set(col, row, byte == 0 ? "FALSE" : "TRUE");
            break;
        case BrtCellIsst:
            if (!sharedStrings.Has(index)) {
                return false;
            }
            sink->Set(col, row, sharedStrings.Get(index));
            break;
        default:
            GetStringDataPart(record, FormulaTextOffset, static_cast<std::uint32_t>(index), text);
            sink->Set(col, row, text.c_str());
            break;
    }
    return true;
}

// A part that ends too early ends the cells, and that is no failure. Known cells count also inside
// alternate content, unknown records don't.
bool Excel2007File::ReadBinaryCells(std::istream& stream, BinaryPlacement& placement,
                                    ReadSpreadSheetData* sink) {
    BIFFRecord2007 record;
    bool ignoring = false;
    int row = NoRow;
    while (ReadBiffRecord(stream, record) && record.id != BrtEndSheetData) {
        if (record.id == BrtRowHdr) {
            row = ExcelFile::I4Shuffle(record.data, RowOffset);
            if (row < 0 || row >= MaxSheetRows) {
                return false;
            }
        } else if (IsCell(record.id)) {
            if (row != NoRow && !PushCell(record, static_cast<int>(row + placement.rowBase),
                                          static_cast<int>(placement.colBase), sink)) {
                return false;
            }
        } else if (record.id == BrtACBegin || record.id == BrtACEnd) {
            ignoring = record.id == BrtACBegin;
        } else if (record.id != SilentRecord && !ignoring) {
            ++placement.unknownRecords;
        }
    }
    return IsIntact(stream);
}

// A sheet without a size is passed over.
bool Excel2007File::ReadBinarySheet(int sheet, BinaryPlacement& placement, ReadSpreadSheetData* sink) {
    const auto stream = OpenPart(GetSheetPartName(sheet, "bin"));
    if (stream == nullptr) {
        return false;
    }
    BIFFRecord2007 record;
    if (!FindRecord(*stream, BrtWsDim, record)) {
        return !stream->bad();
    }
    return PlaceBinarySheet(record, placement, sink) && FindRecord(*stream, BrtBeginSheetData, record) &&
           ReadBinaryCells(*stream, placement, sink);
}

// All rows are pushed: the sink isn't asked for the next one in this flavour.
int Excel2007File::ReadBinary(ReadSpreadSheetData* sink) {
    if (!CanRead()) {
        return status;
    }
    const std::vector<int> selection = selectedSheets;
    if (InitBinarySharedStringsVector() != StatusOk || InitBinaryFormatInfo() != StatusOk) {
        return status;
    }
    BinaryPlacement placement;
    for (const int sheet : selection) {
        if (!ReadBinarySheet(sheet, placement, sink)) {
            status = StatusCorrupt;
            return status;
        }
    }
    if (placement.unknownRecords != 0) {
        const std::string name = NvSystemInfo::GetApplicationName();
        warning += NvString::Format(
            "%lu record(s) was found that %s doesn't know how to read.\nThese can be web-links, drawings, "
            "formulas or other type of data that isn't\ninteresting for %s.\n",
            placement.unknownRecords, name.c_str(), name.c_str());
    }
    return status;
}
