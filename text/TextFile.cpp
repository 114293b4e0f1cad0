#include "text/TextFile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <sstream>

#include "base/ByteScan.h"
#include "frame/FormatRecogniser.h"
#include "frame/OptionsText.h"
#include "host/BinaryString.h"
#include "host/NvFile.h"
#include "host/XMLSection.h"
#include "text/DelimitedText.h"
#include "text/DialectSniffer.h"

namespace {

// How much of a file is searched for a NUL, the mark of a binary file.
constexpr std::size_t BinaryTestSize = 30768;

constexpr const char* DelimiterKey = "Delimiter";
constexpr const char* IgnoreConsecutiveKey = "IgnoreConsecutiveDelimiters";

void CutCarriageReturn(LineReader::Line& line) {
    if (line.length > 0 && line.text[line.length - 1] == '\r') {
        line.text[--line.length] = '\0';
    }
}

}  // namespace

TextFile::TextFile() = default;
TextFile::~TextFile() = default;

void TextFile::Close() {
    complete.reset();
    stream.Close();
    output.reset();
    mode = ModeClosed;
    optionsBlob.clear();
    FormatReader::Close();
}

void TextFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, StreamFailedText},
        {StatusMoreData, MoreDataText},
        {StatusBinaryFile, BinaryFileText},
    };
    CopyStatusText(Texts, buffer, size);
}

int TextFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        mode = ModeWriting;
        output = std::make_unique<OutputFile>(fileName);
        output->SetBudget(&GetContext()->budget);
        if (output->HasFailed()) {
            status = StatusStreamFailed;
        }
        return status;
    }
    numCols = numRows = -1;
    sizeKnown = false;
    if (IsComplete()) {
        return OpenCompletely(fileName, options);
    }
    if (!IsTextFile(fileName)) {
        status = StatusBinaryFile;
        return status;
    }
    mode = ModeReading;
    path = fileName;
    stream = LineReader(fileName);
    stream.SetStop(GetContext()->stop);
    if (!stream.IsOpen()) {
        status = StatusStreamFailed;
        return status;
    }
    SetOptions(options);
    return status;
}

int TextFile::OpenCompletely(const char* fileName, const NvImportOpenOptions* options, int nameRow) {
    mode = ModeReading;
    return WithinBudget(StatusStreamFailed, [&] {
        try {
            DelimitedOptions choices(options);
            if (nameRow > 0 && !choices.header) {
                choices.header = nameRow;
            }
            complete = std::make_unique<DelimitedText>(*GetContext());
            complete->Open(fileName, choices);
        } catch (const karta::BudgetExceeded&) {
            throw;
        } catch (const TextSource::Refused& refused) {
            failureText = refused.what();
            status = StatusBinaryFile;
        } catch (const std::exception& refused) {
            failureText = refused.what();
            status = StatusStreamFailed;
        }
        return status;
    });
}

int TextFile::ReadCompletely(ReadSpreadSheetData& sink) {
    return WithinBudget(StatusStreamFailed, [&] {
        complete->Read(sink);
        return status;
    });
}

std::vector<FileContents::Fact> TextFile::ListFacts() {
    return complete == nullptr ? std::vector<Fact>() : complete->ListFacts();
}

void TextFile::ReadOptions(const NvImportOpenOptions* options, TextFileOptions& choices) const {
    const XMLSection document(DecodeOptionsText(*options));
    if (const XMLSection* settings = document.GetSection(XMLSection::Settings)) {
        settings->Read(DelimiterKey, choices.delimiter);
        settings->Read(IgnoreConsecutiveKey, choices.ignoreConsecutive);
    }
}

void TextFile::WriteOptions(NvImportOpenOptions* options, const TextFileOptions& choices) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    settings.Write(DelimiterKey, choices.delimiter);
    settings.Write(IgnoreConsecutiveKey, choices.ignoreConsecutive);
    LendOptions(document.Flush(), optionsBlob, *options);
}

