#include "container/MvaCDFFileReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "base/CopyMessage.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "container/ClassicFile.h"
#include "container/ClassicValues.h"
#include "container/NetCDF.h"
#include "container/NetCDFFile.h"
#include "frame/CellOutput.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "host/NvSystemInfo.h"

namespace {

constexpr const char* MarkingAttribute = "mva_template_revision";
constexpr const char* FormatAttribute = "raw_data_mva_format";
constexpr const char* MissingAttribute = "missing_value";
constexpr double DefaultMissingValue = -100000.0;

// Where two names are told, the second is looked for when the first isn't there.
constexpr const char* VariableDimensions[] = {"number_data_points", "number_spectral_data_points"};
constexpr const char* ObservationDimension = "sequence_no";
constexpr const char* RowsPerPointDimension = "number_rows_per_data_point";
constexpr const char* DataVariables[] = {"observation", "spectral_data_values"};
constexpr const char* TextDimensions[] = {"string_len", "_32_byte_string"};

constexpr const char* HeaderVariable = "column_headers";
constexpr const char* DescriptionDimension = "number_variable_descriptions";
constexpr const char* StartColumnVariable = "vardescr_startcol";
constexpr const char* EndColumnVariable = "vardescr_endcol";
constexpr const char* StartValueVariable = "vardescr_startval";
constexpr const char* EndValueVariable = "vardescr_endval";
constexpr const char* NameVariable = "name_of_measurement";
constexpr const char* TimeVariable = "dectime_of_measurement";

// The one NaN that marks a missing value; others are values.
constexpr std::uint64_t MissingPattern = 0xFFF8000000000000U;

// Six digits of a value lie within this part of it.
constexpr double SixDigits = 1e-5;

constexpr int IdColumns = 2;

constexpr const char* NoSizeText =
    "The size of the observation data could not be established. Necessary variables ID's could not be found "
    "in the file.";

std::int64_t FindDimension(const NetCDF& file, const char* const (&names)[2]) {
    const std::int64_t length = file.GetDimension(names[0]);
    return length == -1 ? file.GetDimension(names[1]) : length;
}

int FindVariable(const NetCDF& file, const char* const (&names)[2]) {
    const int variable = file.FindVariable(names[0]);
    return variable == -1 ? file.FindVariable(names[1]) : variable;
}

// A count is believed only as far as the file has bytes for it, and rows and columns are ints.
bool IsBelievable(std::int64_t count, const NetCDF& file) {
    return count >= 0 && static_cast<std::uint64_t>(count) <= file.GetFileSize() &&
           count <= std::numeric_limits<int>::max() - IdColumns;
}

template <class Value>
bool ReadOne(const NetCDF& file, int variable, int index, Value& value) {
    const std::array<std::size_t, 1> start{static_cast<std::size_t>(index)};
    constexpr std::array<std::size_t, 1> One{1};
    return variable != -1 && file.GetValues(variable, start, One, &value) == 0;
}

std::string FormatValue(unsigned char value) {
    return std::string(1, static_cast<char>(value));
}

std::string FormatValue(short value) {
    return std::to_string(value);
}

std::string FormatValue(int value) {
    return std::to_string(value);
}

std::string FormatValue(double value) {
    return FormatG(value);
}

// One run of names: the variables from `startColumn` to `endColumn` have evenly spaced numbers.
struct Description {
    int startColumn = 0;
    int endColumn = 0;
    double startValue = 0.0;
    double endValue = 0.0;
};

/** The tables of descriptions in a file. */
class DescriptionTable {
public:
    explicit DescriptionTable(const NetCDF& netCDF)
        : file(netCDF),
          startColumns(file.FindVariable(StartColumnVariable)),
          endColumns(file.FindVariable(EndColumnVariable)),
          startValues(file.FindVariable(StartValueVariable)),
          endValues(file.FindVariable(EndValueVariable)),
          count(file.GetDimension(DescriptionDimension)) {}

