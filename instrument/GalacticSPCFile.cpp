#include "instrument/GalacticSPCFile.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <string_view>

#include "base/ByteCursor.h"
#include "base/CopyMessage.h"
#include "base/MappedFile.h"
#include "base/NumberFormat.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "instrument/SPCDate.h"
#include "instrument/USDOptions.h"

namespace {

// The second byte of a file tells its layout.
constexpr std::uint64_t VersionOffset = 1;
constexpr std::uint8_t VersionNew = 'K';
constexpr std::uint8_t VersionOld = 'M';
constexpr std::uint8_t VersionBigEndian = 'L';

// The type flags, the first byte.
constexpr unsigned int FlagInt16 = 0x01;
constexpr unsigned int FlagMulti = 0x04;
constexpr unsigned int FlagOrdered = 0x10;
constexpr unsigned int FlagAxisText = 0x20;
constexpr unsigned int FlagXYPairs = 0x40;
constexpr unsigned int FlagXArray = 0x80;

// The new header.
constexpr std::uint64_t NewHeaderSize = 512;
constexpr std::uint64_t NewExponentOffset = 3;
constexpr std::uint64_t XTypeOffset = 28;
constexpr std::uint64_t DateOffset = 32;
constexpr std::uint64_t AxisTextOffset = 218;
constexpr std::uint64_t AxisTextSize = 30;
constexpr std::uint64_t ZIncrementOffset = 312;

// In front of each sub-file's values, in the new format only.
constexpr std::uint64_t SubHeaderSize = 32;

// The old header.
constexpr std::uint64_t OldHeaderSize = 256;
constexpr std::uint64_t OldExponentOffset = 2;

// The exponent that says: the values are floats.
constexpr int FloatExponent = -128;

// A file that was cut short still tells its counts and gives the rows before the cut. A count of so many
// more items than the file has bytes for is no cut but a lie.
constexpr std::uint64_t MaxMissingItems = 65536;

// The columns in front of the values.
constexpr int FirstValueColumn = 4;

struct Unit {
    unsigned char code;
    const char* name;
};

constexpr Unit XUnits[] = {{1, "cm-1"},
                           {2, "um"},
                           {3, "nm"},
                           {4, "Sec"},
                           {5, "Min"},
                           {6, "Hz"},
                           {7, "KHz"},
                           {8, "MHz"},
                           {9, "M/z"},
                           {10, "PPM"},
                           {11, "Days"},
                           {12, "Years"},
                           {13, "Raman Shift (cm-1)"},
                           {14, "eV"},
                           {16, "Diod Number"},
                           {17, "Channel"},
                           {18, "Degrees"},
                           {19, "°F"},
                           {20, "°C"},
                           {21, "°K"},
                           {22, "Data Points"},
                           {23, "mSec"},
                           {24, "uSec"},
                           {25, "nSec"},
                           {26, "GHz"},
                           {27, "cm"},
                           {28, "m"},
                           {29, "mm"},
                           {30, "Hours"}};

constexpr Unit YUnits[] = {{1, " (interferogram)"},
                           {2, " (absorbance)"},
                           {3, " (kubelka-monk)"},
                           {4, " (counts)"},
                           {5, " (V)"},
                           {6, " (degrees)"},
                           {7, " (mAmp)"},
                           {8, " (mm)"},
                           {9, " (mV)"},
                           {10, " (log(1/R))"},
                           {11, " (%)"},
                           {12, " (intensity)"},
                           {13, " (relative intensity)"},
                           {14, " (energy)"},
                           {16, " (dB)"},
                           {19, " (°F)"},
                           {20, " (°C)"},
                           {21, " (°K)"},
                           {22, " (index of refraction [N])"},
                           {23, " (Extinction Coeff. [K])"},
                           {24, " (real)"},
                           {25, " (imaginary)"},
                           {26, " (complex)"},
                           {128, " (transmition)"},
                           {129, " (reflectance)"},
                           {130, " (arbitrary or single beam with valley peaks)"},
                           {131, " (emission)"}};

template <std::size_t Count>
const char* FindUnit(const Unit (&units)[Count], unsigned char code) {
    const auto* found =
        std::find_if(units, units + Count, [&](const Unit& unit) { return unit.code == code; });
    return found == units + Count ? "" : found->name;
}

// 2 to a whole power. Beyond the range of a double it is infinite, or zero for a negative power.
double PowerOfTwo(int power) {
    double result = 1.0;
    double square = 2.0;
    for (unsigned int rest = static_cast<unsigned int>(std::abs(power)); rest != 0; rest >>= 1U) {
        if ((rest & 1U) != 0) {
            result *= square;
        }
        square *= square;
    }
    return power < 0 ? 1.0 / result : result;
}

// A signed byte.
int ReadExponent(ByteCursor& header) {
    const int code = header.ReadU8();
    return code < 128 ? code : code - 256;
}

bool SameArray(const std::vector<float>& left, const std::vector<float>& right) {
    // Two NaN are one value here: a file doesn't differ from itself.
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); });
}

