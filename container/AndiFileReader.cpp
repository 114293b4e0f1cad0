#include "container/AndiFileReader.h"

#include <algorithm>
#include <array>
#include <limits>

#include "base/CopyMessage.h"
#include "base/NumberFormat.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "container/NetCDF.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "instrument/USDOptions.h"

namespace {

// Global attributes that make a file one of this convention. Their values aren't looked at.
constexpr const char* RequiredAttributes[] = {"netcdf_revision", "aia_template_revision",
                                              "dataset_completeness", "sample_name"};
constexpr const char* SampleNameAttribute = "sample_name";
constexpr const char* RetentionUnitAttribute = "retention_unit";

constexpr const char* RunLengthVariable = "actual_run_time_length";
constexpr const char* SamplingIntervalVariable = "actual_sampling_interval";
constexpr const char* DelayVariable = "actual_delay_time";
constexpr const char* OrdinateVariable = "ordinate_values";
constexpr const char* UniformSamplingAttribute = "uniform_sampling_flag";
constexpr const char* PointDimension = "point_number";

constexpr const char* PeakDimension = "peak_number";
constexpr const char* PeakStartVariable = "peak_start_time";
constexpr const char* PeakEndVariable = "peak_end_time";

// The columns before the points: the row's number and the sample's name.
constexpr int IdColumns = 2;
constexpr int FirstPointColumn = IdColumns + 1;

// A trace is read in pieces of this many points, which stay in the cache on their way to the sink.
constexpr int PieceSize = 8192;

constexpr const char* MixedFilesText =
    "To be able to import several files at a time, all selected files must have the same sampling interval "
    "and the same time delay between the injection and the start of data acquisition. In this case, ";

// Required: a number of the file, as float.
bool ReadNumber(const NetCDF& file, const char* variable, float& value) {
    const int id = file.FindVariable(variable);
    return id != -1 && file.GetFirst(id, value);
}

// The ordinates must be numbers along one dimension, at least as many as the file says it has points.
bool HoldsOrdinates(const NetCDF& file, int variable, std::int64_t points) {
    const std::vector<std::size_t> shape = file.GetShape(variable);
    return shape.size() == 1 && !file.IsText(variable) && points >= 0 &&
           static_cast<std::uint64_t>(points) <= shape.front() &&
           points <= std::numeric_limits<int>::max() - IdColumns;
}

// How many peaks the file's tables bear out.
int CountPeaks(const NetCDF& file) {
    const std::int64_t peaks = file.GetDimension(PeakDimension);
    const int starts = file.FindVariable(PeakStartVariable);
    if (peaks <= 0 || starts == -1) {
        return 0;
    }
    const std::vector<std::size_t> shape = file.GetShape(starts);
    if (shape.size() != 1 || static_cast<std::uint64_t>(peaks) > shape.front() ||
        peaks > std::numeric_limits<int>::max()) {
        return 0;
    }
    return static_cast<int>(peaks);
}

bool ReadPeakTimes(const NetCDF& file, const char* variable, int count, float* times) {
    const std::array<std::size_t, 1> start{0};
    const std::array<std::size_t, 1> length{static_cast<std::size_t>(count)};
    const int id = file.FindVariable(variable);
    return id != -1 && file.GetValues(id, start, length, times) == 0;
}

std::string NameOf(const AndiFileInfo& file) {
    const std::string title = NvGetFileTitle(file.path);
    return file.sampleName.empty() ? title : title + ": " + file.sampleName;
}

}  // namespace

AndiFileReader::AndiFileReader() = default;
AndiFileReader::~AndiFileReader() = default;

int AndiFileReader::GetNumCols() {
    int largest = 0;
    for (const AndiFileInfo& file : files) {
        largest = file.selected ? std::max(largest, file.points) : largest;
    }
    if (status != StatusOk || largest == 0) {
        return -1;
    }
    return GetNumCol(largest, delay, samplingInterval) + IdColumns;
}

int AndiFileReader::GetNumRows() {
    const auto selected =
        std::count_if(files.begin(), files.end(), [](const AndiFileInfo& file) { return file.selected; });
    if (status != StatusOk || selected == 0) {
        return -1;
    }
    return static_cast<int>(selected) + (includeX ? 2 : 1);
}

