#include "container/UnscramblerFile.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "base/TolerantEqual.h"
#include "base/Unicode.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"

namespace {

// By the classic rules lines and words fit buffers of 256 bytes with their NUL.
constexpr std::size_t MaxLineLength = 255;
constexpr std::size_t MaxWordLength = 255;
constexpr std::size_t MaxNameLength = 59;
constexpr std::size_t MaxNamesInNote = 20;

constexpr double MissingNumber = -9.973e+23;

// How far a count may be from a whole number.
constexpr double WholeTolerance = 1e-30;
// The table is at most this much larger than a count, in either direction.
constexpr int MaxShift = 2;
// Larger exponents give infinity or zero all the same.
constexpr int MaxExponent = 100000;

constexpr int NoLimit = std::numeric_limits<int>::max();

constexpr std::string_view MissingWord = "m";
// The stop of a read is looked for so often.
constexpr int RowsBetweenLooks = 1024;

// The results of ReadNextValue beside a status: the value is there, or the line is used up.
constexpr int ValueFound = 0;
constexpr int LineUsedUp = -1;

// A number that isn't below 0 is far from it.
bool IsMissingNumber(double value) {
    return value < 0 && TolerantEqual(value, MissingNumber);
}

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

// Whether the first word of a line is a number or a missing value.
bool BeginsWithValue(std::string_view line) {
    double value = 0;
    const std::size_t length = line.starts_with(MissingWord) ? MissingWord.size() : ParseDouble(line, value);
    return line.empty() || (length > 0 && (length == line.size() || IsSpace(line[length])));
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

// The next line without the blanks before its first character. False for one that is too long by the classic
// rules.
bool UnscramblerFile::ReadLine(std::string_view& line, bool& atEnd) {
    lineStart = stream.Tell();
    const LineReader::Line read = stream.Next();
    atEnd = read.atEnd;
    line = {read.text, read.length};
    SkipSpace(line);
    if (IsComplete()) {
        line = TrimSpace(line);
        ++lineNumber;
        return true;
    }
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
    missing = IsMissingNumber(value);
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
        failurePlace.byte = lineStart;
        return false;
    }
    matrix.name =
        IsComplete() ? ToText(TrimSpace(line)) : std::string(TrimSpace(line).substr(0, MaxNameLength));
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
    } else if (!IsComplete()) {
        status = StatusNotUnscrambler;
        failurePlace.byte = lineStart;
    }
    return status == StatusOk;
}

int UnscramblerFile::IndexMatrices() {
    bool atEnd = false;
    while (status == StatusOk) {
        const auto offset = static_cast<std::int64_t>(stream.Tell());
        std::string_view line;
        // By the classic rules the line that meets the end of the file isn't looked at.
        if (atEnd || !ReadLine(line, atEnd) || (atEnd && !IsComplete())) {
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
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, "Unable to open file."},
        {StatusEmptyFile, "The selected file is empty."},
        {StatusNotUnscrambler, "The file does not appear to be a valid Unscrambler file."},
        {StatusMatrixHeader,
         "An error occurred while reading matrix header in file. The file does not appear to be a valid "
         "Unscrambler file."},
        {StatusData,
         "An error occurred while reading data from file. Either an illegal character was found or data was "
         "missing."},
        {StatusObservationNames, "An error occurred while reading observation names from file."},
        {StatusVariableNames, "An error occurred while reading variable names from file."}};
    CopyStatusText(Texts, buffer, size);
}

int UnscramblerFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    matrices.clear();
    currentMatrix = -1;
    isChosen = false;
    encoding.reset();
    if (IsComplete()) {
        const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Encoding);
        encoding = wanted ? CodePage::Find(*wanted) : std::nullopt;
    }
    OpenMatrices(fileName);
    return IsComplete() && status == StatusOk ? ChoosePart(options) : status;
}

int UnscramblerFile::ChoosePart(const NvImportOpenOptions* options) {
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Part);
    if (!wanted) {
        return status;
    }
    const auto places = FindParts(ListParts(), *wanted);
    if (!places || places->size() != 1) {
        failureText = "There is no matrix \"" + *wanted + "\" in the file";
        status = StatusIndexOutOfRange;
        return status;
    }
    currentMatrix = static_cast<int>(places->front());
    isChosen = true;
    return status;
}

