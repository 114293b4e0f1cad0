#include "instrument/JCAMPTable.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "base/Ascii.h"
#include "base/DateParser.h"
#include "base/DateText.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/OrderedWork.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "frame/CompleteOptions.h"
#include "instrument/JCAMPFile.h"
#include "instrument/JCAMPLabels.h"
#include "instrument/JCAMPStream.h"

namespace {

// Of a file, what is handed to one thread at a time; and how many of them bring the most.
constexpr std::uint64_t BytesOfRun = std::uint64_t{1} << 20;
constexpr unsigned int MostThreads = 8;

// So many of the quantities that tell pages apart have a column; no honest file has more.
constexpr std::size_t MostPageSymbols = 16;

// So many notes on single blocks are kept.
constexpr std::size_t MostNotes = 100;

// Of a failure's text: more would be cut.
constexpr std::size_t LongestText = 200;

// Days from the host's day 0 to 1970-01-01.
constexpr double DaysTo1970 = 25569.0;
constexpr double MicrosecondsOfADay = 86400e6;
constexpr double MicrosecondsOfASecond = 1e6;

// In place of a unit: the fact has that of X.
constexpr const char* UnitOfX = nullptr;

/** A label that is a fact of its own name and unit. */
struct KnownFact {
    std::string_view label;
    const char* name;
    const char* unit;
};

constexpr KnownFact KnownFacts[] = {{"SPECTROMETER/DATASYSTEM", "instrument", ""},
                                    {"SPECTROMETERDATASYSTEM", "instrument", ""},
                                    {"OPERATOR", "operator", ""},
                                    {"OWNER", "owner", ""},
                                    {"ORIGIN", "origin", ""},
                                    {"RESOLUTION", "resolution", UnitOfX},
                                    {"SAMPLEDESCRIPTION", "sample", ""},
                                    {"NAMES", "names", ""},
                                    {"TEMPERATURE", "temperature", "°C"},
                                    {"PRESSURE", "pressure", "hPa"},
                                    {"PATHLENGTH", "path length", "cm"},
                                    {".OBSERVEFREQUENCY", "observe frequency", "MHz"},
                                    {".AVERAGES", "scans", ""},
                                    {".OBSERVENUCLEUS", "observe nucleus", ""},
                                    {".IONIZATIONENERGY", "ionization energy", "eV"},
                                    {".FIELD", "field", "T"},
                                    {".ACQUISITIONTIME", "acquisition time", "s"}};

std::string UnitOf(const KnownFact& fact, const JCAMPSpectrum& spectrum) {
    return fact.unit == UnitOfX ? spectrum.x.units : fact.unit;
}

// Labels that the table or other facts tell already.
bool IsTold(std::string_view label) {
    for (const std::string_view told :
         {"TITLE", "DATE", "TIME", "LONGDATE", "FIRSTX", "LASTX", "DELTAX", "XFACTOR", "YFACTOR", "NPOINTS",
          "XUNITS", "YUNITS", "DATATYPE", "DATACLASS"}) {
        if (label == told) {
            return true;
        }
    }
    return false;
}

std::string Capitalized(std::string_view text) {
    std::string result = ToLowerCase(text);
    if (!result.empty()) {
        result.front() = ToUpper(result.front());
    }
    return result;
}

// The format's own order is year, month, day; what can't be that is read as people write dates.
std::string DateText(std::string_view text) {
    std::string date;
    for (std::size_t i = 0; i < text.size(); ++i) {
        // "81/ 1/ 3" is one date.
        const bool isInner = text[i] == ' ' && !date.empty() && (date.back() == '/' || date.back() == '-');
        date += isInner ? "" : std::string(1, text[i]);
    }
    int year = 0;
    int month = 0;
    int day = 0;
    std::string_view rest = date;
    const auto take = [&rest](int& number) {
        const std::size_t length = !rest.empty() && IsDigit(rest.front()) ? ParseInt(rest, number) : 0;
        const bool isPart =
            length > 0 && (length == rest.size() || rest[length] == '/' || rest[length] == ' ');
        rest.remove_prefix(isPart ? std::min(length + 1, rest.size()) : 0);
        return isPart ? length : 0;
    };
    const std::size_t yearLength = take(year);
    const bool isOrdered = yearLength == 2 && take(month) > 0 && take(day) > 0 && month >= 1 && month <= 12 &&
                           day >= 1 && day <= 31;
    if (!isOrdered) {
        return date;
    }
    const int fullYear = year < 30 ? 2000 + year : 1900 + year;
    return std::to_string(fullYear) + "/" + std::to_string(month) + "/" + std::to_string(day) +
           (rest.empty() ? "" : " " + std::string(rest));
}

std::optional<std::int64_t> ParseDate(std::string_view text) {
    COleDateTime date;
    if (text.empty() || !date.ParseDateTime(DateText(text))) {
        return std::nullopt;
    }
    const double microseconds = (date.GetSerial() - DaysTo1970) * MicrosecondsOfADay;
    return static_cast<std::int64_t>(std::llround(microseconds / MicrosecondsOfASecond) * 1'000'000);
}

// The text of a block's date and time, together.
std::string DateOf(const JCAMPBlock& block) {
    const std::string_view longDate = block.Find("LONGDATE");
    std::string text(longDate.empty() ? block.Find("DATE") : longDate);
    const std::string_view time = block.Find("TIME");
    if (!time.empty() && text.find(':') == std::string::npos) {
        // Hundredths of a second are beyond what dates are read to.
        text += (text.empty() ? "" : " ") + std::string(time.substr(0, time.find('.')));
    }
    return text;
}

bool HaveSameXs(const JCAMPSpectrum& left, const JCAMPSpectrum& right) {
    return std::ranges::equal(left.xs.Get(), right.xs.Get());
}

bool SameAxis(const JCAMPSpectrum& left, const JCAMPSpectrum& right) {
    if (left.isEven != right.isEven || left.ys.size() != right.ys.size() || left.x.units != right.x.units) {
        return false;
    }
    if (!left.isEven) {
        return HaveSameXs(left, right);
    }
    return TolerantEqual(left.GetX(0), right.GetX(0)) && TolerantEqual(left.GetLastX(), right.GetLastX());
}

bool SameClass(const JCAMPSpectrum& left, const JCAMPSpectrum& right) {
    return left.isEven == right.isEven && left.isPeaks == right.isPeaks;
}

std::string WithUnit(const std::string& name, const std::string& unit) {
    return unit.empty() ? name : name + " (" + unit + ")";
}

std::string_view QuantityOf(std::string_view units) {
    struct Known {
        std::string_view unit;
        std::string_view quantity;
    };
    static constexpr Known Units[] = {{"1/CM", "wavenumber"},        {"CM-1", "wavenumber"},
                                      {"NANOMETERS", "wavelength"},  {"NM", "wavelength"},
                                      {"MICROMETERS", "wavelength"}, {"M/Z", "mass"},
                                      {"HZ", "frequency"},           {"PPM", "chemical shift"},
                                      {"SECONDS", "time"},           {"MINUTES", "time"}};
    std::string upper;
    for (const char c : units) {
        upper += ToUpper(c);
    }
    for (const Known& known : Units) {
        if (upper == known.unit) {
            return known.quantity;
        }
    }
    return {};
}

}  // namespace

