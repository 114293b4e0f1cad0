#include "frame/ImportDLLLoader.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>

#include "frame/DLLFile.h"
#include "frame/SprFileFactory.h"
#include "host/ImportSpecBase.h"
#include "table/TableData.h"
#include "tests/support/TempFolder.h"

namespace {

std::string ModuleFolder(const std::string& name) {
    return std::string(KARTA_BINARY_DIR) + "/tests/modules/" + name;
}

int Find(const ImportDLLLoader& loader, const char* name) {
    for (int i = 1; i <= loader.SizeInfos(); ++i) {
        if (std::strcmp(loader.GetInfo(i)->formatName, name) == 0) {
            return i;
        }
    }
    return 0;
}

/** A loader with the modules of one folder, and the reader of its test format. */
class ModuleTest : public testing::Test {
protected:
    void Load(const std::string& folder) { loader.Init(ModuleFolder(folder).c_str()); }

    std::unique_ptr<DLLFile> Reader(const char* format) {
        return std::unique_ptr<DLLFile>(
            dynamic_cast<DLLFile*>(loader.GetSpreadsheetFile(Find(loader, format))));
    }

    std::string File(const std::string& firstLine) { return folder.Write("a.tmf", firstLine + "\n"); }

    // The message as the driver fetches it.
    static std::string Message(DLLFile& reader, unsigned int size = 200) {
        char text[300];
        std::memset(text, 'x', sizeof text);
        reader.GetErrorMessage(text, size);
        return text;
    }

    // Declared first: what the loader's modules made must be gone before it.
    ImportDLLLoader loader;
    TempFolder folder;
};

constexpr const char* MissingFunction = "The import dll is missing a function.";

}  // namespace

TEST_F(ModuleTest, ProgramItselfIsLookedAt) {
    loader.Init(nullptr);
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
    EXPECT_GT(Find(loader, "Text File"), 0);
    EXPECT_NE(loader.GetModulePath(1).find("frame-tests"), std::string::npos);
}

TEST_F(ModuleTest, BlankFolderIsNone) {
    loader.Init(" \t");
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
}

TEST_F(ModuleTest, PlugInComesAtTheEndOfTheSequence) {
    Load("whole");
    EXPECT_EQ(Find(loader, "Test Module File"), loader.SizeInfos());
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos() + 1);
    EXPECT_EQ(std::filesystem::path(loader.GetModulePath(loader.SizeInfos())).filename(), "whole.so");
}

TEST_F(ModuleTest, IndexBelowTwoMeansTheFirst) {
    Load("whole");
    EXPECT_EQ(loader.GetInfo(0), loader.GetInfo(1));
}

TEST_F(ModuleTest, ReadsThroughTheFlatFunctions) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    ASSERT_EQ(reader->Open(true, File("").c_str(), nullptr), 0);
    EXPECT_EQ(reader->GetNumRows(), 1);
    EXPECT_EQ(reader->GetNumCols(), 1);
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0);
    EXPECT_STREQ(table.GetText(1, 1), "module");
    EXPECT_EQ(reader->GetWarningMessage(), nullptr);
    reader->Close();
    EXPECT_EQ(reader->GetStatus(), 0);
}

TEST_F(ModuleTest, TableMayGrowWhileItIsRead) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    ASSERT_EQ(reader->Open(true, File("grow").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 2);
    EXPECT_EQ(table.GetNumberOfColumns(), 3);
    EXPECT_STREQ(table.GetText(3, 2), "grown");
}

TEST_F(ModuleTest, WarningIsTheModules) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    EXPECT_EQ(reader->GetWarningMessage(), nullptr);
    ASSERT_EQ(reader->Open(true, File("warning").c_str(), nullptr), 0);
    EXPECT_STREQ(reader->GetWarningMessage(), "The module warns.");
}

TEST_F(ModuleTest, FailureHasTheModulesOwnText) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    EXPECT_EQ(reader->Open(true, File("fail").c_str(), nullptr), 0x801);
    EXPECT_EQ(Message(*reader), "The module's own reason.");
    EXPECT_EQ(Message(*reader, 10), "The module");
}

TEST_F(ModuleTest, FailedSizeIsAStatus) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    ASSERT_EQ(reader->Open(true, File("size").c_str(), nullptr), 0);
    EXPECT_EQ(reader->GetNumRows(), -1);
    EXPECT_EQ(reader->GetStatus(), 0x801);
}

TEST_F(ModuleTest, FailedReadIsAStatusThatSticks) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    ASSERT_EQ(reader->Open(true, File("broken").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0x801);
    EXPECT_EQ(reader->Read(&table), 0x801);
}

TEST_F(ModuleTest, WritesThroughTheFlatFunctions) {
    Load("whole");
    TableData table;
    table.Set(1, 1, "good");
    auto writer = Reader("Test Module File");
    ASSERT_EQ(writer->Open(false, folder.Path("out.tmf").c_str(), nullptr), 0);
    EXPECT_EQ(writer->Write(&table), 0);
    table.Set(1, 1, 5);
    EXPECT_EQ(writer->Write(&table), 0x801);
}

