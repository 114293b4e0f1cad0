#include "python/Pickles.h"

#include <nanobind/stl/optional.h>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "karta/Buffer.h"

namespace nb = nanobind;

namespace karta::python {

namespace {

[[noreturn]] void Refuse() {
    throw nb::value_error("this is no pickled table");
}

nb::bytes BytesOf(std::string_view text) {
    return nb::bytes(text.data(), text.size());
}

template <class Value>
nb::bytes BytesOf(std::span<const Value> values) {
    return nb::bytes(values.data(), values.size_bytes());
}

template <class Value>
Value ItemOf(const nb::tuple& state, std::size_t place) {
    return nb::cast<Value>(state[place]);
}

std::string TextAt(const nb::tuple& state, std::size_t place) {
    const auto bytes = ItemOf<nb::bytes>(state, place);
    return {bytes.c_str(), bytes.size()};
}

/** Bytes in a buffer of their own; null for None. Refuses another size than the expected one. */
SharedBuffer BufferAt(const nb::tuple& state, std::size_t place, std::optional<std::int64_t> size) {
    if (state[place].is_none()) {
        return nullptr;
    }
    const auto bytes = ItemOf<nb::bytes>(state, place);
    if (size && static_cast<std::int64_t>(bytes.size()) != *size) {
        Refuse();
    }
    auto buffer = std::make_shared<Buffer>(bytes.size());
    if (bytes.size() > 0) {
        std::memcpy(buffer->GetData(), bytes.data(), bytes.size());
    }
    return buffer;
}

std::int64_t BytesOfBits(std::int64_t rows) {
    return rows / 8 + (rows % 8 > 0 ? 1 : 0);
}

template <class Question>
nb::bytes PackBits(std::int64_t rows, const Question& ask) {
    std::string bits(static_cast<std::size_t>(BytesOfBits(rows)), '\0');
    for (std::int64_t row = 0; row < rows; ++row) {
        if (ask(row)) {
            char& byte = bits[static_cast<std::size_t>(row / 8)];
            byte = static_cast<char>(byte | (1 << (row % 8)));
        }
    }
    return BytesOf(bits);
}

/** Bytes a row of values that have a width; 0 for others. */
std::int64_t WidthOf(ColumnType type) {
    switch (type) {
        case ColumnType::Float32:
        case ColumnType::Date32:
            return 4;
        case ColumnType::Int64:
        case ColumnType::Float64:
        case ColumnType::Time64:
        case ColumnType::Timestamp:
        case ColumnType::Duration:
            return 8;
        case ColumnType::Null:
        case ColumnType::Bool:
        case ColumnType::Text:
            break;
    }
    return 0;
}

/** The column's rows of a buffer with so many bytes a row. */
nb::bytes RowsOf(const Column& column, std::int64_t width) {
    const ColumnBuffers& buffers = column.GetBuffers();
    const char* const first = buffers.values->As<char>() + buffers.offset * width;
    return BytesOf(std::string_view(first, static_cast<std::size_t>(buffers.rows * width)));
}

/** Offsets and bytes of texts, from the column's first. */
std::pair<nb::object, nb::object> TextsOf(const Column& column) {
    std::vector<std::int64_t> offsets = {0};
    std::string text;
    for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
        text += column.GetText(row);
        offsets.push_back(static_cast<std::int64_t>(text.size()));
    }
    return {BytesOf(std::span<const std::int64_t>(offsets)), BytesOf(text)};
}

void CheckOffsets(const Buffer& offsets, std::int64_t rows, const SharedBuffer& text) {
    const auto* const places = offsets.As<std::int64_t>();
    for (std::int64_t row = 0; row < rows; ++row) {
        if (places[row] < 0 || places[row + 1] < places[row]) {
            Refuse();
        }
    }
    if (text == nullptr || static_cast<std::uint64_t>(places[rows]) > text->GetSize()) {
        Refuse();
    }
}

void CheckPlaces(const Buffer& places, std::int64_t rows, const Column& dictionary) {
    for (std::int64_t row = 0; row < rows; ++row) {
        const std::int32_t place = places.As<std::int32_t>()[row];
        if (place < 0 || place >= dictionary.GetRowCount()) {
            Refuse();
        }
    }
}

void FillTexts(ColumnBuffers& buffers, const nb::tuple& state) {
    if (!state[7].is_none()) {
        buffers.dictionary = std::make_shared<const Column>(ColumnOf(ItemOf<nb::tuple>(state, 7)));
        buffers.values = BufferAt(state, 5, buffers.rows * 4);
        if (buffers.values == nullptr || buffers.dictionary->GetType() != ColumnType::Text) {
            Refuse();
        }
        CheckPlaces(*buffers.values, buffers.rows, *buffers.dictionary);
        return;
    }
    buffers.values = BufferAt(state, 5, (buffers.rows + 1) * 8);
    buffers.text = BufferAt(state, 6, {});
    if (buffers.values == nullptr) {
        Refuse();
    }
    CheckOffsets(*buffers.values, buffers.rows, buffers.text);
}

/** The matrix without gaps, in its own order. */
nb::bytes NumbersOf(const Block& block) {
    const bool isRowMajor = block.IsRowMajor();
    const std::int64_t lines = isRowMajor ? block.GetRowCount() : block.GetPointCount();
    const std::int64_t length = isRowMajor ? block.GetPointCount() : block.GetRowCount();
    const std::int64_t stride = isRowMajor ? block.GetRowStride() : block.GetPointStride();
    const std::int64_t width = block.IsFloat32() ? 4 : 8;
    if (stride == length || lines < 2) {
        return nb::bytes(block.GetValues(), static_cast<std::size_t>(lines * length * width));
    }
    std::string numbers;
    numbers.reserve(static_cast<std::size_t>(lines * length * width));
    for (std::int64_t line = 0; line < lines; ++line) {
        numbers.append(static_cast<const char*>(block.GetValues()) + line * stride * width,
                       static_cast<std::size_t>(length * width));
    }
    return BytesOf(numbers);
}

nb::tuple BlockState(const Block& block) {
    const auto axis = block.GetAxis();
    const std::optional<Column>& names = block.GetParts().names;
    return nb::make_tuple(block.GetRowCount(), block.GetPointCount(), block.IsRowMajor(), block.IsFloat32(),
                          NumbersOf(block), axis.empty() ? nb::object(nb::none()) : BytesOf(axis),
                          names ? nb::object(karta::python::StateOf(*names)) : nb::object(nb::none()),
                          BytesOf(block.GetAxisQuantity()), BytesOf(block.GetAxisUnit()),
                          BytesOf(block.GetValueQuantity()), BytesOf(block.GetValueUnit()));
}

Block BlockOf(const nb::tuple& state) {
    BlockParts parts;
    parts.rows = ItemOf<std::int64_t>(state, 0);
    parts.points = ItemOf<std::int64_t>(state, 1);
    constexpr std::int64_t Most = std::int64_t{1} << 40;
    if (parts.rows < 0 || parts.points < 0 || parts.rows > Most || parts.points > Most ||
        (parts.points > 0 && parts.rows > Most / parts.points)) {
        Refuse();
    }
    parts.isRowMajor = ItemOf<bool>(state, 2);
    parts.isFloat32 = ItemOf<bool>(state, 3);
    parts.values = BufferAt(state, 4, parts.rows * parts.points * (parts.isFloat32 ? 4 : 8));
    parts.stride = parts.isRowMajor ? parts.points : parts.rows;
    parts.axis = BufferAt(state, 5, parts.points * 8);
    if (!state[6].is_none()) {
        parts.names = ColumnOf(ItemOf<nb::tuple>(state, 6));
    }
    parts.axisQuantity = TextAt(state, 7);
    parts.axisUnit = TextAt(state, 8);
    parts.valueQuantity = TextAt(state, 9);
    parts.valueUnit = TextAt(state, 10);
    return Block(std::move(parts));
}

nb::tuple FactState(const Fact& fact) {
    return nb::make_tuple(BytesOf(fact.name), BytesOf(fact.text), fact.number, BytesOf(fact.unit));
}

nb::tuple NoteState(const Note& note) {
    return nb::make_tuple(BytesOf(note.code), note.count, BytesOf(note.place), BytesOf(note.text));
}

template <class Thing, class Step>
nb::list StatesOf(const std::vector<Thing>& things, const Step& stateOf) {
    nb::list states;
    for (const Thing& thing : things) {
        states.append(stateOf(thing));
    }
    return states;
}

}  // namespace

