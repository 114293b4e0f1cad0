#pragma once

#include <string>
#include <vector>

/** One of many files that are converted. */
struct ListedFile {
    std::string path;
    std::string relative; /**< to the folder that the user named, or the file's name alone */
};

/**
 * The files that folders and patterns such as "data" and "data/20??-run.spc" stand for, in the order of their
 * names; "**" in a pattern is any number of folders. Names of files are taken as they are. What begins with a
 * dot is left out of folders. Raises Failure for a pattern or folder without files.
 */
std::vector<ListedFile> ListFiles(const std::vector<std::string>& names);
