// The one-call interface, from a file's name to its table.
#include "karta/Read.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>

#include "karta/Detect.h"
#include "karta/Formats.h"
#include "tests/support/BiffBuilder.h"
#include "tests/support/QuotedRows.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

namespace {

using karta::Error;
using karta::ErrorCode;
using karta::Reading;
using karta::ReadOptions;
using karta::Table;

std::string SamplePath(const std::string& name) {
    return KARTA_SOURCE_DIR "/samples/" + name;
}

/** The Error that a step raises; one with an empty text where it raises none. */
Error ErrorOf(const std::function<void()>& step) {
    try {
        step();
    } catch (const Error& error) {
        return error;
    }
    return Error({.code = ErrorCode::BadFile});
}

Error ErrorOfRead(const std::string& path, const ReadOptions& options = {}) {
    return ErrorOf([&] { karta::Read(path, options); });
}

std::string NumbersBelow(int rows) {
    std::string text = "n,square\n";
    for (int i = 1; i <= rows; ++i) {
        text += std::to_string(i) + "," + std::to_string(std::int64_t{i} * i) + "\n";
    }
    return text;
}

}  // namespace

TEST(Read, SpectraAreABlockBehindTheirLabels) {
    const Table spectra = karta::Read(SamplePath("kinetics.spc"));
    EXPECT_EQ(spectra.GetRowCount(), 12);
    ASSERT_NE(spectra.GetBlock(), nullptr);
    EXPECT_EQ(spectra.GetBlock()->GetPointCount(), 350);
    EXPECT_EQ(spectra.GetBlock()->GetAxis().front(), 1100.0);
    EXPECT_NEAR(spectra.GetBlock()->GetNumber(0, 0), 0.2498, 1e-4);
    EXPECT_FALSE(spectra.GetFacts().empty());
}

