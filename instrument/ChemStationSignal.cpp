#include "instrument/ChemStationSignal.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "base/DateText.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"

namespace {

using Field = ChemStationField;
using Fact = FileContents::Fact;

constexpr double TimeUnits = 1000.0;      // in 1 s
constexpr double WavelengthUnits = 20.0;  // in 1 nm

// Of spectra as OpenLab writes them: what stands in a record in front of the values.
constexpr std::string_view OpenLabType = "OL";
constexpr std::uint64_t PlainHeadSize = 22;

// Where the doubles of a chromatogram begin, whatever the header says.
constexpr std::uint64_t DoublesOffset = 0x1800;

// Behind this mark of second differences stand 6 bytes that replace the value.
constexpr std::int16_t ReplacementMark = 0x7fff;
constexpr std::uint64_t ReplacementSize = 6;
constexpr double HighUnit = 4294967296.0;

using Encoding = ChemStationSignal::Encoding;

Encoding EncodingOf(int version) {
    switch (version) {
        case 8:
        case 30:
        case 108:
        case 130:
            return Encoding::Runs;
        case 81:
        case 181:
            return Encoding::SecondDifferences;
        case 179:
            return Encoding::Doubles;
        case 31:
        case 131:
            return Encoding::Spectra;
        default:
            return Encoding::None;
    }
}

std::string ReadField(ByteCursor& stream, const ChemStationLayout& layout, std::uint64_t position,
                      SpectrumTexts& texts) {
    if (position == 0) {
        return {};
    }
    const std::string text = ReadChemStationText(stream, position, layout.wide);
    return layout.wide ? text : texts.ToUtf8(text);
}

// Some writers leave the signal's own field empty; the technique then stands for it.
std::string ReadSignalName(ByteCursor& stream, const ChemStationLayout& layout, bool isSpectra,
                           SpectrumTexts& texts) {
    const std::string name =
        ReadField(stream, layout, isSpectra ? layout.spectraSignal : layout.signal, texts);
    return name.empty() ? ReadField(stream, layout, layout.technique, texts) : name;
}

std::int32_t ReadBigInt(ByteCursor& stream, std::uint64_t position) {
    stream.Seek(position);
    return stream.ReadBigI32();
}

double ReadBigDouble(ByteCursor& stream, std::uint64_t position) {
    stream.Seek(position);
    return stream.ReadBigDouble();
}

// Chromatograms of gas instruments have their times as floats, those of liquid ones as whole numbers.
double ReadTime(ByteCursor& stream, std::uint64_t position, bool isFloat) {
    stream.Seek(position);
    return (isFloat ? static_cast<double>(stream.ReadBigFloat()) : stream.ReadBigI32()) / TimeUnits;
}

/** A list of facts that leaves out what is empty. */
class FactList {
public:
    void Add(const char* name, const std::string& text) {
        if (!text.empty()) {
            facts.emplace_back(name, text);
        }
    }
    void AddNumber(const char* name, double number, const char* unit = "") {
        facts.emplace_back(name, number, unit);
    }
    std::vector<Fact> Take() { return std::move(facts); }

private:
    std::vector<Fact> facts;
};

/** What a signal's name says of its light, and the facts that this makes. */
struct LightClause {
    std::string_view mark;
    const char* wavelength;
    const char* bandwidth; /**< null where none follows */
};

constexpr LightClause LightClauses[] = {{"Sig=", "wavelength", "bandwidth"},
                                        {"Wavelength=", "wavelength", nullptr},
                                        {"Ref=", "reference wavelength", "reference bandwidth"},
                                        {"Ex=", "excitation wavelength", nullptr},
                                        {"Em=", "emission wavelength", nullptr}};

// "DAD1 A, Sig=273,4 Ref=off": each wavelength and its bandwidth.
void AddWavelengths(FactList& facts, const std::string& signal) {
    for (const LightClause& clause : LightClauses) {
        const std::size_t found = signal.find(clause.mark);
        if (found == std::string::npos) {
            continue;
        }
        std::string_view text = std::string_view(signal).substr(found + clause.mark.size());
        double number = 0;
        const std::size_t length = ParseDouble(text, number);
        if (length == 0) {
            continue;
        }
        facts.AddNumber(clause.wavelength, number, "nm");
        text.remove_prefix(length);
        if (clause.bandwidth != nullptr && text.starts_with(",") && ParseDouble(text.substr(1), number) > 0) {
            facts.AddNumber(clause.bandwidth, number, "nm");
        }
    }
}

// The bytes from the position on, which stays.
std::span<const std::uint8_t> Rest(ByteCursor stream) {
    return stream.Take(stream.GetRemaining());
}

void AddShort(FactList& facts, const char* name, ByteCursor& stream, std::uint64_t position) {
    stream.Seek(position);
    if (const std::int16_t number = stream.ReadBigI16(); number > 0) {
        facts.AddNumber(name, number);
    }
}

int PointsOf(const SpectrumRecord& record) {
    const int span = record.end - record.start;
    return record.step == 0 || span / record.step < 0 ? 0 : span / record.step + 1;
}

}  // namespace

