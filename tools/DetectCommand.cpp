#include <iostream>

#include "karta/internal/FormatDetection.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/TableRead.h"
#include "tools/Utf8Text.h"

namespace {

const char* VerdictName(int verdict) {
    switch (verdict) {
        case 2:
            return "yes";
        case 1:
            return "maybe";
        default:
            return "no";
    }
}

void WriteText(const FormatCatalogue& formats, const FormatFinding& finding, const char* chosen) {
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        std::cout << VerdictName(finding.verdicts[static_cast<std::size_t>(i) - 1]) << '\t'
                  << formats.GetInfo(i)->formatName << '\n';
    }
    std::cout << "chosen\t" << chosen << '\n';
}

void WriteJson(const FormatCatalogue& formats, const FormatFinding& finding, const char* chosen) {
    JsonWriter writer(std::cout);
    writer.BeginObject();
    writer.BeginArray("verdicts");
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        writer.BeginObject();
        writer.Put("verdict", VerdictName(finding.verdicts[static_cast<std::size_t>(i) - 1]));
        writer.Put("formatName", formats.GetInfo(i)->formatName);
        writer.EndObject();
    }
    writer.EndArray();
    writer.Put("chosen", chosen);
    writer.Put("reason", AsUtf8(ReasonOf(finding)));
    writer.EndObject();
}

}  // namespace

int RunDetect(const ReadRequest& request, bool json) {
    CheckFiles(request);
    const auto formats = LoadFormats(request);
    // As the driver does it, a selection is judged by its first file.
    const std::string& file = request.files.front();
    const FormatFinding finding = FormatDetection(*formats).Detect(file, request.reading);
    const char* chosen = finding.format == 0 ? "none" : formats->GetInfo(finding.format)->formatName;
    if (json) {
        WriteJson(*formats, finding, chosen);
    } else {
        WriteText(*formats, finding, chosen);
    }
    if (finding.format == 0 && !request.quiet) {
        std::cout.flush();
        std::cerr << "karta-import: " << file << ": " << ReasonOf(finding) << '\n';
    }
    return finding.format == 0 ? ExitFailed : ExitSuccess;
}