// Texts, dates and truth values that come in runs are the columns that the same cells make one by one.
TEST(Read, QuotedTextInPiecesIsTheTableOfItsRecords) {
    const TempFolder folder;
    for (const int oddEvery : {0, 173, 5003}) {
        const std::string many = MakeQuotedRows(90'000, oddEvery, "\n");
        const Table fast = karta::Read(folder.Write("fast.txt", many), {.delimiter = "\t"});
        const Table slow = karta::Read(folder.Write("slow.txt", WithTwoTabs(many)), {.delimiter = "\t\t"});
        ASSERT_EQ(fast.GetRowCount(), slow.GetRowCount());
        ASSERT_EQ(fast.GetColumnCount(), slow.GetColumnCount());
        for (std::size_t col = 0; col < slow.GetColumnCount(); ++col) {
            const karta::Column& one = fast.GetColumn(col);
            const karta::Column& other = slow.GetColumn(col);
            EXPECT_EQ(one.GetName(), other.GetName());
            EXPECT_EQ(one.GetType(), other.GetType());
            EXPECT_EQ(one.GetNullCount(), other.GetNullCount());
            EXPECT_EQ(one.GetBuffers().dictionary == nullptr, other.GetBuffers().dictionary == nullptr);
            int differences = 0;
            for (std::int64_t row = 0; row < slow.GetRowCount(); ++row) {
                differences += one.IsMissing(row) != other.IsMissing(row) ||
                                       one.ToText(row) != WithOneTab(other.ToText(row))
                                   ? 1
                                   : 0;
            }
            EXPECT_EQ(differences, 0) << one.GetName() << " " << oddEvery;
        }
    }
}

TEST(Read, TextIsColumnsByName) {
    const Table wine = karta::Read(SamplePath("wine.txt"));
    EXPECT_EQ(wine.GetRowCount(), 24);
    EXPECT_EQ(wine.GetColumn("Alcohol").GetNumber(0), 13.16);
    EXPECT_EQ(wine.GetColumn("Sample").GetText(0), "W001");
}

TEST(Read, PartsGoByNameAndByPlace) {
    const std::string book = SamplePath("excel2007.xlsx");
    const karta::Inspection inspection = karta::Inspect(book);
    EXPECT_EQ(inspection.shortName, "xlsx");
    ASSERT_GE(inspection.parts.size(), 2U);
    const karta::Part& second = inspection.parts[1];
    EXPECT_EQ(second.place, 2);
    const Table byName = karta::Read(book, {.part = second.name});
    const Table byPlace = karta::Read(book, {.part = 2});
    ASSERT_GT(byName.GetWidth(), 0);
    EXPECT_EQ(byName.GetWidth(), byPlace.GetWidth());
    EXPECT_EQ(byName.GetRowCount(), byPlace.GetRowCount());

    const Error error = ErrorOfRead(book, {.part = "No such sheet"});
    EXPECT_EQ(error.GetCode(), ErrorCode::NoSuchPart);
    EXPECT_EQ(error.GetFile(), book);
    EXPECT_EQ(error.GetOption(), "part");
    EXPECT_NE(error.GetAdvice().find("1 '" + inspection.parts[0].name + "'"), std::string::npos)
        << error.what();
    EXPECT_EQ(ErrorOfRead(book, {.part = 99}).GetCode(), ErrorCode::NoSuchPart);
    EXPECT_EQ(ErrorOfRead(book, {.part = -1}).GetCode(), ErrorCode::BadOption);
}

TEST(Read, WhatCannotBeReadSaysWhy) {
    const TempFolder folder;
    const std::string missing = folder.Path("missing.spc");
    const Error error = ErrorOfRead(missing);
    EXPECT_EQ(error.GetCode(), ErrorCode::NotFound);
    EXPECT_EQ(error.GetFile(), missing);
    EXPECT_EQ(std::string(error.what()), missing + ": No such file or directory");
    EXPECT_EQ(ErrorOfRead(folder.Path("")).GetCode(), ErrorCode::NotAFile);
    EXPECT_EQ(ErrorOf([] { karta::Read(std::vector<std::string>()); }).GetCode(), ErrorCode::NotFound);

    const std::string damaged =
        folder.Write("damaged.spc", ReadWholeFile(SamplePath("kinetics.spc")).substr(0, 200));
    const Error broken = ErrorOfRead(damaged, {.format = "spc"});
    EXPECT_EQ(broken.GetCode(), ErrorCode::BadFile);
    EXPECT_EQ(broken.GetFormat(), "GalacticSPC File");
    EXPECT_FALSE(broken.GetText().empty());

    const std::string packed = folder.Write("a.csv", "\x1f\x8b\x08 and so on");
    EXPECT_EQ(ErrorOfRead(packed).GetCode(), ErrorCode::NotDetermined);
    EXPECT_EQ(ErrorOfRead(packed, {.format = "nonsense"}).GetCode(), ErrorCode::UnknownFormat);
}

TEST(Read, MissingPermissionIsNoMissingFile) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    const TempFolder folder;
    const std::string path = folder.Write("secret.csv", "a,b\n1,2\n");
    chmod(path.c_str(), 0);
    EXPECT_EQ(ErrorOfRead(path).GetCode(), ErrorCode::NoPermission);
}

TEST(Read, UnknownOptionSaysWhoKnowsIt) {
    const std::string spc = SamplePath("kinetics.spc");
    const Error error = ErrorOfRead(spc, {.delimiter = ";"});
    EXPECT_EQ(error.GetCode(), ErrorCode::UnknownOption);
    EXPECT_EQ(
        std::string(error.what()),
        spc +
            ": delimiter: GalacticSPC File doesn't know this option; these formats do: Text File, CSV File");
    const Error classic =
        ErrorOfRead(SamplePath("soil.csv"), {.encoding = "utf-8", .reading = Reading::Classic});
    EXPECT_EQ(classic.GetText(), "only the complete reading knows this option");
    EXPECT_EQ(ErrorOfRead(spc, {.rows = {{0, 3}}}).GetCode(), ErrorCode::BadOption);
}

TEST(Read, EncryptedProjectWantsItsPassword) {
    const std::string project = SamplePath("encrypted.kpf");
    EXPECT_EQ(ErrorOfRead(project).GetCode(), ErrorCode::NeedsPassword);
    EXPECT_EQ(ErrorOfRead(project, {.password = "wrong"}).GetCode(), ErrorCode::NeedsPassword);
}

TEST(Read, RowsAreTheTablesOwn) {
    const TempFolder folder;
    const std::string path = folder.Write("a.csv", NumbersBelow(1000));
    const Table some = karta::Read(path, {.rows = {{3, 4}, {999, 2000}}});
    ASSERT_EQ(some.GetRowCount(), 4);
    EXPECT_EQ(some.GetColumn("n").GetNumber(0), 3.0);
    EXPECT_EQ(some.GetColumn("n").GetNumber(3), 1000.0);
    EXPECT_EQ(karta::Read(path, {.rows = {{2000, 3000}}}).GetRowCount(), 0);
}

