#include "karta/internal/NumberRange.h"

#include <cmath>

#include "host/NvString.h"
#include "karta/Error.h"

namespace karta {

std::optional<std::pair<int, int>> ParseRange(const std::string& item) {
    const std::size_t dash = item.find('-');
    int first = 0;
    int last = 0;
    const bool areNumbers = NvString::ToInt(item.substr(0, dash), first) &&
                            NvString::ToInt(dash == std::string::npos ? item : item.substr(dash + 1), last);
    if (!areNumbers || first < 1 || last < first) {
        return std::nullopt;
    }
    return std::pair(first, last);
}

std::optional<Interval> ParseInterval(const std::string& text) {
    const std::size_t colon = text.find(':');
    Interval interval;
    if (colon == std::string::npos || !NvString::ToDouble(text.substr(0, colon), interval.from) ||
        !NvString::ToDouble(text.substr(colon + 1), interval.to) || std::isnan(interval.from) ||
        std::isnan(interval.to)) {
        return std::nullopt;
    }
    return interval;
}

Interval RequireInterval(const std::string& text) {
    const auto interval = ParseInterval(text);
    if (!interval) {
        throw Error({.code = ErrorCode::BadOption,
                     .option = "include",
                     .text = "takes an interval A:B of X values, not '" + text + "'"});
    }
    return *interval;
}

}  // namespace karta
