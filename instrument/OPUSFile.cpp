#include "instrument/OPUSFile.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iterator>
#include <map>
#include <set>
#include <span>

#include "base/DateText.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "base/Unicode.h"
#include "instrument/OPUSParameters.h"

namespace {

using Fact = FileContents::Fact;

// The type of a data block's status block is its own with this bit.
constexpr std::uint32_t StatusBit = 0x10;

constexpr std::size_t LengthUnit = 4;
constexpr std::size_t ValueSize = 4;

// Blocks don't overlap in an honest file. A directory that leads over the same parameters again and again is
// stopped here.
constexpr std::uint64_t MaxOverlap = 64;

// The kinds of spectra by their numbers in a type.
constexpr unsigned int KindSpectrum = 1;
constexpr unsigned int KindPhase = 3;
constexpr unsigned int KindAbsorbance = 4;
constexpr unsigned int KindReflectance = 12;
constexpr unsigned int KindDirectory = 13;
constexpr unsigned int LastNamedKind = 19;

/** The name and unit of a parameter. */
struct ParameterName {
    std::string_view code;
    const char* name;
    const char* unit;
};

constexpr ParameterName ParameterNames[] = {{"SNM", "sample", ""},
                                            {"SFM", "sample form", ""},
                                            {"CNM", "operator", ""},
                                            {"EXP", "method", ""},
                                            {"XPP", "method folder", ""},
                                            {"INS", "instrument", ""},
                                            {"SRN", "instrument serial number", ""},
                                            {"VSN", "firmware", ""},
                                            {"DTC", "detector", ""},
                                            {"SRC", "source", ""},
                                            {"BMS", "beamsplitter", ""},
                                            {"APT", "aperture", ""},
                                            {"ACC", "accessory", ""},
                                            {"CHN", "measurement channel", ""},
                                            {"RCH", "measurement channel", ""},
                                            {"OPF", "optical filter", ""},
                                            {"VEL", "scanner velocity", ""},
                                            {"RES", "resolution", "cm-1"},
                                            {"NSS", "scans", ""},
                                            {"NSR", "scans", ""},
                                            {"ASS", "scans taken", ""},
                                            {"ARS", "scans taken", ""},
                                            {"DUR", "scan duration", "s"},
                                            {"SRT", "start", ""},
                                            {"AQM", "acquisition mode", ""},
                                            {"PLF", "result spectrum", ""},
                                            {"APF", "apodization", ""},
                                            {"ZFF", "zero filling factor", ""},
                                            {"PHZ", "phase correction", ""},
                                            {"PHR", "phase resolution", "cm-1"},
                                            {"HFQ", "high frequency limit", "cm-1"},
                                            {"LFQ", "low frequency limit", "cm-1"},
                                            {"HFW", "wanted high frequency limit", "cm-1"},
                                            {"LFW", "wanted low frequency limit", "cm-1"},
                                            {"HFL", "high folding limit", "cm-1"},
                                            {"LFL", "low folding limit", "cm-1"},
                                            {"LWN", "laser wavenumber", "cm-1"},
                                            {"HUM", "relative humidity", "%"},
                                            {"PRS", "pressure", "hPa"},
                                            {"TSC", "scanner temperature", "°C"},
                                            {"HPF", "high pass filter", ""},
                                            {"LPF", "low pass filter", ""},
                                            {"DEL", "delay before measurement", "s"},
                                            {"SGN", "gain", ""},
                                            {"RGN", "gain", ""},
                                            {"CPY", "company", ""},
                                            {"DPM", "department", ""},
                                            {"LCT", "location", ""},
                                            {"BLD", "building", ""},
                                            {"IST", "instrument status", ""},
                                            {"UID", "identifier", ""},
                                            {"CPG", "code page", ""}};

bool TakeInt(std::string_view& text, int& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || value < 0) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return true;
}

