#pragma once

#include <nanobind/nanobind.h>

#include "karta/Table.h"

namespace karta::python {

// What Python's pickle keeps of columns and tables: their own rows, and no more of the buffers that they may
// share with larger ones. Where heads stood in the file's grid isn't kept, since Python doesn't show it. What
// is put together again from something else raises ValueError.

nanobind::tuple StateOf(const Column& column);
nanobind::tuple StateOf(const Table& table);

Column ColumnOf(const nanobind::tuple& state);
Table TableOf(const nanobind::tuple& state);

}  // namespace karta::python
