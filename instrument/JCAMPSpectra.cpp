#include "instrument/JCAMPSpectra.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <numeric>
#include <span>
#include <utility>

#include "base/Ascii.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "instrument/JCAMPDecoder.h"
#include "instrument/JCAMPFile.h"
#include "instrument/JCAMPLabels.h"
#include "instrument/JCAMPSeries.h"
#include "instrument/JCAMPStream.h"

namespace {

constexpr std::size_t ValuesBetweenLooks = 1024;

constexpr double Missing = std::numeric_limits<double>::quiet_NaN();

// A step that is declared twice may differ by its rounding.
constexpr double StepTolerance = 1e-3;

// A line may begin so many steps beside its place before that is worth a note.
constexpr double HeadTolerance = 1.0;

/** What a table holds that can't be read, by the code of it. */
struct Problem {
    int code;
    const char* text;
};

constexpr Problem Problems[] = {
    {JCAMPFile::StatusIllegalCharacter, "an illegal character"},
    {JCAMPFile::StatusInvalidCharacter, "an illegal character"},
    {JCAMPFile::StatusRepeatedTwice, "a repetition of a repetition"},
    {JCAMPFile::StatusAbscissaRepeated, "an abscissa that is repeated"},
    {JCAMPFile::StatusFirstOrdinateDifference, "a first ordinate that is a difference"},
    {JCAMPFile::StatusSizeUnknown, "repetitions beyond all proportion to the file"},
    {JCAMPFile::StatusAssignments, "assignments, which can't be read"},
    {JCAMPFile::StatusNoPages, "no values"}};

std::string WithoutSpace(std::string_view text) {
    std::string result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result), [](char c) { return !IsSpace(c); });
    return result;
}

// The field of a list at a place; empty behind its end.
std::string FieldAt(std::string_view list, std::size_t place) {
    const std::vector<std::string> fields = SplitJCAMPList(list);
    return place < fields.size() ? fields[place] : std::string();
}

void Take(double& field, std::string_view text) {
    const double number = ToJCAMPNumber(text);
    field = std::isnan(number) ? field : number;
}

void TakeFactor(double& field, std::string_view text) {
    const double number = ToJCAMPNumber(text);
    field = std::isnan(number) || number == 0.0 ? field : number;
}

void TakeCount(int& field, std::string_view text) {
    const double number = ToJCAMPNumber(text);
    if (number >= 1.0 && number <= std::numeric_limits<int>::max()) {
        field = static_cast<int>(number);
    }
}

bool IsPeakLabel(const JCAMPDataTable& table, const JCAMPBlock& block) {
    return table.label == "PEAKTABLE" || StripJCAMPLabel(table.form).find("PEAKS") != std::string::npos ||
           (table.label != "XYPOINTS" && StripJCAMPLabel(block.Find("DATACLASS")) == "PEAKTABLE");
}

}  // namespace

double ToJCAMPNumber(std::string_view text) {
    text = TrimSpace(text);
    double number = 0.0;
    const std::size_t length = ParseDouble(text, number);
    if (length == 0) {
        return Missing;
    }
    if (length < text.size() && text[length] == ',' && length + 1 < text.size() &&
        IsDigit(text[length + 1])) {
        std::string point(text);
        point[length] = '.';
        ParseDouble(point, number);
    }
    return number;
}

std::vector<std::string> SplitJCAMPList(std::string_view text) {
    std::vector<std::string> fields;
    while (true) {
        const std::size_t comma = std::min(text.find(','), text.size());
        fields.emplace_back(TrimSpace(text.substr(0, comma)));
        if (comma == text.size()) {
            return fields;
        }
        text.remove_prefix(comma + 1);
    }
}

