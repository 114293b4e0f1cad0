#pragma once

#include <memory>
#include <string>
#include <utility>

#include "archive/CompoundFile.h"
#include "base/Export.h"
#include "base/ReadContext.h"
#include "host/project/NvStreamSource.h"
#include "host/project/ProjectCipher.h"

/** What can be asked of a project's file before its content: whether it is encrypted, and its key. */
class KARTA_EXPORT CompundFileBase {
public:
    virtual ~CompundFileBase() = default;

    virtual const std::string& GetFileName() const = 0;
    /** Whether the streams are sealed: they can't be read before the right password is set. */
    virtual bool IsEncrypted() const = 0;
    /** False for another password than the project's. Raises ProjectCipher::NoMemory. */
    virtual bool SetPassword(const char* password) = 0;
};

/** A compound file as a source of streams, for a look into what may be a project. */
class PureCompoundFileStreamSource : public CompundFileBase, public NvStreamSource {
public:
    /** For whom the streams opened later are read; without one nothing of them is counted. */
    void SetContext(std::shared_ptr<karta::ReadContext> readContext) { context = std::move(readContext); }

    /** True when the file is a compound file. It isn't written to, with `readOnly` or without. */
    bool Open(const std::string& path, bool readOnly);

    const std::string& GetFileName() const override { return fileName; }
    bool IsEncrypted() const override { return StreamExists(ProjectCipher::StreamName); }
    bool SetPassword(const char* password) override;
    bool StreamExists(const std::string& name) const override;
    /** Opened, where the project is encrypted, with the password that was set; null without it. */
    std::unique_ptr<UStreamBase> OpenStream(const std::string& name) const override;

protected:
    /** A stream's bytes as they are in the file. */
    std::unique_ptr<UStreamBase> OpenRawStream(const std::string& name) const;

    std::string fileName;
    CompoundFile file;
    std::unique_ptr<ProjectCipher> cipher;
    std::shared_ptr<karta::ReadContext> context;
};

/**
 * A project's file, opened for an import. Its streams are read in place; what else an application unpacks
 * from a project goes to the folder that it names here, which is made by whoever needs it and not by reading.
 */
class CompoundFileStreamSource : public PureCompoundFileStreamSource {
public:
    enum OpenMode { OpenForReading = 0 };
    enum CloseMode { CloseUnchanged = 0 };
    /** The results of Open. */
    enum OpenResult { OpenOk = 0, OpenFailed = 1 };

    CompoundFileStreamSource(std::string path, std::string folderName);

    /** The name of a new folder below `temporaryPath`, ended by a separator or not; the folder isn't made. */
    static std::string GetTempFolderName(const std::string& path, const std::string& temporaryPath);

    bool DirectoryExists() const;
    /** Removes the folder with everything in it. */
    void DeleteDirectory();

    /** OpenOk, or OpenFailed for what is no compound file. */
    int Open(OpenMode mode, bool exclusive);
    void Close(CloseMode mode, bool deleteFolder);

private:
    std::string folder;
};