void AndiFileReader::GetErrorMessage(char* buffer, unsigned int size) {
    const bool several = IsMultiSelection();
    switch (status) {
        case StatusOpenFailed:
            CopyMessage("Unable to open file.", buffer, size);
            break;
        case StatusNotOpened:
            CopyMessage("Unable to read file. The file was not opened or Open File failed.", buffer, size);
            break;
        case StatusNoAndiFile:
            CopyMessage(
                several ? "Unable to read one or more of the selected files, not all files seem to be valid "
                          "ANDI/chromatography files."
                        : "The file does not seem to be a valid ANDI/chromatography file.",
                buffer, size);
            break;
        case StatusNoAiaFile:
            CopyMessage(
                several ? "Unable to read one or more of the selected files, not all files seem to be valid "
                          "AIA/chromatography files."
                        : "The file does not seem to be a valid AIA/chromatography file.",
                buffer, size);
            break;
        case StatusAttributesFailed:
            CopyMessage(several ? "Error while reading file attributes in one of the selected files."
                                : "Error while reading file attributes.",
                        buffer, size);
            break;
        case StatusNotUniform:
            CopyMessage(
                several
                    ? "Error wile reading file attributes in one or more of the selected files. Files "
                      "with non-uniform sampling of data is not supported by KARTA."
                    : "Error wile reading file attributes in the file. Files with non-uniform sampling of "
                      "data is not supported by KARTA.",
                buffer, size);
            break;
        case StatusNothingSelected:
            CopyMessage("No files were selected.", buffer, size);
            break;
        case StatusIntervalDiffers:
        case StatusUnitDiffers:
            // A unit that differs is called an interval that differs: the user knows it by this text.
            CopyMessage(
                std::string(MixedFilesText) + "not all selected files had the same sampling interval.",
                buffer, size);
            break;
        case StatusDelayDiffers:
            CopyMessage(std::string(MixedFilesText) + "the delay time was not equal in all selected files.",
                        buffer, size);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

int AndiFileReader::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    fileNames = NvFile::GetFileNames(path);
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    files.clear();
    for (const std::string& name : fileNames) {
        status = ExtractNecessaryFileInformation(name.c_str());
        if (status != StatusOk) {
            return status;
        }
    }
    SetOptions(options);
    return status;
}

int AndiFileReader::ExtractNecessaryFileInformation(const char* path) {
    const NetCDF file(path);
    for (const char* attribute : RequiredAttributes) {
        if (!file.HasAttribute(NetCDF::Global, attribute)) {
            return StatusNoAndiFile;
        }
    }
    AndiFileInfo info;
    info.path = path;
    info.sampleName = file.GetTextAttribute(NetCDF::Global, SampleNameAttribute).value_or("");
    info.retentionUnit =
        file.GetTextAttribute(NetCDF::Global, RetentionUnitAttribute).value_or(info.retentionUnit);
    info.ordinateVariable = file.FindVariable(OrdinateVariable);
    if (!ReadNumber(file, RunLengthVariable, info.runLength) ||
        !ReadNumber(file, SamplingIntervalVariable, info.samplingInterval) ||
        !ReadNumber(file, DelayVariable, info.delay) || info.ordinateVariable == -1) {
        return StatusAttributesFailed;
    }
    const std::string flag =
        file.GetTextAttribute(info.ordinateVariable, UniformSamplingAttribute).value_or("");
    if (!EqualIgnoringCase(flag, "Y")) {
        return StatusNotUniform;
    }
    const std::int64_t pointCount = file.GetDimension(PointDimension);
    if (!HoldsOrdinates(file, info.ordinateVariable, pointCount)) {
        return StatusAttributesFailed;
    }
    info.points = static_cast<int>(pointCount);
    files.push_back(info);
    return StatusOk;
}

bool AndiFileReader::SetOptions(NvImportOpenOptions* options) {
    status = CheckFiles();
    if (status != StatusOk) {
        return false;
    }
    try {
        USDConstraints constraints;
        if (HasOptions(options)) {
            GetDefaultUSDConstraints(&constraints);
            ReadUSDOptions(*options, constraints);
        } else {
            GetUSDConstraints(&constraints);
            if (status != StatusOk) {
                return false;
            }
            if (options != nullptr) {
                LendUSDOptions(constraints, optionsBlob, *options);
            }
        }
        SetUSDConstraints(&constraints);
    } catch (...) {
        status = StatusOpenFailed;
    }
    return status == StatusOk;
}

int AndiFileReader::GetUSDConstraints(USDConstraints* constraints) {
    GetDefaultUSDConstraints(constraints);
    return status;
}

void AndiFileReader::GetDefaultUSDConstraints(USDConstraints* constraints) {
    constraints->includeX = true;
    constraints->includeAll = true;
    constraints->useAverage = 0;
    const int peaks = GetDefaults(nullptr, nullptr, -1);
    if (peaks > 0) {
        constraints->SetArrays(peaks);
        constraints->numIntervals = GetDefaults(constraints->startPoints, constraints->endPoints, peaks);
        return;
    }
    constraints->SetArrays(1);
    constraints->startPoints[0] = delay;
    constraints->endPoints[0] = rangeEnd;
    constraints->numIntervals = 1;
}

int AndiFileReader::GetDefaults(float* starts, float* ends, int size) {
    const AndiFileInfo* first = FirstSelected();
    if (first == nullptr) {
        return 0;
    }
    const NetCDF file(first->path.c_str());
    const int peaks = CountPeaks(file);
    if (size == -1) {
        return peaks;
    }
    const int count = std::min(size, peaks);
    if (count <= 0 || !ReadPeakTimes(file, PeakStartVariable, count, starts) ||
        !ReadPeakTimes(file, PeakEndVariable, count, ends)) {
        return 0;
    }
    return count;
}

int AndiFileReader::CheckFiles() {
    if (status != StatusOk) {
        return status;
    }
    if (files.empty()) {
        return StatusNotOpened;
    }
    const AndiFileInfo* first = FirstSelected();
    if (first == nullptr) {
        return StatusNothingSelected;
    }
    delay = first->delay;
    samplingInterval = first->samplingInterval;
    points = first->points;
    retentionUnit = first->retentionUnit;
    rangeEnd = first->runLength + first->delay;
    for (const AndiFileInfo& file : files) {
        if (!file.selected) {
            continue;
        }
        const int difference = CompareWithFirst(file, *first);
        if (difference != StatusOk) {
            return difference;
        }
        points = std::max(points, file.points);
        rangeEnd = std::max(rangeEnd, file.delay + file.runLength);
    }
    return StatusOk;
}

int AndiFileReader::CompareWithFirst(const AndiFileInfo& file, const AndiFileInfo& first) const {
    if (!TolerantEqual(file.samplingInterval, first.samplingInterval)) {
        return StatusIntervalDiffers;
    }
    if (!TolerantEqual(file.delay, first.delay)) {
        return StatusDelayDiffers;
    }
    if (!EqualIgnoringCase(file.retentionUnit, first.retentionUnit)) {
        return StatusUnitDiffers;
    }
    return StatusOk;
}

const AndiFileInfo* AndiFileReader::FirstSelected() const {
    const auto first =
        std::find_if(files.begin(), files.end(), [](const AndiFileInfo& file) { return file.selected; });
    return first == files.end() ? nullptr : &*first;
}

int AndiFileReader::SelectFile(int index, bool selected) {
    if (index < 0 || static_cast<std::size_t>(index) >= files.size()) {
        return -1;
    }
    files[static_cast<std::size_t>(index)].selected = selected;
    return 0;
}

int AndiFileReader::SelectFilesToImport(const int* indices, int count) {
    if (status != StatusOk) {
        return -1;
    }
    for (AndiFileInfo& file : files) {
        file.selected = false;
    }
    for (int i = 0; i < count; ++i) {
        SelectFile(indices[i], true);
    }
    return 0;
}

int AndiFileReader::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    status = CheckFiles();
    if (status != StatusOk) {
        return status;
    }
    int wanted = sink->NextRowToRead(0);
    if (wanted < 0) {
        return status;
    }
    if (wanted == 1) {
        ReadNames(*sink);
    }
    int firstRow = 2;
    wanted = sink->NextRowToRead(1);
    if (wanted == 2 && includeX) {
        ReadTimes(*sink);
        firstRow = 3;
        wanted = sink->NextRowToRead(2);
    }
    status = ReadFiles(*sink, firstRow, wanted);
    return status;
}

