#include "text/ThermoSIEVEFile.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "base/LineReader.h"
#include "base/NumberParser.h"
#include "frame/FormatRecogniser.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "text/DelimitedText.h"
#include "text/ThermoMirroredReadSpreadSheetData.h"
#include "text/TurnedReport.h"

namespace {

// A report with more lines is taken as empty. The empty line behind a final line end counts.
constexpr int MaxLines = 1'000'000;

// How many cells of the result a byte of the file may stand for. A report is rectangular, so that each cell
// has its delimiter; a short file that asks for more is one of a long header and many empty lines.
constexpr std::int64_t MaxCellsPerByte = 64;
constexpr std::int64_t AlwaysAllowedCells = 1 << 20;

// The headers by which a report is recognised, in their order.
constexpr std::string_view RequiredHeaders[] = {"FrameID",  "MZStart", "MZStop", "TimeStart",
                                                "TimeStop", "pValue",  "Ratio"};

// The rows of the result, from 0, and the headers of the columns that they come from; empty for the means.
constexpr std::string_view RowHeaders[] = {"FrameID",   "MZStart",    "MZStop",     "",
                                           "TimeStart", "TimeStop",   "",           "pValue",
                                           "Ratio",     "UpperBound", "LowerBound", "FOM1"};
constexpr std::string_view IntensityHeader = "Intensity_";
constexpr int RowMzStart = 1;
constexpr int RowMzStop = 2;
constexpr int RowAverageMz = 3;
constexpr int RowTimeStart = 4;
constexpr int RowTimeStop = 5;
constexpr int RowAverageRt = 6;
constexpr int FixedRows = static_cast<int>(std::size(RowHeaders));

// What a row of the result comes from: a column of the file, from 1, or one of these.
constexpr int FromNothing = 0;
constexpr int FromMz = -1;
constexpr int FromTime = -2;

char ChooseDelimiter(std::string_view line) {
    const auto commas = std::count(line.begin(), line.end(), ',');
    const auto semicolons = std::count(line.begin(), line.end(), ';');
    const auto tabs = std::count(line.begin(), line.end(), '\t');
    if (tabs > commas && tabs > semicolons) {
        return '\t';
    }
    return semicolons > commas ? ';' : ',';
}

bool HasRequiredHeaders(std::string_view line, char delimiter) {
    for (const std::string_view header : RequiredHeaders) {
        if (!line.starts_with(header)) {
            return false;
        }
        const std::size_t next = line.find(delimiter);
        line = next == std::string_view::npos ? std::string_view() : line.substr(next + 1);
    }
    return true;
}

// The delimiter of a report; NUL for a file that is none.
char RecogniseDelimiter(const char* path) {
    // A first line can be as long as the file: it is read only where it begins as it must.
    if (NvFile::ReadHead(path, RequiredHeaders[0].size()) != RequiredHeaders[0]) {
        return '\0';
    }
    LineReader reader(path);
    const LineReader::Line line = reader.Next();
    const char delimiter = ChooseDelimiter({line.text, line.length});
    return HasRequiredHeaders({line.text, line.length}, delimiter) ? delimiter : '\0';
}

// The rows of the result and where each comes from, by the file's headers.
std::vector<int> FindSources(const ThermoMirroredReadSpreadSheetData& table, int cols) {
    std::vector<int> sources(FixedRows, FromNothing);
    for (int col = 1; col <= cols; ++col) {
        const std::string_view header = table.GetText(0, col - 1);
        const auto* fixed =
            std::find_if(std::begin(RowHeaders), std::end(RowHeaders),
                         [&](std::string_view name) { return !name.empty() && header.starts_with(name); });
        if (fixed != std::end(RowHeaders)) {
            sources[static_cast<std::size_t>(fixed - std::begin(RowHeaders))] = col;
        } else if (header.starts_with(IntensityHeader)) {
            sources.push_back(col);
        }
    }
    sources[RowAverageMz] = FromMz;
    sources[RowAverageRt] = FromTime;
    return sources;
}

// The same of the complete reading: the columns that none of these rows takes follow them.
std::vector<int> FindAllSources(const std::vector<std::string>& headers, int cols) {
    std::vector<int> sources(FixedRows, FromNothing);
    std::vector<int> others;
    for (int col = 1; col <= cols; ++col) {
        const auto index = static_cast<std::size_t>(col) - 1;
        const std::string_view header = index < headers.size() ? headers[index] : std::string_view();
        const auto* fixed =
            std::find_if(std::begin(RowHeaders), std::end(RowHeaders),
                         [&](std::string_view name) { return !name.empty() && header.starts_with(name); });
        if (fixed != std::end(RowHeaders) &&
            sources[static_cast<std::size_t>(fixed - RowHeaders)] == FromNothing) {
            sources[static_cast<std::size_t>(fixed - RowHeaders)] = col;
        } else if (header.starts_with(IntensityHeader)) {
            sources.push_back(col);
        } else {
            others.push_back(col);
        }
    }
    sources[RowAverageMz] = FromMz;
    sources[RowAverageRt] = FromTime;
    sources.insert(sources.end(), others.begin(), others.end());
    return sources;
}

// The rows of the complete reading, by the file's headers.
std::vector<ReportRow> FindAllRows(const std::vector<std::string>& headers, int cols) {
    const std::vector<int> sources = FindAllSources(headers, cols);
    std::vector<ReportRow> rows;
    for (const int source : sources) {
        if (source == FromMz) {
            rows.push_back({FromNothing, "AverageMZ", sources[RowMzStart], sources[RowMzStop]});
        } else if (source == FromTime) {
            rows.push_back({FromNothing, "AverageRT", sources[RowTimeStart], sources[RowTimeStop]});
        } else {
            rows.push_back({source});
        }
    }
    return rows;
}

// Rows of the result that are turned together. A line's neighbouring cells lie side by side in memory and
// those of a column don't, so a few columns are copied at a time before each is pushed as a row.
constexpr int RowsAtOnce = 64;

/** Pushes the collected table on, turned. */
class TurnedTable {
public:
    TurnedTable(const ThermoMirroredReadSpreadSheetData& collected, int lineCount,
                std::vector<int> rowSources, ReadSpreadSheetData* target)
        : table(collected), lines(lineCount), sources(std::move(rowSources)), sink(target) {}

