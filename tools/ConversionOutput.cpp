#include "tools/ConversionOutput.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

#include "tools/Failure.h"
#include "tools/Interrupt.h"

namespace {

constexpr const char* StandardOutput = "-";
constexpr const char* TemporaryPrefix = "karta-import-";

// `output` is the name that the user knows the file by.
void PutInPlace(OutputFile& file, const std::string& output) {
    // A reader of standard output that has gone away has had enough.
    if (!file.Commit() && !(output == StandardOutput && file.GetError() == EPIPE)) {
        throw Failure(output + ": could not be written: " + std::strerror(file.GetError()));
    }
}

void CopyToStandardOutput(const std::string& path) {
    std::ifstream source(path, std::ios::binary);
    OutputFile file(STDOUT_FILENO);
    const bool isTerminal = IsTerminal(StandardOutput);
    char piece[1 << 16];
    while (source && !file.HasFailed()) {
        Interrupt::ThrowIfRequested();
        source.read(piece, sizeof piece);
        if (isTerminal) {
            std::cout.write(piece, source.gcount());
        } else {
            file.Write({piece, static_cast<std::size_t>(source.gcount())});
        }
    }
    if (!source.eof() && !file.HasFailed()) {
        throw Failure(path + ": could not be read back");
    }
    PutInPlace(file, StandardOutput);
}

// Where an output grows that is to go to standard output.
std::string PathIn(const TemporaryFolder& folder) {
    if (folder.GetPath().empty()) {
        throw Failure("no temporary folder can be made");
    }
    return folder.GetPath() + "/" + StandardOutput;
}

}  // namespace

bool IsTerminal(const std::string& output) {
    return output == StandardOutput && isatty(STDOUT_FILENO) != 0;
}

bool IsDirect(const std::string& output) {
    std::error_code unknown;
    return output == StandardOutput ||
           (std::filesystem::exists(output, unknown) && !std::filesystem::is_regular_file(output, unknown));
}

ConversionOutput::ConversionOutput(const std::string& outputName) : name(outputName) {
    if (IsTerminal(name)) {
        folder = std::make_unique<TemporaryFolder>(TemporaryPrefix);
        file = std::make_unique<OutputFile>(PathIn(*folder));
    } else if (name == StandardOutput) {
        file = std::make_unique<OutputFile>(STDOUT_FILENO);
    } else {
        file = std::make_unique<OutputFile>(name);
    }
    if (file->HasFailed()) {
        PutInPlace(*file, name);
    }
}

void ConversionOutput::Commit() {
    PutInPlace(*file, name);
    if (folder) {
        CopyToStandardOutput(PathIn(*folder));
    }
}

NamedConversionOutput::NamedConversionOutput(const std::string& outputName) : path(outputName) {
    if (outputName == StandardOutput) {
        folder = std::make_unique<TemporaryFolder>(TemporaryPrefix);
        path = PathIn(*folder);
    }
}

void NamedConversionOutput::Commit() {
    if (folder) {
        CopyToStandardOutput(path);
    }
}
