#pragma once

#include <nanobind/nanobind.h>

#include <functional>

namespace karta::python {

/**
 * What a read tells its share to: Python's signal handlers run, so that Ctrl-C ends the read, and then
 * `callback` is called unless it is None. For threads that don't hold the interpreter's lock.
 */
std::function<void(double)> ProgressOf(nanobind::object callback);

}  // namespace karta::python
