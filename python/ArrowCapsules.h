#pragma once

#include <nanobind/nanobind.h>

#include "karta/Arrow.h"
#include "karta/Table.h"

namespace karta::python {

/** The table by the Arrow PyCapsule interface, which pyarrow, polars, DuckDB and pandas take. */
nanobind::object SchemaCapsule(const Table& table, BlockForm form);
/** A pair: schema, array. */
nanobind::object ArrayCapsules(const Table& table, BlockForm form);
nanobind::object StreamCapsule(const Table& table, BlockForm form);
/** A column by itself: a pair of schema and array. */
nanobind::object ColumnCapsules(const Column& column);

}  // namespace karta::python
