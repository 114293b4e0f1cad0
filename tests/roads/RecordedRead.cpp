#include "tests/roads/RecordedRead.h"

#include <cstdio>
#include <exception>
#include <memory>

#include "frame/SprFileFactory.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/Verdict.h"
#include "tools/TraceSink.h"

namespace {

// What NvImportGetLastError has room for.
constexpr std::size_t FlatErrorLength = 254;

std::string StatusLine(const char* event, int status) {
    char line[40];
    std::snprintf(line, sizeof line, "%s 0x%x\n", event, static_cast<unsigned int>(status));
    return line;
}

// NvImportIsCorrectFileType's code.
int VerdictCode(MyKindOfFile kind) {
    switch (kind) {
        case KindYes:
            return 2;
        case KindNo:
            return 0;
        default:
            return 1;
    }
}

std::string QuotedLine(const char* event, const std::string& text) {
    return std::string(event) + " " + QuoteForTrace(text) + "\n";
}

}  // namespace

RecordedRead::RecordedRead(const std::string& format, const std::string& selection, std::vector<int> rows)
    : formatName(format), verdict(VerdictCode(VerdictOf(format, selection))), recorder(std::move(rows)) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
    try {
        succeeded = LeadThrough(*reader, selection);
        lastStatus = reader->GetStatus();
        error = ErrorOf(*reader);
    } catch (const std::exception& caught) {
        threw = true;
        exception = caught.what();
    } catch (...) {
        threw = true;
    }
    reader->Close();
}

// True when there is a table at the end.
bool RecordedRead::LeadThrough(SpreadsheetFile& reader, const std::string& selection) {
    openStatus = reader.Open(true, selection.c_str(), nullptr);
    if (openStatus != SpreadsheetFile::StatusOk) {
        return false;
    }
    numRows = reader.GetNumRows();
    numCols = reader.GetNumCols();
    measured = true;
    if (numRows <= 0 || numCols <= 0) {
        return false;
    }
    recorder.SetDataSize(numCols, numRows);
    const int result = reader.Read(&recorder);
    wasRead = true;
    statusAfterRead = reader.GetStatus();
    if (const char* text = reader.GetWarningMessage()) {
        warning = text;
    }
    return result == SpreadsheetFile::StatusOk;
}

std::vector<SinkCall> RecordedRead::NarrowedCalls() const {
    std::vector<SinkCall> narrowed;
    for (const SinkCall& call : recorder.calls) {
        narrowed.push_back(call.Narrowed());
    }
    return narrowed;
}

std::string RecordedRead::NarrowedLines() const {
    std::string lines;
    for (const SinkCall& call : NarrowedCalls()) {
        lines += call.Line() + "\n";
    }
    return lines;
}

std::string RecordedRead::Trace() const {
    std::string trace = QuotedLine("Format", formatName);
    if (openStatus != 0 || measured) {
        trace += StatusLine("Open", openStatus);
    }
    if (measured) {
        trace += "GetNumRows " + std::to_string(numRows) + "\nGetNumCols " + std::to_string(numCols) + "\n";
    }
    if (measured && numRows != -1 && numCols != -1 && (numRows <= 0 || numCols <= 0)) {
        trace += "NoData\n";
    }
    for (const SinkCall& call : recorder.calls) {
        trace += call.Line() + "\n";
    }
    if (wasRead) {
        trace += StatusLine("Read", statusAfterRead);
    }
    if (!warning.empty()) {
        trace += QuotedLine("Warning", warning);
    }
    if (threw) {
        trace += QuotedLine("Exception", exception);
    }
    return trace + (lastStatus != 0 ? QuotedLine("Error", error) : "") + "Close\n";
}

std::string RecordedRead::FlatTrace() const {
    std::string trace = "Verdict " + std::to_string(verdict) + "\n";
    if (measured) {
        trace += "Size " + std::to_string(numCols) + " " + std::to_string(numRows) + "\n";
    }
    trace += NarrowedLines();
    if (succeeded) {
        trace += warning.empty() ? "" : QuotedLine("Warning", warning);
    } else if (measured && (numRows == 0 || numCols == 0) && numRows >= 0 && numCols >= 0) {
        trace += "NoData\n";
    } else {
        trace += QuotedLine("Error", error.substr(0, FlatErrorLength));
    }
    return trace + "Close\n";
}

std::string RecordedRead::DriverError() const {
    if (succeeded) {
        return "";
    }
    if (threw) {
        return "Exception during file reading. Import will be aborted.";
    }
    if (measured && !wasRead && numRows != -1 && numCols != -1) {
        return "The selected file does not contain any data. Import will be aborted.";
    }
    return error == "AbortedByUser" ? "" : error.substr(0, FlatErrorLength);
}

std::string RecordedRead::DriverTrace() const {
    std::string trace = NarrowedLines();
    if (succeeded) {
        return trace + (warning.empty() ? "" : QuotedLine("Warning", warning)) + "Driver true\n";
    }
    return trace + QuotedLine("Error", DriverError()) + "Driver false\n";
}
