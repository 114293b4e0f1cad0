#include "instrument/NsasFile.h"

#include <algorithm>

#include "base/ByteCursor.h"
#include "base/NumberFormat.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "host/FNClass.h"
#include "host/NvString.h"
#include "instrument/NsasHeader.h"

namespace {

using namespace Nsas;

// The table.
constexpr int InfoRow = 1;
constexpr int NameRow = 2;
constexpr int FirstSpectrumRow = 3;
constexpr int FirstWavelengthColumn = 5;

}  // namespace

NsasFile::NsasFile() = default;
NsasFile::~NsasFile() = default;

std::span<const std::uint8_t> NsasFile::Stream::Read(std::size_t size) {
    const auto bytes = file.GetBytes();
    const auto start = std::min(static_cast<std::size_t>(position), bytes.size());
    const auto part = bytes.subspan(start, std::min(size, bytes.size() - start));
    position += static_cast<std::int64_t>(part.size());
    return part;
}

// Also backwards, and never out of the file.
bool NsasFile::Stream::Skip(std::int64_t count) {
    const std::int64_t target = position + count;
    if (target < 0 || target > FileSize()) {
        return false;
    }
    position = target;
    return true;
}

std::int64_t NsasFile::Stream::FileSize() const {
    return static_cast<std::int64_t>(file.GetBytes().size());
}

bool NsasFile::Fail(int code) {
    status = code;
    failurePlace.byte = recordStart;
    return false;
}

bool NsasFile::ReadDaHeader(Header& header) {
    recordStart = static_cast<std::uint64_t>(daStream.position);
    header = daStream.Read(HeaderSize);
    return header.empty() || header.size() == HeaderSize || Fail(StatusHeader);
}

bool NsasFile::ReadCnHeader(Header& names) {
    names = cnStream.Read(NameRecordSize);
    return names.size() == NameRecordSize || Fail(StatusNameRecord);
}

// The info row and the name row are made from the first header, which is then read again.
bool NsasFile::UnreadDaHeader() {
    const std::int64_t moved = daStream.position;
    daStream.position = 0;
    return moved == static_cast<std::int64_t>(HeaderSize) || Fail(StatusHeader);
}

// Only forwards: a header read in the wrong place may hold a negative count, and must not be met again.
bool NsasFile::SkipReadDa(Header header) {
    const int numPoints = GetHeaderInt(header, NumPointsOffset);
    return (numPoints >= 0 && daStream.Skip(BlocksOf(numPoints) + FillerSize)) || Fail(StatusBlockEnd);
}

bool NsasFile::SkipReadCn() {
    return !cnStream.file.IsOpen() || cnStream.Skip(ValueRecordSize) || Fail(StatusValueRecordFiller);
}

bool NsasFile::ReadSpectraValue(float& value) {
    ByteCursor cursor(daStream.Read(sizeof value));
    value = cursor.ReadFloat();
    return !cursor.HasFailed() || Fail(StatusValues);
}

bool NsasFile::ReadConstituensValue(float& value) {
    ByteCursor cursor(cnStream.Read(sizeof value));
    value = cursor.ReadFloat();
    return !cursor.HasFailed() || Fail(StatusValueRecord);
}

int NsasFile::GetHeaderInt(Header header, std::size_t offset) {
    return Nsas::GetInt(header, offset);
}

void NsasFile::GetHeaderChar(std::string& target, Header header, std::size_t offset, std::size_t length) {
    target = Nsas::GetText(header, offset, length);
}

int NsasFile::NumWavelengths() const {
    const float steps = (lastWavelength - firstWavelength) / wavelengthStep;
    return static_cast<int>(static_cast<double>(steps) + 1.0);
}

float NsasFile::WavelengthOf(int column) const {
    return static_cast<float>(column - FirstWavelengthColumn) * wavelengthStep + firstWavelength;
}

