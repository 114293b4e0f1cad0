#include "tests/wear/LargeFiles.h"

#include <ostream>
#include <stdexcept>

#include "tests/support/ShellCommand.h"
#include "tests/support/TestName.h"

std::vector<LargeFile> AllLargeFiles() {
    return {{"large.txt", "Text File"},
            {"large.csv", "CSV File"},
            {"frames.txt", "Thermo SIEVE File"},
            {"large.dif", "DIF File"},
            {"large-oem.dif", "DIF File(OEM)"},
            {"matrix-4.mat", "Matlab File"},
            {"matrix-5.mat", "Matlab File"},
            {"large.xlsx", "Excel2007 File"},
            {"strings.xlsx", "Excel2007 File"},
            {"large.xlsb", "Excel2007 File"},
            {"large.xls", "Excel File"},
            {"large.wk1", "Lotus 1-2-3 File"},
            {"large.spc", "GalacticSPC File"},
            {"large.0", "Bruker OPUS File"},
            {"interpolated.0", "Bruker OPUS Interpolated File"},
            {"large.uv", "HPLC ChemStation File"},
            {"large.ch", "HPLC ChemStation File"},
            {"large.dx", "JCAMP-DX File"},
            {"blocks.dx", "JCAMP-DX File"},
            {"large.da", "NSAS File"},
            {"large.dat", "Brimrose File"},
            {"table.nc", "NetCDF Files"},
            {"multivariate.nc", "NetCDF Files"},
            {"chromatogram.cdf", "NetCDF Files"},
            {"large.kpf", "KARTA project file"},
            {"old.kpf", "KARTA project file"},
            {"large.mip", "PLANO File"},
            {"large.uns", "Unscrambler File"},
            {"large.trn", "Brookside File"},
            {"large.pkg", "Brookside File"},
            {"large.xml", "Brookside Ver. 2.6 XML File"}};
}

std::string MakeLargeFile(const std::string& folder, const LargeFile& file) {
    const CommandOutcome outcome =
        RunInShell(folder, "'" KARTA_SOURCE_DIR "/tests/wear/large-files' . " + ShellWord(file.name));
    if (outcome.status != 0) {
        throw std::runtime_error("large-files: " + outcome.err);
    }
    return folder + "/" + file.name;
}

std::string NameOf(const LargeFile& file) {
    return TestNameOf(file.name);
}

void PrintTo(const LargeFile& file, std::ostream* stream) {
    *stream << file.name;
}
