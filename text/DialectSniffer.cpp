#include "text/DialectSniffer.h"

#include <algorithm>
#include <charconv>
#include <compare>
#include <deque>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "base/Unicode.h"
#include "text/RecordScanner.h"
#include "text/ValueForm.h"

namespace {

constexpr std::size_t MostRecords = 1000;
// In order of preference. A blank stands for runs of blanks.
constexpr std::string_view StrongDelimiters = "\t;,|";
constexpr std::string_view WeakDelimiters = ": ";
// How many of the records that a table covers have its width.
constexpr double StrongShare = 0.7;
constexpr double WeakShare = 0.9;
// How many cells are values, at runs of blanks, and where a colon makes two columns.
constexpr double ValuesAtBlanks = 0.6;
constexpr double ValuesAtColon = 0.5;
// How many of all records the table covers.
constexpr double LeastCover = 0.5;
// From here a TAB needs no comparison.
constexpr double SureTab = 0.9;
// How many records a delimiter divides that makes no table, and is taken all the same.
constexpr double RaggedShare = 0.7;
constexpr double WeakFactor = 0.5;
constexpr double SinglesShare = 0.9;

using Record = std::span<const std::string_view>;

/** The records that hold something, their cells one behind the other. */
class Records {
public:
    Records() = default;
    // Cells refer to the made ones, which stay where they are when they are handed on.
    Records(Records&&) = default;
    Records& operator=(Records&&) = default;

    std::size_t GetSize() const { return ends.size(); }
    Record operator[](std::size_t i) const {
        const std::size_t begin = i == 0 ? 0 : ends[i - 1];
        return Record(cells).subspan(begin, ends[i] - begin);
    }
    const std::vector<std::string_view>& GetCells() const { return cells; }

    /** To the record that is being added. */
    void AddCell(std::string_view cell) { cells.push_back(cell); }
    /** The same of a text that is no part of the file's. */
    void AddMadeCell(std::string_view cell) { cells.push_back(made.emplace_back(cell)); }
    /** Ends the record; one of blanks is none. */
    void EndRecord();

private:
    std::vector<std::string_view> cells;
    std::vector<std::size_t> ends;
    std::deque<std::string> made;
};

struct Scan {
    Records records;
    std::size_t count = 0;  // of records, those of blanks among them
    std::size_t faults = 0;
    std::size_t quoted = 0;
};

/** What decides between two dialects, the first difference counting. */
struct Points {
    double share = 0.0;
    double values = 0.0;
    std::size_t width = 0;

    auto operator<=>(const Points& other) const = default;
};

struct Score {
    Points points;
    std::size_t faults = 0;
    std::size_t quoted = 0;
    bool hasSingles = false;  // fields begin and end with '
};

struct Candidate {
    TextDialect dialect;
    std::optional<Score> score;
};

bool IsWeak(const TextDialect& dialect) {
    return WeakDelimiters.find(dialect.delimiter.front()) != std::string_view::npos;
}

bool IsBlank(std::string_view text) {
    return TrimUnicodeSpace(text).empty();
}

// Correctly rounded, a tie of the decimal digits to the even one.
double Round(double value, int places) {
    char buffer[64];
    const auto printed = std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed, places);
    std::from_chars(buffer, printed.ptr, value);
    return value;
}

TextDialect MakeDialect(std::string delimiter, char quote, char escape) {
    const bool runs = delimiter == " ";
    return {std::move(delimiter), quote, escape, runs};
}

void Records::EndRecord() {
    const std::size_t begin = ends.empty() ? 0 : ends.back();
    if (cells.size() > begin + 1 || (cells.size() == begin + 1 && !IsBlank(cells.back()))) {
        ends.push_back(cells.size());
    } else {
        cells.resize(begin);
    }
}

Scan ScanTo(RecordScanner::End end, std::string_view text, const TextDialect& dialect) {
    Scan scan;
    RecordScanner scanner(text, dialect, 0, end);
    std::string storage;
    for (; scan.count < MostRecords && scanner.Next(); ++scan.count) {
        for (const TextField& field : scanner.GetFields()) {
            if (field.isEscaped || !field.behind.empty()) {
                scan.records.AddMadeCell(scanner.GetText(field, storage));
            } else {
                scan.records.AddCell(field.text);
            }
            scan.quoted += field.isQuoted ? 1 : 0;
        }
        scan.faults += scanner.GetTextsBehindQuotes() + scanner.GetUnclosedQuotes();
        scan.records.EndRecord();
    }
    return scan;
}

