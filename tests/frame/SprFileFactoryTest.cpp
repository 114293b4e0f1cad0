#include "frame/SprFileFactory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame/NvImport.h"
#include "frame/SpreadsheetFile.h"

namespace {

class NoFile : public SpreadsheetFile {
public:
    void GetErrorMessage(char* buffer, unsigned int size) override {
        SpreadsheetFile::GetErrorMessage(buffer, size);
    }
    int Open(bool, const char*, NvImportOpenOptions*) override { return 0; }
    int Read(ReadSpreadSheetData*) override { return 0; }
    int EstablishSize() override { return 0; }
};

class TestFactory : public SprFileFactory {
public:
    TestFactory(const char* name, const char* filter, signed char priority)
        : SprFileFactory(name, filter, nullptr, 1, ".zz1\0", 0, 1, 0, 1, 0, priority) {}
    MyKindOfFile IsMyKindOfFile(const char*) override { return KindNo; }
    SpreadsheetFile* GetSpreadsheetFile() override { return new NoFile; }
};

// The number of formats with this name, byte by byte.
int CountName(const char* name) {
    int count = 0;
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        count += std::strcmp(SprFileFactory::GetInfo(i)->formatName, name) == 0 ? 1 : 0;
    }
    return count;
}

std::vector<std::string> FiltersOf(const char* name) {
    std::vector<std::string> filters;
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (std::strcmp(SprFileFactory::GetInfo(i)->formatName, name) == 0) {
            filters.emplace_back(SprFileFactory::GetInfo(i)->readFilter);
        }
    }
    return filters;
}

/** Formats that enter the registry as all do, before main. */
struct Registered {
    TestFactory first{"Test Name A", "~Test A1", 1};
    int sizeBeforeOtherCase = SprFileFactory::SizeInfos();
    TestFactory otherCase{"TEST name a", "~Test A2", 1};
    int sizeAfterOtherCase = SprFileFactory::SizeInfos();

    TestFactory kept{"Test Name B", "~Test B1", 1};
    TestFactory negative{"Test Name B", "~Test B2", -1};
    std::vector<std::string> filtersOfB = FiltersOf("Test Name B");

    TestFactory taken{"Test Name D", "~Test D1", 1};
    TestFactory sameFilter{"Test Name D other", "~Test D1", 1};

    bool passingWasListed = [] {
        const TestFactory passing("Test Name E", "~Test E1", 1);
        return CountName("Test Name E") == 1;
    }();
};
const Registered registered;

}  // namespace

TEST(SprFileFactory, OrderIsThatOfTheReadFilters) {
    for (int i = 2; i <= SprFileFactory::SizeInfos(); ++i) {
        EXPECT_LT(
            std::strcmp(SprFileFactory::GetInfo(i - 1)->readFilter, SprFileFactory::GetInfo(i)->readFilter),
            0);
    }
}

TEST(SprFileFactory, IndexBelowOneMeansTheFirst) {
    EXPECT_EQ(SprFileFactory::GetInfo(0), SprFileFactory::GetInfo(1));
    EXPECT_EQ(SprFileFactory::GetInfo(-5), SprFileFactory::GetInfo(1));
}

TEST(SprFileFactory, LaterFactoryOfANameInOtherCaseReplacesTheEarlier) {
    EXPECT_EQ(registered.sizeAfterOtherCase, registered.sizeBeforeOtherCase);
    EXPECT_EQ(CountName("Test Name A"), 0);
    EXPECT_EQ(CountName("TEST name a"), 1);
}

TEST(SprFileFactory, NegativePriorityNeverReplaces) {
    EXPECT_EQ(registered.filtersOfB, std::vector<std::string>{"~Test B1"});
}

TEST(SprFileFactory, PriorityIsNotKept) {
    EXPECT_EQ(registered.otherCase.GetPriority(), 0);
}

TEST(SprFileFactory, FilterThatIsTakenDropsTheNewFormat) {
    EXPECT_EQ(CountName("Test Name D"), 1);
    EXPECT_EQ(CountName("Test Name D other"), 0);
}

