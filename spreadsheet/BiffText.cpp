#include "spreadsheet/BiffText.h"

#include <algorithm>

#include "base/Unicode.h"

namespace {

constexpr unsigned int WideBit = 1;
constexpr unsigned int ExtensionBit = 4;
constexpr unsigned int RunsBit = 8;
constexpr std::size_t RunsSize = 2;
constexpr std::size_t ExtensionSize = 4;

}  // namespace

void AppendLatin1(std::string& text, std::string_view bytes) {
    if (IsAscii(bytes)) {
        text += bytes;
        return;
    }
    for (const char c : bytes) {
        ::AppendUtf8(text, static_cast<unsigned char>(c));
    }
}

void BiffText::Add(std::string_view part) {
    if (!isBiff8) {
        const std::string_view piece = part.substr(0, pending);
        bytes += piece;
        pending -= piece.size();
        return;
    }
    if (part.empty()) {
        return;
    }
    const auto options = static_cast<unsigned char>(part.front());
    part.remove_prefix(1);
    if (isFirst) {
        // Formatting and phonetic data are counted before the characters and stand behind them.
        std::size_t counts = (options & RunsBit) != 0 ? RunsSize : 0;
        counts += (options & ExtensionBit) != 0 ? ExtensionSize : 0;
        part.remove_prefix(std::min(counts, part.size()));
        isFirst = false;
    }
    if ((options & WideBit) == 0) {
        const std::string_view piece = part.substr(0, pending);
        for (const char c : piece) {
            units += static_cast<unsigned char>(c);
        }
        pending -= piece.size();
        return;
    }
    const std::size_t here = std::min(pending, part.size() / 2);
    for (std::size_t i = 0; i < here; ++i) {
        units += static_cast<char16_t>(static_cast<unsigned char>(part[2 * i]) |
                                       static_cast<unsigned char>(part[2 * i + 1]) << 8);
    }
    pending -= here;
}

std::string BiffText::Get() {
    return isBiff8 ? ToUtf8(units) : codePage.ToUtf8(bytes);
}
