#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "frame/FileContents.h"

/** The parts of a file that the user chose with one option. */
class PartChoice {
public:
    /**
     * `wanted` is a name as it stands in the file or as `info` prints it, in any case of letters; or a place
     * from 1; or "all"; or a comma-separated list of these. A name goes before a place. Raises Error
     * (NoSuchPart) for what names no part; `option` is what asks for it.
     */
    PartChoice(const std::vector<FileContents::Part>& parts, const std::string& wanted, const char* option);

    /** In the order of the choice. */
    const std::vector<const FileContents::Part*>& GetParts() const { return chosen; }
    /** For a record of options: names as the file has them, places as they were given. */
    const std::string& GetText() const { return text; }

private:
    bool Add(const std::vector<FileContents::Part>& parts, std::string_view wanted);

    std::vector<const FileContents::Part*> chosen;
    std::string text;
};
