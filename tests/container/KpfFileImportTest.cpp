#include "container/KpfFileImport.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "frame/FormatRecogniser.h"
#include "frame/SprFileFactory.h"
#include "host/ImportSpecBase.h"
#include "host/Question.h"
#include "host/project/CompoundFileStreamSource.h"
#include "host/project/NCProgress.h"
#include "host/project/NCProject.h"
#include "host/project/ProjectLayout.h"
#include "karta/internal/ProjectReader.h"
#include "table/TableData.h"
#include "tests/container/Damage.h"
#include "tests/container/ProjectBuilder.h"
#include "tests/support/CompleteTable.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "KARTA project file";

class KpfFileImportTest : public testing::Test {
protected:
    // Temporary files go to a folder of this test's own, where they can be counted.
    KpfFileImportTest() { setenv("TMPDIR", temporary.Path("").c_str(), 1); }
    ~KpfFileImportTest() override {
        unsetenv("TMPDIR");
        NCProgress::SetHandler({});
        Question::SetHandler({});
    }
    std::string Write(const ProjectContents& project, const ProjectWriteOptions& options = {},
                      const std::string& name = "project.kpf") {
        EXPECT_TRUE(WriteProject(folder.Path(name), project, options));
        return folder.Path(name);
    }
    std::string Failure(const std::string& status, const std::string& text) {
        return std::string("Format \"KARTA project file\"\nOpen ") + status + "\nError \"" + text +
               "\"\nClose\n";
    }

    TempFolder temporary;
    TempFolder folder;
};

constexpr const char* SmallTrace =
    "Format \"KARTA project file\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 3\nSetDataSize 3 3\n"
    "Set 2 1 text \"pH\"\nSet 3 1 text \"Sugar\"\n"
    "Set 1 2 text \"Red\"\nSet 2 2 text \"3.5\"\nSet 3 2 text \"0.1\"\n"
    "Set 1 3 text \"White\"\nSet 2 3 text \"\"\nSet 3 3 text \"1e-07\"\n"
    "Read 0x0\nClose\n";

constexpr const char* Damaged = "The file is damaged or not a KARTA project.";
constexpr const char* NotDecrypted = "The file could not be decrypted.";
constexpr const char* NotRead = "The file could not be read.";
constexpr const char* NoDataSet = "The dataset could not be read.";
constexpr const char* NoInformation = "No further information available.";

/** Notes what a reader tells of the table's layout, a line each. */
class NotedSpec : public ImportSpecBase {
public:
    void SetSpecSize(int rows, int columns) override { Note("size", rows, columns); }
    void SetColumnRole(int column, int role) override { Note("column", column, role); }
    void SetRowRole(int row, int role) override { Note("row", row, role); }
    void SetDateTimeFormat(int column, const char* dateFormat, const char* timeFormat, int origin, int unit,
                           int resolution) override {
        Note("dates", column, origin);
        notes += std::string(dateFormat) + " " + timeFormat + " " + std::to_string(unit) + " " +
                 std::to_string(resolution) + "\n";
    }
    std::string notes;

private:
    void Note(const std::string& what, int first, int second) {
        notes += what + " " + std::to_string(first) + " " + std::to_string(second) + "\n";
    }
};

std::string CellsWith(KpfFileImport& reader, const std::string& path) {
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0);
    std::string cells;
    for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            cells += std::string("[") + table.GetText(col, row) + "]";
        }
    }
    return cells;
}

int FilesOfPrefix(const std::string& prefix) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path())) {
        count += entry.path().filename().string().starts_with(prefix) ? 1 : 0;
    }
    return count;
}

ProjectContents TwoDataSets() {
    ProjectContents project = SmallProject();
    project.dataSets.push_back(SmallDataSet(7, "Beers", {NamedVariable("Alcohol")}, {"Ale"}, {{5.5F}}));
    return project;
}

}  // namespace

TEST_F(KpfFileImportTest, ReadsADatasetBehindItsIds) {
    EXPECT_EQ(ReadTrace(Format, Write(SmallProject()), {.withRows = true}), SmallTrace);
}

