#include "python/Failures.h"

#include <exception>
#include <optional>

#include "python/Dictionaries.h"

namespace nb = nanobind;

namespace karta::python {

namespace {

void AddCount(nb::dict& place, const char* name, const std::optional<std::uint64_t>& count) {
    if (count) {
        place[name] = *count;
    }
}

nb::dict DictionaryOf(const Place& where) {
    nb::dict place;
    AddCount(place, "line", where.line);
    AddCount(place, "record", where.record);
    AddCount(place, "byte", where.byte);
    if (!where.cell.empty()) {
        place["cell"] = TextOf(where.cell);
    }
    if (!where.part.empty()) {
        place["part"] = TextOf(where.part);
    }
    return place;
}

// Kept for as long as the process runs, as the module's classes are.
PyObject* makeException = nullptr;

}  // namespace

nb::object ExceptionOf(const Error& error) {
    return nb::handle(makeException)(
        NameOf(error.GetCode()), nb::bytes(error.GetFile().data(), error.GetFile().size()),
        TextOf(error.GetFormat()), TextOf(error.GetOption()), TextOf(error.GetText()),
        TextOf(error.GetAdvice()), DictionaryOf(error.GetPlace()), TextOf(error.what()));
}

void TranslateErrors(nb::object makeError) {
    makeException = makeError.release().ptr();
    nb::register_exception_translator([](const std::exception_ptr& thrown, void*) {
        try {
            std::rethrow_exception(thrown);
        } catch (const Error& error) {
            const nb::object made = ExceptionOf(error);
            PyErr_SetObject(made.type().ptr(), made.ptr());
        }
    });
}

}  // namespace karta::python
