#include "tools/ManyFiles.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "base/Note.h"
#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "host/NvString.h"
#include "karta/Scan.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/Progress.h"
#include "tools/TableSource.h"

namespace {

constexpr const char* StandardOutput = "-";
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

/** Where a stack of tables goes; a terminal gets no control characters, though a file would. */
class StackOutput {
public:
    explicit StackOutput(const std::string& outputName) : name(outputName) {
        if (name != StandardOutput) {
            file.emplace(name);
        } else if (isatty(STDOUT_FILENO) == 0) {
            file.emplace(STDOUT_FILENO);
        }
    }

    void Write(std::string_view bytes) {
        if (file) {
            file->Write(bytes);
        } else {
            std::cout << bytes;
        }
    }

    void Commit() {
        // A reader of standard output that has gone away has had enough.
        if (file && !file->Commit() && !(name == StandardOutput && file->GetError() == EPIPE)) {
            throw Failure(name + ": could not be written: " + std::strerror(file->GetError()));
        }
    }

private:
    const std::string& name;
    std::optional<OutputFile> file;
};

/** Rows of separated text. */
class Separated {
public:
    Separated(char fieldSeparator, bool wantsSafeTexts, StackOutput& target)
        : separator(fieldSeparator), makesSafe(wantsSafeTexts), output(target) {}

