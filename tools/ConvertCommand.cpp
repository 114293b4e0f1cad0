#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "base/TemporaryFile.h"
#include "host/NvFile.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/TableRead.h"
#include "tools/TableWriter.h"
#include "tools/Utf8Text.h"

namespace {

constexpr const char* StandardOutput = "-";

constexpr double MostCellsOfSmallFile = 1 << 28;
constexpr double MostCellsPerByte = 64.0;

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

void Commit(OutputFile& file, const std::string& output) {
    // A reader of standard output that has gone away has had enough.
    if (!file.Commit() && !(output == StandardOutput && file.GetError() == EPIPE)) {
        throw Failure(output + ": could not be written: " + std::strerror(file.GetError()));
    }
}

void CopyToStandardOutput(const std::string& path) {
    std::ifstream source(path, std::ios::binary);
    OutputFile file(STDOUT_FILENO);
    char piece[1 << 16];
    while (source && !file.HasFailed()) {
        source.read(piece, sizeof piece);
        file.Write({piece, static_cast<std::size_t>(source.gcount())});
    }
    if (!source.eof() && !file.HasFailed()) {
        throw Failure(path + ": could not be read back");
    }
    Commit(file, StandardOutput);
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
void WriteToStandardOutput(const FormatCatalogue& formats, int format, WantedRows& source) {
    const TemporaryFolder folder;
    // Some formats keep the file's name in the file.
    const std::string path = folder.path + "/" + StandardOutput;
    WriteWithFormat(formats, format, source, path, StandardOutput);
    CopyToStandardOutput(path);
}

void WriteForm(TableData& table, const std::vector<int>& rows, TableForm form, const std::string& output) {
    const auto file = output == StandardOutput ? std::make_unique<OutputFile>(STDOUT_FILENO)
                                               : std::make_unique<OutputFile>(output);
    if (!file->HasFailed()) {
        WriteTable(table, rows, form, *file);
    }
    Commit(*file, output);
}

// Every cell of a table is written, the empty ones too. A few bytes can claim a table of billions, which no
// one has a use for; who wants a part of it all the same says which rows.
void CheckExtent(const ReadRequest& request, TableData& table) {
    if (!request.want.empty()) {
        return;
    }
    const int rows = table.GetNumberOfRows();
    double bytes = 0.0;
    for (const std::string& file : request.files) {
        bytes += static_cast<double>(NvFile::GetSize(file.c_str()));
    }
    const double cells = static_cast<double>(rows) * table.GetNumberOfColumns();
    if (cells > std::max(MostCellsOfSmallFile, MostCellsPerByte * bytes)) {
        throw Failure(request.files.front() + ": the file claims a table of " + std::to_string(rows) +
                      " rows and " + std::to_string(table.GetNumberOfColumns()) +
                      " columns, far more than it can hold; --want takes some of its rows");
    }
}

}  // namespace

int RunConvert(const ReadRequest& request, const std::string& output, const std::string& target) {
    const auto formats = LoadFormats(request);
    const Target chosen = ChooseTarget(*formats, output, target);
    TableRead read;
    ReadTable(request, read);
    CheckExtent(request, *read.table);
    const std::vector<int> rows = read.Rows(request);
    WantedRows source(*read.table, rows);
    if (chosen.form) {
        WriteForm(*read.table, rows, *chosen.form, output);
    } else if (output == StandardOutput) {
        WriteToStandardOutput(*formats, chosen.format, source);
    } else {
        WriteWithFormat(*formats, chosen.format, source, output, output);
    }
    ShowWarning(request, read.warning);
    ShowNotes(request, read.notes);
    return ExitSuccess;
}