TEST(Read, HeaderThatIsNoRowIsABadOption) {
    const TempFolder folder;
    const std::string path = folder.Write("a.csv", NumbersBelow(3));
    for (const std::string& file : {path, SamplePath("excel2007.xlsx")}) {
        for (const int header : {-1, 99}) {
            const Error error = ErrorOfRead(file, {.header = header});
            EXPECT_EQ(error.GetCode(), ErrorCode::BadOption) << error.what();
            EXPECT_EQ(error.GetOption(), "header") << error.what();
        }
    }
    EXPECT_EQ(ErrorOfRead(path, {.header = 5}).GetText(), "names row 5 of 4 rows");
    EXPECT_EQ(karta::Read(path, {.header = 4}).GetRowCount(), 0);
    EXPECT_EQ(karta::Read(folder.Write("empty.csv", ""), {.header = 1}).GetRowCount(), 0);
}

TEST(Read, BudgetThatIsTooSmallIsSaidSo) {
    const TempFolder folder;
    const std::string path = folder.Write("a.csv", NumbersBelow(100000));
    const Error error = ErrorOfRead(path, {.budget = 20000});
    EXPECT_EQ(error.GetCode(), ErrorCode::LimitExceeded) << error.what();
    EXPECT_EQ(error.GetAdvice(), "a larger budget allows more");
}

TEST(Read, StopEndsTheRead) {
    std::stop_source source;
    source.request_stop();
    for (const Reading reading : {Reading::Complete, Reading::Classic}) {
        const Error error =
            ErrorOfRead(SamplePath("wine.txt"), {.reading = reading, .stop = source.get_token()});
        EXPECT_EQ(error.GetCode(), ErrorCode::Stopped) << error.what();
    }
}

TEST(Read, WhatProgressRaisesReachesTheCaller) {
    const TempFolder folder;
    const std::string path = folder.Write("a.csv", NumbersBelow(200000));
    double last = -2.0;
    karta::Read(path, {.progress = [&](double share) { last = share; }});
    EXPECT_EQ(last, 1.0);
    EXPECT_THROW(karta::Read(path, {.progress = [](double) { throw std::out_of_range("enough"); }}),
                 std::out_of_range);
}

TEST(Reader, ReadsAnewEachTime) {
    const std::string book = SamplePath("excel2007.xlsx");
    karta::Reader reader(book);
    const Table first = reader.Read(1);
    const Table second = reader.Read(2);
    karta::Reader moved = std::move(reader);
    const Table again = moved.Read(1);
    EXPECT_EQ(first.GetRowCount(), again.GetRowCount());
    EXPECT_EQ(first.GetNotes().size(), again.GetNotes().size());
    EXPECT_EQ(moved.GetFormat(), "Excel2007 File");
    EXPECT_FALSE(moved.GetReason().empty());
    EXPECT_THROW(moved.Read("No such sheet"), Error);
    EXPECT_EQ(moved.Read(1).GetRowCount(), first.GetRowCount());
}

TEST(Reader, BatchesHaveTheirRowsUntilTheyAreEnough) {
    const TempFolder folder;
    const karta::Reader reader(folder.Write("a.csv", NumbersBelow(25)));
    std::vector<std::int64_t> sizes;
    double sum = 0.0;
    reader.ForEachBatch(10, [&](Table& batch) {
        sizes.push_back(batch.GetRowCount());
        for (std::int64_t row = 0; row < batch.GetRowCount(); ++row) {
            sum += batch.GetColumn("n").GetNumber(row);
        }
        return true;
    });
    EXPECT_EQ(sizes, (std::vector<std::int64_t>{10, 10, 5}));
    EXPECT_EQ(sum, 325.0);
    int batches = 0;
    reader.ForEachBatch(10, [&](Table&) { return ++batches < 2; });
    EXPECT_EQ(batches, 2);
}

