#include "spreadsheet/ExcelStgStream.h"

#include <gtest/gtest.h>

#include "tests/support/CompoundBuilder.h"
#include "tests/support/TempFolder.h"

namespace {

class ExcelStgStreamTest : public testing::Test {
protected:
    std::string Path(CompoundBuilder& builder) { return folder.Write("book.xls", builder.Build()); }
    std::string Path(CompoundBuilder&& builder) { return Path(builder); }

    static std::string Read(BaseStream& stream, int count) {
        std::string bytes(static_cast<std::size_t>(count), '\0');
        stream.Read(bytes.data(), count);
        return bytes;
    }

    TempFolder folder;
};

}  // namespace

TEST_F(ExcelStgStreamTest, ReadsTheWorkbookStream) {
    ExcelStgStream stream(Path(CompoundBuilder().Stream("Workbook", "records")).c_str());
    EXPECT_EQ(stream.GetStatus(), 0);
    EXPECT_EQ(Read(stream, 3), "rec");
    EXPECT_EQ(stream.Tell(), 3);
    stream.Seek(1, 1);
    EXPECT_EQ(Read(stream, 3), "rds");
    stream.Seek(0, 0);
    EXPECT_EQ(Read(stream, 2), "re");
    stream.Seek(-2, 2);
    EXPECT_EQ(Read(stream, 2), "ds");
    EXPECT_EQ(stream.GetStatus(), 0);
}

TEST_F(ExcelStgStreamTest, FirstOfBookAndWorkbookInTheDirectoryWins) {
    ExcelStgStream workbookFirst(
        Path(CompoundBuilder().Stream("Workbook", "new").Stream("Book", "old")).c_str());
    EXPECT_EQ(Read(workbookFirst, 3), "new");
    ExcelStgStream bookFirst(
        Path(CompoundBuilder().Stream("Workbook", "new").Stream("Book", "old").LinkLeft()).c_str());
    EXPECT_EQ(Read(bookFirst, 3), "old");
}

TEST_F(ExcelStgStreamTest, NamesAreComparedExactly) {
    ExcelStgStream stream(
        Path(CompoundBuilder().Stream("workbook", "a").Stream("BOOK", "b").Stream("Workbook1", "c")).c_str());
    EXPECT_EQ(stream.GetStatus(), ExcelStgStream::StatusNoStream);
}

TEST_F(ExcelStgStreamTest, StorageOfTheNameIsNoStreamAndEndsTheSearch) {
    ExcelStgStream stream(Path(CompoundBuilder().Storage("Book").Stream("Workbook", "a")).c_str());
    EXPECT_EQ(stream.GetStatus(), 2);
}

TEST_F(ExcelStgStreamTest, FileThatIsNoStorageIsStatus1) {
    ExcelStgStream stream(folder.Write("text.xls", "text").c_str());
    EXPECT_EQ(stream.GetStatus(), 1);
    char buffer[1];
    stream.Read(buffer, 1);
    EXPECT_EQ(stream.GetStatus(), 3);
    EXPECT_EQ(stream.Tell(), 0);
    EXPECT_EQ(stream.GetStatus(), 6);
    stream.Seek(0, 0);
    EXPECT_EQ(stream.GetStatus(), 6);
}

TEST_F(ExcelStgStreamTest, ShortReadIsStatus3AndStays) {
    ExcelStgStream stream(Path(CompoundBuilder().Stream("Workbook", "records")).c_str());
    Read(stream, 8);
    EXPECT_EQ(stream.GetStatus(), 3);
    stream.Seek(0, 0);
    Read(stream, 1);
    EXPECT_EQ(stream.GetStatus(), 3);
}

TEST_F(ExcelStgStreamTest, SeekOutsideIsStatus6) {
    const std::string path = Path(CompoundBuilder().Stream("Workbook", "records"));
    ExcelStgStream before(path.c_str());
    before.Seek(-1, 0);
    EXPECT_EQ(before.GetStatus(), 6);
    ExcelStgStream behind(path.c_str());
    behind.Seek(8, 0);
    EXPECT_EQ(behind.GetStatus(), 6);
}

TEST_F(ExcelStgStreamTest, SeekFromAnotherOriginDoesNothing) {
    ExcelStgStream stream(Path(CompoundBuilder().Stream("Workbook", "records")).c_str());
    Read(stream, 2);
    stream.Seek(5, 3);
    EXPECT_EQ(stream.Tell(), 2);
    EXPECT_EQ(stream.GetStatus(), 0);
}

TEST_F(ExcelStgStreamTest, WriteIsStatus4) {
    ExcelStgStream stream(Path(CompoundBuilder().Stream("Workbook", "records")).c_str());
    stream.Write("x", 1);
    EXPECT_EQ(stream.GetStatus(), 4);
}

TEST_F(ExcelStgStreamTest, PlainFileReadsSeeksAndFailsAtItsEnd) {
    BaseStream stream(folder.Write("plain.xls", "records").c_str(), std::ios_base::in);
    EXPECT_EQ(stream.GetStatus(), 0);
    EXPECT_EQ(Read(stream, 3), "rec");
    EXPECT_EQ(stream.Tell(), 3);
    stream.Seek(1, 1);
    EXPECT_EQ(Read(stream, 1), "r");
    stream.Seek(-1, 2);
    EXPECT_EQ(Read(stream, 1), "s");
    stream.Seek(0, 3);
    EXPECT_EQ(stream.Tell(), 7);
    EXPECT_EQ(stream.GetStatus(), 0);
    Read(stream, 1);
    EXPECT_EQ(stream.GetStatus(), 1);
}

TEST_F(ExcelStgStreamTest, PlainFileCanBeWritten) {
    const std::string path = folder.Path("out");
    {
        BaseStream stream(path.c_str(), std::ios_base::out);
        stream.Write("a\nb", 3);
        EXPECT_EQ(stream.GetStatus(), 0);
    }
    EXPECT_EQ(ReadWholeFile(path), "a\nb");
}

TEST_F(ExcelStgStreamTest, MissingFileAndFolderDoNotOpen) {
    EXPECT_EQ(BaseStream(folder.Path("none").c_str(), std::ios_base::in).GetStatus(), 1);
    EXPECT_EQ(BaseStream(folder.Path("").c_str(), std::ios_base::in).GetStatus(), 1);
}