// A record that is cut at the end says less than whole ones, but where it is the only one it is all there is
// to tell by: a first line of names for ten thousand wavelengths is longer than what is looked at.
Scan ScanRecords(std::string_view text, const TextDialect& dialect, bool isCut) {
    if (isCut) {
        Scan scan = ScanTo(RecordScanner::End::Cut, text, dialect);
        if (scan.count > 0) {
            return scan;
        }
    }
    return ScanTo(RecordScanner::End::File, text, dialect);
}

// The most frequent number of fields above one, the larger of equals; 0 where no record is divided.
std::size_t GetUsualWidth(const Records& records) {
    std::map<std::size_t, std::size_t> counts;
    for (std::size_t i = 0; i < records.GetSize(); ++i) {
        counts[records[i].size()] += records[i].size() > 1 ? 1 : 0;
    }
    std::size_t width = 0;
    std::size_t most = 0;
    for (const auto& [candidate, count] : counts) {
        if (count > 0 && count >= most) {
            width = candidate;
            most = count;
        }
    }
    return width;
}

// Whether a colon parts times, or texts with a remark in front, rather than fields.
bool IsColonOfTexts(const Records& records, std::size_t width, double values) {
    std::size_t withTimes = 0;
    std::string line;
    for (std::size_t i = 0; i < records.GetSize(); ++i) {
        const Record record = records[i];
        line.clear();
        for (const std::string_view& field : record) {
            line += line.empty() && &field == &record.front() ? "" : ":";
            line += field;
        }
        withTimes += HoldsTime(line) ? 1 : 0;
    }
    return (width < 3 && values < ValuesAtColon) || 2 * withTimes >= records.GetSize();
}

struct CellCounts {
    std::size_t cells = 0;
    std::size_t values = 0;
    std::size_t openedBySingles = 0;
    std::size_t singles = 0;
};

CellCounts CountCells(const Records& records) {
    CellCounts counts;
    for (const std::string_view field : records.GetCells()) {
        const std::string_view cell = TrimUnicodeSpace(field);
        if (cell.empty()) {
            continue;
        }
        ++counts.cells;
        counts.values += IsLikeValue(cell) ? 1 : 0;
        const bool opens = cell.front() == '\'';
        counts.openedBySingles += opens ? 1 : 0;
        counts.singles += opens && cell.size() > 1 && cell.back() == '\'' ? 1 : 0;
    }
    return counts;
}

double ShareOf(std::size_t part, std::size_t whole) {
    return static_cast<double>(part) / static_cast<double>(std::max<std::size_t>(whole, 1));
}

// How well the text is a table under a dialect; nothing where it is none.
std::optional<Score> ScoreOf(std::string_view text, const TextDialect& dialect, bool isCut) {
    if (text.find(dialect.delimiter) == std::string_view::npos) {
        return std::nullopt;
    }
    const Scan scan = ScanRecords(text, dialect, isCut);
    const std::size_t width = GetUsualWidth(scan.records);
    if (width == 0) {
        return std::nullopt;
    }
    const Records& records = scan.records;
    const std::size_t size = records.GetSize();
    std::size_t fitting = 0;
    std::size_t first = size;
    std::size_t last = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (records[i].size() == width) {
            ++fitting;
            first = std::min(first, i);
            last = i + 1;
        }
    }
    const auto stretch = static_cast<double>(last - first);
    const CellCounts counts = CountCells(records);
    const double values = ShareOf(counts.values, counts.cells);

    const bool isWeak = IsWeak(dialect);
    if (stretch < LeastCover * static_cast<double>(size) ||
        static_cast<double>(fitting) < (isWeak ? WeakShare : StrongShare) * stretch ||
        (dialect.delimiter == " " && values < ValuesAtBlanks) ||
        (dialect.delimiter == ":" && IsColonOfTexts(records, width, values))) {
        return std::nullopt;
    }
    const std::size_t faults = scan.faults + size - fitting;
    const double share =
        ShareOf(fitting, size) * std::max(0.0, 1.0 - ShareOf(faults, size)) * (isWeak ? WeakFactor : 1.0);
    const bool hasSingles =
        counts.singles > 1 &&
        static_cast<double>(counts.singles) >= SinglesShare * static_cast<double>(counts.openedBySingles);
    return Score{{Round(share, 2), Round(values, 1), width}, faults, scan.quoted, hasSingles};
}

// The quotes that suit a delimiter best.
Candidate FindQuotes(std::string_view text, const std::string& delimiter, bool isCut) {
    Candidate best{MakeDialect(delimiter, '"', '\0'), std::nullopt};
    best.score = ScoreOf(text, best.dialect, isCut);
    if (best.score && best.score->hasSingles && best.score->quoted == 0) {
        const TextDialect single = MakeDialect(delimiter, '\'', '\0');
        const auto score = ScoreOf(text, single, isCut);
        if (score && score->points >= best.score->points) {
            return {single, score};
        }
    }
    if (best.score && best.score->faults == 0) {
        return best;
    }
    for (const TextDialect& other : {MakeDialect(delimiter, '"', '\\'), MakeDialect(delimiter, '\'', '\0')}) {
        const auto score = ScoreOf(text, other, isCut);
        if (score && score->quoted > 0 &&
            (!best.score || (score->faults < best.score->faults && score->points > best.score->points))) {
            best = {other, score};
        }
    }
    return best;
}