// Takes one spectrum into the axis and moves behind its values.
bool NsasFile::MeasureSpectrum(Header header) {
    const int numPoints = GetHeaderInt(header, NumPointsOffset);
    const auto start = static_cast<float>(GetHeaderInt(header, StartWavelengthOffset));
    const auto end = static_cast<float>(GetHeaderInt(header, EndWavelengthOffset));
    const int constituents = GetHeaderInt(header, NumConstituentsOffset);
    const float step = numPoints < 1 ? 0.0F : (end - start) / static_cast<float>(numPoints);
    const float last = end - step;
    if (start <= 0 || last <= 0 || last < start || numPoints < 1 || step <= 0 || constituents < 0) {
        return Fail(StatusHeaderContent);
    }
    if (!haveFirstSpectrum) {
        haveFirstSpectrum = true;
        firstWavelength = start;
        lastWavelength = last;
        wavelengthStep = step;
        numConstituents = static_cast<std::int16_t>(constituents);
    } else if (step != wavelengthStep || constituents != numConstituents) {
        return Fail(StatusHeaderMismatch);
    } else {
        // The lowest end too: the table is as wide as the spectrum that ends first.
        firstWavelength = std::min(firstWavelength, start);
        lastWavelength = std::min(lastWavelength, last);
    }
    return daStream.Skip(BlocksOf(numPoints) + FillerSize) || Fail(StatusValues);
}

void NsasFile::Close() {
    const bool wasOpen = daStream.file.IsOpen();
    spectra.Clear();
    daStream = {};
    cnStream = {};
    if (wasOpen) {
        FormatReader::Close();
    }
}

void NsasFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, "Failed to open stream for reading."},
        {StatusReadModeOnly, "Wrong file mode. The executed operation is only supported in read mode."},
        {StatusHeader,
         "DA-file corrupt! Could not read the whole header for spectra (possibly end of file)."},
        {StatusHeaderContent,
         "Spectra header in DA-file is corrupt! Spectra header contains corrupt information about "
         "starting, ending wavelength, or number of data points."},
        {StatusHeaderMismatch,
         "Spectra header in DA-file is corrupt! Spectra header contains information that doesn't "
         "match earlier read spectra. Spectra wavelengths or number of constituents does not match."},
        {StatusFiller, "DA-file corrupt! Could not read through the unused filler (possibly end of file)."},
        {StatusValues, "DA-file corrupt! Could not read all the data for spectra (possibly end of file)."},
        {StatusBlockEnd,
         "DA-file corrupt! Could not read through the spectra filler (possibly end of file)."},
        {StatusNameRecord,
         "CN-file corrupt! Could not read the whole name record for constituents (possibly end of "
         "file)."},
        {StatusValueRecord,
         "CN-file corrupt! Could not read the whole value record for constituents (possibly end of "
         "file)."},
        {StatusValueRecordFiller,
         "CN-file corrupt! Could not read through the value record filler (possibly end of file)."},
        {StatusCompanionSize,
         "CN-file corrupt! File size do not match any known version of CN file formats."},
    };
    CopyStatusText(Texts, buffer, size);
}

int NsasFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    sizeKnown = false;
    spectra.Clear();
    daStream = {MappedFile(fileName)};
    if (!daStream.file.IsOpen()) {
        status = StatusStreamFailed;
        return status;
    }
    FNClass companion(fileName);
    companion.extension = ".cn";
    cnStream = {MappedFile(companion.Merge().c_str())};
    if (!cnStream.file.IsOpen()) {
        // The instruments' own computers wrote names in capitals and didn't tell the two apart.
        companion.extension = ".CN";
        cnStream = {MappedFile(companion.Merge().c_str())};
    }
    if (cnStream.file.IsOpen()) {
        GetContext()->budget.AddInput(companion.Merge().c_str());
    }
    return IsComplete() ? OpenSpectra(options) : status;
}

int NsasFile::OpenSpectra(const NvImportOpenOptions* options) {
    std::optional<std::span<const std::uint8_t>> companion;
    if (cnStream.file.IsOpen()) {
        companion = cnStream.file.GetBytes();
    }
    switch (spectra.Open(daStream.file.GetBytes(), companion, options, *GetContext())) {
        case NsasSpectra::Outcome::NoSpectrum:
            status = StatusHeaderContent;
            failurePlace.byte = 0;
            break;
        case NsasSpectra::Outcome::NoSuchPart:
            status = StatusHeaderContent;
            failureText = "There is no spectrum '" +
                          CompleteOptions(options).GetText(CompleteOptions::Part).value_or("") +
                          "' in the file.";
            break;
        case NsasSpectra::Outcome::Opened:
            break;
    }
    return status;
}

