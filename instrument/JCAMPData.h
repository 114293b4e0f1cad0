#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

/** One spectrum inside a data block. */
struct JCAMPPage {
    std::uint64_t position = 0; /**< the offset of the first byte behind the page's label line */
    std::string name;           /**< the value of ##PAGE=, or the file's name for a page of a data label */
    int points = -1;            /**< what ##NPOINTS= had said when the page was met; -1 before it */
};

/** One data block: what stands between a ##TITLE= and its ##END=. */
struct JCAMPData {
    enum DataClass {
        ClassLink = 0,
        ClassXYData = 1,
        ClassRAData = 3,
        ClassXYPoints = 4,
        ClassPeakTable = 5,
        ClassAssignments = 6,
        ClassNTuples = 7,
        ClassUnrecognised = 8
    };

    std::string fileName; /**< without folders */
    std::string path;     /**< as it was given to Open */
    std::string title;
    std::optional<std::string> dataType;
    std::optional<std::string> dateText;
    int dataClass = ClassUnrecognised;
    int blockCount = -1; /**< the value of ##BLOCKS=, which nothing depends on */
    std::optional<std::string> blockId;
    std::string xUnits;
    std::string yUnits;
    double firstX = std::numeric_limits<double>::quiet_NaN();
    double lastX = std::numeric_limits<double>::quiet_NaN();
    double xFactor = 1.0;
    double yFactor = 1.0;
    double deltaX = 0.0;
    int nPoints = -1;
    int numPages = 0;
    std::vector<JCAMPPage> pages;
    bool selected = true;
    std::uint64_t position = 0; /**< of a file's last block: the file's end */
};
