#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "base/ReadContext.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "instrument/GalacticSPCFile.h"
#include "table/TableData.h"
#include "tests/instrument/SPCBuilder.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

/** The complete reading of one selection. */
class SPCCompleteTest : public testing::Test {
protected:
    int Read(const std::string& paths, NvImportOpenOptions* options = nullptr) {
        reader = std::make_unique<GalacticSPCFile>();
        context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
        reader->SetContext(context);
        table.Clear();
        reader->Open(true, paths.c_str(), options);
        return reader->Read(&table);
    }
    int ReadBytes(const std::string& bytes, NvImportOpenOptions* options = nullptr) {
        return Read(folder.Write("a.spc", bytes), options);
    }
    std::string Row(int row) {
        std::string cells;
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            cells += (col == 1 ? "" : "|") + table.GetString(col, row);
        }
        return cells;
    }
    std::string Fact(const std::string& name) {
        for (const FileContents::Fact& fact : reader->ListFacts()) {
            if (fact.name == name) {
                return fact.value;
            }
        }
        return "none";
    }
    std::string Notes() const {
        std::string texts;
        for (const karta::Note& note : context->notes.GetAll()) {
            texts += note.text + "\n";
        }
        return texts;
    }

    TempFolder folder;
    std::unique_ptr<GalacticSPCFile> reader;
    std::shared_ptr<karta::ReadContext> context;
    TableData table;
};

// An X array and as many Y values.
std::string Pairs(const std::vector<float>& xs, const std::vector<float>& ys) {
    return SPCValues(xs) + SPCValues(ys);
}

SPCBuilder PairsFile() {
    SPCBuilder file;
    file.flags = SPCMulti | SPCXYPairs | SPCXArray;
    file.numPoints = 0;
    file.numSubFiles = 3;
    file.xType = 9;
    file.subFiles = {{Pairs({10, 12}, {1, 2}), -128, 0, 0.5F, 0, 2},
                     {Pairs({10, 13, 14}, {3, 4, 5}), -128, 1, 1.5F, 0, 3},
                     {Pairs({10, 12}, {6, 7}), -128, 2, 2.5F, 0, 2}};
    return file;
}

}  // namespace

TEST_F(SPCCompleteTest, TableHasTheClassicLayoutWithTypes) {
    SPCBuilder file;
    file.date = SPCDate(2025, 9, 17, 13, 42);
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(Row(1), "Primary ID|Name|Date|t 1|t 2|t 3");
    EXPECT_EQ(Row(2), "1||cm-1|1|2|3");
    EXPECT_EQ(Row(3), "2|a|2025-09-17T13:42:00|0.125|0.5|-0.75");
    EXPECT_EQ(table.GetKind(3, 3), TableData::DateTime);
    EXPECT_EQ(context->shape.axisRow, 2);
    EXPECT_EQ(context->shape.firstBlockColumn, 4);
    EXPECT_EQ(context->shape.axisQuantity, "wavenumber");
    EXPECT_EQ(context->shape.valueQuantity, "absorbance");
    EXPECT_EQ(reader->GetNumRows(), 3);
    EXPECT_EQ(reader->GetNumCols(), 6);
}

TEST_F(SPCCompleteTest, FixedPointOf32BitsKeepsItsDigits) {
    SPCBuilder file;
    file.exponent = 4;
    file.subFiles = {{SPCValues<std::int32_t>({1, 123456789, -5})}};
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(table.GetKind(5, 3), TableData::Double);
    EXPECT_EQ(table.GetFloatValue(5, 3), 123456789.0 / 268435456.0);
}

TEST_F(SPCCompleteTest, SpectraOfOneAxisHaveTheirZAndW) {
    SPCBuilder file;
    file.flags = SPCMulti;
    file.numSubFiles = 2;
    file.subFiles = {{SPCValues<float>({1, 2, 3}), -128, 0, 0.0F, 0, 0, 7.0F},
                     {SPCValues<float>({4, 5, 6}), -128, 1, 1.5F, 0, 0, 8.0F}};
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(Row(1), "Primary ID|Name|Date|Z|W|t 1|t 2|t 3");
    EXPECT_EQ(Row(4), "3|a_2||1.5|8|4|5|6");
}

