#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "container/LentFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"

class CellOutput;
class ClassicFile;
class NetCDF;

/**
 * The MVA convention of netCDF: a table of observations, each with a name, a decimal time and the values of
 * its variables (or spectral points). Row 1 holds the names of the variables; each observation is a row, the
 * name in column 1, the time in column 2. All cells are texts. The rows of several files are stacked; the
 * names of the variables come from the first one.
 *
 * A missing value, which the file marks by a number or by one pattern of NaN, is an empty text.
 *
 * In the complete reading numbers are numbers of their stored types, described names are numbers too, and
 * missing values are missing cells.
 *
 * The constructors measure the files; Open does it once more. No file stays open in between.
 */
class KARTA_EXPORT MvaCDFFileReader : public FormatReader, public FileContents {
public:
    enum MvaCDFFileStatus {
        StatusNoMvaFile = 0x810,
        StatusNoSize = 0x811,
        StatusMatrices = 0x812,
        StatusNoObservations = 0x813,
        StatusVariablesDiffer = 0x814
    };

    explicit MvaCDFFileReader(const char* path);
    /** The same where the first file is open already. */
    MvaCDFFileReader(const char* path, const std::shared_ptr<const NetCDF>& first);
    /** By a context, which says how the files are read. */
    MvaCDFFileReader(const char* path, std::shared_ptr<karta::ReadContext> readContext);
    MvaCDFFileReader(const MvaCDFFileReader&) = delete;
    MvaCDFFileReader& operator=(const MvaCDFFileReader&) = delete;
    ~MvaCDFFileReader() override;

    void GetErrorMessage(char* buffer, unsigned int size) override;
    /** Measures the files that the constructor was given; the arguments aren't looked at. */
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    /** Tells the result of reading the names; GetStatus tells that of the data. */
    int Read(ReadSpreadSheetData* sink) override;
    /** Isn't called: the size is known from the constructor on. */
    int EstablishSize() override;

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

private:
    // How the values of a file are read, by the library's codes of types.
    enum ElementType {
        ElementByte = 1,
        ElementShort = 3,
        ElementLong = 4,
        ElementFloat = 5,
        ElementDouble = 6
    };
    // One pass over the wanted rows of a file.
    class WantedRows;

    int Scan();
    int ScanCompletely();
    bool MeasureCompletely(const ClassicFile& file, std::uint64_t& columns, std::uint64_t& rows) const;
    int ReadClassically(ReadSpreadSheetData& sink);
    int ReadCompletely(ReadSpreadSheetData& sink);
    void SetNames(const ClassicFile& file, CellOutput& output);
    bool SetDescribedNames(const ClassicFile& file, CellOutput& output);
    int SetObservations(const ClassicFile& file, CellOutput& output, int row);

    int ReadFormat(const NetCDF& file);
    int ReadElementType(const NetCDF& file);
    void ReadMissingValue(const NetCDF& file);
    int ReadSizes(const NetCDF& file);

    int ReadNames(const NetCDF& file, ReadSpreadSheetData& sink);
    bool ReadDescribedNames(const NetCDF& file, ReadSpreadSheetData& sink) const;
    void ReadHeaders(const NetCDF& file, ReadSpreadSheetData& sink) const;
    int ReadData(const NetCDF& first, ReadSpreadSheetData& sink);
    int ReadFile(const NetCDF& file, ReadSpreadSheetData& sink, int& firstRow);
    void ReadObservationNames(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const;
    void ReadTimes(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const;
    void ReadValues(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const;
    template <class Value>
    void ReadValuesAs(const NetCDF& file, ReadSpreadSheetData& sink, int firstRow) const;
    bool ReadText(const NetCDF& file, int variable, int index, std::string& text) const;
    bool IsMissing(double value, const std::string& text) const;

    std::vector<std::string> fileNames;
    LentFile<NetCDF> netCDFFiles;
    double missingValue = -100000.0;
    bool missingIsNaN = false;
    int firstDataColumn = 3;
    int firstDataRow = 2;
    int rowsPerDataPoint = 1;
    ElementType elementType = ElementDouble;
    int textLength = -1;
    int observations = 0;
    int variables = 0;
    int dataVariable = -1;
};