    void Put() {
        const auto rows = static_cast<int>(sources.size());
        sink->SetDataSize(lines, rows);
        for (int first = 0; first < rows; first += RowsAtOnce) {
            const int end = std::min(first + RowsAtOnce, rows);
            Gather(first, end);
            for (int k = first; k < end; ++k) {
                PutRow(k, texts[k - first].c_str(), lengths[k - first].data());
            }
        }
    }

private:
    int SourceOf(int k) const { return sources[static_cast<std::size_t>(k)]; }

    // Copies the texts of the rows from `first` to before `end`, each text with its NUL.
    void Gather(int first, int end) {
        for (int k = 0; k < RowsAtOnce; ++k) {
            texts[k].clear();
            lengths[k].clear();
        }
        for (int line = 0; line < lines; ++line) {
            for (int k = first; k < end; ++k) {
                if (SourceOf(k) > FromNothing) {
                    const std::string_view text = table.GetText(line, SourceOf(k) - 1);
                    texts[k - first].append(text.data(), text.size() + 1);
                    lengths[k - first].push_back(text.size());
                }
            }
        }
    }

    // One row of the result, counted from 0; `text` is its first text where it has texts, and `length` that
    // text's.
    void PutRow(int k, const char* text, const std::size_t* length) {
        int wanted = sink->NextRowToRead(0);
        for (int line = 1; line <= lines && wanted >= line; ++line) {
            const bool put = line == wanted;
            if (put) {
                wanted = sink->NextRowToRead(line);
            }
            if (SourceOf(k) > FromNothing) {
                if (put) {
                    sink->Set(line, k + 1, text);
                }
                text += *length++ + 1;
            } else if (put && SourceOf(k) == FromMz) {
                PutMean(k, line, "AverageMZ", SourceOf(RowMzStart), SourceOf(RowMzStop));
            } else if (put && SourceOf(k) == FromTime) {
                PutMean(k, line, "AverageRT", SourceOf(RowTimeStart), SourceOf(RowTimeStop));
            }
        }
    }

