#include "frame/ImportHelperBase.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "base/CopyMessage.h"
#include "frame/OptionsText.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetFile.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/ImportSpecBase.h"
#include "host/Log.h"
#include "table/TableData.h"
#include "tests/support/TempFolder.h"

namespace {

/** A reader that does what the file's name says: a stand-in for each kind of end that a read can have. */
class ActingFile : public SpreadsheetFile {
public:
    void GetErrorMessage(char* buffer, unsigned int size) override {
        if (status == 0x77) {
            CopyMessage("The acting file failed.", buffer, size);
        } else {
            SpreadsheetFile::GetErrorMessage(buffer, size);
        }
    }
    int Open(bool, const char* fileName, NvImportOpenOptions* options) override {
        act = std::filesystem::path(fileName).stem();
        status = act == "open" ? 0x77 : act == "stop" ? 4 : 0;
        if (WantsOptions(options)) {
            options->size = sizeof bytes;
            options->data = bytes;
        }
        return status;
    }
    int EstablishSize() override {
        if (act == "size") {
            status = 0x77;
            return status;
        }
        numRows = act == "nothing" ? 0 : 1;
        numCols = 1;
        sizeKnown = true;
        return 0;
    }
    int Read(ReadSpreadSheetData* sink) override {
        if (act == "throw") {
            throw 1;
        }
        sink->Set(1, 1, act.c_str());
        status = act == "read" ? 0x77 : act == "cancel" ? 4 : 0;
        return status;
    }
    int Write(WriteSpreadSheetData*) override {
        status = act == "write" ? 0x77 : 0;
        return status;
    }
    const char* GetWarningMessage() override { return act == "warn" ? "Mind the gap." : nullptr; }
    void SetImportSpec(ImportSpecBase*) override {}

private:
    std::string act;
    std::uint8_t bytes[2] = {1, 2};
};

class ActingFactory : public SprFileFactory {
public:
    ActingFactory()
        : SprFileFactory("Acting File", "Acting Files (*.act)", "Acting File (*.act)", 1, ".act\0", 1, 1, 0,
                         0, 0, 1) {}
    MyKindOfFile IsMyKindOfFile(const char* fileName) override {
        if (std::string(fileName).ends_with("test-throws.act")) {
            throw std::runtime_error("no verdict");
        }
        return std::string(fileName).ends_with(".act") ? KindYes : KindNo;
    }
    SpreadsheetFile* GetSpreadsheetFile() override { return new ActingFile; }
};
ActingFactory actingFactory;

/** Takes files of the extension .many, several at a time. */
class ManyFactory : public SprFileFactory {
public:
    ManyFactory()
        : SprFileFactory("Many File", "Many Files (*.many)", nullptr, 1, ".many\0", 0, 1, 1, 1, 0, 1) {}
    MyKindOfFile IsMyKindOfFile(const char* fileName) override {
        return std::string(fileName).ends_with(".many") ? KindYes : KindNo;
    }
    SpreadsheetFile* GetSpreadsheetFile() override { return new ActingFile; }
};
ManyFactory manyFactory;

/** A host that answers message boxes and notes progress. */
class Host : public ImportHelperBase {
public:
    Host() : ImportHelperBase(nullptr, nullptr) {}

    int answer = 1;
    bool sorts = true;
    bool sortingThrows = false;
    bool stoppingThrows = false;
    std::string said;

protected:
    int PutMsg1(const char* text, const char* caption, MessageType type, int defaultAnswer) override {
        said += std::string(caption) + "/" + std::to_string(type) + "/" + std::to_string(defaultAnswer) +
                ": " + text;
        return answer;
    }
    bool SortFiles(const char*, ReadErrors&) override {
        said += "sort ";
        if (sortingThrows) {
            throw std::runtime_error("no order");
        }
        return sorts;
    }
    void ShowProgressBarWhileReading(SpreadsheetData*, int cols, int rows) override {
        said += "show " + std::to_string(cols) + " " + std::to_string(rows) + " ";
    }
    void StopProgressBar(SpreadsheetData*) override {
        said += "stop ";
        if (stoppingThrows) {
            throw std::runtime_error("no bar");
        }
    }
};

class DriverTest : public testing::Test {
protected:
    bool Read(const std::string& name, NvImportOpenOptions* options = nullptr) {
        return host.ReadSpreadsheetFile(folder.Write(name, "x").c_str(), 1, &table, options, false, nullptr);
    }
    ReadErrors Check(const std::string& names, bool reportMany = true) {
        int choice = 1;
        ReadErrors error = ReadOk;
        checked = host.CheckFilesBeforeRead(names.c_str(), choice, error, reportMany);
        chosen = choice;
        return error;
    }
    // The place of a format among a dialog's filters for reading; the first filter is all files.
    static int FilterOf(const char* name) {
        int filter = 1;
        for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
            filter += SprFileFactory::GetInfo(i)->canRead != 0 ? 1 : 0;
            if (std::strcmp(SprFileFactory::GetInfo(i)->formatName, name) == 0) {
                return filter;
            }
        }
        return 0;
    }
    static int WriterOf(const char* name) {
        int place = 0;
        for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
            place += SprFileFactory::GetInfo(i)->canWrite != 0 ? 1 : 0;
            if (std::strcmp(SprFileFactory::GetInfo(i)->formatName, name) == 0) {
                return place;
            }
        }
        return 0;
    }

    TempFolder folder;
    Host host;
    TableData table;
    bool checked = false;
    int chosen = 0;
};

}  // namespace

