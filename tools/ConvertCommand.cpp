#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include "host/OutputFile.h"
#include "host/PathNames.h"
#include "host/TemporaryFile.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/TableRead.h"
#include "tools/TableWriter.h"
#include "tools/Utf8Text.h"

namespace {

constexpr const char* StandardOutput = "-";

/** What to write: one of the program's own forms, or a format of the library. */
struct Target {
    std::optional<TableForm> form;
    int format = 0;
};

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

Target ChooseTarget(const FormatCatalogue& formats, const std::string& output, const std::string& wanted) {
    std::string name = wanted.empty() ? NvGetFileExtension(output) : wanted;
    if (output == StandardOutput && wanted.empty()) {
        name = "csv";
    }
    Target target{FormOf(name), 0};
    if (!target.form) {
        target.format = WritingFormat(formats, name);
        if (target.format == 0) {
            throw Failure(output + ": no way is known to write '" + name +
                              "'; name one with --to: " + WritableNames(formats),
                          ExitUsage);
        }
    }
    return target;
}

/** A table whose texts are UTF-8, as all that the program writes is. */
class Utf8Source : public WriteSpreadSheetData {
public:
    explicit Utf8Source(TableData& source) : table(source) {}

    double GetFloatValue(int col, int row) override { return table.GetFloatValue(col, row); }
    std::string GetString(int col, int row) override { return AsUtf8(table.GetString(col, row)); }
    bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override {
        return table.GetDataOrigin(firstDataCol, firstDataRow);
    }
    bool IsFloat(int col, int row) override { return table.IsFloat(col, row); }
    bool IsMissing(int col, int row) override { return table.IsMissing(col, row); }
    bool IsString(int col, int row) override { return table.IsString(col, row); }
    int GetNumberOfColumns() override { return table.GetNumberOfColumns(); }
    int GetNumberOfRows() override { return table.GetNumberOfRows(); }

private:
    TableData& table;
};

void WriteWithFormat(const FormatCatalogue& formats, int format, TableData& table, const std::string& path) {
    const auto writer = formats.MakeReader(format);
    Utf8Source source(table);
    writer->Open(false, path.c_str(), nullptr);
    if (writer->GetStatus() != SpreadsheetFile::StatusOk ||
        writer->Write(&source) != SpreadsheetFile::StatusOk) {
        throw Failure(path + ": could not be written: " + MessageOf(*writer));
    }
    writer->Close();
}

// A library's writer wants a file of its own; what it wrote is then passed on.
void CopyToStandardOutput(const FormatCatalogue& formats, int format, TableData& table) {
    const std::string path = MakeTemporaryFile("karta-import-");
    if (path.empty()) {
        throw Failure("no temporary file can be made");
    }
    try {
        WriteWithFormat(formats, format, table, path);
    } catch (...) {
        unlink(path.c_str());
        throw;
    }
    std::cout << std::ifstream(path, std::ios::binary).rdbuf();
    unlink(path.c_str());
}

void WriteForm(TableData& table, TableForm form, const std::string& output) {
    const bool toStandardOutput = output == StandardOutput;
    const auto file =
        toStandardOutput ? std::make_unique<OutputFile>(STDOUT_FILENO) : std::make_unique<OutputFile>(output);
    if (!file->HasFailed()) {
        WriteTable(table, form, *file);
    }
    // A reader of the output that has gone away has had enough.
    if (!file->Commit() && !(toStandardOutput && file->GetError() == EPIPE)) {
        throw Failure(output + ": could not be written: " + std::strerror(file->GetError()));
    }
}

}  // namespace

int RunConvert(const ReadRequest& request, const std::string& output, const std::string& target) {
    const auto formats = LoadFormats(request);
    const Target chosen = ChooseTarget(*formats, output, target);
    TableRead read;
    ReadTable(request, read);
    if (chosen.form) {
        WriteForm(*read.table, *chosen.form, output);
    } else if (output == StandardOutput) {
        CopyToStandardOutput(*formats, chosen.format, *read.table);
    } else {
        WriteWithFormat(*formats, chosen.format, *read.table, output);
    }
    ShowWarning(request, read.warning);
    return ExitSuccess;
}
