#include "text/DIFFile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>

#include "base/Ascii.h"
#include "base/BelievedCount.h"
#include "base/CopyMessage.h"
#include "base/FileStream.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/Unicode.h"
#include "frame/CellOutput.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "host/NvFile.h"
#include "host/NvString.h"

namespace {

// How far a read goes before it looks whether it is to stop.
constexpr std::uint64_t LinesBetweenLooks = 8192;

// The page of the systems that the format comes from.
constexpr int OemCodePage = 850;
constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

// The fewest bytes that a row or a cell takes: a type, a comma and two line ends.
constexpr std::int64_t MinRecordSize = 4;

// Types of records.
// Bytes of a cell that is written: "0,1", "V" and their line ends.
constexpr std::uint64_t SmallestCell = 6;

constexpr int TypeSpecial = -1;
constexpr int TypeNumber = 0;
constexpr int TypeText = 1;

// What a special record of neither kind is to its callers: nothing.
constexpr int CodeUnknownSpecial = 0x302;

// The first word, in upper case.
std::string TopicOf(std::string_view line) {
    SkipSpace(line);
    std::string topic(line.substr(
        0, static_cast<std::size_t>(std::find_if(line.begin(), line.end(), IsSpace) - line.begin())));
    std::transform(topic.begin(), topic.end(), topic.begin(), ToUpper);
    return topic;
}

// Takes the first and the last character away.
void CutEnds(std::string& text) {
    text.erase(0, 1);
    if (!text.empty()) {
        text.pop_back();
    }
}

// Whether the text of a string, behind its opening quote, ends with the closing one: doubled quotes are part
// of the text.
bool EndsInClosingQuote(std::string_view text) {
    const std::size_t other = text.find_last_not_of('"');
    const std::size_t quotes = other == std::string_view::npos ? text.size() : text.size() - other - 1;
    return quotes % 2 == 1;
}

void HalveDoubledQuotes(std::string& text) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i, ++kept) {
        text[kept] = text[i];
        if (text[i] == '"' && i + 1 < text.size() && text[i + 1] == '"') {
            ++i;
        }
    }
    text.resize(kept);
}

// A file may end in the mark by which old systems ended texts.
bool IsBlank(std::string_view line) {
    constexpr char EndOfText = '\x1a';
    return std::all_of(line.begin(), line.end(), [](char c) { return IsSpace(c) || c == EndOfText; });
}

bool IsWord(std::string_view text, std::string_view word) {
    return EqualIgnoringCase(TrimSpace(text), word);
}

bool IsQuoted(std::string_view text) {
    return text.size() > 1 && text.front() == '"' && text.back() == '"';
}

// A string can't hold a line end.
std::string WithoutLineEnds(std::string text) {
    std::erase(text, '\r');
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace

DIFFile::DIFFile() = default;
DIFFile::~DIFFile() = default;

void DIFFile::Close() {
    inStream.reset();
    outStream.reset();
    output.reset();
    FormatReader::Close();
    mode = ModeClosed;
}

void DIFFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, "Failed to open stream for reading."},
        {StatusBadHeader, "An error was found in the DIF header."},
        {StatusBadRecord, "An error was found in a DIF record."},
        {StatusUnicode, "UNICODE DIF files cannot be read."},
    };
    CopyStatusText(Texts, buffer, size);
}

int DIFFile::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        mode = ModeWriting;
        fileTitle = NvGetFileName(path);
        output = std::make_unique<OutputFile>(path);
        output->SetBudget(&GetContext()->budget);
        if (output->HasFailed()) {
            status = StatusStreamFailed;
        }
        return status;
    }
    mode = ModeReading;
    // What the last file told is not this one's.
    title[0] = '\0';
    wholeTitle.clear();
    codePage.reset();
    contentStart = 0;
    const bool hasMark = NvFile::GetEncoding(path) != NvFile::EncodingPlain;
    const bool hasUtf8Mark = hasMark && ReadFileHead(path, Utf8Mark.size()) == Utf8Mark;
    if (hasMark && !(hasUtf8Mark && IsComplete())) {
        status = StatusUnicode;
        return status;
    }
    contentStart = hasUtf8Mark ? static_cast<std::streamoff>(Utf8Mark.size()) : 0;
    inStream = std::make_unique<FileStream>(path);
    if (inStream->fail()) {
        status = StatusStreamFailed;
        return status;
    }
    if (IsComplete()) {
        GetContext()->budget.AddInput(path);
        ChooseEncoding(options);
    }
    if (ReadHeader() == StatusOk) {
        numCols = numRows = 0;
        sizeKnown = false;
    }
    return status;
}

