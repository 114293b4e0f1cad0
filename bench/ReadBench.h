#pragma once

#include <algorithm>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "base/Reading.h"
#include "karta/Table.h"

class ReadSpreadSheetData;
class SpreadsheetFile;

/** One large generated file and how to read it. */
struct ReadBench {
    std::string name;                            /**< the benchmark's name */
    std::string format;                          /**< the reader's format name */
    std::string fileName;                        /**< of the file, with the extension that the format wants */
    std::function<void(std::ostream&)> generate; /**< writes the file; the same bytes every time */
    double targetCounting = 0; /**< the figure to reach into a counting sink, in times of md5sum; 0 none */
    double targetTable = 0;    /**< the same into the in-memory table */
    bool isForPeers = false;   /**< a small file, for programs that would take minutes over a large one */
};

/**
 * Registers the benchmarks of one file, each a line of the report: `NAME/md5sum`, the yardstick, over the
 * same warm file in the same run; `NAME/counting` and `NAME/table`, opening, measuring and reading it
 * classically, and `NAME/complete`, reading it completely into the same counting sink, with cells/s, MB/s,
 * the ratio to the yardstick (`M`) and the peak memory of a process that does nothing else. Of a file for
 * peers only `NAME/table` without a yardstick. Files are made once, under the build folder.
 */
class RegisterReadBench {
public:
    explicit RegisterReadBench(const ReadBench& bench);
};

/**
 * Registers `NAME/convert`: what `karta-import convert FILE -o OUT.csv` does with a file that a ReadBench
 * has made.
 */
class RegisterConvertBench {
public:
    RegisterConvertBench(const std::string& name, const std::string& format, const std::string& fileName,
                         double target);
};

/** A file, or a selection of files, and the format that reads it. */
struct BenchInput {
    std::string name;
    std::string format;
    std::function<std::string()> make; /**< makes what isn't there yet; the path, or paths in lines */
};

/** Has an input read by itself too: once in a process, as `karta-bench --help` tells. */
void RegisterInput(BenchInput input);

/** All of them, in no particular order. */
const std::vector<BenchInput>& GetInputs();

/** How large the generated files are: 1 unless the variable KARTA_BENCH_SCALE of the environment says
 * otherwise. */
double BenchScale();

/** A number of rows, files or bytes that makes a file of the wanted size; at least 1. */
template <class Number>
Number Scaled(Number size) {
    return std::max(Number{1}, static_cast<Number>(static_cast<double>(size) * BenchScale()));
}

/** Reads an input as hosts do: classically the size is asked for first, completely the cells tell it; the
 * paths in lines. */
void ReadInput(const std::string& format, const std::string& paths, ReadSpreadSheetData& sink,
               karta::Reading reading);

/** Reads an input completely into a table in columns; the paths in lines. */
karta::Table ReadTable(const std::string& format, const std::string& paths);

/** How long a benchmark reads at least, in seconds; its fastest read counts. */
constexpr double MinSeconds = 1.0;

/** Before the reader's Open; the classic reading is what a reader does by itself. */
void ChooseReading(SpreadsheetFile& reader, const std::string& paths, karta::Reading reading);

/** The folder of the generated files of this scale. */
std::string BenchFolder();

/** Waits until files that were just made are on the disk: writing them would slow down the reads. */
void FinishWriting();

/** What the report says of a benchmark: the format and the file or folder that is read. */
std::string BenchLabel(const std::string& format, const std::string& fileName);

/** The fastest of a few md5sum runs over a file, in seconds: the yardstick M. */
double SecondsOfMd5sum(const std::string& path);
