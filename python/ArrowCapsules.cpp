#include "python/ArrowCapsules.h"

#include <memory>

namespace nb = nanobind;

namespace karta::python {

namespace {

// The names that the interface gives its capsules.
template <class Struct>
constexpr const char* CapsuleName = "";
template <>
constexpr const char* CapsuleName<ArrowSchema> = "arrow_schema";
template <>
constexpr const char* CapsuleName<ArrowArray> = "arrow_array";
template <>
constexpr const char* CapsuleName<ArrowArrayStream> = "arrow_array_stream";

// What nobody has taken is released with its capsule.
template <class Struct>
struct Releasing {
    void operator()(Struct* given) const {
        if (given->release != nullptr) {
            given->release(given);
        }
        delete given;
    }
};
template <class Struct>
using Owned = std::unique_ptr<Struct, Releasing<Struct>>;

template <class Struct>
Owned<Struct> MakeEmpty() {
    return Owned<Struct>(new Struct{});
}

template <class Struct>
nb::object IntoCapsule(Owned<Struct> given) {
    PyObject* capsule = PyCapsule_New(given.get(), CapsuleName<Struct>, [](PyObject* object) {
        Releasing<Struct>()(static_cast<Struct*>(PyCapsule_GetPointer(object, CapsuleName<Struct>)));
    });
    if (capsule == nullptr) {
        throw nb::python_error();
    }
    static_cast<void>(given.release());
    return nb::steal(capsule);
}

}  // namespace

nb::object SchemaCapsule(const Table& table, BlockForm form) {
    auto schema = MakeEmpty<ArrowSchema>();
    ExportSchema(table, schema.get(), form);
    return IntoCapsule(std::move(schema));
}

nb::object ArrayCapsules(const Table& table, BlockForm form) {
    auto array = MakeEmpty<ArrowArray>();
    ExportArray(table, array.get(), form);
    return nb::make_tuple(SchemaCapsule(table, form), IntoCapsule(std::move(array)));
}

nb::object StreamCapsule(const Table& table, BlockForm form) {
    auto stream = MakeEmpty<ArrowArrayStream>();
    ExportStream(table, stream.get(), form);
    return IntoCapsule(std::move(stream));
}

nb::object ColumnCapsules(const Column& column) {
    auto schema = MakeEmpty<ArrowSchema>();
    auto array = MakeEmpty<ArrowArray>();
    ExportColumn(column, schema.get(), array.get());
    return nb::make_tuple(IntoCapsule(std::move(schema)), IntoCapsule(std::move(array)));
}

}  // namespace karta::python
