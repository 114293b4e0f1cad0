#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

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

/** What a format's writer gets: the wanted rows, with their texts in UTF-8 as all that is written here. */
class WantedRows : public WriteSpreadSheetData {
public:
    WantedRows(TableData& source, const std::vector<int>& wanted) : table(source), rows(wanted) {}

    double GetFloatValue(int col, int row) override { return table.GetFloatValue(col, At(row)); }
    std::string GetString(int col, int row) override { return AsUtf8(table.GetString(col, At(row))); }
    bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override {
        int row = 0;
        if (!table.GetDataOrigin(firstDataCol, &row)) {
            return false;
        }
        const auto place = std::lower_bound(rows.begin(), rows.end(), row);
        *firstDataRow = static_cast<int>(place - rows.begin()) + 1;
        return place != rows.end();
    }
    bool IsFloat(int col, int row) override { return table.IsFloat(col, At(row)); }
    bool IsMissing(int col, int row) override { return table.IsMissing(col, At(row)); }
    bool IsString(int col, int row) override { return table.IsString(col, At(row)); }
    int GetNumberOfColumns() override { return table.GetNumberOfColumns(); }
    int GetNumberOfRows() override { return static_cast<int>(rows.size()); }

private:
    int At(int row) const { return rows[static_cast<std::size_t>(row) - 1]; }

    TableData& table;
    const std::vector<int>& rows;
};

// `output` is the name that the user knows the file by.
void WriteWithFormat(const FormatCatalogue& formats, int format, WantedRows& source, const std::string& path,
                     const std::string& output) {
    const auto writer = formats.MakeReader(format);
    writer->Open(false, path.c_str(), nullptr);
    if (writer->GetStatus() != SpreadsheetFile::StatusOk ||
        writer->Write(&source) != SpreadsheetFile::StatusOk) {
        throw Failure(output + ": could not be written: " + MessageOf(*writer));
    }
    writer->Close();
}

/** A folder of its own in the system's temporary directory, gone with the object. */
struct TemporaryFolder {
    TemporaryFolder() {
        if (path.empty()) {
            throw Failure("no temporary folder can be made");
        }
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    const std::string path = MakeTemporaryFolder("karta-import-");
};

// A library's writer wants a file of its own; what it wrote is then passed on.
void CopyToStandardOutput(const FormatCatalogue& formats, int format, WantedRows& source) {
    const TemporaryFolder folder;
    // Some formats keep the file's name in the file.
    const std::string path = folder.path + "/" + StandardOutput;
    WriteWithFormat(formats, format, source, path, StandardOutput);
    std::ifstream file(path, std::ios::binary);
    // A file of no bytes would count as a failure of the stream that it is passed to.
    if (file.peek() != std::ifstream::traits_type::eof()) {
        std::cout << file.rdbuf();
    }
}

void WriteForm(TableData& table, const std::vector<int>& rows, TableForm form, const std::string& output) {
    const bool toStandardOutput = output == StandardOutput;
    const auto file =
        toStandardOutput ? std::make_unique<OutputFile>(STDOUT_FILENO) : std::make_unique<OutputFile>(output);
    if (!file->HasFailed()) {
        WriteTable(table, rows, form, *file);
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
    const std::vector<int> rows = read.Rows(request);
    WantedRows source(*read.table, rows);
    if (chosen.form) {
        WriteForm(*read.table, rows, *chosen.form, output);
    } else if (output == StandardOutput) {
        CopyToStandardOutput(*formats, chosen.format, source);
    } else {
        WriteWithFormat(*formats, chosen.format, source, output, output);
    }
    ShowWarning(request, read.warning);
    return ExitSuccess;
}
