#include "instrument/BrimroseFile.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <numeric>

#include "base/DateText.h"
#include "base/FileHandle.h"
#include "base/NumberFormat.h"
#include "frame/CellOutput.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "host/NvString.h"

namespace {

// The main header; its fields are not aligned.
constexpr std::size_t MainHeaderSize = 512;
constexpr std::size_t StartWavelengthOffset = 29;
constexpr std::size_t EndWavelengthOffset = 33;
constexpr std::size_t StepWavelengthOffset = 37;
constexpr std::size_t NumPointsOffset = 41;
constexpr std::size_t NumObservationsOffset = 45;
constexpr std::uint32_t FirstMagic = 0x0D0C10FF;
constexpr std::uint32_t SecondMagic = 0x0BA7133C;

// The sub-header before each observation's values: the time, then the sample's name.
constexpr std::size_t SubHeaderSize = 128;
constexpr std::size_t SampleNameSize = SubHeaderSize - sizeof(std::uint32_t);

// The table.
constexpr int SampleNoColumn = 1;
constexpr int DateTimeColumn = 2;
constexpr int FirstWavelengthColumn = 3;

// More than any float has before its point, with a sign.
constexpr std::size_t MaxDigits = 48;

// Seconds since 1970 as local time; empty when the system can't tell.
std::string DateTextOf(std::uint32_t seconds) {
    const std::time_t time = seconds;
    std::tm local{};
    if (localtime_r(&time, &local) == nullptr) {
        return {};
    }
    return NvString::Format("%04d-%02d-%02d/%02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                            local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

// "w%1.0f": to the nearest whole number, a half to the even one. A header of its own can ask for 65535 of
// these, so that they must cost little.
std::string NameOf(float wavelength) {
    char digits[MaxDigits];
    const auto value = static_cast<double>(std::isnan(wavelength) ? std::fabs(wavelength) : wavelength);
    return "w" + std::string(digits,
                             std::to_chars(digits, std::end(digits), value, std::chars_format::fixed, 0).ptr);
}

}  // namespace

BrimroseFile::BrimroseFile() = default;
BrimroseFile::~BrimroseFile() = default;

bool BrimroseFile::IsBrimroseFile(const char* path) {
    FileHandle file(path);
    std::uint8_t header[MainHeaderSize];
    if (file.Read(reinterpret_cast<char*>(header), sizeof header) < sizeof header) {
        return false;
    }
    const std::uint32_t magic = ByteCursor(header).ReadU32();
    return magic == FirstMagic || magic == SecondMagic;
}

bool BrimroseFile::ReadMainHeader() {
    cursor.Seek(0);
    ByteCursor header(cursor.Take(MainHeaderSize));
    if (cursor.HasFailed()) {
        status = StatusMainHeader;
        failurePlace.byte = cursor.GetSize();
        return false;
    }
    header.Seek(StartWavelengthOffset);
    startWavelength = header.ReadFloat();
    header.Seek(EndWavelengthOffset);
    endWavelength = header.ReadFloat();
    header.Seek(StepWavelengthOffset);
    stepWavelength = header.ReadFloat();
    header.Seek(NumPointsOffset);
    numPoints = header.ReadU16();
    header.Seek(NumObservationsOffset);
    numObservations = header.ReadU16();
    numRows = numObservations + 1;
    numCols = static_cast<int>(numPoints) + FirstWavelengthColumn - 1;
    if (numObservations == 0) {
        // No observations are no data; the width then tells the points alone.
        numRows = 0;
        numCols = static_cast<int>(numPoints);
    }
    return true;
}

bool BrimroseFile::ReadSubHeader() {
    ByteCursor header(cursor.Take(SubHeaderSize));
    if (cursor.HasFailed()) {
        status = StatusSubHeader;
        failurePlace.byte = cursor.GetSize();
        return false;
    }
    time = header.ReadU32();
    dateText = IsComplete() ? std::string() : DateTextOf(time);
    sampleName = header.ReadTerminatedText(SampleNameSize);
    return true;
}

bool BrimroseFile::ReadDataSection() {
    values = ByteCursor(cursor.Take(numPoints * sizeof(float)));
    if (cursor.HasFailed()) {
        status = StatusData;
        failurePlace.byte = cursor.GetSize();
        return false;
    }
    return true;
}

float BrimroseFile::WavelengthOf(int column) const {
    return static_cast<float>(column - FirstWavelengthColumn) * stepWavelength + startWavelength;
}

void BrimroseFile::MakeNameRow(ReadSpreadSheetData* sink, int row, int lastColumn, int firstColumn) const {
    for (int column = firstColumn; column <= lastColumn; ++column) {
        if (column == SampleNoColumn) {
            sink->Set(column, row, "SampleNo");
        } else if (column == DateTimeColumn) {
            sink->Set(column, row, "DateTime");
        } else {
            sink->Set(column, row, NameOf(WavelengthOf(column)).c_str());
        }
    }
}

// An observation that is cut short sets nothing.
void BrimroseFile::MakeDataRow(ReadSpreadSheetData* sink, int row, int lastColumn, int firstColumn) {
    if (!ReadSubHeader() || !ReadDataSection()) {
        return;
    }
    for (int column = firstColumn; column <= lastColumn; ++column) {
        if (column == SampleNoColumn) {
            sink->Set(column, row, row - 1);
        } else if (column == DateTimeColumn) {
            sink->Set(column, row, dateText.c_str());
        } else {
            sink->Set(column, row, values.ReadFloat());
        }
    }
}

void BrimroseFile::Close() {
    file.Close();
    cursor = ByteCursor();
    values = ByteCursor();
    chosen.clear();
    FormatReader::Close();
}

void BrimroseFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, "Failed to open stream for reading."},
        {StatusReadModeOnly, "Wrong file mode. The executed operation is only supported in read mode."},
        {StatusMainHeader, "File corrupt! Could not read the whole main header (possibly end of file)."},
        {StatusSubHeader, "File corrupt! Could not read the whole sub header (possibly end of file)."},
        {StatusData, "File corrupt! Could not read data (possibly end of file)."},
        {StatusHeaderContent,
         "File is corrupt! Header contains corrupt information about starting, ending wavelength, or "
         "number of data points."},
        {StatusNoMagic, "The file does not seem to be a valid Brimrose file."},
    };
    CopyStatusText(Texts, buffer, size);
}

int BrimroseFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    sizeKnown = false;
    file = MappedFile(fileName);
    if (!file.IsOpen()) {
        status = StatusStreamFailed;
    } else if (!IsBrimroseFile(fileName)) {
        status = StatusNoMagic;
    }
    cursor = ByteCursor(file.GetBytes());
    return status == StatusOk && IsComplete() ? OpenObservations(options) : status;
}

// Which observations are to be read. A file that is cut has those before the cut.
int BrimroseFile::OpenObservations(const NvImportOpenOptions* options) {
    texts.Choose(options, *GetContext());
    const std::vector<Part> parts = ListParts();
    texts.AddNote("the file", *GetContext());
    chosen.clear();
    if (const auto part = CompleteOptions(options).GetText(CompleteOptions::Part)) {
        const auto places = FindParts(parts, *part);
        if (!places) {
            failureText = "There is no spectrum '" + *part + "' in the file.";
            status = StatusHeaderContent;
            return status;
        }
        chosen = *places;
    } else {
        chosen.resize(parts.size());
        std::iota(chosen.begin(), chosen.end(), 0U);
    }
    if (static_cast<int>(parts.size()) < numObservations) {
        AddNote({"cut-records", static_cast<std::uint64_t>(numObservations) - parts.size(), "",
                 "the file holds " + std::to_string(parts.size()) + " of the " +
                     karta::CountOf(static_cast<std::uint64_t>(numObservations), "spectrum", "spectra") +
                     " that its header promises"});
    }
    return status;
}

int BrimroseFile::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    numRows = numCols = 0;
    sizeKnown = ReadMainHeader();
    if (!sizeKnown) {
        numRows = numCols = -1;
    } else if (IsComplete() && numRows > 0) {
        numRows = static_cast<int>(chosen.size()) + 1;
    }
    return status;
}

int BrimroseFile::Read(ReadSpreadSheetData* sink) {
    if (IsComplete()) {
        return WithinBudget(StatusData, [&] { return ReadObservations(*sink); });
    }
    if (status != StatusOk || !ReadMainHeader()) {
        return status;
    }
    for (int row = 1; row <= numRows && status == StatusOk; ++row) {
        GetContext()->ThrowIfStopped();
        if (row == 1) {
            MakeNameRow(sink, row, numCols, SampleNoColumn);
        } else {
            MakeDataRow(sink, row, numCols, SampleNoColumn);
        }
    }
    return status;
}