    bool IsThere() const {
        return startColumns != -1 && endColumns != -1 && startValues != -1 && endValues != -1 && count >= 1 &&
               IsBelievable(count, file);
    }
    int GetCount() const { return static_cast<int>(count); }

    /** False for a description that isn't there or tells columns outside of 1 to `variables`. */
    bool Read(int index, int variables, Description& description) const {
        return ReadOne(file, startColumns, index, description.startColumn) &&
               ReadOne(file, endColumns, index, description.endColumn) && description.startColumn > 0 &&
               description.endColumn <= variables && description.startColumn <= description.endColumn &&
               ReadOne(file, startValues, index, description.startValue) &&
               ReadOne(file, endValues, index, description.endValue);
    }

private:
    const NetCDF& file;
    int startColumns;
    int endColumns;
    int startValues;
    int endValues;
    std::int64_t count;
};

}  // namespace

/** Walks the rows of one file that the sink wants: each pass over a file asks for its rows anew. */
class MvaCDFFileReader::WantedRows {
public:
    WantedRows(ReadSpreadSheetData& target, int first, int count)
        : sink(target),
          firstRow(first),
          lastRow(first + count - 1),
          wanted(sink.NextRowToRead(first - 1)),
          row(first - 1) {}

    /** Moves to the next wanted row; false behind the last one. */
    bool Next() {
        if (started) {
            wanted = sink.NextRowToRead(row);
        }
        started = true;
        // A row that has been passed doesn't come again.
        if (wanted <= row || wanted > lastRow) {
            return false;
        }
        row = wanted;
        return true;
    }
    int GetRow() const { return row; }
    /** The observation of the row, from 0. */
    int GetObservation() const { return row - firstRow; }

private:
    ReadSpreadSheetData& sink;
    int firstRow;
    int lastRow;
    int wanted;
    int row;
    bool started = false;
};

MvaCDFFileReader::MvaCDFFileReader(const char* path)
    : MvaCDFFileReader(path, std::shared_ptr<const NetCDF>()) {}

MvaCDFFileReader::MvaCDFFileReader(const char* path, const std::shared_ptr<const NetCDF>& first)
    : fileNames(NvFile::GetFileNames(path)) {
    if (!fileNames.empty()) {
        netCDFFiles.Lend(fileNames.front(), first);
    }
    status = Scan();
}

MvaCDFFileReader::MvaCDFFileReader(const char* path, std::shared_ptr<karta::ReadContext> readContext)
    : fileNames(NvFile::GetFileNames(path)) {
    SetContext(std::move(readContext));
    MvaCDFFileReader::Open(true, path, nullptr);
}

MvaCDFFileReader::~MvaCDFFileReader() = default;

void MvaCDFFileReader::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText OfOneFile[] = {
        {StatusNoMvaFile, "The file does not seem to be a valid MVACDF file."},
        {StatusNoSize, NoSizeText},
        {StatusNoObservations, "Observation data could not be found in the file."},
        {StatusVariablesDiffer, "The files contain different number of variables."},
    };
    static constexpr StatusText OfSeveralFiles[] = {
        {StatusNoMvaFile, "One or more files seem not to be a valid MVACDF files."},
        {StatusNoSize, NoSizeText},
        {StatusNoObservations, "Observation data could not be found in the file."},
        {StatusVariablesDiffer, "The files contain different number of variables."},
    };
    const bool several = fileNames.size() > 1;
    if (status == StatusMatrices) {
        CopyMessage(std::string("The observation data is stored as matrices in ") +
                        (several ? "one or more of the selected files. " : "the file. ") +
                        NvSystemInfo::GetApplicationName() +
                        " can currently not import MVACDF file matrices.",
                    buffer, size);
        return;
    }
    CopyStatusText(several ? OfSeveralFiles : OfOneFile, buffer, size);
}

int MvaCDFFileReader::Open(bool /*forRead*/, const char* /*path*/, NvImportOpenOptions* /*options*/) {
    status = IsComplete() ? ScanCompletely() : Scan();
    return status;
}

