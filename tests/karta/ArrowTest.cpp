// Tables handed on by the Arrow C data interface: what lies where, and how long it stays.
#include "karta/Arrow.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using karta::Block;
using karta::BlockForm;
using karta::BlockParts;
using karta::Buffer;
using karta::Column;
using karta::Table;
using karta::TableParts;

namespace {

const std::vector<double> Depths{0.5, 1.5, 2.5};

Block SmallBlock(bool isRowMajor) {
    BlockParts parts;
    parts.rows = 3;
    parts.points = 2;
    parts.isRowMajor = isRowMajor;
    parts.stride = isRowMajor ? 2 : 3;
    auto values = std::make_shared<Buffer>(6 * sizeof(double));
    for (int row = 0; row < 3; ++row) {
        for (int point = 0; point < 2; ++point) {
            values->As<double>()[isRowMajor ? row * 2 + point : point * 3 + row] = 10 * row + point;
        }
    }
    parts.values = values;
    auto axis = std::make_shared<Buffer>(2 * sizeof(double));
    axis->As<double>()[0] = 400;
    axis->As<double>()[1] = 400.5;
    parts.axis = axis;
    parts.axisQuantity = "wavelength";
    parts.axisUnit = "nm";
    parts.valueQuantity = "absorbance";
    parts.valueUnit = "AU";
    return Block(parts);
}

Table SmallTable(bool isRowMajor = true) {
    TableParts parts;
    parts.rows = 3;
    parts.columns.push_back(Column::Of("depth", "m", std::span<const double>(Depths)));
    const std::vector<std::string> names{"a", "", "longer than any short text could be"};
    parts.columns.push_back(Column::Of("depth", "", std::span<const std::string>(names)));
    parts.columns.push_back(Column::Of("", "", std::span<const std::string>(names)));
    parts.block = SmallBlock(isRowMajor);
    parts.blockPlace = 2;
    return Table(parts);
}

// The pairs of a field's metadata.
std::vector<std::pair<std::string, std::string>> MetadataOf(const ArrowSchema& schema) {
    std::vector<std::pair<std::string, std::string>> pairs;
    const char* at = schema.metadata;
    const auto take = [&at] {
        std::int32_t number = 0;
        std::memcpy(&number, at, sizeof number);
        at += sizeof number;
        return number;
    };
    const auto text = [&] {
        const std::int32_t length = take();
        at += length;
        return std::string(at - length, static_cast<std::size_t>(length));
    };
    for (std::int32_t count = at == nullptr ? 0 : take(); count > 0; --count) {
        std::string key = text();
        pairs.emplace_back(std::move(key), text());
    }
    return pairs;
}

using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(ArrowTest, HandsColumnsAndARowMajorBlockOnWhereTheyLie) {
    const Table table = SmallTable();
    ArrowArray array;
    karta::ExportArray(table, &array);
    ASSERT_EQ(array.n_children, 4);
    EXPECT_EQ(array.length, 3);
    EXPECT_EQ(array.children[0]->buffers[1], table.GetColumn(0).GetDoubles().data());
    EXPECT_EQ(array.children[0]->buffers[0], nullptr);
    const ArrowArray& lists = *array.children[2];
    ASSERT_EQ(lists.n_children, 1);
    EXPECT_EQ(lists.children[0]->length, 6);
    EXPECT_EQ(lists.children[0]->buffers[1], table.GetBlock()->GetDoubles());
    array.release(&array);
    EXPECT_EQ(array.release, nullptr);
}

TEST(ArrowTest, HandsAColumnMajorBlockOnAsColumnsWhereTheyLie) {
    const Table table = SmallTable(false);
    ArrowArray array;
    karta::ExportArray(table, &array);
    ASSERT_EQ(array.n_children, 5);
    const ArrowArray& second = *array.children[3];
    EXPECT_EQ(static_cast<const double*>(second.buffers[1]) + second.offset,
              table.GetBlock()->GetDoubles() + 3);
    array.release(&array);
}

TEST(ArrowTest, TurnsABlockWhereTheOtherFormIsWanted) {
    for (const bool isRowMajor : {true, false}) {
        const Table table = SmallTable(isRowMajor);
        ArrowArray lists;
        karta::ExportArray(table, &lists, BlockForm::List);
        const ArrowArray& numbers = *lists.children[2]->children[0];
        const auto* values = static_cast<const double*>(numbers.buffers[1]) + numbers.offset;
        EXPECT_EQ(std::vector<double>(values, values + 6), (std::vector<double>{0, 1, 10, 11, 20, 21}));
        lists.release(&lists);
        ArrowArray columns;
        karta::ExportArray(table, &columns, BlockForm::Columns);
        const ArrowArray& second = *columns.children[3];
        values = static_cast<const double*>(second.buffers[1]) + second.offset;
        EXPECT_EQ(std::vector<double>(values, values + 3), (std::vector<double>{1, 11, 21}));
        columns.release(&columns);
    }
}

TEST(ArrowTest, GivesEachFieldItsNameAndWhatIsKnownOfIt) {
    ArrowSchema schema;
    karta::ExportSchema(SmallTable(), &schema);
    EXPECT_STREQ(schema.format, "+s");
    ASSERT_EQ(schema.n_children, 4);
    EXPECT_STREQ(schema.children[0]->name, "depth");
    EXPECT_STREQ(schema.children[0]->format, "g");
    EXPECT_EQ(MetadataOf(*schema.children[0]), (Pairs{{"unit", "m"}}));
    EXPECT_STREQ(schema.children[1]->name, "depth_2");
    EXPECT_STREQ(schema.children[1]->format, "U");
    EXPECT_EQ(MetadataOf(*schema.children[1]), (Pairs{{"name", "depth"}}));
    EXPECT_STREQ(schema.children[2]->name, "absorbance");
    EXPECT_STREQ(schema.children[2]->format, "+w:2");
    EXPECT_EQ(MetadataOf(*schema.children[2]), (Pairs{{"unit", "AU"},
                                                      {"quantity", "absorbance"},
                                                      {"axis", "[400,400.5]"},
                                                      {"axis_quantity", "wavelength"},
                                                      {"axis_unit", "nm"}}));
    EXPECT_STREQ(schema.children[3]->name, "column_4");
    schema.release(&schema);
    karta::ExportSchema(SmallTable(), &schema, BlockForm::Columns);
    ASSERT_EQ(schema.n_children, 5);
    EXPECT_STREQ(schema.children[3]->name, "400.5");
    EXPECT_EQ(MetadataOf(*schema.children[3])[2], (Pairs::value_type{"axis", "400.5"}));
    schema.release(&schema);
}

TEST(ArrowTest, KeepsAChildThatWasMovedOutWhenAllElseIsGone) {
    ArrowArray array;
    ArrowSchema schema;
    karta::ExportArray(SmallTable(), &array);
    karta::ExportSchema(SmallTable(), &schema);
    const auto moveOut = [](auto* child) {
        return std::exchange(*child, std::remove_pointer_t<decltype(child)>{});
    };
    ArrowArray depth = moveOut(array.children[0]);
    ArrowArray lists = moveOut(array.children[2]);
    ArrowSchema listSchema = moveOut(schema.children[2]);
    array.release(&array);
    schema.release(&schema);
    EXPECT_EQ(static_cast<const double*>(depth.buffers[1])[2], 2.5);
    depth.release(&depth);
    ArrowArray numbers = moveOut(lists.children[0]);
    lists.release(&lists);
    EXPECT_EQ(static_cast<const double*>(numbers.buffers[1])[5], 21);
    numbers.release(&numbers);
    EXPECT_STREQ(listSchema.name, "absorbance");
    EXPECT_STREQ(listSchema.children[0]->format, "g");
    listSchema.release(&listSchema);
}

TEST(ArrowTest, HandsOnASliceWithoutACopy) {
    const Table table = SmallTable();
    const Table slice = table.Slice(1, 2);
    ArrowArray array;
    karta::ExportArray(slice, &array);
    EXPECT_EQ(array.length, 2);
    EXPECT_EQ(array.children[0]->offset, 1);
    EXPECT_EQ(array.children[0]->buffers[1], table.GetColumn(0).GetDoubles().data());
    EXPECT_EQ(array.children[2]->children[0]->offset, 2);
    EXPECT_EQ(array.children[2]->children[0]->length, 4);
    array.release(&array);
}

TEST(ArrowTest, StreamsATableAsOneBatch) {
    ArrowArrayStream stream;
    karta::ExportStream(SmallTable(), &stream);
    ArrowSchema schema;
    ASSERT_EQ(stream.get_schema(&stream, &schema), 0);
    EXPECT_EQ(schema.n_children, 4);
    schema.release(&schema);
    ArrowArray array;
    ASSERT_EQ(stream.get_next(&stream, &array), 0);
    ASSERT_NE(array.release, nullptr);
    ArrowArray end;
    ASSERT_EQ(stream.get_next(&stream, &end), 0);
    EXPECT_EQ(end.release, nullptr);
    stream.release(&stream);
    EXPECT_EQ(array.length, 3);
    array.release(&array);
}

TEST(ArrowTest, EndsAStreamWithTheErrorOfItsNextTable) {
    int given = 0;
    ArrowArrayStream stream;
    karta::ExportStream(
        [&given]() -> std::optional<Table> {
            if (given++ == 1) {
                throw std::runtime_error("run.spc: cut off");
            }
            return SmallTable();
        },
        &stream);
    ArrowArray array;
    ASSERT_EQ(stream.get_next(&stream, &array), 0);
    array.release(&array);
    EXPECT_NE(stream.get_next(&stream, &array), 0);
    EXPECT_STREQ(stream.get_last_error(&stream), "run.spc: cut off");
    stream.release(&stream);
}

TEST(ArrowTest, ExportsATableWithoutAnything) {
    ArrowArray array;
    karta::ExportArray(Table(), &array);
    EXPECT_EQ(array.length, 0);
    EXPECT_EQ(array.n_children, 0);
    array.release(&array);
}

}  // namespace