int JCAMPTable::AddFile(const std::string& path) {
    JCAMPStream stream(path.c_str(), JCAMPStream::Lines::Whole);
    if (!stream.IsOpen()) {
        return JCAMPFile::StatusCannotOpen;
    }
    stream.SetStop(context.stop);
    context.budget.AddInput(path.c_str());
    JCAMPDocument document(stream, texts);
    if (!document.IsJCAMP()) {
        return JCAMPFile::StatusNotJCAMP;
    }
    const std::string file = NvGetFileName(path);
    texts.AddNote(file, context);
    for (const karta::Note& note : document.GetNotes()) {
        AddNote(note);
    }
    ++numFiles;
    AddBlocks(path, document.TakeBlocks(), stream);
    return JCAMPFile::StatusOk;
}

namespace {

/** Of this source alone, so that the threads' work isn't exported. */
template <class Content>
struct Run : Content {};

std::uint64_t PlaceOf(const JCAMPBlock& block) {
    return block.tables.empty() ? 0 : block.tables.front().position;
}

}  // namespace

// Runs of blocks, as long as is worth handing to another thread; what comes of them is put together in their
// order.
void JCAMPTable::AddBlocks(const std::string& path, std::vector<JCAMPBlock> added,
                           const JCAMPStream& stream) {
    const std::size_t first = blocks.size();
    std::vector<std::size_t> begins{first};
    std::uint64_t place = 0;
    for (JCAMPBlock& content : added) {
        if (PlaceOf(content) >= place + BytesOfRun) {
            place = PlaceOf(content);
            begins.push_back(blocks.size());
        }
        blocks.push_back({path, NvGetFileName(path), std::move(content)});
    }
    const std::size_t runs = begins.size();
    begins.push_back(blocks.size());
    const auto decode = [&](std::size_t run) {
        return Run<DecodedBlocks>{DecodeBlocks(begins[run], begins[run + 1], stream)};
    };
    const auto add = [&](std::size_t run, DecodedBlocks decoded) {
        for (std::size_t i = 0; i < decoded.blocks.size(); ++i) {
            AddBlock(begins[run] + i, std::move(decoded.blocks[i]));
        }
        if (decoded.failure) {
            std::rethrow_exception(decoded.failure);
        }
        context.ThrowIfStopped();
    };
    if (runs == 1) {
        add(0, decode(0));
        return;
    }
    karta::OrderedWork<Run<DecodedBlocks>> work(
        runs, std::min(karta::ChooseThreadCount(0, runs), MostThreads), decode);
    for (std::size_t run = 0; run < runs; ++run) {
        add(run, work.Take());
    }
}