TEST(SprFileFactory, FactoryThatGoesTakesItsFormatAlong) {
    EXPECT_TRUE(registered.passingWasListed);
    EXPECT_EQ(CountName("Test Name E"), 0);
}

TEST(SprFileFactory, NothingIsRegisteredAfterTheFirstFlatCall) {
    const int size = NvImportSizeFileFormatsSupported();
    const TestFactory late("Test Name F", "~Test F1", 1);
    EXPECT_EQ(SprFileFactory::SizeInfos(), size);
    EXPECT_EQ(CountName("Test Name F"), 0);
}

// Each in a process of its own: whichever flat function is the first.
class FirstFlatCall : public testing::TestWithParam<const char*> {};

TEST_P(FirstFlatCall, ClosesTheRegistry) {
    const std::string call = GetParam();
    void* handle = nullptr;
    if (call == "Info") {
        NvImportGetFileFormatInfo(1);
    } else if (call == "Test") {
        NvImportIsCorrectFileType(1, "/none");
    } else {
        NvImportOpen(1, "/none", true, &handle, nullptr);
        NvImportClose(1, handle);
    }
    const TestFactory late("Test Name G", "~Test G1", 1);
    EXPECT_EQ(CountName("Test Name G"), 0);
}

INSTANTIATE_TEST_SUITE_P(Functions, FirstFlatCall, testing::Values("Info", "Test", "Open"),
                         [](const auto& info) { return std::string(info.param); });

TEST(SpreadsheetFile, FreshObjectHasNoFailure) {
    NoFile file;
    char text[10] = "x";
    file.GetErrorMessage(text, sizeof text);
    EXPECT_EQ(file.GetStatus(), 0);
    EXPECT_EQ(!file, 0);
    EXPECT_EQ(file.GetWarningMessage(), nullptr);
    EXPECT_STREQ(text, "");
}

TEST(SpreadsheetFile, BaseWriteIsNotImplementedUntilClose) {
    NoFile file;
    char text[80];
    EXPECT_EQ(file.Write(nullptr), 1);
    EXPECT_EQ(file.GetStatus(), 1);
    EXPECT_EQ(!file, 1);
    file.GetErrorMessage(text, sizeof text);
    EXPECT_STREQ(text, "This function is not implemented for this file format.");
    file.Close();
    EXPECT_EQ(file.GetStatus(), 0);
}

TEST(SpreadsheetFile, LongMessageIsCutAndEnded) {
    NoFile file;
    file.Write(nullptr);
    char text[8];
    std::memset(text, 'x', sizeof text);
    file.GetErrorMessage(text, 1);
    EXPECT_STREQ(text, "");
    file.GetErrorMessage(text, 5);
    EXPECT_STREQ(text, "This");
    EXPECT_EQ(text[5], 'x');
}

TEST(SpreadsheetFile, CommonTextsAreExact) {
    struct Failing : NoFile {
        explicit Failing(int code) { status = code; }
        std::string Text() {
            char text[200];
            GetErrorMessage(text, sizeof text);
            return text;
        }
    };
    EXPECT_EQ(Failing(2).Text(),
              "An error occurred when trying to establish the size of the data in the file.");
    EXPECT_EQ(Failing(3).Text(), "Tried to write to the file when it was opened for reading or vice versa.");
    EXPECT_EQ(Failing(4).Text(), "AbortedByUser");
    EXPECT_EQ(Failing(5).Text(), "No further information available.");
    EXPECT_EQ(Failing(-1).Text(), "No further information available.");
}

TEST(SpreadsheetFile, MeasuringAgainAfterAFailure) {
    struct Unmeasured : NoFile {
        int EstablishSize() override {
            ++calls;
            return StatusSizeFailed;
        }
        int calls = 0;
    };
    Unmeasured file;
    EXPECT_EQ(file.GetNumCols(), -1);
    EXPECT_EQ(file.GetNumCols(), -1);
    EXPECT_EQ(file.GetNumRows(), -1);
    EXPECT_EQ(file.calls, 3);
}
