#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "base/Reading.h"

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

/** How long a benchmark reads at least, in seconds; its fastest read counts. */
constexpr double MinSeconds = 2.0;

/** Before the reader's Open; the classic reading is what a reader does by itself. */
void ChooseReading(SpreadsheetFile& reader, const std::string& paths, karta::Reading reading);

/** The folder of the generated files. */
std::string BenchFolder();

/** Waits until files that were just made are on the disk: writing them would slow down the reads. */
void FinishWriting();

/** What the report says of a benchmark: the format and the file or folder that is read. */
std::string BenchLabel(const std::string& format, const std::string& fileName);

/** The fastest of a few md5sum runs over a file, in seconds: the yardstick M. */
double SecondsOfMd5sum(const std::string& path);

/** The peak memory in bytes of a child process that does this and nothing else. */
double PeakMemoryOf(const std::function<void()>& work);
