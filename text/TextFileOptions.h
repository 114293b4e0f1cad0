#pragma once

#include <string>

/** The choices for a delimited text file. */
struct TextFileOptions {
    std::string delimiter = "\t";
    bool ignoreConsecutive = false; /**< a run of delimiters counts as one */
};