JCAMPSpectra::JCAMPSpectra(JCAMPStream& fileStream, const JCAMPBlock& fileBlock,
                           karta::ReadContext& readContext, karta::NumberStore& numberStore,
                           Rooms& tableRooms, std::string name)
    : stream(fileStream),
      block(fileBlock),
      context(readContext),
      store(numberStore),
      rooms(tableRooms),
      blockName(std::move(name)),
      repetitionsLeft(BelievedRepetitions +
                      BelievedRepetitionsPerByte * static_cast<std::int64_t>(fileStream.GetSize())) {}

void JCAMPSpectra::AddNote(const char* code, std::uint64_t count, int line, const std::string& text) {
    notes.push_back({code, count, "line " + std::to_string(line), blockName + ": " + text});
}

int JCAMPSpectra::Fail(int code, int line) {
    const auto* const found = std::find_if(std::begin(Problems), std::end(Problems),
                                           [code](const Problem& known) { return known.code == code; });
    problem = found == std::end(Problems) ? "a form of data that isn't known" : found->text;
    problem += " (line " + std::to_string(line) + ")";
    problemLine = line;
    return code;
}

// (X++(Y..Y)) tells the symbols of ordinates, (XY..XY) those of tuples.
JCAMPSpectra::Form JCAMPSpectra::ParseForm(const JCAMPDataTable& table) const {
    Form form;
    const std::string text = WithoutSpace(table.form);
    const std::size_t steps = text.find("++(");
    const std::size_t dots = text.find("..");
    if (text.starts_with('(') && steps != std::string::npos) {
        form.isKnown = dots != std::string::npos && dots > steps;
        form.symbols = {text.substr(1, steps - 1),
                        form.isKnown ? text.substr(steps + 3, dots - steps - 3) : std::string("Y")};
        return form;
    }
    if (text.starts_with('(') && dots != std::string::npos) {
        const std::string symbols = text.substr(1, dots - 1);
        form.isTuples = true;
        const std::vector<std::string> known = SplitJCAMPList(block.Find("SYMBOL"));
        for (std::size_t at = 0; at < symbols.size();) {
            const auto longest = std::max_element(
                known.begin(), known.end(), [&](const std::string& left, const std::string& right) {
                    const auto fits = [&](const std::string& symbol) {
                        return symbols.compare(at, symbol.size(), symbol) == 0 ? symbol.size() : 0;
                    };
                    return fits(left) < fits(right);
                });
            const bool isFound = longest != known.end() && !longest->empty() &&
                                 symbols.compare(at, longest->size(), *longest) == 0;
            form.symbols.push_back(isFound ? *longest : symbols.substr(at, 1));
            at += form.symbols.back().size();
        }
        form.isKnown = form.symbols.size() >= 2 && symbols.find(',') == std::string::npos;
        return form;
    }
    form.isTuples = table.label == "PEAKTABLE" || table.label == "XYPOINTS" || table.label == "XYPAIRS";
    form.isKnown = text.empty() || StripJCAMPLabel(text).starts_with("XYDATA");
    form.symbols =
        table.label == "RADATA" ? std::vector<std::string>{"R", "A"} : std::vector<std::string>{"X", "Y"};
    return form;
}

JCAMPVariable JCAMPSpectra::MakeVariable(const std::string& symbol, const JCAMPDataTable& table) const {
    if (!block.Find("SYMBOL").empty() && !table.GetPage().empty()) {
        return MakeTupleVariable(symbol, table);
    }
    JCAMPVariable variable;
    variable.symbol = symbol;
    variable.units = block.Find(symbol + "UNITS");
    Take(variable.first, block.Find("FIRST" + symbol));
    Take(variable.last, block.Find("LAST" + symbol));
    Take(variable.delta, block.Find("DELTA" + symbol));
    TakeFactor(variable.factor, block.Find(symbol + "FACTOR"));
    TakeCount(variable.points, block.Find("NPOINTS"));
    return variable;
}

