#include "tests/support/Samples.h"

#include <fstream>
#include <ostream>
#include <sstream>

std::vector<Sample> ReadableSamples() {
    const std::string folder = KARTA_SOURCE_DIR;
    std::ifstream list(folder + "/tests/tools/detection-of-samples.txt");
    std::vector<Sample> samples;
    for (std::string line; std::getline(list, line);) {
        std::istringstream fields(line);
        std::string name;
        std::string format;
        std::string status;
        const bool isWhole = std::getline(fields, name, '\t') && std::getline(fields, format, '\t') &&
                             std::getline(fields, status, '\t');
        if (isWhole && line.front() != '#' && status == "0") {
            samples.push_back({name, folder + "/samples/" + name, format});
        }
    }
    return samples;
}

void PrintTo(const Sample& sample, std::ostream* stream) {
    *stream << sample.name;
}
