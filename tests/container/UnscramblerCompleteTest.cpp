#include <gtest/gtest.h>

#include "container/UnscramblerFile.h"
#include "frame/FormatRecogniser.h"
#include "tests/container/CompleteRead.h"
#include "tests/support/Damage.h"
#include "tests/support/TempFolder.h"

namespace {

class UnscramblerCompleteTest : public testing::Test {
protected:
    using Read = CompleteRead<UnscramblerFile>;

    std::string File(std::string_view bytes) { return folder.Write("matrix.uns", bytes); }

    TempFolder folder;
};

}  // namespace

TEST_F(UnscramblerCompleteTest, NamesStandAroundTheValues) {
    Read read(File("%2 2 Wheat\n1 2\n3 m\n#L first second\n#C Protein Ash\n"));
    EXPECT_EQ(read.Cells(), "  Protein Ash|1 first 1 2|2 second 3 ");
    EXPECT_EQ(read.table.GetKind(4, 3), TableData::Missing);
    EXPECT_EQ(read.NoteTexts(), "");
    EXPECT_EQ(read.context->shape.nameRow, 1);
    EXPECT_EQ(read.context->shape.firstBlockColumn, 3);
}

TEST_F(UnscramblerCompleteTest, NamesAndCommentsMayStandInFrontOfTheValues) {
    Read read(File(
        "%2 2 Wheat\n#C Protein\nAsh\n# measured by hand\nin spring\n1 2\n#L first second\n3 4\n#x end"));
    EXPECT_EQ(read.Cells(), "  Protein Ash|1 first 1 2|2 second 3 4");
    EXPECT_EQ(read.NoteTexts(), "3 lines of comments in \"Wheat\" are left out\n");
}

TEST_F(UnscramblerCompleteTest, LinesAreOfAnyLength) {
    std::string line;
    for (int i = 1; i <= 1000; ++i) {
        line += std::to_string(i) + ".5 ";
    }
    Read read(File("%1 1000 " + std::string(100, 'n') + "\n" + line));
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.parts.at(0).name, std::string(100, 'n'));
    EXPECT_EQ(read.table.GetNumberOfColumns(), 1000);
    EXPECT_EQ(read.table.GetString(1000, 1), "1000.5");
}

TEST_F(UnscramblerCompleteTest, NumbersAreRoundedRightly) {
    EXPECT_EQ(Read(File("%1 3 T\n0.1 1.005e-300 123456.789012345\n")).Cells(),
              "0.1 1.005e-300 123456.789012345");
    // The classic rules add up the digits behind the point.
    EXPECT_EQ(Read(File("%1 2 T\n-9.973e+23 0.30000000000000004\n")).Cells(), " 0.30000000000000004");
}

TEST_F(UnscramblerCompleteTest, TheNextMatrixEndsTheValues) {
    const std::string path = File("%2 2 A\n1 2\n3\n%1 1 B\n7 8\n%1 1 C\n9");
    Read read(path);
    EXPECT_EQ(read.Cells(), "1 2|3 ");
    EXPECT_EQ(read.NoteTexts(),
              "\"A\" has 3 values where its head tells of 4\n"
              "the table is \"A\"; 2 other matrices are not in this table: B, C\n");
    Read second(path, {{"Part", "B"}});
    EXPECT_EQ(second.Cells(), "7");
    EXPECT_EQ(second.NoteTexts(), "1 value behind the last of \"B\" is left out\n");
    EXPECT_EQ(Read(path, {{"Part", "3"}}).Cells(), "9");
    EXPECT_EQ(Read(path, {{"Part", "D"}}).error, "There is no matrix \"D\" in the file");
}

TEST_F(UnscramblerCompleteTest, TheTableIsAsLargeAsItsValues) {
    Read read(File("%2000000000 2000000000 Lie\n1 2\n"));
    EXPECT_EQ(read.table.GetNumberOfRows(), 1);
    EXPECT_EQ(read.table.GetNumberOfColumns(), 2);
}

TEST_F(UnscramblerCompleteTest, NamesThatAreTooFewAreToldAndNoOthersAreTaken) {
    Read read(File("%2 2 A\n1 2 3 4\n#L first\n%1 1 B\n5\n"));
    EXPECT_EQ(read.Cells(), "1 first 1 2|2  3 4");
    EXPECT_NE(read.NoteTexts().find("\"A\" has 1 name for its 2 rows\n"), std::string::npos);
}

TEST_F(UnscramblerCompleteTest, WordsThatAreNoNumbersAreRefusedByName) {
    Read read(File("%1 2 A\n1 1,5\n"));
    EXPECT_EQ(read.status, UnscramblerFile::StatusData);
    EXPECT_EQ(read.error, "\"1,5\" among the values of \"A\" is no number");
}

TEST_F(UnscramblerCompleteTest, NamesAreUtf8OrElseWindows1252) {
    Read read(
        File("%1 1 A\n1\n#C Gr\xfc\xdf"
             "e\n"));
    EXPECT_EQ(read.Cells(),
              "Gr\u00fc\u00df"
              "e|1");
    EXPECT_EQ(read.NoteTexts(), "names are no UTF-8 and were read as Windows-1252\n");
    EXPECT_EQ(Read(folder.Path("matrix.uns"), {{"Encoding", "cp437"}}).table.GetString(1, 1),
              "Gr\u207f\u2580"
              "e");
}

TEST_F(UnscramblerCompleteTest, DamagedFilesEndInAStatus) {
    ForEachDamage("%2 2 Wheat\n#C a b\n1 2\n3 m\n#L first second\n#x\ny\n%1 2 B\n1e5 .5",
                  [&](const std::string& damaged) {
                      const Read read(File(damaged));
                      EXPECT_TRUE(read.status == 0 || !read.error.empty());
                  });
}

TEST_F(UnscramblerCompleteTest, TheContentProvesTheFormat) {
    const auto isProof = [](std::string_view head) {
        return FormatRecogniser::Find("Unscrambler File")->Recognise("", head) ==
               FormatRecogniser::Evidence::Proof;
    };
    EXPECT_TRUE(isProof("%3 2 Wheat\n12.5 0.5\n"));
    EXPECT_TRUE(isProof("\n %3 2\nm 1\n"));
    EXPECT_TRUE(isProof("%3 2\n#C a b\n"));
    EXPECT_FALSE(isProof("%3 2 Wheat\n"));
    EXPECT_FALSE(isProof("%PDF-1.4\n1 0 obj"));
    EXPECT_FALSE(isProof("% a comment\nx = 1;\n"));
    EXPECT_FALSE(isProof(""));
}
