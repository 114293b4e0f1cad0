#include "container/NetCDFFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "container/AndiFileReader.h"
#include "frame/SprFileFactory.h"
#include "host/NvSystemInfo.h"
#include "table/TableData.h"
#include "tests/container/Damage.h"
#include "tests/container/NetCDFBuilder.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "NetCDF Files";

class NetCDFFileTest : public testing::Test {
protected:
    std::string Write(const std::string& name, const NetCDFBuilder& file) {
        return folder.Write(name, file.File());
    }
    std::string Failure(const std::string& status, const std::string& text) {
        return std::string("Format \"NetCDF Files\"\nOpen ") + status + "\nError \"" + text + "\"\nClose\n";
    }

    TempFolder folder;
};

NetCDFBuilder WithAttributes(const std::vector<std::string>& names) {
    NetCDFBuilder file;
    for (const std::string& name : names) {
        file.Attribute(name, Chars("1.0"));
    }
    return file;
}

constexpr const char* NotRecognized =
    "The NetCDF template used to create this file is not recognized by KARTA.";
constexpr const char* NoNetCDF = "The file does not seem to be a valid NetCDF file.";

}  // namespace

TEST_F(NetCDFFileTest, TemplatesAreFoundInTheirOrder) {
    const auto templateOf = [&](const std::vector<std::string>& names) {
        return NetCDFFile::GetFileTemplate(Write("t.nc", WithAttributes(names)).c_str());
    };
    EXPECT_EQ(templateOf({"ms_template_revision", "aia_template_revision", "mva_template_revision"}),
              TemplateMva);
    EXPECT_EQ(templateOf({"ms_template_revision", "aia_template_revision"}), TemplateAia);
    EXPECT_EQ(templateOf({"ms_template_revision"}), TemplateMassSpectrometry);
    EXPECT_EQ(templateOf({"Conventions"}), TemplateOther);
    EXPECT_EQ(NetCDFFile::GetFileTemplate(folder.Path("none.nc").c_str()), TemplateNone);
}

TEST_F(NetCDFFileTest, MarkingAttributeMayBeEmptyOrANumber) {
    NetCDFBuilder file;
    file.Attribute("aia_template_revision", Doubles({1.0}));
    EXPECT_EQ(NetCDFFile::GetFileTemplate(Write("n.nc", file).c_str()), TemplateAia);
    NetCDFBuilder empty;
    empty.Attribute("mva_template_revision", Chars(""));
    EXPECT_EQ(NetCDFFile::GetFileTemplate(Write("e.nc", empty).c_str()), TemplateMva);
}

TEST_F(NetCDFFileTest, MarkOfAVariableIsNoMarkOfTheFile) {
    NetCDFBuilder file;
    file.Variable("v", {}, Floats({1})).Attribute("mva_template_revision", Chars("1.0"));
    EXPECT_EQ(NetCDFFile::GetFileTemplate(Write("v.nc", file).c_str()), TemplateOther);
}

TEST_F(NetCDFFileTest, OtherTemplateIsNotRecognized) {
    EXPECT_EQ(ReadTrace(Format, Write("plain.nc", WithAttributes({"Conventions"}))),
              Failure("0x800", NotRecognized));
}

TEST_F(NetCDFFileTest, MassSpectrometryIsRefusedByName) {
    EXPECT_EQ(
        ReadTrace(Format, Write("ms.cdf", WithAttributes({"ms_template_revision"}))),
        Failure("0x800",
                "This NetCDF file contains the raw data from one GcMS run. Such files cannot be imported "
                "by KARTA. Please see Q576 in the knowledge base for further information."));
}

TEST_F(NetCDFFileTest, MessagesNameTheApplication) {
    const std::string name = NvSystemInfo::GetApplicationName();
    NvSystemInfo::SetApplicationName("Other");
    const std::string trace = ReadTrace(Format, Write("plain.nc", WithAttributes({})));
    NvSystemInfo::SetApplicationName(name);
    EXPECT_EQ(trace,
              Failure("0x800", "The NetCDF template used to create this file is not recognized by Other."));
}

TEST_F(NetCDFFileTest, OtherFilesAreNoNetCDF) {
    for (const std::string& bytes :
         {std::string(), std::string("Name\tValue\n"), "\x89HDF\r\n\x1a\n" + std::string(99, 'x')}) {
        EXPECT_EQ(ReadTrace(Format, folder.Write("x.nc", bytes)), Failure("0x801", NoNetCDF));
    }
    EXPECT_EQ(ReadTrace(Format, folder.Path("none.nc")), Failure("0x801", NoNetCDF));
    EXPECT_EQ(ReadTrace(Format, folder.Path("")), Failure("0x801", NoNetCDF));
    EXPECT_EQ(ReadTrace(Format, ""), Failure("0x801", NoNetCDF));
}

TEST_F(NetCDFFileTest, FirstFileOfASelectionDecides) {
    const std::string mva = Write("a.nc", Observations());
    const std::string andi = Write("b.cdf", Chromatogram());
    EXPECT_EQ(ReadTrace(Format, mva + "\n" + andi),
              Failure("0x810", "One or more files seem not to be a valid MVACDF files."));
    EXPECT_EQ(ReadTrace(Format, andi + "\n" + mva),
              Failure("0x822",
                      "Unable to read one or more of the selected files, not all files seem to be valid "
                      "ANDI/chromatography files."));
    EXPECT_EQ(ReadTrace(Format, Write("p.nc", WithAttributes({})) + "\n" + andi),
              Failure("0x800", NotRecognized));
}