nb::tuple StateOf(const Column& column) {
    const ColumnBuffers& buffers = column.GetBuffers();
    const ColumnType type = column.GetType();
    nb::object values = nb::none();
    nb::object text = nb::none();
    nb::object dictionary = nb::none();
    if (type == ColumnType::Bool) {
        values = PackBits(buffers.rows, [&](std::int64_t row) { return column.GetBool(row); });
    } else if (type == ColumnType::Text && buffers.dictionary != nullptr) {
        values = RowsOf(column, 4);
        dictionary = StateOf(*buffers.dictionary);
    } else if (type == ColumnType::Text) {
        std::tie(values, text) = TextsOf(column);
    } else if (type != ColumnType::Null && buffers.rows > 0) {
        values = RowsOf(column, WidthOf(type));
    }
    nb::object validity = nb::none();
    if (type != ColumnType::Null && buffers.nullCount != 0) {
        validity = PackBits(buffers.rows, [&](std::int64_t row) { return !column.IsMissing(row); });
    }
    return nb::make_tuple(BytesOf(column.GetName()), BytesOf(column.GetUnit()), static_cast<int>(type),
                          buffers.rows, validity, values, text, dictionary);
}

Column ColumnOf(const nb::tuple& state) {
    ColumnBuffers buffers;
    const int type = ItemOf<int>(state, 2);
    buffers.rows = ItemOf<std::int64_t>(state, 3);
    constexpr std::int64_t MostRows = std::int64_t{1} << 48;
    if (type < 0 || type > static_cast<int>(ColumnType::Duration) || buffers.rows < 0 ||
        buffers.rows > MostRows) {
        Refuse();
    }
    buffers.type = static_cast<ColumnType>(type);
    buffers.validity = BufferAt(state, 4, BytesOfBits(buffers.rows));
    buffers.nullCount = buffers.type == ColumnType::Null ? buffers.rows
                        : buffers.validity == nullptr    ? 0
                                                         : -1;
    if (buffers.type == ColumnType::Text) {
        FillTexts(buffers, state);
    } else if (buffers.type != ColumnType::Null && buffers.rows > 0) {
        const bool areBits = buffers.type == ColumnType::Bool;
        buffers.values =
            BufferAt(state, 5, areBits ? BytesOfBits(buffers.rows) : buffers.rows * WidthOf(buffers.type));
        if (buffers.values == nullptr) {
            Refuse();
        }
    }
    return {TextAt(state, 0), TextAt(state, 1), std::move(buffers)};
}

