#include "spreadsheet/WorkbookCells.h"

#include <algorithm>
#include <utility>

#include "base/PathNames.h"
#include "host/NvString.h"
#include "host/SerialDate.h"
#include "spreadsheet/BinaryBook.h"
#include "spreadsheet/IsoTime.h"

namespace {

// The number formats that the classic rules take for dates without a code of their own: times only in the
// binary flavour.
bool IsDateNumber(int format) {
    return format >= 14 && format <= 22;
}

bool IsTimeNumber(int format) {
    return format >= 45 && format <= 47;
}

// A text that is no number counts as 0.
std::string GetDateTimeValue(const char* text) {
    double serial = 0.0;
    NvString::ToDouble(text, serial);
    return IEEEDate_2_string(serial);
}

bool IsDateCode(const BookStyles& styles, int number) {
    const auto found = styles.codes.find(number);
    return found != styles.codes.end() && ClassicXmlSheet::IsDateFormat(found->second);
}

std::string GroupDigits(std::uint64_t count) {
    const std::string counted = karta::CountOf(count, "cell");
    return counted.substr(0, counted.find(' '));
}

// Of each cell format.
std::vector<NumberKind> ListKinds(const BookStyles& styles) {
    NumberFormats formats;
    for (const auto& [number, code] : styles.codes) {
        formats.Define(number, code);
    }
    std::vector<NumberKind> kinds;
    for (const int number : styles.cellFormats) {
        kinds.push_back(formats.GetKind(number));
    }
    return kinds;
}

}  // namespace

void LeftOutCells::Add(Kind kind, int col, int row) {
    ++counts[kind];
    if (firstPlace.empty()) {
        firstPlace = GetCellName(col, row);
    }
}

// The kinds of a range that there are, with how many cells of each.
std::string LeftOutCells::ListKinds(std::size_t begin, std::size_t end, std::uint64_t& sum) const {
    static constexpr const char* Names[KindCount] = {
        "t=\"n\"", "t=\"str\"",        "t=\"inlineStr\"",           "t=\"d\"",
        "t=\"e\"", "of unknown types", "texts of other characters", "errors under another's name"};
    std::string list;
    for (std::size_t kind = begin; kind < end; ++kind) {
        if (counts[kind] != 0) {
            sum += counts[kind];
            list += list.empty() ? "" : ", ";
            list += std::string(Names[kind]) + " " + GroupDigits(counts[kind]);
        }
    }
    return list;
}

void LeftOutCells::AddTo(karta::Notes& notes) const {
    std::uint64_t empty = 0;
    const std::string emptyKinds = ListKinds(0, CutText, empty);
    if (empty != 0) {
        notes.Add({"cells-left-empty", empty, firstPlace,
                   karta::CountOf(empty, "cell") + " of kinds that the classic reading leaves empty: " +
                       emptyKinds + "; the complete reading has " + (empty == 1 ? "it" : "them")});
    }
    std::uint64_t changed = 0;
    const std::string changedKinds = ListKinds(CutText, KindCount, changed);
    if (changed != 0) {
        notes.Add({"cells-changed", changed, firstPlace,
                   "the classic reading changes " + karta::CountOf(changed, "cell") + ": " + changedKinds +
                       " (first: " + firstPlace + "); the complete reading has " +
                       (changed == 1 ? "it as it is" : "them as they are")});
    }
}

// The classic rule of XML: four types are understood, all others are empty.
ClassicXmlSheet::Kind ClassicXmlSheet::GetKind(const SheetCell& cell) const {
    if (!cell.hasValue) {
        return Empty;
    }
    const auto style = static_cast<std::size_t>(cell.style);
    int truth = 0;
    switch (cell.type) {
        case SheetCell::Type::Number:
            return cell.style >= 0 && style < isDateStyle.size() && isDateStyle[style] ? Date : Number;
        case SheetCell::Type::SharedText:
            return SharedString;
        case SheetCell::Type::Bool:
            NvString::ToInt(cell.text, truth);
            return truth == 0 ? False : True;
        default:
            return Empty;
    }
}