TEST_F(DriverTest, ReadsAFileFromTheNameAlone) {
    EXPECT_TRUE(Read("good.act"));
    EXPECT_STREQ(table.GetText(1, 1), "good");
    EXPECT_EQ(host.said, "show 1 1 stop ");
    EXPECT_EQ(host.GetErrorMessage(), "");
}

TEST_F(DriverTest, SinkFlagOfZeroClearsTheLayoutMark) {
    EXPECT_TRUE(Read("good.act"));
    EXPECT_FALSE(table.layoutDefault);
    TableData other;
    EXPECT_TRUE(
        host.ReadSpreadsheetFile(folder.Write("a.many", "x").c_str(), 1, &other, nullptr, false, nullptr));
    EXPECT_TRUE(other.layoutDefault);
}

TEST_F(DriverTest, FailuresHaveTheReadersText) {
    for (const char* name : {"open.act", "size.act", "read.act"}) {
        EXPECT_FALSE(Read(name)) << name;
        EXPECT_EQ(host.GetErrorMessage(), "The acting file failed.") << name;
    }
}

TEST_F(DriverTest, SuccessDoesNotClearAnEarlierText) {
    EXPECT_FALSE(Read("open.act"));
    EXPECT_TRUE(Read("good.act"));
    EXPECT_EQ(host.GetErrorMessage(), "The acting file failed.");
}

TEST_F(DriverTest, NoRowsIsNoDataAndSetsNoSize) {
    table.SetDataSize(5, 5);
    EXPECT_FALSE(Read("nothing.act"));
    EXPECT_EQ(host.GetErrorMessage(), "The selected file does not contain any data. Import will be aborted.");
    EXPECT_EQ(table.GetNumberOfRows(), 5);
}

TEST_F(DriverTest, AbortedByTheUserShowsNothing) {
    EXPECT_FALSE(Read("cancel.act"));
    EXPECT_EQ(host.GetErrorMessage(), "");
}

TEST_F(DriverTest, ExceptionOfAReaderIsAText) {
    NvImportOpenOptions options{0, nullptr};
    EXPECT_FALSE(Read("throw.act", &options));
    EXPECT_EQ(host.GetErrorMessage(), "Exception during file reading. Import will be aborted.");
    EXPECT_EQ(options.data, nullptr);
}

TEST_F(DriverTest, WarningIsShownAndTheReadStays) {
    EXPECT_TRUE(Read("warn.act"));
    EXPECT_EQ(host.said, "show 1 1 stop Warning/3/1: Mind the gap.");
}

TEST_F(DriverTest, WarningThatIsCancelledFailsTheRead) {
    host.answer = 2;
    EXPECT_FALSE(Read("warn.act"));
    EXPECT_EQ(host.GetErrorMessage(), "");
    EXPECT_STREQ(table.GetText(1, 1), "warn");
}

TEST_F(DriverTest, WarningGoesToTheLogByDefault) {
    ImportHelperBase plain(nullptr, nullptr);
    Log::Message last{};
    Log::SetHandler([&](const Log::Message& message) { last = message; });
    EXPECT_TRUE(
        plain.ReadSpreadsheetFile(folder.Write("warn.act", "x").c_str(), 1, &table, nullptr, false, nullptr));
    Log::SetHandler({});
    EXPECT_EQ(last.section, "ImportHelper");
    EXPECT_EQ(last.key, "PutMsgMB");
    EXPECT_EQ(last.text, "Mind the gap.");
    EXPECT_EQ(last.importance, 3);
}

