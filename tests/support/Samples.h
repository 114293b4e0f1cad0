#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/** A file of the project's samples, and the format that it is taken for. */
struct Sample {
    std::string name;
    std::string path;
    std::string format;
};

/** All that are recorded as read in tests/tools/detection-of-samples.txt. */
std::vector<Sample> ReadableSamples();

/** For the names of tests. */
void PrintTo(const Sample& sample, std::ostream* stream);
