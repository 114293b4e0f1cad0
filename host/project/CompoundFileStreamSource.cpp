#include "host/project/CompoundFileStreamSource.h"

#include <algorithm>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

#include "base/PathNames.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "host/project/ProjectVersion.h"
#include "host/project/UStreamBase.h"

namespace fs = std::filesystem;

namespace {

/** A stream of the compound file as it stands there. */
class RawStream : public UStreamBase {
public:
    RawStream(std::unique_ptr<CompoundStream> source, std::uint64_t fileSize)
        : stream(std::move(source)), size(std::min(stream->GetSize(), fileSize)) {}

    bool Read(void* buffer, std::size_t size) override {
        failed = failed || !stream->Read(static_cast<char*>(buffer), size);
        return !failed;
    }
    std::uint64_t GetRemaining() const override { return size - std::min(size, stream->Tell()); }

private:
    std::unique_ptr<CompoundStream> stream;
    std::uint64_t size;  // as the directory says, which may lie, but no more than the file has
};

}  // namespace

bool PureCompoundFileStreamSource::Open(const std::string& path, bool /*readOnly*/) {
    fileName = path;
    cipher.reset();
    file = CompoundFile(path.c_str());
    return file.IsOpen();
}

bool PureCompoundFileStreamSource::SetPassword(const char* password) {
    const auto stream = OpenRawStream(ProjectCipher::StreamName);
    ProjectVersion version;
    if (const auto versionStream = OpenRawStream(ProjectVersion::GetVersionInfoStreamName())) {
        *versionStream >> version;
    }
    cipher = stream == nullptr ? nullptr : ProjectCipher::Open(*stream, password, version.number);
    return cipher != nullptr;
}

bool PureCompoundFileStreamSource::StreamExists(const std::string& name) const {
    const auto& entries = file.GetEntries();
    return std::any_of(entries.begin(), entries.end(), [&](const CompoundFile::Entry& entry) {
        return entry.isStream && entry.name == name;
    });
}

std::unique_ptr<UStreamBase> PureCompoundFileStreamSource::OpenRawStream(const std::string& name) const {
    for (const CompoundFile::Entry& entry : file.GetEntries()) {
        if (entry.isStream && entry.name == name) {
            return std::make_unique<RawStream>(file.OpenStream(entry), NvFile::GetSize(fileName.c_str()));
        }
    }
    return nullptr;
}

std::unique_ptr<UStreamBase> PureCompoundFileStreamSource::OpenStream(const std::string& name) const {
    auto stream = OpenRawStream(name);
    if (stream != nullptr && IsEncrypted() && name != ProjectVersion::GetVersionInfoStreamName()) {
        stream = cipher == nullptr ? nullptr : cipher->Unseal(std::move(stream), name);
    }
    if (stream != nullptr) {
        stream->SetContext(context);
    }
    return stream;
}

CompoundFileStreamSource::CompoundFileStreamSource(std::string path, std::string folderName)
    : folder(std::move(folderName)) {
    fileName = std::move(path);
}

std::string CompoundFileStreamSource::GetTempFolderName(const std::string& path,
                                                        const std::string& temporaryPath) {
    std::random_device random;
    const std::string name = NvGetFileTitle(path) + NvString::Format("-%08x%08x", random(), random());
    return (fs::path(temporaryPath) / name).string();
}

bool CompoundFileStreamSource::DirectoryExists() const {
    return !folder.empty() && NvFile::IsDirectory(folder.c_str());
}

void CompoundFileStreamSource::DeleteDirectory() {
    std::error_code error;
    fs::remove_all(folder, error);
}

int CompoundFileStreamSource::Open(OpenMode /*mode*/, bool exclusive) {
    const std::string path = fileName;
    return PureCompoundFileStreamSource::Open(path, exclusive) ? OpenOk : OpenFailed;
}

void CompoundFileStreamSource::Close(CloseMode /*mode*/, bool deleteFolder) {
    cipher.reset();
    file.Close();
    if (deleteFolder && DirectoryExists()) {
        DeleteDirectory();
    }
}