// Of n-tuples each label lists all variables, and a page may say some of it anew.
JCAMPVariable JCAMPSpectra::MakeTupleVariable(const std::string& symbol, const JCAMPDataTable& table) const {
    JCAMPVariable variable;
    variable.symbol = symbol;
    const std::vector<std::string> symbols = SplitJCAMPList(block.Find("SYMBOL"));
    const auto found = std::find(symbols.begin(), symbols.end(), symbol);
    if (found == symbols.end()) {
        return variable;
    }
    const auto place = static_cast<std::size_t>(found - symbols.begin());
    variable.name = FieldAt(block.Find("VARNAME"), place);
    variable.units = FieldAt(block.Find("UNITS"), place);
    Take(variable.first, FieldAt(block.Find("FIRST"), place));
    Take(variable.last, FieldAt(block.Find("LAST"), place));
    TakeFactor(variable.factor, FieldAt(block.Find("FACTOR"), place));
    TakeCount(variable.points, FieldAt(block.Find("VARDIM"), place));
    for (const auto& record : table.pageRecords) {
        context.budget.ChargeWork(record->value.size(), "the records of a page");
        if (record->label == "FIRST") {
            Take(variable.first, FieldAt(record->value, place));
        } else if (record->label == "LAST") {
            Take(variable.last, FieldAt(record->value, place));
        } else if (record->label == "FACTOR") {
            TakeFactor(variable.factor, FieldAt(record->value, place));
        } else if (record->label == "NPOINTS") {
            TakeCount(variable.points, record->value);
        } else if (record->label == "VARDIM") {
            TakeCount(variable.points, FieldAt(record->value, place));
        }
    }
    return variable;
}

std::vector<std::pair<std::string, std::string>> JCAMPSpectra::PageOf(const JCAMPDataTable& table) const {
    std::vector<std::pair<std::string, std::string>> values;
    if (table.GetPage().empty()) {
        return values;
    }
    // Each spectrum of a page has its own.
    context.budget.ChargeMemory(table.GetPage().size(), "the pages");
    for (const std::string& field : SplitJCAMPList(table.GetPage())) {
        const std::size_t equals = field.find('=');
        const std::string symbol(TrimSpace(field.substr(0, std::min(equals, field.size()))));
        const std::string value(equals == std::string::npos
                                    ? std::string_view()
                                    : TrimSpace(std::string_view(field).substr(equals + 1)));
        values.emplace_back(equals == std::string::npos ? "Page" : symbol,
                            equals == std::string::npos ? symbol : value);
    }
    return values;
}

int JCAMPSpectra::Decode(const JCAMPDataTable& table, std::vector<JCAMPSpectrum>& spectra) {
    problem.clear();
    if (table.label.ends_with("ASSIGNMENTS")) {
        return Fail(JCAMPFile::StatusAssignments, table.line);
    }
    const Form form = ParseForm(table);
    if (!form.isKnown) {
        const std::string text = StripJCAMPLabel(table.form);
        const bool areAssignments =
            text.starts_with("(XA)") || text.starts_with("(XYA)") || text.starts_with("(XYMA)");
        return Fail(areAssignments ? JCAMPFile::StatusAssignments : JCAMPFile::StatusUnknownClass,
                    table.line);
    }
    const JCAMPVariable x = MakeVariable(form.symbols.front(), table);
    Decoded decoded = DecodeTable(table, form, x);
    if (decoded.code != JCAMPFile::StatusOk) {
        return Fail(decoded.code, decoded.line);
    }
    if (decoded.columns.empty() || decoded.columns.front().empty()) {
        return Fail(JCAMPFile::StatusNoPages, table.line);
    }
    const std::size_t firstValue = form.isTuples ? 1 : 0;
    for (std::size_t i = firstValue; i < decoded.columns.size(); ++i) {
        JCAMPSpectrum spectrum;
        spectrum.page = PageOf(table);
        spectrum.x = x;
        spectrum.y = MakeVariable(form.symbols[form.isTuples ? i : 1], table);
        spectrum.isPeaks = form.isTuples && IsPeakLabel(table, block);
        spectrum.isEven = !form.isTuples;
        spectrum.haveGaps = decoded.haveGaps;
        spectrum.ys = Keep(decoded.columns[i], spectrum.y.factor);
        if (form.isTuples) {
            spectrum.xs = i == firstValue ? Keep(decoded.columns.front(), x.factor) : spectra.back().xs;
        } else {
            MakeAxis(spectrum, decoded);
        }
        if (i == firstValue) {
            NoteChecks(spectrum, decoded);
            NoteHeads(spectrum, decoded);
        }
        spectra.push_back(std::move(spectrum));
    }
    rooms = std::move(decoded.columns);
    return JCAMPFile::StatusOk;
}