void DIFFile::ChooseEncoding(const NvImportOpenOptions* options) {
    codePage.reset();
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Encoding);
    if (wanted) {
        codePage = CodePage::Find(*wanted);
        if (!codePage) {
            AddNote({"unknown-encoding",
                     1,
                     {},
                     "the encoding \"" + *wanted + "\" isn't known and not looked at"});
        }
    }
    if (!codePage && !IsUtf8()) {
        codePage.emplace(OemCodePage);
    }
}

// Whether the bytes of the whole file are UTF-8.
bool DIFFile::IsUtf8() {
    constexpr std::size_t BlockSize = 65536;
    constexpr std::size_t LongestCharacter = 4;
    RewindStream();
    std::string block;
    std::size_t kept = 0;
    while (true) {
        block.resize(kept + BlockSize);
        inStream->read(block.data() + kept, BlockSize);
        const std::size_t end = kept + static_cast<std::size_t>(inStream->gcount());
        const bool isLast = inStream->gcount() == 0;
        const std::string_view text(block.data(), end);
        std::size_t place = 0;
        const auto skipAscii = [&] {
            place = static_cast<std::size_t>(
                std::find_if(text.begin() + static_cast<std::ptrdiff_t>(place), text.end(),
                             [](char c) { return static_cast<signed char>(c) < 0; }) -
                text.begin());
        };
        for (skipAscii(); place < end && (isLast || end - place >= LongestCharacter); skipAscii()) {
            const std::size_t length = GetUtf8Length(text.substr(place));
            if (length == 0) {
                return false;
            }
            place += length;
        }
        if (isLast) {
            return true;
        }
        block.erase(0, place);
        kept = end - place;
    }
}

int DIFFile::Open(std::istream* stream, const char* newTitle) {
    fileTitle = newTitle;
    mode = ModeReading;
    inStream.reset(stream);
    return status;
}

int DIFFile::Open(std::ostream* stream, const char* newTitle) {
    fileTitle = newTitle;
    mode = ModeWriting;
    outStream.reset(stream);
    return status;
}

std::vector<FileContents::Part> DIFFile::ListParts() {
    return {};
}

std::vector<FileContents::Fact> DIFFile::ListFacts() {
    const std::string text = IsComplete() ? wholeTitle : title;
    std::vector<Fact> facts;
    if (!text.empty()) {
        facts.emplace_back("title", text);
    }
    if (IsComplete()) {
        facts.emplace_back("encoding", codePage ? codePage->GetName() : "UTF-8");
    }
    return facts;
}

void DIFFile::GetLine(std::istream& stream, char* buffer, unsigned int size) const {
    stream.getline(buffer, size);
    const std::streamsize extracted = stream.gcount();
    // The line end counts as extracted; a last line may have none.
    const std::streamsize length = stream.good() ? extracted - 1 : extracted;
    if (extracted > 1 && length > 0 && buffer[length - 1] == '\r') {
        buffer[length - 1] = '\0';
    }
}

// The next line, without its end. The classic decoder knows lines of a limited length only, which end at a
// NUL.
void DIFFile::TakeLine(std::string& to) {
    if (IsComplete()) {
        std::getline(*inStream, to);
        if (to.ends_with('\r')) {
            to.pop_back();
        }
    } else {
        GetLine(*inStream, line, LineSize);
        to = line;
    }
    if (++lines % LinesBetweenLooks == 0) {
        GetContext()->ThrowIfStopped();
    }
}

// An entry of the header into entryTopic, entryFirst and the record's value and text.
bool DIFFile::ReadEntry() {
    TakeLine(lineText);
    entryTopic = TopicOf(lineText);
    TakeLine(lineText);
    const std::size_t comma = lineText.find(',');
    if (comma == std::string::npos || inStream->fail()) {
        return false;
    }
    entryFirst.assign(lineText, 0, comma);
    record.value.assign(lineText, comma + 1);
    TakeLine(record.text);
    if (record.text.starts_with('"')) {
        CutEnds(record.text);
    }
    return !inStream->fail();
}

