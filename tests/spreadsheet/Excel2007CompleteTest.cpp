#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "spreadsheet/Excel2007File.h"
#include "table/TableData.h"
#include "tests/support/BinaryRecords.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

// The complete reading of workbooks: what is in a cell arrives as what it is, in either flavour.

namespace {

constexpr const char* Transitional = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* Strict = "http://purl.oclc.org/ooxml/spreadsheetml/main";
constexpr const char* Office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

std::string Relationship(const std::string& id, const std::string& type, const std::string& target) {
    return "<Relationship Id=\"" + id + "\" Type=\"" + Office + "/" + type + "\" Target=\"" + target + "\"/>";
}

std::string Relationships(const std::string& list) {
    return "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">" + list +
           "</Relationships>";
}

// A workbook as programs write them, part by part.
struct Workbook {
    struct Sheet {
        std::string name;
        std::string part;
        std::string state = {};
        std::string type = "worksheet";
    };

    explicit Workbook(std::vector<Sheet> sheetList) : sheets(std::move(sheetList)) {}
    // One sheet with these rows.
    static Workbook Of(const std::string& rows) { return Workbook({{"Data", Worksheet(rows)}}); }
    static std::string Worksheet(const std::string& rows) {
        return std::string("<worksheet xmlns=\"") + Transitional + "\"><sheetData>" + rows +
               "</sheetData></worksheet>";
    }

    ZipBuilder Parts() const {
        std::string list;
        std::string targets = Relationship("s", "sharedStrings", "sharedStrings.xml") +
                              Relationship("f", "styles", "styles.xml");
        ZipBuilder zip;
        zip.Add("[Content_Types].xml", contentTypes);
        zip.Add("_rels/.rels", Relationships(Relationship("r", "officeDocument", "xl/workbook.xml")));
        for (std::size_t i = 0; i < sheets.size(); ++i) {
            const std::string id = "r" + std::to_string(i + 1);
            list += "<sheet name=\"" + sheets[i].name + "\" sheetId=\"" + id + "\" rel:id=\"" + id + "\"";
            list += sheets[i].state.empty() ? "/>" : " state=\"" + sheets[i].state + "\"/>";
            targets += Relationship(id, sheets[i].type, "sheets/" + id + ".xml");
            if (!sheets[i].part.empty()) {
                zip.AddDeflated("xl/sheets/" + id + ".xml", sheets[i].part);
            }
        }
        zip.Add("xl/workbook.xml", std::string("<workbook xmlns=\"") + Transitional + "\" xmlns:rel=\"" +
                                       Office + "\">" + properties + "<sheets>" + list +
                                       "</sheets></workbook>");
        zip.Add("xl/_rels/workbook.xml.rels", Relationships(targets));
        AddIfThere(zip, "xl/sharedStrings.xml", "sst", sharedStrings);
        AddIfThere(zip, "xl/styles.xml", "styleSheet", styles);
        return zip;
    }
    std::string Build() const { return Parts().Build(); }

    std::vector<Sheet> sheets;
    std::string properties;
    std::string sharedStrings;
    std::string styles;
    std::string contentTypes =
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"><Override "
        "PartName=\"/xl/workbook.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/></"
        "Types>";

private:
    static void AddIfThere(ZipBuilder& zip, const char* name, const std::string& root,
                           const std::string& inside) {
        if (!inside.empty()) {
            zip.Add(name, "<" + root + " xmlns=\"" + Transitional + "\">" + inside + "</" + root + ">");
        }
    }
};

std::string CellFormats(const std::vector<int>& numbers, const std::string& codes = {}) {
    std::string formats;
    for (const int number : numbers) {
        formats += "<xf numFmtId=\"" + std::to_string(number) + "\"/>";
    }
    return "<numFmts>" + codes + "</numFmts><cellXfs>" + formats + "</cellXfs>";
}

const char* NameOf(TableData::Kind kind) {
    static constexpr const char* Names[] = {"missing", "text", "int",  "int64",    "float",    "double",
                                            "bool",    "date", "time", "datetime", "duration", "error"};
    return Names[kind];
}

// What a read brought: the cells that are there, a line each, and the notes.
struct Result {
    int status = 0;
    std::string message;
    std::string cells;
    std::string notes;
    int rows = 0;
    int cols = 0;
};

class Excel2007CompleteTest : public testing::Test {
protected:
    Result Read(const std::string& bytes, NvImportOpenOptions* options = nullptr) {
        const std::string path = folder.Write("book.any", bytes);
        Excel2007File reader;
        const auto context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
        reader.SetContext(context);
        TableData table;
        Result result;
        result.status = reader.Open(true, path.c_str(), options);
        if (result.status == 0) {
            result.status = reader.Read(&table);
        }
        result.message = result.status == 0 ? "" : ErrorOf(reader);
        result.rows = table.GetNumberOfRows();
        result.cols = table.GetNumberOfColumns();
        result.cells = List(table);
        for (const karta::Note& note : context->notes.GetAll()) {
            result.notes += note.text + "\n";
        }
        return result;
    }
    std::string Cells(const Workbook& book) { return Read(book.Build()).cells; }
    // The cells of a sheet with one row of these cells.
    std::string CellsOfRow(const std::string& cells) {
        return Cells(Workbook::Of("<row r=\"1\">" + cells + "</row>"));
    }

