#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "container/AndiTimes.h"
#include "container/LentFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "instrument/USDBase.h"

class CellOutput;
class ClassicFile;
class NetCDF;

/** What is known of one chromatogram before its trace is read. */
struct AndiFileInfo {
    std::string path;
    std::string retentionUnit = "seconds"; /**< of a file that tells none */
    std::string sampleName;
    int ordinateVariable = -1;
    int points = 0;
    float runLength = 0.0F;
    float samplingInterval = 0.0F;
    float delay = 0.0F;
    bool isUniform = true; /**< always: others are refused */
    bool selected = true;
    AndiTimes times; /**< in the complete reading */
};

/**
 * ANDI chromatography files (AIA, ASTM E1947): netCDF files with the trace of one detector each, sampled at
 * a fixed interval. Each selected file is a row; the columns are the points of time that the constraints of
 * USDBase let through, at delay + i * interval in float.
 *
 * Row 1 names the columns: "t 0.5" and so on, and row 2 holds the times as an observation of its own; or,
 * without the X row, row 1 holds the times as numbers. Column 1 counts the rows, column 2 holds the file's
 * title and the sample's name. Files read together must agree in interval, delay and unit; a shorter
 * trace leaves the end of its row empty.
 *
 * Options record: that of USDBase (USDOptions). Without one, every point is taken, and the intervals offered
 * are the file's peaks or else the whole run.
 *
 * In the complete reading only the marking attribute and the ordinates are needed: the times are the file's
 * own `raw_data_retention`, or else delay + i * interval in double, and sampling may be uneven.
 *
 * A file stays open through an operation, and none between them.
 */
class KARTA_EXPORT AndiFileReader : public FormatReader, public USDBase, public FileContents {
public:
    enum AndiFileStatus {
        StatusOpenFailed = 0x820, /**< also for an options record that can't be read */
        StatusNotOpened = 0x821,
        StatusNoAndiFile = 0x822,
        StatusNoAiaFile = 0x823, /**< never raised */
        StatusAttributesFailed = 0x824,
        StatusNotUniform = 0x825,
        StatusNothingSelected = 0x826,
        StatusIntervalDiffers = 0x827,
        StatusUnitDiffers = 0x828,
        StatusDelayDiffers = 0x829
    };

    AndiFileReader();
    AndiFileReader(const AndiFileReader&) = delete;
    AndiFileReader& operator=(const AndiFileReader&) = delete;
    ~AndiFileReader() override;

    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Isn't called: the size is counted by GetNumCols and GetNumRows. */
    int EstablishSize() override;

    /** Files that whoever opens this reader holds open already: they aren't opened again. */
    void Lend(const std::string& path, const std::shared_ptr<const NetCDF>& file) {
        netCDFFiles.Lend(path, file);
    }
    void Lend(const std::string& path, const std::shared_ptr<const ClassicFile>& file) {
        classicFiles.Lend(path, file);
    }

    /** Appends what the file tells about its trace to the list of files; returns a status, and stores none.
     */
    virtual int ExtractNecessaryFileInformation(const char* path);
    /** Takes the constraints from the record, or else from GetUSDConstraints. False: the status is set. */
    virtual bool SetOptions(NvImportOpenOptions* options);
    /** Where a host asks the user; the defaults here. Returns a status, which a cancelled host stores. */
    virtual int GetUSDConstraints(USDConstraints* constraints);

    /** Every point, with the peaks of the first selected file as intervals, or else the whole run. */
    void GetDefaultUSDConstraints(USDConstraints* constraints);

    /**
     * The peaks of the first selected file: fills up to `size` start and end times and tells how many; only
     * tells how many there are for a size of -1. 0 without peaks, and without their end times.
     */
    int GetDefaults(float* starts, float* ends, int size) override;

    /** Whether the selected files can be read together, and what they share; returns a status. */
    int CheckFiles();
    /** Selects just the files of these numbers, from 0; others are passed over. -1 with a status set. */
    int SelectFilesToImport(const int* indices, int count);
    bool IsMultiSelection() const { return fileNames.size() > 1; }

    /** The delay of the first selected file. */
    float GetRangeMinimum() const { return delay; }
    /** The latest end of a run among the selected files. */
    float GetRangeMaximum() const { return rangeEnd; }
    float GetSamplingInterval() const { return samplingInterval; }
    const std::string& GetRetentionUnit() const { return retentionUnit; }

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

private:
    template <class File>
    int OpenFiles(LentFile<File>& lent, NvImportOpenOptions* options);
    int ReadClassically(ReadSpreadSheetData& sink);
    int ExtractCompletely(const char* path);
    bool FillTimes(const ClassicFile& file, AndiFileInfo& info);
    const AndiTimes& ChooseTimes(AndiTimes& storage);
    const AndiFileInfo* FindLongest() const;
    int ReadCompletely(ReadSpreadSheetData& sink);
    void ReadTrace(const AndiFileInfo& info, CellOutput& output, int row);
    void TellShape();

    int SelectFile(int index, bool selected);
    const AndiFileInfo* FirstSelected() const;
    int CompareWithFirst(const AndiFileInfo& file, const AndiFileInfo& first) const;
    float TimeOf(int point) const { return static_cast<float>(point) * samplingInterval + delay; }
    void ReadNames(ReadSpreadSheetData& sink);
    void ReadTimes(ReadSpreadSheetData& sink);
    int ReadFiles(ReadSpreadSheetData& sink, int firstRow, int wanted);
    void NoteWhatIsLeftOut(const NetCDF& file, const AndiFileInfo& info);
    int ReadNetCDFFile(const NetCDF& file, int variable, ReadSpreadSheetData& sink, int firstColumn, int row,
                       int start, int count);

    std::string retentionUnit;
    std::string detectorUnit;
    std::string detectorName;
    int points = 0;
    float samplingInterval = 0.0F;
    float delay = 0.0F;
    float rangeEnd = 0.0F;
    std::vector<std::string> fileNames;
    std::vector<AndiFileInfo> files;
    LentFile<NetCDF> netCDFFiles;        // the classic reading's
    LentFile<ClassicFile> classicFiles;  // and the complete one's
    std::vector<std::uint8_t> optionsBlob;
};
