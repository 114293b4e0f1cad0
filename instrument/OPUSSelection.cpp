#include "instrument/OPUSSelection.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "base/ByteCursor.h"
#include "base/MappedFile.h"
#include "base/NumberFormat.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "instrument/OPUSParameters.h"

namespace {

// The only format of the values that is read: 32-bit floats.
constexpr int DataFormatReal32 = 1;

// Blocks don't overlap in an honest file, so that all of them together are no longer than it. A directory
// that leads over the same bytes again and again is stopped here.
constexpr std::uint64_t MaxOverlap = 64;

// A file that was cut short is told by its values; a count of so many more than the whole file could hold
// is no count.
constexpr std::uint64_t MaxMissingPoints = 65536;

struct IntParameter {
    std::string_view name;
    std::int32_t BrukerOPUSRecord::* field;
};
struct DoubleParameter {
    std::string_view name;
    double BrukerOPUSRecord::* field;
};
struct TextParameter {
    std::string_view name;
    std::string BrukerOPUSRecord::* field;
};

constexpr IntParameter IntParameters[] = {{"DPF", &BrukerOPUSRecord::dataFormat},
                                          {"NPT", &BrukerOPUSRecord::numPoints},
                                          {"DER", &BrukerOPUSRecord::derivative}};
constexpr DoubleParameter DoubleParameters[] = {{"FXV", &BrukerOPUSRecord::firstX},
                                                {"LXV", &BrukerOPUSRecord::lastX},
                                                {"CSF", &BrukerOPUSRecord::scaleFactor},
                                                {"MXY", &BrukerOPUSRecord::maxY},
                                                {"MIY", &BrukerOPUSRecord::minY}};
constexpr TextParameter TextParameters[] = {{"DXU", &BrukerOPUSRecord::xUnits},
                                            {"DAT", &BrukerOPUSRecord::date},
                                            {"TIM", &BrukerOPUSRecord::time},
                                            {"SNM", &BrukerOPUSRecord::sampleName},
                                            {"SFM", &BrukerOPUSRecord::sampleForm}};

struct UnitName {
    std::string_view code;
    const char* name;
};

constexpr UnitName UnitNames[] = {{"WN", "Wavenumber cm-1"},
                                  {"MI", "Micron"},
                                  {"LGW", "Log Wavenumber"},
                                  {"MIN", "Minutes"},
                                  {"PNT", "Points"}};

template <class Number>
OPUSDelivery ReadNumber(ByteCursor& stream, Number& number) {
    ByteCursor bytes;
    const OPUSDelivery delivery = TakeOPUSBytes(stream, sizeof(Number), bytes);
    if (delivery == OPUSDelivery::Whole) {
        number = bytes.Read<Number>();
    }
    return delivery;
}

OPUSDelivery ReadText(ByteCursor& stream, std::size_t size, std::string& text) {
    ByteCursor bytes;
    const OPUSDelivery delivery = TakeOPUSBytes(stream, size, bytes);
    if (delivery == OPUSDelivery::Whole) {
        text = bytes.ReadTerminatedText(size);
    }
    return delivery;
}

// The classic rule for the value behind a parameter's head: numbers have their own size, whatever the head
// says.
OPUSDelivery ReadValue(ByteCursor& stream, const OPUSParameterHead& head, BrukerOPUSRecord& record) {
    const auto [name, type, size] = head;
    for (const IntParameter& parameter : IntParameters) {
        if (parameter.name == name) {
            return ReadNumber(stream, record.*parameter.field);
        }
    }
    for (const DoubleParameter& parameter : DoubleParameters) {
        if (parameter.name == name) {
            return ReadNumber(stream, record.*parameter.field);
        }
    }
    for (const TextParameter& parameter : TextParameters) {
        if (parameter.name == name) {
            return ReadText(stream, size, record.*parameter.field);
        }
    }
    // A skip behind the end is found out by the next head.
    stream.Skip(std::min(size, stream.GetRemaining()));
    return OPUSDelivery::Whole;
}

/** What the classic reading takes of a directory. */
struct Directory {
    std::vector<std::int32_t> parameterOffsets;  // data status blocks too
    OPUSBlock dataBlock;
    bool statusFound = false;
    bool dataFound = false;
    bool parameterFound = false;
};

void TakeEntry(const OPUSBlock& block, Directory& directory) {
    if (block.dataKind == OPUSNoData && block.blockKind != OPUSData) {
        directory.parameterOffsets.push_back(block.offset);
        directory.parameterFound = true;
    }
    if (block.dataKind != OPUSAmplitude || block.channelClass != OPUSRatioed) {
        return;
    }
    if (block.blockKind == OPUSDataStatus) {
        directory.parameterOffsets.push_back(block.offset);
        directory.statusFound = true;
    } else if (block.blockKind == OPUSData) {
        directory.dataBlock = block;
        directory.dataFound = true;
    }
}

// The search ends as soon as one of each kind was found; until then the last data block counts.
Directory FindRatioed(const std::vector<OPUSBlock>& blocks) {
    Directory directory;
    for (const OPUSBlock& block : blocks) {
        TakeEntry(block, directory);
        if (directory.statusFound && directory.dataFound && directory.parameterFound) {
            break;
        }
    }
    return directory;
}

bool ReadBlocks(ByteCursor& stream, const Directory& directory, BrukerOPUSRecord& record) {
    std::uint64_t bytesLeft = stream.GetSize() * MaxOverlap;
    for (const std::int32_t offset : directory.parameterOffsets) {
        // Where there is nothing to read the block is at its end at once.
        if (offset < 0 || !stream.Seek(static_cast<std::uint64_t>(offset))) {
            continue;
        }
        const bool isWhole =
            WalkOPUSParameters(stream, [&](ByteCursor& values, const OPUSParameterHead& head) {
                return ReadValue(values, head, record);
            });
        if (!isWhole) {
            return false;
        }
        const std::uint64_t used = stream.Tell() - static_cast<std::uint64_t>(offset);
        if (used > bytesLeft) {
            return false;
        }
        bytesLeft -= used;
    }
    return true;
}

bool HasMagic(const std::string& path) {
    return NvFile::ReadHead(path.c_str(), OPUSMagic.size()) == OPUSMagic;
}

std::string RangeLine(const BrukerOPUSRecord& record) {
    return "File: " + NvGetFileName(record.path) + "; first X value: " + FormatG(record.firstX) +
           "; last X value: " + FormatG(record.lastX) + "\n";
}

/** The values at which the files' axes begin, or end, without those that are the same to a reader. */
class DistinctValues {
public:
    std::size_t GetSize() const { return sorted.size() + (hasNaN ? 1 : 0); }

