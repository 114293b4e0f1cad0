#include "text/TextHead.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <utility>

#include "base/ByteScan.h"
#include "text/PlainNumber.h"
#include "text/QuickNumber.h"

namespace {

using Form = FieldForm;

// So many names that rise by one step are an axis; of numbers that aren't whole it takes more.
constexpr std::size_t LeastSteps = 3;
constexpr std::size_t LeastFineSteps = 8;
// And more where nothing but numbers is in the record.
constexpr std::size_t LeastStepsAlone = 5;
constexpr double StepTolerance = 1e-6;
// How many rows of remarks stand below the units, and how long a preamble of the table's width is.
constexpr std::size_t MostRemarkRows = 2;
constexpr std::size_t MostPreamble = 32;
// Heads are mostly among so many records.
constexpr std::size_t RecordsOneByOne = 2 * MostPreamble;
// From the table's first record on, so many may be looked at by themselves: a preamble of its width, names,
// units, remarks, and the records that these are held against.
constexpr std::size_t RecordsFromFirst = MostPreamble + 2 * MostRemarkRows + 4;
static_assert(RecordsFromFirst < RecordsOneByOne);

/** A record of the head, by the forms of its fields. */
struct Record {
    int row;
    bool isRemark;
    std::size_t start;  // in the text
    std::size_t firstForm;
    std::span<const std::uint32_t> forms;  // the bits of each
};

bool IsNumber(std::uint32_t form) {
    return (form & Form::Numbers) != 0 && (form & ~Form::Numbers) == 0;
}

bool IsDated(std::uint32_t form) {
    return (form & (Form::Date | Form::Time | Form::DateTime)) != 0;
}

bool IsBlank(std::span<const TextField> fields) {
    return fields.empty() || (fields.size() == 1 && fields[0].text.empty());
}

bool AreTexts(const Record& record) {
    return std::all_of(record.forms.begin(), record.forms.end(),
                       [](std::uint32_t form) { return form == Form::Nothing || (form & Form::Text) != 0; });
}

/** Finds the heads among the records. */
class HeadFinder {
public:
    HeadFinder(std::string_view headText, bool isHeadCut, const TextDialect& parts,
               const DelimitedOptions& userOptions, ColumnTypes& fileTypes)
        : text(headText),
          end(isHeadCut ? RecordScanner::End::Cut : RecordScanner::End::File),
          dialect(parts),
          options(userOptions),
          types(fileTypes) {}

    TextHead Find();

private:
    /** How many records have how many fields, blank ones aside. */
    using WidthCounts = std::map<std::size_t, std::size_t>;

    WidthCounts CountWidths(std::size_t mostRecords) const;
    static std::size_t ChooseUsualWidth(const WidthCounts& counts);
    void ReadUsualRecords();
    std::optional<WidthCounts> ReadRecords(bool areAllKept);
    bool HasHeadInRecords() const;
    void FindFirst();
    void SkipPreamble();
    void FindNames();
    void FindGivenNames(int row);
    bool TakeIndexNames();
    void TakeRemarkNames();
    void FindUnits();
    void TakeNames(const Record& record);
    bool AreNames(const Record& record, const std::vector<ColumnType>& below);
    bool FindAxis(const Record& record, const std::vector<ColumnType>& below);
    bool IsUnits(const Record& record, const std::vector<ColumnType>& below) const;
    void AddForms(std::string_view line);
    void AddForms(const RecordScanner& scanner);
    std::vector<FieldForm> GetFieldForms(const Record& record);
    std::vector<std::uint32_t> GetForms(std::size_t begin, std::size_t behind) const;
    void VoteFrom(std::size_t index, ColumnTypes& columns) const;
    std::vector<ColumnType> GetTypesFrom(std::size_t index) const;
    const Record* NextFitting(std::size_t index) const;
    bool Fits(const Record& record) const { return record.forms.size() == head.usualWidth; }

