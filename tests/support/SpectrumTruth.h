#pragma once

#include <string>
#include <vector>

/** What an independent reader found in a spectral file: the file that lies beside it as NAME.truth.json. */
struct SpectrumTruth {
    struct Spectrum {
        int index; /**< from 0 */
        std::vector<double> firstValues;
        std::vector<double> lastValues;
        double sum;
    };

    int numSpectra;
    int numPoints;
    double firstX;
    double lastX;
    std::vector<Spectrum> spectra; /**< some of them only */
};

/** Raises an exception when the truth can't be read. */
SpectrumTruth ReadSpectrumTruth(const std::string& spectrumPath);
