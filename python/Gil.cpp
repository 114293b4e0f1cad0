#include "python/Gil.h"

#include <memory>
#include <utility>

namespace nb = nanobind;

namespace karta::python {

std::function<void(double)> ProgressOf(nb::object callback) {
    // Options are copied and freed by threads without the lock; the object must not be.
    const std::shared_ptr<nb::object> kept(new nb::object(std::move(callback)), [](nb::object* object) {
        const nb::gil_scoped_acquire lock;
        delete object;
    });
    return [kept](double share) {
        const nb::gil_scoped_acquire lock;
        if (PyErr_CheckSignals() != 0) {
            throw nb::python_error();
        }
        if (!kept->is_none()) {
            (*kept)(share < 0 ? nb::object(nb::none()) : nb::object(nb::float_(share)));
        }
    };
}

}  // namespace karta::python
