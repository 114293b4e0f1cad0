#include "process/BrooksideWarnings.h"

#include <algorithm>

namespace {

// A warning of this length has said enough; a few bytes of a log can each give hundreds of long texts.
constexpr std::size_t MaxWarningSize = 16'000'000;

}  // namespace

void AddBrooksideWarning(std::string& warnings, std::string_view text) {
    if (warnings.size() < MaxWarningSize) {
        warnings += text;
    }
}

std::string ListBrooksideNames(const std::vector<std::string>& names, std::size_t count) {
    std::string text = std::to_string(count);
    for (std::size_t i = 0; i < std::min(names.size(), MaxListedBrooksideNames); ++i) {
        text += (i == 0 ? ": " : ", ") + names[i];
    }
    return count > MaxListedBrooksideNames ? text + ", ..." : text;
}
