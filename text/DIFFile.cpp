#include "text/DIFFile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>

#include "base/Ascii.h"
#include "base/CopyMessage.h"
#include "base/FileStream.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "host/NvFile.h"
#include "host/NvString.h"

namespace {

// The fewest bytes that a row or a cell takes: a type, a comma and two line ends.
constexpr std::int64_t MinRecordSize = 4;

// Types of records.
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
void CutEnds(char* text) {
    const std::size_t length = std::strlen(text);
    std::memmove(text, text + 1, length);
    text[length > 1 ? length - 2 : 0] = '\0';
}

void CopyText(const char* from, char* to) {
    std::memcpy(to, from, std::strlen(from) + 1);
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
    switch (status) {
        case StatusStreamFailed:
            CopyMessage("Failed to open stream for reading.", buffer, size);
            break;
        case StatusBadHeader:
            CopyMessage("An error was found in the DIF header.", buffer, size);
            break;
        case StatusBadRecord:
            CopyMessage("An error was found in a DIF record.", buffer, size);
            break;
        case StatusUnicode:
            CopyMessage("UNICODE DIF files cannot be read.", buffer, size);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

int DIFFile::Open(bool forRead, const char* path, NvImportOpenOptions* /*options*/) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        mode = ModeWriting;
        fileTitle = NvGetFileName(path);
        output = std::make_unique<OutputFile>(path);
        if (output->HasFailed()) {
            status = StatusStreamFailed;
        }
        return status;
    }
    mode = ModeReading;
    if (NvFile::GetEncoding(path) != NvFile::EncodingPlain) {
        status = StatusUnicode;
        return status;
    }
    inStream = std::make_unique<FileStream>(path);
    if (inStream->fail()) {
        status = StatusStreamFailed;
        return status;
    }
    if (ReadHeader() == StatusOk) {
        numCols = numRows = 0;
        sizeKnown = false;
    }
    return status;
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
    return title[0] == '\0' ? std::vector<Fact>() : std::vector<Fact>{{"title", title}};
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

int DIFFile::ReadDIFHeaderEntry(char* topicText, char* valueText, char* stringText) {
    GetLine(*inStream, line, LineSize);
    const std::string topic = TopicOf(line);
    GetLine(*inStream, line, LineSize);
    char* const comma = std::strchr(line, ',');
    if (comma == nullptr || inStream->fail()) {
        status = StatusBadHeader;
        return CodeFailed;
    }
    *comma = '\0';
    CopyText(line, topicText);
    CopyText(comma + 1, valueText);
    GetLine(*inStream, stringText, LineSize);
    if (inStream->fail()) {
        status = StatusBadHeader;
        return CodeFailed;
    }
    if (*stringText == '"') {
        CutEnds(stringText);
    }
    static constexpr std::pair<std::string_view, Code> Topics[] = {
        {"TABLE", CodeTable}, {"VECTORS", CodeVectors}, {"TUPLES", CodeTuples}, {"DATA", CodeData}};
    for (const auto& [name, code] : Topics) {
        if (topic == name) {
            return code;
        }
    }
    return CodeOther;
}

void DIFFile::RewindStream() {
    inStream->clear();
    inStream->seekg(0);
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
        }
    }
    return StatusOk;
}

int DIFFile::ReadDIFRecord(char* valueText, char* stringText) {
    GetLine(*inStream, line, LineSize);
    char* const comma = std::strchr(line, ',');
    int type = 0;
    if (comma == nullptr || !NvString::ToInt({line, comma}, type)) {
        status = StatusBadRecord;
        return CodeFailed;
    }
    CopyText(comma + 1, valueText);
    GetLine(*inStream, stringText, LineSize);
    const std::string_view text = stringText;
    if (inStream->fail() || (type == TypeText && !IsQuoted(text))) {
        status = StatusBadRecord;
        return CodeFailed;
    }
    switch (type) {
        case TypeSpecial:
            if (std::strcmp(valueText, "0") != 0) {
                return CodeUnknownSpecial;
            }
            return text == "BOT" ? CodeRowStart : text == "EOD" ? CodeEndOfData : CodeUnknownSpecial;
        case TypeNumber:
            if (text == "ERROR" || text == "NA") {
                return CodeOther;
            }
            if (text != "V") {
                CopyText(EqualIgnoringCase(text, "true")    ? "1"
                         : EqualIgnoringCase(text, "false") ? "0"
                                                            : "",
                         valueText);
            }
            return CodeNumber;
        case TypeText:
            CutEnds(stringText);
            return CodeText;
        default:
            // A type of 5 to 9 acts as the code of its number; files of old rely on it.
            return type;
    }
}

// The count of the present header entry; -1 for one that the rest of the file can't hold.
int DIFFile::ReadCount(std::int64_t limit) {
    const int count = ToLeadingInt(valuePart);
    return count < 0 || count > limit ? -1 : count;
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
    if (ReadHeader() != StatusOk) {
        return status;
    }
    int row = 0;
    int col = 0;
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
            PutCell(sink, col, row, code, convert);
        }
    }
    sink->SetDataSize(col, row);
    return status;
}

void DIFFile::PutCell(ReadSpreadSheetData* sink, int col, int row, int code, Conversion convert) const {
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

static DiffFileFactory diffFileFactory;