bool TakeMark(std::string_view& text, char mark) {
    if (text.empty() || text.front() != mark) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/** The parameter blocks of one file, within what an honest file takes. */
class ParameterReader {
public:
    explicit ParameterReader(ByteCursor fileBytes)
        : bytes(fileBytes), bytesLeft(fileBytes.GetSize() * MaxOverlap) {}

    OPUSParameterBlock Read(const OPUSBlock& block) {
        return OPUSParameterBlock(ByteCursor(TakeBytes(block)));
    }

    std::span<const std::uint8_t> TakeBytes(const OPUSBlock& block) {
        if (block.offset < 0 || !bytes.Seek(static_cast<std::uint64_t>(block.offset))) {
            return {};
        }
        std::uint64_t size = bytes.GetRemaining();
        if (block.length > 0) {
            size = std::min(size, static_cast<std::uint64_t>(block.length) * LengthUnit);
        }
        if (size > bytesLeft) {
            return {};
        }
        bytesLeft -= size;
        return bytes.Take(size);
    }

private:
    ByteCursor bytes;
    std::uint64_t bytesLeft;
};

bool IsDataBlock(const OPUSBlock& block) {
    return block.dataKind != OPUSNoData && block.blockKind == OPUSData;
}

bool IsDirectory(const OPUSBlock& block) {
    return block.dataKind == OPUSNoData && block.blockKind == OPUSData && block.spectrumKind == KindDirectory;
}

bool IsParameterBlock(const OPUSBlock& block) {
    const bool isPlain = block.blockKind != OPUSData && block.blockKind != OPUSDirectoryBlock;
    const bool isFurther = block.blockKind == OPUSData && block.extension == OPUSMoreParameters;
    return block.dataKind == OPUSNoData && (isPlain || isFurther);
}

bool IsHistory(const OPUSBlock& block) {
    return block.dataKind == OPUSNoData && block.blockKind == OPUSData && block.extension == OPUSHistory &&
           block.spectrumKind == 0;
}

// Reports, structures and the like.
bool IsOther(const OPUSBlock& block) {
    return !IsDataBlock(block) && !IsParameterBlock(block) && !IsHistory(block) && !IsDirectory(block) &&
           block.blockKind == OPUSData && block.length > 0;
}

/** What the bytes of a data block are, where they aren't plain values. */
const char* NameOfForm(const OPUSBlock& block) {
    switch (block.extension) {
        case OPUSSeries:
            return "a series of spectra";
        case OPUSCompact:
            return "a compact spectrum";
        case OPUSHistory:
            return "a report";
        default:
            return nullptr;
    }
}

// The code page that a file's own parameters name; 0 where they don't.
int FindCodePage(const std::vector<OPUSBlock>& blocks, ParameterReader& parameters) {
    for (const OPUSBlock& block : blocks) {
        if (IsParameterBlock(block) && block.blockKind == OPUSSampleOrigin) {
            if (const std::int32_t page = parameters.Read(block).GetInt("CPG", 0); page > 0) {
                return page;
            }
        }
    }
    return 0;
}

/** The status blocks of a directory by their type; of equal ones each is given out once, in order. */
class StatusBlocks {
public:
    explicit StatusBlocks(const std::vector<OPUSBlock>& blocks) {
        for (const OPUSBlock& block : blocks) {
            if (block.dataKind != OPUSNoData && block.blockKind == OPUSDataStatus) {
                byType[block.type].blocks.push_back(block);
            }
        }
    }

    const OPUSBlock* TakeFor(const OPUSBlock& data) {
        const auto found = byType.find(data.type | StatusBit);
        if (found == byType.end()) {
            return nullptr;
        }
        auto& [blocks, next] = found->second;
        return &blocks[std::min(next++, blocks.size() - 1)];
    }

private:
    struct OfOneType {
        std::vector<OPUSBlock> blocks;
        std::size_t next = 0;
    };
    std::map<std::uint32_t, OfOneType> byType;
};

// As many of the promised values as the block and the file hold.
std::int64_t CountValues(const OPUSBlock& block, std::int64_t promised, std::uint64_t fileSize) {
    if (block.offset < 0 || static_cast<std::uint64_t>(block.offset) > fileSize) {
        return 0;
    }
    auto held = static_cast<std::int64_t>((fileSize - static_cast<std::uint64_t>(block.offset)) / ValueSize);
    if (block.length > 0) {
        held = std::min<std::int64_t>(held, block.length);
    }
    return std::min(promised, held);
}

OPUSSpectrum MakeSpectrum(const OPUSBlock& block, const OPUSParameterBlock& status, std::uint64_t fileSize) {
    OPUSSpectrum spectrum;
    spectrum.block = block;
    const std::int32_t promised = std::max(status.GetInt("NPT", 0), 0);
    spectrum.numPoints = static_cast<int>(CountValues(block, promised, fileSize));
    spectrum.firstX = status.GetNumber("FXV", 0.0);
    spectrum.lastX = status.GetNumber("LXV", 0.0);
    spectrum.numSpacings = std::max(promised - 1, 0);
    spectrum.scale = status.GetNumber("CSF", 1.0);
    spectrum.format =
        status.GetInt("DPF", 0) == OPUSSpectrum::Int32 ? OPUSSpectrum::Int32 : OPUSSpectrum::Real32;
    spectrum.xUnits = status.GetText("DXU");
    spectrum.time = {status.GetText("DAT"), status.GetText("TIM")};
    return spectrum;
}

/** Fills a file from its directory. */
class FileReader {
public:
    FileReader(OPUSFile& openFile, ByteCursor fileBytes, SpectrumTexts& fileTexts)
        : file(openFile), bytes(fileBytes), parameters(fileBytes), texts(fileTexts) {}

    void Read() {
        const std::vector<OPUSBlock> blocks = ReadOPUSDirectory(bytes);
        ReadTexts(blocks);
        StatusBlocks statusBlocks(blocks);
        for (const OPUSBlock& block : blocks) {
            if (IsDataBlock(block)) {
                ReadSpectrum(block, statusBlocks.TakeFor(block));
            }
        }
        const auto others = static_cast<std::uint64_t>(std::count_if(blocks.begin(), blocks.end(), IsOther));
        if (others > 0) {
            AddNote("other-blocks", "reports and the like are not read: " + karta::CountOf(others, "block"));
            file.notes.back().count = others;
        }
    }

private:
    void ReadTexts(const std::vector<OPUSBlock>& blocks) {
        const int codePage = FindCodePage(blocks, parameters);
        const auto take = [&](std::string& field, const std::string& text) {
            field = field.empty() ? texts.ToUtf8(text, codePage) : field;
        };
        for (const OPUSBlock& block : blocks) {
            if (IsParameterBlock(block) && block.blockKind == OPUSSampleOrigin) {
                const OPUSParameterBlock found = parameters.Read(block);
                take(file.sampleName, found.GetText("SNM"));
                take(file.sampleForm, found.GetText("SFM"));
            }
        }
    }

    void ReadSpectrum(const OPUSBlock& block, const OPUSBlock* statusBlock) {
        const std::string kind = NameOfOPUSSpectrum(block);
        if (const char* form = NameOfForm(block)) {
            AddNote("block-form", "'" + kind + "' is " + form + ", which can't be read");
            return;
        }
        if (statusBlock == nullptr) {
            AddNote("no-axis", "the block '" + kind + "' has no data status block and can't be read");
            return;
        }
        const OPUSParameterBlock status = parameters.Read(*statusBlock);
        const std::int32_t format = status.GetInt("DPF", 0);
        if (format != OPUSSpectrum::Real32 && format != OPUSSpectrum::Int32) {
            AddNote("value-format", "the values of '" + kind + "' are in a form (" + std::to_string(format) +
                                        ") that can't be read");
            return;
        }
        OPUSSpectrum spectrum = MakeSpectrum(block, status, bytes.GetSize());
        const int ordinal = ++ordinals[kind];
        spectrum.name = ordinal == 1 ? kind : kind + " " + std::to_string(ordinal);
        NoteCount(spectrum, status.GetInt("NPT", 0));
        if (spectrum.numPoints > 0) {
            file.spectra.push_back(std::move(spectrum));
        }
    }

    void NoteCount(const OPUSSpectrum& spectrum, std::int32_t promised) {
        if (spectrum.numPoints == 0) {
            AddNote("no-values", "'" + spectrum.name + "' has no values");
        } else if (spectrum.numPoints < promised) {
            AddNote("cut-values", "'" + spectrum.name + "' has " + std::to_string(spectrum.numPoints) +
                                      " of the " + std::to_string(promised) +
                                      " values that its axis promises");
        } else if (spectrum.block.length / 2 >= promised) {
            // A few words more are what the instrument's program rounds blocks up to.
            AddNote("further-values", "the block of '" + spectrum.name + "' has room for " +
                                          std::to_string(spectrum.block.length) +
                                          " values, of which its axis tells " + std::to_string(promised) +
                                          "; the others are not in the table");
        }
    }

    void AddNote(const char* code, const std::string& text) {
        file.notes.push_back({code, 1, NvGetFileName(file.path), NvGetFileName(file.path) + ": " + text});
    }

    OPUSFile& file;
    ByteCursor bytes;
    ParameterReader parameters;
    SpectrumTexts& texts;
    std::map<std::string, int> ordinals;
};

/** The facts of a file's parameters, each name once. */
class FactList {
public:
    FactList(SpectrumTexts& fileTexts, int fileCodePage) : texts(fileTexts), codePage(fileCodePage) {}

    void Add(const OPUSBlock& block, const OPUSParameter& parameter) {
        const auto* known =
            std::find_if(std::begin(ParameterNames), std::end(ParameterNames),
                         [&](const ParameterName& name) { return name.code == parameter.name; });
        const bool isKnown = known != std::end(ParameterNames);
        std::string name = isKnown ? known->name : texts.ToUtf8(parameter.name, codePage);
        if (block.channelClass == OPUSReference) {
            name = "reference " + name;
        }
        if (const auto* text = std::get_if<std::string>(&parameter.value)) {
            if (!text->empty() && names.insert(name).second) {
                facts.emplace_back(name, texts.ToUtf8(*text, codePage));
            }
            return;
        }
        const auto* whole = std::get_if<std::int32_t>(&parameter.value);
        const double number = whole != nullptr ? *whole : std::get<double>(parameter.value);
        if (names.insert(name).second) {
            AddNumber(name, parameter.name, number, isKnown ? known->unit : "");
        }
    }

    /** What was done with the file: lines, each ended by a NUL. */
    void AddHistory(std::string_view bytes) {
        std::string history;
        while (!bytes.empty()) {
            const std::string_view line = bytes.substr(0, bytes.find('\0'));
            bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
            history += (history.empty() || line.empty() ? "" : "\n") + texts.ToUtf8(line, codePage);
        }
        if (!history.empty() && names.insert("history").second) {
            facts.emplace_back("history", history);
        }
    }

    std::vector<Fact> Take() { return std::move(facts); }

private:
    // The start of a measurement is seconds since 1970 in the instrument's own time.
    void AddNumber(const std::string& name, std::string_view code, double number, const char* unit) {
        constexpr double MaxSeconds = 1e11;
        constexpr double Microseconds = 1e6;
        if (code == "SRT" && std::fabs(number) < MaxSeconds) {
            facts.emplace_back(name, FormatDateTime(std::llround(number * Microseconds)));
        } else {
            facts.emplace_back(name, number, unit);
        }
    }

    SpectrumTexts& texts;
    int codePage;
    std::vector<Fact> facts;
    std::set<std::string> names;
};

}  // namespace