    /** Whether the value was a new one. */
    bool Add(double value) {
        if (std::isnan(value)) {
            return !std::exchange(hasNaN, true);
        }
        const auto place = std::lower_bound(sorted.begin(), sorted.end(), value);
        // What is the same lies next to the value. There are never many so near: they differ from each other.
        for (auto above = place; above != sorted.end() && IsNear(*above, value); ++above) {
            if (TolerantEqual(*above, value)) {
                return false;
            }
        }
        for (auto below = place; below != sorted.begin() && IsNear(*std::prev(below), value); --below) {
            if (TolerantEqual(*std::prev(below), value)) {
                return false;
            }
        }
        sorted.insert(place, value);
        return true;
    }

private:
    // Farther than the tolerance ever reaches.
    static bool IsNear(double left, double right) {
        return left == right ||
               std::fabs(left - right) <= 0x1p-20 * std::max(std::fabs(left), std::fabs(right));
    }

    std::vector<double> sorted;
    bool hasNaN = false;
};

}  // namespace

std::string NameOfOPUSUnit(const std::string& code) {
    const auto* found = std::find_if(std::begin(UnitNames), std::end(UnitNames),
                                     [&](const UnitName& unit) { return unit.code == code; });
    return found == std::end(UnitNames) ? code : found->name;
}

bool OPUSSelection::Open(const char* fileNames) {
    Clear();
    const std::vector<std::string> paths = NvFile::GetFileNames(fileNames);
    for (const std::string& path : paths) {
        if (!HasMagic(path)) {
            return Fail(path + " does not seem to be a supported Bruker OPUS file.");
        }
    }
    for (const std::string& path : paths) {
        if (!OpenFile(path)) {
            return false;
        }
    }
    if (records.empty()) {
        return Fail("No data was found. Import aborted.");
    }
    return CheckPointCounts();
}

