#include "spreadsheet/BiffCell.h"

#include <algorithm>
#include <bit>

namespace {

using Id = BiffCellRecord;

// Fields of cell records.
constexpr int XfOffset = 4;
constexpr int AttributesOffset = 5;
constexpr int ValueOffset = 6;
constexpr int TextOffset = 8;

// A formula's result that is no number: the mark at its end, and what its first byte says.
constexpr int NoNumber = 0xFFFF;
constexpr int TextResult = 0;
constexpr int BoolResult = 1;
constexpr int ErrorResult = 2;

constexpr int RkGroupsOffset = 4;
constexpr int RkGroupSize = 6;
constexpr int LastColumnSize = 2;

std::uint32_t ByteAt(const char* data, int offset) {
    return static_cast<std::uint8_t>(data[offset]);
}

bool IsIdOfBiff2(int id) {
    return id >= Id::IntegerOfBiff2 && id <= Id::BoolErrOfBiff2;
}

}  // namespace

double BiffRk(int rk) {
    const bool isInteger = (rk & 2) != 0;
    const bool isHundredfold = (rk & 1) != 0;
    const auto high = static_cast<std::uint64_t>(static_cast<std::uint32_t>(rk) & 0xFFFFFFFCU);
    const double value = isInteger ? static_cast<double>(rk >> 2) : std::bit_cast<double>(high << 32);
    return isHundredfold ? value / 100.0 : value;
}

void BiffCellDecoder::Begin(bool isBiff2File, bool believesVersion) {
    isBiff2 = isBiff2File;
    isClassic = believesVersion;
}

int BiffCellDecoder::ShiftOf(int id) const {
    const bool isShifted = isBiff2 && (isClassic || IsIdOfBiff2(id) || id == Id::Formula);
    return isShifted || (!isClassic && IsIdOfBiff2(id)) ? 1 : 0;
}

// Into the cell itself: there are millions.
void BiffCellDecoder::ReadHead(int id, const char* data) {
    cell.kind = BiffCell::Kind::Number;
    cell.isFormula = false;
    cell.record = id;
    cell.row = BiffU16(data, 0);
    cell.col = BiffU16(data, 2);
    cell.step = 0;
    cell.lastCol = cell.col;
    cell.xf = BiffU16(data, XfOffset);
    cell.isOfBiff2 = ShiftOf(id) != 0;
    cell.attributes = static_cast<int>(ByteAt(data, AttributesOffset));
    cell.number = 0.0;
    cell.code = 0;
    cell.count = 0;
    cell.bytes = {};
}

std::span<const BiffCell> BiffCellDecoder::Decode(int id, const char* data, int length) {
    switch (id) {
        case Id::IntegerOfBiff2:
        case Id::NumberOfBiff2:
        case Id::Number:
        case Id::Rk:
        case Id::LabelSst:
            DecodeNumber(id, data);
            break;
        case Id::MulRk:
            DecodeMulRk(data, length);
            return cells;
        case Id::Formula:
        case Id::FormulaOfBiff3:
        case Id::FormulaOfBiff4:
            DecodeFormula(id, data);
            break;
        case Id::BoolErrOfBiff2:
        case Id::BoolErr:
            DecodeBoolErr(id, data);
            break;
        case Id::LabelOfBiff2:
        case Id::Label:
            DecodeText(id, data, length);
            break;
        default:
            if (isClassic ? (id & 0xFF) != Id::RString : id != Id::RString) {
                return {};
            }
            DecodeText(id, data, length);
            break;
    }
    return {&cell, 1};
}

// The records of one number each, or of a shared string's.
void BiffCellDecoder::DecodeNumber(int id, const char* data) {
    ReadHead(id, data);
    switch (id) {
        case Id::IntegerOfBiff2:
            cell.number = BiffU16(data, ValueOffset + 1);
            break;
        case Id::Rk:
            cell.number = BiffRk(BiffI32(data, ValueOffset));
            break;
        case Id::LabelSst:
            cell.kind = BiffCell::Kind::SharedText;
            cell.code = BiffI32(data, ValueOffset);
            break;
        default:
            cell.number = BiffDouble(data, ValueOffset + (cell.isOfBiff2 ? 1 : 0));
            break;
    }
}

// Several RK numbers in neighbouring columns, each with its own format, and at the end the last column.
void BiffCellDecoder::DecodeMulRk(const char* data, int length) {
    cells.clear();
    const int end = length - LastColumnSize;
    if (end < RkGroupsOffset) {
        return;
    }
    ReadHead(Id::MulRk, data);
    cell.lastCol = BiffU16(data, end);
    for (int offset = RkGroupsOffset; offset + RkGroupSize <= end; offset += RkGroupSize) {
        cell.xf = BiffU16(data, offset);
        cell.number = BiffRk(BiffI32(data, offset + 2));
        cells.push_back(cell);
        ++cell.col;
        ++cell.step;
    }
}

// The stored result: a number, or a mark in its place that says what else it is.
void BiffCellDecoder::DecodeFormula(int id, const char* data) {
    const int result = ValueOffset + ShiftOf(id);
    ReadHead(id, data);
    cell.isFormula = true;
    if (BiffU16(data, result + 6) != NoNumber) {
        cell.number = BiffDouble(data, result);
    } else {
        cell.code = static_cast<int>(ByteAt(data, result + 2));
        switch (ByteAt(data, result)) {
            case TextResult:
                cell.kind = BiffCell::Kind::FormulaText;
                break;
            case BoolResult:
                cell.kind = BiffCell::Kind::Bool;
                break;
            case ErrorResult:
                cell.kind = BiffCell::Kind::Error;
                break;
            default:
                cell.kind = BiffCell::Kind::NoResult;
                break;
        }
    }
}

void BiffCellDecoder::DecodeBoolErr(int id, const char* data) {
    const int value = ValueOffset + ShiftOf(id);
    ReadHead(id, data);
    cell.kind = ByteAt(data, value + 1) == 0 ? BiffCell::Kind::Bool : BiffCell::Kind::Error;
    cell.code = static_cast<int>(ByteAt(data, value));
}

// The text begins at one place in all versions: BIFF2's count is a byte less and its attributes one more.
void BiffCellDecoder::DecodeText(int id, const char* data, int length) {
    ReadHead(id, data);
    cell.kind = BiffCell::Kind::Text;
    const bool hasByteCount = ShiftOf(id) != 0 && (id & 0xFF) != Id::RString;
    cell.count = hasByteCount ? static_cast<int>(ByteAt(data, TextOffset - 1)) : BiffU16(data, ValueOffset);
    if (length > TextOffset) {
        cell.bytes = {data + TextOffset, static_cast<std::size_t>(length - TextOffset)};
    }
}