TEST_F(NetCDFFileTest, WritingIsTheWrongMode) {
    NetCDFFile reader;
    EXPECT_EQ(reader.Open(false, Write("a.cdf", Chromatogram()).c_str(), nullptr),
              SpreadsheetFile::StatusWrongMode);
    EXPECT_EQ(ErrorOf(reader), "No further information is available.");
    EXPECT_EQ(reader.Open(true, Write("a.cdf", Chromatogram()).c_str(), nullptr),
              SpreadsheetFile::StatusWrongMode)
        << "the status stays until Close";
    reader.Close();
    EXPECT_EQ(reader.Open(true, Write("a.cdf", Chromatogram()).c_str(), nullptr), SpreadsheetFile::StatusOk);
}

TEST_F(NetCDFFileTest, WithoutAReaderThereIsNothingToMeasureOrRead) {
    NetCDFFile reader;
    TableData table;
    EXPECT_EQ(reader.GetNumCols(), -1);
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.EstablishSize(), 1);
    EXPECT_EQ(ErrorOf(reader), "No further information is available.");
    EXPECT_EQ(reader.Read(&table), NetCDFFile::StatusUnknownTemplate);
    EXPECT_EQ(ErrorOf(reader), NotRecognized);
    EXPECT_EQ(reader.ReadGeneralNetCDFFile(&table), 0x800);
}

TEST_F(NetCDFFileTest, LongMessageIsCutToTheBuffer) {
    NetCDFFile reader;
    reader.Open(true, Write("ms.cdf", WithAttributes({"ms_template_revision"})).c_str(), nullptr);
    char buffer[20];
    reader.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "This NetCDF file co");
}

TEST_F(NetCDFFileTest, HostGivesItsOwnReaderOfChromatograms) {
    class OwnReader : public AndiFileReader {
    public:
        int GetUSDConstraints(USDConstraints* constraints) override {
            AndiFileReader::GetUSDConstraints(constraints);
            constraints->includeX = false;
            return 0;
        }
    };
    class OwnFile : public NetCDFFile {
    public:
        SpreadsheetFile* GetAndiFileReader() override { return new OwnReader; }
    };
    OwnFile file;
    ASSERT_EQ(file.Open(true, Write("a.cdf", Chromatogram()).c_str(), nullptr), 0);
    EXPECT_EQ(file.GetNumRows(), 2) << "without the row of times";
}

TEST_F(NetCDFFileTest, FileThatIsLookedAtStaysOpenUntilItsReaderHasReadIt) {
    // What is gone by the time that the reader is made can't be opened a second time.
    class OwnFile : public NetCDFFile {
    public:
        explicit OwnFile(std::string filePath) : path(std::move(filePath)) {}
        SpreadsheetFile* GetAndiFileReader() override {
            std::filesystem::remove(path);
            return NetCDFFile::GetAndiFileReader();
        }

    private:
        std::string path;
    };
    for (const karta::Reading reading : {karta::Reading::Classic, karta::Reading::Complete}) {
        const std::string path = Write("a.cdf", ChromatogramWithPeaks());
        OwnFile file(path);
        auto context = std::make_shared<karta::ReadContext>();
        context->reading = reading;
        file.SetContext(context);
        EXPECT_EQ(file.Open(true, path.c_str(), nullptr), 0);
        EXPECT_GT(file.GetNumCols(), 2);
    }
}

TEST_F(NetCDFFileTest, HostThatCancelsEndsTheOpen) {
    class CancellingReader : public AndiFileReader {
    public:
        int GetUSDConstraints(USDConstraints* /*constraints*/) override {
            return status = StatusAbortedByUser;
        }
    };
    class OwnFile : public NetCDFFile {
    public:
        SpreadsheetFile* GetAndiFileReader() override { return new CancellingReader; }
    };
    OwnFile file;
    EXPECT_EQ(file.Open(true, Write("a.cdf", Chromatogram()).c_str(), nullptr),
              SpreadsheetFile::StatusAbortedByUser);
    EXPECT_EQ(ErrorOf(file), "AbortedByUser");
}

TEST_F(NetCDFFileTest, FactoryKnowsItsFilesByContent) {
    ASSERT_NE(std::unique_ptr<SpreadsheetFile>(NewReader(Format)), nullptr);
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (std::string(SprFileFactory::GetInfo(i)->formatName) == Format) {
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, Write("x.dat", WithAttributes({})).c_str()), KindYes);
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, folder.Write("x.nc", "text").c_str()), KindNo);
        }
    }
}

TEST_F(NetCDFFileTest, TellsWhatAFileHolds) {
    NetCDFFile file;
    EXPECT_TRUE(file.ListFacts().empty());
    ASSERT_EQ(file.Open(true, Write("a.cdf", ChromatogramWithPeaks()).c_str(), nullptr), 0);
    ASSERT_EQ(file.ListParts().size(), 1U);
    EXPECT_EQ(file.ListParts().front().name, "a: Sample 1");
    const auto facts = file.ListFacts();
    EXPECT_EQ(facts.at(4), FileContents::Fact("last time", 4.0, "seconds"));
    EXPECT_EQ(facts.at(6), FileContents::Fact("peaks", 2.0, ""));
}
