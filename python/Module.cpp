// The compiled half of the package: what is faster or only possible in C++. Names, defaults, checks of
// arguments and everything for people are Python's, in karta_import.
#include <nanobind/nanobind.h>
#include <nanobind/stl/map.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/variant.h>
#include <nanobind/stl/vector.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "karta/Detect.h"
#include "karta/Formats.h"
#include "karta/Inspect.h"
#include "karta/Read.h"
#include "python/ArrowCapsules.h"
#include "python/Dictionaries.h"
#include "python/Failures.h"
#include "python/Gil.h"
#include "python/NumpyViews.h"
#include "python/Paths.h"
#include "python/Pickles.h"
#include "python/ScanBinding.h"

namespace nb = nanobind;

namespace karta::python {

namespace {

Table ReadPaths(const std::vector<nb::bytes>& names, ReadOptions options, nb::object progress) {
    const std::vector<std::string> paths = PathsOf(names);
    options.progress = ProgressOf(std::move(progress));
    const nb::gil_scoped_release unlocked;
    return Read(paths, options);
}

nb::dict InspectPaths(const std::vector<nb::bytes>& names, ReadOptions options) {
    const std::vector<std::string> paths = PathsOf(names);
    options.progress = ProgressOf(nb::none());
    Inspection inspection;
    {
        const nb::gil_scoped_release unlocked;
        inspection = Inspect(paths, options);
    }
    return DictionaryOf(inspection);
}

nb::dict DetectPath(const nb::bytes& name, Reading reading) {
    const std::string path(name.c_str(), name.size());
    Detection detection;
    {
        const nb::gil_scoped_release unlocked;
        detection = Detect(path, {.reading = reading});
    }
    return DictionaryOf(detection);
}

nb::list ListFormats() {
    nb::list made;
    for (const Format& format : Formats()) {
        made.append(DictionaryOf(format));
    }
    return made;
}

void BindOptions(nb::module_& module) {
    nb::enum_<Reading>(module, "Reading")
        .value("classic", Reading::Classic)
        .value("complete", Reading::Complete);
    nb::class_<RowRange>(module, "RowRange").def(nb::init<std::int64_t, std::int64_t>());
    nb::class_<Interval>(module, "Interval").def(nb::init<double, double>());
    nb::class_<ReadOptions>(module, "ReadOptions")
        .def(nb::init<>())
        .def(nb::init<const ReadOptions&>())
        .def_rw("format", &ReadOptions::format)
        .def_rw("part", &ReadOptions::part)
        .def_rw("delimiter", &ReadOptions::delimiter, nb::arg().none())
        .def_rw("encoding", &ReadOptions::encoding, nb::arg().none())
        .def_rw("header", &ReadOptions::header, nb::arg().none())
        .def_rw("decimal", &ReadOptions::decimal, nb::arg().none())
        .def_rw("include", &ReadOptions::include)
        .def_rw("average", &ReadOptions::average, nb::arg().none())
        .def_rw("password", &ReadOptions::password, nb::arg().none())
        .def_rw("settings", &ReadOptions::settings)
        .def_rw("rows", &ReadOptions::rows)
        .def_rw("reading", &ReadOptions::reading)
        .def_rw("budget", &ReadOptions::budget, nb::arg().none())
        .def_rw("plugins", &ReadOptions::plugins);
}

void BindTable(nb::module_& module) {
    nb::enum_<BlockForm>(module, "BlockForm")
        .value("as_it_lies", BlockForm::AsItLies)
        .value("columns", BlockForm::Columns)
        .value("list", BlockForm::List);
    nb::class_<Column>(module, "Column")
        .def_prop_ro("name", [](const Column& column) { return TextOf(column.GetName()); })
        .def_prop_ro("unit", [](const Column& column) { return TextOf(column.GetUnit()); })
        .def_prop_ro("type", [](const Column& column) { return GetTypeName(column.GetType()); })
        .def_prop_ro("rows", &Column::GetRowCount)
        .def_prop_ro("missing_count", &Column::GetNullCount)
        .def("array", &ColumnArray)
        .def("missing", &MissingArray)
        .def("is_numeric", &Column::IsNumeric)
        .def("truth", &Column::GetBool)
        .def("text", [](const Column& column, std::int64_t row) { return TextOf(column.GetText(row)); })
        .def("capsules", &ColumnCapsules)
        .def("__getstate__", [](const Column& column) { return StateOf(column); })
        .def("__setstate__",
             [](Column& place, const nb::tuple& state) { new (&place) Column(ColumnOf(state)); });
    nb::class_<Block>(module, "Block")
        .def_prop_ro("points", &Block::GetPointCount)
        .def_prop_ro("array", &BlockArray)
        .def_prop_ro("axis", &AxisArray)
        .def_prop_ro("axis_quantity", [](const Block& block) { return TextOf(block.GetAxisQuantity()); })
        .def_prop_ro("axis_unit", [](const Block& block) { return TextOf(block.GetAxisUnit()); })
        .def_prop_ro("value_quantity", [](const Block& block) { return TextOf(block.GetValueQuantity()); })
        .def_prop_ro("value_unit", [](const Block& block) { return TextOf(block.GetValueUnit()); })
        .def("point_name",
             [](const Block& block, std::int64_t point) { return TextOf(block.GetPointName(point)); });
    nb::class_<Table>(module, "Table")
        .def_prop_ro("rows", &Table::GetRowCount)
        .def_prop_ro("width", &Table::GetWidth)
        .def_prop_ro("column_count", &Table::GetColumnCount)
        .def("column", [](const Table& table, std::size_t place) { return table.GetColumn(place); })
        .def_prop_ro("block",
                     [](const Table& table) {
                         return table.GetBlock() == nullptr ? nb::object(nb::none())
                                                            : nb::cast(Block(*table.GetBlock()));
                     })
        .def_prop_ro("block_place", &Table::GetBlockPlace)
        .def_prop_ro("facts", [](const Table& table) { return DictionaryOf(table.GetFacts()); })
        .def_prop_ro("notes", [](const Table& table) { return ListOf(table.GetNotes()); })
        .def("text", [](const Table& table, std::int64_t column,
                        std::int64_t row) { return TextOf(table.GetText(column, row)); })
        .def("schema_capsule", &SchemaCapsule)
        .def("array_capsules", &ArrayCapsules)
        .def("stream_capsule", &StreamCapsule)
        .def("__getstate__", [](const Table& table) { return StateOf(table); })
        .def("__setstate__",
             [](Table& place, const nb::tuple& state) { new (&place) Table(TableOf(state)); });
}

}  // namespace

}  // namespace karta::python

NB_MODULE(_core, module) {
    using namespace karta::python;
    BindOptions(module);
    BindTable(module);
    BindScan(module);
    module.def("translate_errors", &TranslateErrors);
    module.def("read", &ReadPaths, nb::arg("paths"), nb::arg("options"), nb::arg("progress").none());
    module.def("info", &InspectPaths);
    module.def("detect", &DetectPath);
    module.def("formats", &ListFormats);
}
