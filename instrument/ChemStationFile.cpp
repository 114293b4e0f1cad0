#include "instrument/ChemStationFile.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/CopyMessage.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/Unicode.h"
#include "host/NvFile.h"

namespace {

// The header's fields that stand at one place in both layouts.
constexpr std::uint64_t VersionOffset = 0x0;
constexpr std::uint64_t HeaderInt1Offset = 0xf8;
constexpr std::uint64_t HeaderInt2Offset = 0x104;
constexpr std::uint64_t DataStartOffset = 0x108;
constexpr std::uint64_t NumRecordsOffset = 0x116;
constexpr std::uint64_t StartOffset = 0x11a;
constexpr std::uint64_t EndOffset = 0x11e;
constexpr std::uint64_t FlagOffset = 0x13a;
constexpr std::uint64_t WideVersionOffset = 0x146;

constexpr int FirstNewerVersion = 100;
constexpr std::uint64_t BlockSize = 512;

// The head of a .uv file's record, before the field and the values.
constexpr std::uint64_t RecordHeadSize = 18;
constexpr std::uint8_t KindCompressed = 'C';
constexpr std::uint8_t KindAbsolute = 'A';
constexpr double WavelengthUnits = 20.0;  // in 1 nm
constexpr double TimeUnits = 1000.0;      // in 1 s

// A difference of this value says that 4 bytes follow that replace the running value.
constexpr std::int16_t AbsoluteMarker = -0x8000;

constexpr int HeadColumns = 4;
constexpr int FirstDataRow = 3;
constexpr int ShownDigits = 9;

// A header may promise so many points without the bytes for them (a file may have been cut); of more, each
// takes 2 bytes at least.
constexpr double BelievedPoints = 1 << 18;
constexpr double LeastBytesOfAPoint = 2.0;

std::uint64_t DataOffset(const HPLCData& data) {
    return static_cast<std::uint64_t>(data.dataStart - 1) * BlockSize;
}

// "10-Apr-12, 15:40" as "10-Apr-12 15:40". At the very start neither comma nor blanks are touched.
std::string TidyDate(std::string date) {
    const std::size_t comma = date.find(',');
    if (comma != std::string::npos && comma > 0) {
        date.erase(comma, 1);
    }
    for (std::size_t blanks = date.find("  ", 1); blanks != std::string::npos; blanks = date.find("  ", 1)) {
        date.erase(blanks, 1);
    }
    return date;
}

}  // namespace

/** Where the fields stand that differ between the layouts. */
struct ChemStationFile::Layout {
    bool wide;  // texts of 16-bit characters
    std::uint64_t sampleName;
    std::uint64_t date;
    std::uint64_t signalName;
    std::uint64_t spectraScale;
    std::uint64_t spectraUnit;
    std::uint64_t rate;
    std::uint64_t secondRate;
    std::uint64_t unit;
    std::uint64_t scale;
};

const ChemStationFile::Layout ChemStationFile::OlderLayout{false, 0x18,  0xb2,  0xda,  0x13e,
                                                           0x146, 0x212, 0x214, 0x244, 0x284};
const ChemStationFile::Layout ChemStationFile::NewerLayout{true,  0x35a,  0x957,  0x9e5,  0xc0d,
                                                           0xc15, 0x101a, 0x101c, 0x104c, 0x127c};

/** One spectrum of a .uv file: the head of its record. */
struct ChemStationFile::SpectrumRecord {
    std::uint64_t position = 0;
    std::uint8_t kind = 0;
    std::int16_t length = 0;  // to the next record
    std::int32_t time = 0;
    std::int16_t start = 0;
    std::int16_t end = 0;
    std::int16_t step = 0;
    std::int16_t fieldLength = 0;
    bool isLast = false;

    bool IsKnown() const { return kind == KindCompressed || kind == KindAbsolute; }
};

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

// One length byte and that many characters, which end at a NUL.
std::string ChemStationFile::ReadText(std::uint64_t pos, bool wide) {
    stream.Seek(pos);
    const std::size_t length = stream.ReadU8();
    const std::string text =
        wide ? Utf16ToUtf8(stream.Take(2 * length)) : std::string(stream.ReadText(length));
    return text.substr(0, text.find('\0'));
}

// Header

