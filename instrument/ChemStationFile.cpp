#include "instrument/ChemStationFile.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "frame/FormatRecogniser.h"
#include "host/NvFile.h"

namespace {

using Field = ChemStationField;

constexpr double WavelengthUnits = 20.0;  // in 1 nm
constexpr double TimeUnits = 1000.0;      // in 1 s

constexpr int HeadColumns = 4;
constexpr int FirstDataRow = 3;
constexpr int ShownDigits = 9;

// A header may promise so many points without the bytes for them (a file may have been cut); of more, each
// takes 2 bytes at least.
constexpr double BelievedPoints = 1 << 18;
constexpr double LeastBytesOfAPoint = 2.0;

std::uint64_t DataOffset(const HPLCData& data) {
    return ChemStationDataOffset(data.dataStart);
}

}  // namespace

ChemStationFile::ChemStationFile() = default;
ChemStationFile::~ChemStationFile() = default;

// Fields

void ChemStationFile::OpenStream(const HPLCData& data) {
    failedPath = data.path;
    file = MappedFile(data.path.c_str());
    stream = ByteCursor(file.GetBytes());
}

std::int16_t ChemStationFile::ReadInt16(std::uint64_t pos, bool swap) {
    stream.Seek(pos);
    return swap ? stream.ReadBigI16() : stream.ReadI16();
}

std::int32_t ChemStationFile::ReadInt32(std::uint64_t pos, bool swap) {
    stream.Seek(pos);
    return swap ? stream.ReadBigI32() : stream.ReadI32();
}

double ChemStationFile::ReadDouble(std::uint64_t pos) {
    stream.Seek(pos);
    return stream.ReadBigDouble();
}

std::string ChemStationFile::ReadText(std::uint64_t pos, bool wide) {
    return ReadChemStationText(stream, pos, wide);
}

// Header

// A header without version or data start leaves the record as it is: a file of no data.
int ChemStationFile::CheckFile(HPLCData* data) {
    if (!file.IsOpen()) {
        return StatusCannotOpen;
    }
    data->version = ToLeadingInt(ReadText(Field::Version, false));
    if (data->version < 1) {
        return StatusOk;
    }
    const ChemStationLayout& layout = ChemStationLayout::Of(data->version);
    data->version = ReadChemStationVersion(stream);
    data->headerInt1 = ReadInt32(Field::HeaderInt1, true);
    data->headerInt2 = ReadInt32(Field::HeaderInt2, true);
    const std::int32_t dataStart = ReadInt32(Field::DataStart, true);
    if (dataStart < 1) {
        return StatusOk;
    }
    data->dataStart = dataStart;
    data->numRecords = ReadInt32(Field::NumRecords, true);
    data->start = ReadInt32(Field::Start, true);
    data->end = ReadInt32(Field::End, true);
    data->flag = ReadInt32(Field::Flag, true);
    ReadTexts(*data, layout);
    if (data->isUv) {
        return CheckRecords(*data);
    }
    ReadStep(*data, layout);
    return MeasureSignal(*data);
}

void ChemStationFile::ReadTexts(HPLCData& data, const ChemStationLayout& layout) {
    data.sampleName = ReadText(layout.sampleName, layout.wide);
    data.date = ReadText(layout.date, layout.wide);
    data.signalName = ReadText(layout.technique, layout.wide);
    if (!data.isUv) {
        data.unit = ReadText(layout.unit, layout.wide);
        data.scale = ReadDouble(layout.scale);
    } else if ((data.version == 31 || data.version == 131) && data.flag == 0) {
        data.unit = ReadText(layout.spectraUnit, layout.wide);
        data.scale = ReadDouble(layout.spectraScale);
    }
}