    void AddText(std::string_view text) {
        if (makesSafe) {
            Add(SafeCell(std::string(text)));
        } else {
            Add(text);
        }
    }
    void Add(std::string_view field) {
        if (begun) {
            line += separator;
        }
        begun = true;
        if (field.find_first_of(std::string{separator, '"', '\n', '\r'}) == std::string_view::npos) {
            line += field;
            return;
        }
        line += '"';
        for (const char c : field) {
            line.append(c == '"' ? 2 : 1, c);
        }
        line += '"';
    }
    void EndRow() {
        line += '\n';
        output.Write(line);
        line.clear();
        begun = false;
    }

private:
    char separator;
    bool makesSafe;
    StackOutput& output;
    std::string line;
    bool begun = false;
};

/** Goes over the columns of a table in the file's order, the block's points among them. */
template <class OfColumn, class OfPoint>
void GoThrough(const karta::Table& table, const OfColumn& ofColumn, const OfPoint& ofPoint) {
    const std::size_t blockPlace =
        table.GetBlock() == nullptr ? table.GetColumnCount() : table.GetBlockPlace();
    for (std::size_t i = 0; i < blockPlace; ++i) {
        ofColumn(table.GetColumn(i));
    }
    if (const karta::Block* block = table.GetBlock()) {
        for (std::int64_t point = 0; point < block->GetPointCount(); ++point) {
            ofPoint(*block, point);
        }
    }
    for (std::size_t i = blockPlace; i < table.GetColumnCount(); ++i) {
        ofColumn(table.GetColumn(i));
    }
}

void WriteNames(const karta::Table& table, Separated& writer) {
    GoThrough(
        table, [&](const karta::Column& column) { writer.AddText(column.GetName()); },
        [&](const karta::Block& block, std::int64_t point) { writer.AddText(block.GetPointName(point)); });
    writer.EndRow();
}

void WriteRows(const karta::Table& table, Separated& writer) {
    for (std::int64_t row = 0; row < table.GetRowCount(); ++row) {
        Interrupt::ThrowIfRequested();
        GoThrough(
            table,
            [&](const karta::Column& column) {
                if (column.GetType() == karta::ColumnType::Text) {
                    writer.AddText(column.ToText(row));
                } else {
                    writer.Add(column.ToText(row));
                }
            },
            [&](const karta::Block& block, std::int64_t point) { writer.Add(block.ToText(row, point)); });
        writer.EndRow();
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

karta::Interval IntervalOf(const std::string& text) {
    const std::size_t colon = text.find(':');
    karta::Interval interval;
    if (colon == std::string::npos || !NvString::ToDouble(text.substr(0, colon), interval.from) ||
        !NvString::ToDouble(text.substr(colon + 1), interval.to)) {
        throw Failure("--include takes an interval like 1100:1800, not '" + text + "'", ExitUsage);
    }
    return interval;
}

// What else there is to choose is of one file and its parts.
void CheckChoices(const ReadRequest& request) {
    if (request.throughDriver || !request.want.empty() || !request.optionsFile.empty() ||
        !request.saveOptionsFile.empty() || !request.settings.empty() || !request.sheets.empty() ||
        !request.blocks.empty() || !request.matrix.empty() || request.noXRow) {
        throw Failure(
            "--stack goes with --part, --include, --average, and the dialect of a text, not with other "
            "choices of what is read",
            ExitUsage);
    }
}

karta::ReadOptions OptionsOf(const ReadRequest& request) {
    CheckChoices(request);
    karta::ReadOptions options;
    options.format = request.format;
    options.part = request.part.empty() ? karta::PartName(0) : karta::PartName(request.part);
    options.delimiter = request.delimiter;
    options.mergeDelimiters = request.mergeDelimiters;
    options.encoding = request.encoding;
    options.header = request.header;
    options.decimal = request.decimal;
    options.textColumns = request.textColumns;
    options.types = !request.noTypes;
    options.dateOrder = request.dateOrder;
    options.rowNames = request.rowNames;
    options.columnNames = request.columnNames;
    options.sideBySide = request.sideBySide;
    options.average = request.average;
    options.password = request.password;
    options.budget = request.limit;
    options.reading = request.reading;
    options.stop = Interrupt::GetStopToken();
    for (const std::string& text : request.includes) {
        options.include.push_back(IntervalOf(text));
    }
    if (!request.plugins.empty()) {
        options.plugins = {request.plugins};
    }
    return options;
}

char SeparatorOf(const ConvertRequest& wanted) {
    const std::string name =
        ToLowerCase(wanted.target.empty() ? NvGetFileExtension(wanted.output) : wanted.target);
    if (name == "tsv") {
        return '\t';
    }
    if (name != "csv" && !(wanted.target.empty() && wanted.output == StandardOutput)) {
        throw Failure("--stack writes csv or tsv, not '" + name + "'", ExitUsage);
    }
    return ',';
}

std::string FolderFor(const std::string& output) {
    std::error_code error;
    std::filesystem::create_directories(output, error);
    if (!std::filesystem::is_directory(output)) {
        throw Failure(output + ": --each writes to a folder, and this can't be one");
    }
    return output;
}

}  // namespace

int ConvertEach(const ReadRequest& request, const ConvertRequest& wanted,
                const std::vector<ListedFile>& files) {
    const std::filesystem::path folder = FolderFor(wanted.output);
    const std::string form = wanted.target.empty() ? "csv" : wanted.target;
    std::set<std::string> taken;
    std::vector<std::string> failures;
    for (const ListedFile& file : files) {
        Interrupt::ThrowIfRequested();
        ConvertRequest one = wanted;
        one.output = (folder / (file.relative + "." + form)).string();
        ReadRequest read = request;
        read.files = {file.path};
        try {
            if (!taken.insert(one.output).second) {
                throw Failure(file.path + ": another file of this name goes to " + one.output);
            }
            std::error_code error;
            std::filesystem::create_directories(std::filesystem::path(one.output).parent_path(), error);
            RunConvert(read, one);
        } catch (const Failure& failure) {
            if (!wanted.skipBad || failure.GetStatus() != ExitFailed) {
                throw;
            }
            failures.emplace_back(failure.what());
        }
    }
    SayFailures(failures, files.size());
    return failures.empty() ? ExitSuccess : ExitFailed;
}

int ConvertStacked(const ReadRequest& request, const ConvertRequest& wanted,
                   const std::vector<ListedFile>& files) {
    const char separator = SeparatorOf(wanted);
    if (wanted.objects) {
        throw Failure("--objects is for JSON lines (--to jsonl), which --stack doesn't write", ExitUsage);
    }
    Progress progress(!request.quiet);
    karta::ScanOptions options;
    options.grid = InProgramsWords([&] { return GridOf(wanted.grid); });
    options.onError = wanted.skipBad ? karta::OnError::Collect : karta::OnError::Raise;
    options.workers = wanted.workers;
    options.read = OptionsOf(request);
    options.read.progress = [&](double share) { progress.ShowShare(share); };
    std::vector<std::string> paths;
    for (const ListedFile& file : files) {
        paths.push_back(file.path);
    }
    StackOutput output(wanted.output);
    std::vector<std::string> failures;
    InProgramsWords([&] {
        karta::Scan scan(std::move(paths), std::move(options));
        Separated writer(separator, wanted.safeCells, output);
        bool isFirst = true;
        for (const karta::Table& batch : scan) {
            if (isFirst) {
                WriteNames(batch, writer);
            }
            isFirst = false;
            WriteRows(batch, writer);
        }
        for (const karta::Error& error : scan.Errors()) {
            failures.emplace_back(FailureOf(error).what());
        }
        if (isFirst) {
            SayFailures(failures, files.size());
            throw Failure("none of the files could be read");
        }
    });
    output.Commit();
    SayFailures(failures, files.size());
    return failures.empty() ? ExitSuccess : ExitFailed;
}