int MvaCDFFileReader::Scan() {
    std::int64_t rows = 1;
    int firstVariables = -1;
    for (const std::string& name : fileNames) {
        const std::shared_ptr<const NetCDF> file = netCDFFiles.Open(name);
        if (NetCDFFile::GetFileTemplate(*file) != TemplateMva) {
            return StatusNoMvaFile;
        }
        const int result = ReadFormat(*file);
        if (result != StatusOk) {
            return result;
        }
        if (firstVariables == -1) {
            firstVariables = variables;
        } else if (variables != firstVariables) {
            return StatusVariablesDiffer;
        }
        rows += observations;
        if (rows > std::numeric_limits<int>::max()) {
            return StatusNoSize;
        }
    }
    numCols = variables + IdColumns;
    numRows = static_cast<int>(rows);
    sizeKnown = true;
    return StatusOk;
}

int MvaCDFFileReader::ReadFormat(const NetCDF& file) {
    const int result = ReadElementType(file);
    if (result != StatusOk) {
        return result;
    }
    ReadMissingValue(file);
    return ReadSizes(file);
}

int MvaCDFFileReader::ReadElementType(const NetCDF& file) {
    struct NamedType {
        const char* name;
        ElementType type;
    };
    constexpr NamedType Types[] = {{"float", ElementFloat},
                                   {"double", ElementDouble},
                                   {"byte", ElementByte},
                                   {"short", ElementShort},
                                   {"long", ElementLong}};
    elementType = ElementDouble;
    if (!file.HasAttribute(NetCDF::Global, FormatAttribute)) {
        return StatusOk;
    }
    const std::string name = file.GetTextAttribute(NetCDF::Global, FormatAttribute).value_or("");
    for (const NamedType& type : Types) {
        if (EqualIgnoringCase(name, type.name)) {
            elementType = type.type;
            return StatusOk;
        }
    }
    return StatusNoSize;
}

void MvaCDFFileReader::ReadMissingValue(const NetCDF& file) {
    missingValue = DefaultMissingValue;
    missingIsNaN = false;
    const auto text = file.GetTextAttribute(NetCDF::Global, MissingAttribute);
    if (!text) {
        return;
    }
    missingIsNaN = EqualIgnoringCase(*text, "nan");
    if (!missingIsNaN) {
        ParseDouble(*text, missingValue);
    }
}

int MvaCDFFileReader::ReadSizes(const NetCDF& file) {
    const std::int64_t variableCount = FindDimension(file, VariableDimensions);
    const std::int64_t observationCount = file.GetDimension(ObservationDimension);
    if (!IsBelievable(variableCount, file) || !IsBelievable(observationCount, file)) {
        return StatusNoSize;
    }
    variables = static_cast<int>(variableCount);
    observations = static_cast<int>(observationCount);
    const std::int64_t rowCount = file.GetDimension(RowsPerPointDimension);
    if (rowCount > 1) {
        return StatusMatrices;
    }
    rowsPerDataPoint = rowCount == -1 ? 1 : static_cast<int>(rowCount);
    dataVariable = FindVariable(file, DataVariables);
    if (dataVariable == -1) {
        return StatusNoObservations;
    }
    const std::int64_t length = FindDimension(file, TextDimensions);
    if (length == -1) {
        return StatusNoSize;
    }
    // A longer text than the file can't be in it.
    textLength = static_cast<int>(std::min<std::int64_t>(length, std::numeric_limits<int>::max()));
    return StatusOk;
}

int MvaCDFFileReader::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    return WithinBudget(
        StatusNoSize, [this, sink] { return IsComplete() ? ReadCompletely(*sink) : ReadClassically(*sink); });
}

// The names are given twice, before and behind the data, and only their result is told here.
int MvaCDFFileReader::ReadClassically(ReadSpreadSheetData& sink) {
    if (fileNames.empty()) {
        return StatusNoMvaFile;
    }
    if (elementType == ElementFloat || elementType == ElementDouble) {
        AddNote({"rounded-values",
                 0,
                 {},
                 "the values are texts of six digits; the complete reading has them whole"});
    }
    const NetCDF file(fileNames.front().c_str());
    status = ReadNames(file, sink);
    status = ReadData(file, sink);
    return ReadNames(file, sink);
}