void ChemStationFile::ReadStep(HPLCData& data, const ChemStationLayout& layout) {
    if (data.version == 30 || data.version == 130) {
        data.step = static_cast<double>(ReadInt16(layout.rate, true)) / ReadInt16(layout.secondRate, true);
    } else if (data.version == 8 || data.version == 108) {
        data.step = std::pow(2.0, ReadInt32(layout.rate, true)) / 20.0;
    } else {
        data.step = 1.0 / ReadInt32(layout.rate, true);
    }
}

// The size of the table with this .ch file's row.
int ChemStationFile::MeasureSignal(const HPLCData& data) {
    const double span = static_cast<double>(std::int64_t{data.end} - data.start) / TimeUnits;
    const double columns = std::floor(span / data.step + 5.0 + 0.5);
    const std::uint64_t dataOffset = std::min<std::uint64_t>(DataOffset(data), stream.GetSize());
    const double bytes = static_cast<double>(stream.GetSize() - dataOffset);
    // Written so that a NaN is refused too.
    if (!(columns <= std::max(BelievedPoints, bytes / LeastBytesOfAPoint))) {
        return StatusNotChemStation;
    }
    const int cols = static_cast<int>(std::max(columns, 0.0));
    const auto earlier = std::find_if(files.rbegin(), files.rend(), [](const HPLCData& other) {
        return !other.isUv && other.dataStart >= 1;
    });
    if (earlier != files.rend()) {
        if (cols != numCols) {
            return StatusStepDiffers;
        }
        if (data.start != earlier->start || data.end != earlier->end) {
            return StatusLengthDiffers;
        }
    }
    numCols = cols;
    numRows = static_cast<int>(files.size()) + FirstDataRow;
    return StatusOk;
}

// Walks the records of a .uv file, which all have one axis. A record that doesn't reach behind its own head
// would lead the walk around for ever.
int ChemStationFile::CheckRecords(HPLCData& data) {
    std::uint64_t position = DataOffset(data);
    SpectrumRecord first;
    for (int i = 0; i < data.numRecords; ++i) {
        GetContext()->ThrowIfStopped();
        SpectrumRecord record;
        if (!record.Read(stream, position) || !record.IsKnown() || record.fieldLength < 0) {
            failurePlace.byte = position;
            return StatusNotChemStation;
        }
        if (i == 0) {
            first = record;
        }
        const bool reaches =
            record.length >= static_cast<int>(SpectrumRecord::HeadSize) || i + 1 == data.numRecords;
        if (!reaches || !record.HasAxisOf(first)) {
            failurePlace.byte = position;
            return StatusNotChemStation;
        }
        position += static_cast<std::uint64_t>(std::max<int>(record.length, 0));
    }
    numRows = std::max(data.numRecords, 0) + FirstDataRow - 1;
    numCols = 0;
    if (data.numRecords < 1) {
        return StatusOk;
    }
    if (first.step == 0) {
        return StatusNotChemStation;
    }
    data.start = first.start;
    data.end = first.end;
    data.step = first.step / WavelengthUnits;
    numCols = std::max((first.end - first.start) / first.step + 5, 0);
    return StatusOk;
}

// Opening and sizes

int ChemStationFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusNotImplemented;
        return status;
    }
    files.clear();
    numCols = 0;
    numRows = 0;
    const std::vector<std::string> paths = NvFile::GetFileNames(fileName);
    if (IsComplete()) {
        return OpenParts(paths, options);
    }
    const auto uvFiles = std::count_if(paths.begin(), paths.end(),
                                       [](const std::string& path) { return HasExtension(path, "uv"); });
    for (const std::string& path : paths) {
        if (!NvFile::Exists(path.c_str())) {
            status = StatusSizeFailed;
            return status;
        }
        HPLCData data;
        data.path = path;
        data.isUv = HasExtension(path, "uv");
        if (data.isUv && uvFiles > 1) {
            status = StatusSeveralUv;
            return status;
        }
        OpenStream(data);
        status = CheckFile(&data);
        if (status == StatusOk && !files.empty() && data.isUv != fileKindIsUv) {
            status = StatusKindDiffers;
        }
        if (status != StatusOk) {
            return status;
        }
        fileKindIsUv = data.isUv;
        files.push_back(std::move(data));
    }
    CloseStream();
    return status;
}

