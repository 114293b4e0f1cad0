#include "tests/support/SpectrumTruth.h"

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <limits>

using boost::property_tree::ptree;

namespace {

const ptree Nothing;

std::vector<double> Numbers(const ptree& list) {
    std::vector<double> numbers;
    for (const auto& item : list) {
        numbers.push_back(item.second.get_value(0.0));
    }
    return numbers;
}

}  // namespace

SpectrumTruth ReadSpectrumTruth(const std::string& spectrumPath) {
    ptree root;
    boost::property_tree::read_json(spectrumPath + ".truth.json", root);
    SpectrumTruth truth;
    truth.numSpectra = root.get("n_spectra", 0);
    truth.numPoints = root.get("n_points", 0);
    truth.firstX = root.get("first_x", 0.0);
    truth.lastX = root.get("last_x", 0.0);
    truth.xUnits = root.get("x_units", "");
    truth.yUnits = root.get("y_units", "");
    truth.sample = root.get("sample", "");
    for (const auto& item : root.get_child("spectra", Nothing)) {
        const ptree& spectrum = item.second;
        truth.spectra.push_back({spectrum.get("index", 0), spectrum.get("title", ""),
                                 spectrum.get("n_points", 0), spectrum.get("time_min", -1.0),
                                 Numbers(spectrum.get_child("y_first5", Nothing)),
                                 Numbers(spectrum.get_child("y_last5", Nothing)), spectrum.get("y_sum", 0.0),
                                 spectrum.get("z", std::numeric_limits<double>::quiet_NaN())});
    }
    return truth;
}
