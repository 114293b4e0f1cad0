#include "fuzz/PackagePart.h"

#include "tests/support/ZipBuilder.h"

namespace {

using namespace std::string_view_literals;

// The part that an extension stands for.
struct PackagePart {
    std::string_view extension;
    std::string_view name;
};

constexpr PackagePart Parts[] = {
    {".sheet.xlsx", "xl/worksheets/sheet1.xml"}, {".strings.xlsx", "xl/sharedStrings.xml"},
    {".styles.xlsx", "xl/styles.xml"},           {".workbook.xlsx", "xl/workbook.xml"},
    {".sheet.xlsb", "xl/worksheets/sheet1.bin"}, {".strings.xlsb", "xl/sharedStrings.bin"},
    {".styles.xlsb", "xl/styles.bin"},           {".workbook.xlsb", "xl/workbook.bin"},
};

// The other parts, sound and small. The first entry of a name counts, so the input goes in front of them.
constexpr std::pair<std::string_view, std::string_view> XmlPackage[] = {
    {"xl/workbook.xml",
     R"(<workbook xmlns:r="/relationships"><sheets><sheet name="S" r:id="r1"/></sheets></workbook>)"},
    {"xl/_rels/workbook.xml.rels",
     R"(<Relationships><Relationship Id="r1" Type="/relationships/worksheet" Target="worksheets/sheet1.xml"/>)"
     R"(<Relationship Id="r2" Type="/relationships/sharedStrings" Target="sharedStrings.xml"/>)"
     R"(<Relationship Id="r3" Type="/relationships/styles" Target="styles.xml"/></Relationships>)"},
    {"xl/sharedStrings.xml", "<sst><si><t>zero</t></si><si><t>one</t></si></sst>"},
    {"xl/styles.xml",
     R"(<styleSheet><numFmts><numFmt numFmtId="164" formatCode="yyyy"/></numFmts>)"
     R"(<cellXfs><xf numFmtId="0"/><xf numFmtId="14"/><xf numFmtId="164"/></cellXfs></styleSheet>)"},
    {"xl/worksheets/sheet1.xml",
     R"(<worksheet><sheetData><row r="1" spans="1:2"><c r="A1" t="s"><v>1</v></c><c r="B1" s="1"><v>44197</v></c>)"
     R"(</row></sheetData></worksheet>)"},
};

constexpr std::pair<std::string_view, std::string_view> BinaryPackage[] = {
    {"xl/workbook.bin", "\x8f\x01\x00\x9c\x01\x16\0\0\0\0\1\0\0\0\2\0\0\0r\0001\0\1\0\0\0S\0\x90\x01\x00"sv},
    {"xl/_rels/workbook.bin.rels",
     R"(<Relationships><Relationship Id="r1" Type="/relationships/worksheet" Target="worksheets/sheet1.bin"/>)"
     R"(<Relationship Id="r2" Type="/relationships/sharedStrings" Target="sharedStrings.bin"/>)"
     R"(<Relationship Id="r3" Type="/relationships/styles" Target="styles.bin"/></Relationships>)"},
    {"xl/sharedStrings.bin", "\x9f\x01\0\x13\7\0\1\0\0\0A\0\xa0\x01\0"sv},
    {"xl/styles.bin", "\xe9\x04\4\2\0\0\0\x2f\4\0\0\0\0\x2f\4\0\0\x0e\0"sv},
    {"xl/worksheets/sheet1.bin",
     "\x94\x01\x10\0\0\0\0\1\0\0\0\0\0\0\0\1\0\0\0\x91\x01\0\0\4\0\0\0\0\7\x0c\0\0\0\0\0\0\0\0\0\0\0\0\x92\x01\0"sv},
};

}  // namespace

std::string WrapInput(std::string_view extension, std::string_view input) {
    for (const PackagePart& part : Parts) {
        if (part.extension != extension) {
            continue;
        }
        ZipBuilder package;
        package.Add(part.name, input);
        if (extension.ends_with(".xlsx")) {
            for (const auto& [name, bytes] : XmlPackage) {
                package.Add(name, bytes);
            }
        } else {
            for (const auto& [name, bytes] : BinaryPackage) {
                package.Add(name, bytes);
            }
        }
        return package.Build();
    }
    return std::string(input);
}
