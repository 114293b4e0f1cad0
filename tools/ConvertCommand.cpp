#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "base/Note.h"
#include "host/NvFile.h"
#include "tools/Commands.h"
#include "tools/ConversionOutput.h"
#include "tools/ConversionTarget.h"
#include "tools/Failure.h"
#include "tools/StreamingSink.h"
#include "tools/TableRead.h"
#include "tools/TableWriter.h"

namespace {

constexpr double MostCellsOfSmallFile = 1 << 28;
constexpr double MostCellsPerByte = 64.0;

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

void Write(const FormatCatalogue& formats, const ConversionTarget& target, TableRead& read,
           const std::vector<int>& rows, const ConvertRequest& wanted) {
    if (target.form) {
        const FormRequest form{*target.form, wanted.safeCells, wanted.objects, &read.report.shape};
        ConversionOutput output(wanted.output);
        output.GetFile().SetBudget(read.report.GetBudget());
        WriteTable(*read.table, rows, form, output.GetFile());
        output.Commit();
        return;
    }
    const FormatOutput output{*read.table, rows, 0, read.report.context};
    if (const std::size_t count = WriteWithFormat(formats, target.format, output, wanted); count > 0) {
        read.report.notes.push_back({"texts-among-numbers", count, "", TellUnwritable(count)});
    }
}

// Rows can go out before all is read: they are the same whatever comes behind them.
bool CanStream(const ReadRequest& request, const ConversionTarget& target, const std::string& output) {
    return target.form && request.IsComplete() && !request.throughDriver && request.want.empty() &&
           !IsTerminal(output);
}

bool HasNote(const ReadReport& report, const char* code) {
    return std::any_of(report.notes.begin(), report.notes.end(),
                       [&](const karta::Note& note) { return note.code == code; });
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
        ConversionOutput output(wanted.output);
        const ChosenFormat chosen = ChooseFormat(request);
        PersonsControl control(request);
        StreamingSink sink(control.Get(), report, form, mayWrite ? &output.GetFile() : nullptr, width,
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
        sink.Finish(output.GetFile());
        output.Commit();
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

// Folders are for many files.
Failure WithFolderAdvice(const ReadRequest& request, const Failure& failure) {
    std::error_code error;
    const bool isFolder =
        std::any_of(request.files.begin(), request.files.end(),
                    [&](const std::string& file) { return std::filesystem::is_directory(file, error); });
    if (!isFolder) {
        return failure;
    }
    return Failure(std::string(failure.what()) + " For the files of a folder there are --each and --stack.",
                   failure.GetStatus())
        .With(failure.GetDetails());
}

int ConvertSelection(const ReadRequest& request, const ConvertRequest& wanted) {
    const auto formats = LoadFormats(request);
    const ConversionTarget target = ConversionTarget::Choose(*formats, wanted);
    try {
        if (target.form && CanStream(request, target, wanted.output) &&
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

}  // namespace

int RunConvert(const ReadRequest& request, const ConvertRequest& wanted) {
    try {
        return ConvertSelection(request, wanted);
    } catch (const Failure& failure) {
        throw WithFolderAdvice(request, failure);
    }
}
