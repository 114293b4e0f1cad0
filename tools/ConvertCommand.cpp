#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <numeric>
#include <optional>
#include <system_error>
#include <vector>

#include "base/MemoryShare.h"
#include "base/Note.h"
#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "base/TemporaryFolder.h"
#include "frame/FormatReader.h"
#include "host/NvFile.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/StreamingSink.h"
#include "tools/TableRead.h"
#include "tools/TableSource.h"
#include "tools/TableWriter.h"

namespace {

constexpr const char* StandardOutput = "-";
constexpr const char* TemporaryPrefix = "karta-import-";

// Its tables are of numbers; what else there is it keeps as names of rows and columns.
constexpr const char* WriterOfNumbers = "Matlab File";

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

// `output` is the name that the user knows the file by; `context` is the read's, whose budget holds for what
// is written too.
void WriteWithFormat(const FormatCatalogue& formats, int format, WriteSpreadSheetData& source,
                     std::shared_ptr<karta::ReadContext> context, const std::string& path,
                     const std::string& output) {
    const auto writer = formats.MakeReader(format);
    if (auto* own = dynamic_cast<FormatReader*>(writer.get())) {
        own->SetContext(std::move(context));
    }
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

// A terminal gets no control characters, though a file or another program would.
bool IsTerminal(const std::string& output) {
    return output == StandardOutput && isatty(STDOUT_FILENO) != 0;
}

void CopyToStandardOutput(const std::string& path) {
    std::ifstream source(path, std::ios::binary);
    OutputFile file(STDOUT_FILENO);
    const bool isTerminal = IsTerminal(StandardOutput);
    char piece[1 << 16];
    while (source && !file.HasFailed()) {
        Interrupt::ThrowIfRequested();
        source.read(piece, sizeof piece);
        if (isTerminal) {
            std::cout.write(piece, source.gcount());
        } else {
            file.Write({piece, static_cast<std::size_t>(source.gcount())});
        }
    }
    if (!source.eof() && !file.HasFailed()) {
        throw Failure(path + ": could not be read back");
    }
    Commit(file, StandardOutput);
}

// Where an output grows that is to go to standard output.
std::string OutputIn(const TemporaryFolder& folder) {
    if (folder.GetPath().empty()) {
        throw Failure("no temporary folder can be made");
    }
    return folder.GetPath() + "/" + StandardOutput;
}

void WriteForm(TableData& table, const std::vector<int>& rows, const FormRequest& form, karta::Budget* budget,
               const std::string& path) {
    OutputFile file(path);
    file.SetBudget(budget);
    if (!file.HasFailed()) {
        WriteTable(table, rows, form, file);
    }
    Commit(file, path);
}

// Every cell of a table is written, the empty ones too. A few bytes can claim a table of billions, which no
// one has a use for; who wants a part of it all the same says which rows, and who wants it whole what it may
// take.
void CheckExtent(const ReadRequest& request, int rows, int cols) {
    if (!request.want.empty() || request.limit) {
        return;
    }
    double bytes = 0.0;
    for (const std::string& file : request.files) {
        bytes += static_cast<double>(NvFile::GetSize(file.c_str()));
    }
    // Rows without a column are lines in what is written.
    const double cells = static_cast<double>(rows) * std::max(cols, 1);
    if (cells > std::max(MostCellsOfSmallFile, MostCellsPerByte * bytes)) {
        throw Failure(
            request.files.front() + ": the file claims a table of " + std::to_string(rows) + " rows and " +
            std::to_string(cols) +
            " columns, far more than it can hold; --want takes some of its rows, --limit allows more");
    }
}

void WriteWithFormat(const FormatCatalogue& formats, int format, TableRead& read,
                     const std::vector<int>& rows, const ConvertRequest& wanted, const std::string& path) {
    if (!EqualIgnoringCase(formats.GetInfo(format)->formatName, WriterOfNumbers)) {
        WantedRows source(*read.table, rows, wanted.safeCells);
        WriteWithFormat(formats, format, source, read.report.context, path, wanted.output);
        return;
    }
    NumericRows source(*read.table, rows, wanted.safeCells);
    if (int col = 0, row = 0; !source.GetDataOrigin(&col, &row)) {
        // The writer says what it says of a table without numbers, and needn't look through its texts again.
        TableData noTable;
        const std::vector<int> noRows;
        WantedRows nothing(noTable, noRows, false);
        WriteWithFormat(formats, format, nothing, read.report.context, path, wanted.output);
        return;
    }
    // Looked through before the file takes its place: who interrupts that keeps the older one.
    const std::size_t count = source.CountUnwritable();
    WriteWithFormat(formats, format, source, read.report.context, path, wanted.output);
    if (count > 0) {
        read.report.notes.push_back({"texts-among-numbers", count, "",
                                     karta::CountOf(count, "cell") +
                                         " of text or of dates among the numbers " +
                                         (count == 1 ? "is" : "are") + " missing in the file written"});
    }
}

void Write(const FormatCatalogue& formats, const Target& target, TableRead& read,
           const std::vector<int>& rows, const ConvertRequest& wanted) {
    if (target.form) {
        const FormRequest form{*target.form, wanted.safeCells, wanted.objects, &read.report.shape};
        if (wanted.output == StandardOutput && !IsTerminal(wanted.output)) {
            OutputFile file(STDOUT_FILENO);
            file.SetBudget(read.report.GetBudget());
            WriteTable(*read.table, rows, form, file);
            Commit(file, wanted.output);
        } else if (wanted.output == StandardOutput) {
            const TemporaryFolder folder(TemporaryPrefix);
            WriteForm(*read.table, rows, form, read.report.GetBudget(), OutputIn(folder));
            CopyToStandardOutput(OutputIn(folder));
        } else {
            WriteForm(*read.table, rows, form, read.report.GetBudget(), wanted.output);
        }
        return;
    }
    if (wanted.output == StandardOutput) {
        // A library's writer wants a file of its own, whose name some formats keep in the file.
        const TemporaryFolder folder(TemporaryPrefix);
        WriteWithFormat(formats, target.format, read, rows, wanted, OutputIn(folder));
        CopyToStandardOutput(OutputIn(folder));
    } else {
        WriteWithFormat(formats, target.format, read, rows, wanted, wanted.output);
    }
}

// Rows can go out before all is read: they are the same whatever comes behind them.
bool CanStream(const ReadRequest& request, const Target& target, const std::string& output) {
    return target.form && request.IsComplete() && !request.throughDriver && request.want.empty() &&
           !IsTerminal(output);
}

bool HasNote(const ReadReport& report, const char* code) {
    return std::any_of(report.notes.begin(), report.notes.end(),
                       [&](const karta::Note& note) { return note.code == code; });
}

// What has gone there can't be taken back.
bool IsDirect(const std::string& output) {
    std::error_code unknown;
    return output == StandardOutput ||
           (std::filesystem::exists(output, unknown) && !std::filesystem::is_regular_file(output, unknown));
}

/**
 * Converts while reading, in the memory of a small table. What the beginning of a file doesn't tell, the
 * table's width, the types of columns, an encoding, may turn out on the way; then it is done again with what
 * is known.
 */
class StreamingConversion {
public:
    StreamingConversion(const ReadRequest& readRequest, const ConvertRequest& convertRequest,
                        TableForm tableForm)
        : request(readRequest),
          wanted(convertRequest),
          form{tableForm, wanted.safeCells, wanted.objects, nullptr},
          // Where nothing can be taken back, a table that isn't small is measured first.
          mayWrite(!IsDirect(wanted.output)) {}

    /** False: it can't be done so, and nothing was written. */
    bool Run() {
        constexpr int MostTries = 4;
        for (int i = 0; i < MostTries; ++i) {
            const Outcome outcome = Try();
            if (outcome != Outcome::IsToBeDoneAgain) {
                return outcome == Outcome::IsDone;
            }
        }
        return false;
    }

private:
    enum class Outcome { IsDone, IsToBeDoneAgain, CantBeDone };

    Outcome Try() {
        ReadReport report;
        const std::unique_ptr<OutputFile> file = wanted.output == StandardOutput
                                                     ? std::make_unique<OutputFile>(STDOUT_FILENO)
                                                     : std::make_unique<OutputFile>(wanted.output);
        if (file->HasFailed()) {
            Commit(*file, wanted.output);
        }
        const ChosenFormat chosen = ChooseFormat(request);
        PersonsControl control(request);
        StreamingSink sink(control.Get(), report, form, mayWrite ? file.get() : nullptr, width,
                           wantsEvidence);
        ReadSelection(request, chosen, control.Get(), sink, report);
        width = sink.GetNumberOfColumns();
        CheckExtent(request, sink.GetNumberOfRows(), width);
        if (sink.IsLate()) {
            return Outcome::CantBeDone;
        }
        if (!wantsEvidence && WasMisjudged(report)) {
            wantsEvidence = true;
            return Outcome::IsToBeDoneAgain;
        }
        if (!sink.IsSmall() && !sink.IsGood()) {
            if (mayWrite && IsDirect(wanted.output)) {
                throw Failure(request.files.front() + ": the file changed while it was read");
            }
            mayWrite = true;
            return Outcome::IsToBeDoneAgain;
        }
        sink.Finish(*file);
        Commit(*file, wanted.output);
        ForgetTypes(report);
        ShowReport(request, report);
        return Outcome::IsDone;
    }

    // The beginning was UTF-8 and something behind it isn't: then all of it was another encoding. And a field
    // of another type than its column's is a text like the others to CSV, but not where texts are marked as
    // such.
    bool WasMisjudged(const ReadReport& report) const {
        return (!request.encoding && HasNote(report, "not-utf-8")) ||
               (form.form == TableForm::JsonLines && HasNote(report, "late-texts"));
    }

    // Then it doesn't matter any more.
    static void ForgetTypes(ReadReport& report) {
        std::erase_if(report.notes, [](const karta::Note& note) { return note.code == "late-texts"; });
    }

    const ReadRequest& request;
    const ConvertRequest& wanted;
    const FormRequest form;
    bool mayWrite;
    bool wantsEvidence = false;
    int width = 0;
};

}  // namespace

int RunConvert(const ReadRequest& request, const ConvertRequest& wanted) {
    const auto formats = LoadFormats(request);
    const Target target = ChooseTarget(*formats, wanted.output, wanted.target);
    if (wanted.objects && target.form != TableForm::JsonLines) {
        throw Failure("--objects is for JSON lines (--to jsonl)", ExitUsage);
    }
    try {
        if (CanStream(request, target, wanted.output) &&
            StreamingConversion(request, wanted, *target.form).Run()) {
            return ExitSuccess;
        }
    } catch (const karta::BudgetExceeded& exceeded) {
        throw Failure(request.files.front() + ": " + exceeded.what());
    }
    TableRead read;
    // The row of names is needed for objects, whatever rows are wanted.
    ReadTable(request, read, wanted.objects ? 1 : 0);
    CheckExtent(request, read.table->GetNumberOfRows(), read.table->GetNumberOfColumns());
    try {
        Write(*formats, target, read, read.Rows(request), wanted);
    } catch (const karta::BudgetExceeded& exceeded) {
        throw Failure(request.files.front() + ": " + exceeded.what());
    }
    ShowReport(request, read.report);
    return ExitSuccess;
}