int DIFFile::ReadDIFHeaderEntry(char* topicText, char* valueText, char* stringText) {
    if (!ReadEntry()) {
        status = StatusBadHeader;
        failurePlace.line = lines;
        return CodeFailed;
    }
    CopyMessage(entryFirst, topicText, LineSize);
    CopyMessage(record.value, valueText, LineSize);
    CopyMessage(record.text, stringText, LineSize);
    static constexpr std::pair<std::string_view, Code> Topics[] = {
        {"TABLE", CodeTable}, {"VECTORS", CodeVectors}, {"TUPLES", CodeTuples}, {"DATA", CodeData}};
    for (const auto& [name, code] : Topics) {
        if (entryTopic == name) {
            return code;
        }
    }
    return CodeOther;
}

void DIFFile::RewindStream() {
    inStream->clear();
    inStream->seekg(contentStart);
    lines = 0;
}

int DIFFile::ReadHeader() {
    RewindStream();
    int code = CodeOther;
    while (code != CodeData) {
        code = ReadDIFHeaderEntry(topicPart, valuePart, stringPart);
        if (code == CodeFailed) {
            return status;
        }
        if (code == CodeTable) {
            CopyMessage(stringPart, title, TitleSize);
            wholeTitle = codePage ? codePage->ToUtf8(record.text) : record.text;
        } else if (IsComplete() && (code == CodeVectors || code == CodeTuples)) {
            (code == CodeVectors ? declaredCols : declaredRows) = ToLeadingInt(valuePart);
        }
    }
    return StatusOk;
}

int DIFFile::ReadDIFRecord(char* valueText, char* stringText) {
    if (!ReadRecord()) {
        status = StatusBadRecord;
        failurePlace.line = lines;
        return CodeFailed;
    }
    const int code = ClassicCode(record);
    CopyMessage(record.value, valueText, LineSize);
    CopyMessage(record.text, stringText, LineSize);
    return code;
}

// A record of two lines; false for one without a comma, a number before it, or a string's quotes.
bool DIFFile::ReadRecord() {
    TakeLine(lineText);
    const std::size_t comma = lineText.find(',');
    if (comma == std::string::npos ||
        !NvString::ToInt(std::string_view(lineText).substr(0, comma), record.type)) {
        return false;
    }
    record.value.assign(lineText, comma + 1);
    TakeLine(record.text);
    return !inStream->fail() && (record.type != TypeText || IsQuoted(record.text));
}

// The classic rule: what a record is by its type and its text, with a cell's text in its value or text.
int DIFFile::ClassicCode(Record& record) {
    switch (record.type) {
        case TypeSpecial:
            if (record.value != "0") {
                return CodeUnknownSpecial;
            }
            return record.text == "BOT"   ? CodeRowStart
                   : record.text == "EOD" ? CodeEndOfData
                                          : CodeUnknownSpecial;
        case TypeNumber:
            if (record.text == "ERROR" || record.text == "NA") {
                return CodeOther;
            }
            if (record.text != "V") {
                record.value = record.text == "true" ? "1" : record.text == "false" ? "0" : "";
            }
            return CodeNumber;
        case TypeText:
            CutEnds(record.text);
            return CodeText;
        default:
            // A type of 5 to 9 acts as the code of its number.
            return record.type;
    }
}

/** The complete rule: what a record is, its cell handed out with its type. */
class DIFFile::CompleteRows {
public:
    /** Without a sink the rows are only measured. */
    CompleteRows(ReadSpreadSheetData* sink, const std::optional<CodePage>& texts) : codePage(texts) {
        if (sink != nullptr) {
            output.emplace(*sink);
        }
    }

    /** False at the end of the data. */
    bool Take(Record& record) {
        switch (record.type) {
            case TypeSpecial:
                if (IsWord(record.text, "BOT")) {
                    StartRow();
                }
                return !IsWord(record.text, "EOD");
            case TypeNumber:
                NextCell();
                TakeValue(record);
                return true;
            case TypeText:
                NextCell();
                TakeText(record.text);
                return true;
            default:
                ++unknown;
                return true;
        }
    }