// Whether `count` items of `size` bytes can be there, or could have been before the file was cut.
bool CouldHold(const ByteCursor& stream, int count, std::uint64_t size) {
    return count <= 0 || static_cast<std::uint64_t>(count) <= stream.GetRemaining() / size + MaxMissingItems;
}

// A Y unit's name without the blank and the parentheses that it has for titles.
std::string Unparenthesized(std::string_view label) {
    return label.size() < 3 ? std::string() : std::string(label.substr(2, label.size() - 3));
}

std::string WithUnit(double value, const std::string& unit) {
    return FormatG(value) + (unit.empty() ? "" : " " + unit);
}

}  // namespace

void GalacticSPCFile::Close() {
    files.clear();
    xValues.clear();
    optionsBlob.clear();
    FormatReader::Close();
}

// Nothing while a status or no file is there: both are -1. An empty spectrum is, too: it gives no table.
int GalacticSPCFile::GetNumCols() {
    if (status != StatusOk || files.empty()) {
        return -1;
    }
    maxPoints = files.front().numValues;
    for (const SPCFileRecord& file : files) {
        maxPoints = std::max(maxPoints, file.numValues);
    }
    if (maxPoints == 0) {
        return -1;
    }
    return USDBase::GetNumCol(maxPoints, firstX, spacing) + FirstValueColumn - 1;
}

