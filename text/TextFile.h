#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/LineReader.h"
#include "base/OutputFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "text/TextFileOptions.h"

class DelimitedText;

/**
 * Plain delimited text: a row a line, cells parted by a delimiter of any length. Every cell is text as it
 * stands: nothing is converted, stripped or unquoted, and bytes are bytes (a UTF-8 mark stays in the first
 * cell). Reads and writes; nothing is quoted in writing either.
 *
 * An empty cell between two delimiters is a cell; a delimiter at the end of a line begins none; an empty
 * line is a row without cells, and the one behind a final line feed is no row.
 *
 * In the complete reading it finds out encoding, delimiter, quotes and types by itself; see DelimitedText.
 *
 * Options record: section Settings with "Delimiter" (a text) and "IgnoreConsecutiveDelimiters" (a bool).
 */
class KARTA_EXPORT TextFile : public FormatReader, public FileContents {
public:
    enum TextFileStatus {
        StatusStreamFailed = 0x200,
        /** Kept for hosts that know it; reading never raises it. */
        StatusMoreData = 0x201,
        StatusBinaryFile = 0x202
    };

    TextFile();
    ~TextFile() override;

    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int Write(WriteSpreadSheetData* source) override;
    int EstablishSize() override;
    /** None: a text is one table. */
    std::vector<Part> ListParts() override { return {}; }
    /** Encoding, dialect, heads and types, in the complete reading. */
    std::vector<Fact> ListFacts() override;

    /** Takes the delimiter and the flag from the record, or else from GetTextFileOptions. */
    virtual bool SetOptions(NvImportOpenOptions* options);
    /** Where a host asks the user; a host that is cancelled stores status 4. */
    virtual TextFileOptions GetTextFileOptions();

    /** Reads a window of the table; all bounds count from 1 and are included. */
    int Read(ReadSpreadSheetData* sink, int lastCol, int lastRow, int firstCol, int firstRow);

    /** An empty text leaves the delimiter as it is. */
    void SetDelimiter(const char* text);
    void IgnoreConsecutiveDelimiters(bool ignore) { ignoreConsecutive = ignore; }

    /** Whether the file can be opened and has no NUL among its first 30768 bytes. */
    static bool IsTextFile(const char* fileName);

    /**
     * A new record with the delimiter as a binary string and the flag as a byte, for hosts that read this
     * layout. It isn't the one that Open takes its settings from. The caller frees it.
     */
    static NvImportOpenOptions* GetImportOptions(const std::string& delimiter, bool ignoreConsecutive);

protected:
    static constexpr std::string_view StreamFailedText = "Failed to open stream for reading.";
    static constexpr std::string_view MoreDataText = "Expected end of file but found more data.";
    static constexpr std::string_view BinaryFileText =
        "This file appears to be a binary file and cannot be imported. Only ordinary text (ASCII) files can "
        "be imported.";

    std::string delimiter = "\t";
    bool ignoreConsecutive = false;
    std::int32_t mode = ModeClosed;
    LineReader stream;
    std::unique_ptr<OutputFile> output;
    std::vector<std::uint8_t> optionsBlob;
    std::unique_ptr<DelimitedText> complete;  // the complete reading, while it is open

    /** `nameRow` is where the format has the columns' names, if the options don't say; 0: it is looked for.
     */
    int OpenCompletely(const char* fileName, const NvImportOpenOptions* options, int nameRow = 0);
    int ReadCompletely(ReadSpreadSheetData& sink);

private:
    void ReadOptions(const NvImportOpenOptions* options, TextFileOptions& choices) const;
    void WriteOptions(NvImportOpenOptions* options, const TextFileOptions& choices);
    void NoteWhatIsLeftOut();
    char* GetCell(char*& cursor, char* end) const;
    int CountCells(char* line, char* end) const;

    std::string path;                // of the file that is read
    std::uint64_t linesWithNul = 0;  // whose rest is in no cell
};

class KARTA_EXPORT TextFileFactory : public SprFileFactory {
public:
    explicit TextFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
