#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/MappedFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "instrument/NsasSpectra.h"

/**
 * The spectra of an NSAS DA file (near-infrared instruments of the 1980s and 90s), with the reference
 * values of its companion CN file when one of the same name lies beside it. Integers are 16-bit signed,
 * values are floats, all little-endian. Read only, one file an import, no options.
 *
 * A DA file has no header: it is a sequence of records, each a spectrum header of 80 bytes, 48 bytes of
 * filler, and the values in blocks of 128 bytes. A CN file holds one record of 128 bytes a spectrum, with
 * or without a record of 384 bytes for the constituents' names before them.
 *
 * The table: row 1 is the one cell "/Instrument model N"; row 2 the names "SampleNo", "SpectrumNo",
 * "SampleName", "Time", "w%g" for each wavelength and the constituents; then a row a spectrum. The axis
 * runs from the lowest start of all spectra to the lowest last wavelength; all spectra must share the step.
 *
 * In the classic reading values are not counted by the number of points but by the columns that lie within a
 * spectrum's range, and a record whose values fill its last block is skipped one block too far: such a file
 * often ends in a status behind its last good row. The complete reading goes by the records' own lengths, and
 * its axis runs over the ranges of all spectra; the key Part chooses among them.
 */
class KARTA_EXPORT NsasFile : public FormatReader, public FileContents {
public:
    enum NsasFileStatus {
        StatusStreamFailed = 0x500,
        /** Kept for hosts that know it; nothing raises it. */
        StatusReadModeOnly = 0x501,
        StatusHeader = 0x502,
        StatusHeaderContent = 0x503,
        StatusHeaderMismatch = 0x504,
        StatusFiller = 0x505,
        StatusValues = 0x506,
        StatusBlockEnd = 0x507,
        StatusNameRecord = 0x508,
        StatusValueRecord = 0x509,
        StatusValueRecordFiller = 0x50a,
        StatusCompanionSize = 0x50b
    };

    NsasFile();
    ~NsasFile() override;

    /** Leaves the status of an Open that failed as it is. */
    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /** The spectra with their sample names and times. */
    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

private:
    // A file with a position that may lie behind the end, where nothing is read.
    struct Stream {
        MappedFile file;
        std::int64_t position = 0;

        std::span<const std::uint8_t> Read(std::size_t size);
        bool Skip(std::int64_t count);
        std::int64_t FileSize() const;
    };
    using Header = std::span<const std::uint8_t>;

    // False, with the status, when there is no whole header; an empty one at the end of the file.
    bool ReadDaHeader(Header& header);
    bool ReadCnHeader(Header& names);
    bool UnreadDaHeader();
    bool SkipReadDa(Header header);
    bool SkipReadCn();
    bool ReadSpectraValue(float& value);
    bool ReadConstituensValue(float& value);
    static int GetHeaderInt(Header header, std::size_t offset);
    static void GetHeaderChar(std::string& target, Header header, std::size_t offset, std::size_t length);
    int OpenSpectra(const NvImportOpenOptions* options);

    bool MeasureSpectrum(Header header);
    bool ReadRow(ReadSpreadSheetData* sink, Header header, int row);
    bool ReadSpectrumRow(ReadSpreadSheetData* sink, Header header, int row);
    void MakeInfoRow(ReadSpreadSheetData* sink, Header header) const;
    bool MakeNameRow(ReadSpreadSheetData* sink, int row, int lastColumn, int firstColumn);
    bool MakeValueRow(ReadSpreadSheetData* sink, Header header, int row, int lastColumn, int firstColumn);
    bool Fail(int code);
    int NumWavelengths() const;
    float WavelengthOf(int column) const;

    NsasSpectra spectra;  // the complete reading's
    Stream daStream;
    Stream cnStream;
    std::uint64_t recordStart = 0;
    bool haveFirstSpectrum = false;
    float firstWavelength = 0;
    float lastWavelength = 0;
    float wavelengthStep = 0;
    std::int16_t numConstituents = 0;
};

class KARTA_EXPORT NsasFileFactory : public SprFileFactory {
public:
    NsasFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
