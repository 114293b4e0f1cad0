#include "container/MatFile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

#include "base/CopyMessage.h"
#include "base/Exception.h"
#include "base/NumberParser.h"
#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "container/MatElementStream.h"
#include "container/MatLevel4.h"
#include "container/MatLevel4Writer.h"
#include "container/MatLevel5.h"
#include "host/NvString.h"
#include "host/NvSystemInfo.h"

namespace {

// The bytes that tell the level, as a text such as "MATLAB 5.0 MAT-file".
constexpr std::size_t LevelTestSize = 20;
constexpr int Level5Version = 5;

// The level 5 header: text, subsystem offset, version, endian indicator.
constexpr std::size_t Level5HeaderSize = 128;
constexpr std::size_t EndianIndicatorOffset = 126;
constexpr std::string_view NativeIndicator = "IM";

// A compressed element is inflated to at most this many times its size.
constexpr std::uint64_t InflateFactor = 32;

// The parts of the named layout in the index table.
constexpr int DataEntry = 0;
constexpr int ObservationNumbersEntry = 1;
constexpr int ObservationNamesEntry = 2;
constexpr int VariableNumbersEntry = 3;
constexpr int VariableNamesEntry = 4;
constexpr int NamedEntries = 5;
constexpr int NamedColumns = 2;
constexpr int NamedRows = 1;

constexpr const char* DataName = "DATA";

// The version number between the first two blanks of a text; 0 where there is none.
int VersionOf(std::span<const std::uint8_t> head) {
    std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
    text = text.substr(0, text.find('\0'));
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos) {
        return 0;
    }
    text.remove_prefix(blank + 1);
    return ToLeadingInt(text.substr(0, text.find(' ')));
}

// The number behind one of two stems; 0 for another name.
int IdNumber(const std::string& name, std::string_view stem) {
    return name.starts_with(stem) ? ToLeadingInt(std::string_view(name).substr(stem.size())) : 0;
}

int ColumnIdNumber(const std::string& name) {
    const int number = IdNumber(name, "COLUMNID");
    return number != 0 ? number : IdNumber(name, "OBSID");
}

int RowIdNumber(const std::string& name) {
    const int number = IdNumber(name, "ROWID");
    return number != 0 ? number : IdNumber(name, "VARID");
}

const char* TypeName(const MatHeader& header) {
    switch (header.type) {
        case MatHeader::Text:
            return "string";
        case MatHeader::Sparse:
            return "sparse";
        default:
            return "numeric";
    }
}

}  // namespace

MatFile::MatFile() = default;
MatFile::~MatFile() = default;

void MatFile::Close() {
    element.reset();
    level4.reset();
    file.Close();
    output.reset();
    FormatReader::Close();
    mode = ModeClosed;
}

const MatHeader* MatFile::CurrentHeader() const {
    if (level4 == nullptr || currentMatrix < 0 || currentMatrix >= GetNumberOfMatrices()) {
        return nullptr;
    }
    return &level4->Headers()[static_cast<std::size_t>(currentMatrix)];
}

// The matrix in a part of a layout, null where there is none.
const MatHeader* MatFile::HeaderAt(int entry) const {
    if (static_cast<std::size_t>(entry) >= indexTable.size()) {
        return nullptr;
    }
    const int matrix = indexTable[static_cast<std::size_t>(entry)];
    return matrix < 0 ? nullptr : &level4->Headers()[static_cast<std::size_t>(matrix)];
}

// Of a level 4 file's table.
bool MatFile::GetTableSize(int& rows, int& columns) {
    if (status != StatusOk) {
        return false;
    }
    if ((namedLayout || idLayout) && !indexTable.empty()) {
        currentMatrix = indexTable[DataEntry];
    }
    const MatHeader* const header = CurrentHeader();
    if (header == nullptr) {
        return false;
    }
    const int moreRows = idLayout ? rowIdCount : namedLayout ? NamedRows : 0;
    const int moreColumns = idLayout ? columnIdCount : namedLayout ? NamedColumns : 0;
    if (!level4->GetSize(*header, rows, columns) || rows > std::numeric_limits<int>::max() - moreRows ||
        columns > std::numeric_limits<int>::max() - moreColumns) {
        status = StatusMatrix;
        return false;
    }
    rows += moreRows;
    columns += moreColumns;
    return true;
}

int MatFile::GetNumCols() {
    int rows = -1;
    int columns = -1;
    if (isLevel5) {
        return status == StatusOk ? 1 : -1;
    }
    return GetTableSize(rows, columns) ? columns : -1;
}