bool OPUSSelection::OpenFile(const std::string& path) {
    const MappedFile file(path.c_str());
    ByteCursor stream(file.GetBytes());
    if (!stream.Has(OPUSHeaderSize)) {
        failedByte = stream.GetSize();
        return Fail("A corrupt header block was found in the file '" + path + "'. Import aborted.");
    }
    const Directory directory = FindRatioed(ReadOPUSDirectory(stream));
    if (!directory.statusFound) {
        return Fail("Could not find any data in '" + path +
                    "'. Import aborted.\n\n(Sample and reference data cannot be imported.} ");
    }
    BrukerOPUSRecord record;
    record.path = path;
    record.dataBlock = directory.dataBlock;
    record.hasDataBlock = directory.dataFound;
    const bool isWhole = ReadBlocks(stream, directory, record);
    const std::uint64_t maxPoints = stream.GetSize() / sizeof(float) + MaxMissingPoints;
    if (!isWhole || record.numPoints < 0 || static_cast<std::uint64_t>(record.numPoints) > maxPoints) {
        failedByte = stream.Tell();
        return Fail("A corrupt data status block was found in the file '" + path + "'. Import aborted.");
    }
    if (record.dataFormat != DataFormatReal32) {
        return Fail(
            path +
            ": The Bruker OPUS File import does currently not support files where data has not been saved "
            "as 'REAL32'. Import aborted.");
    }
    records.push_back(std::move(record));
    return true;
}

// The first file is the reference; the last one that differs is told.
bool OPUSSelection::CheckPointCounts() {
    const BrukerOPUSRecord& first = records.front();
    std::string difference;
    for (const BrukerOPUSRecord& record : records) {
        if (record.numPoints != first.numPoints) {
            difference = "Not all files have the same number of x-values.\n\nThe file " +
                         NvGetFileName(first.path) + " has " + std::to_string(first.numPoints) +
                         " values but the file " + NvGetFileName(record.path) + " has " +
                         std::to_string(record.numPoints) + ".";
        }
    }
    return difference.empty() || Fail(std::move(difference));
}

bool OPUSSelection::ConfirmDifferentRanges(const Questioner& ask) {
    DistinctValues firstValues;
    DistinctValues lastValues;
    std::string ranges;
    for (const BrukerOPUSRecord& record : records) {
        const bool isNewFirst = firstValues.Add(record.firstX);
        const bool isNewLast = lastValues.Add(record.lastX);
        if (isNewFirst || isNewLast) {
            ranges += RangeLine(record);
        }
    }
    if (firstValues.GetSize() < 2 && lastValues.GetSize() < 2) {
        return true;
    }
    return ask("Not all files starts and/or ends at the same x-values but all files have the same number of "
               "values:\n\n" +
               ranges + "\nDo you still want to continue importing the files?") ||
           Fail("Import canceled.");
}

void OPUSSelection::Clear() {
    records.clear();
    errorText.clear();
    failedByte.reset();
}

void OPUSSelection::CopyErrorText(char* buffer, unsigned int size) const {
    if (size > 0) {
        std::strncpy(buffer, errorText.c_str(), size);
        buffer[size - 1] = '\0';
    }
}

void OPUSSelection::SetWritingError() {
    // The per cent sign and the letter behind the blank print a number, where hosts expect the
    // application's name.
    errorText = NvString::Format("% does not support writing OPUS files", 0);
}

bool OPUSSelection::Fail(std::string text) {
    records.clear();
    errorText = std::move(text);
    return false;
}

bool OPUSSelection::Read(ReadSpreadSheetData& sink, std::vector<float>* grid, const ValueSetter& setValues) {
    if (records.empty()) {
        return true;
    }
    int wantedRow = sink.NextRowToRead(0);
    if (wantedRow == 1) {
        SetNames(sink);
    }
    if (wantedRow >= 0) {
        wantedRow = sink.NextRowToRead(1);
    }
    if (wantedRow == 2) {
        SetXRow(sink, grid);
    }
    int row = 3;
    for (const BrukerOPUSRecord& record : records) {
        if (wantedRow >= 0) {
            wantedRow = sink.NextRowToRead(row - 1);
        }
        if (wantedRow < 0) {
            return true;
        }
        if (wantedRow == row && !ReadRow(record, sink, row, setValues)) {
            return false;
        }
        ++row;
    }
    return true;
}

