#include "karta/Arrow.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/NumberFormat.h"
#include "base/Stopped.h"
#include "karta/Error.h"
#include "karta/internal/StopLook.h"

namespace karta {

namespace {

// A longer axis would make the metadata larger than many a table.
constexpr std::size_t MostAxisValues = 100'000;

using Pairs = std::vector<std::pair<std::string, std::string>>;

const char* FormatOf(ColumnType type) {
    switch (type) {
        case ColumnType::Null:
            return "n";
        case ColumnType::Bool:
            return "b";
        case ColumnType::Int64:
            return "l";
        case ColumnType::Float32:
            return "f";
        case ColumnType::Float64:
            return "g";
        case ColumnType::Text:
            return "U";
        case ColumnType::Date32:
            return "tdD";
        case ColumnType::Time64:
            return "ttu";
        case ColumnType::Timestamp:
            return "tsu:";
        case ColumnType::Duration:
            return "tDu";
    }
    return "n";
}

/** One field of the struct that a table is: a column, or a block as lists. */
struct Field {
    std::string name;
    Pairs metadata;
    Column column;
    const Block* block = nullptr;  // row-major; null: the column
};

void AddPair(Pairs& pairs, const char* key, const std::string& value) {
    if (!value.empty()) {
        pairs.emplace_back(key, value);
    }
}

std::string AxisText(std::span<const double> axis) {
    if (axis.empty() || axis.size() > MostAxisValues) {
        return {};
    }
    std::string text = "[";
    for (const double value : axis) {
        text += text.size() > 1 ? "," : "";
        // JSON has no other numbers.
        text += value - value == 0.0 ? FormatShortest(value) : "null";
    }
    return text + "]";
}

/** The fields of a table, with names of their own. */
class Fields {
public:
    Fields(const Table& table, BlockForm form, const std::stop_token& stop) : look(stop) {
        const std::size_t place = table.GetBlockPlace();
        for (std::size_t i = 0; i < table.GetColumnCount(); ++i) {
            if (i == place) {
                AddBlock(table, form, stop);
            }
            AddColumn(table.GetColumn(i));
        }
        if (place == table.GetColumnCount()) {
            AddBlock(table, form, stop);
        }
        MakeNamesUnique();
    }

    /** Does `step` with each. */
    template <class Step>
    void ForEach(Step step) {
        for (const Field& field : fields) {
            look.Count(StepsOfField);
            step(field);
        }
    }

private:
    // About so many numbers' worth of work is a field with its name and metadata.
    static constexpr std::int64_t StepsOfField = 256;

    void AddColumn(const Column& column) {
        look.Count(StepsOfField);
        Pairs metadata;
        AddPair(metadata, "unit", column.GetUnit());
        fields.push_back({column.GetName(), std::move(metadata), column, nullptr});
    }

    void AddBlock(const Table& table, BlockForm form, const std::stop_token& stop) {
        if (table.GetBlock() == nullptr) {
            return;
        }
        const bool isList =
            form == BlockForm::List || (form == BlockForm::AsItLies && table.GetBlock()->IsRowMajor());
        block = std::make_unique<const Block>(isList ? table.GetBlock()->ToRowMajor(stop)
                                                     : table.GetBlock()->ToColumnMajor(stop));
        if (isList) {
            AddList();
        } else {
            AddPoints();
        }
    }

    void AddList() {
        Pairs metadata = ValueMetadata();
        AddPair(metadata, "axis", AxisText(block->GetAxis()));
        AddAxisMetadata(metadata);
        const std::string& quantity = block->GetValueQuantity();
        fields.push_back({quantity.empty() ? "values" : quantity, std::move(metadata), {}, block.get()});
    }

    void AddPoints() {
        const auto axis = block->GetAxis();
        for (std::int64_t point = 0; point < block->GetPointCount(); ++point) {
            look.Count(StepsOfField);
            Pairs metadata = ValueMetadata();
            if (!axis.empty()) {
                AddPair(metadata, "axis", FormatShortest(axis[static_cast<std::size_t>(point)]));
            }
            AddAxisMetadata(metadata);
            Column column = block->GetColumn(point);
            std::string name = column.GetName();
            fields.push_back({std::move(name), std::move(metadata), std::move(column), nullptr});
        }
    }