int MatFile::GetNumRows() {
    int rows = -1;
    int columns = -1;
    if (isLevel5) {
        return status == StatusOk ? 1 : -1;
    }
    return GetTableSize(rows, columns) ? rows : -1;
}

void MatFile::GetErrorMessage(char* buffer, unsigned int size) {
    const char* text = nullptr;
    switch (status) {
        case StatusOpenFailed:
            text = "Unable to open file.";
            break;
        case StatusNoMatFile:
            text =
                "An error occurred while reading the file. The file does not seem to be a valid MATLAB "
                "MAT-file and cannot be imported as such.";
            break;
        case StatusCorrupt:
            text =
                "An error occurred while reading the file. The file seems to be corrupt and cannot be "
                "imported.";
            break;
        case StatusMatrixHeader:
            text =
                "An error occurred while reading the matrix header in the file. The file seems to be corrupt "
                "and cannot be imported.";
            break;
        case StatusMatrix:
            text =
                "An error occurred while reading a matrix in the file. The file seems to be corrupt and "
                "cannot be imported.";
            break;
        case StatusWriteFailed:
            text =
                "An error occurred while writing a matrix to the file. The dataset seems to be corrupt and "
                "cannot be exported.";
            break;
        case StatusNoNumericBlock:
            text = "This type of list cannot be exported to MATLAB.";
            break;
        case StatusComplexData:
            text = "Complex data.";
            break;
        case StatusDataType:
            text = "The file contains data of a type that cannot be interpreted.";
            break;
        case StatusVersion:
            text =
                "The file seems to be created by an unsupported version of MATLAB. Only MATLAB files version "
                "4.x and 5 are supported.";
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            return;
    }
    CopyMessage(text, buffer, size);
}

int MatFile::OpenForWriting(const char* fileName) {
    mode = ModeWriting;
    textFileName = NvGetFileName(fileName);
    output = std::make_unique<OutputFile>(fileName);
    if (output->HasFailed()) {
        status = StatusOpenFailed;
    }
    return status;
}

int MatFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
    if (status != StatusOk) {
        return status;
    }
    isLevel5 = false;
    currentMatrix = -1;
    if (!forRead) {
        return OpenForWriting(fileName);
    }
    mode = ModeReading;
    file = MappedFile(fileName);
    if (!file.IsOpen()) {
        status = StatusOpenFailed;
        return status;
    }
    if (file.GetBytes().size() < LevelTestSize) {
        status = StatusNoMatFile;
        return status;
    }
    const int version = VersionOf(file.GetBytes().first(LevelTestSize));
    if (version > Level5Version) {
        status = StatusVersion;
        return status;
    }
    isLevel5 = version == Level5Version;
    status = isLevel5 ? OpenMatlab5() : OpenMatlab4();
    return status;
}

int MatFile::OpenMatlab4() {
    level4 = std::make_unique<Matlab4Reader>(file.GetBytes());
    status = level4->Index();
    if (status != StatusOk) {
        return status;
    }
    MakeIndexTable();
    SetOptions();
    if (status == StatusAbortedByUser) {
        level4.reset();
        file.Close();
    }
    return status;
}

// Looks for the conventional names among the matrices.
void MatFile::MakeIndexTable() {
    const auto count = static_cast<std::size_t>(GetNumberOfMatrices());
    indexTable.assign(count + 1, -1);
    namedLayout = (count == NamedEntries - 1 || count == NamedEntries) && FindNamedLayout();
    idLayout = false;
    if (!namedLayout) {
        indexTable.assign(count + 1, -1);
        idLayout = FindIdLayout();
    }
}

bool MatFile::FindNamedLayout() {
    static constexpr std::pair<std::string_view, int> Names[] = {{"OBSNUM", ObservationNumbersEntry},
                                                                 {"OBSNAM", ObservationNamesEntry},
                                                                 {"VARNUM", VariableNumbersEntry},
                                                                 {"VARNAM", VariableNamesEntry}};
    for (int i = 0; i < GetNumberOfMatrices(); ++i) {
        int entry = DataEntry;
        for (const auto& [name, named] : Names) {
            if (level4->Headers()[static_cast<std::size_t>(i)].name == name) {
                entry = named;
            }
        }
        indexTable[static_cast<std::size_t>(entry)] = i;
    }
    const MatHeader* const data = HeaderAt(DataEntry);
    const MatHeader* const numbers = HeaderAt(ObservationNumbersEntry);
    const MatHeader* const observations = HeaderAt(ObservationNamesEntry);
    const MatHeader* const variables = HeaderAt(VariableNamesEntry);
    if (data == nullptr || numbers == nullptr || observations == nullptr || variables == nullptr) {
        return false;
    }
    return data->rows == numbers->rows && data->rows == observations->rows &&
           data->columns == variables->rows;
}

