#include "text/PlanoFile.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string_view>

#include "archive/CompoundFile.h"
#include "base/PathNames.h"
#include "base/TemporaryFile.h"
#include "frame/FormatRecogniser.h"
#include "host/NvFile.h"

namespace {

constexpr std::size_t SuffixLength = 4;
constexpr std::string_view ProjectSuffix = ".mip";
constexpr std::string_view WorksheetSuffix = ".dat";

// How much of a file is searched for a NUL, the mark of a binary file, when a format is looked for.
constexpr std::size_t TextTestSize = 0x3200000;

constexpr std::size_t ChunkSize = 65536;

bool HasSuffix(std::string_view name, std::string_view suffix) {
    return name.size() >= SuffixLength && EqualIgnoringCase(name.substr(name.size() - SuffixLength), suffix);
}

// False when the stream's bytes aren't all there; a failure of the output shows in the output.
bool CopyStream(CompoundStream& source, std::ofstream& target, const karta::ReadContext& context) {
    char chunk[ChunkSize];
    while (source.Tell() < source.GetSize() && target) {
        context.ThrowIfStopped();
        const auto count =
            static_cast<std::size_t>(std::min<std::uint64_t>(ChunkSize, source.GetSize() - source.Tell()));
        if (!source.Read(chunk, count)) {
            return false;
        }
        target.write(chunk, static_cast<std::streamsize>(count));
    }
    return true;
}

}  // namespace

PlanoFile::PlanoFile() = default;

PlanoFile::~PlanoFile() {
    RemoveCopy();
}

void PlanoFile::Close() {
    TextFile::Close();
    RemoveCopy();
}

void PlanoFile::RemoveCopy() {
    if (tempFileUsed && !tempFileName.empty()) {
        std::remove(tempFileName.c_str());
        unfinished.Release();
        tempFileName.clear();
    }
}

void PlanoFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusNoWorksheet, "Could not find the worksheet in the file."},
        {StatusNotPlano, "The file does not appear to be a valid PLANO file."},
        {StatusStreamFailed, StreamFailedText},
        {StatusMoreData, MoreDataText},
        {StatusBinaryFile, BinaryFileText},
    };
    CopyStatusText(Texts, buffer, size);
}

int PlanoFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    if (!HasSuffix(fileName, ProjectSuffix) && IsTextFile(fileName)) {
        TextFile::Open(forRead, fileName, options);
        return StatusOk;
    }
    status = CopyWorksheet(fileName);
    if (status != StatusOk) {
        return status;
    }
    TextFile::Open(forRead, tempFileName.c_str(), options);
    return StatusOk;
}

bool PlanoFile::SetOptions() {
    return true;
}

int PlanoFile::CopyWorksheet(const char* fileName) {
    RemoveCopy();
    tempFileName = MakeTemporaryFile("tmp");
    tempFileUsed = true;
    if (!tempFileName.empty()) {
        unfinished.Hold(tempFileName.c_str());
    }
    const CompoundFile project(fileName);
    if (!project.IsOpen()) {
        return StatusNotPlano;
    }
    const auto& entries = project.GetEntries();
    const auto worksheet = std::find_if(entries.begin(), entries.end(), [](const CompoundFile::Entry& entry) {
        return HasSuffix(entry.name, WorksheetSuffix);
    });
    if (worksheet == entries.end() || !worksheet->isStream) {
        return StatusNoWorksheet;
    }
    std::ofstream copy(tempFileName, std::ios_base::binary);
    const std::unique_ptr<CompoundStream> stream = project.OpenStream(*worksheet);
    // What can't be copied whole is refused, rather than half a table read without a word.
    const bool isWhole = CopyStream(*stream, copy, *GetContext());
    copy.close();
    if (!copy) {
        return StatusStreamFailed;
    }
    if (!isWhole) {
        failurePlace.part = worksheet->name;
        return StatusNotPlano;
    }
    return StatusOk;
}

PlanoFileFactory::PlanoFileFactory()
    : SprFileFactory("PLANO File", "PLANO Files (*.mip; *.dat)", nullptr, 2, ".mip\0.dat\0", 0, 1, 0, 1, 0,
                     1) {}

MyKindOfFile PlanoFileFactory::IsMyKindOfFile(const char* fileName) {
    if (HasExtension(fileName, "mip")) {
        return KindProbably;
    }
    return ::IsTextFile(fileName, TextTestSize) ? KindProbably : KindNo;
}

SpreadsheetFile* PlanoFileFactory::GetSpreadsheetFile() {
    return new PlanoFile;
}

static PlanoFileFactory planoFileFactory;
static FormatRecogniser planoFileRecogniser("PLANO File", "plano", {}, FormatRecogniser::ProvesNothing);
