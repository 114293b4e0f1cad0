#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "karta/Buffer.h"
#include "karta/internal/CellStore.h"

namespace karta {

/**
 * The matrix of a block in the making: numbers of rows or columns go to their place at once, in the order in
 * which the file has them. What isn't set is NaN. Rows and points count from 0.
 */
class BlockStore {
public:
    explicit BlockStore(CellStore& cellStore) : store(cellStore) {}

    bool HasBegun() const { return hasBegun; }
    /** The sizes are what the reader has announced; cells beyond make the matrix larger. */
    void Begin(bool inRows, bool areFloats, std::int64_t expectedRows, std::int64_t expectedPoints);

    void PutRow(std::int64_t row, std::int64_t firstPoint, std::span<const float> values);
    void PutRow(std::int64_t row, std::int64_t firstPoint, std::span<const double> values);
    void PutColumn(std::int64_t point, std::int64_t firstRow, std::span<const float> values);
    void PutColumn(std::int64_t point, std::int64_t firstRow, std::span<const double> values);

    /** What was there is gone. */
    void PutMissing(std::int64_t row, std::int64_t point);
    void Clear();

    bool IsRowMajor() const { return isRowMajor; }
    bool IsFloat32() const { return isFloat; }
    double Get(std::int64_t row, std::int64_t point) const;

    /** Exactly so many rows and points; elements from row to row or point to point afterwards. */
    std::int64_t Finish(std::int64_t rows, std::int64_t points);
    Buffer TakeValues() { return std::move(values); }

private:
    template <class Number>
    void PutSideBySide(std::int64_t line, std::int64_t first, std::span<const Number> numbers);
    template <class Number>
    void PutAcross(std::int64_t first, std::int64_t place, std::span<const Number> numbers);
    template <class Number>
    void PutAt(std::int64_t at, std::span<const Number> numbers);
    void NeedLine(std::int64_t length);
    void NeedElements(std::int64_t count);
    void FillTo(std::int64_t count);
    void Lay(std::int64_t length);
    void Widen();
    std::size_t WidthOfNumber() const { return isFloat ? sizeof(float) : sizeof(double); }

    CellStore& store;
    bool hasBegun = false;
    bool isRowMajor = true;
    bool isFloat = false;
    std::int64_t lines = 0;   // announced: rows, or points of a column-major matrix
    std::int64_t length = 0;  // of a line, in elements
    std::int64_t filled = 0;  // elements that were written, or are NaN
    std::uint64_t charged = 0;
    Buffer values;
};

}  // namespace karta
