// Imports in which an allocation fails, of whichever library: each ends whole or in a status with a message,
// and the next import in the same process is as good as ever.
#include <dlfcn.h>
#include <execinfo.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "base/LazyLibrary.h"
#include "frame/ImportHelperBase.h"
#include "table/TableData.h"
#include "tests/support/Samples.h"
#include "tests/support/TableDigest.h"
#include "tests/support/TestName.h"
#include "tests/wear/FailingMemory.h"

// What is known and can't be mended here:
//  - netCDF and the HDF5 in it (4.9.0 and 1.10.8 here) die where an allocation fails while a file is opened:
//  by
//    null pointers in NC_infermodel, posixio_open, NC_hashmapnew and H5TS_cancel_count_dec, by abort() with
//    the word "bytebuffer failure". A death counts as theirs only when it happens in their code.
//  - Xerces-C's start can't be repeated when it has failed. The import that needed it, and all later ones of
//    XML, end in the driver's message.

namespace {

constexpr const char* DriversMessage = "message Exception during file reading. Import will be aborted.";

bool IsXml(const Sample& sample) {
    return sample.format == "Excel2007 File" || sample.format == "Brookside Ver. 2.6 XML File";
}

// An import that takes longer hangs.
constexpr unsigned int MaxSeconds = 30;

#if defined(KARTA_SANITIZED)
constexpr bool AllocatorIsTaken = true;
#else
constexpr bool AllocatorIsTaken = false;
#endif

// All numbers where KARTA_WEAR_WHOLE is set; else the steps grow, so that the test ends in good time.
long NextNumber(long number) {
    constexpr long First = 60;
    static const bool whole = std::getenv("KARTA_WEAR_WHOLE") != nullptr;
    return number + (whole || number < First ? 1 : 1 + number / 16);
}

struct Outcome {
    std::string import;  // with the failing allocation
    std::string again;   // without, afterwards
    long count = 0;      // of allocations in the first
};

// The answer of a signal that ends the process: the library and the function in which it came, those of the C
// and C++ libraries aside, into which others' null pointers and exceptions lead.
int placeOfDeath = -1;

void TellPlaceOfDeath(int signal) {
    StopFailingMemory();
    constexpr int OwnFrames = 2;  // this handler and what called it
    void* frames[64];
    const int count = backtrace(frames, 64);
    std::string place = "dies of signal " + std::to_string(signal);
    for (int i = OwnFrames; i < count; ++i) {
        Dl_info info;
        if (dladdr(frames[i], &info) == 0 || info.dli_fname == nullptr) {
            continue;
        }
        const std::string library = std::filesystem::path(info.dli_fname).filename().string();
        if (library.starts_with("libc.") || library.starts_with("libstdc++") ||
            library.starts_with("libgcc_s") || library.starts_with("libfailing-memory")) {
            continue;
        }
        place = "dies in " + library + " (" + (info.dli_sname == nullptr ? "?" : info.dli_sname) + ")";
        break;
    }
    const ssize_t written = write(placeOfDeath, place.data(), place.size());
    _exit(written == static_cast<ssize_t>(place.size()) ? 0 : 1);
}

bool IsDeathOfNetCDF(const Outcome& outcome) {
    return outcome.import.starts_with("dies in libnetcdf.");
}

// What a child process wrote before it ended, or how it died.
std::string InChild(const std::function<std::string()>& work) {
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        alarm(MaxSeconds);
        placeOfDeath = ends[1];
        void* frame = nullptr;
        backtrace(&frame, 1);  // its first call allocates
        std::signal(SIGSEGV, TellPlaceOfDeath);
        std::signal(SIGABRT, TellPlaceOfDeath);
        const std::string outcome = work();
        const ssize_t written = write(ends[1], outcome.data(), outcome.size());
        _exit(written == static_cast<ssize_t>(outcome.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string outcome;
    char part[4096];
    for (ssize_t count = 0; (count = read(ends[0], part, sizeof part)) > 0;) {
        outcome.append(part, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int result = 0;
    waitpid(child, &result, 0);
    if (WIFSIGNALED(result)) {
        return (WTERMSIG(result) == SIGALRM ? "hangs" : "dies of signal " + std::to_string(WTERMSIG(result)));
    }
    return WEXITSTATUS(result) == 0 ? outcome
                                    : "ends the process with " + std::to_string(WEXITSTATUS(result));
}

std::string Import(ImportHelperBase& driver, const std::string& path, long failAt, bool allLater,
                   long& count) {
    TableData table;
    bool success = false;
    FailMemoryAt(failAt, allLater);
    try {
        success = driver.ReadSpreadsheetFile(path.c_str(), 1, &table, nullptr, false, nullptr);
    } catch (...) {
        count = StopFailingMemory();
        return "exception";
    }
    count = StopFailingMemory();
    if (success) {
        return "table " + std::to_string(TableDigest(table));
    }
    return driver.GetErrorMessage().empty() ? "no message" : "message " + driver.GetErrorMessage();
}

Outcome ImportWithFailure(const std::string& path, long failAt, bool allLater) {
    const std::string text = InChild([&] {
        LazyLibrary netCDF(KARTA_NETCDF_LIBRARY);
        netCDF.Find<int()>("nc_initialize")();
        LazyLibrary zip(KARTA_LIBZIP_LIBRARY);
        zip.Find<void()>("zip_discard");
        ImportHelperBase driver(nullptr, nullptr);
        long count = 0;
        long ignored = 0;
        const std::string first = Import(driver, path, failAt, allLater, count);
        const std::string again = Import(driver, path, 0, false, ignored);
        return std::to_string(count) + '\n' + first + '\n' + again;
    });
    const std::size_t head = text.find('\n');
    if (head == std::string::npos) {
        return {text, text, 0};
    }
    const std::size_t middle = text.find('\n', head + 1);
    return {text.substr(head + 1, middle - head - 1), text.substr(middle + 1), std::atol(text.c_str())};
}

/** Counts what went wrong, by sample and kind, with the first number at which it did. */
class Faults {
public:
    void Add(const std::string& what, long number) {
        auto [fault, isNew] = faults.try_emplace(what, number, 0);
        ++fault->second.second;
    }
    std::string Text() const {
        std::string text;
        for (const auto& [what, where] : faults) {
            text += what + " at allocation " + std::to_string(where.first) + " and " +
                    std::to_string(where.second - 1) + " more\n";
        }
        return text;
    }

private:
    std::map<std::string, std::pair<long, long>> faults;
};

class OutOfMemoryTest : public testing::TestWithParam<Sample> {
protected:
    void WalkImports(bool allLater) const {
        if (AllocatorIsTaken) {
            GTEST_SKIP() << "the sanitizer has an allocator of its own";
        }
        const Sample& sample = GetParam();
        const Outcome sound = ImportWithFailure(sample.path, 0, false);
        ASSERT_EQ(sound.import, sound.again);
        ASSERT_GT(sound.count, 10);
        Faults faults;
        long imports = 0;
        long failures = 0;
        long deaths = 0;
        for (long number = 1; number <= sound.count; number = NextNumber(number)) {
            const Outcome outcome = ImportWithFailure(sample.path, number, allLater);
            ++imports;
            if (sample.format == "NetCDF Files" && IsDeathOfNetCDF(outcome)) {
                ++deaths;
                continue;
            }
            failures += outcome.import == sound.import ? 0 : 1;
            if (outcome.import != sound.import && !outcome.import.starts_with("message ")) {
                faults.Add("the import: " + outcome.import, number);
            }
            const bool xmlIsLost =
                IsXml(sample) && outcome.import == DriversMessage && outcome.again == DriversMessage;
            if (outcome.again != sound.again && !xmlIsLost) {
                faults.Add("the next import: " + outcome.again, number);
            }
        }
        EXPECT_TRUE(faults.Text().empty()) << faults.Text();
        EXPECT_GT(failures, imports / 4);
        std::printf("%ld allocations, %ld imports, %ld of them failed, %ld died in netCDF\n", sound.count,
                    imports, failures, deaths);
    }
};

std::string NameOf(const testing::TestParamInfo<Sample>& info) {
    return TestNameOf(info.param.name);
}

}  // namespace

TEST_P(OutOfMemoryTest, OneFailedAllocationEndsAnImportInAStatus) {
    WalkImports(false);
}

TEST_P(OutOfMemoryTest, NoMoreMemoryEndsAnImportInAStatus) {
    WalkImports(true);
}

INSTANTIATE_TEST_SUITE_P(Samples, OutOfMemoryTest, testing::ValuesIn(ReadableSamples()), NameOf);