int MvaCDFFileReader::ReadNames(const NetCDF& file, ReadSpreadSheetData& sink) {
    if (file.FindVariable(HeaderVariable) != -1 || !ReadDescribedNames(file, sink)) {
        ReadHeaders(file, sink);
    }
    sink.Set(1, 1, "Name");
    sink.Set(2, 1, "Decimal Time");
    return StatusOk;
}

// The names of the variables as texts, numbered where there are none.
void MvaCDFFileReader::ReadHeaders(const NetCDF& file, ReadSpreadSheetData& sink) const {
    const int headers = file.FindVariable(HeaderVariable);
    std::string text;
    for (int i = 0; i < variables; ++i) {
        if (!ReadText(file, headers, i, text)) {
            text = "VAR_" + std::to_string(i + 1);
        }
        sink.Set(firstDataColumn + i, 1, text.c_str());
    }
}

// Names that are numbers, evenly spaced within each description. False: there are no descriptions.
bool MvaCDFFileReader::ReadDescribedNames(const NetCDF& file, ReadSpreadSheetData& sink) const {
    const DescriptionTable table(file);
    if (!table.IsThere()) {
        return false;
    }
    // Descriptions that overlap name more columns than there are; the file's length ends what would grow
    // with its square.
    std::int64_t namesLeft = static_cast<std::int64_t>(file.GetFileSize());
    int column = firstDataColumn;
    double step = 0.0;
    for (int i = 0; i < table.GetCount(); ++i) {
        Description description;
        if (!table.Read(i, variables, description)) {
            continue;
        }
        const int span = description.endColumn - description.startColumn;
        if (span != 0) {
            step = (description.endValue - description.startValue) / span;
        }
        for (int c = 0; c <= span && namesLeft > 0; ++c, --namesLeft) {
            sink.Set(column++, 1, NvString::Format("%.0f", c * step + description.startValue).c_str());
        }
    }
    return true;
}

int MvaCDFFileReader::ReadData(const NetCDF& first, ReadSpreadSheetData& sink) {
    int firstRow = firstDataRow;
    int result = ReadFile(first, sink, firstRow);
    for (std::size_t i = 1; i < fileNames.size() && result == StatusOk; ++i) {
        result = ReadFile(NetCDF(fileNames[i].c_str()), sink, firstRow);
    }
    return result;
}

int MvaCDFFileReader::ReadFile(const NetCDF& file, ReadSpreadSheetData& sink, int& firstRow) {
    GetContext()->ThrowIfStopped();
    const int result = ReadFormat(file);
    if (result != StatusOk) {
        return result;
    }
    ReadObservationNames(file, sink, firstRow);
    ReadTimes(file, sink, firstRow);
    ReadValues(file, sink, firstRow);
    firstRow += observations;
    return StatusOk;
}

void MvaCDFFileReader::ReadObservationNames(const NetCDF& file, ReadSpreadSheetData& sink,
                                            int firstRow) const {
    const int names = file.FindVariable(NameVariable);
    std::string text;
    for (WantedRows rows(sink, firstRow, observations); rows.Next();) {
        if (!ReadText(file, names, rows.GetObservation(), text)) {
            text = "Obs_" + std::to_string(rows.GetObservation() + 1);
        }
        sink.Set(1, rows.GetRow(), text.c_str());
    }
}

