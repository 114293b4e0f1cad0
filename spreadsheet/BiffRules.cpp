#include "spreadsheet/BiffRules.h"

#include <algorithm>
#include <limits>

#include "host/SerialDate.h"

namespace {

using Id = BiffCellRecord;
using Kind = BiffCell::Kind;

// The fields of BIFF2's attributes that are numbers of formats, and the one that isn't.
constexpr int AttributeMask = 0x3F;
constexpr int FormatOfNextCells = 0x3F;

// No version has more; beyond lies only damage.
constexpr int LastColumn = 255;

// The longest text whose count fits the signed byte that the classic rule takes it for.
constexpr int LongestByteCount = 127;

int AddWithin(int left, int right) {
    constexpr std::int64_t Least = std::numeric_limits<int>::min();
    constexpr std::int64_t Most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::int64_t{left} + right, Least, Most));
}

}  // namespace

void BiffTables::Clear() {
    formats.Clear();
    xfFormats.clear();
    dateSystem = DateSystem::From1900;
    codePage = CodePage();
    sharedStrings.reset();
    classicDateFormats.clear();
    classicDateXf.clear();
}

void ClassicBiffCells::MoveTo(int columns, int rows) {
    colOffset = columns;
    rowOffset = rows;
}

bool ClassicBiffCells::Reads(const BiffCell& cell) const {
    switch (cell.record) {
        case Id::Rk:
            return true;
        case Id::MulRk:
            return biffHigh >= 5;
        case Id::LabelSst:
            return biffHigh >= 8;
        case Id::IntegerOfBiff2:
            return biffHigh == 2;
        case Id::Formula:
            return biffHigh != 3 && biffHigh != 4;
        case Id::FormulaOfBiff3:
            return biffHigh == 3;
        case Id::FormulaOfBiff4:
            return biffHigh == 4;
        case Id::Number:
        case Id::Label:
        case Id::BoolErr:
            return biffHigh != 2;
        case Id::NumberOfBiff2:
        case Id::LabelOfBiff2:
        case Id::BoolErrOfBiff2:
            return false;
        default:
            return true;
    }
}

// The high byte of the column is ignored.
ClassicBiffCells::Place ClassicBiffCells::PlaceOf(const BiffCell& cell) const {
    const int col = ((cell.col - cell.step) & 0xFF) + cell.step;
    return {AddWithin(colOffset, col + 1), AddWithin(rowOffset, cell.row + 1)};
}

void ClassicBiffCells::Put(const BiffCell& cell) {
    if (!Reads(cell)) {
        Count(OtherVersions, cell);
        return;
    }
    const Place place = PlaceOf(cell);
    switch (cell.kind) {
        case Kind::Number:
            PutNumber(cell);
            break;
        case Kind::Text:
            PutText(
                cell,
                cell.isOfBiff2 && cell.record == Id::Label && cell.count > LongestByteCount ? 0 : cell.count,
                cell.bytes);
            break;
        case Kind::SharedText:
            sink.Set(place.col, place.row,
                     tables.sharedStrings == nullptr ? "" : tables.sharedStrings->Find(cell.code).data());
            break;
        case Kind::Bool:
            if (cell.isFormula) {
                sink.Set(place.col, place.row, static_cast<double>(static_cast<std::int8_t>(cell.code)));
            } else {
                sink.Set(place.col, place.row, "");
                Count(TruthValues, cell);
            }
            break;
        case Kind::Error:
            if (!cell.isFormula) {
                sink.Set(place.col, place.row, "");
            }
            Count(Errors, cell);
            break;
        case Kind::FormulaText:
        case Kind::NoResult:
            break;
    }
}

void ClassicBiffCells::PutNumber(const BiffCell& cell) {
    if (cell.record == Id::MulRk && ((cell.col - cell.step) & 0xFF) + cell.step > cell.lastCol) {
        Count(OtherVersions, cell);
        return;
    }
    const Place place = PlaceOf(cell);
    const auto xf = static_cast<std::size_t>(cell.xf);
    if (cell.record == Id::IntegerOfBiff2) {
        sink.Set(place.col, place.row,
                 static_cast<double>(static_cast<std::int16_t>(static_cast<std::uint16_t>(cell.number))));
    } else if (xf < tables.classicDateXf.size() && tables.classicDateXf[xf]) {
        sink.Set(place.col, place.row, IEEEDate_2_string(cell.number).c_str());
    } else {
        sink.Set(place.col, place.row, cell.number);
    }
}

void ClassicBiffCells::PutFormulaText(const BiffCell& cell, int count, std::string_view bytes) {
    PutText(cell, count, bytes);
}

void ClassicBiffCells::PutText(const BiffCell& cell, int count, std::string_view bytes) {
    const std::string_view field = bytes.substr(0, static_cast<std::size_t>(std::max(count, 0)));
    text.assign(field.substr(0, field.find('\0')));
    const Place place = PlaceOf(cell);
    sink.Set(place.col, place.row, text.c_str());
    if (text.size() < field.size()) {
        Count(Texts, cell);
    }
}