// A header without version or data start leaves the record as it is: a file of no data.
int ChemStationFile::CheckFile(HPLCData* data) {
    if (!file.IsOpen()) {
        return StatusCannotOpen;
    }
    data->version = ToLeadingInt(ReadText(VersionOffset, false));
    if (data->version < 1) {
        return StatusOk;
    }
    const Layout& layout = data->version < FirstNewerVersion ? OlderLayout : NewerLayout;
    if (layout.wide) {
        data->version = ToLeadingInt(ReadText(WideVersionOffset, true));
    }
    data->headerInt1 = ReadInt32(HeaderInt1Offset, true);
    data->headerInt2 = ReadInt32(HeaderInt2Offset, true);
    const std::int32_t dataStart = ReadInt32(DataStartOffset, true);
    if (dataStart < 1) {
        return StatusOk;
    }
    data->dataStart = dataStart;
    data->numRecords = ReadInt32(NumRecordsOffset, true);
    data->start = ReadInt32(StartOffset, true);
    data->end = ReadInt32(EndOffset, true);
    data->flag = ReadInt32(FlagOffset, true);
    ReadTexts(*data, layout);
    if (data->isUv) {
        return CheckRecords(*data);
    }
    ReadStep(*data, layout);
    return MeasureSignal(*data);
}

void ChemStationFile::ReadTexts(HPLCData& data, const Layout& layout) {
    data.sampleName = ReadText(layout.sampleName, layout.wide);
    data.date = ReadText(layout.date, layout.wide);
    data.signalName = ReadText(layout.signalName, layout.wide);
    if (!data.isUv) {
        data.unit = ReadText(layout.unit, layout.wide);
        data.scale = ReadDouble(layout.scale);
    } else if ((data.version == 31 || data.version == 131) && data.flag == 0) {
        data.unit = ReadText(layout.spectraUnit, layout.wide);
        data.scale = ReadDouble(layout.spectraScale);
    }
}