TEST_F(KpfFileImportTest, ProjectOfThePreviousFormatIsConvertedInPlace) {
    EXPECT_EQ(ReadTrace(Format, Write(SmallProject(), {.version = 5})), SmallTrace);
}

TEST_F(KpfFileImportTest, ProjectsOfOldAreRewritten) {
    for (const int version : {0, 1, 4}) {
        EXPECT_EQ(ReadTrace(Format, Write(SmallProject(), {.version = version})), SmallTrace) << version;
    }
}

TEST_F(KpfFileImportTest, RewrittenProjectGoesWithTheReader) {
    const int before = FilesOfPrefix("kpf");
    const std::string path = Write(SmallProject(), {.version = 4});
    {
        KpfFileImport reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        EXPECT_EQ(FilesOfPrefix("kpf"), before + 1);
        reader.Close();
        EXPECT_EQ(FilesOfPrefix("kpf"), before);
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    }
    EXPECT_EQ(FilesOfPrefix("kpf"), before) << "deleted without Close";
}

TEST_F(KpfFileImportTest, OtherFilesAreNoProjects) {
    EXPECT_EQ(ReadTrace(Format, folder.Path("none.kpf")), Failure("0x64", Damaged));
    EXPECT_EQ(ReadTrace(Format, folder.Write("text.kpf", "text")), Failure("0x64", Damaged));
    EXPECT_EQ(ReadTrace(Format, folder.Path("")), Failure("0x64", Damaged));
}

TEST_F(KpfFileImportTest, CompoundFileOfAnotherKindCannotBeConverted) {
    const int before = FilesOfPrefix("kpf");
    EXPECT_EQ(ReadTrace(Format, Write({}, {.version = 0})), Failure("0x67", NoDataSet))
        << "an old project without datasets";
    std::string bytes = ReadWholeFile(Write(SmallProject(), {.version = 0}));
    // The name of the only stream in UTF-16: another stream is no project.
    const std::size_t name = bytes.find(std::string("D\0a\0t\0a\0s\0", 10));
    ASSERT_NE(name, std::string::npos);
    bytes[name] = 'X';
    EXPECT_EQ(ReadTrace(Format, folder.Write("other.kpf", bytes)), Failure("0x68", NoInformation));
    EXPECT_EQ(FilesOfPrefix("kpf"), before);
}

TEST_F(KpfFileImportTest, UnknownVersionIsNotRead) {
    EXPECT_EQ(ReadTrace(Format, Write(SmallProject(), {.version = 7})), Failure("0x66", NotRead));
}

TEST_F(KpfFileImportTest, MissingStreamsAreNotRead) {
    const std::string good = ReadWholeFile(Write(SmallProject()));
    const auto without = [&](const std::string& name) {
        std::string bytes = good;
        std::string wide;
        for (const char c : name) {
            wide += c;
            wide += '\0';
        }
        bytes[bytes.find(wide + std::string(2, '\0'))] = '-';
        return ReadTrace(Format, folder.Write("without.kpf", bytes));
    };
    EXPECT_EQ(without("Project"), Failure("0x66", NotRead));
    EXPECT_EQ(without("DataSet 1"), Failure("0x67", NoDataSet));
    EXPECT_EQ(without("ProjectVersion"), Failure("0x68", NoInformation)) << "then it is taken for an old one";
}

TEST_F(KpfFileImportTest, ProjectWithoutDatasetsHasNone) {
    EXPECT_EQ(ReadTrace(Format, Write({})), Failure("0x67", NoDataSet));
}

TEST_F(KpfFileImportTest, EncryptedProjectNeedsADerivedClass) {
    EXPECT_EQ(ReadTrace(Format, Write(SmallProject(), {.password = "secret"})),
              Failure("0x65", NotDecrypted));
}

TEST_F(KpfFileImportTest, RightPasswordOpensEveryLayout) {
    for (const int version : {6, 5, 4, 0}) {
        karta::ProjectReader reader("secret");
        EXPECT_EQ(CellsWith(reader, Write(SmallProject(), {.version = version, .password = "secret"})),
                  "[][pH][Sugar][Red][3.5][0.1][White][][1e-07]")
            << version;
    }
}

