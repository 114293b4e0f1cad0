#include "tests/support/SpectrumTruth.h"

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

using boost::property_tree::ptree;

namespace {

std::vector<double> ReadNumbers(const ptree& list) {
    std::vector<double> numbers;
    for (const auto& item : list) {
        numbers.push_back(item.second.get_value<double>());
    }
    return numbers;
}

}  // namespace

SpectrumTruth ReadSpectrumTruth(const std::string& spectrumPath) {
    ptree root;
    boost::property_tree::read_json(spectrumPath + ".truth.json", root);
    SpectrumTruth truth{root.get<int>("n_spectra"),
                        root.get<int>("n_points"),
                        root.get<double>("first_x"),
                        root.get<double>("last_x"),
                        {}};
    for (const auto& item : root.get_child("spectra")) {
        const ptree& spectrum = item.second;
        truth.spectra.push_back({spectrum.get<int>("index"), ReadNumbers(spectrum.get_child("y_first5")),
                                 ReadNumbers(spectrum.get_child("y_last5")), spectrum.get<double>("y_sum")});
    }
    return truth;
}
