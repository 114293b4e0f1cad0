#pragma once

#include <string>
#include <vector>

#include "text/TextFile.h"

class TableData;

/**
 * The report of Thermo SIEVE: delimited text, a line a frame (a window of mass and time), a column a property
 * of the frames. The table comes turned: column 1 holds the headers and each further column a frame; the rows
 * are, in this order whatever the file's,
 *
 *      1 FrameID      2 MZStart      3 MZStop      4 AverageMZ    5 TimeStart    6 TimeStop    7 AverageRT
 *      8 pValue       9 Ratio       10 UpperBound 11 LowerBound  12 FOM1        13 on the Intensity_ columns
 *
 * where AverageMZ and AverageRT are computed, the means of the two rows above. A header counts by how it
 * begins; other columns are dropped. Cells are text, the means are numbers.
 *
 * The delimiter, tab, comma or semicolon, is told from the first line of a report; an options record, as for
 * TextFile, overrules it. The size before the read is that of the file's lines as tab-separated text; the
 * true one reaches the sink in the read. The sink's row filter goes by the file's lines.
 *
 * A report has at most 1,000,000 lines, the empty one behind a final line end counted, and at least as many
 * columns as the table has rows. Of a file without a line end at its end the last line is left out.
 *
 * The complete reading keeps that last line too, a mark and quoted headers, any number of lines, and, below
 * the others, the columns that have no row of their own.
 */
class KARTA_EXPORT ThermoSIEVEFile : public TextFile {
public:
    ThermoSIEVEFile();
    ~ThermoSIEVEFile() override;

    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;
    /** The delimiter of a recognised report; a host's own choice goes before it. */
    TextFileOptions GetTextFileOptions() override;

    /** Whether the first line begins with the headers that every report has. */
    static bool IsThermoSIEVEFile(const char* path);

protected:
    std::string filePath;

private:
    int GetRows() const;
    int GetColumns() const;
    int ReadTurned(ReadSpreadSheetData& sink);

    bool hasRecord = false;  // the options came with the file
};

class KARTA_EXPORT ThermoSIEVEFileFactory : public SprFileFactory {
public:
    ThermoSIEVEFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
