#include "karta/Block.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "base/NumberFormat.h"
#include "karta/internal/StopLook.h"

namespace karta {

namespace {

void CheckWidth(bool isOfType) {
    if (!isOfType) {
        throw std::logic_error("the block's numbers are of the other type or order");
    }
}

}  // namespace

Block::Block(BlockParts blockParts) : parts(std::move(blockParts)) {
    const bool isEmpty = parts.rows == 0 || parts.points == 0;
    const std::size_t width = parts.isFloat32 ? sizeof(float) : sizeof(double);
    const std::int64_t last =
        parts.first + (parts.rows - 1) * GetRowStride() + (parts.points - 1) * GetPointStride();
    // Lists of fixed size lie side by side.
    if (parts.rows < 0 || parts.points < 0 || parts.first < 0 || parts.stride < 0 ||
        (parts.isRowMajor && parts.stride != parts.points) ||
        (!isEmpty &&
         (parts.values == nullptr || static_cast<std::size_t>(last) >= parts.values->GetSize() / width)) ||
        (parts.axis != nullptr && static_cast<std::size_t>(parts.firstPoint + parts.points) >
                                      parts.axis->GetSize() / sizeof(double))) {
        throw std::invalid_argument("the parts of a block don't fit together");
    }
}

const void* Block::GetValues() const {
    return parts.isFloat32 ? static_cast<const void*>(GetFloats()) : GetDoubles();
}

const float* Block::GetFloats() const {
    CheckWidth(parts.isFloat32);
    return parts.values == nullptr ? nullptr : parts.values->As<float>() + parts.first;
}

const double* Block::GetDoubles() const {
    CheckWidth(!parts.isFloat32);
    return parts.values == nullptr ? nullptr : parts.values->As<double>() + parts.first;
}

void Block::CheckPlace(std::int64_t row, std::int64_t point) const {
    if (row < 0 || row >= parts.rows || point < 0 || point >= parts.points) {
        throw std::out_of_range("row " + std::to_string(row) + ", point " + std::to_string(point) +
                                " of a block of " + std::to_string(parts.rows) + " rows and " +
                                std::to_string(parts.points) + " points");
    }
}

double Block::GetNumber(std::int64_t row, std::int64_t point) const {
    CheckPlace(row, point);
    const std::int64_t place = row * GetRowStride() + point * GetPointStride();
    return parts.isFloat32 ? static_cast<double>(GetFloats()[place]) : GetDoubles()[place];
}

std::string Block::ToText(std::int64_t row, std::int64_t point) const {
    const double number = GetNumber(row, point);
    if (std::isnan(number)) {
        return {};
    }
    return parts.isFloat32 ? FormatShortest(static_cast<float>(number)) : FormatShortest(number);
}

std::span<const float> Block::GetFloatRow(std::int64_t row) const {
    CheckWidth(parts.isFloat32 && parts.isRowMajor);
    if (parts.points == 0) {
        return {};
    }
    CheckPlace(row, 0);
    return {GetFloats() + row * parts.stride, static_cast<std::size_t>(parts.points)};
}

std::span<const double> Block::GetDoubleRow(std::int64_t row) const {
    CheckWidth(!parts.isFloat32 && parts.isRowMajor);
    if (parts.points == 0) {
        return {};
    }
    CheckPlace(row, 0);
    return {GetDoubles() + row * parts.stride, static_cast<std::size_t>(parts.points)};
}

std::span<const double> Block::GetAxis() const {
    if (parts.axis == nullptr) {
        return {};
    }
    return {parts.axis->As<double>() + parts.firstPoint, static_cast<std::size_t>(parts.points)};
}

std::string Block::GetPointName(std::int64_t point) const {
    if (point < 0 || point >= parts.points) {
        throw std::out_of_range("point " + std::to_string(point) + " of a block of " +
                                std::to_string(parts.points));
    }
    if (parts.names && !parts.names->IsMissing(point) && !parts.names->GetText(point).empty()) {
        return std::string(parts.names->GetText(point));
    }
    const auto axis = GetAxis();
    if (!axis.empty() && !std::isnan(axis[static_cast<std::size_t>(point)])) {
        return FormatShortest(axis[static_cast<std::size_t>(point)]);
    }
    return std::to_string(point + 1);
}

Column Block::GetColumn(std::int64_t point) const {
    if (point < 0 || point >= parts.points) {
        throw std::out_of_range("point " + std::to_string(point) + " of a block of " +
                                std::to_string(parts.points));
    }
    ColumnBuffers buffers;
    buffers.type = parts.isFloat32 ? ColumnType::Float32 : ColumnType::Float64;
    buffers.rows = parts.rows;
    if (!parts.isRowMajor) {
        buffers.values = parts.values;
        buffers.offset = parts.first + point * parts.stride;
        return {GetPointName(point), parts.valueUnit, std::move(buffers)};
    }
    const std::size_t width = parts.isFloat32 ? sizeof(float) : sizeof(double);
    auto copy = std::make_shared<Buffer>(static_cast<std::size_t>(parts.rows) * width);
    for (std::int64_t row = 0; row < parts.rows; ++row) {
        if (parts.isFloat32) {
            copy->As<float>()[row] = GetFloats()[row * parts.stride + point];
        } else {
            copy->As<double>()[row] = GetDoubles()[row * parts.stride + point];
        }
    }
    buffers.values = std::move(copy);
    return {GetPointName(point), parts.valueUnit, std::move(buffers)};
}

namespace {

// As much of a matrix as stays in the nearest cache while it is turned.
constexpr std::int64_t TileSize = 32;

template <class Number>
void Turn(const Number* from, std::int64_t fromStride, Number* to, std::int64_t toStride, std::int64_t outer,
          std::int64_t inner, const std::stop_token& stop) {
    StopLook look(stop);
    for (std::int64_t i = 0; i < outer; i += TileSize) {
        for (std::int64_t j = 0; j < inner; j += TileSize) {
            look.Count(TileSize * TileSize);
            for (std::int64_t k = i; k < std::min(outer, i + TileSize); ++k) {
                for (std::int64_t l = j; l < std::min(inner, j + TileSize); ++l) {
                    to[l * toStride + k] = from[k * fromStride + l];
                }
            }
        }
    }
}

}  // namespace

Block Block::Transposed(const std::stop_token& stop) const {
    BlockParts turned = parts;
    turned.isRowMajor = !parts.isRowMajor;
    turned.first = 0;
    turned.stride = turned.isRowMajor ? parts.points : parts.rows;
    const std::size_t width = parts.isFloat32 ? sizeof(float) : sizeof(double);
    auto values = std::make_shared<Buffer>(static_cast<std::size_t>(parts.rows * parts.points) * width);
    const std::int64_t outer = parts.isRowMajor ? parts.rows : parts.points;
    const std::int64_t inner = parts.isRowMajor ? parts.points : parts.rows;
    if (parts.isFloat32) {
        Turn(GetFloats(), parts.stride, values->As<float>(), turned.stride, outer, inner, stop);
    } else {
        Turn(GetDoubles(), parts.stride, values->As<double>(), turned.stride, outer, inner, stop);
    }
    turned.values = std::move(values);
    return Block(std::move(turned));
}

Block Block::ToRowMajor(const std::stop_token& stop) const {
    return parts.isRowMajor ? *this : Transposed(stop);
}

Block Block::ToColumnMajor(const std::stop_token& stop) const {
    return parts.isRowMajor ? Transposed(stop) : *this;
}

Block Block::Slice(std::int64_t firstRow, std::int64_t rows) const {
    if (firstRow < 0 || rows < 0 || firstRow > parts.rows - rows) {
        throw std::out_of_range("a slice beyond a block of " + std::to_string(parts.rows) + " rows");
    }
    BlockParts slice = parts;
    slice.first += firstRow * GetRowStride();
    slice.rows = rows;
    return Block(std::move(slice));
}

}  // namespace karta
