#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "host/NCDataMatrix.h"
#include "host/NCDataVector.h"
#include "host/NCIntegralVector.h"
#include "host/NCStringVector.h"

TEST(NCVectorTest, CountsFromOne) {
    NCStringVector texts;
    texts.push_back("a");
    texts.push_back("b");
    EXPECT_EQ(texts.GetSize(), 2);
    EXPECT_EQ(texts(1), "a");
    EXPECT_EQ(texts(2), "b");
    EXPECT_THROW(texts(0), std::out_of_range);
    EXPECT_THROW(texts(3), std::out_of_range);
    EXPECT_THROW(texts(-1), std::out_of_range);
}

TEST(NCVectorTest, InsertsBeforeAPosition) {
    NCStringVector texts;
    texts.InsertStrings(1, 2);
    texts(1) = "a";
    texts(2) = "b";
    texts.InsertStrings(2, 1);
    EXPECT_EQ(texts(1) + "|" + texts(2) + "|" + texts(3), "a||b");
    texts.InsertStrings(99, 1);
    texts.InsertStrings(1, -5);
    EXPECT_EQ(texts.GetSize(), 4);
    EXPECT_EQ(texts(4), "");
}

TEST(NCVectorTest, MissingValuesAreMinus99) {
    using Lines = NCIntegralVector<int, -99>;
    EXPECT_EQ(int{Lines::MissingValue}, -99);
    EXPECT_EQ(float{NCDataVector<float>::MissingValue}, -99.0F);
    NCDataVector<float> values;
    values.InsertValues(1, 3, NCDataVector<float>::MissingValue);
    EXPECT_EQ(values(3), -99.0F);
}

TEST(NCDataMatrixTest, CellsAreMissingUntilTheyAreWritten) {
    NCDataMatrix<float> matrix;
    matrix.InsertColumns(1, 2);
    matrix.InsertRows(1, 3);
    matrix(2, 1) = 5.0F;
    const NCDataMatrix<float>& read = matrix;
    EXPECT_EQ(read(1, 1), -99.0F);
    EXPECT_EQ(read(2, 1), 5.0F);
    EXPECT_EQ(read(2, 2), -99.0F);
    EXPECT_THROW(read(0, 1), std::out_of_range);
    EXPECT_THROW(read(1, 3), std::out_of_range);
    EXPECT_THROW(matrix(4, 1), std::out_of_range);
    EXPECT_THROW(matrix(1, 0), std::out_of_range);
}

TEST(NCDataMatrixTest, GrowsInTheMiddle) {
    NCDataMatrix<float> matrix;
    matrix.InsertColumns(1, 2);
    matrix.InsertRows(1, 2);
    matrix(1, 1) = 1.0F;
    matrix(1, 2) = 2.0F;
    matrix(2, 2) = 3.0F;
    matrix.InsertColumns(2, 1);
    matrix.InsertRows(2, 1);
    EXPECT_EQ(matrix.GetNumberOfColumns(), 3);
    EXPECT_EQ(matrix.GetNumberOfRows(), 3);
    EXPECT_EQ(matrix(1, 1), 1.0F);
    EXPECT_EQ(matrix(1, 2), -99.0F);
    EXPECT_EQ(matrix(1, 3), 2.0F);
    EXPECT_EQ(matrix(3, 3), 3.0F);
}

TEST(NCDataMatrixTest, AnnouncedRowsAndColumnsCostLittle) {
    NCDataMatrix<float> matrix;
    matrix.ReserveRows(1000);
    matrix.InsertColumns(1, std::numeric_limits<int>::max());
    matrix.InsertRows(1, 1000);
    EXPECT_THROW(matrix.InsertColumns(1, 1), std::length_error);
    EXPECT_EQ(matrix.GetNumberOfRows(), 1000);
}
