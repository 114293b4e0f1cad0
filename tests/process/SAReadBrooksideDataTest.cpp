#include "process/SAReadBrooksideData.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "process/BrooksideFile.h"
#include "tests/process/BrooksideBuilder.h"

TEST(SAReadBrooksideDataTest, BeginsEmpty) {
    SAReadBrooksideData sink;
    EXPECT_EQ(sink.GetNumberOfColumns(), 0);
    EXPECT_EQ(sink.GetNumberOfRows(), 0);
    EXPECT_EQ(sink.wafers->GetSize() + sink.phases->GetSize() + sink.names->GetSize(), 0);
}

TEST(SAReadBrooksideDataTest, TakesATableApart) {
    SAReadBrooksideData sink;
    sink.SetDataSize(4, 2);
    sink.Set(1, 1, "Wafer (Batch)");
    sink.Set(2, 1, "Interval (Phase)");
    sink.Set(4, 1, "A_Press");
    sink.Set(1, 2, "W01");
    sink.Set(2, 2, 3);
    sink.Set(3, 2, 0.5F);
    sink.Set(4, 2, "12.25");
    EXPECT_EQ((*sink.names)(1), "Wafer (Batch)");
    EXPECT_EQ((*sink.names)(2), "Interval (Phase)");
    EXPECT_EQ((*sink.names)(4), "A_Press");
    EXPECT_EQ((*sink.wafers)(1), "");
    EXPECT_EQ((*sink.wafers)(2), "W01");
    EXPECT_EQ((*sink.phases)(1), "");
    EXPECT_EQ((*sink.phases)(2), "3");
    EXPECT_EQ((*sink.data)(2, 3), 0.5F);
    EXPECT_EQ((*sink.data)(2, 4), 12.25F);
    EXPECT_EQ((*sink.data)(1, 1), -99.0F);
}

TEST(SAReadBrooksideDataTest, WhatIsNoNumberIsMissing) {
    SAReadBrooksideData sink;
    sink.SetDataSize(4, 2);
    for (const char* text : {"", "12abc", "x", " ", "1 "}) {
        sink.Set(4, 2, 1.0F);
        sink.Set(4, 2, text);
        EXPECT_EQ((*sink.data)(2, 4), -99.0F) << text;
    }
    sink.Set(4, 2, " -1e2");
    EXPECT_EQ((*sink.data)(2, 4), -100.0F);
}

TEST(SAReadBrooksideDataTest, PhaseIsAWholeNumberFromAnyNumber) {
    SAReadBrooksideData sink;
    sink.SetDataSize(3, 3);
    sink.Set(2, 2, "");
    EXPECT_EQ((*sink.phases)(2), "");
    sink.Set(2, 2, 2.6F);
    EXPECT_EQ((*sink.phases)(2), "3");
    sink.Set(2, 2, 4.0);
    EXPECT_EQ((*sink.phases)(2), "4");
    sink.Set(2, 2, std::int64_t{5});
    EXPECT_EQ((*sink.phases)(2), "5");
    sink.Set(2, 2, "02");
    EXPECT_EQ((*sink.phases)(2), "02");
}

TEST(SAReadBrooksideDataTest, NumbersInTheNameRowAndTheWaferColumnGoToTheMatrix) {
    SAReadBrooksideData sink;
    sink.SetDataSize(3, 2);
    sink.Set(3, 1, 7.0F);
    sink.Set(1, 2, 8.0F);
    EXPECT_EQ((*sink.data)(1, 3), 7.0F);
    EXPECT_EQ((*sink.data)(2, 1), 8.0F);
}

TEST(SAReadBrooksideDataTest, SizesAddUp) {
    SAReadBrooksideData sink;
    sink.SetDataSize(3, 2);
    sink.Set(1, 2, "W01");
    sink.SetDataSize(4, 5);
    EXPECT_EQ(sink.GetNumberOfColumns(), 7);
    EXPECT_EQ(sink.GetNumberOfRows(), 7);
    EXPECT_EQ(sink.names->GetSize(), 7);
    EXPECT_EQ(sink.phases->GetSize(), 7);
    // The texts are put in at the front.
    EXPECT_EQ((*sink.wafers)(2), "");
    EXPECT_EQ((*sink.wafers)(7), "W01");
}

TEST(SAReadBrooksideDataTest, CellsOutsideAreIgnored) {
    SAReadBrooksideData sink;
    sink.SetDataSize(3, 2);
    sink.Set(4, 2, 1.0F);
    sink.Set(3, 3, "1");
    sink.Set(0, 2, 1.0F);
    sink.Set(1, 3, "W");
    sink.Set(9, 1, "name");
    EXPECT_EQ(sink.GetNumberOfColumns(), 3);
    EXPECT_EQ(sink.GetNumberOfRows(), 2);
}

TEST(SAReadBrooksideDataTest, CopiesShareTheirStorage) {
    // The copy isn't destroyed: it holds the same objects.
    alignas(SAReadBrooksideData) unsigned char storage[sizeof(SAReadBrooksideData)];
    SAReadBrooksideData sink;
    sink.layoutDefault = false;
    const auto* copy = new (storage) SAReadBrooksideData(sink);
    EXPECT_EQ(copy->data, sink.data);
    EXPECT_EQ(copy->names, sink.names);
    EXPECT_FALSE(copy->layoutDefault);
}

TEST(SAReadBrooksideDataTest, EveryRowIsWanted) {
    SAReadBrooksideData sink;
    EXPECT_EQ(sink.NextRowToRead(0), 1);
    EXPECT_EQ(sink.NextRowToRead(41), 42);
}

TEST(SAReadBrooksideDataTest, ReceivesALog) {
    using namespace brookside;
    const std::string package = Package(Transition({{"W01", {{1, 1}, {2, 2}}}}),
                                        {{"lot1.dat", DataFile("Time\tA_P", {"0.5\t7", "1\t-999"})}});
    BrooksideFile reader(package.c_str(), "log", false);
    SAReadBrooksideData sink;
    ASSERT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ((*sink.names)(4), "A_P");
    EXPECT_EQ((*sink.wafers)(3), "W01");
    EXPECT_EQ((*sink.phases)(3), "2");
    EXPECT_EQ((*sink.data)(2, 4), 7.0F);
    EXPECT_EQ((*sink.data)(3, 4), -99.0F);
}

// Each size is added to what is there: a size a row would double the columns each time.
TEST(SAReadBrooksideDataTest, MissingDataFileStaysSmall) {
    using namespace brookside;
    const std::string package =
        Package(Transition({{"W01", {{1, 900'000}}, "gone.dat"}, {"W02", {{1, 120}}, "here.dat"}}),
                {{"here.dat", NumberedData(120)}});
    BrooksideFile reader(package.c_str(), "log", false);
    SAReadBrooksideData sink;
    ASSERT_EQ(reader.Read(&sink), 0);
    EXPECT_LE(sink.GetNumberOfColumns(), 8);
    EXPECT_LT(sink.GetNumberOfRows(), 1'000'000);
    EXPECT_EQ((*sink.wafers)(900'001), "W01");
    EXPECT_EQ((*sink.data)(900'121, 4), 120.0F);
}
