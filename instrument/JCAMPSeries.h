#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/ReadSpreadSheetData.h"
#include "host/NCDataVector.h"
#include "instrument/JCAMPData.h"

class JCAMPDecoder;
class JCAMPStream;

/** How far the reading of a selection has come: what messages quote. */
struct JCAMPProgress {
    enum WarningCode {
        WarningNone = 0x600,
        WarningTooFew = 0x601,
        WarningTooMany = 0x602,
        WarningCheckFailed = 0x603
    };

    int lineNumber = 0; /**< counts the lines read, in both passes and all files together */
    int valuesRead = 0; /**< of the page that was read last */
    int valuesExpected = 0;
    int warningCode = WarningNone;
};

/**
 * How many values repetition counts may stand for in one read: a flat spectrum of a million points is still
 * believed of the smallest file, and of a large one that nearly all of it is flat.
 */
constexpr std::int64_t BelievedRepetitions = std::int64_t{1} << 20;
constexpr std::int64_t BelievedRepetitionsPerByte = 64;

/**
 * The spectra of the classic reading, set into the table one after the other: of the first one the X rows
 * too. A spectrum that isn't what it promises is left without values, with a warning.
 */
class JCAMPSeries {
public:
    /**
     * All but the first are the reader's and must outlive this. Where the axes differ, the values are
     * interpolated at the points of the grid.
     */
    JCAMPSeries(ReadSpreadSheetData& readerSink, JCAMPProgress& readerProgress,
                const NCDataVector<float>& commonGrid, bool axesDiffer);

    /** One more file is read, of so many bytes. */
    void AddFile(std::size_t size) {
        repetitionsLeft += BelievedRepetitionsPerByte * static_cast<std::int64_t>(size);
    }

    /** Sets the row of one page of a block that has a known class. Returns one of JCAMPFile's codes. */
    int ReadPage(JCAMPStream& stream, const JCAMPData& block, const JCAMPPage& page,
                 const std::string& label);

private:
    int ReadXYData(JCAMPStream& stream, const JCAMPData& block, const JCAMPPage& page,
                   const std::string& label);
    int ReadPeakTable(JCAMPStream& stream, const JCAMPData& block, const JCAMPPage& page,
                      const std::string& label);
    void BeginPage(const JCAMPData& block, const std::string& label);
    int ReadXYLine(std::string_view line);
    int EmitRuns(JCAMPDecoder& decoder);
    int EmitPoints(double y, int count, bool missing);
    int ReadPeaks(std::string_view line, const JCAMPData& block);
    int ReadNextValue(JCAMPDecoder& line, double& value, int& count, bool& missing, bool strict) const;
    void EndPage();

    ReadSpreadSheetData& sink;
    JCAMPProgress& progress;
    const NCDataVector<float>& grid;
    bool interpolates;
    int row = 1;
    bool first = true;  // this one sets the X rows
    std::int64_t repetitionsLeft = BelievedRepetitions;

    bool peaks = false;  // a comma parts X and Y
    bool setsX = false;  // of this spectrum's own points
    double firstX = 0.0;
    double dx = 0.0;
    double yFactor = 1.0;
    double lastY = 0.0;
    bool checkPending = false;    // the line before ended in a difference: this one begins with its sum
    bool skipCheckValue = false;  // which is no point of its own
    bool left = false;            // what there is of the spectrum isn't set
    std::vector<float> xs;        // kept only where they are needed for interpolation
    std::vector<float> ys;
};