TEST_F(SPCCompleteTest, IntervalsChooseByTheArrayOfXItself) {
    SPCBuilder file;
    file.flags = SPCXArray;
    file.numPoints = 5;
    file.lastX = 100.0;
    file.xArray = {1, 2, 3, 50, 100};
    file.subFiles = {{SPCValues<float>({10, 20, 30, 40, 50})}};
    TestOptions options{{"IncludeAllObservations", "0"},
                        {"NumberOfIncludedIntervals", "2"},
                        {"IncludeXStartPt", "2,500"},
                        {"IncludeXEndPt", "60,600"}};
    ASSERT_EQ(ReadBytes(file.Build(), options.Get()), 0);
    EXPECT_EQ(Row(2), "1||cm-1|2|3|50");
    EXPECT_EQ(Row(3), "2|a||20|30|40");
    EXPECT_EQ(Notes(), "no point of the axis lies in the interval from 500 to 600: it goes from 1 to 100\n");
    TestOptions means{{"IncludeAllObservations", "0"},
                      {"NumberOfIncludedIntervals", "1"},
                      {"UseAverage", "2"},
                      {"IncludeXStartPt", "2"},
                      {"IncludeXEndPt", "60"}};
    ASSERT_EQ(ReadBytes(file.Build(), means.Get()), 0);
    EXPECT_EQ(Row(2), "1||cm-1|2.5");
    EXPECT_EQ(Row(3), "2|a||25");
    EXPECT_EQ(Notes(), "1 point at the end of an interval is left out: fewer than the 2 of a mean\n");
}

TEST_F(SPCCompleteTest, SpectraWithXOfTheirOwnAreParts) {
    ASSERT_EQ(ReadBytes(PairsFile().Build()), 0);
    EXPECT_EQ(Row(2), "1||m/z||10|12");
    EXPECT_EQ(Row(3), "2|a_1||0.5|1|2");
    EXPECT_EQ(Row(4), "3|a_3||2.5|6|7");
    EXPECT_EQ(table.GetNumberOfRows(), 4);
    EXPECT_EQ(Notes(), "spectrum 2 of the list, on an axis of its own, is not in this table\n");
    EXPECT_EQ(reader->ListParts().size(), 3U);
    EXPECT_EQ(reader->ListParts()[1].cols, 3);
    TestOptions second{{CompleteOptions::Part, "a_2"}};
    ASSERT_EQ(ReadBytes(PairsFile().Build(), second.Get()), 0);
    EXPECT_EQ(Row(1), "Primary ID|Name|Date|Z|t 10|t 13|t 14");
    EXPECT_EQ(Row(3), "2|a_2||1.5|3|4|5");
    TestOptions all{{CompleteOptions::Part, "all"}};
    ASSERT_EQ(ReadBytes(PairsFile().Build(), all.Get()), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 7) << "each axis has its row";
    EXPECT_EQ(Row(4), "3||m/z||10|13|14");
    EXPECT_EQ(Row(7), "6|a_3||2.5|6|7|");
    TestOptions none{{CompleteOptions::Part, "9"}};
    EXPECT_EQ(ReadBytes(PairsFile().Build(), none.Get()), GalacticSPCFile::StatusNoSuchPart);
}

TEST_F(SPCCompleteTest, DirectoryLeadsToASubFileThatWasWrittenAnew) {
    SPCBuilder file = PairsFile();
    const std::string before = file.Build();
    SPCBuilder anew = PairsFile();
    anew.subFiles = {{Pairs({10, 13, 14}, {30, 40, 50}), -128, 1, 1.5F, 0, 3}};
    const std::string last = anew.Build().substr(512);
    file.numPoints = static_cast<std::int32_t>(before.size() + last.size());
    ByteBuilder directory;
    directory.U32(512).U32(48).Float(0.5F);
    directory.U32(static_cast<std::uint32_t>(before.size())).U32(56).Float(1.5F);
    directory.U32(7).U32(48).Float(2.5F);
    TestOptions second{{CompleteOptions::Part, "2"}};
    ASSERT_EQ(ReadBytes(file.Build() + last + directory.Bytes(), second.Get()), 0);
    EXPECT_EQ(Row(3), "2|a_2||1.5|30|40|50");
    EXPECT_NE(Notes().find("read from there: 2"), std::string::npos);
    EXPECT_NE(Notes().find("read in their order: 3"), std::string::npos);
}