TEST(Inspect, TellsFactsWithUnits) {
    const karta::Inspection found = karta::Inspect(SamplePath("kinetics.spc"));
    EXPECT_EQ(found.format, "GalacticSPC File");
    EXPECT_EQ(found.reason, "proved by the content");
    bool hasNumber = false;
    for (const karta::Fact& fact : found.facts) {
        hasNumber = hasNumber || (fact.number && !fact.unit.empty());
    }
    EXPECT_TRUE(hasNumber);
}

TEST(Detect, EveryVerdictHasItsReason) {
    const karta::Detection found = karta::Detect(SamplePath("kinetics.spc"));
    EXPECT_EQ(found.format, "GalacticSPC File");
    EXPECT_EQ(found.shortName, "spc");
    EXPECT_EQ(found.verdicts.size(), karta::Formats().size());
    for (const karta::FormatVerdict& verdict : found.verdicts) {
        EXPECT_FALSE(verdict.reason.empty()) << verdict.format;
        EXPECT_EQ(verdict.verdict == karta::Verdict::Yes, verdict.format == found.format) << verdict.format;
    }
    const TempFolder folder;
    const karta::Detection none = karta::Detect(folder.Write("a.pdf", "%PDF-1.4\n"));
    EXPECT_FALSE(none.IsDetermined());
    EXPECT_EQ(none.reason, "This is a PDF document, which isn't read.");
    EXPECT_THROW(karta::Detect(folder.Path("missing")), Error);
}

TEST(Formats, AreFoundByNameShortNameAndExtension) {
    const karta::Formats formats;
    ASSERT_NE(formats.Find("galacticspc file"), nullptr);
    EXPECT_EQ(formats.Find("SPC"), formats.Find("GalacticSPC File"));
    EXPECT_EQ(formats.Find("nonsense"), nullptr);
    EXPECT_EQ(formats.Find(""), nullptr);
    const auto withXlsx = formats.FindByExtension("XLSX");
    ASSERT_EQ(withXlsx.size(), 1U);
    EXPECT_EQ(withXlsx.front()->name, "Excel2007 File");
    EXPECT_EQ(formats.FindByExtension(".dat").size(), formats.FindByExtension("dat").size());
    EXPECT_GT(formats.FindByExtension(".dat").size(), 1U);
    for (const karta::Format& format : formats) {
        EXPECT_TRUE(format.canRead) << format.name;
        EXPECT_FALSE(format.shortName.empty()) << format.name;
    }
}

TEST(Formats, OnlyNamedFoldersAreLoadedFrom) {
    // Beside this program lie the modules of other tests, for the loader of the desktop application.
    const std::filesystem::path folder = KARTA_BINARY_DIR "/tests/modules";
    const karta::Formats own;
    for (const karta::Format& format : own) {
        EXPECT_EQ(format.module, own.begin()->module) << format.name;
    }
    EXPECT_EQ(karta::Formats({folder.string() + "/not there"}).size(), own.size());
}

TEST(ReadOptions, RecordKeepsTheChoices) {
    const ReadOptions kept = {.part = "Second",
                              .delimiter = ";",
                              .mergeDelimiters = true,
                              .encoding = "cp850",
                              .header = 3,
                              .decimal = ",",
                              .textColumns = "1,2",
                              .types = false,
                              .dateOrder = "DMY",
                              .rowNames = "ids",
                              .columnNames = "vars",
                              .sideBySide = true,
                              .include = {{1100.0, 1200.5}},
                              .average = 4,
                              .settings = {{"Odd", "a=b"}}};
    const ReadOptions back = ReadOptions::FromRecord(kept.ToRecord());
    EXPECT_EQ(std::get<std::string>(back.part), "Second");
    EXPECT_EQ(back.delimiter, kept.delimiter);
    EXPECT_EQ(back.mergeDelimiters, kept.mergeDelimiters);
    EXPECT_EQ(back.encoding, kept.encoding);
    EXPECT_EQ(back.header, kept.header);
    EXPECT_EQ(back.decimal, kept.decimal);
    EXPECT_EQ(back.textColumns, kept.textColumns);
    EXPECT_EQ(back.types, kept.types);
    EXPECT_EQ(back.dateOrder, kept.dateOrder);
    EXPECT_EQ(back.rowNames, kept.rowNames);
    EXPECT_EQ(back.columnNames, kept.columnNames);
    EXPECT_EQ(back.sideBySide, kept.sideBySide);
    EXPECT_EQ(back.include, kept.include);
    EXPECT_EQ(back.average, kept.average);
    EXPECT_EQ(back.settings, kept.settings);
    EXPECT_EQ(back.reading, Reading::Complete);
    const ReadOptions averaged = ReadOptions::FromRecord(ReadOptions{.average = 2}.ToRecord());
    EXPECT_TRUE(averaged.include.empty());
    EXPECT_EQ(averaged.average, 2);
    EXPECT_EQ(ReadOptions::FromRecord(ReadOptions{.reading = Reading::Classic}.ToRecord()).reading,
              Reading::Classic);
    EXPECT_EQ(ErrorOf([] { ReadOptions::FromRecord("nonsense"); }).GetCode(), ErrorCode::BadOption);
    EXPECT_EQ(ErrorOf([] { (void)ReadOptions{.part = 1, .reading = Reading::Classic}.ToRecord(); }).GetCode(),
              ErrorCode::BadOption);
}

