#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "container/ClassicFile.h"
#include "frame/CellOutput.h"

/**
 * A variable's values as cells: which of them are missing, how they are scaled, and in which type they go
 * out.
 *
 * Missing are `_FillValue`, or where that isn't told the type's default fill value (integers that are told to
 * be unsigned have none), and `missing_value`, by the stored value. Then `scale_factor` and `add_offset`
 * apply. Floats stay floats; short integers that are scaled by floats become such; all other numbers are
 * doubles, and whole numbers that no double holds stay whole.
 */
class ClassicValues {
public:
    /** The file and the variable stay the caller's. */
    ClassicValues(const ClassicFile& classicFile, const ClassicVariable& itsVariable);

    const ClassicVariable& GetVariable() const { return variable; }
    /** Whether the values are text, the last dimension aside. */
    bool IsText() const { return variable.type == ClassicType::Char; }

    /** In place of the type's default and of what the attributes say. */
    void SetMissing(std::vector<double> values);
    void AddMissing(double value) { missing.push_back(value); }
    /** Every NaN is missing. */
    void SetNaNMissing() { isNaNMissing = true; }

    /** Numbers from `first` on, side by side or below each other. */
    void SetRow(CellOutput& output, int firstCol, int row, std::uint64_t first, std::uint64_t count) const;
    void SetColumn(CellOutput& output, int col, int firstRow, std::uint64_t first, std::uint64_t count) const;
    /** The text of `length` characters that stands at `first`, a missing cell where it is empty. */
    void SetText(CellOutput& output, int col, int row, std::uint64_t first, std::size_t length) const;
    /** Numbers with NaN for missing ones. */
    std::vector<double> GetNumbers() const;

private:
    enum class Form { Float, ScaledFloat, Double, Wide };

    template <class Value, class Emit>
    void ForEachPiece(std::uint64_t first, std::uint64_t count, Emit emit) const;
    template <class Target>
    void Put(const Target& target, std::uint64_t first, std::uint64_t count) const;
    template <class Value, class Target>
    void PutRuns(const Target& target, std::uint64_t first, std::uint64_t count) const;
    template <class Target>
    void PutWide(const Target& target, std::uint64_t first, std::uint64_t count) const;
    bool IsMissing(double value) const;
    template <class Value>
    bool HasMissing(std::span<const Value> values) const;
    bool IsMissingWide(std::uint64_t bits) const;
    void ReadMissing();
    void ReadScaling();
    bool IsSigned() const { return variable.type != ClassicType::UInt64 && !isUnsigned; }

    const ClassicFile& file;
    const ClassicVariable& variable;
    Form form = Form::Double;
    std::vector<double> missing;             // stored values
    std::vector<std::uint64_t> missingWide;  // of 64-bit integers
    bool isNaNMissing = false;
    bool isUnsigned = false;  // signed integers that the file says to be none
    bool isScaled = false;
    double factor = 1.0;
    double offset = 0.0;
};
