#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "karta/internal/CellStore.h"
#include "karta/internal/CellVector.h"
#include "karta/internal/TextIndex.h"

namespace karta {

/** How many cells of each kind some places hold. */
struct KindCounts {
    std::array<std::int64_t, CellKinds> counts{};
    std::int64_t emptyTexts = 0; /**< among the texts, where they were counted */

    std::int64_t& operator[](CellKind kind) { return counts[static_cast<std::size_t>(kind)]; }
    std::int64_t operator[](CellKind kind) const { return counts[static_cast<std::size_t>(kind)]; }
    KindCounts& operator+=(const KindCounts& others);
    std::int64_t GetNumbers() const {
        return (*this)[CellKind::Int64] + (*this)[CellKind::Float32] + (*this)[CellKind::Float64];
    }
    std::int64_t GetDates() const { return (*this)[CellKind::Date] + (*this)[CellKind::DateTime]; }
    std::int64_t GetAll() const;
    /** Whether a formula's "" is the only text among other values. */
    bool HasEmptyTextsOnly() const;
};

/** Of the places from `first` to before `end`, without the empty texts among them. Raises Stopped. */
KindCounts CountKinds(const CellStore& store, const CellVector& cells, int first, int end);

/** The same: how many of the texts are empty. */
std::int64_t CountEmptyTexts(const CellStore& store, const CellVector& cells, int first, int end);

/** What the numbers of a column are. */
struct NumberFacts {
    bool areWhole = true;  // also as 64-bit numbers, without loss
    bool areExact = true;  // as doubles, without loss
    bool hasRuns = false;  // an array of doubles stays one

    /** Those of further cells too. */
    NumberFacts& operator+=(const NumberFacts& others);
};

/** Of the places from `first` to before `end`. Raises Stopped. */
NumberFacts ExamineNumbers(const CellStore& store, const CellVector& cells, int first, int end);

/** Integers up to here are doubles without loss. */
constexpr std::int64_t LargestExactInteger = std::int64_t{1} << 53;

/** Whether it is a whole number that a double and a 64-bit integer both hold. */
inline bool IsWhole(double value) {
    constexpr double Largest = static_cast<double>(LargestExactInteger);
    return value >= -Largest && value <= Largest &&
           value == static_cast<double>(static_cast<std::int64_t>(value)) &&
           !(value == 0 && std::signbit(value));
}

/** The distinct texts of a column whose cells aren't kept, while they are few. */
class DistinctTexts {
public:
    /** The texts themselves are kept in the store, which may be full: then there are too many. */
    void Add(CellStore& kept, std::string_view text);
    void Add(CellStore& kept, const DistinctTexts& others);
    bool AreTooMany() const { return areTooMany; }
    /** Bytes of all texts, each as often as it came. */
    std::int64_t GetBytes() const { return bytes; }
    const std::vector<std::string_view>& GetTexts() const { return index.GetTexts(); }

private:
    TextIndex index;
    std::int64_t bytes = 0;
    bool areTooMany = false;
};

/** What the cells of a column are, of as many rows as were looked at: enough to say what it is to be. */
struct ColumnEvidence {
    KindCounts counts;
    NumberFacts facts;
    bool hasFractions = false;  // a number was written with a decimal mark
    DistinctTexts texts;

    /** The places from `first` to before `end` too. Raises Stopped and BudgetExceeded. */
    void Add(CellStore& store, CellStore& kept, const CellVector& cells, int first, int end);
    /** What further rows told. */
    void Add(CellStore& kept, const ColumnEvidence& further);
};

}  // namespace karta
