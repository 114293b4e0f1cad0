#pragma once

#include <nanobind/nanobind.h>

#include "karta/Block.h"
#include "karta/Column.h"

namespace karta::python {

/**
 * The block's matrix, rows by points, where it lies; read-only. The array keeps the memory alive. numpy is
 * imported when the first array is made.
 */
nanobind::object BlockArray(const Block& block);
/** The axis value of each point; None where the file tells none. */
nanobind::object AxisArray(const Block& block);
/**
 * A column's values where they lie, one dimension, read-only: floats, 64-bit integers (also the microseconds
 * of times), 32-bit days. What stands in missing rows means nothing. None for other types.
 */
nanobind::object ColumnArray(const Column& column);
/** Whether each row is missing, as an array of bool; None where none is. */
nanobind::object MissingArray(const Column& column);

}  // namespace karta::python