// By any thread: touches nothing that others change.
JCAMPTable::DecodedBlocks JCAMPTable::DecodeBlocks(std::size_t begin, std::size_t end, JCAMPStream stream) {
    DecodedBlocks decoded;
    try {
        JCAMPSpectra::Rooms rooms;
        for (std::size_t i = begin; i < end; ++i) {
            decoded.blocks.push_back(DecodeBlock(blocks[i], stream, rooms));
        }
        stream.LetGoOfLines();
    } catch (...) {
        decoded.failure = std::current_exception();
    }
    return decoded;
}

JCAMPTable::DecodedBlock JCAMPTable::DecodeBlock(const Block& block, JCAMPStream& stream,
                                                 JCAMPSpectra::Rooms& rooms) {
    DecodedBlock decoded;
    const JCAMPBlock& content = block.content;
    if (content.isLink && content.tables.empty()) {
        return decoded;
    }
    if (content.isBinary) {
        decoded.problems.push_back(
            {"binary data, which can't be read", content.line, JCAMPFile::StatusBinaryData});
        return decoded;
    }
    if (content.tables.empty()) {
        const bool isStructure = !content.Find("JCAMPCS").empty();
        decoded.problems.push_back({isStructure ? "a structure, which is no spectrum" : "no data",
                                    content.line, JCAMPFile::StatusNoPages});
        return decoded;
    }
    JCAMPSpectra decoder(stream, content, context, numbers, rooms, NameOf(block));
    for (const JCAMPDataTable& data : content.tables) {
        context.ThrowIfStopped();
        const int code = decoder.Decode(data, decoded.spectra);
        if (code != JCAMPFile::StatusOk) {
            decoded.problems.push_back({decoder.GetProblem(), decoder.GetProblemLine(), code});
        }
    }
    decoded.notes = decoder.GetNotes();
    return decoded;
}

std::string JCAMPTable::NameOf(const Block& block) const {
    return block.content.title.empty() ? block.file : block.content.title;
}

void JCAMPTable::AddBlock(std::size_t block, DecodedBlock decoded) {
    for (const Problem& problem : decoded.problems) {
        AddProblem(block, problem);
    }
    for (const karta::Note& note : decoded.notes) {
        AddNote(note);
    }
    AddSpectra(block, std::move(decoded.spectra));
}

// A file can give cause for more notes than anyone reads.
void JCAMPTable::AddNote(karta::Note note) {
    ++numNotes;
    if (numNotes <= MostNotes) {
        context.notes.Add(std::move(note));
    }
}

void JCAMPTable::AddProblem(std::size_t block, const Problem& problem) {
    Part& part = parts.emplace_back();
    part.block = block;
    part.name = NameOf(blocks[block]);
    part.problem = problem;
    AddNote({"unreadable-block", 1, part.name, part.name + " holds " + problem.text});
}