TEST_F(DriverTest, SecondMessageGoesToTheLogWithItsDetail) {
    struct Open : ImportHelperBase {
        Open() : ImportHelperBase(nullptr, nullptr) {}
        using ImportHelperBase::PutMsg2;
    };
    Open plain;
    Log::Message last{};
    Log::SetHandler([&](const Log::Message& message) { last = message; });
    plain.PutMsg2("first", "second", "third");
    Log::SetHandler({});
    EXPECT_EQ(last.key, "PutMsgDD");
    EXPECT_EQ(last.text, "first: second");
    EXPECT_EQ(last.detail, "third");
}

TEST_F(DriverTest, EmptyRecordIsTheCallersAfterASuccess) {
    NvImportOpenOptions options{0, nullptr};
    EXPECT_TRUE(Read("good.act", &options));
    ASSERT_EQ(options.size, 2U);
    EXPECT_EQ(options.data[1], 2);
    SpreadsheetOpenOptions::FreeOpenOptions(&options);
}

TEST_F(DriverTest, EmptyRecordIsEmptyAgainAfterAFailure) {
    NvImportOpenOptions options{0, nullptr};
    EXPECT_FALSE(Read("read.act", &options));
    EXPECT_EQ(options.size, 0U);
    EXPECT_EQ(options.data, nullptr);
}

TEST_F(DriverTest, SpecReachesTheReaderBeforeTheFailureIsSeen) {
    ImportSpecBase spec;
    const std::string path = folder.Write("a.txt", "a\n");
    EXPECT_TRUE(host.ReadSpreadsheetFile(path.c_str(), 1, &table, nullptr, false, &spec));
    EXPECT_FALSE(spec.honoured);
}

TEST_F(DriverTest, FormatNumberSkipsAllChecks) {
    ImportDLLLoader formats;
    formats.Init(nullptr);
    int acting = 0;
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        acting = std::strcmp(formats.GetInfo(i)->formatName, "Acting File") == 0 ? i : acting;
    }
    EXPECT_TRUE(host.ReadSpreadsheetFile("/none/good.xyz", acting, &table, nullptr, true, nullptr));
}

TEST_F(DriverTest, MissingFileHasNoText) {
    EXPECT_EQ(Check(folder.Path("none.act")), ReadFileMissing);
    EXPECT_FALSE(checked);
    EXPECT_EQ(host.GetErrorMessage(), "");
}

TEST_F(DriverTest, EmptySelectionIsAMissingFile) {
    EXPECT_EQ(Check(""), ReadFileMissing);
    EXPECT_FALSE(checked);
}

TEST_F(DriverTest, DirectoryIsRefused) {
    EXPECT_EQ(Check(folder.Path("")), ReadIsDirectory);
    EXPECT_FALSE(checked);
    EXPECT_EQ(host.GetErrorMessage(), "Directories can not be imported.");
}

TEST_F(DriverTest, FileThatCannotBeOpenedIsNoReadError) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may open every file";
    }
    const std::string path = folder.Write("a.act", "x");
    std::filesystem::permissions(path, std::filesystem::perms::none);
    EXPECT_EQ(Check(path), ReadOk);
    EXPECT_FALSE(checked);
    EXPECT_EQ(host.GetErrorMessage(), "The file could not be opened.");
}

TEST_F(DriverTest, UndeterminedTypeNamesTheFirstFile) {
    struct NoFormats : ImportDLLLoader {
        void Init(const char*) override {}
    };
    ImportHelperBase none(new NoFormats, nullptr);
    const std::string path = folder.Write("a.bin", std::string(3, '\0'));
    int choice = 1;
    ReadErrors error = ReadOk;
    EXPECT_FALSE(none.CheckFilesBeforeRead(path.c_str(), choice, error, true));
    EXPECT_EQ(error, ReadTypeUndetermined);
    EXPECT_EQ(none.GetErrorMessage(), "The file type could not be determined (" + path + ").");
}

TEST_F(DriverTest, SeveralFilesForAFormatOfOne) {
    const std::string names = folder.Write("a.act", "x") + "\n" + folder.Write("b.act", "x");
    EXPECT_EQ(Check(names, false), ReadNotMultiFile);
    EXPECT_EQ(host.GetErrorMessage(), "");
    EXPECT_EQ(Check(names, true), ReadNotMultiFile);
    EXPECT_EQ(host.GetErrorMessage(),
              "Acting Files (*.act) can only be imported one at a time.\n\n Import will be aborted.");
}