    static std::string List(TableData& table) {
        std::ostringstream list;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
                const TableData::Kind kind = table.GetKind(col, row);
                if (kind != TableData::Missing) {
                    list << col << "," << row << " " << NameOf(kind) << " " << table.GetString(col, row)
                         << "\n";
                }
            }
        }
        return list.str();
    }

    TempFolder folder;
};

const Workbook Three({{"Hidden one", Workbook::Worksheet("<row><c><v>1</v></c></row>"), "veryHidden"},
                      {"Data", Workbook::Worksheet("<row><c><v>2</v></c><c><v>3</v></c></row>")},
                      {"More", Workbook::Worksheet("<row/><row><c><v>4</v></c></row>")}});

// The records of a binary part.
class Records {
public:
    Records& Add(unsigned id, const std::string& data = {}) {
        PutRecord(bytes, id, data);
        return *this;
    }
    const std::string& Bytes() const { return bytes.Bytes(); }

private:
    ByteBuilder bytes;
};

std::string Wide(std::u16string_view text) {
    ByteBuilder data;
    data.U32(static_cast<std::uint32_t>(text.size()));
    for (const char16_t unit : text) {
        data.U16(unit);
    }
    return data.Bytes();
}

ByteBuilder At(std::uint32_t column, std::uint32_t style = 0) {
    return ByteBuilder().U32(column).U32(style);
}

// A binary workbook of one sheet, with these records among its cells.
std::string BinaryWorkbook(const Records& cells, bool from1904 = false, bool isOpened = true) {
    Records workbook;
    if (isOpened) {
        workbook.Add(131).Add(153, ByteBuilder().U32(from1904 ? 1 : 0).Bytes());
    }
    workbook.Add(143);
    workbook.Add(156, ByteBuilder().U32(0).U32(1).Text(Wide(u"rId1")).Text(Wide(u"Größe")).Bytes());
    workbook.Add(144).Add(132);
    Records sheet;
    sheet.Add(129).Add(145);
    Records strings;
    strings.Add(159, std::string(8, '\0'))
        .Add(19, std::string(1, '\0') + Wide(u"π\u2028\U0001f363"))
        .Add(160);
    Records styles;
    styles.Add(615, ByteBuilder().U32(9).Bytes())
        .Add(44, ByteBuilder().U16(164).Text(Wide(u"[h]:mm")).Bytes());
    styles.Add(616).Add(617, ByteBuilder().U32(9).Bytes());
    for (const unsigned number : {0U, 14U, 164U}) {
        styles.Add(47, ByteBuilder().U16(0).U16(number).Zeros(12).Bytes());
    }
    styles.Add(618);
    ZipBuilder zip;
    zip.Add("_rels/.rels", Relationships(Relationship("r", "officeDocument", "/xl/workbook.bin")));
    zip.Add("xl/workbook.bin", workbook.Bytes());
    zip.Add("xl/_rels/workbook.bin.rels",
            Relationships(Relationship("rId1", "worksheet", "worksheets/sheet9.bin") +
                          Relationship("s", "sharedStrings", "sharedStrings.bin") +
                          Relationship("f", "styles", "styles.bin")));
    zip.Add("xl/worksheets/sheet9.bin", sheet.Bytes() + cells.Bytes() + Records().Add(146).Bytes());
    zip.Add("xl/sharedStrings.bin", strings.Bytes());
    zip.Add("xl/styles.bin", styles.Bytes());
    return zip.Build();
}

}  // namespace

// Types.

