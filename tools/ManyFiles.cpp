#include "tools/ManyFiles.h"

#include <cmath>
#include <filesystem>
#include <iostream>
#include <new>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "base/Note.h"
#include "base/OrderedWork.h"
#include "base/Stopped.h"
#include "host/NvString.h"
#include "karta/Scan.h"
#include "tools/ConversionOutput.h"
#include "tools/ConversionTarget.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/Progress.h"
#include "tools/StackedTable.h"
#include "tools/TableRead.h"
#include "tools/TableWriter.h"
#include "tools/TerminalText.h"

namespace {

// A grid of more points was meant otherwise.
constexpr double MostGridPoints = 1e6;

void SayFailures(const std::vector<std::string>& failures, std::size_t count) {
    if (failures.empty()) {
        return;
    }
    std::cout.flush();
    std::cerr << "karta-import: " << failures.size() << " of " << karta::CountOf(count, "file")
              << " could not be read:\n";
    for (const std::string& text : failures) {
        std::cerr << "karta-import: " << text << '\n';
    }
}

std::vector<double> PointsOf(const std::string& text) {
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    double from = 0.0;
    double to = 0.0;
    double step = 0.0;
    if (first == std::string::npos || second == std::string::npos ||
        !NvString::ToDouble(text.substr(0, first), from) ||
        !NvString::ToDouble(text.substr(first + 1, second - first - 1), to) ||
        !NvString::ToDouble(text.substr(second + 1), step) || !(step > 0.0) || !std::isfinite(to - from) ||
        std::fabs(to - from) / step > MostGridPoints) {
        throw Failure("--grid takes first, common, union or A:B:STEP, not '" + text + "'", ExitUsage);
    }
    // The last point counts although a sum of steps may miss it by a rounding.
    const auto count = static_cast<std::size_t>(std::floor(std::fabs(to - from) / step + 1e-9)) + 1;
    std::vector<double> points(count);
    for (std::size_t i = 0; i < count; ++i) {
        points[i] = from + (to < from ? -step : step) * static_cast<double>(i);
    }
    return points;
}

karta::Grid GridOf(const std::string& text) {
    if (text.empty()) {
        return karta::Grid::None;
    }
    if (text == "first") {
        return karta::Grid::First;
    }
    if (text == "common") {
        return karta::Grid::Common;
    }
    if (text == "union") {
        return karta::Grid::Union;
    }
    return PointsOf(text);
}

// What Scan asks of each file.
karta::ReadOptions OptionsOf(const ReadRequest& request) {
    if (!request.optionsFile.empty() || !request.saveOptionsFile.empty()) {
        throw Failure("--stack can't go with --options or --save-options, which are of one file", ExitUsage);
    }
    return ReadOptionsOf(request);
}

// With what lets the others be read all the same.
Failure WithAdvice(const Failure& failure, std::size_t count) {
    if (failure.GetStatus() != ExitFailed || count < 2) {
        return failure;
    }
    // Behind sentences and lists it is a line of its own.
    std::string text = failure.what();
    const bool isWhole = text.ends_with('.') || text.find('\n') != std::string::npos;
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    text += isWhole ? "\n--skip-bad goes on without it" : "; --skip-bad goes on without it";
    return Failure(text, failure.GetStatus()).With(failure.GetDetails());
}

/** Writes the notes of stacked files, which begin with the file's name, as those of one file are written. */
class StackNotes {
public:
    StackNotes(const ReadRequest& request, const std::vector<ListedFile>& files) : isQuiet(request.quiet) {
        for (const ListedFile& file : files) {
            paths.insert(file.path);
        }
    }