void ChemStationFile::ReadStep(HPLCData& data, const Layout& layout) {
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

bool ChemStationFile::ReadRecord(std::uint64_t pos, SpectrumRecord& record) {
    stream.Seek(pos);
    record.position = pos;
    record.kind = stream.ReadU8();
    stream.Skip(1);
    record.length = stream.ReadI16();
    record.time = stream.ReadI32();
    record.start = stream.ReadI16();
    record.end = stream.ReadI16();
    record.step = stream.ReadI16();
    stream.Skip(2);
    record.fieldLength = stream.ReadI16();
    return !stream.HasFailed();
}

// Walks the records of a .uv file, which all have one axis. A record that doesn't reach behind its own head
// would lead the walk around for ever.
int ChemStationFile::CheckRecords(HPLCData& data) {
    std::uint64_t position = DataOffset(data);
    SpectrumRecord first;
    for (int i = 0; i < data.numRecords; ++i) {
        SpectrumRecord record;
        if (!ReadRecord(position, record) || !record.IsKnown() || record.fieldLength < 0) {
            return StatusNotChemStation;
        }
        if (i == 0) {
            first = record;
        }
        const bool reaches = record.length >= static_cast<int>(RecordHeadSize) || i + 1 == data.numRecords;
        if (!reaches || record.start != first.start || record.end != first.end || record.step != first.step) {
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

int ChemStationFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
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

void ChemStationFile::CloseStream() {
    file.Close();
    stream = ByteCursor();
}

void ChemStationFile::Close() {
    files.clear();
    CloseStream();
    failedPath.clear();
    FormatReader::Close();
}

int ChemStationFile::EstablishSize() {
    return StatusOk;
}

int ChemStationFile::GetNumCols() {
    return files.empty() ? -1 : numCols;
}

int ChemStationFile::GetNumRows() {
    return files.empty() ? -1 : numRows;
}

// Reading

int ChemStationFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
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
    const std::uint16_t head = stream.ReadBigU16();
    info.hasValues = (head & 0xf000) != 0;
    info.length = head & 0x0fff;
    return !stream.HasFailed();
}

// One step: a difference, or behind its marker an absolute value.
std::int32_t ChemStationFile::ReadValue(bool& absolute, bool swap) {
    const std::int16_t difference = swap ? stream.ReadBigI16() : stream.ReadI16();
    absolute = difference == AbsoluteMarker;
    if (!absolute) {
        return difference;
    }
    return swap ? stream.ReadBigI32() : stream.ReadI32();
}

// The running value wraps around as the instrument's own does.
void ChemStationFile::AddValue(bool swap) {
    bool absolute = false;
    const auto value = static_cast<std::uint32_t>(ReadValue(absolute, swap));
    runningValue =
        static_cast<std::int32_t>(absolute ? value : static_cast<std::uint32_t>(runningValue) + value);
}

// One .ch file's row: runs of values up to a head without any.
int ChemStationFile::ReadSignal(ReadSpreadSheetData* sink, const HPLCData& data, int row) {
    OpenStream(data);
    runningValue = 0;
    sink->Set(1, row, row - FirstDataRow + 1);
    sink->Set(2, row, NvGetFileName(data.path).c_str());
    sink->Set(3, row, TidyDate(data.date).c_str());
    sink->Set(4, row, (data.sampleName + (data.unit.empty() ? "" : " [" + data.unit + "]")).c_str());
    if (data.dataStart < 1) {
        return StatusOk;
    }
    stream.Seek(DataOffset(data));
    int column = HeadColumns;
    SpectrumHeaderInfo info{};
    while (ReadSpecInfo(info) && info.hasValues) {
        for (int i = 0; i < info.length; ++i) {
            AddValue(true);
            if (stream.HasFailed()) {
                return StatusReadFailed;
            }
            if (++column > numCols) {
                return StatusLengthDiffers;
            }
            sink->Set(column, row, runningValue * data.scale);
        }
    }
    // A file without the last head has been cut.
    if (stream.HasFailed()) {
        return StatusReadFailed;
    }
    return StatusOk;
}

int ChemStationFile::ReadSpectra(ReadSpreadSheetData* sink, const HPLCData& data) {
    OpenStream(data);
    runningValue = 0;
    SetAxis(sink, data, {"Primary ID", "Date", "Sample Name", "Retention Time Counts"});
    const std::string date = TidyDate(data.date);
    std::uint64_t position = DataOffset(data);
    for (int i = 0; i < data.numRecords; ++i) {
        SpectrumRecord record;
        if (!ReadRecord(position, record)) {
            status = StatusReadFailed;
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
    stream.Seek(record.position + RecordHeadSize +
                static_cast<std::uint64_t>(std::max<int>(record.fieldLength, 0)));
    const std::uint64_t next = record.position + static_cast<std::uint64_t>(std::max<int>(record.length, 0));
    const std::uint64_t end = record.isLast ? stream.GetSize() : next;
    for (int column = HeadColumns + 1; column <= numCols; ++column) {
        std::int32_t value = 0;
        if (record.kind == KindAbsolute) {
            value = stream.ReadI32();
        } else {
            AddValue(false);
            value = runningValue;
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
    switch (status) {
        case StatusCannotOpen:
            CopyMessage(
                failedPath.empty() ? "Unable to open file" : "Unable to open file " + failedPath + ".",
                buffer, size);
            break;
        case StatusLengthDiffers:
            CopyMessage("The imported files seems to be of different length.", buffer, size);
            break;
        case StatusKindDiffers:
            CopyMessage("Only files of the same file type can be opened at the same time.", buffer, size);
            break;
        case StatusSeveralUv:
            CopyMessage("Import of more then one 3D HPLC file (*.uv files) is not yet supported.", buffer,
                        size);
            break;
        case StatusStepDiffers:
            CopyMessage("The imported files seems to have different resolution.", buffer, size);
            break;
        case StatusNotChemStation:
            CopyMessage("The file does not seem to be an HPLC Chemstation file." + name, buffer, size);
            break;
        case StatusReadFailed:
            CopyMessage("The file could not be read." + name, buffer, size);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

// Contents

std::vector<FileContents::Part> ChemStationFile::ListParts() {
    std::vector<Part> parts;
    for (const HPLCData& data : files) {
        Part part;
        part.kind = "spectrum";
        part.name = data.signalName.empty() ? NvGetFileName(data.path) : data.signalName;
        part.number = static_cast<int>(parts.size()) + 1;
        part.rows = data.isUv ? numRows - FirstDataRow + 1 : 1;
        part.cols = std::max(numCols - HeadColumns, 0);
        part.detail = data.unit;
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> ChemStationFile::ListFacts() {
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
    facts.emplace_back("date", TidyDate(data.date));
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