TEST_F(Excel2007CompleteTest, EachTypeOfCellArrivesAsWhatItIs) {
    Workbook book = Workbook::Of(
        "<row r=\"1\"><c r=\"A1\"><v>1.50</v></c><c r=\"B1\" t=\"n\"><v>1.5e-300</v></c>"
        "<c r=\"C1\" t=\"s\"><v>0</v></c><c r=\"D1\" t=\"str\"><f>A1</f><v>result</v></c>"
        "<c r=\"E1\" t=\"inlineStr\"><is><t>inside</t></is></c><c r=\"F1\" t=\"b\"><v>1</v></c>"
        "<c r=\"G1\" t=\"b\"><v>false</v></c><c r=\"H1\" t=\"e\"><v>#N/A</v></c>"
        "<c r=\"I1\" t=\"d\"><v>2021-01-31</v></c><c r=\"J1\" t=\"d\"><v>2021-01-31T10:20:30</v></c></row>");
    book.sharedStrings = "<si><t>00123</t></si>";
    const Result result = Read(book.Build());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.cells,
              "1,1 double 1.5\n2,1 double 1.5e-300\n3,1 text 00123\n4,1 text result\n5,1 text inside\n"
              "6,1 bool TRUE\n7,1 bool FALSE\n8,1 error #N/A\n9,1 date 2021-01-31\n"
              "10,1 datetime 2021-01-31T10:20:30\n");
    EXPECT_EQ(result.notes, "1 cell holds the error #N/A (H1)\n");
}

TEST_F(Excel2007CompleteTest, DatesAreKnownByTheirFormats) {
    Workbook book = Workbook::Of(
        "<row r=\"1\"><c s=\"1\"><v>44227</v></c><c s=\"2\"><v>44227</v></c><c s=\"3\"><v>0.5</v></c>"
        "<c s=\"4\"><v>1.25</v></c><c s=\"5\"><v>3</v></c><c s=\"1\" t=\"n\"><v>44227.5</v></c></row>");
    book.styles = CellFormats({0, 14, 22, 20, 164, 165},
                              "<numFmt numFmtId=\"164\" formatCode=\"[h]:mm\"/>"
                              "<numFmt numFmtId=\"165\" formatCode=\"0 &quot;days&quot;\"/>");
    EXPECT_EQ(Cells(book),
              "1,1 date 2021-01-31\n2,1 datetime 2021-01-31T00:00:00\n3,1 time 12:00:00\n"
              "4,1 duration 30:00:00\n5,1 double 3\n6,1 datetime 2021-01-31T12:00:00\n");
    book.properties = "<workbookPr date1904=\"1\"/>";
    EXPECT_TRUE(
        Cells(book).starts_with("1,1 date 2025-02-01\n2,1 datetime 2025-02-01T00:00:00\n3,1 time 12:00:00\n"
                                "4,1 duration 30:00:00\n"));
}

TEST_F(Excel2007CompleteTest, TextsWithoutCharactersAreTextsAndFormatsAreNothing) {
    const Result result =
        Read(Workbook::Of("<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"/><c r=\"B1\" t=\"str\"><v></v></c>"
                          "<c r=\"C1\" t=\"str\"><f>x</f></c><c r=\"D1\" t=\"s\"/><c r=\"E1\"><v/></c>"
                          "<c r=\"F1\" t=\"n\"/></row><row r=\"9\"><c r=\"Z9\" s=\"1\"/></row>")
                 .Build());
    EXPECT_EQ(result.cells, "1,1 text \n2,1 text \n");
    EXPECT_EQ(result.cols, 2);
    EXPECT_EQ(result.rows, 1);
}

TEST_F(Excel2007CompleteTest, WhatIsNoValueOfItsTypeIsTextAndNoted) {
    const Result result =
        Read(Workbook::Of("<row r=\"1\"><c r=\"A1\"><v>x</v></c><c r=\"B1\" t=\"b\"><v>maybe</v></c>"
                          "<c r=\"C1\" t=\"d\"><v>May</v></c><c r=\"D1\" t=\"other\"><v>y</v></c></row>")
                 .Build());
    EXPECT_EQ(result.cells, "1,1 text x\n2,1 text maybe\n3,1 text May\n4,1 text y\n");
    EXPECT_EQ(
        result.notes,
        "3 cells hold what is no value of the type that the file gives them, and came as text (first: A1)\n");
}