    std::string_view text;
    RecordScanner::End end;
    const TextDialect& dialect;
    const DelimitedOptions& options;
    ColumnTypes& types;
    std::vector<Record> records;  // without blank ones
    bool areFurtherOnes = false;  // behind them, which weren't kept
    std::vector<std::uint32_t> forms;
    std::string storage;
    std::size_t restFrom = 0;
    std::vector<std::uint32_t> rest;  // what the columns hold from there on
    TextHead head;
    std::size_t first = 0;     // the first record of the table, as an index
    bool isFirstSure = false;  // others of its width follow it
};

HeadFinder::WidthCounts HeadFinder::CountWidths(std::size_t mostRecords) const {
    WidthCounts counts;
    RecordScanner scanner(text, dialect, 0, end);
    for (; mostRecords > 0; --mostRecords) {
        if (const auto line = scanner.NextLine()) {
            if (!line->empty()) {
                ++counts[1 + CountByte(line->data(), line->data() + line->size(), dialect.delimiter.front())];
            }
        } else if (scanner.Next()) {
            if (!IsBlank(scanner.GetFields())) {
                ++counts[scanner.GetFields().size()];
            }
        } else {
            break;
        }
    }
    return counts;
}

std::size_t HeadFinder::ChooseUsualWidth(const WidthCounts& counts) {
    std::size_t usual = 0;
    std::size_t most = 0;
    for (const auto& [width, found] : counts) {
        // One field is what prose and remarks have: any division goes before it.
        if (found >= most || usual == 1) {
            usual = width;
            most = found;
        }
    }
    return usual;
}

// By the width that most of the first records have, which as a rule is that of most records at all.
void HeadFinder::ReadUsualRecords() {
    head.usualWidth = ChooseUsualWidth(CountWidths(RecordsOneByOne));
    const std::optional<WidthCounts> counts = ReadRecords(false);
    const std::size_t width =
        ChooseUsualWidth(counts ? *counts : CountWidths(std::numeric_limits<std::size_t>::max()));
    if (width != head.usualWidth) {
        head.usualWidth = width;
        ReadRecords(false);
    }
}

// Unless all are to be kept, those behind the first ones only tell what their columns hold. Counts the widths
// on the way; nothing where some record might have been divided otherwise for the usual width.
std::optional<HeadFinder::WidthCounts> HeadFinder::ReadRecords(bool areAllKept) {
    records.clear();
    forms.clear();
    areFurtherOnes = false;
    std::vector<std::uint32_t> further(head.usualWidth);
    WidthCounts counts;
    auto known = counts.end();
    RecordScanner scanner(text, dialect, head.usualWidth, end);
    for (int row = 1;; ++row) {
        const std::size_t firstForm = forms.size();
        const auto line = scanner.PartsLines() ? scanner.NextLine() : std::nullopt;
        bool isBlank = false;
        if (line) {
            AddForms(*line);
            isBlank = line->empty();
        } else if (scanner.Next()) {
            AddForms(scanner);
            isBlank = IsBlank(scanner.GetFields());
        } else {
            break;
        }
        const std::size_t width = forms.size() - firstForm;
        if (!isBlank) {
            if (known == counts.end() || known->first != width) {
                known = counts.try_emplace(width, 0).first;
            }
            ++known->second;
        }
        const auto begin = forms.begin() + static_cast<std::ptrdiff_t>(firstForm);
        const bool isRemark = scanner.GetStart() < text.size() && text[scanner.GetStart()] == '#';
        if (std::all_of(begin, forms.end(), [](std::uint32_t form) { return form == Form::Nothing; })) {
            forms.resize(firstForm);
        } else if (areAllKept || records.size() < RecordsOneByOne) {
            records.push_back({row, isRemark, scanner.GetStart(), firstForm, {}});
        } else {
            areFurtherOnes = true;
            for (std::size_t col = 0; col < width && width == head.usualWidth && !isRemark; ++col) {
                further[col] |= begin[static_cast<std::ptrdiff_t>(col)];
            }
            forms.resize(firstForm);
        }
    }
    std::size_t behind = forms.size();
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        record->forms = std::span(forms).subspan(record->firstForm, behind - record->firstForm);
        behind = record->firstForm;
    }
    // Of what is below the first records the forms together are asked for again and again.
    restFrom = std::min(records.size(), RecordsOneByOne);
    rest = areAllKept ? GetForms(restFrom, records.size()) : std::move(further);
    const bool areCertain = scanner.PartsLines() && !scanner.HasFaultyQuotes();
    return areCertain ? std::optional(std::move(counts)) : std::nullopt;
}

