#include "python/ScanBinding.h"

#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <new>
#include <string>
#include <vector>

#include "karta/Scan.h"
#include "python/Failures.h"
#include "python/Gil.h"
#include "python/Paths.h"

namespace nb = nanobind;

namespace karta::python {

namespace {

Grid GridOf(const std::string& kind, std::vector<double> axis) {
    if (!axis.empty()) {
        return Grid(std::move(axis));
    }
    return kind == "first"    ? Grid::First
           : kind == "common" ? Grid::Common
           : kind == "union"  ? Grid::Union
                              : Grid::None;
}

OnError OnErrorOf(const std::string& name) {
    return name == "skip" ? OnError::Skip : name == "collect" ? OnError::Collect : OnError::Raise;
}

Scan MakeScan(const std::vector<nb::bytes>& names, const ReadOptions& options, std::size_t batch,
              const std::string& grid, std::vector<double> axis, const std::string& onError,
              unsigned workers) {
    ScanOptions wanted{.grid = GridOf(grid, std::move(axis)),
                       .onError = OnErrorOf(onError),
                       .batch = batch,
                       .workers = workers,
                       .read = options};
    wanted.read.progress = ProgressOf(nb::none());
    return Scan(PathsOf(names), std::move(wanted));
}

nb::object NextTable(Scan& scan) {
    Table* table = nullptr;
    {
        const nb::gil_scoped_release unlocked;
        table = scan.Next();
    }
    return table == nullptr ? nb::object(nb::none()) : nb::cast(Table(*table));
}

nb::list ErrorsOf(const Scan& scan) {
    nb::list made;
    for (const Error& error : scan.Errors()) {
        made.append(ExceptionOf(error));
    }
    return made;
}

}  // namespace

void BindScan(nb::module_& module) {
    nb::class_<Scan>(module, "Scan")
        .def("__init__",
             [](Scan* place, const std::vector<nb::bytes>& names, const ReadOptions& options,
                std::size_t batch, const std::string& grid, std::vector<double> axis,
                const std::string& onError, unsigned workers) {
                 new (place) Scan(MakeScan(names, options, batch, grid, std::move(axis), onError, workers));
             })
        .def("next", &NextTable)
        .def("errors", &ErrorsOf);
}

}  // namespace karta::python