TEST_F(Excel2007CompleteTest, ASharedTextThatIsNotThereIsNoted) {
    Workbook book = Workbook::Of(
        "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>1</v></c><c r=\"B1\" t=\"s\"><v>-1</v></c>"
        "<c r=\"C1\" t=\"s\"><v>x</v></c><c r=\"D1\" t=\"s\"><v>0</v></c></row>");
    book.sharedStrings = "<si><t>there</t></si>";
    const Result result = Read(book.Build());
    EXPECT_EQ(result.cells, "4,1 text there\n");
    EXPECT_EQ(result.notes,
              "3 cells refer to a shared text that isn't in the file, and are missing (first: A1)\n");
}

TEST_F(Excel2007CompleteTest, TextsAreWhole) {
    Workbook book = Workbook::Of(
        "<row r=\"1\"><c t=\"s\"><v>0</v></c><c t=\"s\"><v>1</v></c><c t=\"s\"><v>2</v></c>"
        "<c t=\"s\"><v>3</v></c></row>");
    book.sharedStrings =
        "<si><t>a<!-- c -->b<![CDATA[<c>]]></t></si><si><r><t xml:space=\"preserve\"> rich "
        "</t></r><r><t>text</t></r>"
        "<rPh><t>phonetic</t></rPh></si><si><t>x_x000D_\ny_x005F_x000D_ _x12_</t></si>"
        "<si><t>_xd83c__XDF63_</t></si>";
    const std::string cells = Cells(book);
    EXPECT_EQ(cells,
              "1,1 text ab<c>\n2,1 text  rich text\n3,1 text x\r\ny_x000D_ _x12_\n4,1 text ?_XDF63_\n");
    EXPECT_EQ(
        CellsOfRow("<c t=\"inlineStr\"><is><r><t>a</t></r><rPh><t>p</t></rPh><r><t>_x0041_</t></r></is></c>"
                   "<c t=\"str\"><v>_x0042_</v></c>"),
        "1,1 text aA\n2,1 text B\n");
}

// No table's text goes on behind a NUL.
TEST_F(Excel2007CompleteTest, TheEscapeOfANulStaysAsItIsWritten) {
    EXPECT_EQ(CellsOfRow("<c t=\"inlineStr\"><is><t>a_x0000_b_x0009_c</t></is></c>"),
              "1,1 text a_x0000_b\tc\n");
}

// Where cells stand.

TEST_F(Excel2007CompleteTest, ReferencesMayBeInSmallLetters) {
    EXPECT_EQ(CellsOfRow("<c r=\"b1\"><v>1</v></c><c r=\"aa1\"><v>2</v></c>"),
              "2,1 double 1\n27,1 double 2\n");
}

TEST_F(Excel2007CompleteTest, WhatHasNoReferenceComesAfterTheOneBefore) {
    EXPECT_EQ(
        Cells(Workbook::Of("<row><c><v>1</v></c><c><v>2</v></c></row><row r=\"5\"><c r=\"D5\"><v>3</v></c>"
                           "<c><v>4</v></c></row><row><c><v>5</v></c></row>"
                           "<row><c r=\"B9\"><v>6</v></c></row>")),
        "1,1 double 1\n2,1 double 2\n4,5 double 3\n5,5 double 4\n1,6 double 5\n2,9 double 6\n");
}

TEST_F(Excel2007CompleteTest, RowsOutOfOrderStandAtTheirPlaces) {
    EXPECT_EQ(Cells(Workbook::Of("<row r=\"3\"><c><v>3</v></c></row><row r=\"1\"><c><v>1</v></c></row>")),
              "1,1 double 1\n1,3 double 3\n");
}

TEST_F(Excel2007CompleteTest, PositionsOutsideOfASheetAreDamage) {
    for (const char* rows : {"<row r=\"1048577\"/>", "<row r=\"1048576\"/><row/>",
                             "<row><c r=\"XFD1\"><v>1</v></c><c><v>2</v></c></row>"}) {
        EXPECT_EQ(Read(Workbook::Of(rows).Build()).status, Excel2007File::StatusCorrupt) << rows;
    }
}

// Names and places of parts.

TEST_F(Excel2007CompleteTest, ElementsCountByTheirNamespace) {
    const std::string strict =
        std::string("<m:worksheet xmlns:m=\"") + Strict +
        "\" xmlns:o=\"urn:other\"><m:sheetData><o:row r=\"7\"><o:c><o:v>9</o:v></o:c></o:row>"
        "<m:row r=\"1\"><o:c r=\"A1\"><m:v>8</m:v></o:c><m:c r=\"B1\"><o:v>7</o:v><m:v>1</m:v>"
        "</m:c></m:row></m:sheetData></m:worksheet>";
    EXPECT_EQ(Cells(Workbook({{"Data", strict}})), "2,1 double 1\n");
}