TEST_F(DriverTest, SeveralFilesAreSortedByTheHost) {
    const std::string names = folder.Write("a.many", "x") + "\n" + folder.Write("b.many", "x");
    EXPECT_EQ(Check(names), ReadOk);
    EXPECT_TRUE(checked);
    EXPECT_EQ(host.said, "sort ");
    host.sorts = false;
    EXPECT_EQ(Check(names), ReadOk);
    EXPECT_FALSE(checked);
}

TEST_F(DriverTest, ExceptionOfATestOrOfTheHostStaysInside) {
    const char* text = "Exception during file reading. Import will be aborted.";
    const std::string path = folder.Write("test-throws.act", "x");
    EXPECT_EQ(Check(path), ReadOk);
    EXPECT_FALSE(checked);
    EXPECT_EQ(host.GetErrorMessage(), text);
    EXPECT_FALSE(host.WriteSpreadsheetFile(path.c_str(), 0, &table, nullptr));
    EXPECT_EQ(host.GetErrorMessage(), "Exception during file writing. Export will be aborted.");
    host.sortingThrows = true;
    const std::string names = folder.Write("a.many", "x") + "\n" + folder.Write("b.many", "x");
    EXPECT_FALSE(host.ReadSpreadsheetFile(names.c_str(), 1, &table, nullptr, false, nullptr));
    EXPECT_EQ(host.GetErrorMessage(), text);
}

TEST_F(DriverTest, LoaderThatAnswersNoFormatIsUnsupported) {
    struct Odd : ImportDLLLoader {
        int SelectFormat(std::vector<InstanceInfo>&, const char*) override { return 0; }
    };
    ImportHelperBase odd(new Odd, nullptr);
    // Names no format: several are possible by their lack of a test, or none; the host's choice is 0.
    const std::string path = folder.Write("a.unheard-of", "text");
    int choice = 1;
    ReadErrors error = ReadOk;
    if (odd.CheckFilesBeforeRead(path.c_str(), choice, error, true)) {
        GTEST_SKIP() << "a single format was possible, so nobody was asked";
    }
    EXPECT_EQ(error, ReadTypeUnsupported);
    EXPECT_EQ(odd.GetErrorMessage(),
              "The file type is either not supported or could not be deduced from the file's extension or "
              "contents.");
}

TEST_F(DriverTest, FilterOfAFormatChoosesIt) {
    const std::string path = folder.Write("a.xyz", "x");
    int choice = FilterOf("Text File");
    ReadErrors error = ReadOk;
    EXPECT_TRUE(host.CheckFilesBeforeRead(path.c_str(), choice, error, true));
    ImportDLLLoader formats;
    formats.Init(nullptr);
    EXPECT_STREQ(formats.GetInfo(choice)->formatName, "Text File");
}

TEST_F(DriverTest, FilterBehindTheLastMeansAllFiles) {
    const std::string path = folder.Write("a.act", "x");
    int choice = 1000;
    ReadErrors error = ReadOk;
    EXPECT_TRUE(host.CheckFilesBeforeRead(path.c_str(), choice, error, true));
    EXPECT_STREQ(SprFileFactory::GetInfo(choice)->formatName, "Acting File");
}

TEST_F(DriverTest, FilterOfTheFirstFormatMeansAllFilesToo) {
    // The number 1 has two meanings here, and hosts know it so.
    const std::string path = folder.Write("a.many", "x");
    int choice = 2;
    ReadErrors error = ReadOk;
    EXPECT_TRUE(host.CheckFilesBeforeRead(path.c_str(), choice, error, true));
    EXPECT_STREQ(SprFileFactory::GetInfo(choice)->formatName, "Many File");
}

TEST_F(DriverTest, WritesWithTheChosenFormatUnderTheGivenName) {
    table.Set(1, 1, "a");
    const std::string path = folder.Path("data.xyz");
    EXPECT_TRUE(host.WriteSpreadsheetFile(path.c_str(), WriterOf("Text File"), &table, nullptr));
    EXPECT_EQ(ReadWholeFile(path), "a\n");
}