    void AddTo(karta::Notes& notes) const {
        if (errors > 0) {
            notes.Add({"error-cells", errors, firstError,
                       karta::CountOf(errors, "cell") + (errors == 1 ? " holds" : " hold") +
                           " no value but NA or ERROR (first: " + firstError + ")"});
        }
        if (unknown > 0) {
            notes.Add({"unknown-records",
                       unknown,
                       {},
                       karta::CountOf(unknown, "record") + (unknown == 1 ? " is" : " are") +
                           " of a type that the format doesn't know"});
        }
    }

    int GetRows() const { return rows; }
    int GetCols() const { return widest; }

private:
    void StartRow() {
        if (output && rows > 0) {
            output->EndRow(rows);
        }
        rows = rows < std::numeric_limits<int>::max() ? rows + 1 : rows;
        col = 0;
    }

    // Cells before the first row's start are that row's.
    void NextCell() {
        rows = std::max(rows, 1);
        col = col < std::numeric_limits<int>::max() ? col + 1 : col;
        widest = std::max(widest, col);
    }

    void TakeText(std::string& text) {
        if (output) {
            HalveDoubledQuotes(text);
            output->Text(col, rows, codePage ? codePage->ToUtf8(text) : text);
        }
    }

    void TakeValue(Record& record) {
        const std::string_view what = TrimSpace(record.text);
        if (what == "V") {
            // The mark of nearly every number.
            TakeNumber(TrimSpace(record.value));
        } else if (IsWord(what, "NA") || IsWord(what, "ERROR")) {
            TakeError(IsWord(what, "NA") ? "NA" : "ERROR");
        } else if (!output) {
            return;
        } else if (IsWord(what, "TRUE") || IsWord(what, "FALSE")) {
            output->Bool(col, rows, IsWord(what, "TRUE"));
        } else if (IsWord(what, "NULL")) {
            output->Missing(col, rows);
        } else {
            TakeNumber(TrimSpace(record.value));
        }
    }

    // Some programs write dates where a number should be.
    void TakeNumber(std::string_view digits) {
        if (!output) {
            return;
        }
        double number = 0.0;
        const std::size_t length = ParseDouble(digits, number);
        if (length == digits.size() && length > 0) {
            output->Number(col, rows, number);
        } else {
            output->Text(col, rows, codePage ? codePage->ToUtf8(digits) : std::string(digits));
        }
    }

    void TakeError(std::string_view text) {
        if (errors == 0) {
            firstError = "row " + std::to_string(rows) + ", column " + std::to_string(col);
        }
        ++errors;
        if (output) {
            output->Error(col, rows, text);
        }
    }

    std::optional<CellOutput> output;
    const std::optional<CodePage>& codePage;
    int rows = 0;
    int col = 0;
    int widest = 0;
    std::uint64_t errors = 0;
    std::string firstError;
    std::uint64_t unknown = 0;
};

int DIFFile::ReadComplete(ReadSpreadSheetData* sink) {
    declaredCols = declaredRows = 0;
    if (ReadHeader() != StatusOk) {
        return status;
    }
    stringsEnd = true;
    openStrings = 0;
    CompleteRows rows(sink, codePage);
    Found found = Found::Record;
    while (found == Found::Record) {
        found = ReadRecordOfAnyLength();
        if (found == Found::Record && !rows.Take(record)) {
            break;
        }
    }
    if (found == Found::Failure) {
        status = StatusBadRecord;
        failurePlace.line = lines;
    } else if (found == Found::End) {
        AddNote({"no-end", 1, {}, "the file ends without its EOD record"});
    }
    if (openStrings > 0) {
        const std::string place = "line " + std::to_string(firstOpenString);
        AddNote({"open-string", openStrings, place,
                 karta::CountOf(openStrings, "string") + (openStrings == 1 ? " has" : " have") +
                     " no closing quote (first: " + place + ")"});
    }
    rows.AddTo(GetContext()->notes);
    numCols = rows.GetCols();
    numRows = rows.GetRows();
    sizeKnown = status == StatusOk;
    NoteDeclaredSize(numCols, numRows);
    if (sink != nullptr) {
        sink->SetDataSize(numCols, numRows);
    }
    return status;
}