std::size_t LineEndLength(std::string_view text) {
    if (text.starts_with("\r\n")) {
        return 2;
    }
    return text.starts_with('\r') || text.starts_with('\n') ? 1 : 0;
}

std::vector<std::string_view> GetLines(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t count = 0; count < MostRecords; ++count) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        if (!IsBlank(text.substr(0, end))) {
            lines.push_back(text.substr(0, end));
        }
        if (end == text.size()) {
            break;
        }
        text.remove_prefix(end + LineEndLength(text.substr(end)));
    }
    return lines;
}

// Whether the records are, whole, one value each: that they hold a delimiter is chance.
bool IsOneColumnOfValues(const std::vector<std::string_view>& lines) {
    const bool mayHoldCommas = lines.front().find(',') == std::string_view::npos;
    const auto values = std::count_if(lines.begin(), lines.end(), [mayHoldCommas](std::string_view line) {
        return IsLikeOneValue(line, mayHoldCommas);
    });
    return 2 * static_cast<std::size_t>(values) >= lines.size();
}

std::optional<TextDialect> FindTable(std::string_view text, bool isCut) {
    Candidate best;
    for (const char delimiter : std::string(StrongDelimiters) + std::string(WeakDelimiters)) {
        Candidate candidate = FindQuotes(text, std::string(1, delimiter), isCut);
        if (candidate.score && delimiter == '\t' && candidate.score->points.share >= SureTab) {
            return candidate.dialect;
        }
        if (candidate.score && (!best.score || candidate.score->points > best.score->points)) {
            best = std::move(candidate);
        }
    }
    return best.score ? std::optional(best.dialect) : std::nullopt;
}

// Ragged records: none has a width of its own.
std::optional<TextDialect> FindDivider(std::string_view text, bool isCut) {
    for (const char delimiter : StrongDelimiters) {
        TextDialect dialect = MakeDialect(std::string(1, delimiter), '"', '\0');
        const Scan scan = ScanRecords(text, dialect, isCut);
        const std::size_t size = scan.records.GetSize();
        std::size_t divided = 0;
        for (std::size_t i = 0; i < size; ++i) {
            divided += scan.records[i].size() > 1 ? 1 : 0;
        }
        if (size > 0 && static_cast<double>(divided) >= RaggedShare * static_cast<double>(size)) {
            return dialect;
        }
    }
    return std::nullopt;
}

constexpr std::string_view DirectiveName = "sep=";

// The character that a directive names; empty where there is no directive.
std::string_view GetDirective(std::string_view text) {
    if (text.size() <= DirectiveName.size() ||
        !std::equal(DirectiveName.begin(), DirectiveName.end(), text.begin(),
                    [](char wanted, char c) { return wanted == ToLower(c); })) {
        return {};
    }
    text.remove_prefix(DirectiveName.size());
    const std::size_t length = std::max<std::size_t>(GetUtf8Length(text), 1);
    const bool isCharacter = LineEndLength(text) == 0;
    return isCharacter && LineEndLength(text.substr(length)) > 0 ? text.substr(0, length)
                                                                 : std::string_view();
}

}  // namespace

std::string_view SkipRemarks(std::string_view text) {
    while (text.starts_with('#')) {
        const std::size_t end = text.find_first_of("\r\n");
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + LineEndLength(text.substr(end)));
    }
    return text;
}

std::size_t GetDirectiveLength(std::string_view text) {
    const std::size_t named = GetDirective(text).size();
    const std::size_t length = DirectiveName.size() + named;
    return named == 0 ? 0 : length + LineEndLength(text.substr(length));
}

TextDialect SniffDialect(std::string_view text, bool isCut) {
    if (const std::string_view named = GetDirective(text); !named.empty()) {
        return MakeDialect(std::string(named), '"', '\0');
    }
    text = SkipRemarks(text);
    const std::vector<std::string_view> lines = GetLines(text);
    if (lines.empty() || IsOneColumnOfValues(lines)) {
        return {};
    }
    if (auto table = FindTable(text, isCut)) {
        return *table;
    }
    return FindDivider(text, isCut).value_or(TextDialect());
}

TextDialect SniffQuotes(std::string_view text, bool isCut, const std::string& delimiter) {
    return FindQuotes(SkipRemarks(text), delimiter, isCut).dialect;
}