// Those of one axis that follow each other are one part; peaks are one by themselves.
void JCAMPTable::AddSpectra(std::size_t block, std::vector<JCAMPSpectrum> spectra) {
    const std::size_t firstPart = parts.size();
    for (JCAMPSpectrum& spectrum : spectra) {
        // Most have the axis of the one before: it is kept once.
        if (!parts.empty() && !parts.back().spectra.empty() &&
            HaveSameXs(parts.back().spectra.front(), spectrum)) {
            spectrum.xs = parts.back().spectra.front().xs;
        }
        const bool joins = parts.size() > firstPart && SameClass(parts.back().spectra.front(), spectrum) &&
                           SameAxis(parts.back().spectra.front(), spectrum);
        if (!joins) {
            Part& part = parts.emplace_back();
            part.block = block;
        }
        parts.back().spectra.push_back(std::move(spectrum));
    }
    const bool areSeveral = parts.size() > firstPart + 1;
    for (std::size_t i = firstPart; i < parts.size(); ++i) {
        parts[i].name = NameOf(blocks[block]);
        if (areSeveral) {
            for (const auto& [symbol, value] : parts[i].spectra.front().page) {
                parts[i].name.append(", ").append(symbol).append("=").append(value);
            }
        }
    }
}

std::vector<std::size_t> JCAMPTable::ChooseParts(
    const std::optional<std::vector<std::size_t>>& wanted) const {
    std::vector<bool> isWanted(parts.size(), !wanted);
    for (const std::size_t place : wanted ? *wanted : std::vector<std::size_t>()) {
        isWanted[place] = true;
    }
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (!isWanted[i] || parts[i].spectra.empty()) {
            continue;
        }
        const JCAMPSpectrum& spectrum = parts[i].spectra.front();
        const bool joins = chosen.empty() || wanted ||
                           (!spectrum.isPeaks && SameClass(parts[chosen.front()].spectra.front(), spectrum) &&
                            SameAxis(parts[chosen.front()].spectra.front(), spectrum));
        if (joins) {
            chosen.push_back(i);
        }
    }
    return chosen;
}

int JCAMPTable::Choose(const std::optional<std::string>& wanted) {
    std::optional<std::vector<std::size_t>> places;
    if (wanted) {
        places = FindParts(ListParts(), *wanted);
        if (!places) {
            return JCAMPFile::StatusNothingSelected;
        }
    }
    chosenParts = ChooseParts(places);
    if (chosenParts.empty()) {
        const auto refused = std::find_if(parts.begin(), parts.end(), [](const Part& part) {
            return part.problem.code != JCAMPFile::StatusOk;
        });
        const std::size_t first = places && !places->empty() ? places->front() : 0;
        const bool isRefused = places
                                   ? first < parts.size() && parts[first].problem.code != JCAMPFile::StatusOk
                                   : refused != parts.end();
        if (!isRefused) {
            return JCAMPFile::StatusNoPages;
        }
        return places ? parts[first].problem.code : refused->problem.code;
    }
    FindLabelColumns(chosenParts);
    std::vector<Part*> peaks;
    for (const std::size_t place : chosenParts) {
        Part& part = parts[place];
        if (part.spectra.front().isPeaks) {
            peaks.push_back(&part);
        } else {
            AddToTable(part);
        }
    }
    if (!peaks.empty()) {
        AddPeaks(peaks);
    }
    NoteTheRest(chosenParts);
    if (numNotes > MostNotes) {
        context.notes.Add({"further-notes", numNotes - MostNotes, "",
                           karta::CountOf(numNotes - MostNotes, "further note") +
                               " on the blocks of the file " + (numNotes - MostNotes == 1 ? "is" : "are") +
                               " left out"});
    }
    FillShape(parts[chosenParts.front()].spectra.front());
    return JCAMPFile::StatusOk;
}

std::string JCAMPTable::DescribeProblems() const {
    std::string text;
    for (const Part& part : parts) {
        if (!part.problem.text.empty() && text.size() < LongestText) {
            text += (text.empty() ? "" : "; ") + part.name + " holds " + part.problem.text;
        }
    }
    return text.empty() ? text : "No block of the file can be read: " + text;
}

int JCAMPTable::FindProblemLine() const {
    const auto first =
        std::find_if(parts.begin(), parts.end(), [](const Part& part) { return part.problem.line > 0; });
    return first == parts.end() ? 0 : first->problem.line;
}