// Writers disagree on which count is which.
void DIFFile::NoteDeclaredSize(int cols, int rows) {
    const auto isDeclared = [this](int first, int second) {
        return first == declaredCols && second == declaredRows;
    };
    const bool tellsNothing = isDeclared(0, 0);
    if (!tellsNothing && !isDeclared(cols, rows) && !isDeclared(rows, cols)) {
        AddNote({"declared-size",
                 1,
                 {},
                 "the header tells " + std::to_string(declaredCols) + " vectors and " +
                     std::to_string(declaredRows) + " tuples, the file has " +
                     karta::CountOf(static_cast<std::uint64_t>(rows), "row") + " of up to " +
                     karta::CountOf(static_cast<std::uint64_t>(cols), "cell")});
    }
}

// The next record, whatever its length. Empty lines between records are passed over.
DIFFile::Found DIFFile::ReadRecordOfAnyLength() {
    do {
        TakeLine(lineText);
        if (inStream->fail()) {
            return Found::End;
        }
    } while (IsBlank(lineText));
    const std::size_t comma = lineText.find(',');
    int type = 0;
    if (comma == std::string::npos ||
        !NvString::ToInt(std::string(TrimSpace(std::string_view(lineText).substr(0, comma))), type)) {
        return Found::Failure;
    }
    record.type = type;
    record.value.assign(lineText, comma + 1);
    TakeLine(record.text);
    if (inStream->fail()) {
        AddNote({"cut-records", 1, "line " + std::to_string(lines), "the last record is cut off"});
        return Found::End;
    }
    return type != TypeText || ReadRestOfString() ? Found::Record : Found::Failure;
}

// Takes a string's quotes away, and before that the lines over which it runs on. Quotes inside may not be
// doubled: where the next line begins a record, the string is over.
bool DIFFile::ReadRestOfString() {
    std::string& text = record.text;
    if (!text.starts_with('"')) {
        // Some writers leave the quotes away.
        return true;
    }
    text.erase(0, 1);
    bool isClosed = EndsInClosingQuote(text);
    if (!isClosed && text.ends_with('"') && LooksLikeRecord()) {
        isClosed = true;
    }
    if (!isClosed && stringsEnd) {
        const std::streampos behind = inStream->tellg();
        const std::size_t length = text.size();
        const std::uint64_t line = lines;
        while (!isClosed && stringsEnd) {
            TakeLine(lineText);
            stringsEnd = !inStream->fail();
            text += '\n';
            text += lineText;
            isClosed = EndsInClosingQuote(lineText);
        }
        if (!isClosed) {
            inStream->clear();
            inStream->seekg(behind);
            text.resize(length);
            lines = line;
        }
    }
    if (isClosed) {
        text.pop_back();
    } else {
        firstOpenString = openStrings == 0 ? lines : firstOpenString;
        ++openStrings;
    }
    return true;
}

// Whether a record begins at the next line, or the file is over; nothing is taken.
bool DIFFile::LooksLikeRecord() {
    const std::streampos behind = inStream->tellg();
    std::string next;
    std::getline(*inStream, next);
    const bool isOver = inStream->fail();
    inStream->clear();
    inStream->seekg(behind);
    const std::size_t comma = next.find(',');
    int type = 0;
    return isOver || (comma != std::string::npos && NvString::ToInt(next.substr(0, comma), type) &&
                      type >= TypeSpecial && type <= TypeText);
}

// The count of the present header entry; -1 for one that isn't believed of the rest of the file.
int DIFFile::ReadCount(std::int64_t limit) {
    const int count = ToLeadingInt(valuePart);
    return IsBelievedCount(count, limit) ? count : -1;
}

// Reads the header, its counts into the base's sizes. False, with the sizes 0, when a count can't be true.
bool DIFFile::ReadSizesOfHeader() {
    inStream->clear();
    inStream->seekg(0, std::ios_base::end);
    const std::int64_t limit = static_cast<std::int64_t>(inStream->tellg()) / MinRecordSize;
    RewindStream();
    bool believed = true;
    int code = CodeOther;
    while (code != CodeData && code != CodeFailed) {
        code = ReadDIFHeaderEntry(topicPart, valuePart, stringPart);
        if (code == CodeTable) {
            CopyMessage(stringPart, title, TitleSize);
        } else if (code == CodeVectors || code == CodeTuples) {
            int& size = code == CodeVectors ? numCols : numRows;
            size = ReadCount(limit);
            believed = believed && size >= 0;
            size = std::max(size, 0);
        }
    }
    return believed;
}