const char* ClassicXmlSheet::GetText(const Cell& cell, const SharedStrings& sharedStrings,
                                     std::string& buffer) {
    switch (cell.kind) {
        case Number:
            return cell.text;
        case Date:
            buffer = GetDateTimeValue(cell.text);
            return buffer.c_str();
        case SharedString:
            return sharedStrings.Get(cell.index).data();
        case False:
            return "FALSE";
        case True:
            return "TRUE";
        case Empty:
            break;
    }
    return "";
}

// Only the first "Red" is taken out, and in this case only; other colours and quoted texts are searched
// for the letters of dates too.
bool ClassicXmlSheet::IsDateFormat(std::string code) {
    const std::size_t colour = code.find("Red");
    if (colour != std::string::npos) {
        code.erase(colour, 3);
    }
    return code.find_first_of("ymdhs") != std::string::npos;
}

std::vector<bool> ClassicXmlSheet::ListDateStyles(const BookStyles& styles) {
    std::vector<bool> dateStyles;
    dateStyles.reserve(styles.cellFormats.size());
    for (const int format : styles.cellFormats) {
        dateStyles.push_back(IsDateNumber(format) || IsDateCode(styles, format));
    }
    return dateStyles;
}

// A list that is full moves to twice its room.
template <class Element>
void ClassicXmlSheet::ChargeGrowth(const std::vector<Element>& list) {
    if (list.size() == list.capacity()) {
        share.Add(std::max<std::size_t>(list.capacity(), 1) * sizeof(Element));
    }
}

bool ClassicXmlSheet::StartRow(int number, int claimedColumns) {
    ChargeGrowth(rows);
    rows.push_back({number, cells.size()});
    columns = std::max(columns, claimedColumns);
    return true;
}

bool ClassicXmlSheet::TakeCell(const SheetCell& cell) {
    Cell kept{};
    kept.column = cell.col;
    kept.kind = GetKind(cell);
    ChargeGrowth(cells);
    if (kept.kind == Number || kept.kind == Date) {
        share.Add(cell.text.size() + 1);
        kept.text = texts.Add(cell.text);
    } else if (kept.kind == SharedString) {
        kept.index = cell.index;
    } else if (kept.kind == Empty && !cell.text.empty()) {
        CountLeftOut(cell);
    }
    cells.push_back(kept);
    return true;
}

void ClassicXmlSheet::CountLeftOut(const SheetCell& cell) {
    using Type = SheetCell::Type;
    const LeftOutCells::Kind kind = cell.type == Type::MarkedNumber  ? LeftOutCells::Marked
                                    : cell.type == Type::FormulaText ? LeftOutCells::FormulaText
                                    : cell.type == Type::InlineText  ? LeftOutCells::InlineText
                                    : cell.type == Type::Date        ? LeftOutCells::Date
                                    : cell.type == Type::Error       ? LeftOutCells::Error
                                                                     : LeftOutCells::Other;
    leftOut.Add(kind, cell.col, cell.row);
}

ClassicBinaryCells::ClassicBinaryCells(const Book& workbook, ReadSpreadSheetData& readerSink,
                                       LeftOutCells& leftOutCells)
    : book(workbook), sink(readerSink), leftOut(leftOutCells) {
    const BookStyles& styles = book.GetStyles();
    for (const int number : styles.cellFormats) {
        isDateFormat.push_back(IsDateNumber(number) || IsTimeNumber(number) || IsDateCode(styles, number));
    }
}

