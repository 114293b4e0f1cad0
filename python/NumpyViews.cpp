#include "python/NumpyViews.h"

#include <nanobind/ndarray.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace nb = nanobind;

namespace karta::python {

namespace {

// What keeps an array's memory: a copy of the handle that shares it.
template <class Handle>
nb::capsule KeeperOf(const Handle& handle) {
    return nb::capsule(new Handle(handle), [](void* kept) noexcept { delete static_cast<Handle*>(kept); });
}

template <class Value, class Handle>
nb::object VectorOf(std::span<const Value> values, const Handle& handle) {
    return nb::cast(
        nb::ndarray<nb::numpy, const Value, nb::ndim<1>>(values.data(), {values.size()}, KeeperOf(handle)));
}

template <class Value>
nb::object MatrixOf(const Value* values, const Block& block) {
    return nb::cast(nb::ndarray<nb::numpy, const Value, nb::ndim<2>>(
        values,
        {static_cast<std::size_t>(block.GetRowCount()), static_cast<std::size_t>(block.GetPointCount())},
        KeeperOf(block), {block.GetRowStride(), block.GetPointStride()}));
}

}  // namespace

nb::object BlockArray(const Block& block) {
    return block.IsFloat32() ? MatrixOf(block.GetFloats(), block) : MatrixOf(block.GetDoubles(), block);
}

nb::object AxisArray(const Block& block) {
    const std::span<const double> axis = block.GetAxis();
    return axis.empty() ? nb::object(nb::none()) : VectorOf(axis, block);
}

nb::object ColumnArray(const Column& column) {
    switch (column.GetType()) {
        case ColumnType::Float32:
            return VectorOf(column.GetFloats(), column);
        case ColumnType::Float64:
            return VectorOf(column.GetDoubles(), column);
        case ColumnType::Int64:
        case ColumnType::Time64:
        case ColumnType::Timestamp:
        case ColumnType::Duration:
            return VectorOf(column.GetIntegers(), column);
        case ColumnType::Date32:
            return VectorOf(column.GetDays(), column);
        case ColumnType::Null:
        case ColumnType::Bool:
        case ColumnType::Text:
            break;
    }
    return nb::none();
}

nb::object MissingArray(const Column& column) {
    if (column.GetNullCount() == 0) {
        return nb::none();
    }
    const auto rows = static_cast<std::size_t>(column.GetRowCount());
    auto missing = std::make_unique<bool[]>(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        missing[row] = column.IsMissing(static_cast<std::int64_t>(row));
    }
    const nb::capsule keeper(missing.get(), [](void* kept) noexcept { delete[] static_cast<bool*>(kept); });
    return nb::cast(nb::ndarray<nb::numpy, bool, nb::ndim<1>>(missing.release(), {rows}, keeper));
}

}  // namespace karta::python
