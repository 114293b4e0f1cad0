#pragma once

#include <string>
#include <string_view>

/** A new folder for a test's files, gone with the object. */
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();

    /** The path of a name in the folder. */
    std::string Path(std::string_view name) const;
    /** Writes a file and tells its path. */
    std::string Write(std::string_view name, std::string_view bytes) const;

private:
    std::string folder;
};

/** All bytes of a file; empty when there is none. */
std::string ReadWholeFile(const std::string& path);
