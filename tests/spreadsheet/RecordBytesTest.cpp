// The bytes of a workbook's records: the same from memory and from a stream that has none there.
#include "spreadsheet/RecordBytes.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>

#include "spreadsheet/ExcelStgStream.h"
#include "tests/support/CompoundBuilder.h"
#include "tests/support/TempFolder.h"

namespace {

class RecordBytesTest : public testing::Test {
protected:
    RecordBytesTest() {
        for (int i = 0; i < 20000; ++i) {
            content += static_cast<char>(i * 7 + i / 256);
        }
    }

    RecordBytes FromMemory() {
        const std::string path =
            folder.Write("book.xls", CompoundBuilder().Stream("Workbook", content).Build());
        return RecordBytes(std::make_unique<ExcelStgStream>(path.c_str()));
    }
    RecordBytes FromFile() {
        return RecordBytes(
            std::make_unique<BaseStream>(folder.Write("plain.xls", content).c_str(), std::ios_base::in));
    }

    static std::string Read(RecordBytes& bytes, std::size_t count) {
        std::string read(count, '\0');
        return bytes.Read(read.data(), count) ? read : "nothing";
    }

    std::string content;
    TempFolder folder;
};

}  // namespace

TEST_F(RecordBytesTest, ReadsPiecesOfAnySizeFromAnywhere) {
    RecordBytes memory = FromMemory();
    RecordBytes file = FromFile();
    for (RecordBytes* bytes : {&memory, &file}) {
        ASSERT_EQ(bytes->GetStatus(), 0);
        std::size_t place = 0;
        for (const std::size_t count : std::initializer_list<std::size_t>{4, 0, 1, 600, 4, 4096, 3, 0}) {
            EXPECT_EQ(Read(*bytes, count), content.substr(place, count));
            place += count;
            EXPECT_EQ(bytes->Tell(), static_cast<int>(place));
        }
        bytes->Seek(-100, 1);
        place -= 100;
        EXPECT_EQ(Read(*bytes, 50), content.substr(place, 50));
        EXPECT_EQ(Read(*bytes, 60), content.substr(place + 50, 60));
        bytes->Seek(19990, 0);
        EXPECT_EQ(Read(*bytes, 6), content.substr(19990, 6));
        EXPECT_EQ(Read(*bytes, 4), content.substr(19996, 4));
        EXPECT_EQ(Read(*bytes, 0), "");
        EXPECT_EQ(bytes->GetStatus(), 0);
    }
}

TEST_F(RecordBytesTest, AFailureStays) {
    RecordBytes memory = FromMemory();
    RecordBytes file = FromFile();
    for (RecordBytes* bytes : {&memory, &file}) {
        bytes->Seek(19990, 0);
        EXPECT_EQ(Read(*bytes, 4), content.substr(19990, 4));
        EXPECT_EQ(Read(*bytes, 11), "nothing");
        EXPECT_NE(bytes->GetStatus(), 0);
        bytes->Seek(0, 0);
        EXPECT_EQ(Read(*bytes, 4), "nothing");
    }
}

TEST_F(RecordBytesTest, TakesNothingFromMemoryBehindAFailedSeek) {
    RecordBytes bytes = FromMemory();
    EXPECT_EQ(Read(bytes, 4), content.substr(0, 4));
    bytes.Seek(30000, 0);
    EXPECT_NE(bytes.GetStatus(), 0);
    EXPECT_EQ(Read(bytes, 4), "nothing");
}