void ClassicBiffCells::Count(LeftOut kind, const BiffCell& cell) {
    ++leftOut[kind];
    if (firstLeftOut.empty()) {
        firstLeftOut = GetCellName(cell.col + 1, cell.row + 1);
    }
}

void ClassicBiffCells::AddTo(karta::Notes& notes) const {
    static constexpr const char* Names[LeftOutCount] = {"truth values", "errors", "texts of other characters",
                                                        "cells of this version's own records"};
    std::uint64_t all = 0;
    std::string kinds;
    for (int kind = 0; kind < LeftOutCount; ++kind) {
        const std::uint64_t count = leftOut[static_cast<std::size_t>(kind)];
        if (count > 0) {
            kinds += (kinds.empty() ? "" : ", ") + std::string(Names[kind]) + " " + std::to_string(count);
        }
        all += count;
    }
    if (all > 0) {
        notes.Add({"classic-left-out", all, firstLeftOut,
                   "the classic reading leaves " + karta::CountOf(all, "cell") + " empty or cuts them: " +
                       kinds + " (first: " + firstLeftOut + "); the complete reading has them"});
    }
}

void CompleteBiffCells::BeginSheet(const std::string& name, int columns, int rowsBefore) {
    sheetName = name;
    colOffset = columns;
    rowOffset = rowsBefore;
    cols = 0;
    rows = 0;
    nextXf = 0;
    areKindsKnown = false;
}

// False for a cell that can't be.
bool CompleteBiffCells::Extend(const BiffCell& cell) {
    if (cell.col > LastColumn) {
        ++outside;
        return false;
    }
    cols = std::max(cols, cell.col + 1);
    rows = std::max(rows, cell.row + 1);
    return output != nullptr;
}

void CompleteBiffCells::Put(const BiffCell& cell) {
    // A format or a formula without a value widens no table.
    if (cell.kind == Kind::NoResult || !Extend(cell)) {
        return;
    }
    const int col = colOffset + cell.col + 1;
    const int row = rowOffset + cell.row + 1;
    const NumberKind number = cell.kind == Kind::Number ? KindOf(cell) : NumberKind::Number;
    if (cell.kind == Kind::Number && number == NumberKind::Number) {
        numbers->Put(col, row, cell.number);
        return;
    }
    numbers->End(col);
    switch (cell.kind) {
        case Kind::Number:
            PutDated(*output, col, row, cell.number, number, tables.dateSystem);
            break;
        case Kind::SharedText:
            PutSharedText(cell);
            break;
        case Kind::Bool:
            output->Bool(col, row, cell.code != 0);
            break;
        case Kind::Error: {
            const std::string_view text = GetErrorText(static_cast<std::uint8_t>(cell.code));
            output->Error(col, row, text);
            errors.Add(cell.col + 1, cell.row + 1, text, sheetName);
            break;
        }
        case Kind::Text:
        case Kind::FormulaText:
        case Kind::NoResult:
            break;
    }
}

void CompleteBiffCells::PutText(const BiffCell& cell, std::string_view text) {
    if (Extend(cell)) {
        numbers->End(colOffset + cell.col + 1);
        output->Text(colOffset + cell.col + 1, rowOffset + cell.row + 1, text);
    }
}

void CompleteBiffCells::PutSharedText(const BiffCell& cell) {
    const int col = colOffset + cell.col + 1;
    const int row = rowOffset + cell.row + 1;
    if (tables.sharedStrings != nullptr && tables.sharedStrings->Has(cell.code)) {
        output->ListedText(col, row, tables.sharedStrings->GetList(), static_cast<std::size_t>(cell.code));
    } else {
        output->Text(col, row, {});
        ++missingTexts;
        if (firstMissingText.empty()) {
            firstMissingText = GetCellName(cell.col + 1, cell.row + 1);
        }
    }
}

// BIFF2's cells name their format themselves, by its number in one of two lists, or leave that to a record
// before.
NumberKind CompleteBiffCells::KindOf(const BiffCell& cell) {
    if (!areKindsKnown) {
        kinds.clear();
        for (const int format : tables.xfFormats) {
            kinds.push_back(tables.formats.GetKind(format));
        }
        areKindsKnown = true;
    }
    int xf = cell.xf;
    if (cell.isOfBiff2) {
        if (kinds.empty()) {
            return tables.formats.GetKind(cell.attributes & AttributeMask);
        }
        xf = (cell.xf & AttributeMask) == FormatOfNextCells ? nextXf : cell.xf & AttributeMask;
    }
    const auto place = static_cast<std::size_t>(xf);
    return place < kinds.size() ? kinds[place] : NumberKind::Number;
}

void CompleteBiffCells::AddTo(karta::Notes& notes) const {
    errors.AddTo(notes);
    if (outside > 0) {
        notes.Add({"cells-outside",
                   outside,
                   {},
                   karta::CountOf(outside, "cell") + " beyond the last column that the format has left out"});
    }
    if (missingTexts > 0) {
        notes.Add({"missing-texts", missingTexts, firstMissingText,
                   karta::CountOf(missingTexts, "cell") +
                       " without a text: the shared string isn't there (first: " + firstMissingText + ")"});
    }
}
