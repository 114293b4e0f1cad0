#include "container/MatFile.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "base/NumberParser.h"
#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "container/Mat4Arrays.h"
#include "container/Mat4Content.h"
#include "container/Mat5Arrays.h"
#include "container/Mat5Content.h"
#include "container/MatLevel4Writer.h"
#include "container/MatWorkspace.h"
#include "frame/FormatRecogniser.h"
#include "host/NvString.h"

namespace {

// The bytes that tell the level, as a text such as "MATLAB 5.0 MAT-file".
constexpr std::size_t LevelTestSize = 20;
constexpr int Level5Version = 5;

// MATLAB 7.3 writes HDF5 behind a block of its own; others begin with it.
constexpr std::string_view Hdf5Signature("\x89HDF\r\n\x1a\n", 8);
constexpr std::size_t Hdf5Offsets[] = {0, 512, 1024, 2048};

// Octave's own forms have the same extension.
constexpr std::string_view OctaveText = "# Created by Octave";
constexpr std::string_view OctaveBinary = "Octave-1-";

std::string_view TextOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool IsHdf5(std::span<const std::uint8_t> bytes) {
    return std::any_of(std::begin(Hdf5Offsets), std::end(Hdf5Offsets), [&](std::size_t offset) {
        return bytes.size() > offset && TextOf(bytes.subspan(offset)).starts_with(Hdf5Signature);
    });
}

// Numbers in text have the same extension too, where MATLAB's or Octave's save wrote them with -ascii.
bool IsPlainText(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t Enough = 512;
    return std::all_of(bytes.begin(),
                       bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), Enough)),
                       [](std::uint8_t byte) { return byte >= 0x20 || IsSpace(static_cast<char>(byte)); });
}

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

}  // namespace

MatFile::MatFile() = default;
MatFile::~MatFile() = default;

void MatFile::Close() {
    content.reset();
    level4 = nullptr;
    file.Close();
    output.reset();
    FormatReader::Close();
    mode = ModeClosed;
}

MatChoice MatFile::GetChoice() const {
    return {currentMatrix, namedLayout, idLayout};
}

const MatHeader* MatFile::CurrentHeader() const {
    return level4 == nullptr ? nullptr : level4->CurrentHeader(GetChoice());
}

bool MatFile::GetTableSize(int& rows, int& columns) {
    if (status != StatusOk || content == nullptr) {
        return false;
    }
    if (level4 != nullptr && (namedLayout || idLayout)) {
        currentMatrix = level4->FoundLayout().matrix;
    }
    const int failure = content->GetSize(GetChoice(), rows, columns);
    // Without a current matrix there is no size, but nothing has failed.
    if (failure != StatusOk && failure != StatusNoMatFile) {
        failureText = content->GetFailure();
        failurePlace = content->GetFailurePlace();
        status = failure;
    }
    return failure == StatusOk;
}

int MatFile::GetNumCols() {
    int rows = -1;
    int columns = -1;
    return GetTableSize(rows, columns) ? columns : -1;
}

int MatFile::GetNumRows() {
    int rows = -1;
    int columns = -1;
    return GetTableSize(rows, columns) ? rows : -1;
}

void MatFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusOpenFailed, "Unable to open file."},
        {StatusNoMatFile,
         "An error occurred while reading the file. The file does not seem to be a valid MATLAB MAT-file and "
         "cannot be imported as such."},
        {StatusCorrupt,
         "An error occurred while reading the file. The file seems to be corrupt and cannot be imported."},
        {StatusMatrixHeader,
         "An error occurred while reading the matrix header in the file. The file seems to be corrupt and "
         "cannot be imported."},
        {StatusMatrix,
         "An error occurred while reading a matrix in the file. The file seems to be corrupt and cannot be "
         "imported."},
        {StatusWriteFailed,
         "An error occurred while writing a matrix to the file. The dataset seems to be corrupt and cannot "
         "be "
         "exported."},
        {StatusNoNumericBlock, "This type of list cannot be exported to MATLAB."},
        {StatusComplexData, "Complex data."},
        {StatusDataType, "The file contains data of a type that cannot be interpreted."},
        {StatusVersion,
         "The file seems to be created by an unsupported version of MATLAB. Only MATLAB files version 4.x "
         "and 5 "
         "are supported."}};
    CopyStatusText(Texts, buffer, size);
}

int MatFile::OpenForWriting(const char* fileName) {
    mode = ModeWriting;
    textFileName = NvGetFileName(fileName);
    output = std::make_unique<OutputFile>(fileName);
    output->SetBudget(&GetContext()->budget);
    if (output->HasFailed()) {
        status = StatusOpenFailed;
    }
    return status;
}

int MatFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    content.reset();
    level4 = nullptr;
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
    status = IsComplete() ? OpenComplete(fileName, options) : OpenClassic();
    if (status != StatusOk) {
        level4 = nullptr;
        content.reset();
    }
    return status;
}