bool ChemStationSignal::Open(const std::string& filePath, ByteCursor bytes, SpectrumTexts& texts,
                             std::string& failure) {
    path = filePath;
    ByteCursor stream = bytes;
    version = ReadChemStationVersion(stream);
    const ChemStationLayout& layout = ChemStationLayout::Of(version);
    const Encoding encoding = EncodingOf(version);
    if (version < 1) {
        failure = path + " has no version of a ChemStation file and can't be read.";
        return false;
    }
    if (encoding == Encoding::None) {
        failure = path + " is a ChemStation file of version " + std::to_string(version) +
                  ", which can't be read (8, 30, 31, 81, 108, 130, 131, 179 and 181 can).";
        return false;
    }
    const std::int32_t dataStart = ReadBigInt(stream, Field::DataStart);
    if (dataStart < 1 && encoding != Encoding::Doubles) {
        failure = path + " is a ChemStation file whose header doesn't tell where its values begin.";
        return false;
    }
    isSpectra = encoding == Encoding::Spectra;
    sample = ReadField(stream, layout, layout.sampleName, texts);
    date = ReadField(stream, layout, layout.date, texts);
    signal = ReadSignalName(stream, layout, isSpectra, texts);
    name = signal.empty() ? NvGetFileName(path) : signal;
    firstRecord = encoding == Encoding::Doubles ? DoublesOffset : ChemStationDataOffset(dataStart);
    if (isSpectra) {
        if (!OpenSpectra(stream, layout, texts)) {
            failure = path + " holds no spectrum that can be read.";
            return false;
        }
        return true;
    }
    OpenChromatogram(stream, layout, texts);
    if (numPoints == 0) {
        failure = path + " is a ChemStation file without a value.";
        return false;
    }
    return true;
}

void ChemStationSignal::OpenChromatogram(ByteCursor stream, const ChemStationLayout& layout,
                                         SpectrumTexts& texts) {
    const Encoding encoding = GetEncoding();
    unit = ReadField(stream, layout, layout.unit, texts);
    scale = ReadBigDouble(stream, layout.scale);
    offset = ReadBigDouble(stream, layout.offset);
    start = ReadTime(stream, Field::Start, encoding != Encoding::Runs);
    end = ReadTime(stream, Field::End, encoding != Encoding::Runs);
    stream.Seek(firstRecord);
    if (encoding == Encoding::Runs) {
        CountRuns(stream);
    } else if (encoding == Encoding::SecondDifferences) {
        CountSecondDifferences(stream);
    } else {
        CountDoubles(stream);
    }
}

ChemStationSignal::Encoding ChemStationSignal::GetEncoding() const {
    return EncodingOf(version);
}

// No value takes less than two bytes, so that a file of any sense has fewer than can be counted.
void ChemStationSignal::CountPoints(std::uint64_t points) {
    numPoints = static_cast<int>(std::min<std::uint64_t>(points, std::numeric_limits<int>::max()));
}

