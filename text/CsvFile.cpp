#include "text/CsvFile.h"

#include <algorithm>
#include <string_view>

#include <boost/spirit/include/classic_file_iterator.hpp>

#include "base/ByteScan.h"
#include "frame/FormatRecogniser.h"
#include "text/CsvScanner.h"
#include "text/DelimitedText.h"

namespace {

// The start of the first line, with its NUL: enough to choose a delimiter by and to show.
constexpr std::size_t FirstLineSize = 1024;

// What a TAB becomes in the first line as it is shown.
constexpr std::size_t TabWidth = 3;

// The bytes that end the look at the first line without a complaint. The last is what the end of a file
// looks like when its bytes are taken as characters one by one.
bool EndsFirstLine(char byte) {
    return byte == '\0' || byte == '\n' || byte == '\xff';
}

bool IsPrintable(char byte) {
    return byte >= ' ' && byte <= '~';
}

// False for a byte that no first line may hold. `line` has room for FirstLineSize bytes.
bool GetFirstLine(std::string_view text, char* line) {
    std::size_t length = 0;
    line[0] = '\0';
    for (auto byte = text.begin(); byte != text.end() && !EndsFirstLine(*byte) && length < FirstLineSize - 1;
         ++byte) {
        if (*byte == '\t') {
            const std::size_t blanks = std::min(TabWidth, FirstLineSize - 1 - length);
            std::fill_n(line + length, blanks, ' ');
            length += blanks;
        } else if (*byte != '\r') {
            if (!IsPrintable(*byte) || *byte == '#') {
                return false;
            }
            line[length++] = *byte;
        }
    }
    line[length] = '\0';
    return true;
}

char ChooseDelimiter(std::string_view firstLine) {
    const auto commas = std::count(firstLine.begin(), firstLine.end(), ',');
    const auto semicolons = std::count(firstLine.begin(), firstLine.end(), ';');
    return semicolons > commas ? ';' : ',';
}

// The mapped bytes between two iterators.
std::string_view ViewOf(const CsvFile::file_iterator& begin, const CsvFile::file_iterator& end) {
    return {&*begin, static_cast<std::size_t>(end - begin)};
}

}  // namespace

// A place for the caller's table before the true size is known.
CsvFile::CsvFile() {
    numCols = numRows = 1;
}

CsvFile::~CsvFile() = default;

void CsvFile::Close() {
    complete.reset();
    FormatReader::Close();
}

// Classically the place for the caller's table; the true size of a complete read.
int CsvFile::GetNumCols() {
    return complete == nullptr ? numCols : FormatReader::GetNumCols();
}

int CsvFile::GetNumRows() {
    return complete == nullptr ? numRows : FormatReader::GetNumRows();
}

std::vector<FileContents::Fact> CsvFile::ListFacts() {
    return complete == nullptr ? std::vector<Fact>() : complete->ListFacts();
}

void CsvFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusStreamFailed, "Failed to open stream for reading."},
        {StatusReadFailed, "Failed to read file."},
        {StatusReadOnly, "Can not write csv files."},
        {StatusCanceled, "Read canceled by user."},
        {StatusNoData, "The file contains no data."},
        {StatusNotPrintable,
         "The file is not a correct .csv file. It contains non printable characters or #."},
    };
    CopyStatusText(Texts, buffer, size);
}

int CsvFile::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusReadOnly;
        return status;
    }
    fileName = path;
    if (!IsComplete()) {
        return status;
    }
    sizeKnown = false;
    return WithinBudget(StatusReadFailed, [&] {
        try {
            complete = std::make_unique<DelimitedText>(*GetContext());
            complete->Open(path, DelimitedOptions(options));
        } catch (const karta::BudgetExceeded&) {
            throw;
        } catch (const std::exception& refused) {
            failureText = refused.what();
            status = StatusReadFailed;
        }
        return status;
    });
}

int CsvFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (complete != nullptr) {
        return WithinBudget(StatusReadFailed, [&] {
            complete->Read(*sink);
            return status;
        });
    }
    // A file that can't be opened maps to nothing, as an empty one does.
    file_iterator begin(fileName);
    if (!begin) {
        status = StatusNoData;
        return status;
    }
    const file_iterator end = begin.make_end();
    char firstLine[FirstLineSize];
    if (!GetFirstLine(ViewOf(begin, end), firstLine)) {
        status = StatusNotPrintable;
        return status;
    }
    CsvParser parser(sink);
    return GetSelectedDelimiter(firstLine, begin, end, &parser);
}

int CsvFile::EstablishSize() {
    numCols = numRows = 1;
    if (complete == nullptr || status != StatusOk) {
        return status;
    }
    return WithinBudget(StatusReadFailed, [this] {
        const DelimitedText::Size size = complete->Measure();
        numCols = size.cols;
        numRows = size.rows;
        sizeKnown = true;
        return status;
    });
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): hosts override this very signature.
int CsvFile::GetSelectedDelimiter(char* firstLine, file_iterator begin, file_iterator end,
                                  CsvParser* parser) {
    const std::string_view text = ViewOf(begin, end);
    CsvScanner scanner(*parser, ChooseDelimiter(firstLine));
    const std::size_t taken = scanner.Scan(text);
    if (taken != text.size() || parser->IsOverfull()) {
        const std::string_view read = text.substr(0, taken);
        failurePlace.line = CountByte(read.data(), read.data() + read.size(), '\n') + 1;
        const std::string place = "line " + std::to_string(*failurePlace.line);
        AddNote({"refused-byte", 1, place,
                 "the classic reading ended at " + place + "; the complete reading takes all of the file"});
        status = StatusReadFailed;
        return status;
    }
    parser->Finished();
    return status;
}

CsvFileFactory::CsvFileFactory(signed char priority)
    : SprFileFactory("CSV File", "CSV Files (*.csv)", nullptr, 1, ".csv\0", 0, 1, 0, 1, 1, priority) {}

MyKindOfFile CsvFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* CsvFileFactory::GetSpreadsheetFile() {
    return new CsvFile;
}

static CsvFileFactory csvFileFactory(1);
static FormatRecogniser csvFileRecogniser("CSV File", "csv", {}, FormatRecogniser::ProvesNothing);