TEST_F(ModuleTest, ReadingWhatIsNotOpenIsNotStored) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0x802);
    EXPECT_EQ(reader->GetStatus(), 0);
    EXPECT_EQ(reader->GetNumRows(), -1);
    EXPECT_EQ(reader->GetStatus(), 0x802);
    EXPECT_EQ(Message(*reader), "The file was not opened properly.");
}

TEST_F(ModuleTest, WritingWhatIsNotOpenIsAStatus) {
    Load("whole");
    const auto writer = Reader("Test Module File");
    TableData table;
    EXPECT_EQ(writer->Write(&table), 0x802);
}

TEST_F(ModuleTest, FormatThatCannotWriteIsStatus3) {
    loader.Init(nullptr);
    NvImportFileFormatInfo info = *loader.GetInfo(1);
    info.canWrite = 0;
    DLLFile file({}, 1, info);
    EXPECT_EQ(file.Open(false, "x", nullptr), 3);
}

TEST_F(ModuleTest, CellWithoutATextIsEmpty) {
    DLLFile::Functions functions;
    functions.open = [](int, const char*, bool, void** handle, NvImportOpenOptions*) {
        static int something;
        *handle = &something;
        return true;
    };
    functions.read = [](int, void*, NvImportReadCallbacks* table) {
        table->setString(table, 1, 1, nullptr);
        return true;
    };
    loader.Init(nullptr);
    DLLFile file(functions, 1, *loader.GetInfo(1));
    ASSERT_EQ(file.Open(true, "x", nullptr), 0);
    TableData table;
    EXPECT_EQ(file.Read(&table), 0);
    EXPECT_EQ(table.GetString(1, 1), "");
}

TEST_F(ModuleTest, OpeningAgainClosesWhatIsOpen) {
    static int open;
    open = 0;
    DLLFile::Functions functions;
    functions.open = [](int, const char*, bool, void** handle, NvImportOpenOptions*) {
        *handle = &open;
        return ++open > 0;
    };
    functions.close = [](int, void*) { --open; };
    {
        loader.Init(nullptr);
        DLLFile file(functions, 1, *loader.GetInfo(1));
        EXPECT_EQ(file.Open(true, "x", nullptr), 0);
        EXPECT_EQ(file.Open(true, "x", nullptr), 0);
        EXPECT_EQ(open, 1);
    }
    EXPECT_EQ(open, 0);
}

TEST_F(ModuleTest, FormatOfABuiltInNameReplacesIt) {
    Load("replacing");
    EXPECT_EQ(Find(loader, "Text File"), 0);
    EXPECT_EQ(Find(loader, "text FILE"), loader.SizeInfos());
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
    const auto reader = Reader("text FILE");
    ASSERT_EQ(reader->Open(true, File("number").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0);
    EXPECT_EQ(table.GetFloat(1, 1), 1.5F);
}

TEST_F(ModuleTest, FormatThatAModuleNamesTwiceIsItsLast) {
    Load("twice");
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos() + 1);
    const auto reader = Reader("Twice File");
    EXPECT_EQ(reader->Open(true, File("number").c_str(), nullptr), 0);
}