void JCAMPTable::FindLabelColumns(const std::vector<std::size_t>& chosen) {
    table.labelNames = {"Name", "Date"};
    table.axisUnitColumn = 2;
    std::map<std::string, std::string> units;
    std::set<std::string> variables;
    std::set<std::string> yUnits;
    for (const std::size_t place : chosen) {
        for (const JCAMPSpectrum& spectrum : parts[place].spectra) {
            for (const auto& [symbol, value] : spectrum.page) {
                if (pageSymbols.size() < MostPageSymbols &&
                    std::find(pageSymbols.begin(), pageSymbols.end(), symbol) == pageSymbols.end()) {
                    pageSymbols.push_back(symbol);
                    const std::vector<std::string> symbols =
                        SplitJCAMPList(blocks[parts[place].block].content.Find("SYMBOL"));
                    const auto found = std::find(symbols.begin(), symbols.end(), symbol);
                    const std::vector<std::string> all =
                        SplitJCAMPList(blocks[parts[place].block].content.Find("UNITS"));
                    const auto index = static_cast<std::size_t>(found - symbols.begin());
                    units[symbol] = found != symbols.end() && index < all.size() ? all[index] : "";
                }
            }
            variables.insert(spectrum.y.name.empty() ? spectrum.y.symbol : spectrum.y.name);
            yUnits.insert(spectrum.y.units);
        }
    }
    for (const std::string& symbol : pageSymbols) {
        table.labelNames.push_back(WithUnit(symbol, units[symbol]));
    }
    hasVariable = variables.size() > 1;
    hasUnit = yUnits.size() > 1;
    if (hasVariable) {
        table.labelNames.emplace_back("Variable");
    }
    if (hasUnit) {
        table.labelNames.emplace_back("Unit");
    }
}

std::vector<SpectrumTable::Label> JCAMPTable::LabelsOf(const Part& part,
                                                       const JCAMPSpectrum& spectrum) const {
    const Block& block = blocks[part.block];
    std::vector<SpectrumTable::Label> labels;
    labels.emplace_back((numFiles > 1 && !block.content.title.empty() ? block.file + ", " : "") +
                        NameOf(block));
    const std::string dateText = DateOf(block.content);
    const std::optional<std::int64_t> date = ParseDate(dateText);
    if (date) {
        labels.emplace_back(SpectrumTable::DateTime{*date});
    } else if (!dateText.empty()) {
        labels.emplace_back(dateText);
    } else {
        labels.emplace_back();
    }
    for (const std::string& symbol : pageSymbols) {
        const auto found = std::find_if(spectrum.page.begin(), spectrum.page.end(),
                                        [&symbol](const auto& value) { return value.first == symbol; });
        if (found == spectrum.page.end()) {
            labels.emplace_back();
            continue;
        }
        double number = 0.0;
        const bool isNumber =
            !found->second.empty() && ParseDouble(found->second, number) == found->second.size();
        labels.push_back(isNumber ? SpectrumTable::Label(number) : SpectrumTable::Label(found->second));
    }
    if (hasVariable) {
        labels.emplace_back(spectrum.y.name.empty() ? spectrum.y.symbol : spectrum.y.name);
    }
    if (hasUnit) {
        labels.emplace_back(spectrum.y.units);
    }
    return labels;
}

void JCAMPTable::AddRow(const Part& part, JCAMPSpectrum& spectrum) {
    table.groups.back().spectra.push_back({LabelsOf(part, spectrum), rows.size()});
    rows.push_back({&spectrum, nullptr});
}

void JCAMPTable::AddRow(const Part& part, const JCAMPSpectrum& spectrum, const std::vector<double>& peakRow) {
    table.groups.back().spectra.push_back({LabelsOf(part, spectrum), rows.size()});
    rows.push_back({nullptr, &peakRow});
}

void JCAMPTable::AddToTable(Part& part) {
    const JCAMPSpectrum& first = part.spectra.front();
    const bool joins = !table.groups.empty() && [&] {
        const SpectrumTable::Group& group = table.groups.back();
        const bool isSame = group.axis.size() == first.ys.size() && group.axisUnit == first.x.units;
        return isSame && (first.isEven ? TolerantEqual(group.axis.front(), first.GetX(0)) &&
                                             TolerantEqual(group.axis.back(), first.GetLastX())
                                       : std::ranges::equal(group.axis, first.xs.Get()));
    }();
    if (!joins) {
        SpectrumTable::Group& group = table.groups.emplace_back();
        group.axis = first.MakeAxis();
        group.axisUnit = first.x.units;
    }
    for (JCAMPSpectrum& spectrum : part.spectra) {
        AddRow(part, spectrum);
    }
}