// Runs of differences up to a head without any; a file without the last head has been cut.
void ChemStationSignal::CountRuns(ByteCursor stream) {
    SpectrumHeaderInfo info;
    std::size_t count = 0;
    bool isCut = false;
    while (!isCut && info.Read(stream) && info.hasValues) {
        const auto length = static_cast<std::size_t>(info.length);
        const auto found = ChemStationRunningValue::CountBig(Rest(stream), length);
        stream.Skip(found.bytes);
        count += found.values;
        isCut = found.values < length;
    }
    CountPoints(count);
    if (isCut || stream.HasFailed()) {
        AddNote("cut-values", 1, "the file was cut off: it ends behind " + karta::CountOf(count, "value"));
    }
}

void ChemStationSignal::CountSecondDifferences(ByteCursor stream) {
    constexpr int VersionWithEndWord = 181;
    std::uint64_t count = 0;
    std::int16_t last = 1;
    while (stream.Has(sizeof last)) {
        last = stream.ReadBigI16();
        if (last == ReplacementMark && !stream.Skip(ReplacementSize)) {
            break;
        }
        ++count;
    }
    if (stream.HasFailed() || !stream.AtEnd()) {
        AddNote("cut-values", 1, "the file was cut off within its last value");
    } else if (version == VersionWithEndWord && last == 0 && count > 0) {
        // A word of its own ends the values.
        --count;
    }
    CountPoints(count);
}

void ChemStationSignal::CountDoubles(ByteCursor stream) {
    CountPoints(stream.GetRemaining() / sizeof(double));
    if (stream.GetRemaining() % sizeof(double) != 0) {
        AddNote("cut-values", 1, "the file was cut off within its last value");
    }
}

bool ChemStationSignal::OpenSpectra(ByteCursor stream, const ChemStationLayout& layout,
                                    SpectrumTexts& texts) {
    if (ReadBigInt(stream, Field::Flag) == 0) {
        unit = ReadField(stream, layout, layout.spectraUnit, texts);
        scale = ReadBigDouble(stream, layout.spectraScale);
    }
    const std::int32_t promised = std::max(ReadBigInt(stream, Field::NumRecords), 0);
    arePlain = ReadField(stream, layout, layout.fileType, texts).starts_with(OpenLabType);
    if (arePlain) {
        FindPlainRecords(stream, promised);
    } else {
        FindRecords(stream, promised);
    }
    start = axis.start / WavelengthUnits;
    step = axis.step / WavelengthUnits;
    end = start + (numPoints - 1) * step;
    return numSpectra > 0 && numPoints > 0;
}

// The records of the first one's axis, as far as the file holds them whole. A record that doesn't reach
// behind its own head would lead the walk around for ever.
void ChemStationSignal::FindRecords(ByteCursor stream, int promised) {
    std::uint64_t position = firstRecord;
    int found = 0;
    for (; promised == 0 || found < promised; ++found) {
        SpectrumRecord record;
        const bool isLast = found + 1 == promised;
        if (!record.Read(stream, position) || !record.IsKnown() || record.fieldLength < 0 ||
            (record.length < static_cast<int>(SpectrumRecord::HeadSize) && !isLast)) {
            break;
        }
        const auto length = static_cast<std::uint64_t>(std::max<int>(record.length, 0));
        if (position + length > stream.GetSize()) {
            break;
        }
        if (found == 0) {
            axis = record;
        }
        numSpectra += record.HasAxisOf(axis) ? 1 : 0;
        position += length;
    }
    NoteMissing(found, promised, position);
    if (numSpectra < found) {
        AddNote("other-axis", static_cast<std::uint64_t>(found - numSpectra),
                karta::CountOf(static_cast<std::uint64_t>(found - numSpectra), "spectrum", "spectra") +
                    " on another axis than the first are not in this table");
    }
    numPoints = PointsOf(axis);
}

