#pragma once

#include "frame/SprFileFactory.h"
#include "instrument/OPUSReader.h"

/**
 * Bruker OPUS spectra, a row a file: the ratioed spectrum of each (absorbance, transmittance and the like).
 * Row 1 holds "File Name", "Sample Name", "Sample Form", "Date", "Time" and "Var_1", "Var_2" and so on; row
 * 2 the unit of the X axis and, from column 6 on, the first file's X values; the files follow from row 3.
 *
 * All files of a selection must have the same number of points, and are put below each other point by
 * point. Where their axes begin or end at different X values, the user is asked whether to go on;
 * BrukerOPUSInterpolated brings them onto one axis instead.
 *
 * File names have numbered extensions, so that a file is known by its first bytes alone. There are no
 * options. Every failure has status 4 and a text of its own.
 */
class KARTA_EXPORT BrukerOPUS : public OPUSReader {
public:
    int Read(ReadSpreadSheetData* sink) override;

protected:
    OPUSParts::Axes GetAxes() const override { return OPUSParts::Axes::AsTheyAre; }
    bool ConfirmSelection(OPUSSelection& files) override;
};

class KARTA_EXPORT BrukerOPUSFileFactory : public SprFileFactory {
public:
    BrukerOPUSFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