// Whether the table begins so early in the records that were kept that nothing but these is looked at by
// itself.
bool HeadFinder::HasHeadInRecords() const {
    if (!areFurtherOnes) {
        return true;
    }
    const std::size_t last = records.size() - RecordsFromFirst;
    return isFirstSure && first <= last && (!options.header || *options.header <= records[last].row);
}

// Of a record without quotes, divided and looked at in one pass.
void HeadFinder::AddForms(std::string_view line) {
    const char delimiter = dialect.delimiter.front();
    const bool mayHoldNumbers = !IsPartOfNumbers(delimiter);
    const char* at = line.data();
    const char* const lineEnd = at + line.size();
    const char* const readable = text.data() + text.size();
    while (true) {
        QuickNumber quick;
        if (mayHoldNumbers && readable - at >= QuickNumber::BytesLookedAt && quick.Find(at) &&
            quick.HasForm() &&
            (quick.GetEnd() == lineEnd || (quick.GetEnd() < lineEnd && *quick.GetEnd() == delimiter))) {
            forms.push_back(quick.GetBits());
            if (quick.GetEnd() == lineEnd) {
                return;
            }
            at = quick.GetEnd() + 1;
            at += dialect.skipsBlank && at != lineEnd && *at == ' ' ? 1 : 0;
            continue;
        }
        const PlainNumber plain({at, static_cast<std::size_t>(lineEnd - at)}, readable);
        const char* behind = plain.GetEnd();
        if (mayHoldNumbers && plain.IsThere() && (behind == lineEnd || *behind == delimiter)) {
            forms.push_back(plain.GetBits());
        } else {
            behind = FindByte(at, lineEnd, delimiter);
            const std::string_view field(at, static_cast<std::size_t>(behind - at));
            forms.push_back(GetFieldForm(field, options.dateOrder).bits);
        }
        if (behind == lineEnd) {
            return;
        }
        at = behind + 1;
        at += dialect.skipsBlank && at != lineEnd && *at == ' ' ? 1 : 0;
    }
}

void HeadFinder::AddForms(const RecordScanner& scanner) {
    for (const TextField& field : scanner.GetFields()) {
        forms.push_back(GetFieldForm(scanner.GetText(field, storage), options.dateOrder).bits);
    }
}

// With the numbers, which few records are asked for.
std::vector<FieldForm> HeadFinder::GetFieldForms(const Record& record) {
    std::vector<FieldForm> fieldForms;
    RecordScanner scanner(text.substr(record.start), dialect, head.usualWidth);
    scanner.Next();
    for (const TextField& field : scanner.GetFields()) {
        fieldForms.push_back(GetFieldForm(scanner.GetText(field, storage), options.dateOrder));
    }
    fieldForms.resize(record.forms.size());
    return fieldForms;
}

// What the fields of each column hold together, of the records from one to before the other.
std::vector<std::uint32_t> HeadFinder::GetForms(std::size_t begin, std::size_t behind) const {
    std::vector<std::uint32_t> together(head.usualWidth);
    for (std::size_t i = begin; i < behind; ++i) {
        if (Fits(records[i]) && !records[i].isRemark) {
            for (std::size_t col = 0; col < head.usualWidth; ++col) {
                together[col] |= records[i].forms[col];
            }
        }
    }
    return together;
}

// Lets the records from `index` on vote.
void HeadFinder::VoteFrom(std::size_t index, ColumnTypes& columns) const {
    const bool hasRest = index <= restFrom;
    const std::vector<std::uint32_t> together = GetForms(index, hasRest ? restFrom : records.size());
    for (std::size_t col = 0; col < together.size(); ++col) {
        columns.Vote(col, together[col] | (hasRest ? rest[col] : 0U));
    }
}

// The table begins at the first record of its width that another of it follows, at once or behind one record
// that lacks a delimiter or has one too many.
void HeadFinder::FindFirst() {
    const auto isOfTable = [this](std::size_t at) {
        return at < records.size() && Fits(records[at]) && !records[at].isRemark;
    };
    const auto isRagged = [this](std::size_t at) {
        return at < records.size() && records[at].forms.size() > 1 && !records[at].isRemark;
    };
    first = records.size();
    isFirstSure = false;
    for (std::size_t i = 0; i < records.size() && !isFirstSure; ++i) {
        if (!isOfTable(i)) {
            continue;
        }
        isFirstSure = isOfTable(i + 1) || (isRagged(i + 1) && isOfTable(i + 2));
        if (first == records.size() || isFirstSure) {
            first = i;
        }
    }
}