TEST_F(Excel2007CompleteTest, PartsAreFoundInAnyCaseAndWithBackslashes) {
    ZipBuilder zip;
    zip.Add("_Rels\\.rels", Relationships(Relationship("r", "officeDocument", "/XL/Book.xml")));
    zip.Add("xl\\book.xml", std::string("<workbook xmlns=\"") + Transitional + "\" xmlns:r=\"" + Office +
                                "\"><sheets><sheet name=\"A\" r:id=\"x\"/></sheets></workbook>");
    zip.Add("xl\\_rels\\book.xml.rels", Relationships(Relationship("X", "worksheet", "../other/./A.xml")));
    zip.Add("Other\\a.XML", Workbook::Worksheet("<row><c><v>1</v></c></row>"));
    EXPECT_EQ(Read(zip.Build()).cells, "1,1 double 1\n");
}

TEST_F(Excel2007CompleteTest, TargetsMayBeWrittenAsAddresses) {
    for (const char* name : {"xl/sheets/my sheet%1.xml", "xl/sheets/my%20sheet%251.xml"}) {
        ZipBuilder zip;
        zip.Add("xl/workbook.xml", std::string("<workbook xmlns=\"") + Transitional + "\" xmlns:r=\"" +
                                       Office +
                                       "\"><sheets><sheet name=\"A\" r:id=\"r1\"/></sheets></workbook>");
        zip.Add("xl/_rels/workbook.xml.rels",
                Relationships(Relationship("r1", "worksheet", "sheets/my%20sheet%251.xml")));
        zip.Add(name, Workbook::Worksheet("<row><c><v>1</v></c></row>"));
        EXPECT_EQ(Read(zip.Build()).cells, "1,1 double 1\n") << name;
    }
}

TEST_F(Excel2007CompleteTest, ContentTellsTheFlavourWhateverTheExtension) {
    EXPECT_EQ(Cells(Workbook::Of("<row><c><v>1</v></c></row>")), "1,1 double 1\n");
    EXPECT_EQ(Read(BinaryWorkbook(Records())).status, 0);
}

TEST_F(Excel2007CompleteTest, ABinaryWorkbookMayBeginWithItsListOfSheets) {
    EXPECT_EQ(Read(BinaryWorkbook(Records(), false, false)).status, 0);
}

TEST_F(Excel2007CompleteTest, TablesWithoutARelationshipLieBesideTheWorkbook) {
    ZipBuilder zip;
    zip.Add("xl/workbook.xml", std::string("<workbook xmlns:r=\"") + Office +
                                   "\"><sheets><sheet name=\"A\" r:id=\"x\"/></sheets></workbook>");
    zip.Add("xl/_rels/workbook.xml.rels", Relationships(Relationship("x", "worksheet", "a.xml")));
    zip.Add("xl/a.xml", Workbook::Worksheet("<row><c t=\"s\"><v>0</v></c><c s=\"0\"><v>1</v></c></row>"));
    zip.Add("xl/sharedStrings.xml", "<sst><si><t>there</t></si></sst>");
    zip.Add("xl/styles.xml", "<styleSheet><cellXfs><xf numFmtId=\"14\"/></cellXfs></styleSheet>");
    EXPECT_EQ(Read(zip.Build()).cells, "1,1 text there\n2,1 date 1900-01-01\n");
}

TEST_F(Excel2007CompleteTest, AnArchiveWithoutAWorkbookIsRefusedByName) {
    const Result result = Read(ZipBuilder().Add("content.xml", "<office/>").Build());
    EXPECT_EQ(result.status, Excel2007File::StatusCorrupt);
    EXPECT_EQ(result.message, "The file is a zip archive but holds no workbook.");
}

// Sheets.

TEST_F(Excel2007CompleteTest, TheFirstVisibleSheetIsReadAndTheOthersAreNoted) {
    const Result result = Read(Three.Build());
    EXPECT_EQ(result.cells, "1,1 double 2\n2,1 double 3\n");
    EXPECT_EQ(result.notes,
              "the table is the sheet \"Data\"; not in it: \"Hidden one\" (hidden), \"More\"\n");
}

