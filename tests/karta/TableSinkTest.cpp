#include "karta/internal/TableSink.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(TableSinkTest, NamesColumnsByTheRowThatTheShapeTells) {
    const auto context = std::make_shared<karta::ReadContext>();
    karta::TableSink sink(context);
    sink.SetText(1, 1, "sample");
    sink.SetText(2, 1, "pH");
    sink.SetText(1, 2, "a");
    sink.Set(2, 2, 7.25);
    context->shape.isKnown = true;
    context->shape.nameRow = 1;
    context->shape.firstDataRow = 2;
    const karta::Table table = sink.Finish();
    ASSERT_EQ(table.GetRowCount(), 1);
    ASSERT_EQ(table.GetColumnCount(), 2U);
    EXPECT_EQ(table.GetColumn("sample").GetText(0), "a");
    EXPECT_EQ(table.GetColumn("pH").GetDoubles()[0], 7.25);
}

}  // namespace