int MatFile::OpenClassic() {
    const auto bytes = file.GetBytes();
    const int version = VersionOf(bytes.first(LevelTestSize));
    if (version > Level5Version) {
        return StatusVersion;
    }
    isLevel5 = version == Level5Version;
    if (isLevel5) {
        content = std::make_unique<Mat5Content>(bytes, *GetContext());
        return content->Open();
    }
    auto matrices = std::make_unique<Mat4Content>(bytes, *GetContext());
    level4 = matrices.get();
    content = std::move(matrices);
    const int failure = content->Open();
    return failure != StatusOk ? failure : TakeLayout();
}

int MatFile::TakeLayout() {
    namedLayout = level4->FoundLayout().namedLayout;
    idLayout = level4->FoundLayout().idLayout;
    SetOptions();
    if (status == StatusAbortedByUser) {
        file.Close();
    }
    return status;
}

int MatFile::OpenComplete(const char* fileName, const NvImportOpenOptions* options) {
    const auto bytes = file.GetBytes();
    GetContext()->budget.AddInput(fileName);
    const std::string name = NvGetFileName(fileName);
    if (IsHdf5(bytes)) {
        failureText = name +
                      " is an HDF5 file (MATLAB 7.3 and later); save the variables again, in MATLAB with "
                      "save(..., '-v7'), in Octave with save -7, and read that file";
        return StatusVersion;
    }
    const bool isOctaveText = TextOf(bytes).starts_with(OctaveText);
    if (isOctaveText || TextOf(bytes).starts_with(OctaveBinary)) {
        failureText = name + " is a " + (isOctaveText ? "text" : "binary") +
                      " file of Octave; save the variables again with save -7 and read that file";
        return StatusNoMatFile;
    }
    const int version = VersionOf(bytes.first(LevelTestSize));
    isLevel5 = version == Level5Version || Mat5Arrays::IsLevel5(bytes);
    if (!isLevel5 && IsPlainText(bytes)) {
        failureText = name + " is no MAT-file but plain text; it is read with --format text";
        return StatusNoMatFile;
    }
    if (version > Level5Version && !isLevel5) {
        return StatusVersion;
    }
    if (isLevel5 && bytes.size() < Mat5Arrays::HeaderSize) {
        return StatusCorrupt;
    }
    return WithinBudget(FailureOfLevel(), [&]() -> int {
        std::unique_ptr<MatArrays> arrays;
        if (isLevel5) {
            arrays = std::make_unique<Mat5Arrays>(bytes, *GetContext());
        } else {
            arrays = std::make_unique<Mat4Arrays>(bytes, *GetContext());
        }
        content = std::make_unique<MatWorkspace>(std::move(arrays), options, *GetContext());
        const int failure = content->Open();
        failureText = content->GetFailure();
        failurePlace = content->GetFailurePlace();
        return failure;
    });
}

// For a read that outgrows what it may cost.
int MatFile::FailureOfLevel() const {
    return isLevel5 ? StatusCorrupt : StatusMatrix;
}

int MatFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeReading) {
        status = StatusWrongMode;
        return status;
    }
    if (content == nullptr) {
        status = StatusNoMatFile;
        return status;
    }
    status = WithinBudget(FailureOfLevel(), [&] { return content->Read(sink, GetChoice()); });
    if (failureText.empty()) {
        failureText = content->GetFailure();
        failurePlace = content->GetFailurePlace();
    }
    return status;
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
        if (header.type == MatHeader::Sparse && !level4->GetMatrixSize(header, rows, columns)) {
            rows = columns = -1;
        }
        list.push_back(NvString::Format("%.20s  %dx%d  %s matrix%s", header.name.c_str(), rows, columns,
                                        Mat4Content::TypeName(header), header.complex ? " (complex)" : ""));
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
    return content == nullptr ? std::vector<Part>() : content->ListParts();
}

std::vector<FileContents::Fact> MatFile::ListFacts() {
    return content == nullptr ? std::vector<Fact>() : content->ListFacts();
}

bool MatFile::SelectPart(int number) {
    if (content == nullptr) {
        return false;
    }
    MatChoice choice = GetChoice();
    const bool isThere = content->SelectPart(number, choice);
    currentMatrix = choice.matrix;
    return isThere;
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

// A level 5 file says so; a level 4 file is nothing but matrices with names.
static FormatRecogniser::Evidence RecogniseMatFile(const char* path, std::string_view head) {
    const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(head.data()),
                                              head.size());
    if (head.starts_with("MATLAB 5.0") || head.starts_with("MATLAB 7.3") || Mat5Arrays::IsLevel5(bytes)) {
        return FormatRecogniser::Evidence::Proof;
    }
    // Most other files end at their first bytes.
    if (bytes.size() < LevelTestSize || !Mat4Arrays::MayBeLevel4(bytes)) {
        return FormatRecogniser::Evidence::None;
    }
    const MappedFile file(path);
    return file.IsOpen() && Mat4Arrays::IsLevel4(file.GetBytes()) ? FormatRecogniser::Evidence::Proof
                                                                  : FormatRecogniser::Evidence::None;
}

static const FormatRecogniser matFileRecogniser("Matlab File", "mat", {}, RecogniseMatFile);
