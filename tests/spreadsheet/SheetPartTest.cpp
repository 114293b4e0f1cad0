// NOLINTBEGIN(performance-inefficient-string-concatenation): documents as they read
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "spreadsheet/PlainCell.h"
#include "tests/support/SheetOutcome.h"

// A worksheet part is the same whether its cells are taken as they stand or by the events of a whole parser.

namespace {

constexpr const char* Main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

// What stands behind the last cell, so that there is no lack of bytes: it is well-formed there.
const std::string Behind(PlainCell::Longest, ' ');

std::string Part(const std::string& rows) {
    return std::string("<worksheet xmlns=\"") + Main + "\" xmlns:x=\"" + Main +
           "\" xmlns:y=\"u\"><sheetData>" + rows + "</sheetData></worksheet>" + Behind;
}

void ExpectSame(const std::string& part) {
    for (const XmlForm form : {XmlForm::Literal, XmlForm::Full}) {
        const std::string library = SheetOutcome(part, form, XmlParsers::Library);
        for (const std::size_t piece : {std::size_t{3}, std::size_t{200}, XmlScanner::PieceSize}) {
            ASSERT_EQ(SheetOutcome(part, form, XmlParsers::Both, piece), library)
                << part << "\nin pieces of " << piece;
        }
    }
}

// Where the cell ends by the plain reading; -1 where it isn't taken.
std::ptrdiff_t TakenOf(const std::string& cell, PlainCell& plain) {
    static std::string bytes;
    bytes = cell + Behind;
    const char* const end = plain.Take(bytes.data(), bytes.data() + bytes.size());
    return end == nullptr ? -1 : end - bytes.data();
}

bool IsTaken(const std::string& cell) {
    PlainCell plain;
    const std::ptrdiff_t end = TakenOf(cell, plain);
    EXPECT_TRUE(end == -1 || end == static_cast<std::ptrdiff_t>(cell.size())) << cell;
    return end != -1;
}

// The reading of cells as they stand knows these.
const std::vector<std::string> PlainCells = {
    R"(<c r="M"><v>1</v></c>)",
    R"(<c r="A1"><v>12</v></c>)",
    R"(<c r="C1" s="17"><v>-12.625</v></c>)",
    R"(<c r="D1" t="s"><v>0</v></c>)",
    R"(<c r="E1" s="2" t="s"><v>123456789</v></c>)",
    R"(<c r="F1" t="b" s="1"><v>1</v></c>)",
    R"(<c r="AB1" t="e"><v>#N/A</v></c>)",
    R"(<c r="XFD1" t="d"><v>2024-05-06T07:08:09</v></c>)",
    R"(<c r="G1" t="n"><v>0.1234567890123456789</v></c>)",
    R"(<c r="G1" t="z"><v>1</v></c>)",
    R"(<c r="H1" s="3"/>)",
    R"(<c r="I1"/>)",
    R"(<c r="J1"><v></v></c>)",
    R"(<c r="M99"><v>1</v></c>)",
    R"(<c r="K1"><v> 1e5 </v></c>)",
    R"(<c r="K1" t="s"><v> 7 </v></c>)",
    R"(<c r="K1" t="s"><v>1234567890</v></c>)",
    R"(<c r="K1" t="s"><v>99999999999999999999999</v></c>)",
    R"(<c r="L1"><v>.5</v></c>)",
    R"(<c r="L1"><v>5.</v></c>)",
    R"(<c r="L1"><v>-</v></c>)",
    R"(<c r="L1"><v>-0</v></c>)",
    R"(<c r="L1"><v>000000000000001.50</v></c>)",
    R"(<c r="L1"><v>123456789012345678901234567890.123456789012345678901234567890</v></c>)",
    R"(<c r="XFE1"><v>1</v></c>)",
    R"(<c r="ZZZ1"><v>1</v></c>)",
    R"(<c r="N1" t="str"><v>text</v></c>)",
    R"(<c r="N1" t="str"><v>_x0041_</v></c>)",
    R"(<c r="N1" t="inlineStr"><v>text</v></c>)",
    R"(<c r="N1" t="inlineStr"><is><t>in</t></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t></t></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t>_x0041_</t></is></c>)",
    R"(<c r="N1" s="3" t="inlineStr"><is><t xml:space="preserve"> in </t></is></c>)",
    R"(<c r="N1"><f>A1+1</f><v>2</v></c>)",
    R"(<c r="N1" s="1"><f></f><v>2</v></c>)",
    R"(<c r="N1" s="1"><f t="shared" ref="A1:A9" si="0">SUM(A1:B2)</f><v>-2.5</v></c>)",
    R"(<c r="N1"><f t="shared" si="0"/><v>2</v></c>)",
    R"(<c r="N1" t="str"><f>IF(A1&gt;0,"a","b")&amp;'S 1'!A1</f><v>text</v></c>)",
    R"(<c r="N1" t="str"><f>A1</f><v>_x0041_</v></c>)",
    R"(<c r="N1" t="str"><f>A1</f><v></v></c>)",
    R"(<c r="N1" t="e"><f>Table1[[#This Row],[x]]&lt;&quot;&apos;1</f><v>#N/A</v></c>)",
    R"(<c r="N1" t="b"><f ca="1" t="array" ref="N1" aca="0">A1</f><v>1</v></c>)",
    R"(<c r="N1" t="inlineStr"><f>A1</f><is><t>in</t></is></c>)",
    R"(<c r="N1"><f>)" + std::string(300, '7') + "</f><v>1</v></c>",
};
const std::vector<std::string> OtherCells = {
    R"(<c r="K1" t="s"></c>)",
    R"(<c r="AAAA1"><v>1</v></c>)",
    R"(<c r="1"><v>1</v></c>)",
    R"(<c r="b2"><v>1</v></c>)",
    R"(<c><v>1</v></c>)",
    R"(<c r="N1" r="N1"><v>1</v></c>)",
    R"(<c r="N1" s="1" s="1"><v>1</v></c>)",
    R"(<c r="N1" t="s" t="s"><v>1</v></c>)",
    R"(<c r="N1" s=""><v>1</v></c>)",
    R"(<c r="N1" t=""><v>1</v></c>)",
    R"(<c r="N1" s="1234567"><v>1</v></c>)",
    R"(<c r="N1" s="-1"><v>1</v></c>)",
    R"(<c r="N1" x="1"><v>1</v></c>)",
    R"(<c r="N1" t="inlineString"><v>1</v></c>)",
    R"(<c r="N1" t="s1"><v>1</v></c>)",
    R"(<c r="N1" cm="1"><v>1</v></c>)",
    R"(<c r="N1" t="inlineStr"><is><t>in</t><t>line</t></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><r><t>in</t></r></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t/></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t x="1">in</t></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t>a&amp;b</t></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t>in</t></is><v>1</v></c>)",
    R"(<c r="N1" t="str"><is><t>in</t></is></c>)",
    R"(<c r="N1" t="inlineStr"><is><t>)" + std::string(70, 'x') + "</t></is></c>",
    R"(<c r="N1"><f>A1+1</f></c>)",
    R"(<c r="N1"><f/></c>)",
    R"(<c r="N1"><f>A1+1</f><v/></c>)",
    R"(<c r="N1"><f>A1+1</f><f>A2</f><v>2</v></c>)",
    R"(<c r="N1"><v>2</v><f>A1+1</f></c>)",
    R"(<c r="N1"><f>A1<!-- c --></f><v>2</v></c>)",
    R"(<c r="N1"><f><v>1</v></f><v>2</v></c>)",
    R"(<c r="N1"><f>a]]>b</f><v>2</v></c>)",
    R"(<c r="N1"><f>&unknown;</f><v>2</v></c>)",
    R"(<c r="N1"><f>&#65;</f><v>2</v></c>)",
    R"(<c r="N1"><f>a & b</f><v>2</v></c>)",
    "<c r=\"N1\"><f>\xc3\xa4</f><v>2</v></c>",
    "<c r=\"N1\"><f>a\nb</f><v>2</v></c>",
    R"(<c r="N1"><f si="1" si="1"/><v>2</v></c>)",
    R"(<c r="N1"><f t="shared" x="1"/><v>2</v></c>)",
    R"(<c r="N1"><f x:t="shared"/><v>2</v></c>)",
    R"(<c r="N1"><f z:t="shared"/><v>2</v></c>)",
    R"(<c r="N1"><f t="a<b"/><v>2</v></c>)",
    R"(<c r="N1"><f t="a&amp;b"/><v>2</v></c>)",
    R"(<c r="N1"><f t='shared'/><v>2</v></c>)",
    R"(<c r="N1"><f t="shared"si="1"/><v>2</v></c>)",
    R"(<c r="N1"><f  si="1"/><v>2</v></c>)",
    R"(<c r="N1"><f si="1" /><v>2</v></c>)",
    R"(<c r="N1"><f ="1"/><v>2</v></c>)",
    R"(<c r="N1"><fx>A1</fx><v>2</v></c>)",
    R"(<c r="N1"><f>A1</g><v>2</v></c>)",
    R"(<c r="N1"><f>A1</f ><v>2</v></c>)",
    R"(<c r="N1"><f>A1</f> <v>2</v></c>)",
    R"(<c r="N1"><x:f>A1</x:f><v>2</v></c>)",
    R"(<c r="N1"><v>1</v><v>2</v></c>)",
    R"(<c r="N1"><v>1&lt;2</v></c>)",
    R"(<c r="N1" ><v>1</v></c >)",
    R"(<c r="N1"> <v>1</v></c>)",
    R"(<c r="N1"><v>1<!-- c --></v></c>)",
    R"(<c r='N1'><v>1</v></c>)",
    R"(<c r="N1"s="1"><v>1</v></c>)",
    R"(<c r="N1"><v>]]></v></c>)",
    R"(<c r="N1"><v>a]b</v></c>)",
    "<c r=\"N1\"><v>\xc3\xa4</v></c>",
    "<c r=\"N1\"><v>\x01</v></c>",
    R"(<c r="N1"><c r="O1"><v>1</v></c></c>)",
    R"(<c r="N1"><x><c r="O1"><v>1</v></c></x></c>)",
    R"(<d r="N1"><c r="O1"><v>1</v></c></d>)",
    R"(<x:c r="N1"><v>1</v></x:c>)",
    R"(<y:c r="N1"><v>1</v></y:c>)",
    R"(<c xmlns="u" r="N1"><v>1</v></c>)",
    R"(<!-- c --><c r="N1"><v>1</v></c>)",
    R"(<c r="N1"><v>)" + std::string(200, '7') + "</v></c>",
    R"(<c r="N1"><v>1</v>)",
    R"(<c r="N1"><v>1</w></c>)",
    R"(</c>)",
};

}  // namespace