TEST_F(ModuleTest, ModuleFoundTwiceIsUnloadedWithItsLoader) {
    const std::string path = ModuleFolder("whole") + "/whole.so";
    std::filesystem::create_symlink(path, folder.Path("a.so"));
    std::filesystem::create_symlink(path, folder.Path("b.so"));
    {
        ImportDLLLoader twice;
        twice.Init(folder.Path("").c_str());
        EXPECT_EQ(twice.SizeInfos(), SprFileFactory::SizeInfos() + 1);
    }
    EXPECT_EQ(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(ModuleTest, ModuleWithoutFormatsAddsNone) {
    Load("no-formats");
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
}

TEST_F(ModuleTest, ModuleThatOnlyLinksThisLibraryIsNoPlugIn) {
    Load("linked");
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
}

TEST_F(ModuleTest, FileThatIsNoModuleIsPassedOver) {
    folder.Write("broken.so", "this is no module");
    folder.Write("empty.so", "");
    loader.Init(folder.Path("").c_str());
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
}

TEST_F(ModuleTest, FolderThatIsNotThereIsPassedOver) {
    loader.Init("/none/at/all");
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
}

TEST_F(ModuleTest, ModuleWithoutCountOrInfoIsNoPlugIn) {
    Load("without-count");
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
    ImportDLLLoader other;
    other.Init(ModuleFolder("without-info").c_str());
    EXPECT_EQ(other.SizeInfos(), SprFileFactory::SizeInfos());
}

TEST_F(ModuleTest, InitAndReleaseMayBeMissing) {
    Load("without-init");
    EXPECT_GT(Find(loader, "Without INIT"), 0);
    ImportDLLLoader other;
    other.Init(ModuleFolder("without-release").c_str());
    EXPECT_GT(Find(other, "Without RELEASE"), 0);
}

TEST_F(ModuleTest, MissingTestAnswersPossible) {
    Load("without-test");
    EXPECT_EQ(loader.GetVerdict(Find(loader, "Without TEST"), "/none"), 1);
}

TEST_F(ModuleTest, MissingOpenIsStatus0x800) {
    Load("without-open");
    const auto reader = Reader("Without OPEN");
    EXPECT_EQ(reader->Open(true, File("").c_str(), nullptr), 0x800);
    EXPECT_EQ(Message(*reader), MissingFunction);
}

TEST_F(ModuleTest, MissingCloseLeaksNothingOfOurs) {
    Load("without-warning");
    const auto reader = Reader("Without WARNING");
    ASSERT_EQ(reader->Open(true, File("warning").c_str(), nullptr), 0);
    EXPECT_EQ(reader->GetWarningMessage(), nullptr);
    reader->Close();
}

TEST_F(ModuleTest, MissingErrorBecomesMissingFunctionWhenAsked) {
    Load("without-error");
    const auto reader = Reader("Without ERROR");
    EXPECT_EQ(reader->Open(true, File("fail").c_str(), nullptr), 0x801);
    EXPECT_EQ(Message(*reader), MissingFunction);
    EXPECT_EQ(reader->GetStatus(), 0x800);
}

TEST_F(ModuleTest, MissingSizeIsNotStored) {
    Load("without-size");
    const auto reader = Reader("Without SIZE");
    ASSERT_EQ(reader->Open(true, File("").c_str(), nullptr), 0);
    EXPECT_EQ(reader->EstablishSize(), 0x800);
    EXPECT_EQ(reader->GetStatus(), 0);
}

TEST_F(ModuleTest, MissingReadIsStatus0x800) {
    Load("without-read");
    const auto reader = Reader("Without READ");
    ASSERT_EQ(reader->Open(true, File("").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0x800);
    EXPECT_EQ(Message(*reader), MissingFunction);
    EXPECT_EQ(Message(*reader, 3), "The");
}

TEST_F(ModuleTest, MissingWriteIsStatus0x800) {
    Load("without-write");
    const auto writer = Reader("Without WRITE");
    ASSERT_EQ(writer->Open(false, folder.Path("out").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(writer->Write(&table), 0x800);
}

TEST_F(ModuleTest, MissingSpecClearsTheMark) {
    Load("without-spec");
    const auto reader = Reader("Without SPEC");
    ImportSpecBase spec;
    reader->SetImportSpec(&spec);
    EXPECT_FALSE(spec.honoured);
}

TEST_F(ModuleTest, SureFormatBeatsTheExtension) {
    Load("whole");
    EXPECT_EQ(loader.GetSpreadsheetFileIndex(File("text").c_str()), Find(loader, "Test Module File"));
}

TEST_F(ModuleTest, MissingFileGoesByItsExtensionAlone) {
    Load("whole");
    EXPECT_EQ(loader.GetSpreadsheetFileIndex("/none/a.TM2"), Find(loader, "Test Module File"));
    EXPECT_EQ(loader.GetSpreadsheetFileIndex("/none/a.unheard-of"), -1);
    EXPECT_EQ(loader.GetSpreadsheetFileIndex("/none/a"), -1);
}

TEST_F(ModuleTest, TextFileIsChosenByItsExtension) {
    Load("whole");
    EXPECT_EQ(loader.GetSpreadsheetFileIndex(folder.Write("a.txt", "a\tb\n").c_str()),
              Find(loader, "Text File"));
}

TEST_F(ModuleTest, HostChoosesAmongEquals) {
    struct Asking : ImportDLLLoader {
        int SelectFormat(std::vector<InstanceInfo>& candidates, const char*) override {
            asked = candidates.size();
            return candidates.empty() ? -1 : GetIndex(&candidates.back());
        }
        std::size_t asked = 99;
    };
    Asking asking;
    asking.Init(nullptr);
    EXPECT_EQ(asking.GetSpreadsheetFileIndex("/none/a.unheard-of"), -1);
    EXPECT_EQ(asking.asked, 0U);
}

TEST_F(ModuleTest, OpenOnAFailedObjectReturnsItsStatusAndTouchesNothing) {
    Load("whole");
    const auto reader = Reader("Test Module File");
    ASSERT_EQ(reader->Open(true, File("fail").c_str(), nullptr), 0x801);
    EXPECT_EQ(reader->Open(true, File("number").c_str(), nullptr), 0x801);
    EXPECT_EQ(Message(*reader), "The module's own reason.");
    reader->Close();
    EXPECT_EQ(reader->Open(true, File("number").c_str(), nullptr), 0);
}
