#include "tests/support/ReadTrace.h"

#include <cstring>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "frame/OptionsText.h"
#include "frame/SprFileFactory.h"
#include "host/XMLSection.h"
#include "karta/internal/RowFilter.h"
#include "tools/TraceRead.h"

TestOptions::TestOptions(std::initializer_list<std::pair<std::string, std::string>> settings) {
    XMLSection document;
    XMLSection& section = document.CreateSection(XMLSection::Settings);
    for (const auto& [key, value] : settings) {
        section.Write(key, value);
    }
    const std::vector<std::uint8_t> bytes = EncodeOptionsText(document.Flush());
    content.assign(bytes.begin(), bytes.end());
    Point();
}

TestOptions::TestOptions(std::string bytes) : content(std::move(bytes)) {
    Point();
}

void TestOptions::Point() {
    record.size = static_cast<std::uint32_t>(content.size());
    record.data = reinterpret_cast<std::uint8_t*>(content.data());
}

SpreadsheetFile* NewReader(const std::string& formatName) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (formatName == SprFileFactory::GetInfo(i)->formatName) {
            return SprFileFactory::GetSpreadsheetFile(i);
        }
    }
    throw std::runtime_error("there is no format " + formatName);
}

std::string ErrorOf(SpreadsheetFile& reader) {
    char buffer[4097];
    reader.GetErrorMessage(buffer, sizeof buffer - 1);
    return buffer;
}

std::string ReadTrace(const std::string& formatName, const std::string& fileNames, const TraceOptions& how) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(formatName));
    const auto part = how.part == 0 ? std::nullopt : std::optional(how.part);
    std::ostringstream stream;
    TraceRead(*reader, {formatName.c_str(), fileNames.c_str(), how.options, RowFilter(how.want), part},
              stream);
    if (how.withRows) {
        return stream.str();
    }
    std::istringstream lines(stream.str());
    std::string trace;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("NextRowToRead")) {
            trace += line + "\n";
        }
    }
    return trace;
}

std::string CellsOf(const std::string& trace) {
    std::istringstream lines(trace);
    std::string cells;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("Set ")) {
            cells += line + "\n";
        }
    }
    return cells;
}