TEST(SheetPartTest, CellsTakenAsTheyStandAreThoseOfTheEvents) {
    const std::string before = R"(<c r="A7"><v>0.5</v></c>)";
    std::vector<std::string> cells = PlainCells;
    cells.insert(cells.end(), OtherCells.begin(), OtherCells.end());
    for (const std::string& cell : cells) {
        for (const char* row :
             {"<row r=\"7\">", "<row r=\"7\" spans=\"1:3\" x:q=\"1\">", "<row>", "<x:row r=\"7\">",
              "<row xmlns=\"u\" r=\"7\">", "<zeile r=\"7\">", "<row r=\"2000000\">"}) {
            const std::string name = std::string(row).substr(1, std::string(row).find_first_of(" >") - 1);
            std::string rows = row;
            rows += before + cell + before;
            rows += "</" + name + "><row r=\"9\">" + cell + "</row>" + before;
            ExpectSame(Part(rows));
        }
    }
}

TEST(SheetPartTest, CellsOutsideOfRowsAndOfTheSheetAreNone) {
    const std::string cell = R"(<c r="A7"><v>0.5</v></c>)";
    ExpectSame(Part(cell + "<row r=\"7\"/>" + cell + "<row r=\"8\">" + cell + "</row>" + cell) + cell);
    ExpectSame(std::string("<worksheet xmlns=\"") + Main + "\"><sheetData><row r=\"1\">" + cell +
               "</row></sheetData><row r=\"2\">" + cell + "</row></worksheet>" + Behind);
    ExpectSame("<x:worksheet xmlns:x=\"u\" xmlns=\"v\"><x:sheetData><x:row r=\"1\">" + cell +
               "<x:c r=\"B1\"><x:v>1</x:v></x:c></x:row><row r=\"3\">" + cell +
               "</row></x:sheetData></x:worksheet>" + Behind);
}

