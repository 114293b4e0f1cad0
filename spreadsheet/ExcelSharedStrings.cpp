#include "spreadsheet/ExcelSharedStrings.h"

#include <algorithm>
#include <string_view>

#include "base/ByteCursor.h"
#include "base/Unicode.h"
#include "spreadsheet/BiffText.h"

namespace {

// The option byte of a string.
constexpr int WideBit = 0x01;
constexpr int ExtensionBit = 0x04;
constexpr int RunsBit = 0x08;

constexpr std::uint64_t RunSize = 4;

// The low byte of the last unit doesn't matter.
bool EndsInHighSurrogate(std::span<const std::uint8_t> units) {
    return units.size() >= 2 && IsHighSurrogate(char32_t{units.back()} << 8);
}

}  // namespace

void ExcelSharedStrings::Parse(std::span<const std::uint8_t> chunk) {
    ByteCursor cursor(chunk);
    if (pending == 0) {
        const std::uint64_t cut = std::min<std::uint64_t>(behind, cursor.GetRemaining());
        cursor.Skip(cut);
        behind -= cut;
    }
    while (!cursor.AtEnd() &&
           (pending > 0 || !rules.believesCount || static_cast<std::ptrdiff_t>(texts.GetSize()) < count)) {
        const bool isRest = pending > 0;
        const std::size_t characters = isRest ? pending : cursor.ReadU16();
        if (cursor.HasFailed()) {
            return;
        }
        const int options = cursor.ReadU8();
        // Of a rest only the width is told anew.
        if (!isRest || rules.losesCutData) {
            behind = (options & RunsBit) != 0 ? RunSize * cursor.ReadU16() : 0;
            behind += (options & ExtensionBit) != 0 ? cursor.ReadU32() : 0;
        }
        const bool isWide = (options & WideBit) != 0;
        const std::size_t width = isWide ? 2 : 1;
        const std::size_t here = std::min(characters, cursor.GetRemaining() / width);
        pending = characters - here;
        const auto bytes = cursor.Take(here * width);
        if (isWide) {
            AppendWide(bytes);
        } else {
            AppendNarrow(bytes);
        }
        if (pending > 0) {
            return;
        }
        Store();
        const std::uint64_t skipped = std::min<std::uint64_t>(behind, cursor.GetRemaining());
        cursor.Skip(skipped);
        behind = rules.losesCutData ? 0 : behind - skipped;
    }
}

void ExcelSharedStrings::Finish() {
    if (pending > 0) {
        Store();
    }
}

void ExcelSharedStrings::AppendNarrow(std::span<const std::uint8_t> bytes) {
    AppendUnits(units.size());
    const std::string_view piece(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (rules.takesBytesAsTheyStand) {
        current += piece.substr(0, piece.find('\0'));
    } else {
        AppendLatin1(current, piece);
    }
}

// The first half of a surrogate pair at the end of a piece waits for the second.
void ExcelSharedStrings::AppendWide(std::span<const std::uint8_t> bytes) {
    units.insert(units.end(), bytes.begin(), bytes.end());
    AppendUnits(pending > 0 && EndsInHighSurrogate(units) ? units.size() - 2 : units.size());
}

void ExcelSharedStrings::AppendUnits(std::size_t size) {
    const std::string piece = Utf16ToUtf8(std::span(units).first(size));
    current.append(piece, 0, rules.takesBytesAsTheyStand ? piece.find('\0') : std::string::npos);
    units.erase(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(size));
}

void ExcelSharedStrings::Store() {
    texts.Add(current);
    current.clear();
    units.clear();
    pending = 0;
}
