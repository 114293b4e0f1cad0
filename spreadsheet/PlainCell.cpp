#include "spreadsheet/PlainCell.h"

#include <cstring>

#include "base/Ascii.h"
#include "base/ByteWord.h"
#include "base/ExactPowers.h"
#include "base/ShortNumber.h"

namespace {

// Far more than a sheet has, but few enough that all of a cell together stays below the longest.
constexpr int MostLetters = 3;
constexpr int MostRowDigits = 7;
constexpr int MostStyleDigits = 6;
constexpr std::size_t LongestValue = 64;
constexpr int MostIndexDigits = 9;

constexpr std::string_view Begin = "<c r=\"";
constexpr std::string_view ValueBegin = "<v>";
constexpr std::string_view ValueEnd = "</v></c>";
constexpr std::string_view RowBegin = "</row><row r=\"";
constexpr std::string_view SpansBegin = "\" spans=\"";

bool BeginsWith(const char* at, std::string_view text) {
    return std::memcmp(at, text.data(), text.size()) == 0;
}

// What a text may hold that is handed out as it stands.
bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f && c != '<' && c != '&' && c != ']';
}

// Some digits; null where there are none, or too many.
const char* TakeWhole(const char* at, int& number) {
    const char* const first = at;
    number = 0;
    for (; IsDigit(*at) && at - first < MostRowDigits; ++at) {
        number = number * 10 + (*at - '0');
    }
    return at == first || IsDigit(*at) ? nullptr : at;
}

// All digits at `at`; null where they are more than fifteen.
const char* TakeDigits(const char* at, std::uint64_t& number) {
    constexpr std::uint64_t EightDigits = 100'000'000;
    if (const char* const behind = TakeShortDigits(at, at + sizeof number, number)) {
        return behind;
    }
    if (!ByteWord::IsUsable) {
        return nullptr;
    }
    number = number * EightDigits + ByteWord::ToNumber(ByteWord::Load(at) ^ (0x30 * ByteWord::Ones));
    return TakeShortDigits(at + sizeof number, at + 2 * sizeof number, number);
}

}  // namespace

const char* PlainCell::Take(const char* from) {
    if (!BeginsWith(from, Begin)) {
        return nullptr;
    }
    const char* at = TakeReference(from + Begin.size());
    at = at == nullptr ? nullptr : TakeAttributes(at);
    if (at == nullptr) {
        return nullptr;
    }
    hasValue = *at == '>';
    isNumber = isIndex = false;
    valueBegin = valueEnd = nullptr;
    if (hasValue) {
        return TakeValue(at + 1);
    }
    return at[0] == '/' && at[1] == '>' ? at + 2 : nullptr;
}

const char* PlainRow::Take(const char* from) {
    if (!BeginsWith(from, RowBegin)) {
        return nullptr;
    }
    const char* at = TakeWhole(from + RowBegin.size(), number);
    claimedColumns = 0;
    if (at != nullptr && BeginsWith(at, SpansBegin)) {
        int first = 0;
        at = TakeWhole(at + SpansBegin.size(), first);
        at = at != nullptr && *at == ':' ? TakeWhole(at + 1, claimedColumns) : nullptr;
    }
    return at != nullptr && at[0] == '"' && at[1] == '>' ? at + 2 : nullptr;
}

// Capital letters and digits; what the digits are doesn't matter, since the row tells.
const char* PlainCell::TakeReference(const char* at) {
    const char* const letters = at;
    column = 0;
    for (; *at >= 'A' && *at <= 'Z'; ++at) {
        if (at - letters == MostLetters) {
            return nullptr;
        }
        column = column * 26 + (*at - 'A' + 1);
    }
    const char* const digits = at;
    while (IsDigit(*at)) {
        if (++at - digits > MostRowDigits) {
            return nullptr;
        }
    }
    return digits == letters || *at != '"' ? nullptr : at + 1;
}

// A style and a type in either order, each once at most.
const char* PlainCell::TakeAttributes(const char* at) {
    style = -1;
    type = '\0';
    while (*at == ' ') {
        const char name = at[1];
        if (at[2] != '=' || at[3] != '"') {
            return nullptr;
        }
        at += 4;
        const char* const begin = at;
        if (name == 's' && style < 0) {
            style = 0;
            for (; IsDigit(*at) && at - begin < MostStyleDigits; ++at) {
                style = style * 10 + (*at - '0');
            }
        } else if (name == 't' && type == '\0' && IsLetter(*at)) {
            type = *at++;
        }
        if (at == begin || *at != '"') {
            return nullptr;
        }
        ++at;
    }
    return at;
}

const char* PlainCell::TakeValue(const char* at) {
    if (!BeginsWith(at, ValueBegin)) {
        return nullptr;
    }
    at += ValueBegin.size();
    const char* end = TakeNumber(at);
    if (end == nullptr) {
        end = at;
        while (IsPlain(*end)) {
            if (++end - at > static_cast<std::ptrdiff_t>(LongestValue)) {
                return nullptr;
            }
        }
    }
    valueBegin = at;
    valueEnd = end;
    return BeginsWith(end, ValueEnd) ? end + ValueEnd.size() : nullptr;
}

// Digits few enough that both they and the power of ten behind the point are exact as doubles: their quotient
// then is the nearest number. Null for any other value.
const char* PlainCell::TakeNumber(const char* at) {
    const bool isNegative = *at == '-';
    const char* const first = at + (isNegative ? 1 : 0);
    std::uint64_t digits = 0;
    const char* end = TakeDigits(first, digits);
    if (end == nullptr || end == first) {
        return nullptr;
    }
    std::ptrdiff_t count = end - first;
    std::ptrdiff_t fraction = 0;
    if (*end == '.') {
        const char* const point = end;
        end = TakeDigits(point + 1, digits);
        if (end == nullptr) {
            return nullptr;
        }
        fraction = end - point - 1;
        count += fraction;
    }
    if (count > MostExactDigits || *end != '<') {
        return nullptr;
    }
    isNumber = true;
    isIndex = count == end - at && count <= MostIndexDigits;
    index = isIndex ? static_cast<std::int32_t>(digits) : 0;
    const double magnitude = static_cast<double>(digits) / PowersOfTen[static_cast<std::size_t>(fraction)];
    number = isNegative ? -magnitude : magnitude;
    return end;
}
