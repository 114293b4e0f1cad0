#include "spreadsheet/BinaryBook.h"

#include <istream>
#include <utility>

#include "spreadsheet/CellErrors.h"
#include "spreadsheet/ExcelFile.h"
#include "spreadsheet/PlainCells.h"

namespace {

enum RecordId {
    // Of a sheet.
    BrtRowHdr = 0,
    BrtACBegin = 37,
    BrtACEnd = 38,
    BrtBeginSheetData = 145,
    BrtEndSheetData = 146,
    BrtWsDim = 148,
    SilentRecord = 427,
    // Of the workbook.
    BrtBeginBundleShs = 143,
    BrtWbProp = 153,
    BrtBundleSh = 156,
    // Of the shared strings.
    BrtSSTItem = 19,
    BrtBeginSst = 159,
    BrtEndSst = 160,
    // Of the styles.
    BrtFmt = 44,
    BrtXF = 47,
    BrtBeginFmts = 615,
    BrtEndFmts = 616,
    BrtBeginCellXFs = 617,
    BrtEndCellXFs = 618
};

// Where the fields of the records stand in their data.
constexpr std::size_t RowOffset = 0;
constexpr std::size_t ColumnOffset = 0;
constexpr std::size_t StyleOffset = 4;
constexpr std::size_t ValueOffset = 8;
constexpr std::size_t LastRowOffset = 4;
constexpr std::size_t LastColumnOffset = 12;
constexpr std::size_t SheetStateOffset = 0;
constexpr std::size_t SheetIdCountOffset = 8;
constexpr std::size_t SheetIdOffset = 12;
constexpr std::size_t StringCountOffset = 1;
constexpr std::size_t FormatNumberOffset = 0;
constexpr std::size_t FormatCountOffset = 2;
constexpr std::size_t XfFormatOffset = 2;
constexpr std::size_t CountOffset = 0;
constexpr std::size_t PropertiesOffset = 0;

// The short forms of the first records lie so far behind them, and have no column in front.
constexpr int ShortRecordDistance = BinaryBook::BrtShortBlank - BinaryBook::BrtCellBlank;
constexpr std::size_t ColumnSize = 4;
// The byte in front of the text of a rich one.
constexpr std::size_t RichFlagsSize = 1;

constexpr int From1904Bit = 1;
constexpr int VisibleSheet = 0;
constexpr int StyleMask = 0xffffff;
// A cell before any row record.
constexpr int NoRow = -1;

bool IsShort(int id) {
    return id >= BinaryBook::BrtShortBlank && id <= BinaryBook::BrtShortIsst;
}

SheetSize GetSize(const RecordStream& dimension) {
    const int lastRow = dimension.GetI4(LastRowOffset);
    const int lastColumn = dimension.GetI4(LastColumnOffset);
    if (lastRow < 0 || lastRow >= MaxSheetRows || lastColumn < 0 || lastColumn >= MaxSheetColumns) {
        return {};
    }
    return {lastColumn + 1, lastRow + 1};
}

}  // namespace

BinaryBook::BinaryBook(const WorkbookPackage& workbookPackage, BookParts bookParts, RecordForm recordForm,
                       std::shared_ptr<karta::ReadContext> context)
    : Book(workbookPackage, std::move(bookParts), std::move(context)), form(recordForm) {}

bool BinaryBook::DecodeText(const RecordStream& records, std::size_t offset, std::string& out) {
    textsAreGood = records.GetText(offset, out);
    return textsAreGood;
}

bool BinaryBook::ReadSheetList(std::vector<Sheet>& sheets) {
    const auto stream = package.OpenPart(parts.workbook);
    if (stream == nullptr) {
        return false;
    }
    RecordStream records(*stream, form);
    bool good = records.Next();
    for (; good && records.GetId() != BrtBeginBundleShs; good = records.Next()) {
        if (records.GetId() == BrtWbProp && (records.GetI4(PropertiesOffset) & From1904Bit) != 0) {
            dateSystem = DateSystem::From1904;
        }
    }
    if (!good) {
        return false;
    }
    while (records.Next() && records.GetId() == BrtBundleSh) {
        AddSheet(records, sheets);
    }
    // A name that can't be understood is empty and no failure.
    textsAreGood = true;
    return records.IsIntact();
}