// The types that the records from `index` on would have by themselves.
std::vector<ColumnType> HeadFinder::GetTypesFrom(std::size_t index) const {
    ColumnTypes below = types;
    VoteFrom(index, below);
    return below.Resolve(head.usualWidth);
}

const Record* HeadFinder::NextFitting(std::size_t index) const {
    return index + 1 < records.size() && Fits(records[index + 1]) && !records[index + 1].isRemark
               ? &records[index + 1]
               : nullptr;
}

// Whether the numbers at a record's end rise by one step, as years and wavelengths do.
bool HeadFinder::FindAxis(const Record& record, const std::vector<ColumnType>& below) {
    const std::vector<FieldForm> forms = GetFieldForms(record);
    std::size_t begin = forms.size();
    while (begin > 0 && IsNumber(forms[begin - 1].bits) && forms[begin - 1].hasNumber) {
        --begin;
    }
    const std::size_t count = forms.size() - begin;
    const bool isWhole =
        std::all_of(forms.begin() + static_cast<std::ptrdiff_t>(begin), forms.end(),
                    [](const FieldForm& form) { return form.number == std::floor(form.number); });
    if (count < (!isWhole ? LeastFineSteps : begin == 0 ? LeastStepsAlone : LeastSteps)) {
        return false;
    }
    const auto stepAt = [&](const std::vector<FieldForm>& in, std::size_t col) {
        return in[col + 1].number - in[col].number;
    };
    const auto rises = [&](const std::vector<FieldForm>& in) {
        const double step = in.size() == forms.size() ? stepAt(in, begin) : 0.0;
        bool all = step != 0.0;
        for (std::size_t col = begin; all && col + 1 < in.size(); ++col) {
            all = std::fabs(stepAt(in, col) - step) <= StepTolerance * std::fabs(in[begin].number + step);
        }
        return all;
    };
    const bool isAboveNumbers = std::all_of(
        below.begin() + static_cast<std::ptrdiff_t>(begin), below.end(), [](const ColumnType& type) {
            return type.kind == ColumnType::Number || type.kind == ColumnType::Empty;
        });
    // Where the next record rises as well, these are the data themselves, unless other fields are names.
    const Record* next = NextFitting(static_cast<std::size_t>(&record - records.data()));
    bool hasNames = false;
    for (std::size_t col = 0; col < begin; ++col) {
        hasNames = hasNames || ((forms[col].bits & Form::Text) != 0 && below[col].kind == ColumnType::Number);
    }
    if (!isAboveNumbers || !rises(forms) || next == nullptr || (rises(GetFieldForms(*next)) && !hasNames)) {
        return false;
    }
    head.firstAxisColumn = static_cast<int>(begin) + 1;
    return true;
}

// Names: no value above a column of such values, but for whole numbers and dates that can only be names.
bool HeadFinder::AreNames(const Record& record, const std::vector<ColumnType>& below) {
    bool hasNumbersAbove = false;
    bool areWhole = true;
    bool hasTexts = false;
    bool hasTextsAboveNumbersOnly = true;
    for (std::size_t col = 0; col < record.forms.size(); ++col) {
        const std::uint32_t form = record.forms[col];
        const ColumnType::Kind kind = below[col].kind;
        const bool isNumber = IsNumber(form) && kind == ColumnType::Number;
        const bool isDate = IsDated(form) && kind >= ColumnType::Date;
        if ((form & Form::Bool) != 0 && kind == ColumnType::Bool) {
            return false;
        }
        if (isNumber || isDate) {
            hasNumbersAbove = true;
            areWhole = areWhole && (isDate || (form & ~(Form::Integer | Form::WideInteger)) == 0);
        } else if (form != Form::Nothing) {
            hasTexts = true;
            hasTextsAboveNumbersOnly =
                hasTextsAboveNumbersOnly && (form & Form::Text) != 0 && kind == ColumnType::Number;
        }
    }
    if (!hasNumbersAbove) {
        // Values above texts are data as well.
        return std::any_of(record.forms.begin(), record.forms.end(),
                           [](std::uint32_t form) { return (form & Form::Text) != 0; });
    }
    if (FindAxis(record, below)) {
        return true;
    }
    return areWhole && hasTexts && hasTextsAboveNumbersOnly;
}

