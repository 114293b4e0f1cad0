#pragma once

#include <memory>
#include <string>

#include "tools/ReadRequest.h"

/**
 * Standard input as a file, which readers want: where a request names "-", what comes is put into a temporary
 * file, which is gone with the object, and the request names that.
 */
class StandardInput {
public:
    StandardInput();
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;
    ~StandardInput();

    /** Raises Failure when more comes than a read may take, or "-" is named twice. */
    void Take(ReadRequest& request);

    /** The text with the temporary file by its name for people. */
    std::string Named(std::string text) const;

private:
    struct Folder;

    std::unique_ptr<Folder> folder;
    std::string path;
};
