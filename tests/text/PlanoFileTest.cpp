#include "text/PlanoFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "frame/OptionsText.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/CompoundBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "PLANO File";
constexpr const char* NotPlano = "Open 0x204\nError \"The file does not appear to be a valid PLANO file.\"\n";
constexpr const char* NoWorksheet = "Open 0x203\nError \"Could not find the worksheet in the file.\"\n";

// A reader that tells where its copy of the worksheet lies.
struct TellingReader : PlanoFile {
    const std::string& CopyName() const { return tempFileName; }
    bool IsCopyUsed() const { return tempFileUsed; }
};

class PlanoFileTest : public testing::Test {
protected:
    std::string Trace(std::string_view name, std::string_view bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write(name, bytes), how);
    }
    std::string Cells(CompoundBuilder& project) { return CellsOf(Trace("design.mip", project.Build())); }
    std::string Cells(CompoundBuilder&& project) { return Cells(project); }

    TempFolder folder;
};

}  // namespace

TEST_F(PlanoFileTest, ReadsTheWorksheetOfAProject) {
    CompoundBuilder project;
    project.Stream("Design", "binary").Stream("Worksheet.dat", "Run\tYield\nN1\t54.2\n");
    EXPECT_EQ(Trace("design.mip", project.Build()),
              "Format \"PLANO File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 2\nSetDataSize 2 2\n"
              "Set 1 1 text \"Run\"\nSet 2 1 text \"Yield\"\nSet 1 2 text \"N1\"\nSet 2 2 text \"54.2\"\n"
              "Read 0x0\nClose\n");
}

TEST_F(PlanoFileTest, SuffixesAreComparedWithoutRegardToCase) {
    const std::string project = CompoundBuilder().Stream("WORKSHEET.DAT", "a\n").Build();
    EXPECT_EQ(CellsOf(Trace("DESIGN.MIP", project)), "Set 1 1 text \"a\"\n");
}

TEST_F(PlanoFileTest, FirstWorksheetInTheDirectoryIsRead) {
    CompoundBuilder project;
    project.Stream("b.dat", "first\n").Stream("a.dat", "second\n");
    EXPECT_EQ(Cells(project), "Set 1 1 text \"first\"\n");
    EXPECT_EQ(Cells(project.LinkLeft()), "Set 1 1 text \"second\"\n");
}

TEST_F(PlanoFileTest, FirstEntryOfTheNameIsTakenEvenIfItIsAStorage) {
    const auto trace = Trace("design.mip", CompoundBuilder().Storage("a.dat").Stream("b.dat", "b\n").Build());
    EXPECT_NE(trace.find("Open 0x203"), std::string::npos) << trace;
    EXPECT_EQ(Cells(CompoundBuilder().Storage("data").Stream("b.dat", "b\n")), "Set 1 1 text \"b\"\n");
}

TEST_F(PlanoFileTest, StreamOfTheSuffixAloneIsAWorksheet) {
    EXPECT_EQ(Cells(CompoundBuilder().Stream("dat", "x\n").Stream(".dat", "a\n")), "Set 1 1 text \"a\"\n");
}

TEST_F(PlanoFileTest, ProjectWithoutWorksheetIsStatus0x203) {
    EXPECT_NE(Trace("design.mip", CompoundBuilder().Stream("worksheet.txt", "a").Build()).find(NoWorksheet),
              std::string::npos);
    EXPECT_NE(Trace("empty.mip", CompoundBuilder().Build()).find(NoWorksheet), std::string::npos);
}

TEST_F(PlanoFileTest, TextNamedAsAProjectIsStatus0x204) {
    EXPECT_NE(Trace("design.mip", "a\tb\n").find(NotPlano), std::string::npos);
    EXPECT_NE(ReadTrace(Format, folder.Path("none.mip")).find(NotPlano), std::string::npos);
}

TEST_F(PlanoFileTest, BinaryFileOfAnyNameIsTriedAsAProject) {
    const std::string project = CompoundBuilder().Stream("a.dat", "a\n").Build();
    EXPECT_EQ(CellsOf(Trace("design.xyz", project)), "Set 1 1 text \"a\"\n");
    EXPECT_NE(Trace("other.dat", std::string_view("a\0b", 3)).find(NotPlano), std::string::npos);
}