TEST_F(Excel2007CompleteTest, PartsAreChosenByNameOrPlace) {
    for (const auto& [part, cells] :
         std::vector<std::pair<std::string, std::string>>{{"hidden one", "1,1 double 1\n"},
                                                          {"3", "1,2 double 4\n"},
                                                          {"More,1", "1,2 double 4\n1,3 double 1\n"}}) {
        TestOptions options{{"Part", part}};
        const Result result = Read(Three.Build(), options.Get());
        EXPECT_EQ(result.cells, cells) << part;
        EXPECT_EQ(result.notes, "") << part;
    }
    TestOptions none{{"Part", "Nowhere"}};
    const Result result = Read(Three.Build(), none.Get());
    EXPECT_EQ(result.status, Excel2007File::StatusBadOptions);
    EXPECT_EQ(result.message, "There is no sheet \"Nowhere\" in the workbook.");
}

TEST_F(Excel2007CompleteTest, AllSheetsAreStackedOrSideBySide) {
    TestOptions stacked{{"Part", "all"}};
    EXPECT_EQ(Read(Three.Build(), stacked.Get()).cells,
              "1,1 double 1\n1,2 double 2\n2,2 double 3\n1,4 double 4\n");
    TestOptions beside{{"Part", "all"}, {"Vertical", "false"}};
    EXPECT_EQ(Read(Three.Build(), beside.Get()).cells,
              "1,1 double 1\n2,1 double 2\n3,1 double 3\n4,2 double 4\n");
}

TEST_F(Excel2007CompleteTest, ClassicPlacesAreUnderstoodToo) {
    TestOptions options{{"Sheets", "2,0"}, {"Vertical", "true"}};
    EXPECT_EQ(Read(Three.Build(), options.Get()).cells, "1,2 double 4\n1,3 double 1\n");
    TestOptions beyond{{"Sheets", "3"}};
    EXPECT_EQ(Read(Three.Build(), beyond.Get()).status, Excel2007File::StatusBadOptions);
}

TEST_F(Excel2007CompleteTest, AnEmptyRecordIsFilledWithTheChoice) {
    const std::string path = folder.Write("book.xlsx", Three.Build());
    Excel2007File reader;
    const auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    reader.SetContext(context);
    NvImportOpenOptions record{0, nullptr};
    ASSERT_EQ(reader.Open(true, path.c_str(), &record), 0);
    EXPECT_EQ(CompleteOptions(&record).GetText(CompleteOptions::Part), "Data");
}

TEST_F(Excel2007CompleteTest, SheetsThatAreNoWorksheetsAreNoted) {
    const Workbook book({{"Chart", "<chartsheet/>", "", "chartsheet"},
                         {"Data", Workbook::Worksheet("<row><c><v>1</v></c></row>")}});
    const Result result = Read(book.Build());
    EXPECT_EQ(result.cells, "1,1 double 1\n");
    EXPECT_EQ(result.notes, "\"Chart\" is a chart sheet and can't be read\n");
    EXPECT_EQ(Read(Workbook({{"Chart", "<chartsheet/>", "", "chartsheet"}}).Build()).status,
              Excel2007File::StatusNoSheets);
}

TEST_F(Excel2007CompleteTest, ADamagedSheetCostsItself) {
    Workbook book = Three;
    book.sheets[1].part = "<worksheet><sheetData><row><c><v>2</v></c></row>";
    book.sheets[2].part = "";
    TestOptions all{{"Part", "all"}};
    const Result result = Read(book.Build(), all.Get());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.cells, "1,1 double 1\n1,2 double 2\n");
    EXPECT_NE(result.notes.find(
                  "the sheet \"Data\" can't be read to its end: its part xl/sheets/r2.xml is damaged"),
              std::string::npos);
    EXPECT_NE(
        result.notes.find("the sheet \"More\" can't be read to its end: its part xl/sheets/r3.xml isn't in "
                          "the file"),
        std::string::npos);
    const Result one = Read(book.Build());
    EXPECT_EQ(one.status, Excel2007File::StatusCorrupt);
    EXPECT_EQ(one.message,
              "The sheet \"Data\" can't be read to its end: its part xl/sheets/r2.xml is damaged.");
}

TEST_F(Excel2007CompleteTest, AnEmptySheetIsAnEmptyTableWithANote) {
    const Result result = Read(Workbook::Of("").Build());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.rows, 0);
    EXPECT_EQ(result.notes, "the sheet \"Data\" is empty\n");
}