// Each X of any of the tables is a column, as often as one of them has it, in ascending order.
void JCAMPTable::AddPeaks(const std::vector<Part*>& peaks) {
    SpectrumTable::Group& group = table.groups.emplace_back();
    group.axisUnit = peaks.front()->spectra.front().x.units;
    if (peaks.size() == 1) {
        group.axis = peaks.front()->spectra.front().MakeAxis();
        for (JCAMPSpectrum& spectrum : peaks.front()->spectra) {
            AddRow(*peaks.front(), spectrum);
        }
        return;
    }
    std::map<double, std::size_t> counts;
    std::uint64_t withoutX = 0;
    for (const Part* part : peaks) {
        std::map<double, std::size_t> own;
        for (const double x : part->spectra.front().xs.Get()) {
            if (std::isnan(x)) {
                ++withoutX;
            } else {
                counts[x] = std::max(counts[x], ++own[x]);
            }
        }
    }
    if (withoutX > 0) {
        AddNote({"peaks-without-x", withoutX, "",
                 karta::CountOf(withoutX, "peak") + " without an X " +
                     (withoutX == 1 ? "has no place" : "have no place") + " in a table by X"});
    }
    std::map<double, std::size_t> columns;
    for (const auto& [x, count] : counts) {
        columns[x] = group.axis.size();
        group.axis.insert(group.axis.end(), count, x);
    }
    for (const Part* part : peaks) {
        for (const JCAMPSpectrum& spectrum : part->spectra) {
            std::map<double, std::size_t> used;
            std::vector<double>& values = peakRows.emplace_back();
            context.budget.ChargeMemory(group.axis.size() * sizeof(double), "the tables of peaks");
            values.assign(group.axis.size(), std::nan(""));
            for (std::size_t i = 0; i < spectrum.xs.size(); ++i) {
                if (!std::isnan(spectrum.xs[i])) {
                    values[columns[spectrum.xs[i]] + used[spectrum.xs[i]]++] = spectrum.ys[i];
                }
            }
            AddRow(*part, spectrum, values);
        }
    }
}

void JCAMPTable::NoteTheRest(const std::vector<std::size_t>& chosen) const {
    std::vector<int> rest;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (!parts[i].spectra.empty() && !std::binary_search(chosen.begin(), chosen.end(), i)) {
            rest.push_back(static_cast<int>(i) + 1);
        }
    }
    if (!rest.empty()) {
        const bool isOne = rest.size() == 1;
        context.notes.Add({"other-parts", rest.size(), "",
                           std::string(isOne ? "block " : "blocks ") + ListNumbers(rest) + " of the list " +
                               (isOne ? "is" : "are") + " not in this table" +
                               (isOne ? ": " + parts[static_cast<std::size_t>(rest.front()) - 1].name : "")});
    }
}

void JCAMPTable::FillShape(const JCAMPSpectrum& first) {
    table.FillShape(context.shape);
    context.shape.axisQuantity = first.x.name.empty() ? std::string(QuantityOf(first.x.units)) : first.x.name;
    context.shape.axisUnit = first.x.units;
    context.shape.valueQuantity = first.y.name;
    context.shape.valueUnit = first.y.units;
}

int JCAMPTable::Read(ReadSpreadSheetData& sink) {
    if (isSpent) {
        const int code = DecodeAgain();
        if (code != JCAMPFile::StatusOk) {
            return code;
        }
    }
    std::size_t last = rows.size();
    table.Write(sink, context, [&](std::size_t id, SpectrumTable::Values& values) {
        LetGo(last);
        last = id;
        const Row& row = rows[id];
        values.doubles =
            row.spectrum == nullptr ? std::span<const double>(*row.peaks) : row.spectrum->ys.Get();
        values.haveGaps = row.spectrum == nullptr || row.spectrum->haveGaps;
    });
    LetGo(last);
    return JCAMPFile::StatusOk;
}

// Of a row that is written: its values are with the sink now, and needn't be in memory twice.
void JCAMPTable::LetGo(std::size_t row) {
    if (row < rows.size() && rows[row].spectrum != nullptr) {
        karta::StoredNumbers& values = rows[row].spectrum->ys;
        context.budget.ReleaseMemory(values.size() * sizeof(double));
        values.LetGo();
        isSpent = true;
    }
}

