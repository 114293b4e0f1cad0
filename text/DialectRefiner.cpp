#include "text/DialectRefiner.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "text/RecordScanner.h"
#include "text/ValueForm.h"

namespace {

constexpr std::size_t MostRecords = 1000;
constexpr std::string_view RareDelimiters = "^~\x1f\x01";
// How many records have the width that a rare delimiter gives, and how many fields a printable one makes.
constexpr double RareShare = 0.9;
constexpr std::size_t LeastRareFields = 3;
// So many records of so many words each are no prose: fewer records need more words.
constexpr std::size_t FewRecords = 4;
constexpr std::size_t FewWords = 3;
constexpr std::size_t ManyRecords = 10;
constexpr std::size_t ManyWords = 4;

/** The records under a dialect, blank ones aside. */
struct Records {
    std::vector<std::vector<TextField>> all;
    std::size_t faults = 0;
};

RecordScanner::End EndOf(bool isCut) {
    return isCut ? RecordScanner::End::Cut : RecordScanner::End::File;
}

bool HoldsSomething(std::span<const TextField> fields) {
    return fields.size() > 1 || (fields.size() == 1 && !fields.front().text.empty());
}

Records Scan(std::string_view text, const TextDialect& dialect, bool isCut) {
    Records records;
    RecordScanner scanner(text, dialect, 0, EndOf(isCut));
    while (records.all.size() < MostRecords && scanner.Next()) {
        const auto fields = scanner.GetFields();
        records.faults += scanner.GetTextsBehindQuotes() + scanner.GetUnclosedQuotes();
        if (HoldsSomething(fields)) {
            records.all.emplace_back(fields.begin(), fields.end());
        }
    }
    return records;
}

// The share of the records that have as many fields as most.
double ShareOfWidth(const Records& records, std::size_t& width) {
    std::vector<std::size_t> counts;
    for (const auto& record : records.all) {
        counts.resize(std::max(counts.size(), record.size() + 1));
        ++counts[record.size()];
    }
    const auto most = std::max_element(counts.begin(), counts.end());
    width = static_cast<std::size_t>(most - counts.begin());
    return most == counts.end() ? 0.0 : static_cast<double>(*most) / static_cast<double>(records.all.size());
}

// Whether the field begins with the one blank that stands behind each delimiter. A last field may be empty,
// where an editor has cut the blank off.
bool FollowsBlank(const TextField& field, bool isLast) {
    if (field.isQuoted) {
        const char* const quote = field.text.data() - 1;
        return quote[-1] == ' ' && quote[-2] != ' ';
    }
    if (field.text.empty()) {
        return isLast;
    }
    return field.text.front() == ' ' && !field.text.starts_with("  ");
}

// Mostly told by the first record.
bool HasBlankBehindEach(std::string_view text, const TextDialect& dialect, bool isCut) {
    std::size_t records = 0;
    std::size_t delimiters = 0;
    RecordScanner scanner(text, dialect, 0, EndOf(isCut));
    while (records < MostRecords && scanner.Next()) {
        const auto fields = scanner.GetFields();
        for (std::size_t i = 1; i < fields.size(); ++i) {
            if (!FollowsBlank(fields[i], i + 1 == fields.size())) {
                return false;
            }
            ++delimiters;
        }
        records += HoldsSomething(fields) ? 1 : 0;
    }
    return records > 1 && delimiters > 1;
}

// Whether each second field is empty, from the second on: `a::b::c` at one colon.
bool IsDoubled(const Records& records) {
    std::size_t pairs = 0;
    for (const auto& record : records.all) {
        if (record.size() % 2 == 0) {
            return false;
        }
        for (std::size_t i = 1; i < record.size(); i += 2, ++pairs) {
            if (!record[i].text.empty() || record[i].isQuoted) {
                return false;
            }
        }
    }
    return records.all.size() > 1 && pairs > 1;
}

// A number with blanks in it, a date with a time.
bool IsOneValue(const std::vector<TextField>& record) {
    const char* const begin = record.front().text.data();
    const std::string_view last = record.back().text;
    return IsLikeOneValue({begin, static_cast<std::size_t>(last.data() + last.size() - begin)}, true);
}

bool HoldsQuoted(const std::vector<TextField>& record) {
    return std::any_of(record.begin(), record.end(), [](const TextField& field) { return field.isQuoted; });
}

bool EndsSentence(const std::vector<TextField>& record) {
    const std::string_view last = record.back().text;
    return !last.empty() && std::string_view(".!?:,;").find(last.back()) != std::string_view::npos;
}

// Whether blanks part the same number of words in each record. R leaves the first of its names out.
bool AreWords(const Records& records) {
    const std::size_t count = records.all.size();
    const std::size_t width = count == 0 ? 0 : records.all.back().size();
    const bool lacksName = count > 1 && records.all.front().size() + 1 == width;
    const bool areEqual =
        std::all_of(records.all.begin() + (lacksName ? 1 : 0), records.all.end(),
                    [width](const std::vector<TextField>& record) { return record.size() == width; });
    const auto countOf = [&](bool (*holds)(const std::vector<TextField>&)) {
        return static_cast<std::size_t>(std::count_if(records.all.begin(), records.all.end(), holds));
    };
    if (records.faults > 0 || !areEqual || 2 * countOf(EndsSentence) >= count ||
        2 * countOf(IsOneValue) >= count) {
        return false;
    }
    // Quotes around words are no accident.
    const bool areQuoted = 4 * countOf(HoldsQuoted) >= 3 * count;
    return (count >= FewRecords && width >= ManyWords) || (count >= ManyRecords && width >= FewWords) ||
           (areQuoted && count > 2 && width >= FewWords);
}

TextDialect FindRare(std::string_view text, bool isCut) {
    for (const char delimiter : RareDelimiters) {
        if (text.find(delimiter) == std::string_view::npos) {
            continue;
        }
        const TextDialect dialect{std::string(1, delimiter)};
        const Records records = Scan(text, dialect, isCut);
        std::size_t width = 0;
        const double share = ShareOfWidth(records, width);
        const bool isControl = static_cast<unsigned char>(delimiter) < 0x20;
        if (records.all.size() > 1 && share >= RareShare && width >= (isControl ? 2 : LeastRareFields)) {
            return dialect;
        }
    }
    if (text.find(' ') == std::string_view::npos) {
        return {};
    }
    for (const bool mergesRuns : {true, false}) {
        const TextDialect dialect{" ", '"', '\0', mergesRuns};
        if (AreWords(Scan(text, dialect, isCut))) {
            return dialect;
        }
    }
    return {};
}

}  // namespace

TextDialect RefineDialect(TextDialect guessed, std::string_view text, bool isCut) {
    if (guessed.delimiter.empty()) {
        return FindRare(text, isCut);
    }
    if (guessed.delimiter == ":" || guessed.delimiter == "|") {
        if (IsDoubled(Scan(text, guessed, isCut))) {
            guessed.delimiter += guessed.delimiter;
            return guessed;
        }
    }
    if (guessed.delimiter == "," || guessed.delimiter == ";" || guessed.delimiter == "|") {
        guessed.skipsBlank = HasBlankBehindEach(text, guessed, isCut);
    }
    return guessed;
}