// Parts, facts, sizes, detection.

TEST_F(Excel2007CompleteTest, PartsAndFactsTellWhatThereIs) {
    Workbook book = Three;
    book.properties = "<workbookPr date1904=\"true\"/>";
    book.contentTypes =
        "<Types><Override PartName=\"/XL/workbook.xml\" "
        "ContentType=\"application/vnd.ms-excel.sheet.macroEnabled.main+xml\"/></Types>";
    const std::string path = folder.Write("book.xlsm", book.Build());
    Excel2007File reader;
    const auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    reader.SetContext(context);
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumCols(), 2);
    EXPECT_EQ(reader.GetNumRows(), 1);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_TRUE(parts[0].hidden);
    EXPECT_EQ(parts[2].name, "More");
    EXPECT_EQ(parts[2].rows, 2);
    EXPECT_EQ(parts[2].cols, 1);
    const std::vector<FileContents::Fact> facts{
        {"flavour", "XML with macros (.xlsm)"}, {"sheets", "3"}, {"date system", "1904"}};
    EXPECT_EQ(reader.ListFacts(), facts);
}

TEST_F(Excel2007CompleteTest, AWorkbookIsProvedByItsContentTypes) {
    const FormatRecogniser* const recogniser = FormatRecogniser::Find("Excel2007 File");
    ASSERT_NE(recogniser, nullptr);
    EXPECT_STREQ(recogniser->GetShortName(), "xlsx");
    const auto recognise = [&](const std::string& bytes) {
        const std::string path = folder.Write("book", bytes);
        return recogniser->Recognise(path.c_str(), bytes.substr(0, FormatRecogniser::HeadSize));
    };
    EXPECT_EQ(recognise(Three.Build()), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(recognise(ZipBuilder().Add("content.xml", "<office/>").Build()),
              FormatRecogniser::Evidence::None);
    EXPECT_EQ(recognise("PK, but no archive"), FormatRecogniser::Evidence::None);
    EXPECT_EQ(recognise("text"), FormatRecogniser::Evidence::None);
}

TEST_F(Excel2007CompleteTest, ABudgetThatIsUsedUpIsToldByName) {
    Workbook book = Workbook::Of("<row><c t=\"s\"><v>0</v></c></row>");
    book.sharedStrings = "<si><t>" + std::string(300000, 'x') + "</t></si>";
    const std::string path = folder.Write("book.xlsx", book.Build());
    Excel2007File reader;
    const auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    context->budget.SetLimit(100000);
    reader.SetContext(context);
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader.Read(&table), Excel2007File::StatusCorrupt);
    EXPECT_TRUE(ErrorOf(reader).starts_with("a text would take more than")) << ErrorOf(reader);
}

TEST_F(Excel2007CompleteTest, AStopEndsTheRead) {
    const std::string path = folder.Write("book.xlsx", Three.Build());
    Excel2007File reader;
    const auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    std::stop_source stop;
    context->stop = stop.get_token();
    reader.SetContext(context);
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    stop.request_stop();
    TableData table;
    EXPECT_THROW(reader.Read(&table), karta::Stopped);
}

// The binary flavour.

TEST_F(Excel2007CompleteTest, EachRecordOfACellArrivesAsWhatItIs) {
    Records cells;
    cells.Add(0, ByteBuilder().U32(0).Bytes());
    cells.Add(1, At(0, 1).Bytes());
    cells.Add(2, At(1).U32(0x3ff00000).Bytes());
    cells.Add(3, At(2).U8(0x2a).Bytes());
    cells.Add(4, At(3).U8(1).Bytes());
    cells.Add(5, At(4, 0xff000001).Double(44227.0).Bytes());
    cells.Add(6, At(5).Text(Wide(u"ä\u20ac")).Bytes());
    cells.Add(7, At(6).U32(0).Bytes());
    cells.Add(8, At(7).Text(Wide(u"result")).Zeros(4).Bytes());
    cells.Add(9, At(8, 2).Double(1.25).Bytes());
    cells.Add(10, At(9).U8(0).Bytes());
    cells.Add(11, At(10).U8(0x07).Bytes());
    cells.Add(62, At(11).U8(1).Text(Wide(u"rich")).Zeros(8).Bytes());
    const Result result = Read(BinaryWorkbook(cells));
    EXPECT_EQ(result.status, 0) << result.message;
    EXPECT_EQ(result.cells,
              "2,1 double 1\n3,1 error #N/A\n4,1 bool TRUE\n5,1 date 2021-01-31\n6,1 text ä€\n"
              "7,1 text π\u2028\U0001f363\n8,1 text result\n9,1 duration 30:00:00\n10,1 bool FALSE\n"
              "11,1 error #DIV/0!\n12,1 text rich\n");
    EXPECT_EQ(result.notes, "2 cells hold errors such as #N/A (first: C1)\n");
}

