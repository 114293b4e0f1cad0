#include "instrument/JCAMPSeries.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>

#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "instrument/JCAMPDecoder.h"
#include "instrument/JCAMPFile.h"
#include "instrument/JCAMPInterPolate.h"
#include "instrument/JCAMPStream.h"

namespace {

// Columns 1 and 2 hold the row's number and label.
constexpr int HeadColumns = 2;

// The mark of a missing value, and of the X of one in the first spectrum.
constexpr float MissingValue = NCDataVector<float>::MissingValue;

void SetX(ReadSpreadSheetData& sink, int column, double x) {
    sink.Set(column, 1, ("t " + FormatG(x)).c_str());
    sink.Set(column, 2, x);
}

}  // namespace

JCAMPSeries::JCAMPSeries(ReadSpreadSheetData& readerSink, JCAMPProgress& readerProgress,
                         const NCDataVector<float>& commonGrid, bool axesDiffer)
    : sink(readerSink), progress(readerProgress), grid(commonGrid), interpolates(axesDiffer) {}

int JCAMPSeries::ReadPage(JCAMPStream& stream, const JCAMPData& block, const JCAMPPage& page,
                          const std::string& label) {
    peaks = block.dataClass == JCAMPData::ClassPeakTable;
    stream.Seek(page.position);
    const int code = block.dataClass == JCAMPData::ClassXYData ? ReadXYData(stream, block, page, label)
                                                               : ReadPeakTable(stream, block, page, label);
    if (code == JCAMPFile::StatusOk) {
        ++row;
        first = false;
    }
    return code;
}

void JCAMPSeries::BeginPage(const JCAMPData& block, const std::string& label) {
    setsX = first && grid.GetSize() == 0;
    firstX = block.firstX;
    yFactor = block.yFactor;
    lastY = 0.0;
    checkPending = false;
    skipCheckValue = false;
    left = false;
    xs.clear();
    ys.clear();
    if (first) {
        ++row;
        sink.Set(1, row, row - 1);
        sink.Set(2, row, block.xUnits.empty() ? "X" : block.xUnits.c_str());
        ++row;
    }
    sink.Set(1, row, row - 1);
    sink.Set(2, row, label.c_str());
}

int JCAMPSeries::ReadXYData(JCAMPStream& stream, const JCAMPData& block, const JCAMPPage& page,
                            const std::string& label) {
    progress.valuesExpected = page.points;
    progress.valuesRead = 0;
    dx = 0.0;
    if (progress.valuesExpected > 1) {
        dx = (block.lastX - block.firstX) / (progress.valuesExpected - 1);
        dx = dx == 0.0 ? block.deltaX : dx;
        if (dx == 0.0) {
            return JCAMPFile::StatusNoSpacing;
        }
    }
    BeginPage(block, label);
    std::string_view line;
    while (stream.ReadLine(line, progress.lineNumber)) {
        line = TrimSpace(line);
        if (line.starts_with('#')) {
            EndPage();
            return JCAMPFile::StatusOk;
        }
        const int code = line.empty() ? JCAMPFile::StatusOk : ReadXYLine(line);
        if (code != JCAMPFile::StatusOk || left) {
            return code;
        }
    }
    return JCAMPFile::StatusUnexpectedEnd;
}

// An abscissa and the ordinates that begin there. Behind a line that ended in a difference the first
// ordinate repeats the last one, as a check.
int JCAMPSeries::ReadXYLine(std::string_view line) {
    JCAMPDecoder decoder(line);
    double y = 0.0;
    int count = 0;
    bool missing = false;
    int code = ReadNextValue(decoder, y, count, missing, false);
    if (code != JCAMPFile::StatusOk) {
        return code;
    }
    if (count != 1) {
        return JCAMPFile::StatusAbscissaRepeated;
    }
    code = ReadNextValue(decoder, y, count, missing, false);
    if (code == JCAMPFile::StatusOk && count < 0) {
        return JCAMPFile::StatusFirstOrdinateDifference;
    }
    if (code == JCAMPFile::StatusOk && checkPending) {
        if (y != lastY) {
            progress.warningCode = progress.valuesRead == progress.valuesExpected
                                       ? progress.warningCode
                                       : JCAMPProgress::WarningCheckFailed;
            left = true;
            return JCAMPFile::StatusOk;
        }
        skipCheckValue = true;
        checkPending = false;
    }
    while (code == JCAMPFile::StatusOk && count != 0) {
        checkPending = count < 0;
        code = EmitPoints(y, count, missing);
        if (code != JCAMPFile::StatusOk || left) {
            return code;
        }
        skipCheckValue = false;
        code = EmitRuns(decoder);
        if (code != JCAMPFile::StatusOk || left) {
            return code;
        }
        code = ReadNextValue(decoder, y, count, missing, false);
    }
    return code;
}