void HeadFinder::TakeNames(const Record& record) {
    head.nameRow = record.row;
    RecordScanner scanner(text.substr(record.start), dialect, head.usualWidth);
    scanner.Next();
    std::string storage;
    for (const TextField& field : scanner.GetFields()) {
        head.names.emplace_back(scanner.GetText(field, storage));
    }
}

// R's tables: one name fewer than fields.
bool HeadFinder::TakeIndexNames() {
    if (first == 0 || first >= records.size()) {
        return false;
    }
    const Record& above = records[first - 1];
    if (above.isRemark || above.forms.size() + 1 != head.usualWidth || !AreTexts(above)) {
        return false;
    }
    TakeNames(above);
    head.names.insert(head.names.begin(), "");
    head.hasIndexColumn = true;
    return true;
}

void HeadFinder::TakeRemarkNames() {
    if (first > 0 && first < records.size() && records[first - 1].isRemark && Fits(records[first - 1]) &&
        head.usualWidth > 1) {
        TakeNames(records[first - 1]);
    }
}

void HeadFinder::FindGivenNames(int row) {
    if (row == 0) {
        return;
    }
    const auto given = std::find_if(records.begin(), records.end(),
                                    [row](const Record& record) { return record.row == row; });
    head.nameRow = row;
    if (given == records.end()) {
        return;
    }
    TakeNames(*given);
    const auto index = static_cast<std::size_t>(given - records.begin());
    if (Fits(*given)) {
        first = index;
        FindAxis(records[first], GetTypesFrom(first + 1));
        ++first;
    } else {
        head.hasIndexColumn = given->forms.size() + 1 == head.usualWidth;
        if (head.hasIndexColumn) {
            head.names.insert(head.names.begin(), "");
        }
        first = std::max(first, index + 1);
    }
}

void HeadFinder::FindNames() {
    if (first >= records.size()) {
        return;
    }
    const bool isAlone = NextFitting(first) == nullptr;
    // A second record may be units: those behind it tell more.
    const bool hasThree = !isAlone && NextFitting(first + 1) != nullptr;
    std::vector<ColumnType> below = GetTypesFrom(first + (hasThree ? 2 : 1));
    if (hasThree && !IsUnits(records[first + 1], below)) {
        below = GetTypesFrom(first + 1);
    }
    const bool isOneTextColumn = head.usualWidth == 1 && (below.front().kind == ColumnType::Text ||
                                                          below.front().kind == ColumnType::Empty);
    if (!AreTexts(records[first]) && TakeIndexNames()) {
        return;
    }
    const bool mayBeNames = !isOneTextColumn && (!isAlone || AreTexts(records[first]));
    if (mayBeNames && AreNames(records[first], below)) {
        TakeNames(records[first]);
        ++first;
    } else {
        TakeRemarkNames();
    }
}

// Texts above numbers, some of them perhaps empty, one over each column.
bool HeadFinder::IsUnits(const Record& record, const std::vector<ColumnType>& below) const {
    if (!Fits(record)) {
        return false;
    }
    std::size_t filled = 0;
    for (const std::uint32_t form : record.forms) {
        if (form != Form::Nothing && (form & (Form::Text | Form::Missing)) == 0) {
            return false;
        }
        filled += form != Form::Nothing ? 1 : 0;
    }
    const bool areNumbersBelow = std::any_of(
        below.begin(), below.end(), [](const ColumnType& type) { return type.kind == ColumnType::Number; });
    bool isAboveNumber = false;
    for (std::size_t col = 0; col < record.forms.size(); ++col) {
        isAboveNumber =
            isAboveNumber || ((record.forms[col] & Form::Text) != 0 && below[col].kind == ColumnType::Number);
    }
    return areNumbersBelow && isAboveNumber && 2 * filled >= record.forms.size();
}