    void PutMean(int k, int line, const char* label, int start, int stop) {
        if (line == 1) {
            sink->Set(1, k + 1, label);
        } else if (start != FromNothing && stop != FromNothing) {
            sink->Set(line, k + 1,
                      0.5 * (ToLeadingDouble(table.GetText(line - 1, start - 1)) +
                             ToLeadingDouble(table.GetText(line - 1, stop - 1))));
        }
    }

    const ThermoMirroredReadSpreadSheetData& table;
    int lines;  // of the file, which are the columns of the result
    std::vector<int> sources;
    ReadSpreadSheetData* sink;
    std::string texts[RowsAtOnce];
    std::vector<std::size_t> lengths[RowsAtOnce];  // of the texts, without their NULs
};

}  // namespace

ThermoSIEVEFile::ThermoSIEVEFile() = default;
ThermoSIEVEFile::~ThermoSIEVEFile() = default;

int ThermoSIEVEFile::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (forRead) {
        filePath = path;
        hasRecord = HasOptions(options);
        if (IsComplete() && status == StatusOk) {
            return OpenCompletely(path, options, 1);
        }
    }
    return TextFile::Open(forRead, path, options);
}

TextFileOptions ThermoSIEVEFile::GetTextFileOptions() {
    TextFileOptions choices;
    if (const char recognised = RecogniseDelimiter(filePath.c_str())) {
        choices.delimiter = recognised;
    }
    return choices;
}

// Before the read nothing is turned and no delimiter has been looked for: hosts know this size as the one of
// tab-separated text, and only a record changes that.
int ThermoSIEVEFile::EstablishSize() {
    if (complete != nullptr && status == StatusOk) {
        const DelimitedText::Size size = complete->Measure();
        numCols = size.rows;
        numRows = static_cast<int>(FindAllSources(complete->GetHead().names, size.cols).size());
        sizeKnown = true;
        return StatusOk;
    }
    std::string measured = hasRecord ? delimiter : TextFileOptions().delimiter;
    std::swap(delimiter, measured);
    const int result = TextFile::EstablishSize();
    std::swap(delimiter, measured);
    return result;
}

// The lines, with the empty one behind a final line end; 0 when there are too many.
int ThermoSIEVEFile::GetRows() const {
    LineReader reader(filePath.c_str());
    reader.SetStop(GetContext()->stop);
    int count = 0;
    LineReader::Line line;
    while (reader.IsOpen() && !line.atEnd) {
        line = reader.Next();
        ++count;
        if (count > MaxLines) {
            return 0;
        }
    }
    return count;
}

int ThermoSIEVEFile::GetColumns() const {
    LineReader reader(filePath.c_str());
    if (!reader.IsOpen()) {
        return 0;
    }
    const LineReader::Line line = reader.Next();
    const std::string_view text(line.text, line.length);
    const auto delimiters = std::count(text.begin(), text.end(), ChooseDelimiter(text));
    return text.empty()
               ? 0
               : static_cast<int>(std::min<std::ptrdiff_t>(delimiters, std::numeric_limits<int>::max() - 1)) +
                     1;
}

// The complete reading: the whole table, turned.
int ThermoSIEVEFile::ReadTurned(ReadSpreadSheetData& sink) {
    const TextHead& head = complete->GetHead();
    karta::TableShape shape;
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.firstDataRow = 2;
    shape.labelColumns = {1};
    TurnedReport turned(
        *GetContext(), head.usualWidth, [&](int cols) { return FindAllRows(head.names, cols); },
        std::move(shape), sink);
    complete->Read(turned.GetCells(), [&] { turned.StartOver(); });
    turned.Finish();
    return status;
}

int ThermoSIEVEFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (complete != nullptr) {
        return WithinBudget(StatusSizeFailed, [&] { return ReadTurned(*sink); });
    }
    if (mode != ModeReading) {
        status = StatusWrongMode;
        return status;
    }
    const int rows = GetRows();
    const int cols = GetColumns();
    if (rows == 0 || cols == 0) {
        return StatusOk;
    }
    const std::size_t size = NvFile::GetSize(filePath.c_str());
    // A NUL stands for each delimiter, and one ends each line.
    ThermoMirroredReadSpreadSheetData table(rows, cols, size + static_cast<std::size_t>(rows));
    if (TextFile::Read(&table, cols, rows, 1, 1) != StatusOk) {
        return status;
    }
    std::vector<int> sources = FindSources(table, cols);
    const auto resultRows = static_cast<int>(sources.size());
    const auto bytes = static_cast<std::int64_t>(size);
    const bool tooManyCells =
        static_cast<std::int64_t>(resultRows) * rows > std::max(bytes * MaxCellsPerByte, AlwaysAllowedCells);
    // A report has a column for each row of the result: the two means stand for columns that are dropped.
    if (cols < resultRows || tooManyCells) {
        status = StatusSizeFailed;
        return status;
    }
    const auto dropped =
        static_cast<std::uint64_t>(cols - std::count_if(sources.begin(), sources.end(),
                                                        [](int source) { return source > FromNothing; }));
    if (dropped > 0) {
        AddNote({"dropped-columns", dropped, "",
                 karta::CountOf(dropped, "column") +
                     " that no row of the report's table takes were left out; "
                     "the complete reading has them below"});
    }
    if (!table.GetText(rows - 1, 0).empty()) {
        AddNote({"dropped-line", 1, "line " + std::to_string(rows),
                 "the last line has no line end and was left out; the complete reading keeps it"});
    }
    // The last line of the count is the empty one behind a final line end.
    TurnedTable(table, rows - 1, std::move(sources), sink).Put();
    return status;
}

bool ThermoSIEVEFile::IsThermoSIEVEFile(const char* path) {
    return RecogniseDelimiter(path) != '\0';
}

ThermoSIEVEFileFactory::ThermoSIEVEFileFactory()
    : SprFileFactory("Thermo SIEVE File", "Thermo SIEVE Files (*.txt)", "Thermo SIEVE File (*.txt)", 1,
                     ".txt\0", 0, 1, 0, 1, 1, 1) {}

MyKindOfFile ThermoSIEVEFileFactory::IsMyKindOfFile(const char* fileName) {
    return ThermoSIEVEFile::IsThermoSIEVEFile(fileName) ? KindProbably : KindNo;
}

SpreadsheetFile* ThermoSIEVEFileFactory::GetSpreadsheetFile() {
    return new ThermoSIEVEFile;
}

// The headers that every report begins with, behind a mark and in quotes too.
static FormatRecogniser::Evidence RecogniseReport(const char* /*path*/, std::string_view head) {
    constexpr std::string_view Utf8Mark = "\xef\xbb\xbf";
    if (head.starts_with(Utf8Mark)) {
        head.remove_prefix(Utf8Mark.size());
    }
    std::string line(head.substr(0, head.find_first_of("\r\n")));
    std::erase(line, '"');
    return HasRequiredHeaders(line, ChooseDelimiter(line)) ? FormatRecogniser::Evidence::Proof
                                                           : FormatRecogniser::Evidence::None;
}

static ThermoSIEVEFileFactory thermoSIEVEFileFactory;
static FormatRecogniser thermoSIEVEFileRecogniser("Thermo SIEVE File", "sieve", {}, RecogniseReport);
