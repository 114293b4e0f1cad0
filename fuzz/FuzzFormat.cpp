// The fuzz harness: an input is a file of one format, and its whole road is gone in both readings: open,
// sizes, read, warning, error, close; the complete one's into a table of cells, which is written in one of
// the program's forms, and into one of columns. All of it within memory and time in proportion to the input.
// The format is named on the command line:
//
//     fuzz-format CORPUS --format="Text File" --extension=.txt
//
// For a format that looks for a companion beside its file, --extension=.da+.cn: the input's last two bytes
// then count the bytes before them that are the companion's.
//
// A new format is one line in fuzz/targets.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <memory>
#include <string>

#include "archive/XmlPlatform.h"
#include "base/ReadContext.h"
#include "base/TemporaryFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetFile.h"
#include "fuzz/HeapWatch.h"
#include "fuzz/PackagePart.h"
#include "fuzz/WrittenForms.h"
#include "host/NvSystemInfo.h"
#include "karta/internal/TableSink.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"

namespace {

int formatIndex = 0;
std::string folder;
std::string fileName;
std::string fileExtension;
std::string companionName;  // empty for a format without one

// Small enough that a part that inflates without end is stopped before the fuzzer's own limit.
constexpr unsigned long long InflateLimit = 1 << 24;

// What the heap may grow to: so much, and so many times the input's bytes. What a reader charges may be half
// of it, so that what is charged nowhere shows.
constexpr std::size_t LeastMemory = 64 << 20;
constexpr std::size_t TimesInput = 64;

// A second, and one more for so many bytes; the sanitizers take several times as long.
constexpr double LeastSeconds = 1.0;
constexpr double BytesPerSecond = 100e3;
constexpr double TimesSlower = 4.0;

const char* ValueOf(const char* argument, const char* option) {
    const std::size_t length = std::strlen(option);
    return std::strncmp(argument, option, length) == 0 ? argument + length : nullptr;
}

int FindFormat(const std::string& name) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (name == SprFileFactory::GetInfo(i)->formatName) {
            return i;
        }
    }
    std::fprintf(stderr, "there is no format '%s'\n", name.c_str());
    std::exit(2);
}

void WriteFile(const std::string& name, const std::uint8_t* data, std::size_t size) {
    const std::string bytes = WrapInput(fileExtension, {reinterpret_cast<const char*>(data), size});
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        std::fclose(file) != 0) {
        std::abort();
    }
}

void WriteInput(const std::uint8_t* data, std::size_t size) {
    std::size_t companion = 0;
    if (!companionName.empty() && size >= 2) {
        size -= 2;
        companion = std::min(data[size] + std::size_t{256} * data[size + 1], size);
        size -= companion;
    }
    std::remove(companionName.c_str());
    if (companion > 0) {
        WriteFile(companionName, data + size, companion);
    }
    WriteFile(fileName, data, size);
}

void ReadInto(FormatReader& reader, ReadSpreadSheetData& sink) {
    NvImportOpenOptions options{0, nullptr};
    reader.Open(true, fileName.c_str(), &options);
    if (reader.GetStatus() == 0) {
        if (auto* contents = dynamic_cast<FileContents*>(&reader)) {
            contents->ListParts();
            contents->ListFacts();
        }
        const bool isComplete = reader.GetContext()->reading == karta::Reading::Complete;
        const int rows = isComplete ? 1 : reader.GetNumRows();
        const int cols = isComplete ? 1 : reader.GetNumCols();
        if (rows > 0 && cols > 0) {
            if (!isComplete) {
                sink.SetDataSize(cols, rows);
            }
            reader.Read(&sink);
            reader.GetWarningMessage();
        }
    }
    char message[256];
    reader.GetErrorMessage(message, sizeof message - 1);
    reader.Close();
}

struct Reading {
    Reading(karta::Reading reading, std::size_t size)
        : made(SprFileFactory::GetSpreadsheetFile(formatIndex)), reader(dynamic_cast<FormatReader&>(*made)) {
        context->reading = reading;
        context->budget.SetLimit((LeastMemory + TimesInput * size) / 2);
        reader.SetContext(context);
    }

    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    std::unique_ptr<SpreadsheetFile> made;
    FormatReader& reader;
};

// Into a sink that only counts.
void ReadClassically(std::size_t size) {
    const Reading reading(karta::Reading::Classic, size);
    CountingSink sink;
    ReadInto(reading.reader, sink);
}

// Into a table of cells, which knows all types.
void ReadIntoCells(std::size_t size) {
    const Reading reading(karta::Reading::Complete, size);
    TableData table;
    table.SetBudget(&reading.context->budget);
    ReadInto(reading.reader, table);
    WriteForm(table, *reading.context, folder, size);
}

// Into one of columns, which takes runs.
void ReadIntoColumns(std::size_t size) {
    const Reading reading(karta::Reading::Complete, size);
    karta::TableSink table(reading.context);
    ReadInto(reading.reader, table);
    table.Finish();
}

void ReadInAllWays(std::size_t size) {
    SprFileFactory::IsMyKindOfFile(formatIndex, fileName.c_str());
    for (const auto read : {ReadClassically, ReadIntoCells, ReadIntoColumns}) {
        try {
            read(size);
        } catch (const std::exception&) {
            // Some formats' readers raise; a deleted reader must have released everything all the same.
        }
    }
}

// Of all threads, and not of the clock on the wall: a busy machine isn't the reader's fault.
double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void Demand(double used, double limit, const char* what) {
    if (used > limit) {
        std::fprintf(stderr, "%s: %g where %g is the limit\n", what, used, limit);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    std::string format = "Text File";
    std::string extension = ".txt";
    for (int i = 1; i < *count; ++i) {
        if (const char* value = ValueOf((*arguments)[i], "--format=")) {
            format = value;
        } else if (const char* text = ValueOf((*arguments)[i], "--extension=")) {
            extension = text;
        }
    }
    formatIndex = FindFormat(format);
    NvSystemInfo::SetInflateLimit(InflateLimit);
    // Starting the XML library anew for every input would take most of the time.
    static const XmlPlatform platform;
    // A folder of its own, since several harnesses run side by side.
    folder = MakeTemporaryFolder("karta-fuzz-");
    const std::size_t plus = extension.find('+');
    fileExtension = extension.substr(0, plus);
    fileName = folder + "/input" + fileExtension;
    companionName = plus == std::string::npos ? "" : folder + "/input" + extension.substr(plus + 1);
    std::atexit([] {
        std::remove(fileName.c_str());
        std::remove(companionName.c_str());
        std::remove(folder.c_str());
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    WriteInput(data, size);
    const double start = ProcessorSeconds();
    const HeapWatch heap;
    ReadInAllWays(size);
    const auto bytes = static_cast<double>(size);
    Demand(static_cast<double>(heap.GetPeak()), static_cast<double>(LeastMemory) + TimesInput * bytes,
           "bytes of heap");
    Demand(ProcessorSeconds() - start, TimesSlower * (LeastSeconds + bytes / BytesPerSecond), "seconds");
    return 0;
}