    void Show(const std::vector<karta::Note>& notes, Progress& progress) const {
        if (isQuiet || notes.empty()) {
            return;
        }
        progress.Wipe();
        for (const karta::Note& note : notes) {
            const std::size_t behind = BehindPath(note.text);
            std::cerr << "karta-import: " << note.text.substr(0, behind)
                      << "note: " << VisibleText(note.text.substr(behind)) << '\n';
        }
    }

private:
    // Paths may hold ": " themselves.
    std::size_t BehindPath(const std::string& text) const {
        for (std::size_t at = text.find(": "); at != std::string::npos; at = text.find(": ", at + 1)) {
            if (paths.contains(text.substr(0, at))) {
                return at + 2;
            }
        }
        return 0;
    }

    bool isQuiet;
    std::unordered_set<std::string> paths;
};

/** Writes batches of stacked files: row by row, or all at the end where a format wants them together. */
class StackWriter {
public:
    StackWriter(const FormatCatalogue& catalogue, const ConvertRequest& request)
        : formats(catalogue), wanted(request), target(ConversionTarget::Choose(formats, wanted)) {
        if (target.form) {
            output.emplace(wanted.output);
            writer.emplace(FormRequest{*target.form, wanted.safeCells, wanted.objects, nullptr},
                           output->GetFile());
        }
    }

    bool IsEmpty() const { return isEmpty; }

    void Add(const karta::Table& batch) {
        int firstRow = grid.GetNumberOfRows() + 1;
        if (isEmpty) {
            StackedTable::PutNames(batch, grid, firstRow++);
        }
        StackedTable::PutRows(batch, grid, firstRow);
        if (writer) {
            writer->Write(grid, AllRows());
            grid.Clear();
        }
        isEmpty = false;
    }

    void Finish(bool isQuiet) {
        if (output) {
            output->Commit();
            return;
        }
        const std::size_t count =
            WriteWithFormat(formats, target.format, {grid, AllRows(), 1, nullptr}, wanted);
        if (count > 0 && !isQuiet) {
            std::cerr << "karta-import: " << wanted.output << ": note: " << TellUnwritable(count) << '\n';
        }
    }

private:
    const std::vector<int>& AllRows() {
        rows.resize(static_cast<std::size_t>(grid.GetNumberOfRows()));
        std::iota(rows.begin(), rows.end(), 1);
        return rows;
    }

    const FormatCatalogue& formats;
    const ConvertRequest& wanted;
    ConversionTarget target;
    std::optional<ConversionOutput> output;
    std::optional<TableWriter> writer;
    TableData grid;
    std::vector<int> rows;
    bool isEmpty = true;
};

/** What became of one of the files that are converted by themselves. */
struct EachOutcome {
    std::string messages;
    std::optional<Failure> failure;
};

/** A file and where its table goes. */
struct EachJob {
    std::string path;
    std::string output;
    bool isTaken = false;  // another file's table goes there too
};

std::string FolderFor(const std::string& output) {
    std::error_code error;
    std::filesystem::create_directories(output, error);
    if (!std::filesystem::is_directory(output)) {
        throw Failure(output + ": --each writes to a folder, and this can't be one");
    }
    return output;
}

std::vector<EachJob> JobsOf(const std::vector<ListedFile>& files, const ConvertRequest& wanted) {
    const std::filesystem::path folder = FolderFor(wanted.output);
    const std::string form = wanted.target.empty() ? "csv" : wanted.target;
    std::vector<EachJob> jobs;
    std::set<std::string> taken;
    for (const ListedFile& file : files) {
        const std::string output = (folder / (file.relative + "." + form)).string();
        jobs.push_back({file.path, output, !taken.insert(output).second});
    }
    return jobs;
}

void ConvertOne(const ReadRequest& request, const ConvertRequest& wanted, const EachJob& job) {
    if (job.isTaken) {
        throw Failure(job.path + ": another file of this name goes to " + job.output);
    }
    ConvertRequest one = wanted;
    one.output = job.output;
    ReadRequest read = request;
    read.files = {job.path};
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(one.output).parent_path(), error);
    RunConvert(read, one);
}

