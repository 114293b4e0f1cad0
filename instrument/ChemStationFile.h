#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ByteCursor.h"
#include "base/MappedFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "instrument/ChemStationHeader.h"
#include "instrument/ChemStationParts.h"

/** One file of the selection, as its header tells. */
struct HPLCData {
    bool isUv = false;
    std::string path;
    std::string sampleName;
    std::string date;
    std::string signalName;
    std::string unit;
    int version = 0;
    int headerInt1 = 0; /**< at 0xf8; its meaning isn't known */
    int headerInt2 = 0; /**< at 0x104; the same */
    int dataStart = 0;  /**< in blocks of 512 bytes, from 1; 0 when the header told nothing */
    int numRecords = 0; /**< spectra of a .uv file */
    int start = 0;      /**< ms in a .ch file, 1/20 nm in a .uv file */
    int end = 0;
    int flag = 0;
    double scale = 1.0;
    double step = 0.0; /**< s in a .ch file, nm in a .uv file */
};

/**
 * HPLC ChemStation files, read only: chromatograms (.ch), one signal a file and several files in one import,
 * and spectra over time (.uv), one file in one import.
 *
 *     .ch  row 1     "Primary ID" "File" "Date" "Sample Name" "t 0.6" "t 0.8" ..
 *          row 2     "SIGNAL Retention Time [s]"              the times in s
 *          row 3..   the file's number, name, date, "SAMPLE [UNIT]", values; a row a file
 *     .uv  row 1     "Primary ID" "Date" "Sample Name" "Retention Time Counts" "t 190" "t 192" ..
 *          row 2     "SIGNAL Wavelength [nm]"                 the wavelengths in nm
 *          row 3..   the spectrum's number, date, sample, its time, values; a row a spectrum
 *
 * The header is big-endian and has two layouts, told apart by the version text: below 100 (8, 30, 31) and
 * from 100 on (108, 130, 131). Values are differences of 16 bits with absolute values of 32 bits between
 * them. The classic reading refuses gas chromatograms of other versions, which keep their times as floats, as
 * of wrong shape; the complete one reads them. There the key Part chooses among the files. A header without a
 * version or without a data start opens as a file of no data.
 *
 * Source: the layout as published by the readers of the open chromatography tools, and files of versions
 * 30, 31, 130 and 131.
 */
class KARTA_EXPORT ChemStationFile : public FormatReader, public FileContents {
public:
    enum ChemStationStatus {
        StatusCannotOpen = 0x600,
        StatusLengthDiffers = 0x601,
        StatusKindDiffers = 0x602,
        StatusSeveralUv = 0x603,
        StatusStepDiffers = 0x604,
        StatusNotChemStation = 0x605,
        StatusReadFailed = 0x606
    };

    ChemStationFile();
    ~ChemStationFile() override;

    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /** Whether the file exists and its extension is ch or uv; its content isn't looked at. */
    static bool IsChemStationFile(const char* fileName);

    /** The signals of a selection, or the one set of spectra. */
    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

private:
    void OpenStream(const HPLCData& data);
    void CloseStream();
    std::int16_t ReadInt16(std::uint64_t pos, bool swap);
    std::int32_t ReadInt32(std::uint64_t pos, bool swap);
    double ReadDouble(std::uint64_t pos);
    std::string ReadText(std::uint64_t pos, bool wide);

    int OpenParts(const std::vector<std::string>& paths, const NvImportOpenOptions* options);
    bool HasFiles() const;
    int CheckFile(HPLCData* data);
    void ReadTexts(HPLCData& data, const ChemStationLayout& layout);
    void ReadStep(HPLCData& data, const ChemStationLayout& layout);
    int MeasureSignal(const HPLCData& data);
    int CheckRecords(HPLCData& data);

    void SetAxis(ReadSpreadSheetData* sink, const HPLCData& data, const char* const (&names)[4]);
    int ReadSignal(ReadSpreadSheetData* sink, const HPLCData& data, int row);
    int ReadSpectra(ReadSpreadSheetData* sink, const HPLCData& data);
    bool ReadSpectrum(ReadSpreadSheetData* sink, const HPLCData& data, const SpectrumRecord& record, int row);
    bool ReadSpecInfo(SpectrumHeaderInfo& info);

    std::vector<HPLCData> files;  // the classic reading's
    ChemStationParts parts;       // the complete one's
    MappedFile file;
    ByteCursor stream;
    bool fileKindIsUv = false;
    ChemStationRunningValue runningValue;
    std::string failedPath;  // what messages name
};

class KARTA_EXPORT ChemStationFileFactory : public SprFileFactory {
public:
    ChemStationFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