TEST(SheetPartTest, RowsTakenAsTheyStandAreThoseOfTheEvents) {
    const std::string cell = R"(<c r="A7"><v>0.5</v></c>)";
    for (const char* first : {"<row r=\"1\">", "<row>", "<x:row r=\"1\">", "<row xmlns:z=\"u\" r=\"1\">",
                              "<row r=\"1\" x:d=\"1\">", "<row r=\"1\" y:d=\"1\" x:d=\"1\">",
                              "<row xmlns:z=\"u\" r=\"1\" z:d=\"1\">", "<row r=\"1\" xml:d=\"1\">"}) {
        for (const char* begin : {"<row r=\"2\">",
                                  "<row r=\"2\" spans=\"1:3\">",
                                  "<row r=\"2\" spans=\"1:99999\">",
                                  "<row r=\"0\">",
                                  "<row r=\"\">",
                                  "<row r=\"2\" spans=\"1\">",
                                  "<row r=\"2\" spans=\":3\">",
                                  "<row r=\"1048576\">",
                                  "<row r=\"1048577\">",
                                  "<row r=\"12345678\">",
                                  "<row r=\"2\" s=\"1\">",
                                  "<row r=\"2\" ht=\"15\" customHeight=\"1\" x:d=\"0.25\">",
                                  "<row r=\"2\" x:d=\"0.25\" x:d=\"0.25\">",
                                  "<row r=\"2\" x:d=\"a&amp;b\">",
                                  "<row r=\"2\" x:d=\"a<b\">",
                                  "<row r=\"2\" x:e=\"0.25\">",
                                  "<row r=\"2\" d=\"0.25\">",
                                  "<row r=\"2\" s=\"1\" s=\"1\">",
                                  "<row r=\"2\" s=\"1\" spans=\"1:3\">",
                                  "<row r=\"2\" spans=\"1:3\" spans=\"1:3\">",
                                  "<row r=\"2\" s='1'>",
                                  "<row r=\"2\" s =\"1\">",
                                  "<row r=\"2\" s=\"1\"ht=\"2\">",
                                  "<row r=\"2\" s=\"1\"  ht=\"2\">",
                                  "<row r=\"2\" =\"1\">",
                                  "<row r=\"2\" :=\"1\">",
                                  "<row r=\"2\" x:=\"1\">",
                                  "<row r=\"2\" s=\"1\"/><row>",
                                  "<row r=\"2\" spans=\"1:3\" hidden=\"false\" outlineLevel=\"0\">",
                                  "<row r=\"2\" z:d=\"1\">",
                                  "<row r=\"2\" r=\"2\">",
                                  "<row spans=\"1:3\" r=\"2\">",
                                  "<row r=\"-2\">",
                                  "<row  r=\"2\">",
                                  "<row r=\"2\"/><row>",
                                  "<x:row r=\"2\">",
                                  "<rox r=\"2\">",
                                  "<row r=\"2\" spans=\"1:2\" >"}) {
            const std::string end = first[1] == 'x' ? "</x:row>" : "</row>";
            const std::string lastEnd = begin[1] == 'x' ? "</x:row>" : "</row>";
            ExpectSame(Part(first + cell + end + begin + cell + lastEnd));
            ExpectSame(Part(first + cell + end + " " + begin + cell + cell + lastEnd));
            ExpectSame(Part(first + end + begin + lastEnd));
        }
    }
}