void OPUSSelection::SetNames(ReadSpreadSheetData& sink) const {
    sink.Set(1, 1, "File Name");
    sink.Set(2, 1, "Sample Name");
    sink.Set(3, 1, "Sample Form");
    sink.Set(4, 1, "Date");
    sink.Set(5, 1, "Time");
    for (int i = 0; i < records.front().numPoints; ++i) {
        sink.Set(OPUSFirstValueColumn + i, 1, ("Var_" + std::to_string(i + 1)).c_str());
    }
}

void OPUSSelection::SetXRow(ReadSpreadSheetData& sink, std::vector<float>* grid) const {
    const BrukerOPUSRecord& first = records.front();
    if (grid != nullptr) {
        grid->clear();
    }
    sink.Set(1, 2, NameOfOPUSUnit(first.xUnits).c_str());
    for (int i = 0; i < first.numPoints; ++i) {
        const float x = first.GetX(i);
        sink.Set(OPUSFirstValueColumn + i, 2, x);
        if (grid != nullptr) {
            grid->push_back(x);
        }
    }
}

bool OPUSSelection::ReadRow(const BrukerOPUSRecord& record, ReadSpreadSheetData& sink, int row,
                            const ValueSetter& setValues) {
    const MappedFile file(record.path.c_str());
    ByteCursor stream(file.GetBytes());
    sink.Set(1, row, NvGetFileName(record.path).c_str());
    sink.Set(2, row, record.sampleName.c_str());
    sink.Set(3, row, record.sampleForm.c_str());
    sink.Set(4, row, record.date.c_str());
    sink.Set(5, row, record.time.c_str());
    const auto size = static_cast<std::uint64_t>(records.front().numPoints) * sizeof(float);
    const std::int32_t offset = record.dataBlock.offset;
    const bool isThere =
        record.hasDataBlock && offset >= 0 && stream.Seek(static_cast<std::uint64_t>(offset));
    const ByteCursor values(stream.Take(size));
    if (!isThere || values.GetSize() != size) {
        failedByte = static_cast<std::uint64_t>(std::max(offset, 0));
        errorText = "The file '" + record.path + "' seems to be corrupt.";
        return false;
    }
    setValues(record, values, sink, row);
    return true;
}

int OPUSSelection::GetNumRows() const {
    return static_cast<int>(records.size()) + 2;
}

int OPUSSelection::GetNumCols() const {
    int numPoints = 0;
    for (const BrukerOPUSRecord& record : records) {
        numPoints = std::max(numPoints, record.numPoints);
    }
    return numPoints + OPUSFirstValueColumn - 1;
}

std::vector<FileContents::Part> OPUSSelection::ListParts() const {
    std::vector<FileContents::Part> parts;
    for (const BrukerOPUSRecord& record : records) {
        FileContents::Part part;
        part.kind = "spectrum";
        part.name = NvGetFileName(record.path);
        part.number = static_cast<int>(parts.size()) + 1;
        part.cols = record.numPoints;
        part.rows = 1;
        part.detail =
            FormatG(record.firstX) + " to " + FormatG(record.lastX) + ", " + record.date + " " + record.time;
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> OPUSSelection::ListFacts() const {
    if (records.empty()) {
        return {};
    }
    const BrukerOPUSRecord& first = records.front();
    return {{"spectra", std::to_string(records.size())},
            {"points", std::to_string(first.numPoints)},
            {"first X", FormatG(first.firstX)},
            {"last X", FormatG(first.lastX)},
            {"spacing", FormatG(first.GetSpacing())},
            {"X unit", NameOfOPUSUnit(first.xUnits)},
            {"sample", first.sampleName}};
}

MyKindOfFile OPUSSelection::GetKind(const char* fileNames) {
    const std::vector<std::string> paths = NvFile::GetFileNames(fileNames);
    const auto count = std::count_if(paths.begin(), paths.end(), HasMagic);
    if (count == 0) {
        return KindNo;
    }
    return static_cast<std::size_t>(count) == paths.size() ? KindYes : KindProbably;
}