karta::StoredNumbers JCAMPSpectra::Keep(karta::NumberRoom& values, double factor) {
    context.budget.ChargeMemory(values.size() * sizeof(double), "the spectra of the file");
    return store.Keep(values, factor);
}

// How the numbers are written is told by the characters that are there: the likeliest first, and what they
// may be as well. Where commas stand and no point does, they may be decimal marks; an "E" may be the one
// squeezed digit of a table.
std::vector<JCAMPSpectra::Notation> JCAMPSpectra::FindNotations(const JCAMPDataTable& table) {
    stream.Seek(table.position);
    std::string_view line;
    int lineNumber = 0;
    unsigned int marks = 0;
    while ((marks & JCAMPCharacter::PackedMark) == 0 && stream.ReadLine(line, lineNumber)) {
        line = TrimSpace(line);
        if (line.starts_with('#')) {
            break;
        }
        for (const char c : line) {
            marks |= ClassifyJCAMP(c).marks;
        }
    }
    const bool isPacked = (marks & JCAMPCharacter::PackedMark) != 0;
    std::vector<Notation> notations{{.commaSeparates = true, .plainExponents = !isPacked}};
    if (!isPacked && (marks & JCAMPCharacter::CommaMark) != 0 && (marks & JCAMPCharacter::PointMark) == 0) {
        notations.push_back({.commaSeparates = false, .plainExponents = true});
    }
    if (!isPacked && (marks & JCAMPCharacter::ExponentMark) != 0) {
        notations.push_back({.commaSeparates = true, .plainExponents = false});
    }
    return notations;
}

namespace {

// An "E" was taken for an exponent where letters stand for digits.
bool IsContradicted(unsigned int marks) {
    return (marks & JCAMPCharacter::PackedMark) != 0 && (marks & JCAMPCharacter::BareExponentMark) != 0;
}

}  // namespace

// One pass does for nearly all tables: as numbers that commas part and that may have bare exponents. Where
// what was met on the way could be meant otherwise, the characters of the whole table and the count of the
// values tell which of several notations it is.
JCAMPSpectra::Decoded JCAMPSpectra::DecodeTable(const JCAMPDataTable& table, const Form& form,
                                                const JCAMPVariable& x) {
    const auto fits = [&](const Decoded& decoded) {
        return decoded.code == JCAMPFile::StatusOk && !decoded.columns.empty() &&
               decoded.columns.front().size() == static_cast<std::size_t>(std::max(x.points, 0));
    };
    Decoded likeliest = DecodeAs(table, form, {.commaSeparates = true, .plainExponents = true});
    const bool mayBeOtherwise =
        (likeliest.marks & (JCAMPCharacter::CommaMark | JCAMPCharacter::ExponentMark)) != 0;
    if (likeliest.code == JCAMPFile::StatusOk && !IsContradicted(likeliest.marks) &&
        (fits(likeliest) || !mayBeOtherwise)) {
        return likeliest;
    }
    const std::vector<Notation> notations = FindNotations(table);
    if (!notations.front().plainExponents) {
        rooms = std::move(likeliest.columns);
        likeliest = DecodeAs(table, form, notations.front());
    }
    if (notations.size() == 1 || fits(likeliest)) {
        return likeliest;
    }
    for (std::size_t i = 1; i < notations.size(); ++i) {
        Decoded other = DecodeAs(table, form, notations[i]);
        if (fits(other)) {
            return other;
        }
    }
    return likeliest;
}

