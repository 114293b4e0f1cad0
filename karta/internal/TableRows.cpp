#include "karta/internal/TableRows.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <utility>

#include "karta/internal/Bits.h"

namespace karta {

namespace {

bool IsNumber(ColumnType type) {
    return type == ColumnType::Int64 || type == ColumnType::Float32 || type == ColumnType::Float64;
}

std::size_t SizeOf(ColumnType type) {
    switch (type) {
        case ColumnType::Float32:
        case ColumnType::Date32:
            return 4;
        default:
            return 8;
    }
}

std::int64_t CountRows(const std::vector<Column>& columns) {
    std::int64_t rows = 0;
    for (const Column& column : columns) {
        rows += column.GetRowCount();
    }
    return rows;
}

// Null where no row is missing.
SharedBuffer JoinValidity(const std::vector<Column>& columns, std::int64_t rows) {
    const bool isWhole = std::all_of(columns.begin(), columns.end(), [](const Column& column) {
        return column.GetType() != ColumnType::Null && column.GetBuffers().validity == nullptr;
    });
    if (isWhole) {
        return nullptr;
    }
    auto validity = std::make_shared<Buffer>(BytesOfBits(rows));
    std::int64_t place = 0;
    for (const Column& column : columns) {
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row, ++place) {
            if (!column.IsMissing(row)) {
                SetBit(validity->As<std::uint8_t>(), place);
            }
        }
    }
    return validity;
}

// The bytes of the column's own rows.
template <class Value>
void CopyValues(std::span<const Value> values, std::byte* target) {
    std::memcpy(target, values.data(), values.size_bytes());
}

void PutValues(const Column& column, ColumnType type, std::byte* target) {
    if (column.GetType() != type) {
        // Numbers of another type, as doubles.
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
            const double value = column.GetNumber(row);
            std::memcpy(target + row * std::int64_t{sizeof value}, &value, sizeof value);
        }
        return;
    }
    switch (type) {
        case ColumnType::Float32:
            return CopyValues(column.GetFloats(), target);
        case ColumnType::Float64:
            return CopyValues(column.GetDoubles(), target);
        case ColumnType::Date32:
            return CopyValues(column.GetDays(), target);
        default:
            return CopyValues(column.GetIntegers(), target);
    }
}

SharedBuffer JoinFixedValues(const std::vector<Column>& columns, ColumnType type, std::int64_t rows) {
    auto values = std::make_shared<Buffer>(static_cast<std::size_t>(rows) * SizeOf(type));
    auto* target = values->As<std::byte>();
    for (const Column& column : columns) {
        if (column.GetType() != ColumnType::Null && column.GetRowCount() > 0) {
            PutValues(column, type, target);
        }
        target += column.GetRowCount() * static_cast<std::int64_t>(SizeOf(type));
    }
    return values;
}

SharedBuffer JoinBits(const std::vector<Column>& columns, std::int64_t rows) {
    auto values = std::make_shared<Buffer>(BytesOfBits(rows));
    std::int64_t place = 0;
    for (const Column& column : columns) {
        const bool hasValues = column.GetType() == ColumnType::Bool;
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row, ++place) {
            if (hasValues && column.GetBool(row)) {
                SetBit(values->As<std::uint8_t>(), place);
            }
        }
    }
    return values;
}

void JoinTexts(const std::vector<Column>& columns, ColumnBuffers& buffers) {
    auto offsets =
        std::make_shared<Buffer>((static_cast<std::size_t>(buffers.rows) + 1) * sizeof(std::int64_t));
    std::string text;
    std::int64_t place = 0;
    for (const Column& column : columns) {
        const bool isText = column.GetType() == ColumnType::Text;
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
            text += isText ? column.GetText(row) : std::string_view(column.ToText(row));
            offsets->As<std::int64_t>()[++place] = static_cast<std::int64_t>(text.size());
        }
    }
    auto bytes = std::make_shared<Buffer>(text.size());
    if (!text.empty()) {
        std::memcpy(bytes->GetData(), text.data(), text.size());
    }
    buffers.values = std::move(offsets);
    buffers.text = std::move(bytes);
}

template <class Number>
Block JoinBlocksOf(const std::vector<Block>& blocks) {
    BlockParts parts = blocks.front().GetParts();
    parts.rows = 0;
    for (const Block& block : blocks) {
        parts.rows += block.GetRowCount();
    }
    auto values =
        std::make_shared<Buffer>(static_cast<std::size_t>(parts.rows * parts.points) * sizeof(Number));
    auto* target = values->As<Number>();
    for (const Block& block : blocks) {
        for (std::int64_t row = 0; row < block.GetRowCount(); ++row) {
            for (std::int64_t point = 0; point < parts.points; ++point) {
                *target++ = static_cast<Number>(block.GetNumber(row, point));
            }
        }
    }
    parts.values = std::move(values);
    parts.isRowMajor = true;
    parts.isFloat32 = sizeof(Number) == sizeof(float);
    parts.first = 0;
    parts.stride = parts.points;
    return Block(std::move(parts));
}

}  // namespace

std::optional<ColumnType> CommonType(ColumnType one, ColumnType other) {
    if (one == other || other == ColumnType::Null) {
        return one;
    }
    if (one == ColumnType::Null) {
        return other;
    }
    return IsNumber(one) && IsNumber(other) ? std::optional(ColumnType::Float64) : std::nullopt;
}

Column JoinColumns(const std::vector<Column>& columns, ColumnType type) {
    ColumnBuffers buffers;
    buffers.type = type;
    buffers.rows = CountRows(columns);
    if (type != ColumnType::Null) {
        buffers.validity = JoinValidity(columns, buffers.rows);
        for (const Column& column : columns) {
            buffers.nullCount +=
                column.GetType() == ColumnType::Null ? column.GetRowCount() : column.GetNullCount();
        }
    } else {
        buffers.nullCount = buffers.rows;
    }
    if (type == ColumnType::Text) {
        JoinTexts(columns, buffers);
    } else if (type == ColumnType::Bool) {
        buffers.values = JoinBits(columns, buffers.rows);
    } else if (type != ColumnType::Null) {
        buffers.values = JoinFixedValues(columns, type, buffers.rows);
    }
    const Column& first = columns.front();
    return {first.GetName(), first.GetUnit(), std::move(buffers)};
}

Block JoinBlocks(const std::vector<Block>& blocks, bool areFloats) {
    return areFloats ? JoinBlocksOf<float>(blocks) : JoinBlocksOf<double>(blocks);
}

Table JoinRows(const std::vector<Table>& tables) {
    TableParts parts = tables.front().GetParts();
    parts.rows = 0;
    for (const Table& table : tables) {
        parts.rows += table.GetRowCount();
    }
    for (std::size_t i = 0; i < parts.columns.size(); ++i) {
        std::vector<Column> pieces;
        ColumnType type = ColumnType::Null;
        for (const Table& table : tables) {
            pieces.push_back(table.GetColumn(i));
            type = CommonType(type, pieces.back().GetType()).value_or(ColumnType::Text);
        }
        parts.columns[i] = JoinColumns(pieces, type);
    }
    if (parts.block) {
        std::vector<Block> blocks;
        for (const Table& table : tables) {
            blocks.push_back(*table.GetBlock());
        }
        parts.block = JoinBlocks(blocks, blocks.front().IsFloat32());
    }
    return Table(std::move(parts));
}

}  // namespace karta
