// Imports without end in one process: memory, open files and temporary files stay as they are.
//
// KARTA_WEAR_IMPORTS is how many; a few thousand without it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "frame/ImportHelperBase.h"
#include "table/TableData.h"
#include "tests/support/Samples.h"
#include "tests/support/TableDigest.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr long DefaultImports = 2000;

// What an allocator's own habits may add; a leak of a few bytes an import comes to more in the long run.
constexpr long Slack = 2 << 20;

// The packaged Xerces-C keeps the declaration of a document's outer grammar for good (tests/leaks.supp): a
// hundred bytes a document that declares one, of which the samples have one.
constexpr long KeptByXerces = 256;

struct Holdings {
    long residentBytes = 0;
    long descriptors = 0;
    long temporaryFiles = 0;
};

/** A driver that keeps the samples' warnings to itself. */
class QuietDriver : public ImportHelperBase {
public:
    QuietDriver() : ImportHelperBase(nullptr, nullptr) {}

protected:
    int PutMsg1(const char* /*text*/, const char* /*caption*/, MessageType /*type*/,
                int defaultAnswer) override {
        return defaultAnswer;
    }
};

long CountEntries(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

Holdings Measure(const std::string& temporaryFolder) {
    std::ifstream statistics("/proc/self/statm");
    long pages = 0;
    long residentPages = 0;
    statistics >> pages >> residentPages;
    return {residentPages * sysconf(_SC_PAGESIZE), CountEntries("/proc/self/fd"),
            CountEntries(temporaryFolder)};
}

}  // namespace

TEST(RepeatedImports, LeaveMemoryAndFilesAsTheyWere) {
#if defined(KARTA_SANITIZED)
    GTEST_SKIP() << "a sanitizer keeps freed memory for a while, and finds leaks by itself";
#endif
    const char* wanted = std::getenv("KARTA_WEAR_IMPORTS");
    const long imports = wanted == nullptr ? DefaultImports : std::atol(wanted);
    const TempFolder temporary;
    setenv("TMPDIR", temporary.Path("").c_str(), 1);
    const std::vector<Sample> samples = ReadableSamples();
    std::vector<std::uint64_t> digests(samples.size());
    QuietDriver driver;
    Holdings early;
    for (long i = 0; i < imports; ++i) {
        const std::size_t which = static_cast<std::size_t>(i) % samples.size();
        TableData table;
        const bool success =
            driver.ReadSpreadsheetFile(samples[which].path.c_str(), 1, &table, nullptr, false, nullptr);
        // All but the encrypted one, for which there is no password.
        ASSERT_EQ(success, samples[which].name != "encrypted.kpf") << samples[which].name;
        const std::uint64_t digest = TableDigest(table);
        if (static_cast<std::size_t>(i) < samples.size()) {
            digests[which] = digest;
        }
        ASSERT_EQ(digest, digests[which]) << samples[which].name << " in import " << i;
        if (i == imports / 10) {
            early = Measure(temporary.Path(""));
        }
    }
    const Holdings late = Measure(temporary.Path(""));
    std::printf("%ld imports; resident at a tenth %ld kB, at the end %ld kB\n", imports,
                early.residentBytes / 1024, late.residentBytes / 1024);
    EXPECT_LE(late.residentBytes - early.residentBytes,
              Slack + KeptByXerces * imports / static_cast<long>(samples.size()));
    EXPECT_EQ(late.descriptors, early.descriptors);
    EXPECT_EQ(late.temporaryFiles, 0);
}