int ChemStationFile::OpenParts(const std::vector<std::string>& paths, const NvImportOpenOptions* options) {
    if (!std::all_of(paths.begin(), paths.end(),
                     [](const std::string& path) { return NvFile::Exists(path.c_str()); })) {
        status = StatusSizeFailed;
        return status;
    }
    if (!parts.Open(paths, options, *GetContext())) {
        failureText = parts.GetFailure();
        status = StatusNotChemStation;
        return status;
    }
    numCols = parts.GetNumCols();
    numRows = parts.GetNumRows();
    return status;
}

bool ChemStationFile::HasFiles() const {
    return IsComplete() ? status == StatusOk && numRows > 0 : !files.empty();
}

void ChemStationFile::CloseStream() {
    file.Close();
    stream = ByteCursor();
}

void ChemStationFile::Close() {
    files.clear();
    parts.Clear();
    CloseStream();
    failedPath.clear();
    FormatReader::Close();
}

int ChemStationFile::EstablishSize() {
    return StatusOk;
}

int ChemStationFile::GetNumCols() {
    return HasFiles() ? numCols : -1;
}

int ChemStationFile::GetNumRows() {
    return HasFiles() ? numRows : -1;
}

// Reading

int ChemStationFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (IsComplete()) {
        return WithinBudget(StatusReadFailed, [&] {
            if (HasFiles()) {
                parts.Read(*sink, *GetContext());
            }
            return status;
        });
    }
    if (numCols < 1 || numRows < 1 || files.empty()) {
        return StatusOk;
    }
    sink->SetDataSize(numCols, numRows);
    if (fileKindIsUv) {
        return ReadSpectra(sink, files.front());
    }
    const auto measured =
        std::find_if(files.begin(), files.end(), [](const HPLCData& data) { return data.dataStart >= 1; });
    SetAxis(sink, *measured, {"Primary ID", "File", "Date", "Sample Name"});
    int row = FirstDataRow;
    for (const HPLCData& data : files) {
        status = ReadSignal(sink, data, row++);
        if (status != StatusOk) {
            return status;
        }
    }
    CloseStream();
    return status;
}

void ChemStationFile::SetAxis(ReadSpreadSheetData* sink, const HPLCData& data,
                              const char* const (&names)[HeadColumns]) {
    for (int i = 0; i < HeadColumns; ++i) {
        sink->Set(i + 1, 1, names[i]);
    }
    sink->Set(1, 2, (data.signalName + (data.isUv ? " Wavelength [nm]" : " Retention Time [s]")).c_str());
    const double start = data.start / (data.isUv ? WavelengthUnits : TimeUnits);
    for (int column = HeadColumns + 1; column <= numCols; ++column) {
        const double x = start + (column - HeadColumns - 1) * data.step;
        sink->Set(column, 1, ("t " + FormatG(x)).c_str());
        sink->Set(column, 2, x);
    }
}

bool ChemStationFile::ReadSpecInfo(SpectrumHeaderInfo& info) {
    return info.Read(stream);
}