void BinaryBook::AddSheet(const RecordStream& records, std::vector<Sheet>& sheets) {
    Sheet& sheet = sheets.emplace_back();
    sheet.hidden = records.GetI4(SheetStateOffset) != VisibleSheet;
    const auto idCount = static_cast<std::uint32_t>(records.GetI4(SheetIdCountOffset));
    const std::uint64_t idSize =
        idCount == 0xffffffff && form == RecordForm::Full ? 0 : 2 * std::uint64_t{idCount};
    DecodeText(records, SheetIdCountOffset, sheet.relationship);
    DecodeText(records, SheetIdOffset + std::min<std::uint64_t>(idSize, records.GetLength()), sheet.name);
}

bool BinaryBook::ReadTables() {
    return InitSharedStrings() && AreTextsGood() && InitStyles() && AreTextsGood();
}

bool BinaryBook::InitSharedStrings() {
    sharedStrings.Clear();
    isCutText.clear();
    const auto stream = package.OpenPart(parts.sharedStrings);
    if (stream == nullptr) {
        return true;
    }
    RecordStream records(*stream, form);
    bool good = records.Find(BrtBeginSst);
    const bool hasStrings = good;
    while (good && (good = records.Next()) && records.GetId() != BrtEndSst) {
        if (form == RecordForm::Full && records.GetId() != BrtSSTItem) {
            continue;
        }
        text.clear();
        DecodeText(records, StringCountOffset, text);
        if (form == RecordForm::Full) {
            sharedStrings.Add(text);
        } else {
            sharedStrings.Add(text.c_str());
            isCutText.push_back(records.HasCutCharacters(StringCountOffset));
        }
    }
    return (!hasStrings || good) && records.IsIntact();
}

// A list of items that a record with their count begins.
template <class Take>
bool BinaryBook::ReadList(RecordStream& records, int itemId, int endId, Take take) {
    if (form == RecordForm::Short) {
        const int count = records.GetI4(CountOffset);
        for (int i = 0; i < count; ++i) {
            if (!records.Next() || records.GetId() != itemId) {
                return false;
            }
            take();
        }
        return true;
    }
    while (records.Next() && records.GetId() != endId) {
        if (records.GetId() == itemId) {
            take();
        }
    }
    return records.GetId() == endId;
}

bool BinaryBook::InitStyles() {
    styles = {};
    const auto stream = package.OpenPart(parts.styles);
    if (stream == nullptr) {
        return true;
    }
    RecordStream records(*stream, form);
    bool hasCodes = false;
    bool hasFormats = false;
    while (!(hasCodes && hasFormats) && records.Next()) {
        bool good = true;
        if (records.GetId() == BrtBeginFmts && !hasCodes) {
            hasCodes = true;
            good = ReadList(records, BrtFmt, BrtEndFmts, [&] {
                std::string code;
                DecodeText(records, FormatCountOffset, code);
                styles.codes[records.GetI2(FormatNumberOffset)] = code;
            });
        } else if (records.GetId() == BrtBeginCellXFs && !hasFormats) {
            hasFormats = true;
            good = ReadList(records, BrtXF, BrtEndCellXFs,
                            [&] { styles.cellFormats.push_back(records.GetI2(XfFormatOffset)); });
        }
        if (!good) {
            return false;
        }
    }
    return records.IsIntact();
}

// Leaves the size unknown where the sheet claims none, or none that a sheet can have.
SheetSize BinaryBook::ReadClaimedSize(const std::string& part) {
    const auto stream = package.OpenPart(part);
    if (stream == nullptr) {
        return {};
    }
    RecordStream records(*stream, form);
    return records.Find(BrtWsDim) ? GetSize(records) : SheetSize();
}

bool BinaryBook::ReadSheet(const std::string& part, SheetReceiver& receiver) {
    const auto stream = package.OpenPart(part);
    if (stream == nullptr) {
        return false;
    }
    RecordStream records(*stream, form);
    if (form == RecordForm::Short) {
        if (!records.Find(BrtWsDim)) {
            return !records.IsDamaged();
        }
        if (!receiver.TakeSize(GetSize(records))) {
            return false;
        }
    }
    return records.Find(BrtBeginSheetData) && ReadCells(records, receiver);
}

// Known cells count also inside alternate content, other records don't.
bool BinaryBook::ReadCells(RecordStream& records, SheetReceiver& receiver) {
    PlainCells* const plain = receiver.GetPlainCells();
    bool ignoring = false;
    int row = NoRow;
    bool good = false;
    while ((good = records.Next()) && records.GetId() != BrtEndSheetData) {
        const int id = records.GetId();
        if (plain != nullptr && row != NoRow && TakePlain(records, row + 1, *plain)) {
            continue;
        }
        if (id == BrtRowHdr) {
            row = records.GetI4(RowOffset);
            lastColumn = 0;
            if (row < 0 || row >= MaxSheetRows || !receiver.StartRow(row + 1, 0)) {
                return false;
            }
        } else if (IsCell(id)) {
            if (row != NoRow && !TakeCell(records, row + 1, receiver)) {
                return false;
            }
        } else if (id == BrtACBegin || id == BrtACEnd) {
            ignoring = id == BrtACBegin;
        } else if (id != SilentRecord && !ignoring) {
            receiver.TakeOtherRecord();
        }
    }
    return (good || form == RecordForm::Short) && records.IsIntact();
}

