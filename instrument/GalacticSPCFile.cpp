#include "instrument/GalacticSPCFile.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <ios>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "base/ByteCursor.h"
#include "base/MappedFile.h"
#include "base/NumberFormat.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "frame/CellOutput.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "instrument/SPCContents.h"
#include "instrument/SPCDate.h"
#include "instrument/SPCTable.h"
#include "instrument/SPCUnits.h"
#include "instrument/USDOptions.h"

namespace {

// Among the type flags of an old file: an array of X values, which isn't read.
constexpr unsigned int OldUnevenFlag = 0x80;

// A file that was cut short still tells its counts and gives the rows before the cut. A count of so many
// more items than the file has bytes for is no cut but a lie.
constexpr std::uint64_t MaxMissingItems = 65536;

// The columns in front of the values.
constexpr int FirstValueColumn = 4;

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

GalacticSPCFile::GalacticSPCFile() = default;
GalacticSPCFile::~GalacticSPCFile() = default;

void GalacticSPCFile::Close() {
    files.clear();
    xValues.clear();
    complete.reset();
    optionsBlob.clear();
    FormatReader::Close();
}

// Nothing while a status or no file is there: both are -1. An empty spectrum is, too: it gives no table.
int GalacticSPCFile::GetNumCols() {
    if (status == StatusOk && complete != nullptr) {
        return complete->CountColumns();
    }
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
    if (complete != nullptr) {
        return complete->CountRows();
    }
    std::int64_t rows = includeX ? 2 : 1;
    for (const SPCFileRecord& file : files) {
        rows += file.numSubFiles;
    }
    return static_cast<int>(
        std::clamp<std::int64_t>(rows, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void GalacticSPCFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusOpenFailed, "Unable to open file."},
        {StatusNotOpen, "Unable to read file. The file was not opened or Open File failed."},
        {StatusNotSPC, "This file does not seem to be a valid Galactic SPC file."},
        {StatusVersion, "This version of Galactic SPC files are not supported."},
        {StatusUneven, "Unevenly spaced X-variables are not supported."},
        {StatusNoFiles, "No files were selected, import aborted."},
        {StatusSpacingDiffers, "The data did not have the same X-spacing."},
        {StatusXYPairs,
         "Looks like GC-MS spectra file(s) and that is not supported at the moment. Contact the Norvik "
         "support."},
        {StatusXArraysDiffer, "The X variable names in files differ from each other"},
        {StatusNoSuchPart, "The file holds no such spectrum; info lists those that it holds."}};
    CopyStatusText(Texts, buffer, size);
}

int GalacticSPCFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    ForgetLastFiles();
    if (IsComplete()) {
        return OpenComplete(NvFile::GetFileNames(fileName), options);
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

// What an earlier life has left.
void GalacticSPCFile::ForgetLastFiles() {
    static_cast<USDBase&>(*this) = USDBase();
    files.clear();
    xValues.clear();
    complete.reset();
    header = SPCHeader();
    firstX = lastX = spacing = maxLastX = 0.0;
    numPoints = numSubFiles = maxPoints = 0;
    subTime = firstZ = zIncrement = 0.0F;
    xLabel.clear();
    yLabel.clear();
    zLabel.clear();
}

int GalacticSPCFile::OpenComplete(const std::vector<std::string>& paths, NvImportOpenOptions* options) {
    status = WithinBudget(StatusNotSPC, [&] {
        complete = std::make_unique<SPCTable>(*GetContext());
        try {
            complete->ChooseEncoding(options);
            for (const std::string& path : paths) {
                GetContext()->ThrowIfStopped();
                const int result = AddCompleteFile(path);
                if (result != StatusOk) {
                    return result;
                }
            }
            return paths.empty() ? static_cast<int>(StatusNoFiles) : ChooseComplete(options);
        } catch (const std::ios_base::failure&) {
            return static_cast<int>(StatusOpenFailed);
        }
    });
    return status;
}

int GalacticSPCFile::AddCompleteFile(const std::string& path) {
    const MappedFile file(path.c_str());
    if (!file.IsOpen()) {
        return StatusOpenFailed;
    }
    ByteCursor stream(file.GetBytes());
    const SPCLayout layout = FindSPCLayout(stream);
    stream.Seek(0);
    if (layout == SPCLayout::Old && (stream.ReadU8() & OldUnevenFlag) != 0) {
        return StatusUneven;
    }
    const bool isRead = layout != SPCLayout::None && complete->AddFile(path, file, layout);
    return isRead ? static_cast<int>(StatusOk) : StatusNotSPC;
}

int GalacticSPCFile::ChooseComplete(NvImportOpenOptions* options) {
    const std::vector<double>* axis = complete->GetFirstAxis();
    if (axis != nullptr && !axis->empty()) {
        firstX = std::min(axis->front(), axis->back());
        maxLastX = std::max(axis->front(), axis->back());
    }
    USDConstraints constraints;
    GalacticSPCFile::GetUSDConstraints(&constraints);
    if (HasOptions(options)) {
        ReadUSDOptions(*options, constraints);
    }
    const std::optional<std::string> wanted = CompleteOptions(options).GetText(CompleteOptions::Part);
    return complete->Choose(wanted, constraints) ? static_cast<int>(StatusOk) : StatusNoSuchPart;
}

int GalacticSPCFile::ReadHeaderOf(const std::string& path) {
    const MappedFile file(path.c_str());
    if (!file.IsOpen()) {
        return StatusOpenFailed;
    }
    ByteCursor stream(file.GetBytes());
    const int result = ReadHeaderInfo(stream);
    if (result == StatusHeaderCut) {
        failurePlace.byte = stream.GetSize();
    }
    if (result == StatusOk && header.isOldFormat) {
        NoteFurtherSpectra(SPCContents(file.GetBytes(), SPCLayout::Old));
    }
    return result;
}

// The classic table has the first spectrum of an old file only.
void GalacticSPCFile::NoteFurtherSpectra(const SPCContents& contents) {
    const std::size_t count = contents.GetSubFiles().size();
    if (count > 1) {
        AddNote({"further-spectra", count - 1, "",
                 karta::CountOf(count - 1, "further spectrum", "further spectra") + " of the file " +
                     (count == 2 ? "isn't" : "aren't") + " in this table"});
    }
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
    const SPCLayout layout = FindSPCLayout(stream);
    if (layout == SPCLayout::None || layout == SPCLayout::BigEndian) {
        return layout == SPCLayout::None ? StatusNotSPC : StatusVersion;
    }
    stream.Seek(0);
    const std::optional<SPCHeader> found = ReadSPCHeader(stream, layout);
    if (!found) {
        return StatusHeaderCut;
    }
    const int result = layout == SPCLayout::New ? TakeNewHeader(*found, stream) : TakeOldHeader(*found);
    return result == StatusOk ? CheckCounts(stream) : result;
}

void GalacticSPCFile::TakeHeader(const SPCHeader& found) {
    header = found;
    numPoints = found.numPoints;
    numSubFiles = found.numSubFiles;
    firstX = found.firstX;
    lastX = found.lastX;
    spacing = found.spacing;
}

int GalacticSPCFile::TakeNewHeader(const SPCHeader& found, ByteCursor& stream) {
    if (found.hasXYPairs) {
        return StatusXYPairs;
    }
    TakeHeader(found);
    header.isOrdered = found.isMulti && found.isOrdered && numSubFiles >= 2;
    xLabel = found.hasAxisText ? std::string(found.axisText.c_str()) : GetType(found.xType, 1);
    yLabel = GetType(found.yType, 0);
    zLabel = GetType(found.zType, 1);
    zIncrement = found.zIncrement;
    return found.hasXArray ? ReadXArray(stream) : StatusOk;
}

// The first of its spectra is the classic table's, and none of the names.
int GalacticSPCFile::TakeOldHeader(const SPCHeader& found) {
    if (found.hasXArray) {
        return StatusUneven;
    }
    if (!found.hasPointCount) {
        return StatusNotSPC;
    }
    TakeHeader(found);
    header.isOrdered = false;
    xLabel.clear();
    yLabel.clear();
    zLabel.clear();
    return StatusOk;
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

// Whether the counts of the header can be true, give and take a file that was cut.
int GalacticSPCFile::CheckCounts(const ByteCursor& stream) const {
    if (!CouldHold(stream, numPoints, header.values.GetWidth()) ||
        !CouldHold(stream, numSubFiles, SPCHeader::SubHeaderSize)) {
        return StatusNotSPC;
    }
    return StatusOk;
}

int GalacticSPCFile::ReadSubHeaderInfo(ByteCursor& stream) {
    subTime = -1.0F;
    if (!header.isOldFormat) {
        const std::optional<SPCSubHeader> sub = ReadSPCSubHeader(stream);
        if (!sub) {
            return StatusNotSPC;
        }
        subTime = header.isMulti ? TakeSubHeader(*sub) : 0.0F;
    }
    divisor = header.values.GetDivisor();
    return StatusOk;
}

// Gives the sub-file's time.
float GalacticSPCFile::TakeSubHeader(const SPCSubHeader& sub) {
    header.values.isFloat = sub.exponent == SPCFloatExponent;
    if (!header.values.isFloat) {
        header.values.exponent = sub.exponent;
    }
    if (sub.index == 0) {
        firstZ = sub.time;
    }
    if (!header.isOrdered) {
        return sub.time;
    }
    if (zIncrement == 0.0F) {
        zIncrement = sub.nextTime - sub.time;
    }
    return static_cast<float>(sub.index) * zIncrement + firstZ;
}

int GalacticSPCFile::GetNextValue(ByteCursor& stream, float& value) {
    value = static_cast<float>(header.values.Read(stream, divisor));
    return stream.HasFailed() ? StatusNotSPC : static_cast<int>(StatusOk);
}

const char* GalacticSPCFile::GetType(const unsigned char& code, int isX) {
    return isX != 0 ? FindSPCXName(code) : FindSPCYName(code);
}

int GalacticSPCFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (complete != nullptr) {
        status = complete->Read(*sink) ? static_cast<int>(StatusOk) : StatusOpenFailed;
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
    if (!includeAll && HasXArray()) {
        AddNote(
            {"uneven-axis", 1, "",
             "the intervals choose the names by the array of X values, but the values by the even spacing "
             "between its ends: they may be those of other points"});
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
        GetContext()->ThrowIfStopped();
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
    sink.Set(3, row, FormatSPCDate(header.date, subTime).c_str());
    return ReadSpectrum(stream, sink, row);
}

// A spectrum that is cut gives what there is of it.
int GalacticSPCFile::ReadSpectrum(ByteCursor& stream, ReadSpreadSheetData& sink, int row) {
    int result = StatusOk;
    rowValues.clear();
    Reset();
    for (int i = 0; i < numPoints && result == StatusOk; ++i) {
        float x = GridX(i);
        float y = 0.0F;
        result = GetNextValue(stream, y);
        if (result == StatusOk && IsValid(x, y)) {
            rowValues.push_back(y);
        }
    }
    CellOutput(sink).RowRun(FirstValueColumn, row, std::span<const float>(rowValues));
    return result;
}

int GalacticSPCFile::SkipValues(ByteCursor& stream) {
    stream.Skip(static_cast<std::uint64_t>(std::max(numPoints, 0)) * header.values.GetWidth());
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
    return !header.isOldFormat && maxPoints > 0 && xValues.size() == static_cast<std::size_t>(maxPoints);
}

int GalacticSPCFile::EstablishSize() {
    return StatusOk;
}

std::vector<FileContents::Part> GalacticSPCFile::ListParts() {
    if (complete != nullptr) {
        return complete->ListParts();
    }
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
    if (complete != nullptr) {
        return complete->ListFacts();
    }
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

// The version byte alone proves little: the headers must tell of what is there.
static FormatRecogniser::Evidence RecogniseSPC(const char* path, std::string_view head) {
    ByteCursor stream({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
    const SPCLayout layout = FindSPCLayout(stream);
    if (layout == SPCLayout::None) {
        return FormatRecogniser::Evidence::None;
    }
    const MappedFile file(path);
    const SPCContents contents(file.GetBytes(), layout);
    return contents.IsPlausible() ? FormatRecogniser::Evidence::Proof : FormatRecogniser::Evidence::None;
}

static const FormatRecogniser galacticSPCRecogniser("GalacticSPC File", "spc", {}, RecogniseSPC);