JCAMPSpectra::Decoded JCAMPSpectra::DecodeAs(const JCAMPDataTable& table, const Form& form,
                                             const Notation& notation) {
    Decoded decoded;
    decoded.columns = std::exchange(rooms, {});
    decoded.columns.resize(form.isTuples ? form.symbols.size() : 1);
    std::for_each(decoded.columns.begin(), decoded.columns.end(), std::mem_fn(&karta::NumberRoom::Clear));
    stream.Seek(table.position);
    if (form.isTuples) {
        DecodeTuples(table, notation, decoded);
    } else {
        DecodeOrdinates(table, notation, decoded);
    }
    return decoded;
}

void JCAMPSpectra::DecodeOrdinates(const JCAMPDataTable& table, const Notation& notation, Decoded& decoded) {
    int lineNumber = table.line;
    double lastY = 0.0;
    bool checkPending = false;
    std::string_view line;
    while (stream.ReadLine(line, lineNumber)) {
        context.ThrowIfStopped();
        line = TrimSpace(line);
        if (line.starts_with('#')) {
            return;
        }
        if (line.empty()) {
            continue;
        }
        decoded.line = lineNumber;
        decoded.code = DecodeOrdinateLine(line, notation, decoded, lastY, checkPending);
        if (decoded.code != JCAMPFile::StatusOk || IsContradicted(decoded.marks)) {
            return;
        }
    }
}

namespace {

int CodeOf(JCAMPDecoder::Result result) {
    switch (result) {
        case JCAMPDecoder::IllegalCharacter:
            return JCAMPFile::StatusIllegalCharacter;
        case JCAMPDecoder::NotPlain:
            return JCAMPFile::StatusInvalidCharacter;
        case JCAMPDecoder::RepeatedTwice:
            return JCAMPFile::StatusRepeatedTwice;
        default:
            return JCAMPFile::StatusOk;
    }
}

}  // namespace

// An abscissa and the ordinates that begin there. Behind a line that ended in a difference the first
// ordinate repeats the last one: a check that fails is counted, and the values go on from the new one.
int JCAMPSpectra::DecodeOrdinateLine(std::string_view line, const Notation& notation, Decoded& decoded,
                                     double& lastY, bool& checkPending) {
    const JCAMPDecoder::Rules rules{.commaSeparates = notation.commaSeparates,
                                    .plainExponents = notation.plainExponents};
    karta::NumberRoom& ys = decoded.columns.front();
    JCAMPDecoder decoder(line);
    JCAMPDecoder::Value value;
    int code = CodeOf(decoder.NextExact(value, rules));
    if (code != JCAMPFile::StatusOk) {
        return code;
    }
    if (value.count != 1) {
        return JCAMPFile::StatusAbscissaRepeated;
    }
    // A check stands where the last point does.
    decoded.heads.emplace_back(ys.size() - (checkPending && !ys.empty() ? 1 : 0), value.value);
    decoded.headLines.push_back(decoded.line);
    code = CodeOf(decoder.NextExact(value, rules));
    if (code == JCAMPFile::StatusOk && value.count < 0) {
        return JCAMPFile::StatusFirstOrdinateDifference;
    }
    if (code == JCAMPFile::StatusOk && value.count > 0 && checkPending) {
        if (value.missing || value.value != lastY) {
            decoded.firstFailedLine = decoded.failedChecks == 0 ? decoded.line : decoded.firstFailedLine;
            ++decoded.failedChecks;
        }
        lastY = value.value;
        checkPending = false;
        // What stands behind the check are points, where it is repeated.
        if (!AddRepeated(value, value.count - 1, decoded, lastY)) {
            return JCAMPFile::StatusSizeUnknown;
        }
        code = CodeOf(decoder.NextExact(value, rules));
    }
    while (code == JCAMPFile::StatusOk && value.count != 0) {
        // All values may stand in one line.
        if (ys.size() % ValuesBetweenLooks == 0) {
            context.ThrowIfStopped();
        }
        checkPending = value.count < 0;
        if (!value.missing && (value.count == 1 || value.count == -1)) {
            lastY = checkPending ? lastY + value.value : value.value;
            ys.Add(lastY);
        } else if (!AddRepeated(value, std::abs(static_cast<std::int64_t>(value.count)), decoded, lastY)) {
            return JCAMPFile::StatusSizeUnknown;
        }
        TakeRuns(decoder, ys, lastY, checkPending);
        code = CodeOf(decoder.NextExact(value, rules));
    }
    decoded.marks |= decoder.GetMarks();
    return code;
}