// What a row declares is gone with it.
TEST(SheetPartTest, RowsBehindOneThatDeclaresItsNamespaceAreInAnother) {
    const std::string cell = R"(<c r="A7"><v>0.5</v></c>)";
    for (const char* outer : {"u", Main}) {
        for (const char* inner : {"v", Main}) {
            ExpectSame(std::string("<x:worksheet xmlns:x=\"") + Main + "\" xmlns=\"" + outer +
                       "\"><x:sheetData><row xmlns=\"" + inner + "\" r=\"1\">" + cell +
                       "</row><row r=\"2\">" + cell + "</row></x:sheetData></x:worksheet>" + Behind);
        }
    }
}

// Each byte is changed, taken out and doubled.
TEST(SheetPartTest, DamagedCellsAreRefusedAsByTheEvents) {
    const std::string rows =
        R"(<row r="1" x:d="1"><c r="B1" s="1"><v>-1.5</v></c><c r="C1" t="s"><v>3</v></c>)"
        R"(<c r="D1" s="4"/></row><row r="2" spans="1:4" ht="9" x:d="1"><c r="A2"><v>1</v></c>)"
        R"(<c r="B2" t="str"><f t="shared" si="0">A1&gt;"]"</f><v>2</v></c>)"
        R"(<c r="C2" t="inlineStr"><is><t>in</t></is></c></row>)";
    const std::string part = Part(rows);
    const std::size_t begin = part.find("<row");
    for (std::size_t place = begin; place < begin + rows.size(); ++place) {
        for (const char byte : {'\0', ' ', '"', '<', '>', '/', '&', '1', 'v', 'c', '\xff'}) {
            std::string damaged = part;
            damaged[place] = byte;
            for (const XmlForm form : {XmlForm::Literal, XmlForm::Full}) {
                // What isn't UTF-8 the library sees from afar.
                const std::string library = SheetOutcome(damaged, form, XmlParsers::Library);
                const std::string both = SheetOutcome(damaged, form, XmlParsers::Both);
                ASSERT_TRUE(byte == '\xff' ? both.ends_with("refused") == library.ends_with("refused")
                                           : both == library)
                    << damaged << "\nlibrary: " << library << "\nboth: " << both;
            }
        }
        std::string without = part;
        ExpectSame(without.erase(place, 1));
        std::string doubled = part;
        ExpectSame(doubled.insert(place, 1, part[place]));
    }
}