TEST(Read, ErrorTellsTheLineOfAJcampFile) {
    const TempFolder folder;
    const std::string path =
        folder.Write("bad.dx",
                     "##TITLE=a\n##JCAMP-DX=4.24\n##DATA TYPE=INFRARED SPECTRUM\n##NPOINTS=0\n"
                     "##XYDATA=(X++(Y..Y))\n1 2 3\n##END=\n");
    const Error error = ErrorOfRead(path, {.format = "jcamp", .reading = Reading::Classic});
    EXPECT_EQ(error.GetCode(), ErrorCode::BadFile);
    EXPECT_EQ(error.GetPlace().line, 4U) << error.what();
}

TEST(Read, ErrorTellsTheLineOfUnreadableJcampData) {
    const TempFolder folder;
    const std::string path =
        folder.Write("bad.dx", "##TITLE=a\n##JCAMP-DX=4.24\n##DATA TYPE=INFRARED SPECTRUM\n##END=\n");
    const Error error = ErrorOfRead(path, {.format = "jcamp"});
    EXPECT_EQ(error.GetPlace().line, 1U) << error.what();
}

TEST(Read, ErrorTellsTheLineOfACsvFile) {
    const TempFolder folder;
    const std::string path = folder.Write("bad.csv", std::string("a,b\n1,2\n3,\x01\n"));
    const Error error = ErrorOfRead(path, {.format = "csv", .reading = Reading::Classic});
    EXPECT_EQ(error.GetPlace().line, 3U) << error.what();
}

TEST(Read, ErrorTellsThePartOfAWorkbook) {
    const TempFolder folder;
    const std::string office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
    const std::string main = "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    const auto relation = [&](const std::string& type, const std::string& target) {
        return "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
               "<Relationship Id=\"r\" Type=\"" +
               office + "/" + type + "\" Target=\"" + target + "\"/></Relationships>";
    };
    ZipBuilder zip;
    zip.Add("[Content_Types].xml",
            "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"/>");
    zip.Add("_rels/.rels", relation("officeDocument", "xl/workbook.xml"));
    zip.Add("xl/workbook.xml",
            "<workbook " + main + " xmlns:r=\"" + office +
                "\"><sheets><sheet name=\"A\" sheetId=\"1\" r:id=\"r\"/></sheets></workbook>");
    zip.Add("xl/_rels/workbook.xml.rels", relation("worksheet", "worksheets/sheet1.xml"));
    zip.Add("xl/worksheets/sheet1.xml",
            "<worksheet " + main + "><sheetData><row r=\"1\"><c r=\"A1\"><v>1</v></c>");
    const std::string path = folder.Write("bad.xlsx", zip.Build());
    const Error error = ErrorOfRead(path, {.format = "xlsx"});
    EXPECT_EQ(error.GetPlace().part, "xl/worksheets/sheet1.xml") << error.what();
    EXPECT_EQ(error.GetPlace().cell, "A!A1") << error.what();
}

TEST(Read, ErrorTellsTheRecordOfAMatFile) {
    const TempFolder folder;
    // Two doubles are promised, one is there.
    std::string bytes(20, '\0');
    bytes[4] = 2;
    bytes[8] = 1;
    bytes[16] = 2;
    const std::string path =
        folder.Write("bad.mat", bytes + "A" + std::string(1, '\0') + std::string(8, '\0'));
    const Error error = ErrorOfRead(path, {.format = "mat"});
    EXPECT_EQ(error.GetPlace().record, 1U) << error.what();
}