// Counts the cells of the first row. True when one of the header's counts is that count, the columns then
// being the one that is, and the row came to its end.
bool DIFFile::FirstRowSettlesSize() {
    ReadDIFRecord(valuePart, stringPart);
    int firstRow = 0;
    int code = CodeOther;
    while (code != CodeFailed && code != CodeRowStart && code != CodeEndOfData) {
        code = ReadDIFRecord(valuePart, stringPart);
        if (code == CodeText || code == CodeNumber) {
            Advance(firstRow);
        }
    }
    const bool fits = firstRow == numCols || firstRow == numRows;
    if (firstRow == numRows && firstRow != numCols) {
        std::swap(numCols, numRows);
    }
    if (fits && code != CodeFailed) {
        // A record in place of the first row's start that was bad stays the file's failure.
        return true;
    }
    // Whatever went wrong here is the full scan's to find.
    status = StatusOk;
    return false;
}

// The next row or column; false, with a status, behind the last that an int counts.
bool DIFFile::Advance(int& place) {
    if (place == std::numeric_limits<int>::max()) {
        status = StatusBadRecord;
        return false;
    }
    ++place;
    return true;
}

// Measures the whole file; of the header only the columns count, as the least that there are.
int DIFFile::ScanSize() {
    if (ReadHeader() != StatusOk) {
        return status;
    }
    int rows = 0;
    int col = 0;
    int code = CodeOther;
    while (code != CodeEndOfData && status == StatusOk) {
        code = ReadDIFRecord(valuePart, stringPart);
        if (code == CodeRowStart) {
            Advance(rows);
            col = 0;
        } else if (code == CodeText || code == CodeNumber) {
            Advance(col);
            numCols = std::max(numCols, col);
        }
    }
    sizeKnown = status == StatusOk;
    numCols = sizeKnown ? numCols : 0;
    numRows = sizeKnown ? rows : 0;
    return status;
}

int DIFFile::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeReading) {
        return StatusWrongMode;
    }
    if (IsComplete()) {
        return ReadComplete(nullptr);
    }
    numCols = numRows = 0;
    const bool believed = ReadSizesOfHeader();
    if (status != StatusOk) {
        return status;
    }
    if (believed && FirstRowSettlesSize()) {
        sizeKnown = true;
        return StatusOk;
    }
    return ScanSize();
}

int DIFFile::Read(ReadSpreadSheetData* sink) {
    return ReadRows(sink, nullptr);
}

int DIFFile::ReadRows(ReadSpreadSheetData* sink, Conversion convert) {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeReading) {
        status = StatusWrongMode;
        return status;
    }
    if (IsComplete()) {
        return ReadComplete(sink);
    }
    if (ReadHeader() != StatusOk) {
        return status;
    }
    int row = 0;
    int col = 0;
    int widest = 0;
    int emptied = 0;
    int wanted = sink->NextRowToRead(0);
    int code = CodeOther;
    while (code != CodeEndOfData && status == StatusOk) {
        code = ReadDIFRecord(valuePart, stringPart);
        if (code == CodeRowStart) {
            wanted = sink->NextRowToRead(row);
            Advance(row);
            col = 0;
        } else if ((code == CodeText || code == CodeNumber || code == CodeOther) && Advance(col) &&
                   row == wanted && row > 0) {
            PutClassicCell(sink, col, row, code, convert);
            widest = std::max(widest, col);
            emptied += code == CodeOther || (code == CodeNumber && *valuePart == '\0') ? 1 : 0;
        }
    }
    sink->SetDataSize(col, row);
    NoteClassicLoss(emptied, col, widest);
    return status;
}

void DIFFile::NoteClassicLoss(int emptied, int col, int widest) {
    if (emptied > 0) {
        AddNote({"classic-left-out",
                 static_cast<std::uint64_t>(emptied),
                 {},
                 "the classic reading leaves " +
                     karta::CountOf(static_cast<std::uint64_t>(emptied), "value") +
                     " empty, such as NA, ERROR, or TRUE in capitals; the complete reading has them"});
    }
    if (widest > col) {
        AddNote({"classic-left-out",
                 static_cast<std::uint64_t>(widest - col),
                 {},
                 "the classic reading makes the table as wide as its last row and cuts off columns " +
                     std::to_string(col + 1) + " to " + std::to_string(widest) +
                     "; the complete reading has them"});
    }
}

