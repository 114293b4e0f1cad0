#include "tools/TraceRead.h"

#include <exception>
#include <ostream>
#include <sstream>
#include <string>

#include "frame/FileContents.h"
#include "tools/TraceSink.h"

namespace {

constexpr unsigned int ErrorTextSize = 4096;

void WriteStatus(std::ostream& stream, const char* event, int status) {
    std::ostringstream line;
    line << event << " 0x" << std::hex << static_cast<unsigned int>(status) << '\n';
    stream << line.str();
}

bool Measure(SpreadsheetFile& reader, TraceSink& sink, std::ostream& stream) {
    const int rows = reader.GetNumRows();
    stream << "GetNumRows " << rows << '\n';
    const int cols = reader.GetNumCols();
    stream << "GetNumCols " << cols << '\n';
    if (rows == -1 || cols == -1) {
        return false;
    }
    if (rows <= 0 || cols <= 0) {
        stream << "NoData\n";
        return false;
    }
    sink.SetDataSize(cols, rows);
    return true;
}

// Open, measure, read. False as soon as one of them gives no table.
bool ReadThrough(SpreadsheetFile& reader, const TracedRead& read, std::ostream& stream) {
    reader.Open(true, read.fileNames, read.options);
    WriteStatus(stream, "Open", reader.GetStatus());
    if (reader.GetStatus() != SpreadsheetFile::StatusOk) {
        return false;
    }
    auto* contents = dynamic_cast<FileContents*>(&reader);
    if (read.part && contents != nullptr) {
        contents->SelectPart(*read.part);
    }
    TraceSink sink(stream, read.filter, read.isComplete);
    if (!read.isComplete && !Measure(reader, sink, stream)) {
        return false;
    }
    const int result = reader.Read(&sink);
    WriteStatus(stream, "Read", reader.GetStatus());
    const char* warning = reader.GetWarningMessage();
    if (warning != nullptr && warning[0] != '\0') {
        stream << "Warning " << QuoteForTrace(warning) << '\n';
    }
    return result == SpreadsheetFile::StatusOk;
}

}  // namespace

bool TraceRead(SpreadsheetFile& reader, const TracedRead& read, std::ostream& stream) {
    stream << "Format " << QuoteForTrace(read.formatName) << '\n';
    bool success = false;
    try {
        success = ReadThrough(reader, read, stream);
        if (reader.GetStatus() != SpreadsheetFile::StatusOk) {
            char message[ErrorTextSize + 1];
            reader.GetErrorMessage(message, ErrorTextSize);
            stream << "Error " << QuoteForTrace(message) << '\n';
        }
    } catch (const std::exception& exception) {
        success = false;
        stream << "Exception " << QuoteForTrace(exception.what()) << '\n';
    } catch (...) {
        success = false;
        stream << "Exception \"\"\n";
    }
    if (success && read.beforeClose) {
        read.beforeClose();
    }
    reader.Close();
    stream << "Close\n";
    return success;
}
