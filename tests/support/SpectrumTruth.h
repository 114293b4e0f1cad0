#pragma once

#include <string>
#include <vector>

/** What an independent reader found in a file of spectra: the file that lies beside it as NAME.truth.json. */
struct SpectrumTruth {
    struct Spectrum {
        int index; /**< from 0 */
        std::string title;
        int points;
        double timeMinutes;         /**< -1 where there is none */
        std::vector<double> firstY; /**< of the first points */
        std::vector<double> lastY;  /**< of the last points */
        double sumY;
        double z; /**< NaN where there is none */
    };

    int numSpectra = 0;
    int numPoints = 0; /**< of the file's axis, where all spectra share it */
    double firstX = 0;
    double lastX = 0;
    std::string xUnits;
    std::string sample;
    std::string yUnits;
    std::vector<Spectrum> spectra; /**< all of them, or the first and the last */
};

/** Raises an exception when the truth can't be read. */
SpectrumTruth ReadSpectrumTruth(const std::string& spectrumPath);