// For the rows whose values are gone.
int JCAMPTable::DecodeAgain() {
    JCAMPSpectra::Rooms rooms;
    for (std::size_t first = 0; first < parts.size();) {
        const std::size_t block = parts[first].block;
        std::vector<JCAMPSpectrum*> spectra;
        for (; first < parts.size() && parts[first].block == block; ++first) {
            for (JCAMPSpectrum& spectrum : parts[first].spectra) {
                spectra.push_back(&spectrum);
            }
        }
        if (std::none_of(spectra.begin(), spectra.end(),
                         [](const JCAMPSpectrum* spectrum) { return spectrum->ys.IsGone(); })) {
            continue;
        }
        JCAMPStream stream(blocks[block].path.c_str(), JCAMPStream::Lines::Whole);
        std::vector<JCAMPSpectrum> decoded = DecodeBlock(blocks[block], stream, rooms).spectra;
        if (decoded.size() != spectra.size()) {
            return JCAMPFile::StatusUnexpectedEnd;
        }
        for (std::size_t i = 0; i < decoded.size(); ++i) {
            if (decoded[i].ys.size() != spectra[i]->ys.size()) {
                return JCAMPFile::StatusUnexpectedEnd;
            }
            spectra[i]->ys = std::move(decoded[i].ys);
        }
    }
    isSpent = false;
    return JCAMPFile::StatusOk;
}

std::vector<FileContents::Part> JCAMPTable::ListParts() const {
    std::vector<FileContents::Part> list;
    for (const Part& part : parts) {
        FileContents::Part entry;
        entry.kind = "block";
        entry.name = part.name;
        entry.number = static_cast<int>(list.size()) + 1;
        entry.rows = static_cast<int>(part.spectra.size());
        entry.cols = part.spectra.empty() ? 0 : static_cast<int>(part.spectra.front().ys.size());
        const Block& block = blocks[part.block];
        entry.detail = Capitalized(block.content.Find("DATATYPE"));
        if (!part.problem.text.empty()) {
            entry.detail += (entry.detail.empty() ? "" : ", ") + part.problem.text;
        } else if (part.spectra.front().isPeaks) {
            entry.detail += (entry.detail.empty() ? "" : ", ") + std::string("peaks");
        }
        if (numFiles > 1) {
            entry.detail += (entry.detail.empty() ? "" : ", ") + block.file;
        }
        list.push_back(std::move(entry));
    }
    return list;
}

std::vector<FileContents::Fact> JCAMPTable::ListFacts() const {
    std::vector<FileContents::Fact> facts;
    if (chosenParts.empty()) {
        return facts;
    }
    std::size_t spectra = 0;
    for (const Part& part : parts) {
        spectra += part.spectra.size();
    }
    const Part& part = parts[chosenParts.front()];
    const JCAMPSpectrum& first = part.spectra.front();
    const JCAMPBlock& block = blocks[part.block].content;
    facts.emplace_back("spectra", static_cast<double>(spectra), "");
    facts.emplace_back("points", static_cast<double>(first.ys.size()), "");
    facts.emplace_back("first X", first.GetX(0), first.x.units);
    facts.emplace_back("last X", first.GetLastX(), first.x.units);
    if (first.isEven && first.ys.size() > 1) {
        const double span = first.GetLastX() - first.GetX(0);
        facts.emplace_back("spacing", span / static_cast<double>(first.ys.size() - 1), first.x.units);
    }
    if (!first.y.units.empty()) {
        facts.emplace_back("Y unit", first.y.units);
    }
    if (!block.Find("DATATYPE").empty()) {
        facts.emplace_back("data type", std::string(block.Find("DATATYPE")));
    }
    const std::string dateText = DateOf(block);
    if (const std::optional<std::int64_t> date = ParseDate(dateText)) {
        facts.emplace_back("date", FormatDateTime(*date));
    } else if (!dateText.empty()) {
        facts.emplace_back("date", dateText);
    }
    for (const JCAMPRecord& record : block.records) {
        if (IsTold(record.label) || record.value.empty()) {
            continue;
        }
        const auto* known =
            std::find_if(std::begin(KnownFacts), std::end(KnownFacts),
                         [&record](const KnownFact& fact) { return fact.label == record.label; });
        const bool isKnown = known != std::end(KnownFacts);
        const std::string name = isKnown ? known->name : record.name;
        double number = 0.0;
        if (ParseDouble(record.value, number) == record.value.size()) {
            facts.emplace_back(name, number, isKnown ? UnitOf(*known, first) : "");
        } else {
            facts.emplace_back(name, record.value);
        }
    }
    return facts;
}
