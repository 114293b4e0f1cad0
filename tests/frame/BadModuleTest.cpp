// Modules that are made by halves, or throw: the host goes on.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/ImportDLLLoader.h"
#include "frame/ImportHelperBase.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/ImportSpecBase.h"
#include "table/TableData.h"
#include "tests/support/TempFolder.h"

namespace {

std::string ModuleFolder(const std::string& name) {
    return std::string(KARTA_BINARY_DIR) + "/tests/modules/" + name;
}

bool Lists(const ImportDLLLoader& loader, const char* name) {
    for (int i = 1; i <= loader.SizeInfos(); ++i) {
        if (std::strcmp(loader.GetInfo(i)->formatName, name) == 0) {
            return true;
        }
    }
    return false;
}

class LeftOut : public testing::TestWithParam<const char*> {};

class BadModuleRead : public testing::Test {
protected:
    // Read by a driver that has the module, with a spec and an empty record.
    bool Read(const char* module) {
        ImportHelperBase driver(nullptr, ModuleFolder(module).c_str());
        ImportSpecBase spec;
        const bool success =
            driver.ReadSpreadsheetFile(folder.Write("a.bad", "x").c_str(), 1, &table, &options, false, &spec);
        message = driver.GetErrorMessage();
        return success;
    }

    TempFolder folder;
    TableData table;
    NvImportOpenOptions options{0, nullptr};
    std::string message;
};

constexpr const char* ExceptionText = "Exception during file reading. Import will be aborted.";

}  // namespace

TEST_P(LeftOut, FormatWithoutAWholeRecordIsNotListed) {
    ImportDLLLoader loader;
    loader.Init(ModuleFolder(GetParam()).c_str());
    EXPECT_EQ(loader.SizeInfos(), SprFileFactory::SizeInfos());
    EXPECT_FALSE(Lists(loader, "Bad File"));
}

INSTANTIATE_TEST_SUITE_P(Modules, LeftOut,
                         testing::Values("NullInfo", "NullName", "NullFilter", "NullExtensions", "InitThrows",
                                         "InitRunsOut", "CountThrows", "CountRunsOut", "InfoThrows"),
                         [](const auto& info) { return std::string(info.param); });

TEST_F(BadModuleRead, SpecOfAModuleWithoutOpenIsKeptFromIt) {
    EXPECT_FALSE(Read("SpecWithoutOpen"));
    EXPECT_EQ(message, "The import dll is missing a function.");
}

TEST_F(BadModuleRead, ReleaseThatThrowsEndsNothing) {
    EXPECT_TRUE(Read("ReleaseThrows"));
    SpreadsheetOpenOptions::FreeOpenOptions(&options);
}

TEST_F(BadModuleRead, CloseThatThrowsFailsTheReadAndLeavesNoBytes) {
    EXPECT_FALSE(Read("CloseThrows"));
    EXPECT_EQ(message, ExceptionText);
    EXPECT_EQ(options.size, 0U);
    EXPECT_EQ(options.data, nullptr);
}

TEST_F(BadModuleRead, ReadThatThrowsIsAFailure) {
    EXPECT_FALSE(Read("ReadThrows"));
    EXPECT_EQ(message, ExceptionText);
}

TEST_F(BadModuleRead, BytesThatAreClaimedAndMissingAreNone) {
    EXPECT_TRUE(Read("ClaimsBytes"));
    EXPECT_EQ(options.size, 0U);
    EXPECT_EQ(options.data, nullptr);
}

TEST(FactoryModule, FactoryThatIsUnloadedLeavesNothingInTheRegistry) {
    const int size = SprFileFactory::SizeInfos();
    {
        ImportDLLLoader loader;
        loader.Init(ModuleFolder("factory-only").c_str());
        EXPECT_EQ(loader.SizeInfos(), size);
    }
    EXPECT_EQ(SprFileFactory::SizeInfos(), size);
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        EXPECT_STRNE(SprFileFactory::GetInfo(i)->formatName, "Lonely File");
    }
}
