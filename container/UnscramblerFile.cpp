#include "container/UnscramblerFile.h"

#include <cmath>
#include <limits>

#include "base/Ascii.h"
#include "base/CopyMessage.h"
#include "base/NumberParser.h"
#include "base/TolerantEqual.h"

namespace {

// The program's own line buffer held 256 bytes with their NUL, and so did its word buffer.
constexpr std::size_t MaxLineLength = 255;
constexpr std::size_t MaxWordLength = 255;
constexpr std::size_t MaxNameLength = 59;

constexpr double MissingNumber = -9.973e+23;

// How far a count may be from a whole number.
constexpr double WholeTolerance = 1e-30;
// The table is at most this much larger than a count, in either direction.
constexpr int MaxShift = 2;
// Larger exponents give infinity or zero all the same.
constexpr int MaxExponent = 100000;

constexpr int NoLimit = std::numeric_limits<int>::max();

// The results of ReadNextValue beside a status: the value is there, or the line is used up.
constexpr int ValueFound = 0;
constexpr int LineUsedUp = -1;

bool StartsWithDigit(std::string_view text) {
    return !text.empty() && IsDigit(text.front());
}

// An optional sign at the front; true for a minus.
bool TakeSign(std::string_view& text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return negative;
}

// Digits, and behind a point digits of which each weighs a tenth of the one before.
double TakeMantissa(std::string_view& text) {
    double value = 0;
    for (; StartsWithDigit(text); text.remove_prefix(1)) {
        value = value * 10 + (text.front() - '0');
    }
    if (!text.starts_with('.')) {
        return value;
    }
    text.remove_prefix(1);
    double weight = 10;
    for (; StartsWithDigit(text); text.remove_prefix(1)) {
        value += (text.front() - '0') / weight;
        weight *= 10;
    }
    return value;
}

// The digits behind an E and its sign; none are a 1.
int TakeExponent(std::string_view& text) {
    if (!text.starts_with('E') && !text.starts_with('e')) {
        return 0;
    }
    text.remove_prefix(1);
    const bool negative = TakeSign(text);
    int exponent = StartsWithDigit(text) ? 0 : 1;
    for (; StartsWithDigit(text); text.remove_prefix(1)) {
        exponent = exponent < MaxExponent ? exponent * 10 + (text.front() - '0') : exponent;
    }
    return negative ? -exponent : exponent;
}

double Scale(double value, int exponent) {
    if (value == 0) {
        return value;
    }
    double power = 1;
    double square = 10;
    for (int rest = std::abs(exponent); rest > 0; rest /= 2) {
        power *= rest % 2 != 0 ? square : 1;
        square *= square;
    }
    return exponent < 0 ? value / power : value * power;
}

}  // namespace

UnscramblerFile::UnscramblerFile() = default;
UnscramblerFile::~UnscramblerFile() = default;

bool UnscramblerFile::IsUnscramblerFile(const char* path) {
    LineReader file(path);
    LineReader::Line line;
    std::string_view text;
    while (file.IsOpen() && text.empty() && !line.atEnd) {
        line = file.Next();
        text = {line.text, line.length};
        SkipSpace(text);
    }
    return text.starts_with('%');
}

int UnscramblerFile::ColShiftOf(const MatrixHeader& matrix) {
    return matrix.observationNamesOffset == NoOffset ? 0 : 2;
}

int UnscramblerFile::RowShiftOf(const MatrixHeader& matrix) {
    return matrix.variableNamesOffset == NoOffset ? 0 : 1;
}

// Wants a current matrix.
const UnscramblerFile::MatrixHeader& UnscramblerFile::Current() const {
    return matrices[static_cast<std::size_t>(currentMatrix)];
}

bool UnscramblerFile::HasSize() {
    if (status == StatusOk && currentMatrix < 0) {
        status = StatusNotUnscrambler;
    }
    return status == StatusOk;
}

// The next line without the blanks before its first character. False for one that is too long.
bool UnscramblerFile::ReadLine(std::string_view& line, bool& atEnd) {
    const LineReader::Line read = stream.Next();
    atEnd = read.atEnd;
    line = {read.text, read.length};
    SkipSpace(line);
    if (line.size() > MaxLineLength) {
        return false;
    }
    line = line.substr(0, line.find('\0'));
    return true;
}