int NsasFile::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    if (IsComplete()) {
        numRows = spectra.GetNumRows();
        numCols = spectra.GetNumCols();
        sizeKnown = true;
        return status;
    }
    numRows = numCols = 0;
    haveFirstSpectrum = false;
    daStream.position = 0;
    int numSpectra = 0;
    Header header;
    while (ReadDaHeader(header) && !header.empty() && MeasureSpectrum(header)) {
        GetContext()->ThrowIfStopped();
        ++numSpectra;
    }
    if (status != StatusOk) {
        numRows = numCols = -1;
        return status;
    }
    if (numSpectra > 0) {
        numRows = numSpectra + FirstSpectrumRow - 1;
        numCols = NumWavelengths() + FirstWavelengthColumn - 1;
        numCols += cnStream.file.IsOpen() ? numConstituents : 0;
    }
    sizeKnown = true;
    return status;
}

void NsasFile::MakeInfoRow(ReadSpreadSheetData* sink, Header header) const {
    if (numRows >= InfoRow) {
        const int model = GetHeaderInt(header, InstrumentModelOffset);
        sink->Set(1, InfoRow, NvString::Format("/Instrument model %d", model).c_str());
    }
}

bool NsasFile::MakeNameRow(ReadSpreadSheetData* sink, int row, int lastColumn, int firstColumn) {
    static constexpr const char* FixedNames[] = {"SampleNo", "SpectrumNo", "SampleName", "Time"};
    Header names;
    if (cnStream.file.IsOpen()) {
        // A record a spectrum; with names, the size of three records more.
        if (cnStream.FileSize() == (std::int64_t{numRows} + 1) * ValueRecordSize) {
            if (!ReadCnHeader(names)) {
                return false;
            }
        } else if (cnStream.FileSize() != (std::int64_t{numRows} - 2) * ValueRecordSize) {
            return Fail(StatusCompanionSize);
        }
    }
    const int lastWavelengthColumn = NumWavelengths() + FirstWavelengthColumn - 1;
    std::string name;
    for (int column = firstColumn; column <= lastColumn; ++column) {
        if (column < FirstWavelengthColumn) {
            name = FixedNames[column - 1];
        } else if (column <= lastWavelengthColumn) {
            name = "w" + FormatG(static_cast<double>(WavelengthOf(column)));
        } else {
            const auto constituent = static_cast<std::size_t>(column - lastWavelengthColumn - 1);
            GetHeaderChar(name, names, constituent * ConstituentNameSize, ConstituentNameSize);
        }
        sink->Set(column, row, name.c_str());
    }
    return true;
}

bool NsasFile::MakeValueRow(ReadSpreadSheetData* sink, Header header, int row, int lastColumn,
                            int firstColumn) {
    const int start = GetHeaderInt(header, StartWavelengthOffset);
    const int end = GetHeaderInt(header, EndWavelengthOffset);
    const int lastWavelengthColumn = NumWavelengths() + FirstWavelengthColumn - 1;
    std::string text;
    for (int column = firstColumn; column <= lastColumn; ++column) {
        float value = 0;
        if (column == 1) {
            sink->Set(column, row, row - FirstSpectrumRow + 1);
        } else if (column == 2) {
            sink->Set(column, row, GetHeaderInt(header, SpectrumNumberOffset));
        } else if (column == 3) {
            GetHeaderChar(text, header, SampleNameOffset, SampleNameSize);
            sink->Set(column, row, text.c_str());
        } else if (column == 4) {
            sink->Set(column, row, GetDateText(header).c_str());
        } else if (column <= lastWavelengthColumn) {
            // A column outside the spectrum's own range stays unset and takes no value.
            const int wavelength = static_cast<int>(WavelengthOf(column));
            if (start <= wavelength && wavelength <= end) {
                if (!ReadSpectraValue(value)) {
                    return false;
                }
                sink->Set(column, row, value);
            }
        } else {
            if (!ReadConstituensValue(value)) {
                return false;
            }
            sink->Set(column, row, value);
        }
    }
    return true;
}