bool TextFile::SetOptions(NvImportOpenOptions* options) {
    try {
        TextFileOptions choices{delimiter, ignoreConsecutive};
        if (HasOptions(options)) {
            ReadOptions(options, choices);
        } else {
            choices = GetTextFileOptions();
            if (status == StatusAbortedByUser) {
                stream.Close();
                return false;
            }
            if (options != nullptr) {
                WriteOptions(options, choices);
            }
        }
        SetDelimiter(choices.delimiter.c_str());
        IgnoreConsecutiveDelimiters(choices.ignoreConsecutive);
    } catch (...) {
        status = StatusStreamFailed;
    }
    return status == StatusOk;
}

TextFileOptions TextFile::GetTextFileOptions() {
    return {};
}

// The next cell of a line, ended by a NUL in place, or null at the line's end. `end` is the line's end.
char* TextFile::GetCell(char*& cursor, char* end) const {
    if (cursor == end) {
        return nullptr;
    }
    char* const cell = cursor;
    const std::size_t width = delimiter.size();
    char* found =
        width == 1 ? FindByte(cursor, end, delimiter.front()) : std::strstr(cursor, delimiter.c_str());
    if (found == nullptr || found == end) {
        cursor = end;
        return cell;
    }
    cursor = found + width;
    if (ignoreConsecutive) {
        while (delimiter.compare(0, width, cursor, std::min(width, static_cast<std::size_t>(end - cursor))) ==
               0) {
            cursor += width;
        }
    }
    *found = '\0';
    return cell;
}

int TextFile::CountCells(char* line, char* end) const {
    if (delimiter.size() == 1 && !ignoreConsecutive) {
        // As below, but without stopping at each: a delimiter at the end begins no cell.
        return static_cast<int>(CountByte(line, end, delimiter.front())) +
               (line != end && end[-1] != delimiter.front() ? 1 : 0);
    }
    int count = 0;
    while (GetCell(line, end) != nullptr) {
        ++count;
    }
    return count;
}

int TextFile::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeReading) {
        return StatusWrongMode;
    }
    if (complete != nullptr) {
        return WithinBudget(StatusStreamFailed, [this] {
            const DelimitedText::Size size = complete->Measure();
            numCols = size.cols;
            numRows = size.rows;
            sizeKnown = true;
            return StatusOk;
        });
    }
    stream.Rewind();
    std::int64_t rowCount = 0;
    int cells = 0;
    bool atEnd = false;
    while (!atEnd) {
        LineReader::Line line = stream.Next();
        atEnd = line.atEnd;
        ++rowCount;
        CutCarriageReturn(line);
        cells = CountCells(line.text, line.text + std::strlen(line.text));
        if (cells > 0) {
            numCols = std::max(numCols, cells);
        }
    }
    // Only the one empty line behind a final line feed is no row; further empty ones before it are.
    if (cells == 0) {
        --rowCount;
    }
    numRows = static_cast<int>(std::min<std::int64_t>(rowCount, std::numeric_limits<int>::max()));
    stream.Rewind();
    sizeKnown = true;
    return StatusOk;
}

int TextFile::Read(ReadSpreadSheetData* sink) {
    if (status == StatusOk && mode == ModeReading && complete != nullptr) {
        return ReadCompletely(*sink);
    }
    if (status == StatusOk && mode == ModeReading && !sizeKnown) {
        EstablishSize();
    }
    linesWithNul = 0;
    const int result = Read(sink, numCols, numRows, 1, 1);
    if (result == StatusOk) {
        NoteWhatIsLeftOut();
    }
    return result;
}

// What the classic rules did to the file, as far as its user may want to know.
void TextFile::NoteWhatIsLeftOut() {
    if (linesWithNul > 0) {
        AddNote({"cut-at-nul", linesWithNul, "",
                 karta::CountOf(linesWithNul, "line") +
                     " were cut at a NUL; the complete reading keeps the rest"});
    }
    if (numCols != 1) {
        return;
    }
    const std::string beginning = NvFile::ReadHead(path.c_str(), SniffedCharacters);
    const TextDialect dialect = SniffDialect(beginning, beginning.size() == SniffedCharacters);
    if (!dialect.delimiter.empty() && dialect.delimiter != delimiter) {
        AddNote({"one-column", 1, "",
                 "all is one column, but '" + GetName(dialect) +
                     "' seems to part its fields; --delimiter says so, and the complete reading finds out by "
                     "itself"});
    }
}