int UnscramblerFile::OpenMatrices(const char* fileName) {
    lineNumber = 0;
    stream = LineReader(fileName);
    stream.SetStop(GetContext()->stop);
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
        failurePlace.byte = static_cast<std::uint64_t>(offset);
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

std::vector<FileContents::Fact> UnscramblerFile::ListFacts() {
    if (!IsComplete()) {
        return {};
    }
    return {{"matrices", static_cast<double>(matrices.size()), ""}};
}

bool UnscramblerFile::SelectPart(int number) {
    isChosen = true;
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

// A row that isn't wanted takes no name, so that the names behind it move up.
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
    } else if (IsComplete()) {
        status = ReadComplete(sink);
    } else {
        status = ReadClassic(sink);
    }
    if (status == StatusData) {
        failurePlace.byte = lineStart;
    }
    return status;
}

int UnscramblerFile::ReadClassic(ReadSpreadSheetData* sink) {
    if (ReadData(sink, NoLimit, NoLimit, 1, 1) != StatusOk) {
        return StatusData;
    }
    if (ReadObservationNames(sink, NoLimit, 1) != StatusOk) {
        return StatusObservationNames;
    }
    if (ReadVariableNames(sink, NoLimit, 1) != StatusOk) {
        return StatusVariableNames;
    }
    return StatusOk;
}

// By the encoding that is asked for, else UTF-8 where the bytes are that, else Windows-1252.
std::string UnscramblerFile::ToText(std::string_view bytes) {
    if (encoding) {
        return encoding->ToUtf8(bytes);
    }
    std::string converted;
    const std::string_view text = AsUtf8(bytes, converted);
    if (text.data() != bytes.data()) {
        AddNote({"encoding", 1, "", "names are no UTF-8 and were read as Windows-1252"});
    }
    return std::string(text);
}

// The next line of the matrix, false where another one begins or the file ends.
bool UnscramblerFile::NextBlockLine() {
    if (workLineIsLast) {
        workLine = {};
        return false;
    }
    ReadLine(workLine, workLineIsLast);
    if (workLine.starts_with('%')) {
        workLine = {};
        workLineIsLast = true;
    }
    return !workLineIsLast || !workLine.empty();
}

// The words of names in front of values, as many as there can be, up to another block.
void UnscramblerFile::PassNames(int count) {
    ReadNextWord();
    for (int word = 0; word < count; ++word) {
        SkipSpace(workLine);
        while (workLine.empty()) {
            if (!NextBlockLine() || workLine.starts_with('#')) {
                return;
            }
        }
        ReadNextWord();
    }
}

// A comment, and the lines behind it that begin with no value.
void UnscramblerFile::PassComment() {
    do {
        ++comments;
    } while (NextBlockLine() && !workLine.starts_with('#') && !BeginsWithValue(workLine));
}

// The next word that stands for a value; empty behind the last one. Names and comments are passed over.
std::string_view UnscramblerFile::NextValueWord() {
    SkipSpace(workLine);
    while (workLine.empty() || workLine.front() == '#') {
        if (workLine.empty()) {
            if (!NextBlockLine()) {
                return {};
            }
            continue;
        }
        const char kind = workLine.size() > 1 ? ToUpper(workLine[1]) : '\0';
        if (kind == 'L' || kind == 'C') {
            PassNames(kind == 'L' ? Current().numObservations : Current().numVariables);
            SkipSpace(workLine);
        } else {
            PassComment();
        }
    }
    const auto end = std::find_if(workLine.begin(), workLine.end(), IsSpace);
    const auto length = static_cast<std::size_t>(end - workLine.begin());
    const std::string_view word = workLine.substr(0, length);
    workLine.remove_prefix(length);
    return word;
}

// Numbers side by side go as a run.
void UnscramblerFile::PutRow(CellOutput& output, int row, const std::vector<std::optional<double>>& values) {
    int col = ColShiftOf(Current()) + 1;
    const auto putRun = [&] {
        if (!run.empty()) {
            output.RowRun(col - static_cast<int>(run.size()), row, run);
        }
        run.clear();
    };
    for (const std::optional<double>& value : values) {
        if (value) {
            run.push_back(*value);
        } else {
            putRun();
            output.Missing(col, row);
        }
        ++col;
    }
    putRun();
}