// Day, month, year; a year of four digits may stand first.
std::optional<std::int32_t> OPUSTime::GetDays() const {
    std::string_view text = dateText;
    int fields[3] = {0, 0, 0};
    const bool yearFirst = text.size() > 4 && (text[4] == '/' || text[4] == '-');
    const char mark = text.find('/') != std::string_view::npos ? '/' : (yearFirst ? '-' : '.');
    if (!TakeInt(text, fields[0]) || !TakeMark(text, mark) || !TakeInt(text, fields[1]) ||
        !TakeMark(text, mark) || !TakeInt(text, fields[2])) {
        return std::nullopt;
    }
    const int year = yearFirst ? fields[0] : fields[2];
    const auto day = static_cast<unsigned int>(yearFirst ? fields[2] : fields[0]);
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned int>(fields[1])),
                                           std::chrono::day(day)};
    constexpr int FirstYear = 1900;
    constexpr int LastYear = 9999;
    if (!date.ok() || year < FirstYear || year > LastYear || !text.empty()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(std::chrono::sys_days(date).time_since_epoch().count());
}

std::optional<std::int64_t> OPUSTime::GetMicroseconds() const {
    std::string_view text = timeText;
    int hours = 0;
    int minutes = 0;
    if (!TakeInt(text, hours) || !TakeMark(text, ':') || !TakeInt(text, minutes) || !TakeMark(text, ':')) {
        return std::nullopt;
    }
    double seconds = 0;
    const auto result =
        std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
    constexpr int HoursOfADay = 24;
    constexpr int Sixty = 60;
    const bool isTime =
        result.ec == std::errc() && hours < HoursOfADay && minutes < Sixty && seconds >= 0 && seconds < Sixty;
    constexpr double Microseconds = 1e6;
    if (!isTime) {
        return std::nullopt;
    }
    return (std::int64_t{hours} * Sixty + minutes) * Sixty * 1'000'000 + std::llround(seconds * Microseconds);
}

