#include "python/ScanBinding.h"

#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <chrono>
#include <future>
#include <new>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "karta/Scan.h"
#include "python/Failures.h"
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

/** A scan, and what ends its reads. */
class StoppableScan {
public:
    StoppableScan(std::vector<std::string> paths, ScanOptions options)
        : scan(std::move(paths), WithStop(std::move(options))) {}

    const std::vector<Error>& Errors() const { return scan.Errors(); }

    /**
     * For a thread with the interpreter's lock. Signals are heard by Python's main thread alone, which may be
     * this one: it looks for them while another one waits for the files.
     */
    Table* Next() {
        const nb::gil_scoped_release unlocked;
        std::future<Table*> next = std::async(std::launch::async, [this] { return scan.Next(); });
        while (next.wait_for(SignalInterval) != std::future_status::ready) {
            const nb::gil_scoped_acquire lock;
            if (PyErr_CheckSignals() != 0) {
                const nb::python_error interrupted;
                stop.request_stop();
                const nb::gil_scoped_release waiting;
                next.wait();
                throw interrupted;
            }
        }
        return next.get();
    }

    /** From any thread: the read that is on its way ends, as one that was stopped. */
    void Stop() { stop.request_stop(); }

private:
    static constexpr std::chrono::milliseconds SignalInterval{20};

    ScanOptions WithStop(ScanOptions options) {
        options.read.stop = stop.get_token();
        return options;
    }

    std::stop_source stop;
    Scan scan;
};

ScanOptions MakeOptions(const ReadOptions& options, std::size_t batch, const std::string& grid,
                        std::vector<double> axis, bool isUnion, const std::string& onError,
                        unsigned workers) {
    return {.grid = GridOf(grid, std::move(axis)),
            .columns = isUnion ? ScanColumns::Union : ScanColumns::Same,
            .onError = OnErrorOf(onError),
            .batch = batch,
            .workers = workers,
            .read = options};
}

nb::object NextTable(StoppableScan& scan) {
    Table* const table = scan.Next();
    return table == nullptr ? nb::object(nb::none()) : nb::cast(Table(std::move(*table)));
}

nb::list ErrorsOf(const StoppableScan& scan) {
    nb::list made;
    for (const Error& error : scan.Errors()) {
        made.append(ExceptionOf(error));
    }
    return made;
}

}  // namespace

void BindScan(nb::module_& module) {
    nb::class_<StoppableScan>(module, "Scan")
        .def("__init__",
             [](StoppableScan* place, const std::vector<nb::bytes>& names, const ReadOptions& options,
                std::size_t batch, const std::string& grid, std::vector<double> axis, bool isUnion,
                const std::string& onError, unsigned workers) {
                 new (place) StoppableScan(PathsOf(names), MakeOptions(options, batch, grid, std::move(axis),
                                                                       isUnion, onError, workers));
             })
        .def("next", &NextTable)
        .def("stop", &StoppableScan::Stop)
        .def("errors", &ErrorsOf);
}

}  // namespace karta::python
