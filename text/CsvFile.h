#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "text/CsvParser.h"

class DelimitedText;

/**
 * Comma- or semicolon-separated text with quoted fields, after the grammar of CsvSyntax. Every cell is text,
 * its bytes as they stand; a quoted field may hold delimiters, line breaks and doubled quotes. An empty field
 * is a place where nothing is set. Reads only.
 *
 * A line ends in CR, LF or CR LF. The delimiter is the one that the first line has more of, a comma when they
 * are even. Control bytes, TAB among them, and "#" are refused everywhere, in quotes too; bytes above 0x7f
 * are refused in the first 1023 bytes of the first line.
 *
 * The size isn't known before the end: the reader answers one row by one column, and the sink is sized while
 * the file is parsed. Rows can't be skipped. Cells that were set before a failure stay.
 *
 * In the complete reading it finds out encoding, delimiter, quotes and types by itself; see DelimitedText.
 */
class KARTA_EXPORT CsvFile : public FormatReader, public FileContents {
public:
    using file_iterator = CsvParser::file_iterator;

    enum CsvFileStatus {
        /** This one and StatusCanceled are for hosts; the reader never raises them. */
        StatusStreamFailed = 0x300,
        StatusReadFailed = 0x301,
        StatusReadOnly = 0x302,
        StatusCanceled = 0x303,
        StatusNoData = 0x304,
        StatusNotPrintable = 0x305
    };

    CsvFile();
    ~CsvFile() override;

    void Close() override;
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    /** Notes the name; the file is opened by Read. The options record isn't looked at. */
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;
    /** None: a text is one table. */
    std::vector<Part> ListParts() override { return {}; }
    /** Encoding, dialect, heads and types, in the complete reading. */
    std::vector<Fact> ListFacts() override;

    /**
     * Chooses the delimiter and parses; returns the status. `firstLine` is the start of the first line, for
     * choosing and showing. Where a host asks the user: it parses with CsvSyntax, more than once if it likes,
     * with CsvParser::ResetSpreadSheet in between, and ends with CsvParser::Finished.
     */
    virtual int GetSelectedDelimiter(char* firstLine, file_iterator begin, file_iterator end,
                                     CsvParser* parser);

protected:
    std::string fileName;

private:
    std::unique_ptr<DelimitedText> complete;  // the complete reading, while it is open
};

class KARTA_EXPORT CsvFileFactory : public SprFileFactory {
public:
    explicit CsvFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