// In a thread of its own: whatever goes wrong is told by the one who asked for it.
EachOutcome TryOne(const ReadRequest& request, const ConvertRequest& wanted, const EachJob& job) {
    EachOutcome outcome;
    std::ostringstream messages;
    try {
        Interrupt::ThrowIfRequested();
        ReadRequest read = request;
        read.messages = &messages;
        ConvertOne(read, wanted, job);
    } catch (const Failure& failure) {
        outcome.failure = failure;
    } catch (const std::bad_alloc&) {
        outcome.failure = Failure(job.path + ": " + NotEnoughMemory);
    } catch (const karta::Stopped&) {
        outcome.failure = Interrupt::GetFailure();
    } catch (const karta::Error& error) {
        outcome.failure = FailureOf(error);
    } catch (const std::exception& exception) {
        outcome.failure = Failure(job.path + ": " + exception.what());
    }
    outcome.messages = messages.str();
    return outcome;
}

}  // namespace

int ConvertEach(const ReadRequest& request, const ConvertRequest& wanted,
                const std::vector<ListedFile>& files) {
    const std::vector<EachJob> jobs = JobsOf(files, wanted);
    ReadRequest read = request;
    read.drawsProgress = false;
    Progress progress(!request.quiet);
    std::vector<std::string> failures;
    karta::OrderedWork<EachOutcome> work(jobs.size(), karta::ChooseThreadCount(wanted.workers, jobs.size()),
                                         [&](std::size_t i) { return TryOne(read, wanted, jobs[i]); });
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const EachOutcome outcome = work.Take();
        if (!outcome.messages.empty()) {
            progress.Wipe();
            std::cerr << outcome.messages;
        }
        if (outcome.failure) {
            if (!wanted.skipBad || outcome.failure->GetStatus() != ExitFailed) {
                throw WithAdvice(*outcome.failure, jobs.size());
            }
            failures.emplace_back(outcome.failure->what());
        }
        progress.ShowFiles(i + 1, jobs.size());
    }
    progress.Wipe();
    SayFailures(failures, files.size());
    return failures.empty() ? ExitSuccess : ExitFailed;
}

int ConvertStacked(const ReadRequest& request, const ConvertRequest& wanted,
                   const std::vector<ListedFile>& files) {
    const auto formats = LoadFormats(request);
    Progress progress(!request.quiet);
    karta::ScanOptions options;
    options.grid = GridOf(wanted.grid);
    // On one axis spectra of any format go together, whatever else their files tell.
    options.columns = wanted.grid.empty() ? karta::ScanColumns::Same : karta::ScanColumns::Union;
    options.onError = wanted.skipBad ? karta::OnError::Collect : karta::OnError::Raise;
    options.workers = wanted.workers;
    options.read = OptionsOf(request);
    options.read.progress = [&](double share) {
        progress.ShowFiles(static_cast<std::size_t>(std::lround(share * static_cast<double>(files.size()))),
                           files.size());
    };
    std::vector<std::string> paths;
    for (const ListedFile& file : files) {
        paths.push_back(file.path);
    }
    StackWriter writer(*formats, wanted);
    const StackNotes notes(request, files);
    std::vector<std::string> failures;
    try {
        karta::Scan scan(std::move(paths), std::move(options));
        for (const karta::Table& batch : scan) {
            writer.Add(batch);
            notes.Show(batch.GetNotes(), progress);
        }
        for (const karta::Error& error : scan.Errors()) {
            failures.emplace_back(FailureOf(error).what());
        }
    } catch (const karta::Error& error) {
        throw WithAdvice(FailureOf(error), files.size());
    }
    progress.Wipe();
    if (writer.IsEmpty()) {
        SayFailures(failures, files.size());
        throw Failure("none of the files could be read");
    }
    writer.Finish(request.quiet);
    SayFailures(failures, files.size());
    return failures.empty() ? ExitSuccess : ExitFailed;
}