// What most of a line is.
void JCAMPSpectra::TakeRuns(JCAMPDecoder& decoder, karta::NumberRoom& ys, double& lastY, bool& checkPending) {
    constexpr std::size_t LongestRun = 128;
    while (true) {
        const std::span<double> values = ys.GetFree(LongestRun);
        const JCAMPDecoder::Run run = decoder.TakeRun(values);
        if (run.count == 0) {
            return;
        }
        context.ThrowIfStopped();
        checkPending = run.areDifferences;
        if (run.areDifferences) {
            const auto end = values.begin() + static_cast<std::ptrdiff_t>(run.count);
            values.front() += lastY;
            std::partial_sum(values.begin(), end, values.begin());
        }
        lastY = values[run.count - 1];
        ys.Extend(run.count);
    }
}

// A value that stands so many times; false where that is beyond all proportion to the file.
bool JCAMPSpectra::AddRepeated(const JCAMPDecoder::Value& value, std::int64_t count, Decoded& decoded,
                               double& lastY) {
    repetitionsLeft -= std::max<std::int64_t>(count - 1, 0);
    if (repetitionsLeft < 0) {
        return false;
    }
    karta::NumberRoom& ys = decoded.columns.front();
    decoded.haveGaps = decoded.haveGaps || (value.missing && count > 0);
    for (std::int64_t i = 0; i < count; ++i) {
        lastY = value.count < 0 ? lastY + value.value : value.value;
        ys.Add(value.missing ? Missing : lastY);
    }
    return true;
}

// Tuples of plain numbers, each on one line. What a line's last one lacks is missing.
void JCAMPSpectra::DecodeTuples(const JCAMPDataTable& table, const Notation& notation, Decoded& decoded) {
    const JCAMPDecoder::Rules rules{
        .commaSeparates = notation.commaSeparates, .strict = true, .plainExponents = true};
    int lineNumber = table.line;
    std::string_view line;
    while (stream.ReadLine(line, lineNumber)) {
        context.ThrowIfStopped();
        line = TrimSpace(line);
        if (line.starts_with('#')) {
            return;
        }
        decoded.line = lineNumber;
        JCAMPDecoder decoder(line);
        for (std::size_t place = 0;; place = (place + 1) % decoded.columns.size()) {
            JCAMPDecoder::Value value;
            decoded.code = CodeOf(decoder.NextExact(value, rules));
            if (decoded.code != JCAMPFile::StatusOk || (value.count == 0 && place == 0)) {
                break;
            }
            const bool isMissing = value.missing || value.count == 0;
            decoded.haveGaps = decoded.haveGaps || isMissing;
            decoded.columns[place].Add(isMissing ? Missing : value.value);
        }
        decoded.marks |= decoder.GetMarks();
        if (decoded.code != JCAMPFile::StatusOk) {
            return;
        }
    }
}