TEST(SheetPartTest, PlainCellsAreTheseAndNoOthers) {
    for (const std::string& cell : PlainCells) {
        EXPECT_TRUE(IsTaken(cell)) << cell;
    }
    for (const std::string& cell : OtherCells) {
        EXPECT_FALSE(IsTaken(cell)) << cell;
    }
}

// What is behind the bytes at hand isn't looked at, even where the cell goes on there.
TEST(SheetPartTest, PlainCellsAreThereToTheirEnds) {
    const std::string begin = R"(<c r="XFD1048576" s="123456" t="inlineStr">)";
    const std::string text(64, 'x');
    for (const std::string& formula : {R"(<f ref=")" + std::string(PlainCell::Longest, 'A') + R"("/>)",
                                       "<f>" + std::string(PlainCell::Longest, '1') + "</f>"}) {
        for (const std::string& value :
             {"<is><t xml:space=\"preserve\">" + text + "</t></is>", "<v>" + text + "</v>"}) {
            const std::string cell = begin + formula + value + "</c>";
            EXPECT_TRUE(IsTaken(cell));
            for (std::size_t size = PlainCell::Longest; size < cell.size(); ++size) {
                PlainCell plain;
                EXPECT_EQ(plain.Take(cell.data(), cell.data() + size), nullptr) << cell.substr(0, size);
            }
        }
    }
}