TEST_F(Excel2007CompleteTest, ShortRecordsComeAfterTheCellBefore) {
    Records cells;
    cells.Add(0, ByteBuilder().U32(1).Bytes());
    cells.Add(5, At(2).Double(1.0).Bytes());
    cells.Add(12, ByteBuilder().U32(0).Bytes());
    cells.Add(13, ByteBuilder().U32(0).U32(0x3ff00000).Bytes());
    cells.Add(14, ByteBuilder().U32(0).U8(0x17).Bytes());
    cells.Add(15, ByteBuilder().U32(0).U8(1).Bytes());
    cells.Add(16, ByteBuilder().U32(1).Double(44227.0).Bytes());
    cells.Add(17, ByteBuilder().U32(0).Text(Wide(u"short")).Bytes());
    cells.Add(18, ByteBuilder().U32(0).U32(0).Bytes());
    EXPECT_EQ(
        Read(BinaryWorkbook(cells, true)).cells,
        "3,2 double 1\n5,2 double 1\n6,2 error #REF!\n7,2 bool TRUE\n8,2 date 2025-02-01\n9,2 text short\n"
        "10,2 text π\u2028\U0001f363\n");
}

TEST_F(Excel2007CompleteTest, LongRecordsAreReadWhole) {
    const std::u16string text(32767, u'x');
    Records cells;
    cells.Add(0, ByteBuilder().U32(0).Bytes());
    cells.Add(8, At(0).Text(Wide(text)).Bytes());
    cells.Add(5, At(1).Double(2.0).Bytes());
    EXPECT_EQ(Read(BinaryWorkbook(cells)).cells, "1,1 text " + std::string(32767, 'x') + "\n2,1 double 2\n");
}

TEST_F(Excel2007CompleteTest, ABinarySheetThatEndsEarlyIsDamaged) {
    Records outrun;
    outrun.Add(0, ByteBuilder().U32(0).Bytes()).Add(8, At(0).U32(100).U16('a').Bytes());
    EXPECT_EQ(Read(BinaryWorkbook(outrun)).status, Excel2007File::StatusCorrupt);
    Records beyond;
    beyond.Add(0, ByteBuilder().U32(0).Bytes()).Add(5, At(16384).Double(1.0).Bytes());
    EXPECT_EQ(Read(BinaryWorkbook(beyond)).status, Excel2007File::StatusCorrupt);
}

// What the classic reading says about what it leaves out.

TEST_F(Excel2007CompleteTest, TheClassicReadingNotesWhatItsRulesLeaveEmpty) {
    ZipBuilder zip;
    zip.Add("xl/workbook.xml", "<workbook><sheets><sheet name=\"A\" r:id=\"r1\"/></sheets></workbook>");
    zip.Add("xl/_rels/workbook.xml.rels",
            "<Relationships><Relationship Id=\"r1\" Target=\"worksheets/sheet1.xml\"/></Relationships>");
    std::string row;
    for (int i = 0; i < 1180; ++i) {
        row += "<c r=\"B2\" t=\"n\"><v>1</v></c>";
    }
    row += "<c r=\"C2\" t=\"inlineStr\"><is><t>x</t></is></c><c r=\"D2\"><v>1</v></c><c r=\"E2\" t=\"n\"/>";
    zip.Add("xl/worksheets/sheet1.xml",
            "<worksheet><sheetData><row r=\"2\">" + row + "</row></sheetData></worksheet>");
    const std::string path = folder.Write("book.xlsx", zip.Build());
    Excel2007File reader;
    TableData table;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    ASSERT_EQ(reader.Read(&table), 0);
    const auto& notes = reader.GetContext()->notes.GetAll();
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].count, 1181U);
    EXPECT_EQ(notes[0].place, "B2");
    EXPECT_EQ(
        notes[0].text,
        "1,181 cells of kinds that the classic reading leaves empty: t=\"n\" 1,180, t=\"inlineStr\" 1; the "
        "complete reading has them");
}