int GalacticSPCFile::GetNumRows() {
    if (status != StatusOk) {
        return -1;
    }
    std::int64_t rows = includeX ? 2 : 1;
    for (const SPCFileRecord& file : files) {
        rows += file.numSubFiles;
    }
    return static_cast<int>(
        std::clamp<std::int64_t>(rows, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void GalacticSPCFile::GetErrorMessage(char* buffer, unsigned int size) {
    switch (status) {
        case StatusOpenFailed:
            CopyMessage("Unable to open file.", buffer, size);
            break;
        case StatusNotOpen:
            CopyMessage("Unable to read file. The file was not opened or Open File failed.", buffer, size);
            break;
        case StatusNotSPC:
            CopyMessage("This file does not seem to be a valid Galactic SPC file.", buffer, size);
            break;
        case StatusVersion:
            CopyMessage("This version of Galactic SPC files are not supported.", buffer, size);
            break;
        case StatusUneven:
            CopyMessage("Unevenly spaced X-variables are not supported.", buffer, size);
            break;
        case StatusNoFiles:
            CopyMessage("No files were selected, import aborted.", buffer, size);
            break;
        case StatusSpacingDiffers:
            CopyMessage("The data did not have the same X-spacing.", buffer, size);
            break;
        case StatusXYPairs:
            CopyMessage(
                "Looks like GC-MS spectra file(s) and that is not supported at the moment. Contact the "
                "Norvik support.",
                buffer, size);
            break;
        case StatusXArraysDiffer:
            CopyMessage("The X variable names in files differ from each other", buffer, size);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

int GalacticSPCFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    for (const std::string& path : NvFile::GetFileNames(fileName)) {
        status = ReadHeaderOf(path);
        if (status != StatusOk) {
            return status;
        }
        files.push_back({path, firstX, lastX, spacing, numPoints, numSubFiles});
    }
    SetOptions(options);
    return status;
}

int GalacticSPCFile::ReadHeaderOf(const std::string& path) {
    const MappedFile file(path.c_str());
    if (!file.IsOpen()) {
        return StatusOpenFailed;
    }
    ByteCursor stream(file.GetBytes());
    return ReadHeaderInfo(stream);
}

bool GalacticSPCFile::SetOptions(NvImportOpenOptions* options) {
    // The status is left alone: Read meets the same failure.
    if (SelectFiles() != StatusOk || CheckFiles() != StatusOk) {
        return false;
    }
    try {
        USDConstraints constraints;
        if (HasOptions(options)) {
            GalacticSPCFile::GetUSDConstraints(&constraints);
            ReadUSDOptions(*options, constraints);
        } else {
            GetUSDConstraints(&constraints);
        }
        SetUSDConstraints(&constraints);
        if (options != nullptr) {
            LendUSDOptions(constraints, optionsBlob, *options);
        }
    } catch (const std::exception&) {
        status = StatusOpenFailed;
    }
    return status == StatusOk;
}

int GalacticSPCFile::SelectFiles() {
    return 0;
}

int GalacticSPCFile::GetUSDConstraints(USDConstraints* constraints) {
    constraints->includeX = true;
    constraints->includeAll = true;
    constraints->useAverage = 0;
    constraints->numIntervals = 1;
    constraints->SetArrays(1);
    constraints->startPoints[0] = static_cast<float>(firstX);
    constraints->endPoints[0] = static_cast<float>(maxLastX);
    return status;
}

int GalacticSPCFile::CheckFiles() {
    if (files.empty()) {
        return StatusNoFiles;
    }
    const SPCFileRecord& first = files.front();
    firstX = first.firstPoint;
    spacing = first.pointSpacing;
    maxLastX = first.lastPoint;
    maxPoints = first.numValues;
    for (const SPCFileRecord& file : files) {
        if (!TolerantEqual(first.firstPoint, file.firstPoint) ||
            !TolerantEqual(first.pointSpacing, file.pointSpacing)) {
            return StatusSpacingDiffers;
        }
        maxPoints = std::max(maxPoints, file.numValues);
        maxLastX = std::max(maxLastX, file.lastPoint);
    }
    return StatusOk;
}

int GalacticSPCFile::ReadHeaderInfo(ByteCursor& stream) {
    stream.Seek(VersionOffset);
    const std::uint8_t version = stream.ReadU8();
    if (stream.HasFailed()) {
        return StatusNotSPC;
    }
    stream.Seek(0);
    switch (version) {
        case VersionNew:
            return ReadNewHeader(stream);
        case VersionOld:
            return ReadOldHeader(stream);
        case VersionBigEndian:
            return StatusVersion;
        default:
            return StatusNotSPC;
    }
}

int GalacticSPCFile::ReadNewHeader(ByteCursor& stream) {
    ByteCursor header(stream.Take(NewHeaderSize));
    if (stream.HasFailed()) {
        return StatusHeaderCut;
    }
    const unsigned int flags = header.ReadU8();
    if ((flags & FlagXYPairs) != 0) {
        return StatusXYPairs;
    }
    isOldFormat = false;
    is32Bit = (flags & FlagInt16) == 0;
    isMulti = (flags & FlagMulti) != 0;
    header.Seek(NewExponentOffset);
    exponent = ReadExponent(header);
    isFloat = exponent == FloatExponent;
    numPoints = header.ReadI32();
    firstX = header.ReadDouble();
    lastX = header.ReadDouble();
    numSubFiles = header.ReadI32();
    isOrdered = isMulti && (flags & FlagOrdered) != 0 && numSubFiles >= 2;
    spacing = (lastX - firstX) / (static_cast<std::uint32_t>(numPoints) - 1U);
    header.Seek(XTypeOffset);
    xLabel = GetType(header.ReadU8(), 1);
    yLabel = GetType(header.ReadU8(), 0);
    zLabel = GetType(header.ReadU8(), 1);
    header.Seek(DateOffset);
    date = header.ReadU32();
    if ((flags & FlagAxisText) != 0) {
        header.Seek(AxisTextOffset);
        xLabel = header.ReadTerminatedText(AxisTextSize);
    }
    header.Seek(ZIncrementOffset);
    zIncrement = header.ReadFloat();
    if ((flags & FlagXArray) != 0) {
        const int result = ReadXArray(stream);
        if (result != StatusOk) {
            return result;
        }
    }
    return CheckCounts(stream);
}

int GalacticSPCFile::ReadXArray(ByteCursor& stream) {
    if (numPoints > 0 && !stream.Has(static_cast<std::uint64_t>(numPoints), sizeof(float))) {
        return StatusHeaderCut;
    }
    std::vector<float> values(static_cast<std::size_t>(std::max(numPoints, 0)));
    for (float& value : values) {
        value = stream.ReadFloat();
    }
    if (xValues.empty()) {
        xValues = std::move(values);
    } else if (!SameArray(xValues, values)) {
        return StatusXArraysDiffer;
    }
    return StatusOk;
}

int GalacticSPCFile::ReadOldHeader(ByteCursor& stream) {
    ByteCursor header(stream.Take(OldHeaderSize));
    if (stream.HasFailed()) {
        return StatusHeaderCut;
    }
    const unsigned int flags = header.ReadU8();
    if ((flags & FlagXArray) != 0) {
        return StatusUneven;
    }
    isOldFormat = true;
    is32Bit = (flags & FlagInt16) == 0;
    isMulti = (flags & FlagMulti) != 0;
    isOrdered = false;
    header.Seek(OldExponentOffset);
    exponent = header.ReadI16();
    isFloat = exponent == FloatExponent;
    const float count = header.ReadFloat();
    firstX = static_cast<double>(header.ReadFloat());
    lastX = static_cast<double>(header.ReadFloat());
    if (!(std::fabs(count) < static_cast<float>(std::numeric_limits<int>::max()))) {
        return StatusNotSPC;
    }
    numPoints = static_cast<int>(count);
    spacing = (lastX - firstX) / (static_cast<double>(numPoints) - 1.0);
    numSubFiles = 1;
    xLabel.clear();
    yLabel.clear();
    zLabel.clear();
    return CheckCounts(stream);
}

// Whether the counts of the header can be true, give and take a file that was cut.
int GalacticSPCFile::CheckCounts(const ByteCursor& stream) const {
    if (!CouldHold(stream, numPoints, ValueWidth()) || !CouldHold(stream, numSubFiles, SubHeaderSize)) {
        return StatusNotSPC;
    }
    return StatusOk;
}

std::uint64_t GalacticSPCFile::ValueWidth() const {
    return is32Bit ? sizeof(std::int32_t) : sizeof(std::int16_t);
}

int GalacticSPCFile::ReadSubHeaderInfo(ByteCursor& stream) {
    subTime = -1.0F;
    if (!isOldFormat) {
        ByteCursor header(stream.Take(SubHeaderSize));
        if (stream.HasFailed()) {
            return StatusNotSPC;
        }
        float time = 0.0F;
        if (isMulti) {
            header.Skip(1);
            const int ownExponent = ReadExponent(header);
            isFloat = ownExponent == FloatExponent;
            exponent = isFloat ? exponent : ownExponent;
            const int index = header.ReadI16();
            time = header.ReadFloat();
            const float nextTime = header.ReadFloat();
            if (index == 0) {
                firstZ = time;
            }
            if (isOrdered) {
                if (zIncrement == 0.0F) {
                    zIncrement = nextTime - time;
                }
                time = static_cast<float>(index) * zIncrement + firstZ;
            }
        }
        subTime = time;
    }
    divisor = PowerOfTwo((is32Bit ? 32 : 16) - exponent);
    return StatusOk;
}

int GalacticSPCFile::GetNextValue(ByteCursor& stream, float& value) {
    if (!is32Bit) {
        value = static_cast<float>(stream.ReadI16() / divisor);
    } else if (isFloat) {
        value = stream.ReadFloat();
    } else if (isOldFormat) {
        const std::uint32_t high = stream.ReadU16();
        const std::uint32_t low = stream.ReadU16();
        value = static_cast<float>(static_cast<std::int32_t>(high << 16U | low) / divisor);
    } else {
        value = static_cast<float>(stream.ReadI32() / divisor);
    }
    if (stream.HasFailed()) {
        return StatusNotSPC;
    }
    return StatusOk;
}

const char* GalacticSPCFile::GetType(const unsigned char& code, int isX) {
    return isX != 0 ? FindUnit(XUnits, code) : FindUnit(YUnits, code);
}

int GalacticSPCFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    status = CheckFiles();
    if (status != StatusOk) {
        return status;
    }
    sink->Set(1, 1, "Primary ID");
    sink->Set(2, 1, "Name");
    sink->Set(3, 1, "Date");
    int wantedRow = sink->NextRowToRead(0);
    if (wantedRow == 1) {
        SetColumnNames(*sink);
    }
    if (wantedRow < 0) {
        return status;
    }
    int row = 3;
    wantedRow = sink->NextRowToRead(1);
    if (wantedRow == 2 && includeX) {
        SetXRow(*sink);
        includeX = false;
    } else if (wantedRow == 2) {
        row = 2;
    }
    if (wantedRow < 0) {
        return status;
    }
    wantedRow = sink->NextRowToRead(row - 1);
    for (std::size_t i = 0; i < files.size() && wantedRow >= 0 && status == StatusOk; ++i) {
        status = ReadFile(files[i], *sink, row, wantedRow);
    }
    return status;
}

void GalacticSPCFile::SetColumnNames(ReadSpreadSheetData& sink) {
    int column = FirstValueColumn;
    Reset();
    for (int i = 0; i < maxPoints; ++i) {
        float x = NamedX(i);
        if (!IsValid(x)) {
            continue;
        }
        if (includeX) {
            sink.Set(column, 1, ("t " + FormatG(static_cast<double>(x))).c_str());
        } else {
            sink.Set(column, 1, x);
        }
        ++column;
    }
}

void GalacticSPCFile::SetXRow(ReadSpreadSheetData& sink) {
    sink.Set(1, 2, 1);
    sink.Set(2, 2, "");
    sink.Set(3, 2, xLabel.c_str());
    int column = FirstValueColumn;
    Reset();
    for (int i = 0; i < maxPoints; ++i) {
        float x = NamedX(i);
        if (IsValid(x)) {
            sink.Set(column, 2, x);
            ++column;
        }
    }
}

// `row` is that of the file's first sub-file, and then of the next file's.
int GalacticSPCFile::ReadFile(const SPCFileRecord& record, ReadSpreadSheetData& sink, int& row,
                              int& wantedRow) {
    const MappedFile file(record.path.c_str());
    if (!file.IsOpen()) {
        return StatusOpenFailed;
    }
    ByteCursor stream(file.GetBytes());
    const int result = ReadHeaderInfo(stream);
    if (result != StatusOk) {
        return result;
    }
    const std::string title = NvGetFileTitle(record.path);
    for (int i = 0; i < numSubFiles && wantedRow >= 0; ++i, ++row) {
        const std::string name = numSubFiles < 2 ? title : title + "_" + std::to_string(i + 1);
        const int subResult = ReadSubFile(stream, name, sink, row, wantedRow);
        if (subResult != StatusOk) {
            return subResult;
        }
    }
    return StatusOk;
}

int GalacticSPCFile::ReadSubFile(ByteCursor& stream, const std::string& name, ReadSpreadSheetData& sink,
                                 int row, int& wantedRow) {
    const bool isWanted = row == wantedRow;
    if (isWanted) {
        wantedRow = sink.NextRowToRead(row);
    }
    const int result = ReadSubHeaderInfo(stream);
    if (result != StatusOk) {
        return result;
    }
    if (!isWanted) {
        return SkipValues(stream);
    }
    sink.Set(1, row, row - 1);
    sink.Set(2, row, name.c_str());
    sink.Set(3, row, FormatSPCDate(date, subTime).c_str());
    return ReadSpectrum(stream, sink, row);
}

int GalacticSPCFile::ReadSpectrum(ByteCursor& stream, ReadSpreadSheetData& sink, int row) {
    int column = FirstValueColumn;
    Reset();
    for (int i = 0; i < numPoints; ++i) {
        float x = GridX(i);
        float y = 0.0F;
        const int result = GetNextValue(stream, y);
        if (result != StatusOk) {
            return result;
        }
        if (IsValid(x, y)) {
            sink.Set(column, row, y);
            ++column;
        }
    }
    return StatusOk;
}

int GalacticSPCFile::SkipValues(ByteCursor& stream) {
    stream.Skip(static_cast<std::uint64_t>(std::max(numPoints, 0)) * ValueWidth());
    if (stream.HasFailed()) {
        return StatusNotSPC;
    }
    return StatusOk;
}

float GalacticSPCFile::GridX(int index) const {
    return static_cast<float>(index) * static_cast<float>(spacing) + static_cast<float>(firstX);
}

float GalacticSPCFile::NamedX(int index) const {
    return HasXArray() ? xValues[static_cast<std::size_t>(index)] : GridX(index);
}

bool GalacticSPCFile::HasXArray() const {
    return !isOldFormat && maxPoints > 0 && xValues.size() == static_cast<std::size_t>(maxPoints);
}

int GalacticSPCFile::EstablishSize() {
    return StatusOk;
}

std::vector<FileContents::Part> GalacticSPCFile::ListParts() {
    std::vector<Part> parts;
    for (const SPCFileRecord& file : files) {
        Part part;
        part.kind = "spectrum";
        part.name = NvGetFileName(file.path);
        part.number = static_cast<int>(parts.size()) + 1;
        part.cols = file.numValues;
        part.rows = file.numSubFiles;
        part.detail = FormatG(file.firstPoint) + " to " + FormatG(file.lastPoint);
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> GalacticSPCFile::ListFacts() {
    std::int64_t spectra = 0;
    for (const SPCFileRecord& file : files) {
        spectra += file.numSubFiles;
    }
    std::vector<Fact> facts = {
        {"files", std::to_string(files.size())}, {"sub-files", std::to_string(spectra)},
        {"points", std::to_string(maxPoints)},   {"first X", WithUnit(firstX, xLabel)},
        {"last X", WithUnit(maxLastX, xLabel)},  {"spacing", WithUnit(spacing, xLabel)}};
    if (HasXArray()) {
        facts.back().value += " on average: the file has an array of X values";
    }
    if (!yLabel.empty()) {
        facts.emplace_back("Y unit", Unparenthesized(yLabel));
    }
    return facts;
}

int GalacticSPCFile::GetFileList(std::vector<std::string>& list) {
    if (status != StatusOk) {
        return status;
    }
    for (const SPCFileRecord& file : files) {
        const std::string name = NvGetFileName(file.path);
        if (file.numSubFiles < 2) {
            list.push_back(
                NvString::Format("%s [Num values: %d, First value: %s, Last value: %s, X-Spacing: %s]",
                                 name.c_str(), file.numValues, FormatG(file.firstPoint).c_str(),
                                 FormatG(file.lastPoint).c_str(), FormatG(file.pointSpacing).c_str()));
        } else {
            list.push_back(NvString::Format("%s [Num sub-files: %d, Num values: %d]", name.c_str(),
                                            file.numSubFiles, file.numValues));
        }
    }
    return StatusOk;
}

int GalacticSPCFile::SelectFilesToImport(const std::vector<int>& places) {
    if (status != StatusOk || files.empty()) {
        return -1;
    }
    std::vector<bool> isSelected(files.size());
    for (const int place : places) {
        if (place >= 0 && static_cast<std::size_t>(place) < files.size()) {
            isSelected[static_cast<std::size_t>(place)] = true;
        }
    }
    std::vector<SPCFileRecord> selected;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (isSelected[i]) {
            selected.push_back(std::move(files[i]));
        }
    }
    files = std::move(selected);
    return StatusOk;
}

GalacticSPCFileFactory::GalacticSPCFileFactory(signed char priority)
    : SprFileFactory("GalacticSPC File", "Galactic SPC Files (*.spc)", nullptr, 1, ".spc\0", 0, 1, 1, 1, 1,
                     priority) {}

MyKindOfFile GalacticSPCFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* GalacticSPCFileFactory::GetSpreadsheetFile() {
    return new GalacticSPCFile;
}

static GalacticSPCFileFactory galacticSPCFileFactory(1);
