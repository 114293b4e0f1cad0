#include "tools/FileSummary.h"

#include <algorithm>

#include "tools/TerminalText.h"
#include "tools/Utf8Text.h"

namespace {

constexpr std::size_t NameWidth = 10;
constexpr std::size_t Gap = 2;

}  // namespace

FileSummary SummariseFile(const ReadRequest& request, const ChosenFormat& chosen) {
    FileSummary summary{chosen.GetName(), chosen.reason, {}, {}};
    OptionsRecord options = MakeOptions(*chosen.formats, chosen.format, request);
    const auto reader = MakeReader(*chosen.formats, chosen.format, request);
    reader->Open(true, request.Selection().c_str(), options.Get());
    if (auto* contents = dynamic_cast<FileContents*>(reader.get());
        contents != nullptr && reader->GetStatus() == SpreadsheetFile::StatusOk) {
        summary.facts = contents->ListFacts();
        summary.parts = contents->ListParts();
    }
    return summary;
}

std::string FactLine(const std::string& name, const std::string& value) {
    return VisibleText(name) + std::string(std::max(name.size(), NameWidth) + Gap - name.size(), ' ') +
           VisibleText(AsUtf8(value)) + "\n";
}