void DIFFile::PutClassicCell(ReadSpreadSheetData* sink, int col, int row, int code,
                             Conversion convert) const {
    if (code == CodeText && convert != nullptr) {
        sink->Set(col, row, convert(stringPart).c_str());
    } else {
        sink->Set(col, row, code == CodeText ? stringPart : code == CodeNumber ? valuePart : "");
    }
}

bool DIFFile::Put(std::string_view text) {
    if (output != nullptr) {
        output->Write(text);
        return !output->HasFailed();
    }
    return outStream != nullptr &&
           outStream->write(text.data(), static_cast<std::streamsize>(text.size())).good();
}

bool DIFFile::FinishWriting() {
    return output != nullptr ? output->Commit() : outStream != nullptr && outStream->flush().good();
}

int DIFFile::Write(WriteSpreadSheetData* source) {
    return WriteRows(source, nullptr);
}

int DIFFile::WriteRows(WriteSpreadSheetData* source, Conversion convert) {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeWriting) {
        status = StatusWrongMode;
        return status;
    }
    const int rows = source->GetNumberOfRows();
    const int cols = source->GetNumberOfColumns();
    if (output != nullptr) {
        output->Expect(std::uint64_t{SmallestCell} * static_cast<std::uint64_t>(std::max(rows, 0)) *
                       static_cast<std::uint64_t>(std::max(cols, 0)));
    }
    bool good = Put("TABLE\n0,1\n\"" + fileTitle + "\"\nVECTORS\n0," + std::to_string(cols) +
                    "\n\"\"\nTUPLES\n0," + std::to_string(rows) + "\n\"\"\nDATA\n0,0\n\"\"\n");
    std::string record;
    for (int row = 1; good && row <= rows; ++row) {
        good = Put("-1,0\nBOT\n");
        for (int col = 1; good && col <= cols; ++col) {
            if (source->IsFloat(col, row)) {
                const std::string number = FormatG(source->GetFloatValue(col, row));
                // Not every reader of the format knows exponents: then the cell's own text is taken.
                const bool plain = number.find('e') == std::string::npos;
                record = "0," + (plain ? number : source->GetString(col, row)) + "\nV\n";
            } else if (source->IsString(col, row)) {
                const std::string text = source->GetString(col, row);
                record = "1,0\n\"" + (convert == nullptr ? WithoutLineEnds(text) : text) + "\"\n";
            } else {
                record = "1,0\n\"\"\n";
            }
            good = Put(convert == nullptr ? record : convert(record));
        }
    }
    if (!good || !Put("-1,0\nEOD\n") || !FinishWriting()) {
        status = StatusStreamFailed;
    }
    output.reset();
    return status;
}

DiffFileFactory::DiffFileFactory()
    : SprFileFactory("DIF File", "DIF Files (*.dif)", "DIF Files (*.dif)", 1, ".dif\0", 1, 1, 0, 1, 1, 1) {}

MyKindOfFile DiffFileFactory::IsMyKindOfFile(const char* fileName) {
    const bool plain = NvFile::GetEncoding(fileName) == NvFile::EncodingPlain;
    return !plain || HasExtension(fileName, "dif") ? KindProbably : KindNo;
}

SpreadsheetFile* DiffFileFactory::GetSpreadsheetFile() {
    return new DIFFile;
}

namespace {

// The topic that a header begins with, and its numbers.
FormatRecogniser::Evidence Recognise(const char* /*path*/, std::string_view head) {
    if (head.starts_with(Utf8Mark)) {
        head.remove_prefix(Utf8Mark.size());
    }
    const std::string_view first = head.substr(0, head.find('\n'));
    head.remove_prefix(std::min(first.size() + 1, head.size()));
    const bool isDif = IsWord(first, "TABLE") && head.starts_with("0,");
    return isDif ? FormatRecogniser::Evidence::Proof : FormatRecogniser::Evidence::None;
}

}  // namespace

static DiffFileFactory diffFileFactory;
static const FormatRecogniser difRecogniser("DIF File", "dif", {}, Recognise);