// Row 1: the times as texts, or as numbers where they have no row of their own.
void AndiFileReader::ReadNames(ReadSpreadSheetData& sink) {
    Reset();
    sink.Set(1, 1, "Primary ID");
    sink.Set(2, 1, "Name");
    int column = FirstPointColumn;
    for (int i = 0; i < points; ++i) {
        float time = TimeOf(i);
        if (!IsValid(time)) {
            continue;
        }
        if (includeX) {
            sink.Set(column, 1, ("t " + FormatG(time)).c_str());
        } else {
            sink.Set(column, 1, time);
        }
        ++column;
    }
}

// Row 2: the times as an observation.
void AndiFileReader::ReadTimes(ReadSpreadSheetData& sink) {
    Reset();
    int column = FirstPointColumn;
    for (int i = 0; i < points; ++i) {
        float time = TimeOf(i);
        if (IsValid(time)) {
            sink.Set(column++, 2, time);
        }
    }
    sink.Set(1, 2, 1);
    sink.Set(2, 2, ("Retention Time(" + retentionUnit + ")").c_str());
}

// A file that isn't selected keeps its row number: the sink's wanted rows count all files.
int AndiFileReader::ReadFiles(ReadSpreadSheetData& sink, int firstRow, int wanted) {
    int row = firstRow - 1;
    for (const AndiFileInfo& info : files) {
        ++row;
        if (!info.selected || row != wanted) {
            continue;
        }
        const NetCDF file(info.path.c_str());
        const int result =
            ReadNetCDFFile(file, info.ordinateVariable, sink, FirstPointColumn, row, 0, info.points);
        if (result != StatusOk) {
            return result;
        }
        sink.Set(1, row, row - 1);
        sink.Set(2, row, NameOf(info).c_str());
        wanted = sink.NextRowToRead(row);
    }
    return StatusOk;
}

