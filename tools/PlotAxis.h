#pragma once

#include <string>
#include <vector>

/** An axis of a picture. */
struct PlotAxis {
    std::string name; /**< never empty */
    std::string unit; /**< may be empty */
    /** The values are milliseconds since 1970-01-01 00:00. */
    bool isTime = false;
    /** People draw it from right to left, as wavenumbers. */
    bool isReversed = false;
    std::vector<double> values;

    /** "wavelength (nm)" */
    std::string GetTitle() const { return unit.empty() ? name : name + " (" + unit + ")"; }
};