TEST_F(KpfFileImportTest, WrongPasswordDoesNotDecrypt) {
    const std::string path = Write(SmallProject(), {.password = "secret"});
    for (const char* password : {"", "Secret", "secret "}) {
        karta::ProjectReader reader(password);
        EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0x65) << password;
        EXPECT_EQ(ErrorOf(reader), NotDecrypted);
    }
}

TEST_F(KpfFileImportTest, HostThatBelievesAWrongPasswordReadsNothing) {
    class Believing : public KpfFileImport {
    public:
        bool SetPassword(CompundFileBase& file, std::string& password) override {
            password = "wrong";
            file.SetPassword(password.c_str());
            return true;
        }
    };
    Believing current;
    EXPECT_EQ(current.Open(true, Write(SmallProject(), {.password = "secret"}).c_str(), nullptr), 0x66);
    Believing old;
    EXPECT_EQ(old.Open(true, Write(SmallProject(), {.version = 3, .password = "secret"}).c_str(), nullptr),
              0x68);
}

TEST_F(KpfFileImportTest, VersionIsBoundToASealedProject) {
    std::string bytes = ReadWholeFile(Write(SmallProject(), {.version = 6, .password = "secret"}));
    // The only stream of two bytes: the version, where the file has it.
    const std::size_t place = bytes.find(std::string("\6\0", 2) + std::string(60, '\0'));
    ASSERT_NE(place, std::string::npos);
    for (const char version : {'\5', '\7', '\4'}) {
        bytes[place] = version;
        karta::ProjectReader reader("secret");
        EXPECT_EQ(reader.Open(true, folder.Write("changed.kpf", bytes).c_str(), nullptr), 0x65)
            << static_cast<int>(version);
    }
}

TEST_F(KpfFileImportTest, ProjectOfTheFirstSchemeIsStillRead) {
    karta::ProjectReader reader("yeast");
    EXPECT_EQ(
        CellsWith(reader, std::string(KARTA_SOURCE_DIR) + "/tests/container/encrypted-first-scheme.kpf"),
        "[][pH][Sugar][Red][3.5][0.1][White][-99][1e-07]");
    karta::ProjectReader wrong("Yeast");
    const std::string path = std::string(KARTA_SOURCE_DIR) + "/tests/container/encrypted-first-scheme.kpf";
    EXPECT_EQ(wrong.Open(true, path.c_str(), nullptr), 0x65);
}

TEST_F(KpfFileImportTest, CostsThatAProjectMayNotAskForAreRefused) {
    const std::string good = ReadWholeFile(Write(SmallProject(), {.password = "secret"}));
    // Scheme 2, 3 passes over 64 MB.
    const std::size_t place = good.find(std::string("\2\0\3\0\0\0\0\0\0\4", 10));
    ASSERT_NE(place, std::string::npos);
    const auto statusOf = [&](std::size_t offset, char value) {
        std::string bytes = good;
        bytes[place + offset] = value;
        karta::ProjectReader reader("secret");
        return reader.Open(true, folder.Write("costs.kpf", bytes).c_str(), nullptr);
    };
    EXPECT_EQ(statusOf(2, 9), 0x65) << "passes";
    EXPECT_EQ(statusOf(2, 0), 0x65) << "no pass";
    EXPECT_EQ(statusOf(10, 1), 0x65) << "4 GB and more";
    EXPECT_EQ(statusOf(9, 0x11), 0x65) << "272 MB";
    EXPECT_EQ(statusOf(0, 3), 0x65) << "a scheme of later";
}

