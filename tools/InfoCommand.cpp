#include <cmath>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "base/UniqueNames.h"
#include "frame/FileContents.h"
#include "tools/Commands.h"
#include "tools/ExtentSink.h"
#include "tools/Failure.h"
#include "tools/FileSummary.h"
#include "tools/Json.h"
#include "tools/TableRead.h"
#include "tools/Utf8Text.h"

namespace {

/** All that is said about a selection. */
struct Report : FileSummary {
    int rows = 0;
    int cols = 0;
    ReadReport read;
    std::optional<Failure> failure;  // there is no table; what the file holds is known all the same
};

Report Examine(const ReadRequest& request) {
    Report report;
    const ChosenFormat chosen = ChooseFormat(request);
    static_cast<FileSummary&>(report) = SummariseFile(request, chosen);
    // The size of some formats, and all warnings and notes, are known only when the table has been read.
    PersonsControl control(request);
    ExtentSink extent(control.Get());
    try {
        ReadSelection(request, chosen, control.Get(), extent, report.read);
    } catch (const Failure& failure) {
        if (failure.GetStatus() != ExitFailed || report.parts.empty()) {
            throw;
        }
        report.failure = failure;
    }
    report.rows = extent.GetNumberOfRows();
    report.cols = extent.GetNumberOfColumns();
    if (request.quiet) {
        report.read.warning.clear();
        report.read.notes.clear();
    }
    return report;
}

std::string SizeOf(const FileContents::Part& part) {
    if (part.rows < 0 || part.cols < 0) {
        return {};
    }
    return std::to_string(part.rows) + " rows, " + std::to_string(part.cols) + " columns";
}

void WriteLine(const std::string& name, const std::string& value) {
    std::cout << FactLine(name, value);
}

void WriteText(const ReadRequest& request, const Report& report) {
    for (const std::string& file : request.files) {
        WriteLine("file", request.NameOf(file));
    }
    WriteLine("format", report.format + " (" + report.reason + ")");
    if (report.failure) {
        WriteLine("table", "can't be read as it is");
    } else {
        WriteLine("table",
                  std::to_string(report.rows) + " rows, " + std::to_string(report.cols) + " columns");
    }
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
    if (!report.read.warning.empty()) {
        // Of several lines, as the reader parts them.
        std::cout << "warning     " << AsUtf8(report.read.warning) << '\n';
    }
    for (const karta::Note& note : report.read.notes) {
        WriteLine("note", note.text);
    }
}

void WriteFact(JsonWriter& json, const std::string& name, const FileContents::Fact& fact) {
    if (!fact.number || !std::isfinite(*fact.number)) {
        json.Put(name, AsUtf8(fact.value));
        return;
    }
    json.BeginObject(name);
    json.Put("value", *fact.number);
    json.Put("unit", AsUtf8(fact.unit));
    json.EndObject();
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

void WriteNote(JsonWriter& json, const karta::Note& note) {
    json.BeginObject();
    json.Put("code", note.code);
    json.Put("count", static_cast<long long>(note.count));
    json.Put("place", AsUtf8(note.place));
    json.Put("text", AsUtf8(note.text));
    json.EndObject();
}

void WriteJson(const ReadRequest& request, const Report& report) {
    JsonWriter json(std::cout);
    json.BeginObject();
    json.BeginArray("files");
    for (const std::string& file : request.files) {
        json.Put(AsUtf8(request.NameOf(file)));
    }
    json.EndArray();
    json.Put("format", report.format);
    json.Put("reason", report.reason);
    json.Put("reading", request.IsComplete() ? "complete" : "classic");
    if (!report.failure) {
        json.Put("rows", static_cast<long long>(report.rows));
        json.Put("columns", static_cast<long long>(report.cols));
    }
    json.BeginObject("facts");
    karta::UniqueNames names;
    for (const FileContents::Fact& fact : report.facts) {
        WriteFact(json, names.Take(AsUtf8(fact.name)), fact);
    }
    json.EndObject();
    json.BeginArray("parts");
    for (const FileContents::Part& part : report.parts) {
        WritePart(json, part);
    }
    json.EndArray();
    json.Put("warning", AsUtf8(report.read.warning));
    json.BeginArray("notes");
    for (const karta::Note& note : report.read.notes) {
        WriteNote(json, note);
    }
    json.EndArray();
    if (report.failure) {
        PutError(json, *report.failure);
    }
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
    if (report.failure) {
        std::cout.flush();
        std::cerr << "karta-import: " << report.failure->what() << '\n';
        return report.failure->GetStatus();
    }
    return ExitSuccess;
}