int TextFile::Read(ReadSpreadSheetData* sink, int lastCol, int lastRow, int firstCol, int firstRow) {
    if (status != StatusOk) {
        return status;
    }
    if (mode != ModeReading) {
        status = StatusWrongMode;
        return status;
    }
    stream.Rewind();
    int lineCount = 0;
    int rowFinished = 0;
    bool atEnd = false;
    while (!atEnd) {
        const int wanted = sink->NextRowToRead(rowFinished);
        if (wanted < 0) {
            break;
        }
        LineReader::Line line;
        // A sink that asks for the row it has just had finds that row's line used up.
        bool fresh = false;
        while (wanted > lineCount && !atEnd) {
            line = stream.Next();
            atEnd = line.atEnd;
            ++lineCount;
            fresh = true;
        }
        if (lineCount > lastRow || (atEnd && lineCount < wanted)) {
            break;
        }
        if (fresh && lineCount >= firstRow) {
            CutCarriageReturn(line);
            char* cursor = line.text;
            char* const end = cursor + std::strlen(cursor);
            linesWithNul += end != line.text + line.length ? 1 : 0;
            int col = 0;
            while (char* cell = GetCell(cursor, end)) {
                ++col;
                if (col >= firstCol && col <= lastCol) {
                    sink->Set(col, lineCount, cell);
                }
            }
        }
        rowFinished = wanted;
    }
    return status;
}

int TextFile::Write(WriteSpreadSheetData* source) {
    if (mode != ModeWriting) {
        status = StatusWrongMode;
        return status;
    }
    if (status != StatusOk) {
        return status;
    }
    const int rows = source->GetNumberOfRows();
    const int cols = source->GetNumberOfColumns();
    for (int row = 1; row <= rows && output != nullptr; ++row) {
        for (int col = 1; col <= cols; ++col) {
            if (col > 1) {
                // Of a longer delimiter only the first character is written.
                output->Write(delimiter.front());
            }
            output->Write(source->GetString(col, row));
        }
        output->Write('\n');
    }
    if (output == nullptr || !output->Commit()) {
        status = StatusStreamFailed;
    }
    output.reset();
    return status;
}

void TextFile::SetDelimiter(const char* text) {
    if (text[0] != '\0') {
        delimiter = text;
    }
}

bool TextFile::IsTextFile(const char* fileName) {
    return ::IsTextFile(fileName, BinaryTestSize);
}

NvImportOpenOptions* TextFile::GetImportOptions(const std::string& delimiter, bool ignoreConsecutive) {
    std::ostringstream stream;
    WriteBinaryString(stream, delimiter);
    stream.put(ignoreConsecutive ? '\1' : '\0');
    const std::string bytes = std::move(stream).str();
    auto* options =
        new NvImportOpenOptions{static_cast<std::uint32_t>(bytes.size()), new std::uint8_t[bytes.size()]};
    std::copy(bytes.begin(), bytes.end(), options->data);
    return options;
}

TextFileFactory::TextFileFactory(signed char priority)
    : SprFileFactory("Text File", "Text Files (*.txt; *.dat)", "Text File (*.txt)", 2, ".txt\0.dat\0", 1, 1,
                     0, 1, 1, priority) {}

MyKindOfFile TextFileFactory::IsMyKindOfFile(const char* fileName) {
    return TextFile::IsTextFile(fileName) ? KindProbably : KindNo;
}

SpreadsheetFile* TextFileFactory::GetSpreadsheetFile() {
    return new TextFile;
}

static TextFileFactory textFileFactory(1);
static FormatRecogniser textFileRecogniser("Text File", "text", {".tsv", ".tab", ".asc", ".prn"},
                                           FormatRecogniser::ProvesNothing);
