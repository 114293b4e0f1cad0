#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <istream>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

#include "archive/ZipFile.h"
#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/support/BinaryRecords.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/PeakMemory.h"
#include "tests/support/ZipBuilder.h"

namespace {

// A million cells, every second one a reference to one of 10,000 shared strings.
constexpr int Rows = 100'000;
constexpr int RowsForPeers = 20'000;
constexpr int Columns = 10;
constexpr int Texts = 10'000;

// In times of what unpacking the parts alone takes.
constexpr double XmlTarget = 1.5;
constexpr double BinaryTarget = 1.3;

// The same numbers every time.
class Numbers {
public:
    double NextNumber() { return static_cast<double>(Next()) / 65536.0; }
    unsigned int NextText() { return Next() % Texts; }

private:
    unsigned int Next() { return sequence.Next() >> 8; }

    NumberSequence sequence;
};

constexpr const char* OfficeTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
constexpr const char* SheetNames =
    R"( xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main")"
    R"( xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships")";

std::string Relationship(const std::string& id, const std::string& type, const std::string& target) {
    return "<Relationship Id=\"" + id + "\" Type=\"" + OfficeTypes + type + "\" Target=\"" + target + "\"/>";
}

// A pattern with a star in the place of the part's kind.
std::string PartType(std::string pattern, const std::string& kind) {
    return pattern.replace(pattern.find('*'), 1, kind);
}

// The parts that say what the others are, which other people's readers insist on.
void AddPackage(ZipBuilder& zip, const std::string& extension, const std::string& workbookType,
                const std::string& partType) {
    std::string types =
        R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
        R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)";
    const auto add = [&](const std::string& part, const std::string& type) {
        types += "<Override PartName=\"/xl/" + part + extension + "\" ContentType=\"" + type + "\"/>";
    };
    add("workbook", workbookType);
    add("worksheets/sheet1", PartType(partType, "worksheet"));
    add("sharedStrings", PartType(partType, "sharedStrings"));
    add("styles", PartType(partType, "styles"));
    const std::string open =
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)";
    zip.AddDeflated("[Content_Types].xml", types + "</Types>");
    zip.AddDeflated("_rels/.rels", open + Relationship("r1", "officeDocument", "xl/workbook" + extension) +
                                       "</Relationships>");
    zip.AddDeflated("xl/_rels/workbook" + extension + ".rels",
                    open + Relationship("r1", "worksheet", "worksheets/sheet1" + extension) +
                        Relationship("r2", "sharedStrings", "sharedStrings" + extension) +
                        Relationship("r3", "styles", "styles" + extension) + "</Relationships>");
}

void GenerateXml(std::ostream& stream, int rows) {
    Numbers numbers;
    std::string strings = "<sst" + std::string(SheetNames) + ">";
    for (int i = 0; i < Texts; ++i) {
        strings += "<si><t>sample text " + std::to_string(i) + "</t></si>";
    }
    std::string sheet = "<worksheet" + std::string(SheetNames) + "><dimension ref=\"A1:J" +
                        std::to_string(rows) + "\"/><sheetData>";
    for (int row = 1; row <= rows; ++row) {
        const std::string number = std::to_string(row);
        sheet += "<row r=\"" + number + "\" spans=\"1:10\">";
        for (int col = 0; col < Columns; ++col) {
            const std::string place = static_cast<char>('A' + col) + number;
            sheet +=
                col % 2 == 0
                    ? "<c r=\"" + place + "\" s=\"0\"><v>" + std::to_string(numbers.NextNumber()) + "</v></c>"
                    : "<c r=\"" + place + "\" t=\"s\"><v>" + std::to_string(numbers.NextText()) + "</v></c>";
        }
        sheet += "</row>";
    }
    ZipBuilder zip;
    AddPackage(zip, ".xml", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml",
               "application/vnd.openxmlformats-officedocument.spreadsheetml.*+xml");
    zip.AddDeflated("xl/workbook.xml",
                    "<workbook" + std::string(SheetNames) +
                        R"(><sheets><sheet name="S" sheetId="1" r:id="r1"/></sheets></workbook>)");
    zip.AddDeflated(
        "xl/styles.xml",
        "<styleSheet" + std::string(SheetNames) +
            "><fonts><font/></fonts><fills><fill><patternFill/></fill></fills><borders><border/></borders>"
            "<cellStyleXfs><xf/></cellStyleXfs><cellXfs><xf numFmtId=\"0\"/></cellXfs></styleSheet>");
    zip.AddDeflated("xl/sharedStrings.xml", strings + "</sst>");
    zip.AddDeflated("xl/worksheets/sheet1.xml", sheet + "</sheetData></worksheet>");
    stream << zip.Build();
}