int AndiFileReader::ReadNetCDFFile(const NetCDF& file, int variable, ReadSpreadSheetData& sink,
                                   int firstColumn, int row, int start, int count) {
    std::vector<float> values(static_cast<std::size_t>(std::min(count, PieceSize)));
    Reset();
    int column = firstColumn;
    for (int done = 0; done < count;) {
        const int piece = std::min(count - done, PieceSize);
        const std::array<std::size_t, 1> from{static_cast<std::size_t>(start) +
                                              static_cast<std::size_t>(done)};
        const std::array<std::size_t, 1> length{static_cast<std::size_t>(piece)};
        if (file.GetValues(variable, from, length, values.data()) != 0) {
            return StatusAttributesFailed;
        }
        for (int i = 0; i < piece; ++i) {
            float time = TimeOf(start + done + i);
            float value = values[static_cast<std::size_t>(i)];
            if (IsValid(time, value)) {
                sink.Set(column++, row, value);
            }
        }
        done += piece;
    }
    return StatusOk;
}

int AndiFileReader::EstablishSize() {
    return StatusNotImplemented;
}

// One trace a file. They are chosen by SelectFilesToImport and not in the options record.
std::vector<FileContents::Part> AndiFileReader::ListParts() {
    std::vector<Part> parts;
    for (const AndiFileInfo& file : files) {
        Part part;
        part.kind = "spectrum";
        part.name = NameOf(file);
        part.number = static_cast<int>(parts.size()) + 1;
        part.cols = file.points;
        part.rows = 1;
        parts.push_back(part);
    }
    return parts;
}

std::vector<FileContents::Fact> AndiFileReader::ListFacts() {
    return {{"convention", "ANDI chromatography (AIA)"},
            {"chromatograms", std::to_string(files.size())},
            {"points", std::to_string(points)},
            {"first time", FormatG(delay) + " " + retentionUnit},
            {"last time", FormatG(points == 0 ? delay : TimeOf(points - 1)) + " " + retentionUnit},
            {"sampling interval", FormatG(samplingInterval) + " " + retentionUnit},
            {"peaks", std::to_string(GetDefaults(nullptr, nullptr, -1))}};
}
