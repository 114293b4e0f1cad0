// Compares the two ways of parsing comma-separated text, the grammar and the scanner, on every input: every
// call that the sink gets, how far the parse comes, and what the parser holds at the end. The first byte of
// an input chooses the delimiter.
//
//     fuzz-csv fuzz/corpus/csv-scanner
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tests/support/CsvOutcome.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::string_view Delimiters = ",;\t|";
    if (size == 0) {
        return 0;
    }
    const char delimiter = Delimiters[data[0] % Delimiters.size()];
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string grammar = CsvOutcomeOfGrammar(text, delimiter);
    const std::string scanner = CsvOutcomeOfScanner(text, delimiter);
    if (grammar != scanner) {
        std::fprintf(stderr, "the grammar:\n%s\nthe scanner:\n%s\n", grammar.c_str(), scanner.c_str());
        std::abort();
    }
    return 0;
}