TEST_F(SPCCompleteTest, OldFileHasAllItsSpectra) {
    OldSPCBuilder file;
    file.flags = SPCMulti | SPCInt16;
    file.exponent = 3;
    ByteBuilder more;
    for (const int exponent : {1, 2}) {
        more.U8(0)
            .Put(static_cast<std::int8_t>(exponent))
            .I16(exponent)
            .Float(0.5F)
            .PadTo(more.Size() / 38 * 38 + 32);
        more.Text(SPCValues<std::int16_t>({16384, -16384, 1}));
    }
    file.values = SPCValues<std::int16_t>({16384, 8192, 0}) + more.Bytes();
    const std::string bytes = file.Build();
    ASSERT_EQ(ReadBytes(bytes), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 5);
    EXPECT_EQ(Row(4), "3|a_2||0.5|0.5|-0.5|3.0517578e-05");
    EXPECT_EQ(Row(5).substr(0, 12), "4|a_3||0.5|1");
}

TEST_F(SPCCompleteTest, OldFileMayWriteTheMarkOfFloatsWithoutItsSign) {
    OldSPCBuilder file;
    file.exponent = 128;
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(Row(3), "2|a||0.125|0.5|-0.75");
}

TEST_F(SPCCompleteTest, BigEndianFilesAreRead) {
    SPCBuilder file;
    file.version = 'L';
    file.flags = SPCMulti;
    file.numSubFiles = 2;
    file.date = SPCDate(2025, 9, 17, 13, 42);
    file.log = "SCANS=16";
    file.subFiles = {{SPCValues<std::int32_t>({1 << 29, -1, 0}, true), 4, 0, 0.5F, 1.5F, 0, 3.0F},
                     {SPCValues<float>({4, 5, 6}, true), -128, 1, 1.5F, 0, 0, 3.0F}};
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(Row(2), "1||cm-1|||1|2|3");
    EXPECT_EQ(Row(3).substr(0, 31), "2|a_1|2025-09-17T13:42:00|0.5|3");
    EXPECT_EQ(table.GetFloatValue(6, 3), 2.0);
    EXPECT_EQ(table.GetFloatValue(7, 3), -1.0 / 268435456.0);
    EXPECT_EQ(Row(4), "3|a_2|2025-09-17T13:42:00|1.5|3|4|5|6");
    EXPECT_EQ(Fact("SCANS"), "16");
}

TEST_F(SPCCompleteTest, BigEndianPairsAndArraysOfXAreRead) {
    SPCBuilder file;
    file.version = 'L';
    file.flags = SPCXArray | SPCInt16;
    file.exponent = 16;
    file.xArray = {1, 4, 9};
    file.subFiles = {{SPCValues<std::int16_t>({7, -8, 9}, true)}};
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(Row(2), "1||cm-1|1|4|9");
    EXPECT_EQ(Row(3), "2|a||7|-8|9");
    file.flags = SPCXYPairs;
    file.exponent = -128;
    file.xArray.clear();
    file.subFiles = {{SPCValues<float>({2, 3, 5, 7}, true), -128, 0, 0, 0, 2}};
    ASSERT_EQ(ReadBytes(file.Build()), 0);
    EXPECT_EQ(Row(2), "1||cm-1|2|3");
    EXPECT_EQ(Row(3), "2|a||5|7");
}

