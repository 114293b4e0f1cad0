#include "karta/Column.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "base/DateText.h"
#include "base/NumberFormat.h"
#include "karta/internal/Bits.h"

namespace karta {

namespace {

template <class Value>
Column CopyOf(std::string name, std::string unit, ColumnType type, std::span<const Value> values) {
    auto buffer = std::make_shared<Buffer>(values.size_bytes());
    if (!values.empty()) {
        std::memcpy(buffer->GetData(), values.data(), values.size_bytes());
    }
    ColumnBuffers buffers;
    buffers.type = type;
    buffers.rows = static_cast<std::int64_t>(values.size());
    buffers.values = std::move(buffer);
    return {std::move(name), std::move(unit), std::move(buffers)};
}

}  // namespace

const char* GetTypeName(ColumnType type) {
    switch (type) {
        case ColumnType::Null:
            return "null";
        case ColumnType::Bool:
            return "bool";
        case ColumnType::Int64:
            return "int64";
        case ColumnType::Float32:
            return "float32";
        case ColumnType::Float64:
            return "float64";
        case ColumnType::Text:
            return "text";
        case ColumnType::Date32:
            return "date32";
        case ColumnType::Time64:
            return "time64[us]";
        case ColumnType::Timestamp:
            return "timestamp[us]";
        case ColumnType::Duration:
            return "duration[us]";
    }
    return "";
}

Column::Column(std::string columnName, std::string columnUnit, ColumnBuffers columnBuffers)
    : name(std::move(columnName)), unit(std::move(columnUnit)), buffers(std::move(columnBuffers)) {
    if (buffers.type == ColumnType::Null) {
        buffers.nullCount = buffers.rows;
    } else if (buffers.validity == nullptr) {
        buffers.nullCount = 0;
    } else if (buffers.nullCount < 0) {
        buffers.nullCount =
            buffers.rows - CountBits(buffers.validity->As<std::uint8_t>(), buffers.offset, buffers.rows);
    }
}

Column Column::Of(std::string name, std::string unit, std::span<const float> values) {
    return CopyOf(std::move(name), std::move(unit), ColumnType::Float32, values);
}

Column Column::Of(std::string name, std::string unit, std::span<const double> values) {
    return CopyOf(std::move(name), std::move(unit), ColumnType::Float64, values);
}

Column Column::Of(std::string name, std::string unit, std::span<const std::int64_t> values) {
    return CopyOf(std::move(name), std::move(unit), ColumnType::Int64, values);
}

Column Column::Of(std::string name, std::string unit, std::span<const std::string> texts) {
    std::size_t bytes = 0;
    for (const std::string& text : texts) {
        bytes += text.size();
    }
    auto offsets = std::make_shared<Buffer>((texts.size() + 1) * sizeof(std::int64_t));
    auto data = std::make_shared<Buffer>(bytes);
    std::int64_t end = 0;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (!texts[i].empty()) {
            std::memcpy(data->As<char>() + end, texts[i].data(), texts[i].size());
        }
        end += static_cast<std::int64_t>(texts[i].size());
        offsets->As<std::int64_t>()[i + 1] = end;
    }
    ColumnBuffers buffers;
    buffers.type = ColumnType::Text;
    buffers.rows = static_cast<std::int64_t>(texts.size());
    buffers.values = std::move(offsets);
    buffers.text = std::move(data);
    return {std::move(name), std::move(unit), std::move(buffers)};
}

bool Column::Has(std::int64_t row) const {
    if (row < 0 || row >= buffers.rows) {
        throw std::out_of_range("row " + std::to_string(row) + " of a column of " +
                                std::to_string(buffers.rows));
    }
    return buffers.type != ColumnType::Null &&
           (buffers.validity == nullptr ||
            GetBit(buffers.validity->As<std::uint8_t>(), buffers.offset + row));
}

bool Column::IsMissing(std::int64_t row) const {
    return !Has(row);
}

bool Column::IsNumeric() const {
    return buffers.type == ColumnType::Int64 || buffers.type == ColumnType::Float32 ||
           buffers.type == ColumnType::Float64;
}