// Entry 0 is the data; behind it stand the column ids and then the row ids by their numbers.
bool MatFile::FindIdLayout() {
    columnIdCount = rowIdCount = 0;
    bool hasStem[4] = {};
    static constexpr std::string_view Stems[] = {"COLUMNID", "ROWID", "OBSID", "VARID"};
    for (const MatHeader& header : level4->Headers()) {
        columnIdCount += ColumnIdNumber(header.name) != 0 ? 1 : 0;
        rowIdCount += RowIdNumber(header.name) != 0 ? 1 : 0;
        for (std::size_t stem = 0; stem < std::size(Stems); ++stem) {
            hasStem[stem] = hasStem[stem] || IdNumber(header.name, Stems[stem]) != 0;
        }
    }
    for (int i = 0; i < GetNumberOfMatrices(); ++i) {
        const std::string& name = level4->Headers()[static_cast<std::size_t>(i)].name;
        const int columnId = ColumnIdNumber(name);
        const int rowId = RowIdNumber(name);
        int entry = -1;
        if (name == DataName) {
            entry = DataEntry;
        } else if (columnId >= 1 && columnId <= columnIdCount) {
            entry = columnId;
        } else if (rowId >= 1 && rowId <= rowIdCount) {
            entry = columnIdCount + rowId;
        }
        if (entry >= 0) {
            indexTable[static_cast<std::size_t>(entry)] = i;
        }
    }
    return HeaderAt(DataEntry) != nullptr && ((hasStem[0] && hasStem[1]) || (hasStem[2] && hasStem[3]));
}

// Reads the tag of the first element, which must be an array, plain or compressed.
int MatFile::OpenMatlab5() {
    const auto bytes = file.GetBytes();
    if (bytes.size() < Level5HeaderSize) {
        return StatusCorrupt;
    }
    level5Swap = std::memcmp(bytes.data() + EndianIndicatorOffset, NativeIndicator.data(),
                             NativeIndicator.size()) != 0;
    const auto content = bytes.subspan(Level5HeaderSize);
    auto plain = std::make_unique<MatPlainStream>(content, Level5HeaderSize);
    MatTag tag;
    if (!Matlab5Reader(*plain, level5Swap).ReadTag(tag)) {
        return StatusCorrupt;
    }
    if (tag.type == MatCompressed) {
        const auto rest = bytes.subspan(static_cast<std::size_t>(plain->Tell()));
        const auto payload = rest.first(std::min<std::size_t>(tag.size, rest.size()));
        const std::uint64_t bound =
            std::min<std::uint64_t>(InflateFactor * tag.size, NvSystemInfo::GetInflateLimit());
        element = std::make_unique<MatInflatingStream>(payload, bound);
        return StatusOk;
    }
    plain->Rewind();
    element = std::move(plain);
    if (tag.type != MatMatrix) {
        return StatusNoMatFile;
    }
    return StatusOk;
}

int MatFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeReading) {
        status = StatusWrongMode;
        return status;
    }
    if (isLevel5) {
        status = ReadMatlab5(sink);
        return status;
    }
    const MatHeader* const header = CurrentHeader();
    if (header == nullptr) {
        status = StatusNoMatFile;
        return status;
    }
    // What these answer isn't kept: a matrix that is cut, or a sink without room, ends the read quietly.
    if (namedLayout) {
        ReadNamedLayout(sink);
    } else if (idLayout) {
        ReadIdLayout(sink);
    } else {
        level4->ReadMatrix(sink, *header, {});
    }
    return status;
}

// The numbers of the variables aren't read.
void MatFile::ReadNamedLayout(ReadSpreadSheetData* sink) const {
    const MatHeader* const data = HeaderAt(DataEntry);
    const MatHeader* const numbers = HeaderAt(ObservationNumbersEntry);
    const MatHeader* const observations = HeaderAt(ObservationNamesEntry);
    const MatHeader* const variables = HeaderAt(VariableNamesEntry);
    if (data == nullptr || numbers == nullptr || observations == nullptr || variables == nullptr) {
        return;
    }
    level4->ReadFull(sink, *data, {NamedColumns, NamedRows, false});
    level4->ReadFull(sink, *numbers, {0, NamedRows, false});
    level4->ReadText(sink, *observations, {1, NamedRows, false});
    level4->ReadText(sink, *variables, {NamedColumns, 0, true});
}