std::string BinarySheet(std::uint32_t rows) {
    Numbers numbers;
    ByteBuilder sheet;
    PutRecord(sheet, 129);
    PutRecord(sheet, 148, ByteBuilder().U32(0).U32(rows - 1).U32(0).U32(Columns - 1));
    PutRecord(sheet, 145);
    for (std::uint32_t row = 0; row < rows; ++row) {
        PutRecord(sheet, 0, ByteBuilder().U32(row).Zeros(13));
        for (std::uint32_t col = 0; col < Columns; ++col) {
            ByteBuilder cell;
            cell.U32(col).U32(0);
            if (col % 2 == 0) {
                PutRecord(sheet, 5, cell.Double(numbers.NextNumber()));
            } else {
                PutRecord(sheet, 7, cell.U32(numbers.NextText()));
            }
        }
    }
    PutRecord(sheet, 146);
    PutRecord(sheet, 130);
    return sheet.Bytes();
}

void GenerateBinary(std::ostream& stream, std::uint32_t rows) {
    ByteBuilder workbook;
    PutRecord(workbook, 131);
    PutRecord(workbook, 143);
    PutRecord(workbook, 156, PutWide(PutWide(ByteBuilder().U32(0).U32(1), "r1"), "S"));
    PutRecord(workbook, 144);
    PutRecord(workbook, 132);
    ByteBuilder strings;
    PutRecord(strings, 159, ByteBuilder().U32(Texts).U32(Texts));
    for (int i = 0; i < Texts; ++i) {
        PutRecord(strings, 19, PutWide(ByteBuilder().U8(0), "sample text " + std::to_string(i)));
    }
    PutRecord(strings, 160);
    ByteBuilder styles;
    PutRecord(styles, 617, ByteBuilder().U32(1));
    PutRecord(styles, 47, ByteBuilder().Zeros(16));
    PutRecord(styles, 618);
    ZipBuilder zip;
    AddPackage(zip, ".bin", "application/vnd.ms-excel.sheet.binary.macroEnabled.main",
               "application/vnd.ms-excel.*");
    zip.AddDeflated("xl/workbook.bin", workbook.Bytes());
    zip.AddDeflated("xl/styles.bin", styles.Bytes());
    zip.AddDeflated("xl/sharedStrings.bin", strings.Bytes());
    zip.AddDeflated("xl/worksheets/sheet1.bin", BinarySheet(rows));
    stream << zip.Build();
}

void GenerateLargeXml(std::ostream& stream) {
    GenerateXml(stream, Scaled(Rows));
}

void GenerateLargeBinary(std::ostream& stream) {
    GenerateBinary(stream, Scaled(Rows));
}

double SecondsOf(const std::function<void()>& work) {
    double best = 1e30;
    for (int run = 0; run < 5; ++run) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

void UnpackParts(const std::string& path) {
    const ZipFile zip(path.c_str());
    for (const ZipFile::Entry& entry : zip.GetEntries()) {
        zip.GetInputStream(entry)->ignore(std::numeric_limits<std::streamsize>::max());
    }
}

void ReadWorkbook(const std::string& path) {
    if (ReadTable("Excel2007 File", path).GetColumnCount() != Columns) {
        throw std::runtime_error("the workbook could not be read");
    }
}

// Reading into a table in columns against unpacking the same parts alone, in the same run.
void RegisterRatio(const std::string& name, const std::string& fileName,
                   const std::function<void(std::ostream&)>& generate, double target) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     const std::string path = BenchFolder() + "/" + fileName;
                                     if (!std::filesystem::exists(path)) {
                                         std::ofstream file(path, std::ios::binary);
                                         generate(file);
                                     }
                                     const double alone = SecondsOf([&] { UnpackParts(path); });
                                     const double read = SecondsOf([&] { ReadWorkbook(path); });
                                     for (auto _ : state) {
                                         state.SetIterationTime(read);
                                     }
                                     state.SetLabel(BenchLabel("Excel2007 File", fileName));
                                     state.counters["s"] = read;
                                     state.counters["alone_ms"] = alone * 1e3;
                                     state.counters["ratio"] = read / alone;
                                     state.counters["ratio_target"] = target;
                                     state.counters["peak_MB"] = PeakMemoryOf([&] {
                                                                     ReadWorkbook(path);
                                                                     return true;
                                                                 }) /
                                                                 1e6;
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

const RegisterReadBench Xml({"excel2007_xlsx", "Excel2007 File", "million.xlsx", GenerateLargeXml});
const RegisterReadBench Binary({"excel2007_xlsb", "Excel2007 File", "million.xlsb", GenerateLargeBinary});
const RegisterReadBench SmallXml({"excel2007_xlsx_small", "Excel2007 File", "small.xlsx",
                                  [](std::ostream& stream) { GenerateXml(stream, RowsForPeers); }, 0, 0,
                                  true});
const RegisterReadBench SmallBinary({"excel2007_xlsb_small", "Excel2007 File", "small.xlsb",
                                     [](std::ostream& stream) { GenerateBinary(stream, RowsForPeers); }, 0, 0,
                                     true});

const bool Registered = [] {
    RegisterRatio("excel2007_xlsx/against_unpacking", "million.xlsx", GenerateLargeXml, XmlTarget);
    RegisterRatio("excel2007_xlsb/against_unpacking", "million.xlsb", GenerateLargeBinary, BinaryTarget);
    return true;
}();

}  // namespace