// One .ch file's row: runs of values up to a head without any.
int ChemStationFile::ReadSignal(ReadSpreadSheetData* sink, const HPLCData& data, int row) {
    OpenStream(data);
    runningValue = {};
    sink->Set(1, row, row - FirstDataRow + 1);
    sink->Set(2, row, NvGetFileName(data.path).c_str());
    sink->Set(3, row, TidyChemStationDate(data.date).c_str());
    sink->Set(4, row, (data.sampleName + (data.unit.empty() ? "" : " [" + data.unit + "]")).c_str());
    if (data.dataStart < 1) {
        return StatusOk;
    }
    stream.Seek(DataOffset(data));
    int column = HeadColumns;
    SpectrumHeaderInfo info;
    while (ReadSpecInfo(info) && info.hasValues) {
        GetContext()->ThrowIfStopped();
        for (int i = 0; i < info.length; ++i) {
            runningValue.TakeBig(stream);
            if (stream.HasFailed()) {
                failurePlace.byte = stream.GetSize();
                return StatusReadFailed;
            }
            if (++column > numCols) {
                return StatusLengthDiffers;
            }
            sink->Set(column, row, runningValue.value * data.scale);
        }
    }
    // A file without the last head has been cut.
    if (stream.HasFailed()) {
        failurePlace.byte = stream.GetSize();
        return StatusReadFailed;
    }
    return StatusOk;
}

int ChemStationFile::ReadSpectra(ReadSpreadSheetData* sink, const HPLCData& data) {
    OpenStream(data);
    runningValue = {};
    SetAxis(sink, data, {"Primary ID", "Date", "Sample Name", "Retention Time Counts"});
    const std::string date = TidyChemStationDate(data.date);
    std::uint64_t position = DataOffset(data);
    for (int i = 0; i < data.numRecords; ++i) {
        GetContext()->ThrowIfStopped();
        SpectrumRecord record;
        if (!record.Read(stream, position)) {
            status = StatusReadFailed;
            failurePlace.byte = position;
            return status;
        }
        // Only a file that has changed since it was opened holds such a record: what there is stands.
        if (!record.IsKnown()) {
            return status == StatusReadFailed ? 1 : 0;
        }
        const int row = FirstDataRow + i;
        sink->Set(1, row, i + 1);
        sink->Set(2, row, date.c_str());
        sink->Set(3, row, data.sampleName.c_str());
        sink->Set(4, row, record.time / TimeUnits);
        record.isLast = i + 1 == data.numRecords;
        if (!ReadSpectrum(sink, data, record, row)) {
            status = StatusReadFailed;
            failurePlace.byte = position;
            return status;
        }
        position += static_cast<std::uint64_t>(std::max<int>(record.length, 0));
    }
    CloseStream();
    return status;
}

// The values of one record, which end before the next one begins.
bool ChemStationFile::ReadSpectrum(ReadSpreadSheetData* sink, const HPLCData& data,
                                   const SpectrumRecord& record, int row) {
    stream.Seek(record.position + SpectrumRecord::HeadSize +
                static_cast<std::uint64_t>(std::max<int>(record.fieldLength, 0)));
    const std::uint64_t next = record.position + static_cast<std::uint64_t>(std::max<int>(record.length, 0));
    const std::uint64_t end = record.isLast ? stream.GetSize() : next;
    for (int column = HeadColumns + 1; column <= numCols; ++column) {
        std::int32_t value = 0;
        if (record.kind == SpectrumRecord::KindAbsolute) {
            value = stream.ReadI32();
        } else {
            // The classic rule: the value runs on from record to record.
            runningValue.TakeLittle(stream);
            value = runningValue.value;
        }
        if (stream.HasFailed() || stream.Tell() > end) {
            return false;
        }
        sink->Set(column, row, value * data.scale);
    }
    return true;
}

// Messages

void ChemStationFile::GetErrorMessage(char* buffer, unsigned int size) {
    const std::string name = failedPath.empty() ? "" : " The file " + failedPath + " could not be opened.";
    const std::string cannotOpen =
        failedPath.empty() ? "Unable to open file" : "Unable to open file " + failedPath + ".";
    const std::string notChemStation = "The file does not seem to be an HPLC Chemstation file." + name;
    const std::string readFailed = "The file could not be read." + name;
    const StatusText texts[] = {
        {StatusCannotOpen, cannotOpen},
        {StatusLengthDiffers, "The imported files seems to be of different length."},
        {StatusKindDiffers, "Only files of the same file type can be opened at the same time."},
        {StatusSeveralUv, "Import of more then one 3D HPLC file (*.uv files) is not yet supported."},
        {StatusStepDiffers, "The imported files seems to have different resolution."},
        {StatusNotChemStation, notChemStation},
        {StatusReadFailed, readFailed},
    };
    CopyStatusText(texts, buffer, size);
}

