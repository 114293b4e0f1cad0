#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "base/PathNames.h"
#include "frame/FileContents.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/TableRead.h"
#include "tools/Utf8Text.h"

namespace {

/** All that is said about a selection. */
struct Report {
    std::string format;
    std::string reason;  // why this format
    int rows = 0;
    int cols = 0;
    std::vector<FileContents::Fact> facts;
    std::vector<FileContents::Part> parts;
    std::string warning;
};

std::string ReasonFor(const FormatCatalogue& formats, int format, const ReadRequest& request) {
    if (!request.format.empty()) {
        return "named with --format";
    }
    const std::string& file = request.files.front();
    if (formats.GetVerdict(format, file.c_str()) == 2) {
        return "proved by the content";
    }
    const std::string lower = ToLowerCase(file);
    for (const std::string& extension : formats.Extensions(format)) {
        if (lower.ends_with(ToLowerCase(extension))) {
            return "possible by the content, chosen by the extension " + extension;
        }
    }
    return "the first that is possible by the content; --format names another";
}

void CollectContents(const FormatCatalogue& formats, int format, const ReadRequest& request, Report& report) {
    OptionsRecord options = MakeOptions(formats, format, request);
    const auto reader = MakeReader(formats, format, request);
    reader->Open(true, request.Selection().c_str(), options.Get());
    if (auto* contents = dynamic_cast<FileContents*>(reader.get());
        contents != nullptr && reader->GetStatus() == SpreadsheetFile::StatusOk) {
        report.facts = contents->ListFacts();
        report.parts = contents->ListParts();
    }
}

Report Examine(const ReadRequest& request) {
    Report report;
    CheckFiles(request);
    AnswerQuestions(request);
    const auto formats = LoadFormats(request);
    const int format = ChooseFormat(*formats, request);
    report.format = formats->GetInfo(format)->formatName;
    report.reason = ReasonFor(*formats, format, request);
    CollectContents(*formats, format, request, report);
    // The size of some formats, and all warnings, are known only when the table has been read.
    TableRead read;
    ReadTable(request, read);
    report.rows = read.table->GetNumberOfRows();
    report.cols = read.table->GetNumberOfColumns();
    report.warning = request.quiet ? "" : read.warning;
    return report;
}

std::string SizeOf(const FileContents::Part& part) {
    if (part.rows < 0 || part.cols < 0) {
        return {};
    }
    return std::to_string(part.rows) + " rows, " + std::to_string(part.cols) + " columns";
}

void WriteLine(const std::string& name, const std::string& value) {
    std::cout << name << std::string(std::max<std::size_t>(name.size(), 10) + 2 - name.size(), ' ')
              << AsUtf8(value) << '\n';
}

void WriteText(const ReadRequest& request, const Report& report) {
    for (const std::string& file : request.files) {
        WriteLine("file", file);
    }
    WriteLine("format", report.format + " (" + report.reason + ")");
    WriteLine("table", std::to_string(report.rows) + " rows, " + std::to_string(report.cols) + " columns");
    for (const FileContents::Fact& fact : report.facts) {
        WriteLine(fact.name, fact.value);
    }
    for (std::size_t i = 0; i < report.parts.size(); ++i) {
        const FileContents::Part& part = report.parts[i];
        std::string text = part.name;
        for (const std::string& more :
             {SizeOf(part), part.detail, std::string(part.hidden ? "hidden" : "")}) {
            text += more.empty() ? "" : ", " + more;
        }
        WriteLine(part.kind + " " + std::to_string(i + 1), text);
    }
    if (!report.warning.empty()) {
        WriteLine("warning", report.warning);
    }
}

void WritePart(JsonWriter& json, const FileContents::Part& part) {
    json.BeginObject();
    json.Put("kind", part.kind);
    json.Put("name", AsUtf8(part.name));
    if (part.rows >= 0 && part.cols >= 0) {
        json.Put("rows", static_cast<long long>(part.rows));
        json.Put("columns", static_cast<long long>(part.cols));
    }
    json.Put("hidden", part.hidden);
    json.Put("detail", AsUtf8(part.detail));
    json.EndObject();
}

void WriteJson(const ReadRequest& request, const Report& report) {
    JsonWriter json(std::cout);
    json.BeginObject();
    json.BeginArray("files");
    for (const std::string& file : request.files) {
        json.Put(AsUtf8(file));
    }
    json.EndArray();
    json.Put("format", report.format);
    json.Put("reason", report.reason);
    json.Put("rows", static_cast<long long>(report.rows));
    json.Put("columns", static_cast<long long>(report.cols));
    json.BeginObject("facts");
    for (const FileContents::Fact& fact : report.facts) {
        json.Put(fact.name, AsUtf8(fact.value));
    }
    json.EndObject();
    json.BeginArray("parts");
    for (const FileContents::Part& part : report.parts) {
        WritePart(json, part);
    }
    json.EndArray();
    json.Put("warning", AsUtf8(report.warning));
    json.EndObject();
}

}  // namespace

int RunInfo(const ReadRequest& request, bool json) {
    const Report report = Examine(request);
    if (json) {
        WriteJson(request, report);
    } else {
        WriteText(request, report);
    }
    return ExitSuccess;
}
