#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/CodePage.h"
#include "base/OutputFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

/**
 * The Data Interchange Format: text lines, a header of entries of three lines up to DATA, then records of two
 * lines up to EOD. Each row begins with a BOT record. Reads and writes.
 *
 * The complete reading gives numbers, texts in UTF-8 with their doubled quotes as one, truth values, and NA
 * and ERROR as errors of these texts. Lines have no limit, a string runs on to its closing quote, the largest
 * row is the table's width, and EOD may be missing. A file that is valid UTF-8 is taken for that, any other
 * for code page 850. Of the options it looks at "Encoding".
 *
 * In the classic reading every cell is text: a number's digits, a string between its quotes as it stands
 * (doubled quotes stay doubled), "1" or "0" for a truth value; a value of no content (NA, ERROR) is the empty
 * text. Writers disagree on which of the header's two counts are the columns, so the first row decides; where
 * it fits neither, the whole file is measured. A line may have 2023 characters, a carriage return included. A
 * file without EOD fails, once its cells have gone to the sink. The options record isn't looked at.
 */
class KARTA_EXPORT DIFFile : public FormatReader, public FileContents {
public:
    enum DIFFileStatus {
        StatusStreamFailed = 0x300,
        StatusBadHeader = 0x301,
        StatusBadRecord = 0x302,
        StatusUnicode = 0x303
    };

    DIFFile();
    ~DIFFile() override;

    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int Write(WriteSpreadSheetData* source) override;
    int EstablishSize() override;

    /** Reads from, or writes to, a stream that the caller has opened, and takes it over. */
    int Open(std::istream* stream, const char* title);
    int Open(std::ostream* stream, const char* title);

    /** None: a file is one table. */
    std::vector<Part> ListParts() override;
    /** The title. */
    std::vector<Fact> ListFacts() override;

protected:
    /** A line with its NUL. */
    static constexpr unsigned int LineSize = 2024;
    static constexpr unsigned int TitleSize = 50;

    /** What a header entry or a record is. Other records give their type as the code. */
    enum Code {
        CodeFailed = 0,
        CodeTable = 1,
        CodeVectors = 2,
        CodeTuples = 3,
        CodeData = 4,
        CodeRowStart = 5,
        CodeEndOfData = 6,
        CodeText = 7,
        CodeNumber = 8,
        CodeOther = 9
    };

    using Conversion = std::string (*)(std::string_view text);

    /** Reads a line without its end; a stream whose line doesn't fit has failed. */
    void GetLine(std::istream& stream, char* buffer, unsigned int size) const;
    /** Reads an entry into buffers of LineSize: its two numbers, as text, and its string. */
    int ReadDIFHeaderEntry(char* topicPart, char* valuePart, char* stringPart);
    /** Back to the start of the file and behind its DATA entry; returns the status. */
    int ReadHeader();
    /** Reads a record into buffers of LineSize. CodeFailed comes with a status. */
    int ReadDIFRecord(char* valuePart, char* stringPart);

    /** Read, with every string converted on its way; null leaves it as it stands. */
    int ReadRows(ReadSpreadSheetData* sink, Conversion convert);
    /** Write, with every cell's record converted; null also keeps line ends out of strings. */
    int WriteRows(WriteSpreadSheetData* source, Conversion convert);

    std::unique_ptr<std::istream> inStream;
    std::unique_ptr<std::ostream> outStream;
    std::unique_ptr<OutputFile> output;  // in place of outStream for a file that we opened
    char title[TitleSize] = "";
    char line[LineSize] = "";
    char topicPart[LineSize] = "";
    char valuePart[LineSize] = "";
    char stringPart[LineSize] = "";
    std::string fileTitle;
    std::int32_t mode = ModeClosed;

private:
    /** A record as the file has it: its type, what follows the comma, and the second line. */
    struct Record {
        int type = 0;
        std::string value;
        std::string text;
    };
    enum class Found { Record, End, Failure };
    class CompleteRows;

    void TakeLine(std::string& to);
    bool ReadEntry();
    bool ReadRecord();
    static int ClassicCode(Record& record);
    Found ReadRecordOfAnyLength();
    bool ReadRestOfString();
    bool LooksLikeRecord();
    void ChooseEncoding(const NvImportOpenOptions* options);
    bool IsUtf8();
    int ReadComplete(ReadSpreadSheetData* sink);
    void NoteDeclaredSize(int cols, int rows);
    void NoteClassicLoss(int emptied, int col, int widest);

    void RewindStream();
    int ReadCount(std::int64_t limit);
    bool ReadSizesOfHeader();
    bool FirstRowSettlesSize();
    int ScanSize();
    bool Advance(int& place);
    void PutClassicCell(ReadSpreadSheetData* sink, int col, int row, int code, Conversion convert) const;
    bool Put(std::string_view text);
    bool FinishWriting();

    Record record;
    std::string entryTopic;  // of the last header entry, in upper case
    std::string entryFirst;
    std::string lineText;
    std::string wholeTitle;            // in UTF-8, in the complete reading
    std::optional<CodePage> codePage;  // none: UTF-8
    std::streamoff contentStart = 0;   // behind a byte-order mark
    std::uint64_t lines = 0;
    int declaredCols = 0;
    int declaredRows = 0;
    std::uint64_t openStrings = 0;
    std::uint64_t firstOpenString = 0;  // its line
    bool stringsEnd = true;             // false once the rest of the file was found to close no string
};

class KARTA_EXPORT DiffFileFactory : public SprFileFactory {
public:
    DiffFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