// By the declared step, whatever the count of the values.
void JCAMPSpectra::MakeAxis(JCAMPSpectrum& spectrum, const Decoded& decoded) {
    const JCAMPVariable& x = spectrum.x;
    EvenAxis& axis = spectrum.axis;
    const std::size_t count = spectrum.ys.size();
    const double head = decoded.heads.empty() ? Missing : decoded.heads.front().second * x.factor;
    const double first = std::isnan(x.first) ? head : x.first;
    const bool hasEnds = !std::isnan(first) && !std::isnan(x.last) && first != x.last;
    const bool hasDelta = !std::isnan(x.delta) && x.delta != 0.0;
    const std::size_t points = x.points > 1 ? static_cast<std::size_t>(x.points) : count;
    if (hasEnds && points > 1 && (x.points > 1 || !hasDelta)) {
        axis = EvenAxis::Between(first, x.last, points);
    } else if (!std::isnan(first) && (hasDelta || count == 1)) {
        axis = {first, hasDelta ? x.delta : 0.0, first, 0};
    }
    const bool hasAxis = !std::isnan(first) && (hasEnds || hasDelta || count == 1);
    if (!hasAxis) {
        AddNote("no-axis", 1, decoded.line,
                "neither the ends of X nor its step are told; the points are counted");
    } else if (count > 1 && hasDelta) {
        const double step = spectrum.GetX(1) - spectrum.GetX(0);
        if (std::fabs(step - x.delta) > StepTolerance * std::fabs(step)) {
            AddNote("step", 1, decoded.line,
                    "##DELTAX= is " + FormatG(x.delta) +
                        ", but by the ends and the number of points the step is " + FormatG(step) +
                        ", which is taken");
        }
    }
}

void JCAMPSpectra::NoteChecks(const JCAMPSpectrum& spectrum, const Decoded& decoded) {
    if (decoded.failedChecks > 0) {
        AddNote("y-check", static_cast<std::uint64_t>(decoded.failedChecks), decoded.firstFailedLine,
                karta::CountOf(static_cast<std::uint64_t>(decoded.failedChecks), "check value") +
                    " at the head of a line " + (decoded.failedChecks == 1 ? "differs" : "differ") +
                    " from the value before (first: line " + std::to_string(decoded.firstFailedLine) +
                    "); the values are kept");
    }
    const auto declared = static_cast<std::size_t>(std::max(spectrum.x.points, 0));
    if (declared > 0 && declared != spectrum.ys.size()) {
        AddNote("point-count", 1, decoded.line,
                "the file tells of " + karta::CountOf(declared, "point") + ", but has " +
                    karta::CountOf(spectrum.ys.size(), "value"));
    }
}

// The abscissas are looked at only to see whether they contradict the axis.
void JCAMPSpectra::NoteHeads(const JCAMPSpectrum& spectrum, const Decoded& decoded) {
    if (!spectrum.isEven || spectrum.ys.size() < 2) {
        return;
    }
    const double step = std::fabs(spectrum.GetX(1) - spectrum.GetX(0));
    int count = 0;
    int firstLine = 0;
    double farthest = 0.0;
    for (std::size_t i = 0; i < decoded.heads.size(); ++i) {
        const auto [point, head] = decoded.heads[i];
        if (point >= spectrum.ys.size()) {
            continue;
        }
        const double distance = std::fabs(head * spectrum.x.factor - spectrum.GetX(point)) / step;
        if (distance > HeadTolerance) {
            firstLine = count == 0 ? decoded.headLines[i] : firstLine;
            ++count;
            farthest = std::max(farthest, distance);
        }
    }
    if (count > 0) {
        AddNote("x-check", static_cast<std::uint64_t>(count), firstLine,
                "the X values at the heads of " + karta::CountOf(static_cast<std::uint64_t>(count), "line") +
                    " lie up to " + FormatG(farthest, 3) + " steps beside the axis (first: line " +
                    std::to_string(firstLine) + "); X goes by the declared step");
    }
}