void MvaCDFFileReader::ReadTimes(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const {
    constexpr int TimeDigits = 7;
    const int times = file.FindVariable(TimeVariable);
    for (WantedRows rows(sink, firstRow, observations); rows.Next();) {
        double time = 0.0;
        const bool isThere = ReadOne(file, times, rows.GetObservation(), time);
        sink.Set(2, rows.GetRow(), isThere ? FormatG(time, TimeDigits).c_str() : "N/A");
    }
}

void MvaCDFFileReader::ReadValues(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const {
    switch (elementType) {
        case ElementByte:
            ReadValuesAs<unsigned char>(file, sink, firstRow);
            break;
        case ElementShort:
            ReadValuesAs<short>(file, sink, firstRow);
            break;
        case ElementLong:
            ReadValuesAs<int>(file, sink, firstRow);
            break;
        case ElementFloat:
            ReadValuesAs<float>(file, sink, firstRow);
            break;
        case ElementDouble:
            ReadValuesAs<double>(file, sink, firstRow);
            break;
    }
}

// One observation at a time. What can't be read ends the pass: the rows from there on stay empty.
template <class Value>
void MvaCDFFileReader::ReadValuesAs(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const {
    const std::array<std::size_t, 3> count{1, static_cast<std::size_t>(variables),
                                           static_cast<std::size_t>(rowsPerDataPoint)};
    std::vector<Value> values(count[1] * count[2]);
    for (WantedRows rows(sink, firstRow, observations); rows.Next();) {
        const std::array<std::size_t, 3> start{static_cast<std::size_t>(rows.GetObservation()), 0, 0};
        if (file.GetValues(dataVariable, start, count, values.data()) != 0) {
            return;
        }
        int column = firstDataColumn;
        for (const Value value : values) {
            const std::string text = FormatValue(value);
            sink.Set(column++, rows.GetRow(),
                     IsMissing(static_cast<double>(value), text) ? "" : text.c_str());
        }
    }
}

// One text of a table of texts, up to its first NUL; false when it isn't there.
bool MvaCDFFileReader::ReadText(const NetCDF& file, int variable, int index, std::string& text) const {
    if (variable == -1) {
        return false;
    }
    const std::vector<std::size_t> shape = file.GetShape(variable);
    if (shape.size() != 2) {
        return false;
    }
    const std::array<std::size_t, 2> start{static_cast<std::size_t>(index), 0};
    const std::array<std::size_t, 2> count{1, std::min(shape[1], static_cast<std::size_t>(textLength))};
    text.resize(count[1]);
    if (file.GetValues(variable, start, count, text.data()) != 0) {
        return false;
    }
    text.resize(std::min(text.size(), text.find('\0')));
    return true;
}

// The number is tested with the digits that its text has, the pattern of NaN on the file's own value.
bool MvaCDFFileReader::IsMissing(double value, const std::string& text) const {
    if (missingIsNaN) {
        return std::bit_cast<std::uint64_t>(value) == MissingPattern;
    }
    // A text that isn't the value's own digits, of a byte or of a NaN, is always read back.
    const bool isNumber = elementType != ElementByte && std::isfinite(value) && std::isfinite(missingValue);
    if (isNumber && std::fabs(value - missingValue) >
                        4 * SixDigits * std::max(std::fabs(value), std::fabs(missingValue))) {
        return false;
    }
    return TolerantEqual(ToLeadingDouble(text), missingValue);
}

// ---- The complete reading ----

namespace {

const ClassicVariable* FindData(const ClassicFile& file) {
    for (const char* name : DataVariables) {
        const ClassicVariable* data = file.FindVariable(name);
        if (data != nullptr && data->type != ClassicType::Char && data->shape.size() >= 2) {
            return data;
        }
    }
    return nullptr;
}

std::vector<double> NumbersOf(const ClassicFile& file, const char* name) {
    const ClassicVariable* variable = file.FindVariable(name);
    return variable == nullptr || variable->type == ClassicType::Char
               ? std::vector<double>()
               : ClassicValues(file, *variable).GetNumbers();
}

// The values that stand for nothing: the file's own, by a number or a text, or -100000.
void TellMissing(const ClassicFile& file, ClassicValues& values) {
    const ClassicAttribute* told = file.FindAttribute(MissingAttribute);
    std::vector<double> missing = ClassicFile::GetNumbers(told);
    const std::string text = file.GetText(told);
    double number = 0.0;
    if (EqualIgnoringCase(text, "nan")) {
        values.SetMissing({});
        values.SetNaNMissing();
    } else if (!text.empty() && ParseDouble(text, number) == text.size()) {
        values.SetMissing({number});
    } else if (!missing.empty()) {
        values.SetMissing(std::move(missing));
    } else {
        values.AddMissing(DefaultMissingValue);
    }
}

/** The texts of a table of texts, one a step of its first dimension. */
class TextTable {
public:
    TextTable(const ClassicFile& classicFile, const char* name)
        : file(classicFile), variable(file.FindVariable(name)) {
        if (variable != nullptr && (variable->type != ClassicType::Char || variable->shape.size() != 2)) {
            variable = nullptr;
        }
    }

    bool IsThere() const { return variable != nullptr; }
    /** The text of a place, or `otherwise` where there is none. */
    std::string Get(std::uint64_t place, const std::string& otherwise) const {
        if (variable == nullptr || place >= variable->shape[0]) {
            return otherwise;
        }
        const std::uint64_t length = variable->shape[1];
        const std::string text =
            file.Decode(file.ReadText(*variable, place * length, static_cast<std::size_t>(length)));
        const std::string_view name = TrimSpace(text);
        return name.empty() ? otherwise : std::string(name);
    }

private:
    const ClassicFile& file;
    const ClassicVariable* variable;
};

}  // namespace

// The data alone tell the table's size.
bool MvaCDFFileReader::MeasureCompletely(const ClassicFile& file, std::uint64_t& columns,
                                         std::uint64_t& rows) const {
    const ClassicVariable* data = FindData(file);
    if (data == nullptr) {
        return false;
    }
    rows = data->shape[0];
    // Without an observation nothing bears out how many variables there are.
    columns = rows == 0 ? 0 : data->shape[1];
    constexpr std::uint64_t Most = std::numeric_limits<int>::max() - IdColumns;
    return columns <= Most && rows <= Most;
}

int MvaCDFFileReader::ScanCompletely() {
    std::uint64_t total = 1;
    std::uint64_t firstColumns = 0;
    for (const std::string& name : fileNames) {
        const ClassicFile file(name.c_str());
        if (!file.IsOpen() || file.FindAttribute(MarkingAttribute) == nullptr) {
            return StatusNoMvaFile;
        }
        std::uint64_t columns = 0;
        std::uint64_t rows = 0;
        if (!MeasureCompletely(file, columns, rows)) {
            return StatusNoObservations;
        }
        const ClassicVariable& data = *FindData(file);
        if (data.shape.size() > 2 && data.piece != (data.isRecord ? 1 : rows) * columns) {
            return StatusMatrices;
        }
        if (&name == &fileNames.front()) {
            firstColumns = columns;
        } else if (columns != firstColumns) {
            return StatusVariablesDiffer;
        }
        total += rows;
        if (total > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
            return StatusNoSize;
        }
    }
    variables = static_cast<int>(firstColumns);
    numCols = variables + IdColumns;
    numRows = static_cast<int>(total);
    sizeKnown = true;
    return fileNames.empty() ? int{StatusNoMvaFile} : int{StatusOk};
}

int MvaCDFFileReader::ReadCompletely(ReadSpreadSheetData& sink) {
    sink.SetDataSize(numCols, numRows);
    CellOutput output(sink);
    int row = 2;
    for (const std::string& name : fileNames) {
        const ClassicFile file(name.c_str());
        std::uint64_t columns = 0;
        std::uint64_t rows = 0;
        if (!file.IsOpen() || !MeasureCompletely(file, columns, rows) ||
            columns != static_cast<std::uint64_t>(variables)) {
            status = StatusNoObservations;
            return status;
        }
        if (row == 2) {
            SetNames(file, output);
            output.EndRow(1);
        }
        row = SetObservations(file, output, row);
    }
    return status;
}

void MvaCDFFileReader::SetNames(const ClassicFile& file, CellOutput& output) {
    karta::TableShape& shape = GetContext()->shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.firstDataRow = 2;
    shape.labelColumns = {1};
    shape.firstBlockColumn = firstDataColumn;
    output.Text(1, 1, "Name");
    output.Text(2, 1, "Decimal Time");
    const TextTable headers(file, HeaderVariable);
    if (!headers.IsThere() && SetDescribedNames(file, output)) {
        shape.nameRow = 0;
        shape.axisRow = 1;
        return;
    }
    for (int i = 0; i < variables; ++i) {
        output.Text(firstDataColumn + i, 1,
                    headers.Get(static_cast<std::uint64_t>(i), "VAR_" + std::to_string(i + 1)));
    }
}

// Names that are numbers, evenly spaced within each description, in the columns that it tells.
bool MvaCDFFileReader::SetDescribedNames(const ClassicFile& file, CellOutput& output) {
    const std::vector<double> starts = NumbersOf(file, StartColumnVariable);
    const std::vector<double> ends = NumbersOf(file, EndColumnVariable);
    const std::vector<double> firstValues = NumbersOf(file, StartValueVariable);
    const std::vector<double> lastValues = NumbersOf(file, EndValueVariable);
    const std::size_t count =
        std::min(std::min(starts.size(), ends.size()), std::min(firstValues.size(), lastValues.size()));
    std::vector<bool> isNamed(static_cast<std::size_t>(variables), false);
    for (std::size_t i = 0; i < count; ++i) {
        if (!(starts[i] >= 1 && ends[i] >= starts[i] && ends[i] <= variables)) {
            continue;
        }
        GetContext()->budget.ChargeWork(static_cast<std::uint64_t>(ends[i] - starts[i]) + 1, "the names");
        const double span = ends[i] - starts[i];
        for (int column = static_cast<int>(starts[i]); column <= static_cast<int>(ends[i]); ++column) {
            const double part = span > 0 ? (column - starts[i]) / span : 0.0;
            output.Number(firstDataColumn + column - 1, 1,
                          firstValues[i] + part * (lastValues[i] - firstValues[i]));
            isNamed[static_cast<std::size_t>(column) - 1] = true;
        }
    }
    if (std::find(isNamed.begin(), isNamed.end(), true) == isNamed.end()) {
        return false;
    }
    for (std::size_t i = 0; i < isNamed.size(); ++i) {
        if (!isNamed[i]) {
            output.Text(firstDataColumn + static_cast<int>(i), 1, "VAR_" + std::to_string(i + 1));
        }
    }
    return true;
}

// The rows of one file; the row behind them.
int MvaCDFFileReader::SetObservations(const ClassicFile& file, CellOutput& output, int row) {
    const ClassicVariable& data = *FindData(file);
    ClassicValues values(file, data);
    TellMissing(file, values);
    const TextTable names(file, NameVariable);
    const ClassicVariable* timeVariable = file.FindVariable(TimeVariable);
    const bool hasTimes =
        timeVariable != nullptr && timeVariable->type != ClassicType::Char && timeVariable->shape.size() == 1;
    std::optional<ClassicValues> times;
    if (hasTimes) {
        times.emplace(file, *timeVariable);
    }
    const std::uint64_t columns = data.shape[1];
    for (std::uint64_t i = 0; i < data.shape[0]; ++i) {
        GetContext()->ThrowIfStopped();
        output.Text(1, row, names.Get(i, "Obs_" + std::to_string(i + 1)));
        if (hasTimes && i < timeVariable->shape.front()) {
            times->SetColumn(output, 2, row, i, 1);
        }
        values.SetRow(output, firstDataColumn, row, i * columns, columns);
        output.EndRow(row);
        ++row;
    }
    return row;
}

int MvaCDFFileReader::EstablishSize() {
    return StatusNotImplemented;
}

// There is nothing to choose: all observations of all files are rows of one table.
std::vector<FileContents::Part> MvaCDFFileReader::ListParts() {
    return {};
}

std::vector<FileContents::Fact> MvaCDFFileReader::ListFacts() {
    return {{"convention", "MVACDF"},
            {"files", static_cast<double>(fileNames.size()), ""},
            {"observations", static_cast<double>(numRows - 1), ""},
            {"variables", static_cast<double>(numCols - IdColumns), ""}};
}
