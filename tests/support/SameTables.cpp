#include "tests/support/SameTables.h"

#include <gtest/gtest.h>

#include "table/TableData.h"

void ExpectSameTables(TableData& found, TableData& expected) {
    ASSERT_EQ(found.GetNumberOfColumns(), expected.GetNumberOfColumns());
    ASSERT_EQ(found.GetNumberOfRows(), expected.GetNumberOfRows());
    for (int row = 1; row <= expected.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= expected.GetNumberOfColumns(); ++col) {
            ASSERT_EQ(found.GetKind(col, row), expected.GetKind(col, row)) << col << ", " << row;
            ASSERT_STREQ(found.GetText(col, row), expected.GetText(col, row)) << col << ", " << row;
            ASSERT_EQ(found.GetString(col, row), expected.GetString(col, row)) << col << ", " << row;
        }
    }
}
