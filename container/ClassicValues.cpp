#include "container/ClassicValues.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

#include "base/NumberParser.h"
#include "base/PathNames.h"

namespace {

// What the library writes where nothing was written.
constexpr double FillByte = -127;
constexpr double FillUByte = 255;
constexpr double FillShort = -32767;
constexpr double FillInt = -2147483647;
constexpr double FillFloat = 9.9692099683868690e+36;  // a float's value
constexpr double FillUShort = 65535;
constexpr double FillUInt = 4294967295;
constexpr std::uint64_t FillInt64 = static_cast<std::uint64_t>(-9223372036854775806);
constexpr std::uint64_t FillUInt64 = 18446744073709551614U;

constexpr const char* FillAttribute = "_FillValue";
constexpr const char* MissingAttribute = "missing_value";

// Values on their way from the file to a sink stay in the cache.
constexpr std::size_t PieceSize = 4096;

constexpr std::uint64_t LargestExactInteger = std::uint64_t{1} << 53;

bool IsWide(ClassicType type) {
    return type == ClassicType::Int64 || type == ClassicType::UInt64;
}

struct RowTarget {
    CellOutput& output;
    int firstCol;
    int row;

    template <class Value>
    void Run(std::size_t at, std::span<const Value> values) const {
        output.RowRun(firstCol + static_cast<int>(at), row, values);
    }
    void Missing(std::size_t at) const { output.Missing(firstCol + static_cast<int>(at), row); }
    void Integer(std::size_t at, std::int64_t value) const {
        output.Integer(firstCol + static_cast<int>(at), row, value);
    }
    void Unsigned(std::size_t at, std::uint64_t value) const {
        output.Unsigned(firstCol + static_cast<int>(at), row, value);
    }
};

struct ColumnTarget {
    CellOutput& output;
    int col;
    int firstRow;

    template <class Value>
    void Run(std::size_t at, std::span<const Value> values) const {
        output.ColumnRun(col, firstRow + static_cast<int>(at), values);
    }
    void Missing(std::size_t at) const { output.Missing(col, firstRow + static_cast<int>(at)); }
    void Integer(std::size_t at, std::int64_t value) const {
        output.Integer(col, firstRow + static_cast<int>(at), value);
    }
    void Unsigned(std::size_t at, std::uint64_t value) const {
        output.Unsigned(col, firstRow + static_cast<int>(at), value);
    }
};

}  // namespace

ClassicValues::ClassicValues(const ClassicFile& classicFile, const ClassicVariable& itsVariable)
    : file(classicFile), variable(itsVariable) {
    isUnsigned = EqualIgnoringCase(file.GetText(ClassicFile::FindAttribute(variable, "_Unsigned")), "true") &&
                 (variable.type == ClassicType::Byte || variable.type == ClassicType::Short ||
                  variable.type == ClassicType::Int || variable.type == ClassicType::Int64);
    if (!IsText()) {
        ReadMissing();
        ReadScaling();
    }
}