TEST_F(PlanoFileTest, TextOfAnyOtherNameIsReadDirectly) {
    TellingReader reader;
    EXPECT_EQ(reader.Open(true, folder.Write("sheet.dat", "a\tb\n").c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumCols(), 2);
    EXPECT_FALSE(reader.IsCopyUsed());
}

TEST_F(PlanoFileTest, OptionsGoToTheTextReader) {
    TestOptions semicolon{{"Delimiter", ";"}};
    const std::string project = CompoundBuilder().Stream("a.dat", "a;b\n").Build();
    EXPECT_EQ(CellsOf(Trace("design.mip", project, {semicolon.Get()})),
              "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\n");
}

TEST_F(PlanoFileTest, FailureOfTheTextReaderShowsInTheStatusAlone) {
    TestOptions garbage(std::string("\x04\0\0\0<a>x", 8));
    PlanoFile text;
    EXPECT_EQ(text.Open(true, folder.Write("sheet.dat", "a\n").c_str(), garbage.Get()), 0);
    EXPECT_EQ(text.GetStatus(), 0x200);
    PlanoFile project;
    const std::string binary = CompoundBuilder().Stream("a.dat", std::string_view("a\0b", 3)).Build();
    EXPECT_EQ(project.Open(true, folder.Write("design.mip", binary).c_str(), nullptr), 0);
    EXPECT_EQ(project.GetStatus(), 0x202);
    EXPECT_EQ(ErrorOf(project),
              "This file appears to be a binary file and cannot be imported. Only ordinary text (ASCII) "
              "files can be "
              "imported.");
}

TEST_F(PlanoFileTest, CopyIsGoneAfterClose) {
    TellingReader reader;
    const std::string project = CompoundBuilder().Stream("a.dat", "a\n").Build();
    ASSERT_EQ(reader.Open(true, folder.Write("design.mip", project).c_str(), nullptr), 0);
    const std::string copy = reader.CopyName();
    EXPECT_EQ(ReadWholeFile(copy), "a\n");
    EXPECT_EQ(std::filesystem::status(copy).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    reader.Close();
    EXPECT_FALSE(std::filesystem::exists(copy));
    EXPECT_TRUE(reader.IsCopyUsed());
}

TEST_F(PlanoFileTest, CopyIsGoneAfterAFailedOpenAndCloseOrDeletion) {
    TellingReader closed;
    EXPECT_EQ(closed.Open(true, folder.Write("design.mip", "text").c_str(), nullptr), 0x204);
    const std::string first = closed.CopyName();
    EXPECT_TRUE(std::filesystem::exists(first));
    closed.Close();
    EXPECT_FALSE(std::filesystem::exists(first));
    std::string second;
    {
        TellingReader deleted;
        deleted.Open(true, folder.Path("design.mip").c_str(), nullptr);
        second = deleted.CopyName();
        EXPECT_TRUE(std::filesystem::exists(second));
    }
    EXPECT_FALSE(std::filesystem::exists(second));
}

TEST_F(PlanoFileTest, TemporaryFolderThatCannotBeWrittenIsStatus0x200) {
    if (!std::filesystem::exists("/proc/self")) {
        GTEST_SKIP() << "there is no /proc here";
    }
    const std::string project = folder.Write("design.mip", CompoundBuilder().Stream("a.dat", "a\n").Build());
    const char* const before = std::getenv("TMPDIR");
    const std::string kept = before == nullptr ? "" : before;
    setenv("TMPDIR", "/proc", 1);
    PlanoFile reader;
    const int result = reader.Open(true, project.c_str(), nullptr);
    if (before == nullptr) {
        unsetenv("TMPDIR");
    } else {
        setenv("TMPDIR", kept.c_str(), 1);
    }
    EXPECT_EQ(result, 0x200);
    EXPECT_EQ(ErrorOf(reader), "Failed to open stream for reading.");
}

TEST_F(PlanoFileTest, WorksheetThatIsNotWholeIsRefused) {
    CompoundBuilder builder;
    const std::string project = builder.Stream("a.dat", std::string(5000, 'x')).Build();
    const std::size_t chain = builder.FatEntryOffset(builder.FirstSectorOf(1) + 2);
    EXPECT_NE(
        Trace("design.mip", ByteBuilder().Text(project).Patch(chain, 0xFFFFFFFFU).Bytes()).find(NotPlano),
        std::string::npos);
    const std::size_t size = builder.DirectoryEntryOffset(1) + CompoundBuilder::SizeOffset;
    EXPECT_NE(
        Trace("design.mip", ByteBuilder().Text(project).Patch(size, 0x7FFFFFFFU).Bytes()).find(NotPlano),
        std::string::npos);
}

TEST_F(PlanoFileTest, OpenForWritingIsStatus3) {
    PlanoFile writer;
    EXPECT_EQ(writer.Open(false, folder.Path("out.mip").c_str(), nullptr), 3);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("out.mip")));
}

TEST_F(PlanoFileTest, FailureSticksUntilClose) {
    PlanoFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("none.mip").c_str(), nullptr), 0x204);
    const std::string text = folder.Write("sheet.dat", "a\n");
    EXPECT_EQ(reader.Open(true, text.c_str(), nullptr), 0x204);
    reader.Close();
    EXPECT_EQ(reader.Open(true, text.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(PlanoFileTest, HooksOfBothKindsAreThere) {
    PlanoFile reader;
    EXPECT_TRUE(reader.SetOptions());
    EXPECT_TRUE(reader.SetOptions(nullptr));
}

TEST_F(PlanoFileTest, ProjectsAreKnownByTheirNameAndOthersByTheirText) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (std::string(SprFileFactory::GetInfo(i)->formatName) == Format) {
            const auto kindOf = [&](const std::string& path) {
                return SprFileFactory::IsMyKindOfFile(i, path.c_str());
            };
            EXPECT_EQ(kindOf(folder.Path("none.MIP")), KindProbably);
            EXPECT_EQ(kindOf(folder.Write("a.txt", "text")), KindProbably);
            EXPECT_EQ(kindOf(folder.Write("a.dat", std::string_view("a\0b", 3))), KindNo);
            EXPECT_EQ(kindOf(folder.Path("none.dat")), KindNo);
        }
    }
}

TEST_F(PlanoFileTest, CutAtEveryLengthOrDamagedItEndsInAStatus) {
    const std::string whole =
        CompoundBuilder().Stream("Design", "x").Stream("sheet.dat", std::string(600, 'a') + "\tb\n").Build();
    const auto read = [&](const std::string& bytes) {
        PlanoFile reader;
        reader.Open(true, folder.Write("design.mip", bytes).c_str(), nullptr);
        CountingSink sink;
        const int result = reader.Read(&sink);
        EXPECT_EQ(result, reader.GetStatus());
        EXPECT_EQ(ErrorOf(reader).empty(), result == 0);
    };
    for (std::size_t size = 0; size < whole.size(); size += 3) {
        read(whole.substr(0, size));
    }
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        for (std::size_t i = 0; i < whole.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        read(bytes);
    }
}