std::optional<int> OPUSTime::GetZoneMinutes() const {
    const std::size_t open = timeText.find('(');
    if (open == std::string::npos) {
        return std::nullopt;
    }
    std::string_view text = std::string_view(timeText).substr(open + 1);
    if (!text.starts_with("GMT") && !text.starts_with("UTC")) {
        return std::nullopt;
    }
    text.remove_prefix(3);
    int hours = 0;
    int minutes = 0;
    const bool isWest = TakeMark(text, '-');
    TakeMark(text, '+');
    const bool hasHours = TakeInt(text, hours);
    if (hasHours && TakeMark(text, ':')) {
        TakeInt(text, minutes);
    }
    constexpr int MaxHours = 14;
    if (hours > MaxHours || minutes > 59 || text != ")") {
        return std::nullopt;
    }
    const int zone = hours * 60 + minutes;
    return isWest ? -zone : zone;
}

std::string OPUSTime::AsText() const {
    const auto days = GetDays();
    if (!days) {
        return AsUtf8(dateText + (dateText.empty() || timeText.empty() ? "" : " ") + timeText);
    }
    std::string text = FormatDate(*days);
    if (const auto time = GetMicroseconds()) {
        text += "T" + FormatTime(*time);
        if (const auto zone = GetZoneMinutes()) {
            const std::string offset = FormatTime(std::int64_t{std::abs(*zone)} * 60 * 1'000'000);
            text += (*zone < 0 ? "-" : "+") + offset.substr(0, 5);
        }
    }
    return text;
}

