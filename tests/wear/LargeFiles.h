#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/** A file that tests/wear/large-files makes, and the format that reads it. */
struct LargeFile {
    const char* name;
    const char* format;
};

/** One of every format, and of its forms that are read in ways of their own. */
std::vector<LargeFile> AllLargeFiles();

/** Makes it in a folder, with what belongs beside it; its path. */
std::string MakeLargeFile(const std::string& folder, const LargeFile& file);

/** For the names of tests. */
std::string NameOf(const LargeFile& file);
void PrintTo(const LargeFile& file, std::ostream* stream);