void Column::CheckType(bool isOfType) const {
    if (!isOfType) {
        throw std::logic_error("the column '" + name + "' is of type " + GetTypeName(buffers.type));
    }
}

template <class Value>
std::span<const Value> Column::Values() const {
    if (buffers.rows == 0) {
        return {};
    }
    return {buffers.values->As<Value>() + buffers.offset, static_cast<std::size_t>(buffers.rows)};
}

std::span<const float> Column::GetFloats() const {
    CheckType(buffers.type == ColumnType::Float32);
    return Values<float>();
}

std::span<const double> Column::GetDoubles() const {
    CheckType(buffers.type == ColumnType::Float64);
    return Values<double>();
}

std::span<const std::int64_t> Column::GetIntegers() const {
    CheckType(buffers.type == ColumnType::Int64 || buffers.type == ColumnType::Time64 ||
              buffers.type == ColumnType::Timestamp || buffers.type == ColumnType::Duration);
    return Values<std::int64_t>();
}

std::span<const std::int32_t> Column::GetDays() const {
    CheckType(buffers.type == ColumnType::Date32);
    return Values<std::int32_t>();
}

bool Column::GetBool(std::int64_t row) const {
    CheckType(buffers.type == ColumnType::Bool || buffers.type == ColumnType::Null);
    return Has(row) && GetBit(buffers.values->As<std::uint8_t>(), buffers.offset + row);
}

std::string_view Column::GetText(std::int64_t row) const {
    CheckType(buffers.type == ColumnType::Text || buffers.type == ColumnType::Null);
    if (!Has(row)) {
        return {};
    }
    if (buffers.dictionary != nullptr) {
        return buffers.dictionary->GetText(Values<std::int32_t>()[static_cast<std::size_t>(row)]);
    }
    const std::int64_t* const offsets = buffers.values->As<std::int64_t>() + buffers.offset;
    return {buffers.text->As<char>() + offsets[row],
            static_cast<std::size_t>(offsets[row + 1] - offsets[row])};
}

double Column::GetNumber(std::int64_t row) const {
    CheckType(IsNumeric() || buffers.type == ColumnType::Bool || buffers.type == ColumnType::Null);
    if (!Has(row)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto place = static_cast<std::size_t>(row);
    switch (buffers.type) {
        case ColumnType::Bool:
            return GetBool(row) ? 1.0 : 0.0;
        case ColumnType::Int64:
            return static_cast<double>(Values<std::int64_t>()[place]);
        case ColumnType::Float32:
            return Values<float>()[place];
        default:
            return Values<double>()[place];
    }
}

std::string Column::ToText(std::int64_t row) const {
    if (!Has(row)) {
        return {};
    }
    const auto place = static_cast<std::size_t>(row);
    switch (buffers.type) {
        case ColumnType::Null:
            return {};
        case ColumnType::Bool:
            return GetBool(row) ? "TRUE" : "FALSE";
        case ColumnType::Int64:
            return std::to_string(Values<std::int64_t>()[place]);
        case ColumnType::Float32:
            return FormatShortest(Values<float>()[place]);
        case ColumnType::Float64:
            return FormatShortest(Values<double>()[place]);
        case ColumnType::Text:
            return std::string(GetText(row));
        case ColumnType::Date32:
            return FormatDate(Values<std::int32_t>()[place]);
        case ColumnType::Time64:
            return FormatTime(Values<std::int64_t>()[place]);
        case ColumnType::Timestamp:
            return FormatDateTime(Values<std::int64_t>()[place]);
        case ColumnType::Duration:
            return FormatDuration(Values<std::int64_t>()[place]);
    }
    return {};
}

Column Column::Slice(std::int64_t firstRow, std::int64_t rows) const {
    if (firstRow < 0 || rows < 0 || firstRow > buffers.rows - rows) {
        throw std::out_of_range("a slice beyond a column of " + std::to_string(buffers.rows) + " rows");
    }
    ColumnBuffers slice = buffers;
    slice.offset += firstRow;
    slice.rows = rows;
    slice.nullCount = -1;
    return {name, unit, std::move(slice)};
}

Column Column::Renamed(std::string newName, std::string newUnit) const {
    return {std::move(newName), std::move(newUnit), buffers};
}

}  // namespace karta
