// Every writer where the disk fills up: an exit status and a message, and the older file is whole. The disk
// is a small file system in memory, which only root may mount.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "frame/ImportHelperBase.h"
#include "frame/NvImport.h"
#include "host/project/ProjectWriter.h"
#include "table/TableData.h"
#include "tests/container/ProjectBuilder.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr int Rows = 20000;
constexpr const char* Older = "what was here before\n";

struct WayToWrite {
    const char* target;
    const char* extension;
};
constexpr WayToWrite Ways[] = {{"csv", ".csv"},          {"tsv", ".tsv"},        {"jsonl", ".jsonl"},
                               {"'Text File'", ".txt"},  {"'DIF File'", ".dif"}, {"'DIF File(OEM)'", ".dif"},
                               {"'Matlab File'", ".mat"}};

class FullDiskTest : public testing::Test {
protected:
    void SetUp() override {
        disk = folder.Path("disk");
        fs::create_directory(disk);
        if (mount("none", disk.c_str(), "tmpfs", 0, "size=256k") != 0) {
            GTEST_SKIP() << "no small disk can be mounted here: " << std::strerror(errno);
        }
        mounted = true;
        std::string table = "Name\tValue\n";
        for (int row = 1; row < Rows; ++row) {
            table += "some name\t" + std::to_string(row) + ".5\n";
        }
        folder.Write("table.txt", table);
    }

    void TearDown() override {
        if (mounted) {
            umount2(disk.c_str(), MNT_DETACH);
        }
    }

    CommandOutcome Run(const std::string& arguments) {
        return RunInShell(folder.Path(""), ProgramPath() + " " + arguments);
    }

    // Leaves no room on the disk at all.
    void FillUp() const {
        std::ofstream filler(disk + "/filler", std::ios::binary);
        const std::string block(4096, 'x');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }

    std::string WriteOlder(const std::string& name) const {
        std::ofstream(disk + "/" + name) << Older;
        return disk + "/" + name;
    }

    // The files' names, so that a failure shows what was left behind.
    std::string Names() const {
        std::string names;
        for (const auto& entry : fs::directory_iterator(disk)) {
            names += entry.path().filename().string() + " ";
        }
        return names;
    }

    static void FillTable(TableData& table) {
        table.SetDataSize(2, Rows);
        for (int row = 1; row <= Rows; ++row) {
            table.Set(1, row, "some name");
            table.Set(2, row, row + 0.5);
        }
    }

    TempFolder folder;
    std::string disk;
    bool mounted = false;
};

int FormatNumber(const std::string& name) {
    for (int i = 1; i <= NvImportSizeFileFormatsSupported(); ++i) {
        if (name == NvImportGetFileFormatInfo(i)->formatName) {
            return i;
        }
    }
    return 0;
}

char CellTypeOf(NvImportWriteCallbacks* /*table*/, int32_t /*row*/, int32_t /*col*/) {
    return 1;
}

double FloatOf(NvImportWriteCallbacks* /*table*/, int32_t row, int32_t col) {
    return row + col / 8.0;
}

const char* StringOf(NvImportWriteCallbacks* /*table*/, int32_t /*row*/, int32_t /*col*/) {
    return "some name";
}

bool OriginOf(NvImportWriteCallbacks* /*table*/, int32_t* firstDataCol, int32_t* firstDataRow) {
    *firstDataCol = *firstDataRow = 1;
    return true;
}

}  // namespace

TEST_F(FullDiskTest, ConvertKeepsTheOlderFile) {
    for (const WayToWrite& way : Ways) {
        const std::string name = std::string("out") + way.extension;
        const std::string path = WriteOlder(name);
        const CommandOutcome outcome =
            Run("convert table.txt --to " + std::string(way.target) + " -o " + path);
        EXPECT_EQ(outcome.status, 1) << way.target;
        EXPECT_TRUE(outcome.err.starts_with("karta-import: " + path + ": could not be written: "))
            << outcome.err;
        EXPECT_EQ(ReadWholeFile(path), Older) << way.target;
        EXPECT_EQ(Names(), name + " ") << way.target;
        fs::remove(path);
    }
}

TEST_F(FullDiskTest, ConvertToANewFileLeavesNone) {
    for (const WayToWrite& way : Ways) {
        const CommandOutcome outcome =
            Run("convert table.txt --to " + std::string(way.target) + " -o " + disk + "/out" + way.extension);
        EXPECT_EQ(outcome.status, 1) << way.target;
        EXPECT_EQ(Names(), "") << way.target;
    }
}