void UnscramblerFile::SeekTo(std::int64_t offset) {
    stream.Seek(static_cast<std::uint64_t>(offset));
    workLine = {};
    workLineIsLast = false;
}

// A percent sign, a sign, digits: what is used goes from the front of the line.
int UnscramblerFile::ReadNextValue(std::string_view& line, double& value, bool& missing) {
    missing = false;
    value = 0;
    if (line.starts_with('%')) {
        line.remove_prefix(1);
    }
    SkipSpace(line);
    if (line.empty()) {
        return LineUsedUp;
    }
    if (line.starts_with('m')) {
        missing = true;
        line.remove_prefix(1);
        return ValueFound;
    }
    std::string_view rest = line;
    const bool negative = TakeSign(rest);
    if (!StartsWithDigit(rest) && !(rest.starts_with('.') && StartsWithDigit(rest.substr(1)))) {
        line.remove_prefix(1);
        return StatusIllegalCharacter;
    }
    value = TakeMantissa(rest);
    value = Scale(value, TakeExponent(rest));
    value = negative ? -value : value;
    line = rest;
    if (!line.empty() && !IsSpace(line.front())) {
        return StatusIllegalCharacter;
    }
    SkipSpace(line);
    missing = TolerantEqual(value, MissingNumber);
    return ValueFound;
}

bool UnscramblerFile::ReadCount(std::string_view& line, int& count) {
    double value = 0;
    bool missing = false;
    if (ReadNextValue(line, value, missing) != ValueFound || missing) {
        return false;
    }
    if (!(value >= 1) || value > NoLimit - MaxShift ||
        std::fabs(value - std::floor(value)) > WholeTolerance) {
        return false;
    }
    count = static_cast<int>(value);
    return true;
}

// The line "%rows columns name".
bool UnscramblerFile::AddMatrix(std::string_view line) {
    MatrixHeader& matrix = matrices.emplace_back();
    if (!ReadCount(line, matrix.numObservations) || !ReadCount(line, matrix.numVariables)) {
        status = StatusMatrixHeader;
        return false;
    }
    matrix.name = TrimSpace(line).substr(0, MaxNameLength);
    if (matrix.name.empty()) {
        matrix.name = "Matrix " + std::to_string(matrices.size());
    }
    matrix.dataOffset = static_cast<std::int64_t>(stream.Tell());
    return true;
}

// The line "#L" or "#C" of the matrix opened last.
bool UnscramblerFile::AddNames(std::string_view line, std::int64_t offset) {
    const char kind = line.size() > 1 ? line[1] : '\0';
    if (!matrices.empty() && (kind == 'L' || kind == 'l')) {
        matrices.back().observationNamesOffset = offset;
    } else if (!matrices.empty() && (kind == 'C' || kind == 'c')) {
        matrices.back().variableNamesOffset = offset;
    } else {
        status = StatusNotUnscrambler;
    }
    return status == StatusOk;
}

int UnscramblerFile::IndexMatrices() {
    bool atEnd = false;
    while (status == StatusOk) {
        const auto offset = static_cast<std::int64_t>(stream.Tell());
        std::string_view line;
        // The line that meets the end of the file isn't looked at.
        if (!ReadLine(line, atEnd) || atEnd) {
            break;
        }
        if (line.starts_with('%')) {
            AddMatrix(line);
        } else if (line.starts_with('#')) {
            AddNames(line, offset);
        }
    }
    if (status == StatusOk && matrices.empty()) {
        status = StatusNotUnscrambler;
    }
    return status;
}

void UnscramblerFile::Close() {
    stream.Close();
    workLine = {};
    FormatReader::Close();
}

int UnscramblerFile::GetNumCols() {
    return HasSize() ? Current().numVariables + ColShiftOf(Current()) : -1;
}

int UnscramblerFile::GetNumRows() {
    return HasSize() ? Current().numObservations + RowShiftOf(Current()) : -1;
}