// Contents

std::vector<FileContents::Part> ChemStationFile::ListParts() {
    if (IsComplete()) {
        return parts.ListParts();
    }
    std::vector<Part> signals;
    for (const HPLCData& data : files) {
        Part part;
        part.kind = "spectrum";
        part.name = data.signalName.empty() ? NvGetFileName(data.path) : data.signalName;
        part.number = static_cast<int>(signals.size()) + 1;
        part.rows = data.isUv ? numRows - FirstDataRow + 1 : 1;
        part.cols = std::max(numCols - HeadColumns, 0);
        part.detail = data.unit;
        signals.push_back(std::move(part));
    }
    return signals;
}

std::vector<FileContents::Fact> ChemStationFile::ListFacts() {
    if (IsComplete()) {
        return parts.ListFacts();
    }
    const auto found =
        std::find_if(files.begin(), files.end(), [](const HPLCData& data) { return data.dataStart >= 1; });
    if (found == files.end() || numCols <= HeadColumns) {
        return {{"spectra", "0"}};
    }
    const HPLCData& data = *found;
    const int points = numCols - HeadColumns;
    const char* unit = data.isUv ? " nm" : " s";
    const double start = data.start / (data.isUv ? WavelengthUnits : TimeUnits);
    std::vector<Fact> facts{{"spectra", std::to_string(numRows - FirstDataRow + 1)},
                            {"points", std::to_string(points)},
                            {"first X", FormatG(start, ShownDigits) + unit},
                            {"last X", FormatG(start + (points - 1) * data.step, ShownDigits) + unit},
                            {"spacing", FormatG(data.step) + unit}};
    if (!data.unit.empty()) {
        facts.emplace_back("Y unit", data.unit);
    }
    facts.emplace_back("sample", data.sampleName);
    facts.emplace_back("date", TidyChemStationDate(data.date));
    facts.emplace_back("version", std::to_string(data.version));
    return facts;
}

bool ChemStationFile::IsChemStationFile(const char* fileName) {
    return NvFile::Exists(fileName) && (HasExtension(fileName, "ch") || HasExtension(fileName, "uv"));
}

ChemStationFileFactory::ChemStationFileFactory()
    : SprFileFactory("HPLC ChemStation File", "HPLC ChemStation Files (*.ch, *.uv)",
                     "HPLC ChemStation File (*.ch)", 2, ".ch\0.uv\0", 0, 1, 1, 1, 0, 1) {}

MyKindOfFile ChemStationFileFactory::IsMyKindOfFile(const char* fileName) {
    return ChemStationFile::IsChemStationFile(fileName) ? KindProbably : KindNo;
}

SpreadsheetFile* ChemStationFileFactory::GetSpreadsheetFile() {
    return new ChemStationFile;
}

static ChemStationFileFactory chemStationFileFactory;

// The version text with its length before it, and behind it nothing of it; then the file's type, such as
// "LC DATA FILE".
static const FormatRecogniser chemStationRecogniser(
    "HPLC ChemStation File", "chemstation", {".uv"}, [](const char* /*path*/, std::string_view head) {
        constexpr std::string_view DataFile = "DATA FILE";
        ByteCursor stream({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
        const int version = ReadChemStationVersion(stream);
        const ChemStationLayout& layout = ChemStationLayout::Of(version);
        const std::string type = ReadChemStationText(stream, layout.fileType, layout.wide);
        const bool isProved = version > 0 && type.ends_with(DataFile);
        return isProved ? FormatRecogniser::Evidence::Proof : FormatRecogniser::Evidence::None;
    });