// The classic rule of records.
bool ClassicBinaryCells::Push(const SheetCell& cell, int col, int row) {
    if (cell.isCut) {
        leftOut.Add(LeftOutCells::CutText, cell.col, cell.row);
    }
    switch (cell.record) {
        case BinaryBook::BrtCellBlank:
            sink.Set(col, row, "");
            break;
        case BinaryBook::BrtCellRk:
            // Of the style only the low byte is used here.
            SetNumber(cell.number, col, row, cell.style & 0xff);
            break;
        case BinaryBook::BrtCellReal:
        case BinaryBook::BrtFmlaNum:
            SetNumber(cell.number, col, row, cell.style);
            break;
        case BinaryBook::BrtCellError:
        case BinaryBook::BrtFmlaError:
            SetError(cell, col, row);
            break;
        case BinaryBook::BrtCellBool:
        case BinaryBook::BrtFmlaBool:
            sink.Set(col, row, cell.index == 0 ? "FALSE" : "TRUE");
            break;
        case BinaryBook::BrtCellIsst:
            if (!book.GetSharedStrings().Has(cell.index)) {
                return false;
            }
            // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): a NUL stands behind it
            sink.Set(col, row, book.GetSharedStrings().Get(cell.index).data());
            break;
        default:
            // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): a NUL stands behind it
            sink.Set(col, row, cell.text.data());
            break;
    }
    return true;
}

void ClassicBinaryCells::SetNumber(double value, int col, int row, int xf) {
    if (xf >= 0 && static_cast<std::size_t>(xf) < isDateFormat.size() &&
        isDateFormat[static_cast<std::size_t>(xf)]) {
        sink.Set(col, row, IEEEDate_2_string(value).c_str());
    } else {
        sink.Set(col, row, value);
    }
}

void ClassicBinaryCells::SetError(const SheetCell& cell, int col, int row) {
    const char* const text = GetErrorString(static_cast<std::uint8_t>(cell.index));
    if (text != cell.text) {
        leftOut.Add(LeftOutCells::MaskedError, cell.col, cell.row);
    }
    sink.Set(col, row, text);
}

