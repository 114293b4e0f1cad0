#include "spreadsheet/ExcelSharedStrings.h"

#include <algorithm>
#include <string_view>

#include "base/ByteCursor.h"
#include "base/Unicode.h"

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
    while (!cursor.AtEnd() && (pending > 0 || std::ssize(texts) < count)) {
        const std::size_t characters = pending > 0 ? pending : cursor.ReadU16();
        if (cursor.HasFailed()) {
            return;
        }
        const int options = cursor.ReadU8();
        std::uint64_t behind = (options & RunsBit) != 0 ? RunSize * cursor.ReadU16() : 0;
        behind += (options & ExtensionBit) != 0 ? cursor.ReadU32() : 0;
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
        cursor.Skip(std::min<std::uint64_t>(behind, cursor.GetRemaining()));
    }
}

void ExcelSharedStrings::Finish() {
    if (pending > 0) {
        Store();
    }
}

const char* ExcelSharedStrings::Find(std::int32_t index) const {
    return index >= 0 && index < std::ssize(texts) ? texts[static_cast<std::size_t>(index)] : "";
}

// 8-bit characters are taken as they stand; each piece ends at its first NUL.
void ExcelSharedStrings::AppendNarrow(std::span<const std::uint8_t> bytes) {
    AppendUnits(units.size());
    const std::string_view piece(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    current += piece.substr(0, piece.find('\0'));
}

// The first half of a surrogate pair at the end of a piece waits for the second.
void ExcelSharedStrings::AppendWide(std::span<const std::uint8_t> bytes) {
    units.insert(units.end(), bytes.begin(), bytes.end());
    AppendUnits(pending > 0 && EndsInHighSurrogate(units) ? units.size() - 2 : units.size());
}

void ExcelSharedStrings::AppendUnits(std::size_t size) {
    const std::string piece = Utf16ToUtf8(std::span(units).first(size));
    current.append(piece, 0, piece.find('\0'));
    units.erase(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(size));
}

void ExcelSharedStrings::Store() {
    texts.push_back(arena.Add(current));
    current.clear();
    units.clear();
    pending = 0;
}