    Pairs ValueMetadata() const {
        Pairs metadata;
        AddPair(metadata, "unit", block->GetValueUnit());
        AddPair(metadata, "quantity", block->GetValueQuantity());
        return metadata;
    }

    void AddAxisMetadata(Pairs& metadata) const {
        AddPair(metadata, "axis_quantity", block->GetAxisQuantity());
        AddPair(metadata, "axis_unit", block->GetAxisUnit());
    }

    void MakeNamesUnique() {
        std::unordered_set<std::string> taken;
        for (const Field& field : fields) {
            look.Count(StepsOfField);
            taken.insert(field.name);
        }
        std::unordered_set<std::string> used;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            Field& field = fields[i];
            look.Count(StepsOfField);
            if (!field.name.empty() && used.insert(field.name).second) {
                continue;
            }
            const std::string stem = field.name.empty() ? "column" : field.name;
            std::size_t number = field.name.empty() ? i + 1 : 2;
            std::string name = stem + "_" + std::to_string(number);
            while (!taken.insert(name).second) {
                name = stem + "_" + std::to_string(++number);
            }
            used.insert(name);
            AddPair(field.metadata, "name", field.name);
            field.name = std::move(name);
        }
    }

    StopLook look;
    std::unique_ptr<const Block> block;
    std::vector<Field> fields;
};

// What a schema's or an array's release frees. The children have their own, since they may be moved out.
template <class Struct>
struct Holder {
    Holder() = default;
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    ~Holder() {
        for (const auto& child : children) {
            if (child->release != nullptr) {
                child->release(child.get());
            }
        }
        if (dictionary != nullptr && dictionary->release != nullptr) {
            dictionary->release(dictionary.get());
        }
    }

    void TakeChild(Struct child) {
        children.push_back(std::make_unique<Struct>(child));
        childPointers.push_back(children.back().get());
    }

