#include "base/Suggestion.h"

#include <algorithm>
#include <numeric>

#include "base/PathNames.h"

namespace {

// A name of a sheet may be long; what is typed wrong in it is still near.
constexpr std::size_t LongestWord = 64;
constexpr std::size_t ShortestBeginning = 3;
// One letter in three may be wrong.
constexpr std::size_t LettersAMistake = 3;

// How many letters are to be put in, taken out, changed or swapped with their neighbour.
std::size_t CountMistakes(const std::string& left, const std::string& right) {
    std::vector<std::size_t> before(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= left.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const bool same = left[i - 1] == right[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0U : 1U)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before.swap(last);
        last.swap(row);
    }
    return last[right.size()];
}

}  // namespace

std::string FindSuggestion(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string sought = ToLowerCase(word);
    if (sought.empty() || sought.size() > LongestWord) {
        return {};
    }
    std::string found;
    std::size_t fewest = sought.size() / LettersAMistake + 1;
    for (const std::string& candidate : candidates) {
        const std::string known = ToLowerCase(candidate);
        if (known.size() > LongestWord) {
            continue;
        }
        const bool isBeginning = sought.size() >= ShortestBeginning && known.starts_with(sought);
        const std::size_t mistakes =
            std::min(CountMistakes(sought, known), isBeginning ? std::size_t{1} : fewest);
        if (mistakes < fewest) {
            fewest = mistakes;
            found = candidate;
        }
    }
    return found;
}
