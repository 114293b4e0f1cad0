#pragma once

#include <nanobind/nanobind.h>

namespace karta::python {

/** The class that goes through many files. */
void BindScan(nanobind::module_& module);

}  // namespace karta::python