void HeadFinder::FindUnits() {
    if (head.nameRow == 0 || first + 1 >= records.size() || records[first].isRemark) {
        return;
    }
    if (IsUnits(records[first], GetTypesFrom(first + 1))) {
        head.unitRow = records[first].row;
        ++first;
    }
    // Remarks on the columns stand below their units.
    for (std::size_t more = 0; more < MostRemarkRows && head.unitRow > 0 && NextFitting(first) != nullptr &&
                               IsUnits(records[first], GetTypesFrom(first + 1));
         ++more) {
        ++first;
    }
}

// Where a preamble has records of the table's width by chance, as instruments' programs write them, the names
// are the last texts above numbers: only from there on the columns have types.
void HeadFinder::SkipPreamble() {
    const auto countNumbers = [](const std::vector<ColumnType>& columns) {
        return std::count_if(columns.begin(), columns.end(),
                             [](const ColumnType& type) { return type.kind == ColumnType::Number; });
    };
    const auto areTexts = [this](const Record& record) {
        return Fits(record) && !record.isRemark && AreTexts(record) &&
               2 * std::count_if(record.forms.begin(), record.forms.end(), [](std::uint32_t form) {
                   return form != Form::Nothing;
               }) > static_cast<std::ptrdiff_t>(head.usualWidth);
    };
    if (first >= records.size() || AreTexts(records[first])) {
        return;
    }
    const auto numbers = countNumbers(GetTypesFrom(first + 1));
    const std::size_t last = std::min(records.size(), first + MostPreamble);
    for (std::size_t i = first + 1; i + 1 < last; ++i) {
        const Record* next = NextFitting(i);
        if (next == nullptr || !areTexts(records[i]) || areTexts(*next)) {
            continue;
        }
        const std::vector<ColumnType> below = GetTypesFrom(i + 1);
        const bool areOthersAbove = std::all_of(
            records.begin() + static_cast<std::ptrdiff_t>(first),
            records.begin() + static_cast<std::ptrdiff_t>(i), [&](const Record& record) {
                bool isOther = !Fits(record) || record.isRemark;
                for (std::size_t col = 0; !isOther && col < record.forms.size(); ++col) {
                    isOther = below[col].kind == ColumnType::Number && (record.forms[col] & Form::Text) != 0;
                }
                return isOther;
            });
        if (areOthersAbove && countNumbers(below) > numbers) {
            first = i;
            return;
        }
    }
}

TextHead HeadFinder::Find() {
    ReadUsualRecords();
    FindFirst();
    if (!HasHeadInRecords()) {
        ReadRecords(true);
        FindFirst();
    }
    if (options.header) {
        FindGivenNames(*options.header);
    } else {
        SkipPreamble();
        FindNames();
    }
    FindUnits();
    head.firstDataRow =
        first < records.size() ? records[first].row : std::max(head.nameRow, head.unitRow) + 1;
    const auto firstToVote = std::lower_bound(records.begin(), records.end(), head.firstDataRow,
                                              [](const Record& record, int row) { return record.row < row; });
    VoteFrom(static_cast<std::size_t>(firstToVote - records.begin()), types);
    return head;
}

}  // namespace

TextHead ReadTextHead(std::string_view text, bool isCut, const TextDialect& dialect,
                      const DelimitedOptions& options, ColumnTypes& types) {
    return HeadFinder(text, isCut, dialect, options, types).Find();
}

karta::TableShape TextHead::GetShape(const std::vector<ColumnType>& types) const {
    karta::TableShape shape;
    shape.isKnown = true;
    shape.nameRow = nameRow;
    shape.firstNamedColumn = hasIndexColumn ? 2 : 1;
    shape.unitRow = unitRow;
    shape.firstDataRow = firstDataRow;
    shape.firstBlockColumn = firstAxisColumn;
    shape.axisRow = firstAxisColumn == 0 ? 0 : nameRow;
    const auto firstNumber = std::find_if(
        types.begin(), types.end(), [](const ColumnType& type) { return type.kind == ColumnType::Number; });
    if (firstNumber != types.end()) {
        for (auto type = types.begin(); type != firstNumber; ++type) {
            shape.labelColumns.push_back(static_cast<int>(type - types.begin()) + 1);
        }
    }
    if (hasIndexColumn && shape.labelColumns.empty()) {
        shape.labelColumns.push_back(1);
    }
    return shape;
}