TEST(Read, ErrorTellsTheLastCellOfADamagedSheet) {
    const TempFolder folder;
    WorkbookBuilder book;
    book.Sheet("Results", 9, 2, BiffBuilder().Number(0, 0, 1.0).Number(6, 1, 2.0).Header(0x0203, -1));
    const Error error = ErrorOfRead(folder.Write("bad.xls", book.Build()), {.format = "xls"});
    EXPECT_EQ(error.GetCode(), ErrorCode::BadFile) << error.what();
    EXPECT_EQ(error.GetPlace().cell, "Results!B7") << error.what();
}

TEST(Read, ErrorTellsTheByteOfABinaryFile) {
    const TempFolder folder;
    // The classic reading takes whole records only.
    const auto cut = [&](const std::string& sample, const char* format, std::size_t size) {
        std::ifstream file(SamplePath(sample), std::ios::binary);
        std::string bytes(std::istreambuf_iterator<char>(file), {});
        const std::string path = folder.Write("cut-" + sample, bytes.substr(0, size));
        return ErrorOfRead(path, {.format = format, .reading = Reading::Classic}).GetPlace().byte;
    };
    EXPECT_EQ(cut("kinetics.spc", "spc", 300), 300U);
    EXPECT_EQ(cut("flour.dat", "Brimrose File", 700), 700U);
    EXPECT_TRUE(cut("caffeine.uv", "HPLC ChemStation File", 3000).has_value());
    EXPECT_TRUE(cut("soil-1.0", "opus", 3500).has_value());
    // The start of the last of six records.
    EXPECT_EQ(cut("flour.da", "nsas", 2300), 1920U);
}

TEST(Read, ErrorTellsTheRecordsByteOfALotusSheet) {
    const TempFolder folder;
    const std::string beginning{'\0', '\0', '\2', '\0', '\6', '\4'};
    const std::string dimensions{6, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const std::string unknown{0, 2, 0, 0};
    const std::string path = folder.Write("bad.wk1", beginning + dimensions + unknown);
    const Error error = ErrorOfRead(path, {.format = "lotus", .reading = Reading::Classic});
    EXPECT_EQ(error.GetPlace().byte, beginning.size() + dimensions.size()) << error.what();
}

TEST(Read, ErrorTellsTheLinesByteOfAnUnscramblerMatrix) {
    const TempFolder folder;
    const std::string path = folder.Write("bad.uns", "%2 2 m\n1 2\n3 x\n");
    for (const Reading reading : {Reading::Classic, Reading::Complete}) {
        const Error error = ErrorOfRead(path, {.format = "unscrambler", .reading = reading});
        EXPECT_EQ(error.GetPlace().byte, 11U) << error.what();
    }
}

TEST(Read, ErrorTellsTheLineOfADifFile) {
    const TempFolder folder;
    const std::string path =
        folder.Write("bad.dif", "TABLE\n0,1\n\"\"\nDATA\n0,0\n\"\"\n-1,0\nBOT\nnothing\n");
    for (const Reading reading : {Reading::Classic, Reading::Complete}) {
        const Error error = ErrorOfRead(path, {.format = "dif", .reading = reading});
        EXPECT_EQ(error.GetPlace().line, 9U) << error.what();
    }
}

TEST(Read, ErrorTellsWhereTheHeaderOfANetcdfFileBreaksOff) {
    const TempFolder folder;
    // No dimensions, and an attribute whose type is none.
    const std::string path =
        folder.Write("cut.cdf", std::string("CDF\1\0\0\0\0\0\0\0\0\0\0\0\0", 16) +
                                    std::string("\0\0\0\f\0\0\0\1\0\0\0\4", 12) + std::string(16, 'x'));
    const Error error = ErrorOfRead(path, {.format = "netcdf"});
    ASSERT_TRUE(error.GetPlace().byte.has_value()) << error.what();
    EXPECT_EQ(*error.GetPlace().byte, 36U);
}

TEST(Read, ErrorWithoutAPlaceHasNone) {
    const Error error = ErrorOfRead(SamplePath("wine.txt"), {.format = "spc"});
    EXPECT_FALSE(error.GetPlace().line || error.GetPlace().record || error.GetPlace().byte);
    EXPECT_EQ(error.GetPlace().cell + error.GetPlace().part, "");
}
