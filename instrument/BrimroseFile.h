#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/ByteCursor.h"
#include "base/MappedFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "instrument/SpectrumTexts.h"

/**
 * The data files of Brimrose AOTF spectrometers (.dat): a main header of 512 bytes with the axis and two
 * counts, then one observation after the other, each a sub-header of 128 bytes and its values as floats.
 * Everything is little-endian. Read only, one file an import, no options.
 *
 * Row 1 of the table holds the names "SampleNo", "DateTime" and "w%1.0f" of each wavelength; every further
 * row is an observation: its running number, its local date and time, its values. The sample names of the
 * file are no part of the table; ListParts tells them. In the complete reading the names of row 1 are the
 * wavelengths as numbers, and times are UTC.
 *
 * Many programs write .dat files; a file is one of these when it begins with one of two magic numbers and
 * has a whole main header.
 */
class KARTA_EXPORT BrimroseFile : public FormatReader, public FileContents {
public:
    enum BrimroseFileStatus {
        StatusStreamFailed = 0xb00,
        /** Kept for hosts that know it; nothing raises it. */
        StatusReadModeOnly = 0xb01,
        StatusMainHeader = 0xb02,
        StatusSubHeader = 0xb03,
        StatusData = 0xb04,
        /** Kept for hosts that know it; nothing raises it. */
        StatusHeaderContent = 0xb05,
        StatusNoMagic = 0xb06
    };

    BrimroseFile();
    ~BrimroseFile() override;

    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /** The observations that the file really holds, each with its sample name and its time. */
    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

    /** Whether the file can be opened, has a main header's length and begins with one of the magics. */
    static bool IsBrimroseFile(const char* path);

private:
    bool ReadMainHeader();
    bool ReadSubHeader();
    bool ReadDataSection();
    int OpenObservations(const NvImportOpenOptions* options);
    int ReadObservations(ReadSpreadSheetData& sink);
    void FillShape();
    void MakeNameRow(ReadSpreadSheetData* sink, int row, int lastColumn, int firstColumn) const;
    void MakeDataRow(ReadSpreadSheetData* sink, int row, int lastColumn, int firstColumn);
    float WavelengthOf(int column) const;

    MappedFile file;
    ByteCursor cursor;
    float startWavelength = 0;
    float endWavelength = 0;
    float stepWavelength = 0;
    std::size_t numPoints = 0;
    int numObservations = 0;
    std::vector<std::size_t> chosen;  // the complete reading's observations, from 0
    // Of the observation read last.
    std::uint32_t time = 0;
    std::string sampleName;
    std::string dateText;
    ByteCursor values;
    SpectrumTexts texts;  // the complete reading's
};

class KARTA_EXPORT BrimroseFileFactory : public SprFileFactory {
public:
    BrimroseFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