bool NsasFile::ReadSpectrumRow(ReadSpreadSheetData* sink, Header header, int row) {
    if (!daStream.Skip(FillerSize)) {
        return Fail(StatusFiller);
    }
    if (!MakeValueRow(sink, header, row, numCols, 1)) {
        return false;
    }
    // A whole block where the values end exactly on a block's end.
    const std::int64_t used = ValueSize * GetHeaderInt(header, NumPointsOffset) % BlockSize;
    if (!daStream.Skip(BlockSize - used)) {
        return Fail(StatusBlockEnd);
    }
    // Backwards, when there are more constituents than a record has room for.
    const std::int64_t unusedValues = ValuesInRecord - numConstituents;
    if (cnStream.file.IsOpen() && !cnStream.Skip(unusedValues * ValueSize)) {
        return Fail(StatusValueRecordFiller);
    }
    return true;
}

bool NsasFile::ReadRow(ReadSpreadSheetData* sink, Header header, int row) {
    if (row == InfoRow) {
        MakeInfoRow(sink, header);
        return UnreadDaHeader();
    }
    if (row == NameRow) {
        return MakeNameRow(sink, row, numCols, 1) && UnreadDaHeader();
    }
    if (row <= numRows) {
        return ReadSpectrumRow(sink, header, row);
    }
    return SkipReadDa(header) && SkipReadCn();
}

int NsasFile::Read(ReadSpreadSheetData* sink) {
    if (IsComplete() && status == StatusOk) {
        return WithinBudget(StatusValues, [&] {
            spectra.Read(*sink, *GetContext());
            return status;
        });
    }
    if (status == StatusOk && !sizeKnown) {
        EstablishSize();
    }
    if (status != StatusOk) {
        return status;
    }
    daStream.position = 0;
    cnStream.position = 0;
    Header header;
    int row = 0;
    while (ReadDaHeader(header) && !header.empty() && ReadRow(sink, header, ++row)) {
        GetContext()->ThrowIfStopped();
    }
    return status;
}

std::vector<FileContents::Part> NsasFile::ListParts() {
    if (IsComplete()) {
        return spectra.ListParts();
    }
    std::vector<Part> parts;
    if (EstablishSize() != StatusOk) {
        return parts;
    }
    daStream.position = 0;
    Header header;
    std::string name;
    while (ReadDaHeader(header) && !header.empty() && MeasureSpectrum(header)) {
        GetHeaderChar(name, header, SampleNameOffset, SampleNameSize);
        const int number = static_cast<int>(parts.size()) + 1;
        parts.push_back(
            {"spectrum", name, number, GetHeaderInt(header, NumPointsOffset), 1, false, GetDateText(header)});
    }
    return parts;
}

std::vector<FileContents::Fact> NsasFile::ListFacts() {
    if (IsComplete()) {
        return spectra.ListFacts();
    }
    if (EstablishSize() != StatusOk || numRows == 0) {
        return {};
    }
    return {{"spectra", std::to_string(numRows - FirstSpectrumRow + 1)},
            {"points", std::to_string(NumWavelengths())},
            {"first X", FormatG(static_cast<double>(firstWavelength)) + " nm"},
            {"last X", FormatG(static_cast<double>(lastWavelength)) + " nm"},
            {"spacing", FormatG(static_cast<double>(wavelengthStep)) + " nm"},
            {"constituents", cnStream.file.IsOpen() ? std::to_string(numConstituents) : "no CN file"}};
}

NsasFileFactory::NsasFileFactory()
    : SprFileFactory("NSAS File", "NSAS Files (*.da)", nullptr, 1, ".da\0", 0, 1, 0, 1, 0, 1) {}

MyKindOfFile NsasFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* NsasFileFactory::GetSpreadsheetFile() {
    return new NsasFile;
}

static NsasFileFactory nsasFileFactory;

// There is no mark, but one record follows the other up to the end of the file.
static const FormatRecogniser nsasRecogniser("NSAS File", "nsas", {},
                                             [](const char* path, std::string_view /*head*/) {
                                                 const MappedFile file(path);
                                                 return NsasSpectra::IsChain(file.GetBytes())
                                                            ? FormatRecogniser::Evidence::Proof
                                                            : FormatRecogniser::Evidence::None;
                                             });