int UnscramblerFile::ReadAllValues(CellOutput& output, ValueCount& count) {
    const MatrixHeader& matrix = Current();
    SeekTo(matrix.dataOffset);
    comments = 0;
    std::vector<std::optional<double>> values;
    int row = 0;
    while (true) {
        const std::string_view word = NextValueWord();
        if (word.empty()) {
            break;
        }
        if (row == matrix.numObservations) {
            ++count.surplus;
            continue;
        }
        double value = 0;
        const bool isMissing = word == MissingWord;
        if (!isMissing && ParseDouble(word, value) != word.size()) {
            failureText = "\"" + ToText(word.substr(0, MaxNameLength)) + "\" among the values of \"" +
                          matrix.name + "\" is no number";
            return StatusData;
        }
        values.push_back(isMissing || IsMissingNumber(value) ? std::nullopt : std::optional(value));
        ++count.found;
        if (values.size() == static_cast<std::size_t>(matrix.numVariables)) {
            PutRow(output, ++row + RowShiftOf(matrix), values);
            values.clear();
            if (row % RowsBetweenLooks == 0) {
                GetContext()->ThrowIfStopped();
            }
        }
    }
    PutRow(output, row + 1 + RowShiftOf(matrix), values);
    return StatusOk;
}

std::vector<std::string> UnscramblerFile::ReadNames(std::int64_t offset, int wanted, const char* what) {
    std::vector<std::string> names;
    SeekTo(offset);
    NextBlockLine();
    const auto end = std::find_if(workLine.begin(), workLine.end(), IsSpace);
    workLine.remove_prefix(static_cast<std::size_t>(end - workLine.begin()));
    while (names.size() < static_cast<std::size_t>(wanted)) {
        SkipSpace(workLine);
        if (workLine.empty()) {
            if (!NextBlockLine() || workLine.starts_with('#')) {
                break;
            }
            continue;
        }
        const auto last = std::find_if(workLine.begin(), workLine.end(), IsSpace);
        const auto length = static_cast<std::size_t>(last - workLine.begin());
        names.push_back(ToText(workLine.substr(0, length)));
        GetContext()->budget.ChargeMemory(names.back().size() + sizeof(std::string), "names");
        workLine.remove_prefix(length);
    }
    if (names.size() < static_cast<std::size_t>(wanted)) {
        AddNote({"few-names", static_cast<std::uint64_t>(wanted) - names.size(), Current().name,
                 "\"" + Current().name + "\" has " + karta::CountOf(names.size(), "name") + " for its " +
                     std::to_string(wanted) + " " + what});
    }
    return names;
}

void UnscramblerFile::NoteValues(const ValueCount& count) {
    const MatrixHeader& matrix = Current();
    const std::int64_t told = std::int64_t{matrix.numObservations} * matrix.numVariables;
    if (count.found < told) {
        AddNote({"few-values", static_cast<std::uint64_t>(told - count.found), matrix.name,
                 "\"" + matrix.name + "\" has " +
                     karta::CountOf(static_cast<std::uint64_t>(count.found), "value") +
                     " where its head tells of " + std::to_string(told)});
    }
    if (count.surplus > 0) {
        AddNote({"left-out", static_cast<std::uint64_t>(count.surplus), matrix.name,
                 karta::CountOf(static_cast<std::uint64_t>(count.surplus), "value") +
                     " behind the last of \"" + matrix.name +
                     (count.surplus == 1 ? "\" is left out" : "\" are left out")});
    }
    if (comments > 0) {
        AddNote({"comments", static_cast<std::uint64_t>(comments), matrix.name,
                 karta::CountOf(static_cast<std::uint64_t>(comments), "line") + " of comments in \"" +
                     matrix.name + (comments == 1 ? "\" is left out" : "\" are left out")});
    }
}