// What most of a line is.
int JCAMPSeries::EmitRuns(JCAMPDecoder& decoder) {
    std::array<double, 64> values;
    for (auto run = decoder.TakeRun(values); run.count > 0; run = decoder.TakeRun(values)) {
        checkPending = run.areDifferences;
        const std::span<const double> taken = std::span<const double>(values).first(run.count);
        const int end = progress.valuesRead + static_cast<int>(run.count);
        if (setsX || interpolates || end > progress.valuesExpected) {
            for (const double value : taken) {
                const int code = EmitPoints(value, run.areDifferences ? -1 : 1, false);
                if (code != JCAMPFile::StatusOk || left) {
                    return code;
                }
            }
            continue;
        }
        for (const double value : taken) {
            lastY = run.areDifferences ? value + lastY : value;
            ys.push_back(static_cast<float>(yFactor * lastY));
        }
        progress.valuesRead = end;
    }
    return JCAMPFile::StatusOk;
}

// One decoded value, as often as it stands; the first point too many ends the page.
int JCAMPSeries::EmitPoints(double y, int count, bool missing) {
    const bool difference = count < 0;
    const std::int64_t useful =
        std::max<std::int64_t>(std::int64_t{progress.valuesExpected} - progress.valuesRead + 1, 1);
    const std::int64_t repetitions = std::min<std::int64_t>(std::abs(count), useful);
    repetitionsLeft -= repetitions - 1;
    if (repetitionsLeft < 0) {
        return JCAMPFile::StatusSizeUnknown;
    }
    for (std::int64_t i = 0; i < repetitions; ++i) {
        lastY = difference ? y + lastY : y;
        if (skipCheckValue) {
            continue;
        }
        ++progress.valuesRead;
        if (progress.valuesRead > progress.valuesExpected) {
            progress.warningCode = JCAMPProgress::WarningTooMany;
            left = true;
            return JCAMPFile::StatusOk;
        }
        if (setsX) {
            const double x = missing ? MissingValue : (progress.valuesRead - 1) * dx + firstX;
            SetX(sink, progress.valuesRead + HeadColumns, x);
        } else if (interpolates) {
            const auto distance = static_cast<float>((progress.valuesRead - 1) * dx);
            xs.push_back(static_cast<float>(distance + firstX));
        }
        ys.push_back(missing ? MissingValue : static_cast<float>(yFactor * lastY));
    }
    return JCAMPFile::StatusOk;
}

int JCAMPSeries::ReadPeakTable(JCAMPStream& stream, const JCAMPData& block, const JCAMPPage& page,
                               const std::string& label) {
    progress.valuesExpected = page.points;
    progress.valuesRead = 0;
    BeginPage(block, label);
    std::string_view line;
    while (stream.ReadLine(line, progress.lineNumber)) {
        line = TrimSpace(line);
        if (line.empty()) {
            continue;
        }
        if (line.starts_with('#')) {
            EndPage();
            return JCAMPFile::StatusOk;
        }
        if (progress.valuesRead > progress.valuesExpected) {
            return JCAMPFile::StatusOk;
        }
        const int code = ReadPeaks(line, block);
        if (code != JCAMPFile::StatusOk) {
            return code;
        }
    }
    return JCAMPFile::StatusUnexpectedEnd;
}

// Pairs of X and Y; an X without its Y at the end of a line is a peak of a missing height.
int JCAMPSeries::ReadPeaks(std::string_view line, const JCAMPData& block) {
    JCAMPDecoder decoder(line);
    while (true) {
        double x = 0.0;
        double y = 0.0;
        int count = 0;
        bool missing = false;
        int code = ReadNextValue(decoder, x, count, missing, true);
        if (code != JCAMPFile::StatusOk || count == 0) {
            return code;
        }
        x *= block.xFactor;
        if (setsX) {
            x = missing ? MissingValue : x;
            SetX(sink, progress.valuesRead + HeadColumns + 1, x);
        }
        code = ReadNextValue(decoder, y, count, missing, true);
        if (code != JCAMPFile::StatusOk) {
            return code;
        }
        if (interpolates) {
            xs.push_back(static_cast<float>(x));
        }
        ys.push_back(missing || count == 0 ? MissingValue : static_cast<float>(block.yFactor * y));
        ++progress.valuesRead;
    }
}

int JCAMPSeries::ReadNextValue(JCAMPDecoder& line, double& value, int& count, bool& missing,
                               bool strict) const {
    JCAMPDecoder::Value next;
    switch (line.Next(next, {.commaSeparates = peaks, .strict = strict})) {
        case JCAMPDecoder::IllegalCharacter:
            return JCAMPFile::StatusIllegalCharacter;
        case JCAMPDecoder::NotPlain:
            return JCAMPFile::StatusInvalidCharacter;
        case JCAMPDecoder::RepeatedTwice:
            return JCAMPFile::StatusRepeatedTwice;
        default:
            value = next.value;
            count = next.count;
            missing = next.missing;
            return JCAMPFile::StatusOk;
    }
}

void JCAMPSeries::EndPage() {
    if (progress.valuesRead < progress.valuesExpected) {
        progress.warningCode = JCAMPProgress::WarningTooFew;
    }
    if (interpolates) {
        ys = JCAMPInterPolate(grid, xs, ys);
        for (int place = 1; place <= grid.GetSize(); ++place) {
            SetX(sink, place + HeadColumns, grid(place));
        }
    }
    int column = HeadColumns;
    for (const float y : ys) {
        ++column;
        // An ordinate of just this value is missing too.
        if (y == MissingValue) {
            sink.Set(column, row, "");
        } else {
            sink.Set(column, row, y);
        }
    }
}