// As Excel, LibreOffice and others write them.
TEST(SheetPartTest, RowsOfProgramsAreTakenAsTheyStand) {
    const std::string attribute = "x14ac:dyDescent";
    const auto take = [&](const std::string& row, PlainRow& plain) {
        const std::string bytes = row + Behind;
        const char* const end = plain.Take(bytes.data(), bytes.data() + bytes.size(), attribute);
        return end == bytes.data() + row.size();
    };
    PlainRow plain;
    for (
        const char* row :
        {R"(</row><row r="17">)", R"(</row><row r="17" spans="1:9">)",
         R"(</row><row r="17" spans="1:9" x14ac:dyDescent="0.25">)",
         R"(</row><row r="17" spans="1:9" s="1" customFormat="1" ht="15.75" customHeight="1" thickBot="1" x14ac:dyDescent="0.3">)",
         R"(</row><row r="17" customFormat="false" ht="12.8" hidden="false" customHeight="false" outlineLevel="0" collapsed="false">)"}) {
        EXPECT_TRUE(take(row, plain)) << row;
        EXPECT_EQ(plain.number, 17);
        EXPECT_EQ(plain.claimedColumns, std::string(row).find("spans") == std::string::npos ? 0 : 9);
    }
    for (const char* row :
         {R"(</row><row r="17" y:dyDescent="1">)", R"(</row><row r="17" x14ac:dyDescent="1"/>)",
          R"(</row><row r="17" x14ac:dyDescent="1" x14ac:dyDescent="1">)", R"(</row><row spans="1:9">)",
          R"(</row> <row r="17">)", R"(</row><row r="17" ht="1)"}) {
        EXPECT_FALSE(take(row, plain)) << row;
    }
}

TEST(SheetPartTest, NumbersOfPlainCellsAreTheNearest) {
    PlainCell plain;
    TakenOf(R"(<c r="AB12" s="7" t="n"><v>-12345.678901</v></c>)", plain);
    EXPECT_EQ(plain.column, 28);
    EXPECT_EQ(plain.style, 7);
    EXPECT_EQ(plain.type, "n");
    EXPECT_EQ(plain.GetValue(), "-12345.678901");
    EXPECT_TRUE(plain.isNumber && !plain.isIndex);
    EXPECT_EQ(plain.number, -12345.678901);
    TakenOf(R"(<c r="A1"><v>0.12345678901234</v></c>)", plain);
    EXPECT_TRUE(plain.isNumber && !plain.isIndex);
    EXPECT_EQ(plain.number, 0.12345678901234);
    TakenOf(R"(<c r="A1"><v>123456789012345</v></c>)", plain);
    EXPECT_TRUE(plain.isNumber && !plain.isIndex);
    EXPECT_EQ(plain.number, 123456789012345.0);
    TakenOf(R"(<c r="A1"><v>0.123456789012345</v></c>)", plain);
    EXPECT_TRUE(!plain.isNumber && !plain.isIndex);
    TakenOf(R"(<c r="A1"><v>123456789</v></c>)", plain);
    EXPECT_TRUE(plain.isNumber && plain.isIndex);
    EXPECT_EQ(plain.index, 123456789);
    EXPECT_EQ(plain.type, "");
    EXPECT_EQ(plain.style, -1);
}
// NOLINTEND(performance-inefficient-string-concatenation)