void ClassicValues::ReadMissing() {
    const ClassicAttribute* fill = ClassicFile::FindAttribute(variable, FillAttribute);
    const ClassicAttribute* told = ClassicFile::FindAttribute(variable, MissingAttribute);
    for (const ClassicAttribute* attribute : {fill, told}) {
        for (const double value : ClassicFile::GetNumbers(attribute)) {
            // A float's stored value is compared as a float, however precisely the attribute tells it.
            const bool isFloat = variable.type == ClassicType::Float;
            missing.push_back(isFloat ? static_cast<double>(static_cast<float>(value)) : value);
        }
        if (attribute != nullptr && IsWide(attribute->type)) {
            ClassicVariable values;
            values.type = attribute->type;
            for (std::size_t i = 0; i < attribute->count; ++i) {
                std::uint64_t bits = 0;
                for (std::size_t byte = 0; byte < sizeof bits; ++byte) {
                    bits = bits << 8 | attribute->values[i * sizeof bits + byte];
                }
                missingWide.push_back(bits);
            }
        } else {
            for (const double value : ClassicFile::GetNumbers(attribute)) {
                if (std::fabs(value) <= static_cast<double>(LargestExactInteger)) {
                    missingWide.push_back(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
                }
            }
        }
        double number = 0.0;
        const std::string text = file.GetText(attribute);
        if (!text.empty() && ParseDouble(text, number) == text.size()) {
            missing.push_back(number);
        }
    }
    isNaNMissing =
        std::any_of(missing.begin(), missing.end(), [](double value) { return std::isnan(value); });
    if (fill != nullptr || isUnsigned) {
        return;
    }
    switch (variable.type) {
        case ClassicType::Short:
            missing.push_back(FillShort);
            break;
        case ClassicType::Int:
            missing.push_back(FillInt);
            break;
        case ClassicType::Float:
        case ClassicType::Double:
            missing.push_back(FillFloat);
            break;
        case ClassicType::UShort:
            missing.push_back(FillUShort);
            break;
        case ClassicType::UInt:
            missing.push_back(FillUInt);
            break;
        case ClassicType::Int64:
            missingWide.push_back(FillInt64);
            missing.push_back(static_cast<double>(static_cast<std::int64_t>(FillInt64)));
            break;
        case ClassicType::UInt64:
            missingWide.push_back(FillUInt64);
            missing.push_back(static_cast<double>(FillUInt64));
            break;
        case ClassicType::Byte:
            missing.push_back(FillByte);
            break;
        case ClassicType::UByte:
            missing.push_back(FillUByte);
            break;
        case ClassicType::Char:
            break;
    }
}

void ClassicValues::ReadScaling() {
    const ClassicAttribute* scale = ClassicFile::FindAttribute(variable, "scale_factor");
    const ClassicAttribute* shift = ClassicFile::FindAttribute(variable, "add_offset");
    const std::vector<double> factors = ClassicFile::GetNumbers(scale);
    const std::vector<double> offsets = ClassicFile::GetNumbers(shift);
    factor = factors.empty() ? 1.0 : factors.front();
    offset = offsets.empty() ? 0.0 : offsets.front();
    isScaled = factor != 1.0 || offset != 0.0;
    const auto isFloat = [](const ClassicAttribute* attribute) {
        return attribute == nullptr || attribute->type == ClassicType::Float;
    };
    const bool isShort = SizeOfType(variable.type) <= 2;
    if (variable.type == ClassicType::Float) {
        form = !isScaled ? Form::Float : isFloat(scale) && isFloat(shift) ? Form::ScaledFloat : Form::Double;
    } else if (isScaled && isShort && isFloat(scale) && isFloat(shift)) {
        form = Form::ScaledFloat;
    } else if (IsWide(variable.type) && !isScaled) {
        form = Form::Wide;
    }
}

void ClassicValues::SetMissing(std::vector<double> values) {
    missing = std::move(values);
    isNaNMissing = false;
    missingWide.clear();
    for (const double value : missing) {
        missingWide.push_back(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    }
}

bool ClassicValues::IsMissing(double value) const {
    return (isNaNMissing && std::isnan(value)) ||
           std::find(missing.begin(), missing.end(), value) != missing.end();
}

// Most pieces have none, and looking for each of the few values in all of them is fast.
template <class Value>
bool ClassicValues::HasMissing(std::span<const Value> values) const {
    bool found = false;
    for (const double number : missing) {
        const auto sought = static_cast<Value>(number);
        for (const Value value : values) {
            found |= value == sought;
        }
    }
    return found || (isNaNMissing && std::any_of(values.begin(), values.end(),
                                                 [](Value value) { return std::isnan(value); }));
}

bool ClassicValues::IsMissingWide(std::uint64_t bits) const {
    return std::find(missingWide.begin(), missingWide.end(), bits) != missingWide.end();
}

// Stored values piece by piece, decoded into a buffer.
template <class Value, class Emit>
void ClassicValues::ForEachPiece(std::uint64_t first, std::uint64_t count, Emit emit) const {
    std::array<Value, PieceSize> values;
    for (std::uint64_t done = 0; done < count;) {
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count - done, PieceSize));
        file.Read(variable, first + done, part, values.data());
        emit(static_cast<std::size_t>(done), std::span<Value>(values.data(), part));
        done += part;
    }
}

