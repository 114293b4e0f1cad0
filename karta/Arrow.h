#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>

#include "base/Export.h"
#include "karta/Table.h"

// Tables by the Arrow C data interface: plain structs that pyarrow, polars, DuckDB, R and many others take,
// without a library and without a copy. The structs are those of the Arrow project's public description,
// https://arrow.apache.org/docs/format/CDataInterface.html; other headers may define them, too.

#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

extern "C" {

struct ArrowSchema {
    const char* format;
    const char* name;
    const char* metadata;
    std::int64_t flags;
    std::int64_t n_children;
    struct ArrowSchema** children;
    struct ArrowSchema* dictionary;
    void (*release)(struct ArrowSchema*);
    void* private_data;
};

struct ArrowArray {
    std::int64_t length;
    std::int64_t null_count;
    std::int64_t offset;
    std::int64_t n_buffers;
    std::int64_t n_children;
    const void** buffers;
    struct ArrowArray** children;
    struct ArrowArray* dictionary;
    void (*release)(struct ArrowArray*);
    void* private_data;
};
}

#endif  // ARROW_C_DATA_INTERFACE

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

extern "C" {

struct ArrowArrayStream {
    int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out);
    int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);
    const char* (*get_last_error)(struct ArrowArrayStream*);
    void (*release)(struct ArrowArrayStream*);
    void* private_data;
};
}

#endif  // ARROW_C_STREAM_INTERFACE

namespace karta {

/** How a block is handed on. */
enum class BlockForm : std::uint8_t {
    AsItLies, /**< row-major as a list, column-major as columns: no copy */
    Columns,  /**< a column a point; a copy of a row-major block */
    List      /**< one column of lists of fixed size, a list a row; a copy of a column-major block */
};

/**
 * A table is one struct whose fields are its columns, the block's among them where it stands. A list is named
 * by the quantity of its values, or "values". Names are unique: an empty one becomes "column_3", a second "a"
 * becomes "a_2"; then the field's metadata hold the file's own under "name". Further metadata of a field:
 * "unit" and "quantity" of the values; of a list "axis", its axis values as a JSON array of numbers (left out
 * beyond 100,000 of them), and "axis_quantity" and "axis_unit"; of a point's column the same with its one
 * value. What isn't known is left out.
 *
 * Each of these fills a struct whose `release` the caller calls once. What it points to stays as long as that
 * isn't done, whatever becomes of the table; children may be moved out and released by themselves.
 *
 * Names of many points and copies of a block take their time: a stop ends them. Then an Error with the code
 * Stopped is raised, nothing is filled, and nothing is left to be released.
 */
KARTA_EXPORT void ExportSchema(const Table& table, ArrowSchema* schema, BlockForm form = BlockForm::AsItLies,
                               const std::stop_token& stop = {});
KARTA_EXPORT void ExportArray(const Table& table, ArrowArray* array, BlockForm form = BlockForm::AsItLies,
                              const std::stop_token& stop = {});

/** A column by itself. */
KARTA_EXPORT void ExportColumn(const Column& column, ArrowSchema* schema, ArrowArray* array);

/** The table as a stream of one batch. A stop ends the stream with ECANCELED, here and below. */
KARTA_EXPORT void ExportStream(const Table& table, ArrowArrayStream* stream,
                               BlockForm form = BlockForm::AsItLies, std::stop_token stop = {});

/**
 * Tables one after the other as a stream, made when they are asked for, until `next` gives nothing. The first
 * one is asked for at once where the consumer wants the schema; all must have the same columns with the same
 * types. What `next` raises ends the stream as its last error.
 */
KARTA_EXPORT void ExportStream(std::function<std::optional<Table>()> next, ArrowArrayStream* stream,
                               BlockForm form = BlockForm::AsItLies, std::stop_token stop = {});

}  // namespace karta
