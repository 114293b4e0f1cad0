#include "tests/support/Samples.h"

#include <fstream>

std::vector<Sample> AllSamples() {
    const std::string folder = KARTA_SOURCE_DIR;
    std::ifstream list(folder + "/tests/tools/detection-of-samples.txt");
    std::vector<Sample> samples;
    for (std::string name, format; std::getline(list, name, '\t') && std::getline(list, format);) {
        samples.push_back({name, folder + "/samples/" + name, format});
    }
    return samples;
}
