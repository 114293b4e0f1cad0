#pragma once

#include <vector>

#include "frame/SprFileFactory.h"
#include "instrument/OPUSReader.h"

/**
 * Bruker OPUS spectra on one axis: the same table as BrukerOPUS makes, but with each file's values
 * interpolated onto the first file's X values. A file's values are scaled after the interpolation. Where a
 * file has no value within two spacings of the axis, the cell holds the missing value -99.
 *
 * The X row is the axis: a sink that doesn't want row 2 gets rows without values. There are no options.
 * Every failure has status 4 and a text of its own.
 */
class KARTA_EXPORT BrukerOPUSInterpolated : public OPUSReader {
public:
    void Close() override;
    int Read(ReadSpreadSheetData* sink) override;

protected:
    OPUSParts::Axes GetAxes() const override { return OPUSParts::Axes::Interpolated; }
    /** Nobody is asked: different ranges are what this reader is for. */
    bool ConfirmSelection(OPUSSelection& files) override;

private:
    void SetInterpolatedValues(const BrukerOPUSRecord& record, ByteCursor values, ReadSpreadSheetData& sink,
                               int row);

    /** The first file's X values. */
    std::vector<float> grid;
    // The X and Y of the file being read.
    std::vector<float> xs;
    std::vector<float> ys;
};

class KARTA_EXPORT BrukerOPUSInterpolatedFileFactory : public SprFileFactory {
public:
    BrukerOPUSInterpolatedFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
