#include "container/MatText.h"

#include <algorithm>
#include <utility>

#include "base/Unicode.h"

namespace {

constexpr double EndOfUnicode = 0x110000;

// What no character has for its number ends up as a mark.
char32_t CharacterOf(double value) {
    return value >= 0 && value < EndOfUnicode ? static_cast<char32_t>(value) : U'?';
}

// A character of valid UTF-8.
char32_t DecodeUtf8(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    if (bytes.size() == 1) {
        return first;
    }
    char32_t character = first & (0x7fU >> bytes.size());
    for (const char byte : bytes.substr(1)) {
        character = (character << 6) | (static_cast<unsigned char>(byte) & 0x3fU);
    }
    return character;
}

}  // namespace

// The sizes count characters, as SciPy has it, or bytes, as Octave, or units of UTF-16: what fits.
bool MatText::TakeUtf8(std::string_view text, std::uint64_t wanted) {
    if (text.size() == wanted) {
        form = Form::Bytes;
        units.assign(text.begin(), text.end());
        for (char32_t& unit : units) {
            unit &= 0xff;
        }
        return true;
    }
    form = Form::Characters;
    std::uint64_t surrogates = 0;
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(GetUtf8Length(text), 1);
        const bool valid = GetUtf8Length(text) > 0;
        units.push_back(valid ? DecodeUtf8(text.substr(0, length)) : U'?');
        surrogates += units.back() > 0xffff ? 1 : 0;
        text.remove_prefix(length);
    }
    if (units.size() == wanted) {
        return true;
    }
    if (rows == 1 && columns == wanted) {
        columns = units.size();
        return true;
    }
    if (units.size() + surrogates != wanted) {
        return false;
    }
    std::vector<char32_t> halves;
    for (const char32_t unit : units) {
        if (unit > 0xffff) {
            halves.push_back(0xd800 + ((unit - 0x10000) >> 10));
            halves.push_back(0xdc00 + ((unit - 0x10000) & 0x3ff));
        } else {
            halves.push_back(unit);
        }
    }
    form = Form::Utf16;
    units = std::move(halves);
    return true;
}

bool MatText::ReadUtf8(MatNumbers& characters, std::uint64_t wanted) {
    std::vector<float> bytes(static_cast<std::size_t>(characters.GetCount()));
    if (!characters.Read(bytes)) {
        return false;
    }
    std::string text(bytes.size(), '\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](float byte) { return static_cast<char>(static_cast<unsigned char>(byte)); });
    return TakeUtf8(text, wanted);
}

bool MatText::Read(const MatArray& array, MatNumbers& characters) {
    rows = array.Rows();
    columns = array.dimensions[1];
    units.clear();
    const std::uint64_t wanted = array.Count();
    if (characters.GetType() == MatUtf8) {
        return ReadUtf8(characters, wanted);
    }
    if (characters.GetCount() < wanted) {
        return false;
    }
    std::vector<double> values(static_cast<std::size_t>(wanted));
    if (!characters.Read(values)) {
        return false;
    }
    units.resize(values.size());
    std::transform(values.begin(), values.end(), units.begin(), CharacterOf);
    const bool isWide = std::any_of(units.begin(), units.end(), [](char32_t unit) { return unit > 0xff; });
    const std::uint32_t type = characters.GetType();
    if (type == MatUtf32) {
        form = Form::Characters;
    } else {
        form = type == MatUInt16 || type == MatUtf16 || isWide ? Form::Utf16 : Form::Bytes;
    }
    return true;
}

std::string MatText::GetRow(std::uint64_t row, std::uint64_t page) const {
    std::string bytes;
    std::u16string halves;
    for (std::uint64_t column = 0; column < columns; ++column) {
        const char32_t unit = units[static_cast<std::size_t>((page * columns + column) * rows + row)];
        if (form == Form::Bytes) {
            bytes += static_cast<char>(static_cast<unsigned char>(unit));
        } else if (form == Form::Characters) {
            AppendUtf8(bytes, unit);
        } else {
            halves += static_cast<char16_t>(unit);
        }
    }
    if (std::string converted; form == Form::Bytes && AsUtf8(bytes, converted).data() != bytes.data()) {
        hasForeignBytes = true;
        bytes = std::move(converted);
    }
    AppendUtf8(bytes, halves);
    while (bytes.ends_with(' ') || bytes.ends_with('\0')) {
        bytes.pop_back();
    }
    return bytes;
}