std::vector<double> OPUSSpectrum::MakeAxis() const {
    std::vector<double> xs(static_cast<std::size_t>(numPoints));
    const double spacing = GetSpacing();
    for (std::size_t i = 0; i < xs.size(); ++i) {
        xs[i] = firstX + static_cast<double>(i) * spacing;
    }
    if (!xs.empty()) {
        xs.back() = GetLastX();
    }
    return xs;
}

bool OPUSSpectrum::HasAxisOf(const OPUSSpectrum& other) const {
    return numPoints == other.numPoints && xUnits == other.xUnits && TolerantEqual(firstX, other.firstX) &&
           TolerantEqual(GetLastX(), other.GetLastX());
}

int OPUSSpectrum::GetRank() const {
    enum { Result, NamedRatio, OtherRatio, OtherSpectrum, SingleChannel, Background, Raw };
    if (block.dataKind == OPUSImaginaryPart || block.spectrumKind == 2 || block.spectrumKind == KindPhase) {
        return Raw;
    }
    if (block.channelClass == OPUSRatioed) {
        const bool isResult = block.spectrumKind == KindAbsorbance || block.spectrumKind == KindReflectance;
        return isResult ? Result : block.spectrumKind <= LastNamedKind ? NamedRatio : OtherRatio;
    }
    if (block.channelClass == OPUSReference) {
        return Background;
    }
    return block.spectrumKind == KindSpectrum ? SingleChannel : OtherSpectrum;
}

OPUSFile::OPUSFile(std::string filePath, ByteCursor bytes, SpectrumTexts& texts) : path(std::move(filePath)) {
    if (bytes.Has(OPUSHeaderSize)) {
        FileReader(*this, bytes, texts).Read();
    }
}

const OPUSSpectrum& OPUSFile::GetPreferred() const {
    return *std::min_element(spectra.begin(), spectra.end(), [](const auto& left, const auto& right) {
        return left.GetRank() < right.GetRank();
    });
}

std::vector<Fact> ListOPUSParameters(ByteCursor bytes, SpectrumTexts& texts) {
    ParameterReader parameters(bytes);
    const std::vector<OPUSBlock> blocks = ReadOPUSDirectory(bytes);
    FactList facts(texts, FindCodePage(blocks, parameters));
    const auto addThose = [&](bool ofReference, bool ofSampleOrigin) {
        for (const OPUSBlock& block : blocks) {
            if (!IsParameterBlock(block) || (block.channelClass == OPUSReference) != ofReference ||
                (block.blockKind == OPUSSampleOrigin) != ofSampleOrigin) {
                continue;
            }
            const OPUSParameterBlock found = parameters.Read(block);
            for (const OPUSParameter& parameter : found.GetAll()) {
                facts.Add(block, parameter);
            }
        }
    };
    // What the sample is comes before what the instrument was set to, and that before the background's.
    addThose(false, true);
    addThose(false, false);
    addThose(true, true);
    addThose(true, false);
    for (const OPUSBlock& block : blocks) {
        if (IsHistory(block)) {
            const auto text = parameters.TakeBytes(block);
            facts.AddHistory({reinterpret_cast<const char*>(text.data()), text.size()});
        }
    }
    return facts.Take();
}