TEST_F(DriverTest, WritesWithTheFormatOfTheName) {
    table.Set(1, 1, "a");
    const std::string path = folder.Path("data.txt");
    ImportDLLLoader formats;
    formats.Init(nullptr);
    const int deduced = formats.GetSpreadsheetFileIndex(path.c_str());
    ASSERT_GT(deduced, 0);
    if (std::strcmp(formats.GetInfo(deduced)->formatName, "Text File") != 0) {
        GTEST_SKIP() << "another format has the extension as well";
    }
    EXPECT_TRUE(host.WriteSpreadsheetFile(path.c_str(), 0, &table, nullptr));
    EXPECT_EQ(ReadWholeFile(path), "a\n");
}

TEST_F(DriverTest, WriteWithoutAFormatHasItsText) {
    for (const int choice : {0, 1000}) {
        EXPECT_FALSE(host.WriteSpreadsheetFile(folder.Path("a.unheard-of").c_str(), choice, &table, nullptr));
        EXPECT_EQ(host.GetErrorMessage(),
                  "Save not supported for the current file format\nor the file format could not be deduced.");
    }
}

TEST_F(DriverTest, FailedWriteHasTheWritersText) {
    EXPECT_FALSE(host.WriteSpreadsheetFile(folder.Path("write.act").c_str(), WriterOf("Acting File"), &table,
                                           nullptr));
    EXPECT_EQ(host.GetErrorMessage(), "The acting file failed.");
    EXPECT_FALSE(
        host.WriteSpreadsheetFile(folder.Path("open.act").c_str(), WriterOf("Acting File"), &table, nullptr));
    EXPECT_EQ(host.GetErrorMessage(), "The acting file failed.");
}

TEST_F(DriverTest, NullTableReachesTheWriterAsNull) {
    EXPECT_TRUE(host.WriteSpreadsheetFile(folder.Path("good.act").c_str(), WriterOf("Acting File"), nullptr,
                                          nullptr));
}

TEST_F(DriverTest, ReaderStoppedByTheUserWhileOpeningLeavesNoText) {
    host.ReadSpreadsheetFile(folder.Write("open.act", "x").c_str(), 1, &table, nullptr, false, nullptr);
    ASSERT_NE(host.GetErrorMessage(), "");
    EXPECT_FALSE(
        host.ReadSpreadsheetFile(folder.Write("stop.act", "x").c_str(), 1, &table, nullptr, false, nullptr));
    EXPECT_EQ(host.GetErrorMessage(), "");
}

TEST_F(DriverTest, ProgressBarGoesAlsoWhenTheReadThrows) {
    host.said.clear();
    EXPECT_FALSE(
        host.ReadSpreadsheetFile(folder.Write("throw.act", "x").c_str(), 1, &table, nullptr, false, nullptr));
    EXPECT_NE(host.said.find("stop"), std::string::npos) << host.said;
}

TEST_F(DriverTest, ProgressBarThatThrowsFailsTheRead) {
    host.stoppingThrows = true;
    for (const char* name : {"good.act", "throw.act"}) {
        EXPECT_FALSE(Read(name)) << name;
        EXPECT_EQ(host.GetErrorMessage(), "Exception during file reading. Import will be aborted.") << name;
    }
}

TEST_F(DriverTest, NoNameIsNoFile) {
    int choice = 1;
    ReadErrors error = ReadOk;
    EXPECT_FALSE(host.CheckFilesBeforeRead(nullptr, choice, error, true));
    EXPECT_EQ(error, ReadFileMissing);
    EXPECT_FALSE(host.ReadSpreadsheetFile(nullptr, 1, &table, nullptr, false, nullptr));
    ImportDLLLoader formats;
    formats.Init(nullptr);
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        const std::string name = formats.GetInfo(i)->formatName;
        if (name != "Acting File" && name != "Many File") {
            EXPECT_FALSE(host.ReadSpreadsheetFile(nullptr, i, &table, nullptr, true, nullptr)) << name;
        }
    }
    for (const char* writer : {"Text File", "DIF File", "DIF File(OEM)", "Matlab File"}) {
        EXPECT_FALSE(host.WriteSpreadsheetFile(nullptr, WriterOf(writer), &table, nullptr)) << writer;
    }
}

TEST_F(DriverTest, NoTableAtAllIsWrittenAsOneWithoutCells) {
    for (const char* format : {"Text File", "DIF File", "DIF File(OEM)", "Matlab File"}) {
        host.WriteSpreadsheetFile(folder.Path("empty.out").c_str(), WriterOf(format), nullptr, nullptr);
    }
    SUCCEED() << "what the writers make of it is theirs; none may end the host";
}