void UnscramblerFile::NoteOthers() {
    if (isChosen || matrices.size() < 2) {
        return;
    }
    std::string names;
    for (std::size_t i = 0; i < std::min(matrices.size(), MaxNamesInNote); ++i) {
        if (static_cast<int>(i) != currentMatrix) {
            names += (names.empty() ? "" : ", ") + matrices[i].name;
        }
    }
    names += matrices.size() > MaxNamesInNote ? ", ..." : "";
    AddNote({"other-parts", matrices.size() - 1, Current().name,
             "the table is \"" + Current().name + "\"; " +
                 karta::CountOf(matrices.size() - 1, "other matrix", "other matrices") +
                 (matrices.size() == 2 ? " is not in this table: " : " are not in this table: ") + names});
}

// Before the first value, so that they are a matrix from the start.
void UnscramblerFile::TellShape() {
    const MatrixHeader& matrix = Current();
    karta::TableShape& shape = GetContext()->shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = RowShiftOf(matrix);
    shape.firstDataRow = RowShiftOf(matrix) + 1;
    shape.firstBlockColumn = ColShiftOf(matrix) + 1;
    for (int column = 1; column <= ColShiftOf(matrix); ++column) {
        shape.labelColumns.push_back(column);
    }
}

int UnscramblerFile::ReadComplete(ReadSpreadSheetData* sink) {
    const MatrixHeader& matrix = Current();
    const int colShift = ColShiftOf(matrix);
    const int rowShift = RowShiftOf(matrix);
    CellOutput output(*sink);
    TellShape();
    ValueCount count;
    if (const int failure = ReadAllValues(output, count)) {
        return failure;
    }
    // As large as what is there, whatever the head tells.
    std::int64_t rows = (count.found + matrix.numVariables - 1) / matrix.numVariables;
    std::int64_t cols = std::min<std::int64_t>(count.found, matrix.numVariables);
    return WithinBudget(StatusData, [&] {
        if (colShift > 0) {
            const auto names = ReadNames(matrix.observationNamesOffset, matrix.numObservations, "rows");
            rows = std::max(rows, static_cast<std::int64_t>(names.size()));
            for (std::int64_t row = 1; row <= rows; ++row) {
                output.Integer(1, static_cast<int>(row) + rowShift, row);
                if (row <= static_cast<std::int64_t>(names.size())) {
                    output.Text(2, static_cast<int>(row) + rowShift,
                                names[static_cast<std::size_t>(row) - 1]);
                }
            }
        }
        if (rowShift > 0) {
            const auto names = ReadNames(matrix.variableNamesOffset, matrix.numVariables, "columns");
            cols = std::max(cols, static_cast<std::int64_t>(names.size()));
            for (std::size_t col = 0; col < names.size(); ++col) {
                output.Text(static_cast<int>(col) + 1 + colShift, 1, names[col]);
            }
        }
        sink->SetDataSize(static_cast<int>(cols) + colShift, static_cast<int>(rows) + rowShift);
        NoteValues(count);
        NoteOthers();
        return static_cast<int>(StatusOk);
    });
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

// The sizes of a matrix, and a value or a block of names behind them.
static FormatRecogniser::Evidence RecogniseUnscrambler(const char* /*path*/, std::string_view head) {
    SkipSpace(head);
    const std::string_view line = head.substr(0, head.find('\n'));
    std::string_view rest = head.substr(std::min(head.size(), line.size()));
    SkipSpace(rest);
    if (!line.starts_with('%') || rest.empty()) {
        return FormatRecogniser::Evidence::None;
    }
    std::string_view counts = line.substr(1);
    for (int i = 0; i < 2; ++i) {
        SkipSpace(counts);
        int count = 0;
        const std::size_t length = ParseInt(counts, count);
        if (count < 1 || length == 0 || (length < counts.size() && !IsSpace(counts[length]))) {
            return FormatRecogniser::Evidence::None;
        }
        counts.remove_prefix(length);
    }
    return rest.front() == '#' || BeginsWithValue(rest) ? FormatRecogniser::Evidence::Proof
                                                        : FormatRecogniser::Evidence::None;
}

static const FormatRecogniser unscramblerRecogniser("Unscrambler File", "unscrambler", {},
                                                    RecogniseUnscrambler);