// Records of one size, which the first one's axis tells.
void ChemStationSignal::FindPlainRecords(ByteCursor stream, int promised) {
    SpectrumRecord record;
    if (!record.Read(stream, firstRecord) || PointsOf(record) == 0) {
        return;
    }
    axis = record;
    numPoints = PointsOf(record);
    const std::uint64_t size = GetPlainRecordSize();
    const std::uint64_t held = (stream.GetSize() - firstRecord) / size;
    const auto most = promised > 0 ? promised : std::numeric_limits<int>::max();
    numSpectra = static_cast<int>(std::min<std::uint64_t>(held, static_cast<std::uint64_t>(most)));
    NoteMissing(numSpectra, promised, firstRecord + static_cast<std::uint64_t>(numSpectra) * size);
}

std::uint64_t ChemStationSignal::GetPlainRecordSize() const {
    return PlainHeadSize + static_cast<std::uint64_t>(numPoints) * sizeof(double);
}

void ChemStationSignal::NoteMissing(int found, int promised, std::uint64_t position) {
    if (found < promised) {
        AddNote("cut-records", static_cast<std::uint64_t>(promised - found),
                "the file holds " + std::to_string(found) + " of the " +
                    karta::CountOf(static_cast<std::uint64_t>(promised), "spectrum", "spectra") +
                    " that its header promises; they end at byte " + std::to_string(position));
    }
}

void ChemStationSignal::AddNote(const char* code, std::uint64_t count, std::string text) {
    notes.push_back({code, count, NvGetFileName(path), NvGetFileName(path) + ": " + std::move(text)});
}

bool ChemStationSignal::HasAxisOf(const ChemStationSignal& other) const {
    return isSpectra == other.isSpectra && numPoints == other.numPoints && start == other.start &&
           end == other.end;
}

std::vector<Fact> ChemStationSignal::ListFacts(ByteCursor bytes, SpectrumTexts& texts) {
    ByteCursor stream = bytes;
    const int version = ReadChemStationVersion(stream);
    const ChemStationLayout& layout = ChemStationLayout::Of(version);
    const bool isSpectra = EncodingOf(version) == Encoding::Spectra;
    const std::string signal = ReadSignalName(stream, layout, isSpectra, texts);
    const std::string date = ReadField(stream, layout, layout.date, texts);
    const auto moment = ParseChemStationDate(date);
    FactList facts;
    facts.Add("signal", signal);
    AddWavelengths(facts, signal);
    facts.Add("sample", ReadField(stream, layout, layout.sampleName, texts));
    facts.Add("description", ReadField(stream, layout, layout.description, texts));
    facts.Add("operator", ReadField(stream, layout, layout.operatorName, texts));
    facts.Add("date", moment ? FormatDateTime(*moment) : TidyChemStationDate(date));
    // A long text in the field before it runs over the method.
    const std::string technique = ReadField(stream, layout, layout.technique, texts);
    if (layout.wide || technique.size() < layout.method - layout.technique) {
        facts.Add("method", ReadField(stream, layout, layout.method, texts));
    }
    facts.Add("detector", ReadField(stream, layout, layout.detector, texts));
    facts.Add("technique", technique);
    facts.Add("software", ReadField(stream, layout, layout.software, texts));
    AddShort(facts, "sequence line", stream, Field::SequenceLine);
    AddShort(facts, "vial", stream, Field::Vial);
    AddShort(facts, "injection", stream, Field::Injection);
    facts.Add("file type", ReadField(stream, layout, layout.fileType, texts));
    facts.AddNumber("version", version);
    return facts.Take();
}

// Chromatograms

ChemStationTrace::ChemStationTrace(const ChemStationSignal& opened, ByteCursor bytes)
    : signal(opened), stream(bytes), left(static_cast<std::size_t>(opened.numPoints)) {
    stream.Seek(opened.firstRecord);
}

std::size_t ChemStationTrace::Next(std::span<double> values) {
    const std::span<double> room = values.first(std::min(values.size(), left));
    const Encoding encoding = signal.GetEncoding();
    const std::size_t count = encoding == Encoding::Runs                ? NextOfRuns(room)
                              : encoding == Encoding::SecondDifferences ? NextOfSecondDifferences(room)
                                                                        : NextOfDoubles(room);
    for (double& number : room.first(count)) {
        number = number * signal.scale + signal.offset;
    }
    left = count < room.size() ? 0 : left - count;
    return count;
}