TEST_F(FullDiskTest, StandardOutputThatIsFullIsAFailure) {
    for (const WayToWrite& way : Ways) {
        const CommandOutcome outcome =
            Run("convert table.txt --to " + std::string(way.target) + " -o - >" + disk + "/redirected");
        EXPECT_EQ(outcome.status, 1) << way.target;
        EXPECT_TRUE(outcome.err.starts_with("karta-import: ")) << outcome.err;
        EXPECT_NE(outcome.err.find("could not be written"), std::string::npos) << outcome.err;
    }
    for (const char* verb : {"show --rows 20000", "trace", "trace --through-driver"}) {
        const CommandOutcome outcome = Run(std::string(verb) + " table.txt >" + disk + "/redirected");
        EXPECT_EQ(outcome.status, 1) << verb;
        EXPECT_EQ(outcome.err, "karta-import: standard output could not be written\n") << verb;
    }
}

TEST_F(FullDiskTest, TemporaryFolderThatIsFullIsAFailure) {
    for (const char* target : {"'Text File'", "'DIF File'", "'Matlab File'"}) {
        const CommandOutcome outcome =
            RunInShell(folder.Path(""), "TMPDIR=" + disk + " " + ProgramPath() + " convert table.txt --to " +
                                            target + " -o -");
        EXPECT_EQ(outcome.status, 1) << target;
        EXPECT_EQ(outcome.out, "") << target;
        EXPECT_NE(outcome.err.find("could not be written"), std::string::npos) << outcome.err;
        EXPECT_EQ(Names(), "") << target;
    }
}

TEST_F(FullDiskTest, SavedOptionsKeepTheOlderOnes) {
    const std::string options = WriteOlder("options");
    FillUp();
    folder.Write("small.txt", "a;b\n");
    for (const char* verb : {"show", "info", "trace", "trace --through-driver", "show --through-driver"}) {
        const CommandOutcome outcome = Run(std::string(verb) + " small.txt --save-options " + options);
        EXPECT_EQ(outcome.status, 1) << verb;
        EXPECT_EQ(outcome.err, "karta-import: " + options + ": the options can't be written\n") << verb;
        EXPECT_EQ(ReadWholeFile(options), Older) << verb;
    }
    EXPECT_EQ(fs::file_size(options), std::strlen(Older));
    EXPECT_EQ(std::distance(fs::directory_iterator(disk), {}), 2) << Names();
}

TEST_F(FullDiskTest, DriverTellsOfItAndKeepsTheOlderFile) {
    ImportHelperBase driver(nullptr, nullptr);
    TableData table;
    FillTable(table);
    for (const char* name : {"out.txt", "out.dif", "out.mat"}) {
        const std::string path = WriteOlder(name);
        EXPECT_FALSE(driver.WriteSpreadsheetFile(path.c_str(), 0, &table, nullptr)) << name;
        EXPECT_NE(driver.GetErrorMessage(), "") << name;
        EXPECT_EQ(ReadWholeFile(path), Older) << name;
        fs::remove(path);
        EXPECT_EQ(Names(), "") << name;
    }
}

TEST_F(FullDiskTest, FlatInterfaceTellsOfItAndKeepsTheOlderFile) {
    for (const char* format : {"Text File", "DIF File", "DIF File(OEM)", "Matlab File"}) {
        const int index = FormatNumber(format);
        const std::string name = "out" + std::string(NvImportGetFileFormatInfo(index)->extensions);
        const std::string path = WriteOlder(name);
        void* handle = nullptr;
        ASSERT_TRUE(NvImportOpen(index, path.c_str(), false, &handle, nullptr)) << format;
        NvImportWriteCallbacks source{CellTypeOf, FloatOf, StringOf, OriginOf, Rows, 3, nullptr};
        EXPECT_FALSE(NvImportWrite(index, handle, &source)) << format;
        EXPECT_STRNE(NvImportGetLastError(index, handle), "") << format;
        NvImportClose(index, handle);
        EXPECT_EQ(ReadWholeFile(path), Older) << format;
        EXPECT_EQ(Names(), name + " ") << format;
        fs::remove(path);
    }
}

TEST_F(FullDiskTest, ProjectKeepsTheOlderFile) {
    const std::vector<std::vector<float>> values(Rows, {1.0F, 2.0F});
    ProjectContents contents;
    contents.dataSets.push_back(SmallDataSet(1, "large", {NamedVariable("a"), NamedVariable("b")},
                                             std::vector<std::string>(Rows, "some name"), values));
    const std::string path = WriteOlder("out.kpf");
    EXPECT_FALSE(WriteProject(path, contents));
    EXPECT_EQ(ReadWholeFile(path), Older);
    EXPECT_EQ(Names(), "out.kpf ");
}
