#include "karta/internal/NumberRange.h"

#include "host/NvString.h"

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

}  // namespace karta