nb::tuple StateOf(const Table& table) {
    const Block* const block = table.GetBlock();
    return nb::make_tuple(table.GetRowCount(),
                          StatesOf(table.GetColumns(), [](const Column& column) { return StateOf(column); }),
                          block == nullptr ? nb::object(nb::none()) : nb::object(BlockState(*block)),
                          table.GetBlockPlace(), StatesOf(table.GetFacts(), FactState),
                          StatesOf(table.GetNotes(), NoteState));
}

Table TableOf(const nb::tuple& state) {
    TableParts parts;
    parts.rows = ItemOf<std::int64_t>(state, 0);
    for (const nb::handle column : ItemOf<nb::list>(state, 1)) {
        parts.columns.push_back(ColumnOf(nb::cast<nb::tuple>(column)));
    }
    if (!state[2].is_none()) {
        parts.block = BlockOf(ItemOf<nb::tuple>(state, 2));
    }
    parts.blockPlace = std::min(ItemOf<std::size_t>(state, 3), parts.columns.size());
    for (const nb::handle fact : ItemOf<nb::list>(state, 4)) {
        const auto known = nb::cast<nb::tuple>(fact);
        parts.facts.push_back(
            {TextAt(known, 0), TextAt(known, 1), ItemOf<std::optional<double>>(known, 2), TextAt(known, 3)});
    }
    for (const nb::handle note : ItemOf<nb::list>(state, 5)) {
        const auto known = nb::cast<nb::tuple>(note);
        parts.notes.push_back(
            {TextAt(known, 0), ItemOf<std::uint64_t>(known, 1), TextAt(known, 2), TextAt(known, 3)});
    }
    return Table(std::move(parts));
}

}  // namespace karta::python