bool BinaryBook::IsCell(int id) const {
    if (form == RecordForm::Short) {
        return id >= BrtCellBlank && id <= BrtFmlaError && id != BrtCellSt;
    }
    return (id >= BrtCellBlank && id <= BrtShortIsst) || id == BrtCellRString;
}

// False, with nothing done, for a record that isn't as nearly all are.
bool BinaryBook::TakePlain(const RecordStream& records, int row, PlainCells& plain) {
    const int id = records.GetId();
    const int column = records.GetI4(ColumnOffset);
    if (form != RecordForm::Full || column < 0 || column >= MaxSheetColumns) {
        return false;
    }
    const int style = records.GetI4(StyleOffset) & StyleMask;
    const bool isTaken =
        id == BrtCellReal || id == BrtFmlaNum
            ? plain.TakeNumber(column + 1, row, style, records.GetDouble(ValueOffset))
        : id == BrtCellIsst ? plain.TakeShared(column + 1, row, records.GetI4(ValueOffset))
        : id == BrtCellRk
            ? plain.TakeNumber(column + 1, row, style, ExcelFile::NumFromRk(records.GetI4(ValueOffset)))
            : false;
    lastColumn = isTaken ? column + 1 : lastColumn;
    return isTaken;
}

bool BinaryBook::TakeCell(const RecordStream& records, int row, SheetReceiver& receiver) {
    const bool isShort = IsShort(records.GetId());
    const std::size_t shift = isShort ? ColumnSize : 0;
    const int column = isShort ? lastColumn : records.GetI4(ColumnOffset);
    if (column < 0 || column >= MaxSheetColumns) {
        return false;
    }
    lastColumn = column + 1;
    cell.col = lastColumn;
    cell.row = row;
    const int style = records.GetI4(StyleOffset - shift);
    cell.style = form == RecordForm::Full ? style & StyleMask : style;
    cell.record =
        static_cast<std::uint16_t>(isShort ? records.GetId() - ShortRecordDistance : records.GetId());
    return DecodeCell(records, cell.record, ValueOffset - shift) && receiver.TakeCell(cell);
}

// A text that isn't one ends the sheet in the full form.
bool BinaryBook::DecodeCell(const RecordStream& records, int id, std::size_t valueOffset) {
    const std::uint8_t byte = records.GetByte(valueOffset);
    cell.hasValue = id != BrtCellBlank;
    cell.hasNumber = false;
    cell.text = {};
    cell.isCut = false;
    cell.index = byte;
    switch (id) {
        case BrtCellBlank:
            cell.type = SheetCell::Type::Blank;
            return true;
        case BrtCellRk:
            cell.type = SheetCell::Type::Number;
            cell.hasNumber = true;
            cell.number = ExcelFile::NumFromRk(records.GetI4(valueOffset));
            return true;
        case BrtCellReal:
        case BrtFmlaNum:
            cell.type = SheetCell::Type::Number;
            cell.hasNumber = true;
            cell.number = records.GetDouble(valueOffset);
            return true;
        case BrtCellError:
        case BrtFmlaError:
            cell.type = SheetCell::Type::Error;
            cell.text = GetErrorText(byte);
            return true;
        case BrtCellBool:
        case BrtFmlaBool:
            cell.type = SheetCell::Type::Bool;
            cell.text = byte == 0 ? "0" : "1";
            return true;
        case BrtCellIsst:
            cell.type = SheetCell::Type::SharedText;
            cell.hasIndex = true;
            cell.index = records.GetI4(valueOffset);
            cell.isCut = std::cmp_less(cell.index, isCutText.size()) && cell.index >= 0 &&
                         isCutText[static_cast<std::size_t>(cell.index)];
            return true;
        default:
            break;
    }
    cell.type = id == BrtFmlaString ? SheetCell::Type::FormulaText : SheetCell::Type::InlineText;
    text.clear();
    const std::size_t offset = valueOffset + (id == BrtCellRString ? RichFlagsSize : 0);
    const bool good = DecodeText(records, offset, text);
    cell.text = text;
    cell.isCut = records.HasCutCharacters(offset);
    return good || form == RecordForm::Short;
}