void UnscramblerFile::GetErrorMessage(char* buffer, unsigned int size) {
    switch (status) {
        case StatusStreamFailed:
            CopyMessage("Unable to open file.", buffer, size);
            break;
        case StatusEmptyFile:
            CopyMessage("The selected file is empty.", buffer, size);
            break;
        case StatusNotUnscrambler:
            CopyMessage("The file does not appear to be a valid Unscrambler file.", buffer, size);
            break;
        case StatusMatrixHeader:
            CopyMessage(
                "An error occurred while reading matrix header in file. The file does not appear to be a "
                "valid Unscrambler file.",
                buffer, size);
            break;
        case StatusData:
            CopyMessage(
                "An error occurred while reading data from file. Either an illegal character was found or "
                "data was missing.",
                buffer, size);
            break;
        case StatusObservationNames:
            CopyMessage("An error occurred while reading observation names from file.", buffer, size);
            break;
        case StatusVariableNames:
            CopyMessage("An error occurred while reading variable names from file.", buffer, size);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

int UnscramblerFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    matrices.clear();
    currentMatrix = -1;
    stream = LineReader(fileName);
    if (!stream.IsOpen()) {
        status = StatusStreamFailed;
        return status;
    }
    std::string_view first;
    std::int64_t offset = 0;
    LineReader::Line line;
    while (first.empty()) {
        if (line.atEnd) {
            status = StatusEmptyFile;
            return status;
        }
        offset = static_cast<std::int64_t>(stream.Tell());
        line = stream.Next();
        first = {line.text, line.length};
        SkipSpace(first);
    }
    if (!first.starts_with('%')) {
        status = StatusNotUnscrambler;
        return status;
    }
    SeekTo(offset);
    IndexMatrices();
    currentMatrix = matrices.empty() ? -1 : 0;
    return status;
}

int UnscramblerFile::EstablishSize() {
    return StatusSizeUnused;
}

// Not called by Open: for a host's class that asks.
int UnscramblerFile::SetOptions() {
    const int index = matrices.size() > 1 ? GetDatasetIndex() : 0;
    if (status == StatusAbortedByUser) {
        stream.Close();
        return status;
    }
    return SetCurrentDataSet(index);
}

int UnscramblerFile::GetDatasetIndex() {
    return 0;
}

int UnscramblerFile::GetDataSetList(std::vector<std::string>& names) {
    if (matrices.empty()) {
        status = StatusNotUnscrambler;
        return status;
    }
    for (const MatrixHeader& matrix : matrices) {
        names.push_back(matrix.name);
    }
    currentMatrix = -1;
    return StatusOk;
}

int UnscramblerFile::SetCurrentDataSet(int index) {
    if (status != StatusOk) {
        return status;
    }
    if (matrices.empty()) {
        status = StatusNotUnscrambler;
    } else if (index < 0 || index >= GetNumberOfDataSets()) {
        status = StatusIndexOutOfRange;
    } else {
        currentMatrix = index;
    }
    return status;
}

std::vector<FileContents::Part> UnscramblerFile::ListParts() {
    std::vector<Part> parts;
    for (const MatrixHeader& matrix : matrices) {
        const int number = static_cast<int>(parts.size()) + 1;
        const bool named = ColShiftOf(matrix) > 0 || RowShiftOf(matrix) > 0;
        parts.push_back({"matrix", matrix.name, number, matrix.numVariables + ColShiftOf(matrix),
                         matrix.numObservations + RowShiftOf(matrix), false, named ? "with names" : ""});
    }
    return parts;
}

bool UnscramblerFile::SelectPart(int number) {
    return SetCurrentDataSet(number > 0 ? number - 1 : -1) == StatusOk;
}

// The next value of the data, from as many lines as it takes.
int UnscramblerFile::ReadNextDataValue(double& value, bool& missing) {
    int result = ReadNextValue(workLine, value, missing);
    while (result == LineUsedUp && !workLineIsLast) {
        if (!ReadLine(workLine, workLineIsLast)) {
            return StatusIllegalCharacter;
        }
        result = ReadNextValue(workLine, value, missing);
    }
    return result;
}

// Words may stand in lines of any length. Empty at the end of the file.
std::string_view UnscramblerFile::ReadNextWord() {
    SkipSpace(workLine);
    while (workLine.empty() && !workLineIsLast) {
        const LineReader::Line line = stream.Next();
        workLineIsLast = line.atEnd;
        workLine = {line.text, line.length};
        SkipSpace(workLine);
    }
    std::size_t length = 0;
    while (length < workLine.size() && length < MaxWordLength && !IsSpace(workLine[length])) {
        ++length;
    }
    const std::string_view word = workLine.substr(0, length);
    workLine.remove_prefix(length);
    return word;
}

int UnscramblerFile::ReadDataRow(ReadSpreadSheetData* sink, int row, int maxCol, int minCol) {
    const MatrixHeader& matrix = Current();
    const int colShift = ColShiftOf(matrix);
    for (int col = 1; col <= matrix.numVariables; ++col) {
        double value = 0;
        bool missing = false;
        const int result = ReadNextDataValue(value, missing);
        if (result != ValueFound) {
            return result;
        }
        if (sink == nullptr || col < minCol || col > maxCol) {
            continue;
        }
        if (missing) {
            sink->Set(col + colShift, row, "");
        } else {
            sink->Set(col + colShift, row, value);
        }
    }
    return ValueFound;
}

int UnscramblerFile::ReadData(ReadSpreadSheetData* sink, int maxRow, int maxCol, int minRow, int minCol) {
    const MatrixHeader& matrix = Current();
    const int rowShift = RowShiftOf(matrix);
    SeekTo(matrix.dataOffset);
    int wanted = sink->NextRowToRead(rowShift);
    for (int row = 1; row <= matrix.numObservations; ++row) {
        const int sheetRow = row + rowShift;
        // The values of a row that isn't wanted are taken and dropped.
        ReadSpreadSheetData* target = nullptr;
        if (sheetRow == wanted) {
            wanted = sink->NextRowToRead(sheetRow);
            target = row >= minRow && row <= maxRow ? sink : nullptr;
        }
        const int result = ReadDataRow(target, sheetRow, maxCol, minCol);
        if (result != ValueFound) {
            return result;
        }
    }
    return StatusOk;
}

// A row that isn't wanted takes no name, so that the names behind it move up. Tables that were imported
// with some of their rows have their names like this.
int UnscramblerFile::ReadObservationNames(ReadSpreadSheetData* sink, int maxRow, int minRow) {
    const MatrixHeader& matrix = Current();
    if (matrix.observationNamesOffset == NoOffset) {
        return StatusOk;
    }
    const int rowShift = RowShiftOf(matrix);
    int wanted = sink->NextRowToRead(rowShift);
    SeekTo(matrix.observationNamesOffset);
    ReadNextWord();
    for (int row = 1; row <= matrix.numObservations; ++row) {
        const int sheetRow = row + rowShift;
        if (sheetRow != wanted) {
            continue;
        }
        wanted = sink->NextRowToRead(sheetRow);
        if (row >= minRow && row <= maxRow) {
            sink->Set(1, sheetRow, row);
            sink->Set(2, sheetRow, std::string(ReadNextWord()).c_str());
        }
    }
    return StatusOk;
}

int UnscramblerFile::ReadVariableNames(ReadSpreadSheetData* sink, int maxCol, int minCol) {
    const MatrixHeader& matrix = Current();
    if (matrix.variableNamesOffset == NoOffset) {
        return StatusOk;
    }
    SeekTo(matrix.variableNamesOffset);
    ReadNextWord();
    for (int col = 1; col <= matrix.numVariables; ++col) {
        if (col >= minCol && col <= maxCol) {
            sink->Set(col + ColShiftOf(matrix), 1, std::string(ReadNextWord()).c_str());
        }
    }
    return StatusOk;
}

int UnscramblerFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (currentMatrix < 0) {
        status = StatusNoMatrix;
    } else if (ReadData(sink, NoLimit, NoLimit, 1, 1) != StatusOk) {
        status = StatusData;
    } else if (ReadObservationNames(sink, NoLimit, 1) != StatusOk) {
        status = StatusObservationNames;
    } else if (ReadVariableNames(sink, NoLimit, 1) != StatusOk) {
        status = StatusVariableNames;
    }
    return status;
}

UnscramblerFileFactory::UnscramblerFileFactory(signed char priority)
    : SprFileFactory("Unscrambler File", "Unscrambler Files (*.uns; *.inp)", nullptr, 2, ".uns\0.inp\0", 0, 1,
                     0, 1, 0, priority) {}

MyKindOfFile UnscramblerFileFactory::IsMyKindOfFile(const char* fileName) {
    return UnscramblerFile::IsUnscramblerFile(fileName) ? KindProbably : KindNo;
}

SpreadsheetFile* UnscramblerFileFactory::GetSpreadsheetFile() {
    return new UnscramblerFile;
}

static UnscramblerFileFactory unscramblerFileFactory(1);