TEST_F(SPCCompleteTest, TextsAreFactsInTheEncodingThatIsAskedFor) {
    SPCBuilder file;
    file.resolution = "4.";
    file.memo = "S\xe4ure";
    file.log = "DET=K\xe4lte\r\n";
    file.logBytes = std::string(10, '\1');
    file.subFiles.front().numScans = 32;
    const std::string bytes = file.Build();
    ASSERT_EQ(ReadBytes(bytes), 0);
    EXPECT_EQ(Fact("memo"), "S\xc3\xa4ure");
    EXPECT_EQ(Fact("DET"), "K\xc3\xa4lte");
    EXPECT_EQ(Fact("resolution"), "4");
    EXPECT_EQ(Fact("scans"), "32");
    EXPECT_EQ(Fact("log without text"), "10 bytes");
    EXPECT_EQ(Notes(),
              "2 texts of a.spc aren't UTF-8 and are taken for Windows-1252; --encoding names another\n");
    TestOptions options{{CompleteOptions::Encoding, "macintosh"}};
    ASSERT_EQ(ReadBytes(bytes, options.Get()), 0);
    EXPECT_EQ(Fact("memo"), "S\xe2\x80\xb0ure");
    EXPECT_EQ(Notes(), "");
    TestOptions unknown{{CompleteOptions::Encoding, "runes"}};
    ASSERT_EQ(ReadBytes(bytes, unknown.Get()), 0);
    EXPECT_EQ(Notes().substr(0, 36), "the encoding \"runes\" isn't known\n2 t");
}

TEST_F(SPCCompleteTest, CutSpectrumGivesWhatIsThere) {
    SPCBuilder file;
    file.numSubFiles = 2;
    const std::string bytes = file.Build();
    ASSERT_EQ(ReadBytes(bytes.substr(0, bytes.size() - 5)), 0);
    EXPECT_EQ(Row(3), "2|a||0.125");
    EXPECT_NE(Notes().find("2 values of spectrum 1 were cut off at byte 551"), std::string::npos) << Notes();
}

TEST_F(SPCCompleteTest, FilesOfDifferentAxesAreParts) {
    SPCBuilder other;
    other.lastX = 5.0;
    const std::string paths = folder.Write("a.spc", SPCBuilder().Build()) + "\n" +
                              folder.Write("b.spc", other.Build()) + "\n" +
                              folder.Write("c.spc", SPCBuilder().Build());
    ASSERT_EQ(Read(paths), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 4);
    EXPECT_EQ(Row(4).substr(0, 4), "3|c|");
    EXPECT_EQ(Notes(), "spectrum 2 of the list, on an axis of its own, is not in this table\n");
}

TEST_F(SPCCompleteTest, NextOpenKeepsNothing) {
    ASSERT_EQ(ReadBytes(PairsFile().Build()), 0);
    reader->Close();
    EXPECT_EQ(reader->Open(true, folder.Path("none.spc").c_str(), nullptr), 0xa00);
    EXPECT_TRUE(reader->ListParts().empty());
    EXPECT_EQ(reader->GetNumRows(), -1);
    EXPECT_EQ(reader->GetNumCols(), -1);
}

TEST_F(SPCCompleteTest, DamagedFilesEndInAStatusOrATable) {
    SPCBuilder file;
    file.flags = SPCMulti;
    file.numSubFiles = 2;
    file.subFiles = {{SPCValues<float>({1, 2, 3}), -128}, {SPCValues<float>({4, 5, 6}), -128, 1}};
    ForEachDamage(file.Build(), [&](const std::string& bytes) { ReadBytes(bytes); });
    ForEachDamage(PairsFile().Build(), [&](const std::string& bytes) { ReadBytes(bytes); });
    ForEachDamage(OldSPCBuilder().Build(), [&](const std::string& bytes) { ReadBytes(bytes); });
}

TEST_F(SPCCompleteTest, ContentProvesAFile) {
    const FormatRecogniser* const recogniser = FormatRecogniser::Find("GalacticSPC File");
    ASSERT_NE(recogniser, nullptr);
    EXPECT_STREQ(recogniser->GetShortName(), "spc");
    const auto prove = [&](const std::string& bytes) {
        const std::string path = folder.Write("x.bin", bytes);
        return recogniser->Recognise(path.c_str(), std::string_view(bytes).substr(0, 4096)) ==
               FormatRecogniser::Evidence::Proof;
    };
    EXPECT_TRUE(prove(SPCBuilder().Build()));
    EXPECT_TRUE(prove(OldSPCBuilder().Build()));
    EXPECT_TRUE(prove(PairsFile().Build()));
    EXPECT_FALSE(prove("OK, this is text and no spectrum at all\n"));
    EXPECT_FALSE(prove(std::string(600, 'M')));
    EXPECT_FALSE(prove(""));
}
