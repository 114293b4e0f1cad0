#include "tools/ConversionTarget.h"

#include <utility>

#include "base/Note.h"
#include "base/PathNames.h"
#include "frame/FormatReader.h"
#include "tools/ConversionOutput.h"
#include "tools/Failure.h"
#include "tools/TableRead.h"
#include "tools/TableSource.h"

namespace {

// Its tables are of numbers; what else there is it keeps as names of rows and columns.
constexpr const char* WriterOfNumbers = "Matlab File";

std::optional<TableForm> FormOf(const std::string& name) {
    const std::string lower = ToLowerCase(name);
    if (lower == "csv") {
        return TableForm::Csv;
    }
    if (lower == "tsv") {
        return TableForm::Tsv;
    }
    if (lower == "jsonl") {
        return TableForm::JsonLines;
    }
    return std::nullopt;
}

// A format that writes: by its name, or as the first one with this extension.
int WritingFormat(const FormatCatalogue& formats, const std::string& name) {
    const int named = formats.FindFormat(name);
    if (named != 0 && formats.GetInfo(named)->canWrite != 0) {
        return named;
    }
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        for (const std::string& extension : formats.Extensions(i)) {
            if (formats.GetInfo(i)->canWrite != 0 && ToLowerCase(extension) == "." + ToLowerCase(name)) {
                return i;
            }
        }
    }
    return 0;
}

std::string WritableNames(const FormatCatalogue& formats) {
    std::string names = "csv, tsv, jsonl";
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        if (formats.GetInfo(i)->canWrite != 0) {
            names += std::string(", \"") + formats.GetInfo(i)->formatName + "\"";
        }
    }
    return names;
}

void Write(const FormatCatalogue& formats, int format, WriteSpreadSheetData& source,
           std::shared_ptr<karta::ReadContext> context, const std::string& path, const std::string& output) {
    const auto writer = formats.MakeReader(format);
    auto* const own = dynamic_cast<FormatReader*>(writer.get());
    if (own != nullptr && context != nullptr) {
        own->SetContext(std::move(context));
    }
    writer->Open(false, path.c_str(), nullptr);
    if (writer->GetStatus() != SpreadsheetFile::StatusOk ||
        writer->Write(&source) != SpreadsheetFile::StatusOk) {
        throw Failure(output + ": could not be written: " + MessageOf(*writer));
    }
    writer->Close();
}

// The count of cells that it had no place for.
std::size_t WriteNumbers(const FormatCatalogue& formats, int format, const FormatOutput& output,
                         const ConvertRequest& wanted, const std::string& path) {
    NumericRows source(output.table, output.rows, wanted.safeCells, output.headRows);
    if (int col = 0, row = 0; !source.GetDataOrigin(&col, &row)) {
        // The writer says what it says of a table without numbers, and needn't look through its texts again.
        TableData noTable;
        const std::vector<int> noRows;
        WantedRows nothing(noTable, noRows, false);
        Write(formats, format, nothing, output.context, path, wanted.output);
        return 0;
    }
    // Looked through before the file takes its place: who interrupts that keeps the older one.
    const std::size_t count = source.CountUnwritable();
    Write(formats, format, source, output.context, path, wanted.output);
    return count;
}

}  // namespace

ConversionTarget ConversionTarget::Choose(const FormatCatalogue& formats, const ConvertRequest& wanted) {
    const bool isCsv = wanted.output == "-" && wanted.target.empty();
    const std::string name = isCsv                   ? "csv"
                             : wanted.target.empty() ? NvGetFileExtension(wanted.output)
                                                     : wanted.target;
    ConversionTarget target{FormOf(name), 0};
    if (!target.form) {
        target.format = WritingFormat(formats, name);
        if (target.format == 0) {
            throw Failure(wanted.output + ": no way is known to write '" + name +
                              "'; name one with --to: " + WritableNames(formats) +
                              (ToLowerCase(name) == "parquet" ? "; Parquet is written from Python" : ""),
                          ExitUsage);
        }
    }
    if (wanted.objects && target.form != TableForm::JsonLines) {
        throw Failure("--objects is for JSON lines (--to jsonl)", ExitUsage);
    }
    return target;
}

std::size_t WriteWithFormat(const FormatCatalogue& formats, int format, const FormatOutput& output,
                            const ConvertRequest& wanted) {
    NamedConversionOutput named(wanted.output);
    std::size_t unwritable = 0;
    if (EqualIgnoringCase(formats.GetInfo(format)->formatName, WriterOfNumbers)) {
        unwritable = WriteNumbers(formats, format, output, wanted, named.GetPath());
    } else {
        WantedRows source(output.table, output.rows, wanted.safeCells);
        Write(formats, format, source, output.context, named.GetPath(), wanted.output);
    }
    named.Commit();
    return unwritable;
}

std::string TellUnwritable(std::size_t count) {
    return karta::CountOf(count, "cell") + " of text or of dates among the numbers " +
           (count == 1 ? "is" : "are") + " missing in the file written";
}