// The classic table with types: times of no zone but UTC, and the wavelengths as numbers.
int BrimroseFile::ReadObservations(ReadSpreadSheetData& sink) {
    if (EstablishSize() != StatusOk) {
        return status;
    }
    sink.SetDataSize(numCols, numRows);
    if (numRows == 0) {
        return status;
    }
    FillShape();
    CellOutput out(sink);
    std::vector<float> numbers;
    numbers.reserve(numPoints);
    for (int column = FirstWavelengthColumn; column <= numCols; ++column) {
        numbers.push_back(WavelengthOf(column));
    }
    out.Text(SampleNoColumn, 1, "SampleNo");
    out.Text(DateTimeColumn, 1, "DateTime");
    out.RowRun(FirstWavelengthColumn, 1, numbers);
    out.EndRow(1);
    const std::size_t observationSize = SubHeaderSize + numPoints * sizeof(float);
    int row = 1;
    for (const std::size_t place : chosen) {
        GetContext()->ThrowIfStopped();
        cursor.Seek(MainHeaderSize + place * observationSize);
        if (!ReadSubHeader() || !ReadDataSection()) {
            return status;
        }
        ++row;
        constexpr std::int64_t Microseconds = 1'000'000;
        out.Integer(SampleNoColumn, row, static_cast<std::int64_t>(place) + 1);
        out.DateTime(DateTimeColumn, row, time * Microseconds);
        values.ReadRun<float>(numbers);
        out.RowRun(FirstWavelengthColumn, row, numbers);
        out.EndRow(row);
    }
    AddNote({"sample-names", chosen.size(), "",
             "the samples' names are not in this table; karta-import info lists them"});
    return status;
}

void BrimroseFile::FillShape() {
    karta::TableShape& shape = GetContext()->shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.axisRow = 1;
    shape.firstDataRow = 2;
    shape.labelColumns = {SampleNoColumn, DateTimeColumn};
    shape.firstBlockColumn = FirstWavelengthColumn;
    shape.axisQuantity = "wavelength";
    shape.axisUnit = "nm";
}

std::vector<FileContents::Part> BrimroseFile::ListParts() {
    std::vector<Part> parts;
    if (status != StatusOk || !ReadMainHeader()) {
        return parts;
    }
    while (static_cast<int>(parts.size()) < numObservations && ReadSubHeader() && ReadDataSection()) {
        GetContext()->ThrowIfStopped();
        const int number = static_cast<int>(parts.size()) + 1;
        parts.push_back({"spectrum", IsComplete() ? texts.ToUtf8(sampleName) : sampleName, number,
                         static_cast<int>(numPoints), 1, false,
                         IsComplete() ? FormatDateTime(std::int64_t{time} * 1'000'000) : dateText});
    }
    // Looking at a damaged file's parts is no failed read.
    status = StatusOk;
    return parts;
}

std::vector<FileContents::Fact> BrimroseFile::ListFacts() {
    if (EstablishSize() != StatusOk) {
        return {};
    }
    if (IsComplete()) {
        return {{"spectra", static_cast<double>(chosen.size()), ""},
                {"points", static_cast<double>(numPoints), ""},
                {"first X", static_cast<double>(startWavelength), "nm"},
                {"last X", static_cast<double>(endWavelength), "nm"},
                {"spacing", static_cast<double>(stepWavelength), "nm"},
                {"time zone", "UTC"}};
    }
    return {{"spectra", std::to_string(numObservations)},
            {"points", std::to_string(numPoints)},
            {"first X", FormatG(static_cast<double>(startWavelength)) + " nm"},
            {"last X", FormatG(static_cast<double>(endWavelength)) + " nm"},
            {"spacing", FormatG(static_cast<double>(stepWavelength)) + " nm"}};
}

BrimroseFileFactory::BrimroseFileFactory()
    : SprFileFactory("Brimrose File", "Brimrose Files (*.dat)", nullptr, 1, ".dat\0", 0, 1, 0, 1, 0, 1) {}

MyKindOfFile BrimroseFileFactory::IsMyKindOfFile(const char* fileName) {
    return BrimroseFile::IsBrimroseFile(fileName) ? KindYes : KindNo;
}

SpreadsheetFile* BrimroseFileFactory::GetSpreadsheetFile() {
    return new BrimroseFile;
}

static BrimroseFileFactory brimroseFileFactory;

// Either of two numbers, and a whole main header.
static const FormatRecogniser brimroseRecogniser("Brimrose File", "brimrose", {},
                                                 [](const char* path, std::string_view /*head*/) {
                                                     return BrimroseFile::IsBrimroseFile(path)
                                                                ? FormatRecogniser::Evidence::Proof
                                                                : FormatRecogniser::Evidence::None;
                                                 });
