#pragma once

#include <string>

#include "base/Export.h"
#include "base/UnfinishedFile.h"

/** A folder of its own in the system's temporary directory, gone with the object and with the program. */
class KARTA_EXPORT TemporaryFolder {
public:
    /** Check GetPath afterwards. */
    explicit TemporaryFolder(const std::string& prefix);
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    /** Empty when no folder could be made. */
    const std::string& GetPath() const { return path; }

private:
    const std::string path;
    UnfinishedFile unfinished;
};