// The codes are tested as bit masks, the first that has a bit in common wins, so that nearly all real codes
// (7, 0x0f, 0x17, 0x1d, 0x24, 0x2a) come out as the first text.
const char* ClassicBinaryCells::GetErrorString(std::uint8_t code) {
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

CompleteCells::CompleteCells(const Book& workbook, ReadSpreadSheetData& sink, CellOutput& cellOutput,
                             std::shared_ptr<karta::ReadContext> readContext)
    : book(workbook),
      output(cellOutput),
      context(std::move(readContext)),
      plain(sink, cellOutput, book.GetSharedStrings(), ListKinds(book.GetStyles())) {}

void CompleteCells::BeginSheet(const std::string& name, int columns, int rows, bool endsRows) {
    plain.BeginSheet(columns, rows);
    sheetName = name;
    endRows = endsRows;
    lastRow = 0;
}

// A sheet whose rows aren't in order gets its cells into their places, but its rows end late.
bool CompleteCells::StartRow(int number, int /*claimedColumns*/) {
    constexpr int RowsBetweenChecks = 1024;
    if (++rowsSinceCheck == RowsBetweenChecks) {
        rowsSinceCheck = 0;
        context->ThrowIfStopped();
    }
    if (endRows && number > lastRow) {
        output.EndRow(number - 1 + plain.GetRowOffset());
        lastRow = number;
    }
    return true;
}

bool CompleteCells::TakeCell(const SheetCell& cell) {
    plain.Pass(cell.col, cell.row);
    if (Put(cell, cell.col + plain.GetColumnOffset(), cell.row + plain.GetRowOffset())) {
        plain.Widen(cell.col, cell.row);
    }
    return true;
}

// A shared text or a number without a value is a format only; a text without one is the empty text.
bool CompleteCells::HoldsSomething(const SheetCell& cell) {
    switch (cell.type) {
        case SheetCell::Type::Blank:
            return false;
        case SheetCell::Type::InlineText:
            return true;
        case SheetCell::Type::FormulaText:
            return cell.hasValue;
        default:
            return cell.record != 0 || !cell.text.empty();
    }
}

// The complete rule, of both flavours: each cell is what its type says. False for a cell that holds nothing.
bool CompleteCells::Put(const SheetCell& cell, int col, int row) {
    if (!HoldsSomething(cell)) {
        return false;
    }
    plain.Leave(cell.col);
    switch (cell.type) {
        case SheetCell::Type::Number:
        case SheetCell::Type::MarkedNumber:
            return PutNumber(cell, col, row);
        case SheetCell::Type::SharedText:
            return PutSharedText(cell, col, row);
        case SheetCell::Type::Bool:
            return PutBool(cell, col, row);
        case SheetCell::Type::Error:
            errors.Add(cell.col, cell.row, cell.text, sheetName);
            output.Error(col, row, cell.text);
            return true;
        case SheetCell::Type::Date:
            return PutDate(cell, col, row);
        default:
            output.Text(col, row, cell.text);
            return true;
    }
}

bool CompleteCells::PutNumber(const SheetCell& cell, int col, int row) {
    double number = cell.number;
    if (!cell.hasNumber && !NvString::ToDouble(cell.text, number)) {
        return PutContradiction(cell, col, row);
    }
    ::PutNumber(output, col, row, number, plain.GetKind(cell.style), book.GetDateSystem());
    return true;
}

bool CompleteCells::PutSharedText(const SheetCell& cell, int col, int row) {
    if (cell.hasIndex && book.GetSharedStrings().Has(cell.index)) {
        output.ListedText(col, row, book.GetSharedStrings().GetList(), static_cast<std::size_t>(cell.index));
        return true;
    }
    if (missingTexts++ == 0) {
        firstMissingText = GetCellName(cell.col, cell.row);
    }
    return false;
}

bool CompleteCells::PutBool(const SheetCell& cell, int col, int row) {
    const bool isTrue = cell.text == "1" || EqualIgnoringCase(cell.text, "true");
    if (!isTrue && cell.text != "0" && !EqualIgnoringCase(cell.text, "false")) {
        return PutContradiction(cell, col, row);
    }
    output.Bool(col, row, isTrue);
    return true;
}

bool CompleteCells::PutDate(const SheetCell& cell, int col, int row) {
    const auto time = IsoTime::Parse(cell.text);
    if (!time) {
        return PutContradiction(cell, col, row);
    }
    switch (time->type) {
        case IsoTime::Type::Date:
            output.Date(col, row, static_cast<std::int32_t>(time->value));
            break;
        case IsoTime::Type::Time:
            output.Time(col, row, time->value);
            break;
        case IsoTime::Type::DateTime:
            output.DateTime(col, row, time->value);
            break;
        case IsoTime::Type::Duration:
            output.Duration(col, row, time->value);
            break;
    }
    return true;
}

// What isn't what its type says is a text.
bool CompleteCells::PutContradiction(const SheetCell& cell, int col, int row) {
    if (contradictions++ == 0) {
        firstContradiction = GetCellName(cell.col, cell.row);
    }
    output.Text(col, row, cell.text);
    return true;
}

void CompleteCells::AddNotes(karta::Notes& notes) const {
    errors.AddTo(notes);
    if (contradictions != 0) {
        notes.Add(
            {"not-of-its-type", contradictions, firstContradiction,
             karta::CountOf(contradictions, "cell") +
                 " hold what is no value of the type that the file gives them, and came as text (first: " +
                 firstContradiction + ")"});
    }
    if (missingTexts != 0) {
        notes.Add({"missing-texts", missingTexts, firstMissingText,
                   karta::CountOf(missingTexts, "cell") +
                       " refer to a shared text that isn't in the file, and are missing (first: " +
                       firstMissingText + ")"});
    }
}

bool ExtentReceiver::TakeCell(const SheetCell& cell) {
    if (CompleteCells::HoldsSomething(cell)) {
        extent.Widen(cell.col, cell.row);
    }
    return true;
}
