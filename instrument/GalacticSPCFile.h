#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "instrument/SPCHeader.h"
#include "instrument/USDBase.h"

class ByteCursor;
class SPCContents;
class SPCTable;

/** What Open keeps of one file of the selection. */
struct SPCFileRecord {
    std::string path;
    double firstPoint = 0.0;
    double lastPoint = 0.0;
    double pointSpacing = 0.0;
    int numValues = 0;   /**< of each sub-file */
    int numSubFiles = 0; /**< spectra in the file */
};

/**
 * Galactic SPC: spectra of one instrument in a binary file, in its new format (version K) and its old one
 * (version M). A new file holds one or more sub-files on a common X axis, evenly spaced or, with an X array
 * behind the header, not. An old file is read as one spectrum.
 *
 * The table: row 1 holds "Primary ID", "Name", "Date" and from column 4 on the X values as names ("t 400");
 * row 2 the X values as numbers with their unit in column 3; then each sub-file of each selected file is a
 * row. The constraints of USDBase choose the columns. Without the X row the names are the X values
 * themselves. An X array feeds the names and the X row only, which are chosen by its values; the values of
 * the spectra are chosen on the even grid of first X and spacing, and so may be others near an interval's
 * end.
 *
 * The files of a selection must agree in first X and spacing; the longest decides the number of columns.
 * Each file is opened when its row is due and closed after it.
 *
 * Options record: section Settings with the keys that USDBase tells.
 *
 * The layout of the file follows the publicly documented SPC headers. The classic reading refuses version L,
 * with the other byte order, and files in which every sub-file has an X array of its own.
 */
class KARTA_EXPORT GalacticSPCFile : public FormatReader, public FileContents, public USDBase {
public:
    enum GalacticSPCFileStatus {
        StatusOpenFailed = 0xa00,
        /** Kept for hosts that know it; never raised. */
        StatusNotOpen = 0xa01,
        StatusNotSPC = 0xa02,
        StatusVersion = 0xa03,
        StatusHeaderCut = 0xa04,
        StatusUneven = 0xa05,
        StatusNoFiles = 0xa06,
        StatusSpacingDiffers = 0xa07,
        StatusXYPairs = 0xa08,
        StatusXArraysDiffer = 0xa09,
        StatusNoSuchPart = 0xa0a /**< in the complete reading */
    };

    GalacticSPCFile();
    ~GalacticSPCFile() override;

    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Does nothing: GetNumCols and GetNumRows measure by themselves. */
    int EstablishSize() override;

    /** The first file's first X and spacing, and the last X of the file that goes farthest. */
    double GetFirstPoint() const { return firstX; }
    double GetLastPoint() const { return maxLastX; }
    double GetPointSpacing() const { return spacing; }

    /** Appends a line of description for each file. Returns the status. */
    int GetFileList(std::vector<std::string>& list);
    /** Drops every file whose place, from 0, isn't in the list. -1 without a file or with a failure. */
    int SelectFilesToImport(const std::vector<int>& places);
    /** Whether the files can be one table: 0, or the status that Read will give. */
    int CheckFiles();

protected:
    // The new virtual operations stand in this order, behind those of SpreadsheetFile.
    /** Where a host lets the user call SelectFilesToImport; non-zero stops. */
    virtual int SelectFiles();
    /** Fills the constraints that are taken without a record; a host asks the user here. */
    virtual int GetUSDConstraints(USDConstraints* constraints);

public:
    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

protected:
    bool SetOptions(NvImportOpenOptions* options);
    /** Each reads at the stream's position into the fields below and returns the status. */
    int ReadHeaderInfo(ByteCursor& stream);
    int ReadSubHeaderInfo(ByteCursor& stream);
    int GetNextValue(ByteCursor& stream, float& value);

    /** The name of a unit's code, empty for a code that has none. */
    static const char* GetType(const unsigned char& code, int isX);

    std::vector<SPCFileRecord> files;
    // Of the header read last; after CheckFiles of the first file.
    double firstX = 0.0;
    double lastX = 0.0;
    double spacing = 0.0;
    double maxLastX = 0.0;
    int numPoints = 0;
    int numSubFiles = 0;
    int maxPoints = 0;
    /** Seconds behind the file's date, or the Z value; negative where there is none. */
    float subTime = 0.0F;
    float firstZ = 0.0F;
    float zIncrement = 0.0F;
    /** Of the header read last; its values' form of the sub-file read last. */
    SPCHeader header;
    std::string xLabel;
    std::string yLabel;
    std::string zLabel;
    std::vector<float> xValues;

private:
    void ForgetLastFiles();
    void TakeHeader(const SPCHeader& found);
    int TakeNewHeader(const SPCHeader& found, ByteCursor& stream);
    int TakeOldHeader(const SPCHeader& found);
    float TakeSubHeader(const SPCSubHeader& sub);
    int ReadXArray(ByteCursor& stream);
    int CheckCounts(const ByteCursor& stream) const;
    int SkipValues(ByteCursor& stream);
    void NoteFurtherSpectra(const SPCContents& contents);
    int ReadHeaderOf(const std::string& path);
    int ReadFile(const SPCFileRecord& record, ReadSpreadSheetData& sink, int& row, int& wantedRow);
    int ReadSubFile(ByteCursor& stream, const std::string& name, ReadSpreadSheetData& sink, int row,
                    int& wantedRow);
    int ReadSpectrum(ByteCursor& stream, ReadSpreadSheetData& sink, int row);
    void SetColumnNames(ReadSpreadSheetData& sink);
    void SetXRow(ReadSpreadSheetData& sink);
    float GridX(int index) const;
    float NamedX(int index) const;
    bool HasXArray() const;

    int OpenComplete(const std::vector<std::string>& paths, NvImportOpenOptions* options);
    int AddCompleteFile(const std::string& path);
    int ChooseComplete(NvImportOpenOptions* options);

    std::unique_ptr<SPCTable> complete;  // null in the classic reading
    std::vector<float> rowValues;        // of the spectrum that is read
    /** What the integer values of the present sub-file are divided by. */
    double divisor = 1.0;
    std::vector<std::uint8_t> optionsBlob;
};

class KARTA_EXPORT GalacticSPCFileFactory : public SprFileFactory {
public:
    explicit GalacticSPCFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
