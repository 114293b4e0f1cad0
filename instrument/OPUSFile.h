#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteCursor.h"
#include "base/Note.h"
#include "frame/FileContents.h"
#include "instrument/OPUSDirectory.h"
#include "instrument/SpectrumTexts.h"

/** A date and a time as an OPUS file has them: "03/05/2019" and "13:34:44.641 (GMT-4)". */
struct OPUSTime {
    std::string dateText;
    std::string timeText;

    /** Days since 1970; nothing for a text that isn't a date. */
    std::optional<std::int32_t> GetDays() const;
    /** Microseconds since midnight, in the zone that the text tells. */
    std::optional<std::int64_t> GetMicroseconds() const;
    /** Minutes east of Greenwich. */
    std::optional<int> GetZoneMinutes() const;
    /** By ISO 8601, with the zone; as they stand where they can't be understood. */
    std::string AsText() const;
};

/** One spectrum of a file: a data block with the axis that its data status block tells. */
struct OPUSSpectrum {
    enum Format { Real32 = 1, Int32 = 2 };

    std::string name; /**< "absorbance", "sample interferogram"; each of a file's its own */
    OPUSBlock block;
    int numPoints = 0; /**< as many values as are really there */
    double firstX = 0.0;
    double lastX = 0.0;  /**< of the axis, which may promise more points than there are */
    int numSpacings = 0; /**< of the axis */
    double scale = 1.0;
    Format format = Real32;
    std::string xUnits; /**< WN, MI, LGW, MIN, PNT ... */
    OPUSTime time;

    double GetSpacing() const { return numSpacings > 0 ? (lastX - firstX) / numSpacings : 0.0; }
    /** Exactly what the file says at both ends. */
    double GetX(int index) const {
        return index > 0 && index == numSpacings ? lastX : firstX + index * GetSpacing();
    }
    std::vector<double> MakeAxis() const;
    double GetLastX() const { return GetX(numPoints > 0 ? numPoints - 1 : 0); }
    /** Whether the values of both stand under the same X. */
    bool HasAxisOf(const OPUSSpectrum& other) const;
    /** How good it is as what a reader of the file wants to see first: less is better. */
    int GetRank() const;
};

/** All that one OPUS file holds: every pair of a data block and its status, and the texts beside them. */
struct OPUSFile {
    std::string path;
    std::string sampleName;
    std::string sampleForm;
    std::vector<OPUSSpectrum> spectra; /**< in the order of the directory */
    std::vector<karta::Note> notes;    /**< about what of the file isn't in them */

    /** Looks at the directory and the parameters. The bytes begin as an OPUS file does. */
    OPUSFile(std::string filePath, ByteCursor bytes, SpectrumTexts& texts);

    /** The one that a scientist would choose; the file has one. */
    const OPUSSpectrum& GetPreferred() const;
};

/** The parameters of a file's blocks, each as a fact with its unit where that is known; and its history. */
std::vector<FileContents::Fact> ListOPUSParameters(ByteCursor bytes, SpectrumTexts& texts);