TEST_F(KpfFileImportTest, NoMemoryForTheKeyIsAStatus) {
    const std::string path = Write(SmallProject(), {.password = "secret"});
    const pid_t child = fork();
    if (child == 0) {
        karta::ProjectReader reader("secret");
        struct rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        std::ifstream pages("/proc/self/statm");
        rlim_t size = 0;
        pages >> size;
        limit.rlim_cur = size * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (16U << 20);
        if (setrlimit(RLIMIT_AS, &limit) != 0) {
            _exit(1);
        }
        const bool isStatus = reader.Open(true, path.c_str(), nullptr) == 0x69;
        _exit(isStatus && ErrorOf(reader) == "There is not enough memory for the project's key." ? 0 : 2);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(KpfFileImportTest, MinusNinetyNineIsAValue) {
    for (const int version : {6, 5, 4}) {
        ProjectContents project;
        project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
        project.dataSets.push_back(SmallDataSet(1, "a", {NamedVariable("T")}, {"o"}, {{-99.0F}}));
        karta::ProjectReader reader("");
        EXPECT_EQ(CellsWith(reader, Write(project, {.version = version})), "[][T][o][-99]") << version;
    }
}

// 50,000 entries on one dataset of 20,000 values: only what is read is converted, and once.
TEST_F(KpfFileImportTest, OnlyTheChosenDatasetOfThePreviousFormatIsConverted) {
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
    project.dataSets.push_back(SmallDataSet(1, "a", {NamedVariable("x")},
                                            std::vector<std::string>(20'000, "o"),
                                            std::vector<std::vector<float>>(20'000, {1.5F})));
    const DataSetContents another = SmallDataSet(1, "a", {}, {}, {});
    const std::string path = folder.Path("many.kpf");
    {
        std::vector<DataSetContents> entries(50'000, another);
        ProjectCatalogue catalogue;
        catalogue.aliasTables = project.aliasTables;
        for (const DataSetContents& entry : entries) {
            catalogue.dataSets.push_back({entry.id, entry.name});
        }
        ASSERT_TRUE(WriteProjectStreams(
            path, {{ProjectVersion::GetVersionInfoStreamName(), std::string("\5\0", 2)},
                   {DataSetStreamName(1), WriteDataSet(project.dataSets[0], ValueOrder::ByVariable)},
                   {ProjectCatalogue::StreamName, WriteCatalogue(catalogue)}}));
    }
    const auto begin = std::chrono::steady_clock::now();
    KpfFileImport reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts().size(), 50'000U);
    EXPECT_TRUE(reader.SelectPart(50'000));
    EXPECT_EQ(reader.GetNumRows(), 20'001);
    // To convert each entry takes minutes; under a sanitizer this takes a second or two.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(KpfFileImportTest, ChangedPieceOfASealedStreamIsFoundOut) {
    const std::string good = ReadWholeFile(Write(SmallProject(), {.password = "secret"}));
    const auto statusOf = [&](const std::string& bytes) {
        karta::ProjectReader reader("secret");
        return reader.Open(true, folder.Write("changed.kpf", bytes).c_str(), nullptr);
    };
    ASSERT_EQ(statusOf(good), 0);
    int refused = 0;
    for (std::size_t i = 512; i < good.size(); i += 97) {
        std::string bytes = good;
        bytes[i] = static_cast<char>(bytes[i] ^ 0x10);
        refused += statusOf(bytes) != 0 ? 1 : 0;
    }
    EXPECT_GT(refused, 0);
}

TEST_F(KpfFileImportTest, LargeStreamsAreSealedInPieces) {
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
    std::vector<std::shared_ptr<VariableInfo>> variables;
    std::vector<std::vector<float>> values(200, std::vector<float>(300));
    for (int variable = 0; variable < 300; ++variable) {
        variables.push_back(NamedVariable("v" + std::to_string(variable)));
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i][299] = static_cast<float>(i);
    }
    project.dataSets.push_back(
        SmallDataSet(1, "Large", variables, std::vector<std::string>(200, "o"), values));
    karta::ProjectReader reader("secret");
    ASSERT_EQ(reader.Open(true, Write(project, {.password = "secret"}).c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(301, 201), "199");
}

TEST_F(KpfFileImportTest, FirstOfSeveralDatasetsIsTaken) {
    EXPECT_EQ(ReadTrace(Format, Write(TwoDataSets())), SmallTrace);
}

TEST_F(KpfFileImportTest, DatasetIsChosenByItsPlace) {
    const std::string path = Write(TwoDataSets());
    EXPECT_EQ(CellsOf(ReadTrace(Format, path, {.part = 2})),
              "Set 2 1 text \"Alcohol\"\nSet 1 2 text \"Ale\"\nSet 2 2 text \"5.5\"\n");
    KpfFileImport reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_FALSE(reader.SelectPart(0));
    EXPECT_FALSE(reader.SelectPart(3));
    ASSERT_EQ(reader.ListParts().size(), 2U);
    EXPECT_EQ(reader.ListParts()[1].name, "Beers");
}

TEST_F(KpfFileImportTest, HostChoosesTheDatasetOrCancels) {
    class Choosing : public KpfFileImport {
    public:
        explicit Choosing(int dataset) : choice(dataset) {}
        int SelectDataset(std::shared_ptr<NCProject> project) override {
            asked = project->SizeDataSets();
            return choice;
        }
        int choice;
        int asked = 0;
    };
    const std::string path = Write(TwoDataSets());
    Choosing second(7);
    EXPECT_EQ(CellsWith(second, path), "[][Alcohol][Ale][5.5]");
    EXPECT_EQ(second.asked, 2);
    Choosing cancelled(0);
    EXPECT_EQ(cancelled.Open(true, path.c_str(), nullptr), 4);
    EXPECT_EQ(ErrorOf(cancelled), "AbortedByUser");
    Choosing absent(5);
    EXPECT_EQ(absent.Open(true, path.c_str(), nullptr), 0x67);
    Choosing unasked(0);
    EXPECT_EQ(unasked.Open(true, Write(SmallProject()).c_str(), nullptr), 0) << "there is one dataset only";
    EXPECT_EQ(unasked.asked, 0);
}

TEST_F(KpfFileImportTest, ConversionShowsItsProgress) {
    std::vector<double> steps;
    NCProgress::SetHandler([&](const std::string& title, double done) {
        EXPECT_EQ(title, "Converting old project");
        steps.push_back(done);
        return false;
    });
    EXPECT_NE(ReadTrace(Format, Write(TwoDataSets(), {.version = 5})).find("Read 0x0"), std::string::npos);
    EXPECT_EQ(steps, (std::vector<double>{0.5, 1.0}));
}

TEST_F(KpfFileImportTest, CancelledConversionIsTheUsersWish) {
    std::string question;
    bool answer = true;
    NCProgress::SetHandler([](const std::string&, double) { return true; });
    Question::SetHandler([&](const std::string& text) {
        question = text;
        return answer;
    });
    const std::string path = Write(TwoDataSets(), {.version = 5});
    EXPECT_EQ(ReadTrace(Format, path), Failure("0x4", "AbortedByUser"));
    EXPECT_EQ(question, "Do you really want to stop? The project will not open.");
    answer = false;
    EXPECT_NE(ReadTrace(Format, path).find("Read 0x0"), std::string::npos) << "the user went on";
}

TEST_F(KpfFileImportTest, VariablesWriteTheirValues) {
    ProjectContents project = SmallProject();
    project.dataSets = {SmallDataSet(
        1, "Kinds", {YesNoVariable("Red?"), HourVariable("When"), NamedVariable("x")}, {"a", "b", "c"},
        {{1, 0, 16777216}, {0, 36.5F, -0.5F}, {2, VariableInfo::MissingValue, 1e30F}})};
    KpfFileImport reader;
    EXPECT_EQ(CellsWith(reader, Write(project)),
              "[][Red?][When][x]"
              "[a][Yes][2001-01-01][16777216]"
              "[b][No][2001-01-02 12:30:00][-0.5]"
              "[c][2][][1e+30]");
}

TEST_F(KpfFileImportTest, SpecLearnsTheRoles) {
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain},
                           {"Batch", AliasTable::KindBatch},
                           {"Phase", AliasTable::KindPhase},
                           {"Unit", AliasTable::KindPlain}};
    DataSetContents dataSet = SmallDataSet(
        1, "Roles",
        {NamedVariable("$Hours"), YesNoVariable("a", 3), HourVariable("b", 1), NamedVariable("c", 3),
         YesNoVariable("d", 2), HourVariable("e", 2), NamedVariable("f", 2)},
        {}, {});
    dataSet.observationIds = {1, 4, 2, 3};
    dataSet.variableIds = {1, 4};
    project.dataSets.push_back(dataSet);
    KpfFileImport reader;
    NotedSpec spec;
    spec.honoured = false;
    ASSERT_EQ(reader.Open(true, Write(project).c_str(), nullptr), 0);
    reader.SetImportSpec(&spec);
    EXPECT_EQ(reader.GetNumRows(), 2);
    EXPECT_EQ(reader.GetNumCols(), 11);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_TRUE(spec.honoured);
    EXPECT_EQ(spec.notes,
              "size 2 11\nrow 1 17\nrow 2 18\n"
              "column 1 5\ncolumn 2 6\ncolumn 3 7\ncolumn 4 8\n"
              "column 5 1\ncolumn 6 3\ncolumn 7 9\ndates 7 36892\nYYYY-MM-DD HH:MM 1 60\ncolumn 8 4\n"
              "column 9 2\ncolumn 10 10\ndates 10 36892\nYYYY-MM-DD HH:MM 1 60\n");
    for (const FileContents::Fact& fact : reader.ListFacts()) {
        if (fact.name == "column roles") {
            EXPECT_EQ(fact.value, "1: 5, 2: 6, 3: 7, 4: 8, 5: 1, 6: 3, 7: 9, 8: 4, 9: 2, 10: 10");
        }
    }
}

TEST_F(KpfFileImportTest, MarkedDatasetGivesItsFirstKindsOneRole) {
    ProjectContents project = SmallProject();
    project.dataSets = {SmallDataSet(1, "Marked",
                                     {NamedVariable("$t"), YesNoVariable("a"), HourVariable("b"),
                                      NamedVariable("c"), NamedVariable("d", 2)},
                                     {}, {})};
    project.dataSets.front().flags = NCDataSet::FlagMarkedVariables;
    KpfFileImport reader;
    NotedSpec spec;
    ASSERT_EQ(reader.Open(true, Write(project).c_str(), nullptr), 0);
    reader.SetImportSpec(&spec);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(spec.notes,
              "size 1 6\nrow 1 17\ncolumn 1 5\ncolumn 2 1\ncolumn 3 3\ncolumn 4 12\ncolumn 5 12\n");
}

TEST_F(KpfFileImportTest, SinkIsToldItsLayout) {
    KpfFileImport reader;
    ASSERT_EQ(reader.Open(true, Write(SmallProject()).c_str(), nullptr), 0);
    TableData table;
    table.layoutDefault = false;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_TRUE(table.layoutDefault);
}

TEST_F(KpfFileImportTest, StateIsTakenOver) {
    const std::string path = Write(SmallProject(), {.version = 2});
    KpfFileImport first;
    ASSERT_EQ(first.Open(true, path.c_str(), nullptr), 0);
    KpfFileImport second(first);
    EXPECT_EQ(first.GetNumRows(), -1) << "it is closed now";
    EXPECT_EQ(second.GetNumRows(), 3);
    KpfFileImport third;
    third = second;
    TableData table;
    EXPECT_EQ(third.Read(&table), 0);
    EXPECT_STREQ(table.GetText(1, 2), "Red");
}

TEST_F(KpfFileImportTest, WritingIsTheWrongMode) {
    KpfFileImport reader;
    EXPECT_EQ(reader.Open(false, "any.kpf", nullptr), SpreadsheetFile::StatusWrongMode);
    EXPECT_EQ(ErrorOf(reader), "Tried to write to the file when it was opened for reading or vice versa.");
}

TEST_F(KpfFileImportTest, WithoutOpenThereIsNothing) {
    KpfFileImport reader;
    TableData table;
    EXPECT_EQ(reader.GetNumCols(), -1);
    EXPECT_FALSE(reader.SelectPart(1));
    EXPECT_TRUE(reader.ListParts().empty());
    EXPECT_TRUE(reader.ListFacts().empty());
    EXPECT_EQ(reader.Read(&table), 0x67);
}

TEST_F(KpfFileImportTest, EveryCompoundFileMayBeAProject) {
    EXPECT_TRUE(KpfFileImport::IsKpf(Write(SmallProject()).c_str()));
    EXPECT_FALSE(KpfFileImport::IsKpf(folder.Write("x.kpf", "text").c_str()));
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (std::string(SprFileFactory::GetInfo(i)->formatName) == Format) {
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, folder.Path("project.kpf").c_str()), KindProbably);
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, folder.Path("x.kpf").c_str()), KindNo);
        }
    }
}

// With KARTA_MAKE_SAMPLES set, the sample and the seeds of the fuzz target are written anew.
TEST_F(KpfFileImportTest, SampleIsWhatTheMakerMakes) {
    const std::string root = KARTA_SOURCE_DIR;
    const std::string sample = root + "/samples/fermentation.kpf";
    if (std::getenv("KARTA_MAKE_SAMPLES") != nullptr) {
        ASSERT_TRUE(WriteProject(sample, SampleProject()));
        ASSERT_TRUE(WriteProject(root + "/samples/encrypted.kpf", SmallProject(), {.password = "yeast"}));
        const std::string corpus = root + "/fuzz/corpus/kpf-file/";
        ASSERT_TRUE(WriteProject(corpus + "today.kpf", SmallProject()));
        ASSERT_TRUE(WriteProject(corpus + "previous.kpf", SmallProject(), {.version = 5}));
        ASSERT_TRUE(WriteProject(corpus + "old.kpf", SmallProject(), {.version = 4}));
    }
    const auto cellsOf = [](const std::string& path) { return CellsOf(ReadTrace(Format, path)); };
    EXPECT_FALSE(cellsOf(sample).empty());
    EXPECT_EQ(cellsOf(sample), cellsOf(Write(SampleProject())));
}

TEST_F(KpfFileImportTest, DamagedProjectsEndInAStatus) {
    for (const int version : {6, 5, 4}) {
        const std::string good = ReadWholeFile(Write(TwoDataSets(), {.version = version}));
        ExpectSettledEndsOfDamaged(Format, "a.kpf", good, 200);
        ExpectSettledEndsOfCut(Format, "a.kpf", good, 61);
    }
}

namespace {

using CompleteProject = CompleteTable<KpfFileImport>;

}  // namespace

TEST_F(KpfFileImportTest, CompleteReadingKeepsTypes) {
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
    auto days = HourVariable("Day");
    days->unit = DateTimeVariableInfo::UnitDay;
    days->timeFormat = "";
    const float missing = VariableInfo::MissingValue;
    project.dataSets.push_back(
        SmallDataSet(1, "Mixed", {NamedVariable("pH"), YesNoVariable("Foam"), HourVariable("Hour"), days},
                     {"a", "b"}, {{3.5F, 1.0F, 25.5F, 2.0F}, {missing, 7.0F, missing, 1e30F}}));
    CompleteProject read(Write(project));
    ASSERT_EQ(read.status, 0);
    EXPECT_EQ(read.Cells(),
              "[][pH][Foam][Hour][Day]\n[a][3.5][TRUE][2001-01-02T01:30:00][2001-01-03]\n"
              "[b][][7][][1e+30]\n");
    EXPECT_EQ(read.table.GetKind(2, 2), TableData::Float);
    EXPECT_EQ(read.table.GetKind(3, 2), TableData::Bool);
    EXPECT_EQ(read.table.GetKind(4, 2), TableData::DateTime);
    EXPECT_EQ(read.table.GetKind(5, 2), TableData::Date);
    EXPECT_EQ(read.table.GetKind(2, 3), TableData::Missing);
    EXPECT_EQ(read.context->shape.nameRow, 1);
    EXPECT_EQ(read.context->shape.firstDataRow, 2);
    EXPECT_EQ(read.context->shape.labelColumns, std::vector<int>{1});
    EXPECT_EQ(read.notes, "");
}

TEST_F(KpfFileImportTest, CompleteReadingTakesDatasetsByNameOrPlaceOrAll) {
    for (const int version : {6, 5, 4}) {
        const std::string path = Write(TwoDataSets(), {.version = version});
        CompleteProject first(path);
        EXPECT_EQ(first.notes, "datasets that are not in this table: \"Beers\"\n") << version;
        EXPECT_EQ(first.table.GetNumberOfRows(), 3);
        EXPECT_EQ(CompleteProject(path, TestOptions{{"Part", "beers"}}).Cells(), "[][Alcohol]\n[Ale][5.5]\n");
        EXPECT_EQ(CompleteProject(path, TestOptions{{"Part", "2"}}).Cells(), "[][Alcohol]\n[Ale][5.5]\n");
        CompleteProject all(path, TestOptions{{"Part", "all"}});
        EXPECT_EQ(all.Cells(),
                  "[][pH][Sugar]\n[Red][3.5][0.1]\n[White][][1e-07]\n[][Alcohol][]\n[Ale][5.5][]\n");
        EXPECT_EQ(all.reader.GetNumRows(), 5);
        EXPECT_EQ(all.reader.GetNumCols(), 3);
        CompleteProject none(path, TestOptions{{"Part", "Ciders"}});
        EXPECT_EQ(none.status, 0x67);
        EXPECT_EQ(ErrorOf(none.reader), "The project has no dataset \"Ciders\".");
    }
}

// The values go from the file to the table without being kept.
TEST_F(KpfFileImportTest, CompleteReadingTwiceGivesTheSame) {
    for (const int version : {6, 5, 4}) {
        CompleteProject read(Write(TwoDataSets(), {.version = version}));
        const std::string cells = read.Cells();
        EXPECT_EQ(cells, "[][pH][Sugar]\n[Red][3.5][0.1]\n[White][][1e-07]\n");
        read.table.Clear();
        EXPECT_EQ(read.reader.Read(&read.table), 0);
        EXPECT_EQ(read.Cells(), cells);
        EXPECT_EQ(read.reader.ListFacts().size(), 6U);
    }
}

namespace {

class ReaderOfSecrets : public karta::ProjectReader {
public:
    ReaderOfSecrets() : ProjectReader(std::string("secret")) {}
};

}  // namespace

// What is wrong with the values shows only while they are handed on.
TEST_F(KpfFileImportTest, CompleteReadingOfAProjectThatWasTamperedWithIsWholeOrAnError) {
    ProjectContents project = SmallProject();
    std::vector<std::string> names;
    std::vector<std::vector<float>> values;
    for (int i = 0; i < 30000; ++i) {
        names.push_back("o" + std::to_string(i));
        values.push_back({static_cast<float>(i)});
    }
    project.dataSets = {SmallDataSet(1, "Many", {NamedVariable("v")}, names, values)};
    const std::string good = ReadWholeFile(Write(project, {.password = "secret"}));
    const std::string cells = CompleteTable<ReaderOfSecrets>(folder.Write("good.kpf", good)).Cells();
    int refusedOnTheWay = 0;
    for (std::size_t at = good.size() / 20; at < good.size(); at += good.size() / 10) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ 1);
        CompleteTable<ReaderOfSecrets> read(folder.Write("tampered.kpf", bytes));
        if (read.status == 0) {
            EXPECT_EQ(read.Cells(), cells) << at;
        } else {
            refusedOnTheWay += read.table.GetNumberOfRows() > 0 ? 1 : 0;
        }
    }
    EXPECT_GT(refusedOnTheWay, 0);
}

TEST_F(KpfFileImportTest, StreamsOfAProjectProveIt) {
    const FormatRecogniser* const recogniser = FormatRecogniser::Find(Format);
    ASSERT_NE(recogniser, nullptr);
    EXPECT_EQ(recogniser->Recognise(Write(SmallProject()).c_str(), {}), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(recogniser->Recognise(Write(SmallProject(), {.version = 4}).c_str(), {}),
              FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(recogniser->Recognise(folder.Write("a.kpf", "no project").c_str(), {}),
              FormatRecogniser::Evidence::None);
}
