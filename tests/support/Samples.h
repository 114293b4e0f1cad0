#pragma once

#include <string>
#include <vector>

/** A file of the project's samples, and the format that it is taken for. */
struct Sample {
    std::string name;
    std::string path;
    std::string format;
};

/** All that are recorded in tests/tools/detection-of-samples.txt. */
std::vector<Sample> AllSamples();
