#include "base/JsonRows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

TEST(JsonRows, ArraysHoldWhatJsonHasForEachCell) {
    JsonRows rows;
    rows.AddNumber(1.5);
    rows.AddNumber(0.1F);
    rows.AddNumber(std::nan(""));
    rows.AddNumber(-std::numeric_limits<double>::infinity());
    rows.AddNumber(std::numeric_limits<float>::infinity());
    rows.AddInteger(std::numeric_limits<std::int64_t>::min());
    rows.AddBool(true);
    rows.AddNull();
    rows.AddText("a \"b\"\n\u00e5");
    rows.AddPlainText("2025-09-17");
    rows.EndRow();
    EXPECT_EQ(rows.GetBytes(),
              "[1.5,0.1,null,\"-inf\",\"inf\",-9223372036854775808,true,null,\"a \\\"b\\\"\\n\u00e5\","
              "\"2025-09-17\"]\n");
}

TEST(JsonRows, ObjectsHaveAMemberAColumnAndShortRowsAreFilled) {
    const std::vector<std::string> members = {"\"a\":", "\"b\":", "\"c\":"};
    JsonRows rows;
    rows.Begin(&members);
    rows.AddPlain("1");
    rows.EndRow(3);
    rows.EndRow(1);
    rows.EndRow();
    EXPECT_EQ(rows.GetBytes(), "{\"a\":1,\"b\":null,\"c\":null}\n{\"a\":null}\n{}\n");
    rows.Begin(nullptr);
    rows.EndRow();
    EXPECT_EQ(rows.GetBytes(), "[]\n");
}

TEST(JsonRows, FieldsThatStandSideBySideGoOnTogether) {
    JsonRows rows;
    rows.AddPlainFields("1;2.5;-3", ';', 3);
    rows.AddNull();
    rows.AddPlainFields("4,5", ',', 2);
    rows.EndRow(7);
    EXPECT_EQ(rows.GetBytes(), "[1,2.5,-3,null,4,5,null]\n");
}

// A row of millions of fields is written piece by piece.
TEST(JsonRows, ARowGoesOnBehindWhatWasTaken) {
    JsonRows rows;
    rows.AddNumber(1.0);
    EXPECT_EQ(rows.GetBytes(), "[1");
    rows.Clear();
    rows.AddNumber(2.0);
    rows.EndRow(3);
    EXPECT_EQ(rows.GetBytes(), ",2,null]\n");
}
