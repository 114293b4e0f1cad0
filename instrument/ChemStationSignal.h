#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/ByteCursor.h"
#include "base/Note.h"
#include "frame/FileContents.h"
#include "instrument/ChemStationHeader.h"
#include "instrument/SpectrumTexts.h"

/**
 * One ChemStation file as the complete reading takes it: a chromatogram, whose values are read in pieces, or
 * the spectra of a run, whose values are read a record at a time.
 *
 * Values of versions 8, 30, 108 and 130 are differences in runs, those of 81 and 181 second differences,
 * those of 179 doubles; versions 31 and 131 hold spectra: of differences, or, as OpenLab writes them, of
 * doubles in records of one size.
 */
struct ChemStationSignal {
    /** How the values lie in the file. */
    enum class Encoding { None, Runs, SecondDifferences, Doubles, Spectra };

    std::string path;
    std::string name;   /**< the signal's; the file's where it has none */
    std::string signal; /**< may be empty */
    std::string sample;
    std::string date; /**< as the file has it */
    std::string unit;
    int version = 0;
    bool isSpectra = false;
    double start = 0; /**< of the axis: s, or nm of spectra */
    double end = 0;
    double step = 0; /**< of spectra, as the file tells it */
    int numPoints = 0;
    std::vector<karta::Note> notes;

    int numSpectra = 0;
    bool arePlain = false; /**< spectra of doubles, as OpenLab writes them */
    std::uint64_t firstRecord = 0;
    SpectrumRecord axis; /**< the first record */
    double scale = 1.0;
    double offset = 0.0; /**< of a chromatogram's values */

    /** False, with the reason in `failure`, for bytes that can't be read as such a file. */
    bool Open(const std::string& filePath, ByteCursor bytes, SpectrumTexts& texts, std::string& failure);

    double GetX(int index) const {
        return isSpectra ? start + index * step
                         : start + index * (end - start) / (numPoints > 1 ? numPoints - 1 : 1);
    }
    /** Of plain spectra: how far it is from one record to the next. */
    std::uint64_t GetPlainRecordSize() const;
    bool HasAxisOf(const ChemStationSignal& other) const;
    Encoding GetEncoding() const;

    /** The texts and numbers of the header. */
    static std::vector<FileContents::Fact> ListFacts(ByteCursor bytes, SpectrumTexts& texts);

private:
    void OpenChromatogram(ByteCursor stream, const ChemStationLayout& layout, SpectrumTexts& texts);
    bool OpenSpectra(ByteCursor stream, const ChemStationLayout& layout, SpectrumTexts& texts);
    void FindRecords(ByteCursor stream, int promised);
    void FindPlainRecords(ByteCursor stream, int promised);
    void NoteMissing(int found, int promised, std::uint64_t position);
    void CountRuns(ByteCursor stream);
    void CountSecondDifferences(ByteCursor stream);
    void CountDoubles(ByteCursor stream);
    void CountPoints(std::uint64_t points);
    void AddNote(const char* code, std::uint64_t count, std::string text);
};

/** Walks the values of a chromatogram. */
class ChemStationTrace {
public:
    ChemStationTrace(const ChemStationSignal& opened, ByteCursor bytes);

    /** The next values, scaled, as many as there is room for; fewer behind the last, and none from then on.
     */
    std::size_t Next(std::span<double> values);

private:
    std::size_t NextOfRuns(std::span<double> values);
    std::size_t NextOfSecondDifferences(std::span<double> values);
    std::size_t NextOfDoubles(std::span<double> values);

    const ChemStationSignal& signal;
    ByteCursor stream;
    std::size_t left = 0;  // values that are to come
    std::size_t leftOfRun = 0;
    ChemStationRunningValue running;
    double value = 0;  // of second differences
    double slope = 0;
};

/** Walks the spectra of a file: those of its axis, in their order. */
class ChemStationSpectra {
public:
    ChemStationSpectra(const ChemStationSignal& opened, ByteCursor bytes);

    /** The next one's values into `values`, as many as it has; false behind the last. */
    bool Next(std::vector<double>& values);
    double GetTime() const;

private:
    bool NextPlain(std::vector<double>& values);
    bool NextOfDifferences(std::vector<double>& values);

    const ChemStationSignal& signal;
    ByteCursor stream;
    std::uint64_t position;
    int spectrum = 0;
    SpectrumRecord record;
};