void MatFile::ReadIdLayout(ReadSpreadSheetData* sink) const {
    for (int entry = 0; entry <= columnIdCount + rowIdCount; ++entry) {
        const MatHeader* const header = HeaderAt(entry);
        if (header == nullptr) {
            continue;
        }
        MatPlace place{columnIdCount, rowIdCount, false};
        if (entry > columnIdCount) {
            place = {columnIdCount, entry - columnIdCount - 1, true};
        } else if (entry > DataEntry) {
            place.columnOffset = entry - 1;
        }
        level4->ReadMatrix(sink, *header, place);
    }
}

// Only the first array of the element is taken; what follows it isn't looked at.
int MatFile::ReadMatlab5(ReadSpreadSheetData* sink) {
    element->Rewind();
    Matlab5Reader reader(*element, level5Swap);
    std::vector<msMatrix> matrices(1);
    if (const int failure = reader.ReadArray(matrices.front())) {
        return failure;
    }
    CheckDimensions(matrices);
    SetSheetSize(sink, matrices);
    SetSheetIndex(matrices);
    if (const int failure = reader.ReadValues(sink, matrices.front())) {
        return failure;
    }
    if (!element->IsSoundToTheEnd()) {
        return StatusCorrupt;
    }
    return StatusOk;
}

int MatFile::Write(WriteSpreadSheetData* source) {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeWriting) {
        status = StatusWrongMode;
        return status;
    }
    if (output == nullptr) {
        status = StatusWriteFailed;
    } else if (!Matlab4Writer(*output, *source).Write()) {
        status = StatusNoNumericBlock;
    } else if (!output->Commit()) {
        status = StatusWriteFailed;
    }
    output.reset();
    return status;
}

int MatFile::EstablishSize() {
    return StatusSizeUnused;
}

bool MatFile::SetOptions() {
    SetCurMatrix(0);
    namedLayout = idLayout = false;
    return status != StatusOk;
}

int MatFile::GetNumberOfMatrices() const {
    return level4 == nullptr ? 0 : static_cast<int>(level4->Headers().size());
}

int MatFile::GetMatrixList(std::vector<std::string>& list) {
    if (CurrentHeader() == nullptr) {
        status = StatusNoMatFile;
        return status;
    }
    for (const MatHeader& header : level4->Headers()) {
        int rows = header.rows;
        int columns = header.columns;
        if (header.type == MatHeader::Sparse && !level4->GetSize(header, rows, columns)) {
            rows = columns = -1;
        }
        list.push_back(NvString::Format("%.20s  %dx%d  %s matrix%s", header.name.c_str(), rows, columns,
                                        TypeName(header), header.complex ? " (complex)" : ""));
    }
    return status;
}

void MatFile::SetCurMatrix(int index) {
    currentMatrix = index >= 0 && index < GetNumberOfMatrices() ? index : -1;
}

bool MatFile::IsComplex() const {
    const MatHeader* const header = CurrentHeader();
    return header != nullptr && header->complex;
}

std::vector<FileContents::Part> MatFile::ListParts() {
    std::vector<Part> parts;
    if (element != nullptr) {
        msMatrix matrix;
        element->Rewind();
        try {
            if (Matlab5Reader(*element, level5Swap).ReadArray(matrix) == StatusOk) {
                parts.push_back({"matrix", matrix.name, 1, matrix.columns, matrix.rows, false,
                                 matrix.sparse ? "sparse" : ""});
            }
        } catch (const Exception& exception) {
            parts.push_back({"matrix", matrix.name, 1, -1, -1, false, exception.what()});
        }
        return parts;
    }
    for (int i = 0; i < GetNumberOfMatrices(); ++i) {
        const MatHeader& header = level4->Headers()[static_cast<std::size_t>(i)];
        int rows = -1;
        int columns = -1;
        if (!level4->GetSize(header, rows, columns)) {
            rows = columns = -1;
        }
        parts.push_back({"matrix", header.name, i + 1, columns, rows, false,
                         std::string(TypeName(header)) + (header.complex ? ", complex" : "")});
    }
    return parts;
}

bool MatFile::SelectPart(int number) {
    if (isLevel5) {
        return number == 1;
    }
    SetCurMatrix(number > 0 ? number - 1 : -1);
    return currentMatrix >= 0;
}

MatFileFactory::MatFileFactory(signed char priority)
    : SprFileFactory("Matlab File", "Matlab Files (*.mat)", "Matlab Files (*.mat)", 1, ".mat\0", 1, 1, 0, 0,
                     0, priority) {}

MyKindOfFile MatFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* MatFileFactory::GetSpreadsheetFile() {
    return new MatFile;
}

static MatFileFactory matFileFactory(1);
