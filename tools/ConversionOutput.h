#pragma once

#include <memory>
#include <string>

#include "base/OutputFile.h"
#include "base/TemporaryFolder.h"

/** Whether results go to standard output and that is a terminal, which gets no control characters. */
bool IsTerminal(const std::string& output);

/** Whether what has gone there can't be taken back: standard output, a device, a pipe. */
bool IsDirect(const std::string& output);

/** Where a conversion writes: a file that is put in place when it is whole, or standard output for "-". */
class ConversionOutput {
public:
    /** Raises Failure where it can't be written. */
    explicit ConversionOutput(const std::string& outputName);

    OutputFile& GetFile() { return *file; }
    /** Puts the file in place. Raises Failure. */
    void Commit();

private:
    std::string name;
    std::unique_ptr<TemporaryFolder> folder;  // for what a terminal shows
    std::unique_ptr<OutputFile> file;
};

/** The same for a writer that wants the name of a file of its own. */
class NamedConversionOutput {
public:
    explicit NamedConversionOutput(const std::string& outputName);

    const std::string& GetPath() const { return path; }
    /** To be called when the file is written. Raises Failure. */
    void Commit();

private:
    std::unique_ptr<TemporaryFolder> folder;  // for standard output
    std::string path;
};
