#include "tests/support/ReaderOutcome.h"

#include <exception>
#include <sstream>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TableDigest.h"

namespace {

void WriteParts(FileContents& contents, std::ostream& stream) {
    for (const FileContents::Part& part : contents.ListParts()) {
        stream << "Part " << part.number << ' ' << part.kind << ' ' << part.name << ' ' << part.cols << 'x'
               << part.rows << ' ' << part.detail << '\n';
    }
}

void WriteFacts(FileContents& contents, std::ostream& stream) {
    for (const FileContents::Fact& fact : contents.ListFacts()) {
        stream << "Fact " << fact.name << ' ' << fact.value << '\n';
    }
}

void WriteSizes(SpreadsheetFile& reader, std::ostream& stream) {
    stream << "Rows " << reader.GetNumRows() << '\n';
    stream << "Cols " << reader.GetNumCols() << '\n';
}

void WriteTable(SpreadsheetFile& reader, std::ostream& stream) {
    TableData table;
    stream << "Read " << reader.Read(&table) << '\n';
    stream << "Table " << table.GetNumberOfColumns() << 'x' << table.GetNumberOfRows() << ' '
           << TableDigest(table) << '\n';
}

// Each call by itself, so that one that throws keeps none of the others from being made.
template <class Call>
void Try(std::ostream& stream, Call call) {
    try {
        call();
    } catch (const std::exception& exception) {
        stream << "Exception " << exception.what() << '\n';
    }
}

}  // namespace

std::string OutcomeOf(SpreadsheetFile& reader, karta::Reading reading, const std::string& fileNames) {
    std::ostringstream stream;
    if (auto* own = dynamic_cast<FormatReader*>(&reader); own != nullptr) {
        auto context = std::make_shared<karta::ReadContext>();
        context->reading = reading;
        own->SetContext(std::move(context));
    }
    Try(stream, [&] { stream << "Open " << reader.Open(true, fileNames.c_str(), nullptr) << '\n'; });
    return stream.str() + OutcomeOfCalls(reader);
}

std::string OutcomeOfCalls(SpreadsheetFile& reader) {
    std::ostringstream stream;
    if (auto* contents = dynamic_cast<FileContents*>(&reader); contents != nullptr) {
        Try(stream, [&] { WriteParts(*contents, stream); });
        Try(stream, [&] { WriteFacts(*contents, stream); });
    }
    Try(stream, [&] { WriteSizes(reader, stream); });
    Try(stream, [&] { WriteTable(reader, stream); });
    if (auto* contents = dynamic_cast<FileContents*>(&reader); contents != nullptr) {
        Try(stream, [&] { stream << "Select " << contents->SelectPart(1) << '\n'; });
        Try(stream, [&] { WriteSizes(reader, stream); });
        Try(stream, [&] { WriteTable(reader, stream); });
    }
    Try(stream, [&] {
        const char* warning = reader.GetWarningMessage();
        stream << "Warning " << (warning == nullptr ? "" : warning) << '\n';
    });
    stream << "Status " << reader.GetStatus() << '\n';
    Try(stream, [&] { stream << "Error " << ErrorOf(reader) << '\n'; });
    return stream.str();
}

std::string OutcomeOf(const std::string& formatName, karta::Reading reading, const std::string& fileNames) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(formatName));
    std::string outcome = OutcomeOf(*reader, reading, fileNames);
    reader->Close();
    return outcome;
}