template <class Value, class Target>
void ClassicValues::PutRuns(const Target& target, std::uint64_t first, std::uint64_t count) const {
    // Where the file says that its signed values are none, the negative ones are above the others.
    const double wrap = isUnsigned ? std::ldexp(1.0, static_cast<int>(8 * SizeOfType(variable.type))) : 0.0;
    const auto scale = static_cast<Value>(factor);
    const auto shift = static_cast<Value>(offset);
    ForEachPiece<Value>(first, count, [&](std::size_t at, std::span<Value> values) {
        if (!isUnsigned && !HasMissing(std::span<const Value>(values))) {
            if (isScaled) {
                for (Value& value : values) {
                    value = value * scale + shift;
                }
            }
            target.Run(at, std::span<const Value>(values));
            return;
        }
        std::size_t start = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (IsMissing(static_cast<double>(values[i]))) {
                if (i > start) {
                    target.Run(at + start, std::span<const Value>(values.subspan(start, i - start)));
                }
                target.Missing(at + i);
                start = i + 1;
                continue;
            }
            if (isUnsigned && values[i] < 0) {
                values[i] += static_cast<Value>(wrap);
            }
            if (isScaled) {
                values[i] = values[i] * scale + shift;
            }
        }
        if (start < values.size()) {
            target.Run(at + start, std::span<const Value>(values.subspan(start)));
        }
    });
}

template <class Target>
void ClassicValues::PutWide(const Target& target, std::uint64_t first, std::uint64_t count) const {
    ForEachPiece<std::uint64_t>(first, count, [&](std::size_t at, std::span<const std::uint64_t> values) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (IsMissingWide(values[i])) {
                target.Missing(at + i);
            } else if (IsSigned()) {
                target.Integer(at + i, static_cast<std::int64_t>(values[i]));
            } else {
                target.Unsigned(at + i, values[i]);
            }
        }
    });
}

template <class Target>
void ClassicValues::Put(const Target& target, std::uint64_t first, std::uint64_t count) const {
    if (form == Form::Wide) {
        PutWide(target, first, count);
    } else if (form == Form::Double) {
        PutRuns<double>(target, first, count);
    } else {
        PutRuns<float>(target, first, count);
    }
}

void ClassicValues::SetRow(CellOutput& output, int firstCol, int row, std::uint64_t first,
                           std::uint64_t count) const {
    Put(RowTarget{output, firstCol, row}, first, count);
}

void ClassicValues::SetColumn(CellOutput& output, int col, int firstRow, std::uint64_t first,
                              std::uint64_t count) const {
    Put(ColumnTarget{output, col, firstRow}, first, count);
}

void ClassicValues::SetText(CellOutput& output, int col, int row, std::uint64_t first,
                            std::size_t length) const {
    const std::string text = file.Decode(file.ReadText(variable, first, length));
    if (text.empty()) {
        output.Missing(col, row);
    } else {
        output.Text(col, row, text);
    }
}

std::vector<double> ClassicValues::GetNumbers() const {
    std::vector<double> numbers(static_cast<std::size_t>(ClassicFile::CountValues(variable)));
    file.Read(variable, 0, numbers.size(), numbers.data());
    for (double& number : numbers) {
        number = IsMissing(number) ? std::numeric_limits<double>::quiet_NaN() : number * factor + offset;
    }
    return numbers;
}
