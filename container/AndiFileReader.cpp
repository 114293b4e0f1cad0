#include "container/AndiFileReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "container/ClassicFile.h"
#include "container/ClassicValues.h"
#include "container/NetCDF.h"
#include "frame/CellOutput.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "instrument/USDOptions.h"

namespace {

// Global attributes that make a file one of this convention. Their values aren't looked at.
constexpr const char* RequiredAttributes[] = {"netcdf_revision", "aia_template_revision",
                                              "dataset_completeness", "sample_name"};
constexpr const char* MarkingAttribute = "aia_template_revision";
constexpr const char* DetectorUnitAttribute = "detector_unit";
constexpr const char* DetectorNameAttribute = "detector_name";
constexpr const char* SampleNameAttribute = "sample_name";
constexpr const char* RetentionUnitAttribute = "retention_unit";

constexpr const char* RunLengthVariable = "actual_run_time_length";
constexpr const char* SamplingIntervalVariable = "actual_sampling_interval";
constexpr const char* DelayVariable = "actual_delay_time";
constexpr const char* OrdinateVariable = "ordinate_values";
constexpr const char* RetentionVariable = "raw_data_retention";
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

constexpr const char* MixedIntervalsText =
    "To be able to import several files at a time, all selected files must have the same sampling interval "
    "and the same time delay between the injection and the start of data acquisition. In this case, not all "
    "selected files had the same sampling interval.";
constexpr const char* MixedDelaysText =
    "To be able to import several files at a time, all selected files must have the same sampling interval "
    "and the same time delay between the injection and the start of data acquisition. In this case, the "
    "delay time was not equal in all selected files.";

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

// The numbers along the peaks; null for what is none.
const ClassicVariable* FindPeakTimes(const ClassicFile& file, const char* name) {
    const ClassicVariable* variable = file.FindVariable(name);
    const bool isOfPeaks =
        variable != nullptr && variable->type != ClassicType::Char && variable->shape.size() == 1 &&
        file.GetHeader().dimensions[variable->dimensions.front()].name == PeakDimension &&
        variable->shape.front() <= static_cast<std::uint64_t>(std::numeric_limits<int>::max());
    return isOfPeaks ? variable : nullptr;
}

int CountPeaks(const ClassicFile& file) {
    const ClassicVariable* starts = file.IsOpen() ? FindPeakTimes(file, PeakStartVariable) : nullptr;
    return starts == nullptr ? 0 : static_cast<int>(starts->shape.front());
}

bool ReadPeakTimes(const ClassicFile& file, const char* name, int count, float* times) {
    const ClassicVariable* variable = FindPeakTimes(file, name);
    if (variable == nullptr || variable->shape.front() < static_cast<std::uint64_t>(count)) {
        return false;
    }
    file.Read(*variable, 0, static_cast<std::size_t>(count), times);
    return true;
}

bool ReadPeakTimes(const NetCDF& file, const char* variable, int count, float* times) {
    const std::array<std::size_t, 1> start{0};
    const std::array<std::size_t, 1> length{static_cast<std::size_t>(count)};
    const int id = file.FindVariable(variable);
    return id != -1 && file.GetValues(id, start, length, times) == 0;
}

// Fills up to `size` times of peaks; of -1 only tells how many there are.
template <class File>
int TakePeaks(const File& file, float* starts, float* ends, int size) {
    const int peaks = CountPeaks(file);
    if (size == -1) {
        return peaks;
    }
    const int count = std::min(size, peaks);
    const bool areThere = count > 0 && ReadPeakTimes(file, PeakStartVariable, count, starts) &&
                          ReadPeakTimes(file, PeakEndVariable, count, ends);
    return areThere ? count : 0;
}

// A float's number with the digits that it was written with.
double FromFloat(double value) {
    return ToLeadingDouble(FormatShortest(static_cast<float>(value)));
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
    if (IsComplete()) {
        AndiTimes storage;
        return static_cast<int>(ChooseTimes(storage).GetCount()) + IdColumns;
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
    static constexpr StatusText OfOneFile[] = {
        {StatusOpenFailed, "Unable to open file."},
        {StatusNotOpened, "Unable to read file. The file was not opened or Open File failed."},
        {StatusNoAndiFile, "The file does not seem to be a valid ANDI/chromatography file."},
        {StatusNoAiaFile, "The file does not seem to be a valid AIA/chromatography file."},
        {StatusAttributesFailed, "Error while reading file attributes."},
        {StatusNotUniform,
         "Error wile reading file attributes in the file. Files with non-uniform sampling of data is not "
         "supported by KARTA."},
        {StatusNothingSelected, "No files were selected."},
        {StatusIntervalDiffers, MixedIntervalsText},
        // A unit that differs is told as an interval that differs: one wording serves both.
        {StatusUnitDiffers, MixedIntervalsText},
        {StatusDelayDiffers, MixedDelaysText},
    };
    static constexpr StatusText OfSeveralFiles[] = {
        {StatusOpenFailed, "Unable to open file."},
        {StatusNotOpened, "Unable to read file. The file was not opened or Open File failed."},
        {StatusNoAndiFile,
         "Unable to read one or more of the selected files, not all files seem to be valid "
         "ANDI/chromatography files."},
        {StatusNoAiaFile,
         "Unable to read one or more of the selected files, not all files seem to be valid "
         "AIA/chromatography files."},
        {StatusAttributesFailed, "Error while reading file attributes in one of the selected files."},
        {StatusNotUniform,
         "Error wile reading file attributes in one or more of the selected files. Files with non-uniform "
         "sampling of data is not supported by KARTA."},
        {StatusNothingSelected, "No files were selected."},
        {StatusIntervalDiffers, MixedIntervalsText},
        {StatusUnitDiffers, MixedIntervalsText},
        {StatusDelayDiffers, MixedDelaysText},
    };
    CopyStatusText(IsMultiSelection() ? OfSeveralFiles : OfOneFile, buffer, size);
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
    return IsComplete() ? OpenFiles(classicFiles, options) : OpenFiles(netCDFFiles, options);
}

// The first file, whose peaks the options are told, stays open meanwhile.
template <class File>
int AndiFileReader::OpenFiles(LentFile<File>& lent, NvImportOpenOptions* options) {
    files.clear();
    std::shared_ptr<const File> first;
    for (const std::string& name : fileNames) {
        GetContext()->ThrowIfStopped();
        if (first == nullptr) {
            first = lent.Open(name);
            lent.Lend(name, first);
        }
        status =
            IsComplete() ? ExtractCompletely(name.c_str()) : ExtractNecessaryFileInformation(name.c_str());
        if (status != StatusOk) {
            return status;
        }
    }
    SetOptions(options);
    return status;
}

int AndiFileReader::ExtractNecessaryFileInformation(const char* path) {
    const std::shared_ptr<const NetCDF> opened = netCDFFiles.Open(path);
    const NetCDF& file = *opened;
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
    return IsComplete() ? TakePeaks(*classicFiles.Open(first->path), starts, ends, size)
                        : TakePeaks(*netCDFFiles.Open(first->path), starts, ends, size);
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
        // In the complete reading a file is always like itself.
        if (!file.selected || (IsComplete() && &file == first)) {
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
    if (!file.times.AreLike(first.times)) {
        return StatusIntervalDiffers;
    }
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
    return WithinBudget(StatusAttributesFailed, [this, sink] {
        return IsComplete() ? ReadCompletely(*sink) : ReadClassically(*sink);
    });
}

int AndiFileReader::ReadClassically(ReadSpreadSheetData& sink) {
    int wanted = sink.NextRowToRead(0);
    if (wanted < 0) {
        return status;
    }
    if (wanted == 1) {
        ReadNames(sink);
    }
    int firstRow = 2;
    wanted = sink.NextRowToRead(1);
    if (wanted == 2 && includeX) {
        ReadTimes(sink);
        firstRow = 3;
        wanted = sink.NextRowToRead(2);
    }
    status = ReadFiles(sink, firstRow, wanted);
    return status;
}

// What the complete reading has beside the trace, or of it.
void AndiFileReader::NoteWhatIsLeftOut(const NetCDF& file, const AndiFileInfo& info) {
    const int peaks = CountPeaks(file);
    if (peaks > 0) {
        const auto count = static_cast<std::uint64_t>(peaks);
        AddNote({"left-out-peaks", count, info.path,
                 karta::CountOf(count, "peak is", "peaks are") +
                     " not in this table; the complete reading has them"});
    }
    for (const char* attribute : {"scale_factor", "add_offset"}) {
        if (file.HasAttribute(info.ordinateVariable, attribute)) {
            AddNote({"packed-values", static_cast<std::uint64_t>(info.points), info.path,
                     std::string("the values stand as they are stored, without the file's ") + attribute +
                         "; the complete reading applies it"});
        }
    }
}

// ---- The complete reading ----

int AndiFileReader::ExtractCompletely(const char* path) {
    const std::shared_ptr<const ClassicFile> opened = classicFiles.Open(path);
    const ClassicFile& file = *opened;
    if (!file.IsOpen() || file.FindAttribute(MarkingAttribute) == nullptr) {
        return StatusNoAndiFile;
    }
    const ClassicVariable* ordinates = file.FindVariable(OrdinateVariable);
    if (ordinates == nullptr || ordinates->shape.size() != 1 || ordinates->type == ClassicType::Char ||
        ordinates->shape.front() > static_cast<std::uint64_t>(std::numeric_limits<int>::max() - IdColumns)) {
        return StatusAttributesFailed;
    }
    AndiFileInfo info;
    info.path = path;
    info.sampleName = file.GetText(file.FindAttribute(SampleNameAttribute));
    const std::string unit = file.GetText(file.FindAttribute(RetentionUnitAttribute));
    info.retentionUnit = unit.empty() ? info.retentionUnit : unit;
    info.points = static_cast<int>(ordinates->shape.front());
    detectorUnit = file.GetText(file.FindAttribute(DetectorUnitAttribute));
    detectorName = file.GetText(file.FindAttribute(DetectorNameAttribute));
    if (!FillTimes(file, info)) {
        AddNote({"no-times", 1, info.path,
                 "the file tells neither times nor a sampling interval: its points are numbered"});
    }
    if (ordinates->isCut) {
        AddNote({"cut-trace", 1, "byte " + std::to_string(file.GetFileSize()),
                 "the file ends before the data of the trace do: " +
                     karta::CountOf(ordinates->shape.front(), "point is", "points are") + " there"});
    }
    files.push_back(std::move(info));
    return StatusOk;
}

// The file's own times, or else those of its delay and interval; without either, the points' numbers and
// false.
bool AndiFileReader::FillTimes(const ClassicFile& file, AndiFileInfo& info) {
    const auto numbers = [&file](const char* name) {
        const ClassicVariable* variable = file.FindVariable(name);
        return variable == nullptr || variable->type == ClassicType::Char
                   ? std::vector<double>()
                   : ClassicValues(file, *variable).GetNumbers();
    };
    const auto number = [&numbers](const char* name) {
        const std::vector<double> values = numbers(name);
        return values.empty() ? std::numeric_limits<double>::quiet_NaN() : values.front();
    };
    const auto count = static_cast<std::size_t>(info.points);
    const double start = number(DelayVariable);
    const double run = number(RunLengthVariable);
    double step = number(SamplingIntervalVariable);
    if (!(step > 0.0) && count > 1) {
        step = run / static_cast<double>(count - 1);
    }
    const bool hasStep = std::isfinite(step) && step > 0.0;
    info.delay = std::isfinite(start) ? static_cast<float>(start) : 0.0F;
    info.samplingInterval = hasStep ? static_cast<float>(step) : 0.0F;
    info.runLength = std::isfinite(run) ? static_cast<float>(run) : 0.0F;
    if (const ClassicVariable* told = file.FindVariable(RetentionVariable);
        told != nullptr && count > 0 && ClassicFile::CountValues(*told) >= count) {
        GetContext()->budget.ChargeMemory(ClassicFile::CountValues(*told) * sizeof(double), "the times");
        std::vector<double> times = numbers(RetentionVariable);
        if (times.size() >= count) {
            times.resize(count);
            info.times = AndiTimes(std::move(times));
            return true;
        }
    }
    info.times =
        hasStep ? AndiTimes(count, std::isfinite(start) ? start : 0.0, step) : AndiTimes(count, 1.0, 1.0);
    return hasStep || count <= 1;
}

const AndiFileInfo* AndiFileReader::FindLongest() const {
    const AndiFileInfo* longest = nullptr;
    for (const AndiFileInfo& file : files) {
        if (file.selected && (longest == nullptr || file.points > longest->points)) {
            longest = &file;
        }
    }
    return longest;
}

// The times of the columns: a chosen part of them goes to the storage.
const AndiTimes& AndiFileReader::ChooseTimes(AndiTimes& storage) {
    const AndiFileInfo* longest = FindLongest();
    if (longest == nullptr) {
        return storage;
    }
    if (includeAll) {
        return longest->times;
    }
    Reset();
    std::vector<double> chosen;
    for (std::size_t i = 0; i < longest->times.GetCount(); ++i) {
        const double time = longest->times.At(i);
        const auto given = static_cast<float>(time);
        float x = given;
        if (IsValid(x)) {
            chosen.push_back(x == given ? time : static_cast<double>(x));
        }
    }
    storage = AndiTimes(std::move(chosen));
    return storage;
}

// As the classic table, with the times and values as the files have them.
int AndiFileReader::ReadCompletely(ReadSpreadSheetData& sink) {
    AndiTimes storage;
    const AndiTimes& times = ChooseTimes(storage);
    sink.SetDataSize(static_cast<int>(times.GetCount()) + IdColumns, GetNumRows());
    TellShape();
    CellOutput output(sink);
    output.Text(1, 1, "Primary ID");
    output.Text(2, 1, "Name");
    int row = 1;
    if (includeX) {
        const bool areNamed = output.WantsPointNames();
        for (std::size_t i = 0; areNamed && i < times.GetCount(); ++i) {
            output.Text(FirstPointColumn + static_cast<int>(i), 1,
                        "t " + FormatShortest(static_cast<float>(times.At(i))));
        }
        output.EndRow(row++);
        output.Integer(1, row, 1);
        output.Text(2, row, "Retention Time(" + retentionUnit + ")");
    }
    times.SetRow(output, FirstPointColumn, row);
    output.EndRow(row);
    for (const AndiFileInfo& info : files) {
        GetContext()->ThrowIfStopped();
        if (info.selected) {
            ++row;
            output.Integer(1, row, row - 1);
            output.Text(2, row, NameOf(info));
            ReadTrace(info, output, row);
            output.EndRow(row);
        }
    }
    return status;
}

void AndiFileReader::ReadTrace(const AndiFileInfo& info, CellOutput& output, int row) {
    const std::shared_ptr<const ClassicFile> opened = classicFiles.Open(info.path);
    const ClassicFile& file = *opened;
    const ClassicVariable* ordinates = file.IsOpen() ? file.FindVariable(OrdinateVariable) : nullptr;
    if (ordinates == nullptr || ClassicFile::CountValues(*ordinates) < info.times.GetCount()) {
        // The file has changed since it was opened.
        status = StatusAttributesFailed;
        return;
    }
    const ClassicValues values(file, *ordinates);
    if (includeAll) {
        values.SetRow(output, FirstPointColumn, row, 0, info.times.GetCount());
        return;
    }
    std::vector<float> chosen;
    Reset();
    const std::vector<double> numbers = values.GetNumbers();
    for (std::size_t i = 0; i < info.times.GetCount(); ++i) {
        auto time = static_cast<float>(info.times.At(i));
        auto value = static_cast<float>(numbers[i]);
        if (IsValid(time, value)) {
            chosen.push_back(value);
        }
    }
    output.RowRun(FirstPointColumn, row, chosen);
}

void AndiFileReader::TellShape() {
    karta::TableShape& shape = GetContext()->shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = includeX ? 1 : 0;
    shape.axisRow = includeX ? 2 : 1;
    shape.firstDataRow = shape.axisRow + 1;
    shape.labelColumns = {1, 2};
    shape.firstBlockColumn = FirstPointColumn;
    shape.axisQuantity = "time";
    shape.axisUnit = retentionUnit;
    shape.valueQuantity = detectorName;
    shape.valueUnit = detectorUnit;
}

// ---- The classic reading ----

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
        NoteWhatIsLeftOut(file, info);
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
        part.detail = detectorUnit;
        parts.push_back(part);
    }
    return parts;
}

std::vector<FileContents::Fact> AndiFileReader::ListFacts() {
    const AndiFileInfo* longest = FindLongest();
    const bool hasTimes = longest != nullptr && longest->times.GetCount() > 0;
    const double firstTime = hasTimes ? longest->times.At(0) : delay;
    const double lastTime = hasTimes      ? longest->times.At(longest->times.GetCount() - 1)
                            : points == 0 ? delay
                                          : TimeOf(points - 1);
    return {{"convention", "ANDI chromatography (AIA)"},
            {"chromatograms", static_cast<double>(files.size()), ""},
            {"points", static_cast<double>(points), ""},
            {"first time", FromFloat(firstTime), retentionUnit},
            {"last time", FromFloat(lastTime), retentionUnit},
            {"sampling interval", FromFloat(samplingInterval), retentionUnit},
            {"peaks", static_cast<double>(GetDefaults(nullptr, nullptr, -1)), ""}};
}