std::size_t ChemStationTrace::NextOfRuns(std::span<double> values) {
    SpectrumHeaderInfo info;
    std::size_t count = 0;
    while (count < values.size()) {
        if (leftOfRun == 0) {
            if (!info.Read(stream) || !info.hasValues) {
                break;
            }
            leftOfRun = static_cast<std::size_t>(info.length);
            continue;
        }
        const std::size_t wanted = std::min(leftOfRun, values.size() - count);
        const auto taken = running.TakeBig(Rest(stream), 1.0, values.subspan(count, wanted));
        stream.Skip(taken.bytes);
        count += taken.values;
        leftOfRun -= taken.values;
        if (taken.values < wanted) {
            break;
        }
    }
    return count;
}

std::size_t ChemStationTrace::NextOfSecondDifferences(std::span<double> values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::int16_t step = stream.ReadBigI16();
        if (step == ReplacementMark) {
            const std::int16_t high = stream.ReadBigI16();
            value = high * HighUnit + stream.ReadBigU32();
            slope = 0;
        } else {
            slope += step;
            value += slope;
        }
        if (stream.HasFailed()) {
            return i;
        }
        values[i] = value;
    }
    return values.size();
}

std::size_t ChemStationTrace::NextOfDoubles(std::span<double> values) {
    return stream.ReadRun<double>(values) ? values.size() : 0;
}

// Spectra

ChemStationSpectra::ChemStationSpectra(const ChemStationSignal& opened, ByteCursor bytes)
    : signal(opened), stream(bytes), position(opened.firstRecord) {}

bool ChemStationSpectra::Next(std::vector<double>& values) {
    return signal.arePlain ? NextPlain(values) : NextOfDifferences(values);
}

bool ChemStationSpectra::NextPlain(std::vector<double>& values) {
    if (spectrum == signal.numSpectra || !record.Read(stream, position)) {
        return false;
    }
    ++spectrum;
    stream.Seek(position + PlainHeadSize);
    position += signal.GetPlainRecordSize();
    values.resize(static_cast<std::size_t>(signal.numPoints));
    if (!stream.ReadRun<double>(values)) {
        values.clear();
    }
    for (double& value : values) {
        value *= signal.scale;
    }
    return true;
}

// Each spectrum's running value begins at 0, whatever the one before ended with.
bool ChemStationSpectra::NextOfDifferences(std::vector<double>& values) {
    do {
        if (spectrum == signal.numSpectra || !record.Read(stream, position)) {
            return false;
        }
        position += static_cast<std::uint64_t>(std::max<int>(record.length, 1));
    } while (!record.HasAxisOf(signal.axis));
    ++spectrum;
    const bool isOpenEnd = record.length < static_cast<int>(SpectrumRecord::HeadSize);
    const std::uint64_t end = isOpenEnd ? stream.GetSize() : position;
    const std::uint64_t begin = record.position + SpectrumRecord::HeadSize +
                                static_cast<std::uint64_t>(std::max<int>(record.fieldLength, 0));
    values.resize(static_cast<std::size_t>(signal.numPoints));
    if (begin > end || !stream.Seek(begin)) {
        values.clear();
        return true;
    }
    ByteCursor steps(stream.Take(std::min<std::uint64_t>(end, stream.GetSize()) - begin));
    if (record.kind == SpectrumRecord::KindAbsolute) {
        values.resize(std::min(values.size(), steps.GetSize() / sizeof(std::int32_t)));
        for (double& value : values) {
            value = steps.ReadI32() * signal.scale;
        }
    } else {
        ChemStationRunningValue running;
        values.resize(running.TakeLittle(Rest(steps), signal.scale, values).values);
    }
    return true;
}

double ChemStationSpectra::GetTime() const {
    return record.time / TimeUnits;
}