    std::vector<std::unique_ptr<Struct>> children;
    std::vector<Struct*> childPointers;
    std::unique_ptr<Struct> dictionary;
};

struct SchemaHolder : Holder<ArrowSchema> {
    std::string format;
    std::string name;
    std::string metadata;
};

struct ArrayHolder : Holder<ArrowArray> {
    std::vector<SharedBuffer> kept;
    std::vector<const void*> buffers;
};

extern "C" void ReleaseKartaSchema(ArrowSchema* schema) {
    delete static_cast<SchemaHolder*>(schema->private_data);
    schema->release = nullptr;
}

extern "C" void ReleaseKartaArray(ArrowArray* array) {
    delete static_cast<ArrayHolder*>(array->private_data);
    array->release = nullptr;
}

void AppendInt(std::string& bytes, std::size_t value) {
    const auto number = static_cast<std::int32_t>(value);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

std::string EncodeMetadata(const Pairs& pairs) {
    std::string bytes;
    if (pairs.empty()) {
        return bytes;
    }
    AppendInt(bytes, pairs.size());
    for (const auto& [key, value] : pairs) {
        AppendInt(bytes, key.size());
        bytes += key;
        AppendInt(bytes, value.size());
        bytes += value;
    }
    return bytes;
}

// From here on the holder is the struct's own.
ArrowSchema GiveSchema(std::unique_ptr<SchemaHolder> holder) {
    ArrowSchema schema{};
    schema.format = holder->format.c_str();
    schema.name = holder->name.c_str();
    schema.metadata = holder->metadata.empty() ? nullptr : holder->metadata.c_str();
    schema.flags = ARROW_FLAG_NULLABLE;
    schema.n_children = static_cast<std::int64_t>(holder->childPointers.size());
    schema.children = holder->childPointers.empty() ? nullptr : holder->childPointers.data();
    schema.dictionary = holder->dictionary.get();
    schema.release = ReleaseKartaSchema;
    schema.private_data = holder.release();
    return schema;
}

ArrowArray GiveArray(std::unique_ptr<ArrayHolder> holder, std::int64_t length, std::int64_t nullCount,
                     std::int64_t offset) {
    ArrowArray array{};
    array.length = length;
    array.null_count = nullCount;
    array.offset = offset;
    array.n_buffers = static_cast<std::int64_t>(holder->buffers.size());
    array.n_children = static_cast<std::int64_t>(holder->childPointers.size());
    array.buffers = holder->buffers.empty() ? nullptr : holder->buffers.data();
    array.children = holder->childPointers.empty() ? nullptr : holder->childPointers.data();
    array.dictionary = holder->dictionary.get();
    array.release = ReleaseKartaArray;
    array.private_data = holder.release();
    return array;
}

ArrowSchema SchemaOf(const std::string& name, const char* format, const Pairs& metadata = {}) {
    auto holder = std::make_unique<SchemaHolder>();
    holder->name = name;
    holder->format = format;
    holder->metadata = EncodeMetadata(metadata);
    return GiveSchema(std::move(holder));
}

ArrowSchema SchemaOf(const Field& field) {
    auto holder = std::make_unique<SchemaHolder>();
    holder->name = field.name;
    holder->metadata = EncodeMetadata(field.metadata);
    if (field.block != nullptr) {
        holder->format = "+w:" + std::to_string(field.block->GetPointCount());
        holder->TakeChild(SchemaOf("item", field.block->IsFloat32() ? "f" : "g"));
    } else if (field.column.GetBuffers().dictionary != nullptr) {
        holder->format = "i";
        holder->dictionary = std::make_unique<ArrowSchema>(SchemaOf("", "U"));
    } else {
        holder->format = FormatOf(field.column.GetType());
    }
    return GiveSchema(std::move(holder));
}

// What consumers get in place of a buffer that isn't there.
alignas(Buffer::Alignment) constexpr std::int64_t Nothing[Buffer::Alignment / sizeof(std::int64_t)] = {};

void AddBuffer(ArrayHolder& holder, const SharedBuffer& buffer) {
    const bool isThere = buffer != nullptr && buffer->GetSize() > 0;
    holder.buffers.push_back(isThere ? buffer->GetData() : Nothing);
    if (isThere) {
        holder.kept.push_back(buffer);
    }
}

ArrowArray ArrayOf(const Column& column) {
    const ColumnBuffers& from = column.GetBuffers();
    auto holder = std::make_unique<ArrayHolder>();
    if (from.type == ColumnType::Null) {
        return GiveArray(std::move(holder), from.rows, from.rows, 0);
    }
    if (from.validity != nullptr) {
        AddBuffer(*holder, from.validity);
    } else {
        holder->buffers.push_back(nullptr);
    }
    AddBuffer(*holder, from.values);
    if (from.dictionary != nullptr) {
        holder->dictionary = std::make_unique<ArrowArray>(ArrayOf(*from.dictionary));
    } else if (from.type == ColumnType::Text) {
        AddBuffer(*holder, from.text);
    }
    return GiveArray(std::move(holder), from.rows, from.nullCount, from.offset);
}

ArrowArray ArrayOf(const Block& block) {
    const BlockParts& parts = block.GetParts();
    auto numbers = std::make_unique<ArrayHolder>();
    numbers->buffers.push_back(nullptr);
    AddBuffer(*numbers, parts.values);
    auto lists = std::make_unique<ArrayHolder>();
    lists->buffers.push_back(nullptr);
    lists->TakeChild(GiveArray(std::move(numbers), parts.rows * parts.points, 0, parts.first));
    return GiveArray(std::move(lists), parts.rows, 0, 0);
}

ArrowArray ArrayOf(const Field& field) {
    return field.block != nullptr ? ArrayOf(*field.block) : ArrayOf(field.column);
}

ArrowSchema SchemaOf(Fields fields) {
    auto holder = std::make_unique<SchemaHolder>();
    holder->format = "+s";
    fields.ForEach([&](const Field& field) { holder->TakeChild(SchemaOf(field)); });
    ArrowSchema schema = GiveSchema(std::move(holder));
    schema.flags = 0;
    return schema;
}

ArrowArray ArrayOf(Fields fields, std::int64_t rows) {
    auto holder = std::make_unique<ArrayHolder>();
    holder->buffers.push_back(nullptr);
    fields.ForEach([&](const Field& field) { holder->TakeChild(ArrayOf(field)); });
    return GiveArray(std::move(holder), rows, 0, 0);
}

/** What a stream gives out: the next table, held back while only its schema is asked for. */
class Stream {
public:
    Stream(std::function<std::optional<Table>()> nextTable, BlockForm blockForm, std::stop_token stopToken)
        : next(std::move(nextTable)), form(blockForm), stop(std::move(stopToken)) {}

    int GetSchema(ArrowSchema* schema) {
        return Try([&] {
            Look();
            ExportSchema(shown, schema, form, stop);
        });
    }

    int GetNext(ArrowArray* array) {
        return Try([&] {
            Look();
            std::optional<Table> table = std::exchange(held, {});
            if (!table && hasMore) {
                table = next();
            }
            if (table) {
                ExportArray(*table, array, form, stop);
            } else {
                hasMore = false;
                *array = {};
            }
        });
    }

    const char* GetLastError() const { return lastError.empty() ? nullptr : lastError.c_str(); }

private:
    void Look() {
        if (!hasLooked) {
            held = next();
            hasMore = held.has_value();
            shown = held ? held->Slice(0, 0) : Table();
            hasLooked = true;
        }
    }

    template <class Step>
    int Try(Step step) {
        try {
            step();
            lastError.clear();
            return 0;
        } catch (const std::bad_alloc&) {
            lastError = "There is not enough memory.";
            return ENOMEM;
        } catch (const Error& error) {
            lastError = error.what();
            return error.GetCode() == ErrorCode::Stopped ? ECANCELED : EIO;
        } catch (const Stopped& stopped) {
            lastError = stopped.what();
            return ECANCELED;
        } catch (const std::exception& exception) {
            lastError = exception.what();
            return EIO;
        } catch (...) {
            lastError = "The next table could not be made.";
            return EIO;
        }
    }

    std::function<std::optional<Table>()> next;
    BlockForm form;
    std::stop_token stop;
    bool hasLooked = false;
    bool hasMore = true;
    std::optional<Table> held;
    Table shown;  // of no rows
    std::string lastError;
};

extern "C" int GetKartaStreamSchema(ArrowArrayStream* stream, ArrowSchema* schema) {
    return static_cast<Stream*>(stream->private_data)->GetSchema(schema);
}

extern "C" int GetKartaStreamNext(ArrowArrayStream* stream, ArrowArray* array) {
    return static_cast<Stream*>(stream->private_data)->GetNext(array);
}

extern "C" const char* GetKartaStreamError(ArrowArrayStream* stream) {
    return static_cast<const Stream*>(stream->private_data)->GetLastError();
}

extern "C" void ReleaseKartaStream(ArrowArrayStream* stream) {
    delete static_cast<Stream*>(stream->private_data);
    stream->release = nullptr;
}

}  // namespace

void ExportSchema(const Table& table, ArrowSchema* schema, BlockForm form, const std::stop_token& stop) {
    *schema = SchemaOf(Fields(table.Slice(0, 0), form, stop));
}

void ExportArray(const Table& table, ArrowArray* array, BlockForm form, const std::stop_token& stop) {
    *array = ArrayOf(Fields(table, form, stop), table.GetRowCount());
}

void ExportColumn(const Column& column, ArrowSchema* schema, ArrowArray* array) {
    Pairs metadata;
    AddPair(metadata, "unit", column.GetUnit());
    const Field field{column.GetName(), std::move(metadata), column, nullptr};
    *schema = SchemaOf(field);
    try {
        *array = ArrayOf(field);
    } catch (...) {
        schema->release(schema);
        throw;
    }
}

void ExportStream(const Table& table, ArrowArrayStream* stream, BlockForm form, std::stop_token stop) {
    bool isGiven = false;
    ExportStream(
        [table, isGiven]() mutable {
            return std::exchange(isGiven, true) ? std::optional<Table>() : std::optional(table);
        },
        stream, form, std::move(stop));
}

void ExportStream(std::function<std::optional<Table>()> next, ArrowArrayStream* stream, BlockForm form,
                  std::stop_token stop) {
    auto content = std::make_unique<Stream>(std::move(next), form, std::move(stop));
    *stream = {};
    stream->get_schema = GetKartaStreamSchema;
    stream->get_next = GetKartaStreamNext;
    stream->get_last_error = GetKartaStreamError;
    stream->release = ReleaseKartaStream;
    stream->private_data = content.release();
}

}  // namespace karta
