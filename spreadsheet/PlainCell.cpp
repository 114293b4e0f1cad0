#include "spreadsheet/PlainCell.h"

#include <algorithm>
#include <cstring>
#include <span>

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
constexpr std::ptrdiff_t LongestType = 9;
// Up to the cell's end at most, from that of its formula on: the longest is an inline text.
constexpr std::ptrdiff_t LongestRest = 112;

constexpr std::string_view Begin = "<c r=\"";
constexpr std::string_view ValueBegin = "<v>";
constexpr std::string_view ValueEnd = "</v></c>";
constexpr std::string_view InlineBegin = "<is><t";
constexpr std::string_view SpacePreserved = " xml:space=\"preserve\"";
constexpr std::string_view InlineEnd = "</t></is></c>";
constexpr std::string_view InlineType = "inlineStr";
constexpr std::string_view FormulaBegin = "<f";
constexpr std::string_view FormulaEnd = "</f>";
constexpr std::string_view CdataEnd = "]]>";  // which stands in no text
constexpr std::string_view RowBegin = "</row><row r=\"";
constexpr std::string_view SpansBegin = " spans=\"";

// The attributes of which nothing is kept.
constexpr std::string_view RowAttributes[] = {
    "s",         "customFormat", "ht",       "customHeight", "hidden",
    "collapsed", "outlineLevel", "thickTop", "thickBot",     "ph"};
constexpr std::string_view FormulaAttributes[] = {"t",  "ref",  "si",  "ca", "aca",  "bx",
                                                  "r1", "dt2D", "dtr", "r2", "del1", "del2"};

bool BeginsWith(const char* at, std::string_view text) {
    return std::memcmp(at, text.data(), text.size()) == 0;
}

// What a text may hold that is handed out as it stands.
bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f && c != '<' && c != '&' && c != ']';
}

bool IsPlainInAttribute(char c) {
    return c >= 0x20 && c < 0x7f && c != '<' && c != '&' && c != '"';
}

// ` name="value"` with bytes behind it; null for another one.
const char* TakeAttribute(const char* at, const char* end, std::string_view& name) {
    const char* const nameBegin = ++at;
    while (at < end && (IsLetter(*at) || IsDigit(*at) || *at == ':')) {
        ++at;
    }
    name = {nameBegin, static_cast<std::size_t>(at - nameBegin)};
    if (end - at < 2 || at[0] != '=' || at[1] != '"') {
        return nullptr;
    }
    at += 2;
    while (at < end && IsPlainInAttribute(*at)) {
        ++at;
    }
    return end - at >= 2 && *at == '"' ? at + 1 : nullptr;
}

// Attributes of these names and another one's, each once at most; up to what stands behind the last.
const char* PassAttributes(const char* at, const char* end, std::span<const std::string_view> names,
                           std::string_view otherName) {
    std::uint32_t passed = 0;
    while (*at == ' ') {
        std::string_view name;
        at = TakeAttribute(at, end, name);
        if (at == nullptr || name.empty()) {
            return nullptr;
        }
        const auto found = std::find(names.begin(), names.end(), name);
        if (found == names.end() && name != otherName) {
            return nullptr;
        }
        const std::uint32_t bit = std::uint32_t{1} << static_cast<unsigned int>(found - names.begin());
        if ((passed & bit) != 0) {
            return nullptr;
        }
        passed |= bit;
    }
    return at;
}

// Behind `&`: one of the references that need no declaration; null for any other.
const char* PassReference(const char* at, const char* end) {
    for (const std::string_view known : {"amp;", "lt;", "gt;", "quot;", "apos;"}) {
        if (static_cast<std::size_t>(end - at) > known.size() && BeginsWith(at, known)) {
            return at + known.size();
        }
    }
    return nullptr;
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

const char* PlainCell::Take(const char* from, const char* end) {
    if (!BeginsWith(from, Begin)) {
        return nullptr;
    }
    const char* at = TakeReference(from + Begin.size());
    at = at == nullptr ? nullptr : TakeAttributes(at);
    if (at == nullptr) {
        return nullptr;
    }
    const bool isEmpty = *at != '>';
    hasValue = isInline = isNumber = isIndex = false;
    valueBegin = valueEnd = nullptr;
    tags = 2;
    if (isEmpty) {
        return at[0] == '/' && at[1] == '>' ? at + 2 : nullptr;
    }
    ++at;
    if (BeginsWith(at, FormulaBegin)) {
        at = TakeFormula(at + FormulaBegin.size(), end);
    }
    return at == nullptr ? nullptr : type == InlineType && at[1] == 'i' ? TakeInline(at) : TakeValue(at);
}

const char* PlainRow::Take(const char* from, const char* end, std::string_view prefixedName) {
    if (!BeginsWith(from, RowBegin)) {
        return nullptr;
    }
    const char* at = TakeWhole(from + RowBegin.size(), number);
    if (at == nullptr || *at != '"') {
        return nullptr;
    }
    ++at;
    claimedColumns = 0;
    if (BeginsWith(at, SpansBegin)) {
        int first = 0;
        at = TakeWhole(at + SpansBegin.size(), first);
        at = at != nullptr && *at == ':' ? TakeWhole(at + 1, claimedColumns) : nullptr;
        if (at == nullptr || *at != '"') {
            return nullptr;
        }
        ++at;
    }
    at = PassAttributes(at, end, RowAttributes, prefixedName);
    return at != nullptr && *at == '>' ? at + 1 : nullptr;
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
    type = {};
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
        } else if (name == 't' && type.empty()) {
            at = TakeType(at);
        }
        if (at == begin || *at != '"') {
            return nullptr;
        }
        ++at;
    }
    return at;
}

// Letters; no more of them than any type has.
const char* PlainCell::TakeType(const char* at) {
    const char* const begin = at;
    while (IsLetter(*at) && at - begin < LongestType) {
        ++at;
    }
    type = {begin, static_cast<std::size_t>(at - begin)};
    return at;
}

// Behind the name of its element, up to where the value begins, which is there to its end then.
const char* PlainCell::TakeFormula(const char* at, const char* end) {
    at = PassAttributes(at, end, FormulaAttributes, {});
    if (at == nullptr) {
        return nullptr;
    }
    tags += 2;
    if (*at == '/') {
        return end - at >= LongestRest && at[1] == '>' ? at + 2 : nullptr;
    }
    if (*at++ != '>') {
        return nullptr;
    }
    while (at < end && *at != '<') {
        if (IsPlain(*at) || (*at == ']' && end - at > 2 && !BeginsWith(at, CdataEnd))) {
            ++at;
        } else {
            at = *at == '&' ? PassReference(at + 1, end) : nullptr;
        }
        if (at == nullptr) {
            return nullptr;
        }
    }
    return end - at >= LongestRest && BeginsWith(at, FormulaEnd) ? at + FormulaEnd.size() : nullptr;
}

const char* PlainCell::TakeInline(const char* at) {
    if (!BeginsWith(at, InlineBegin)) {
        return nullptr;
    }
    at += InlineBegin.size();
    if (BeginsWith(at, SpacePreserved)) {
        at += SpacePreserved.size();
    }
    if (*at != '>') {
        return nullptr;
    }
    isInline = true;
    tags += 4;
    at = TakeText(at + 1);
    return at != nullptr && BeginsWith(at, InlineEnd) ? at + InlineEnd.size() : nullptr;
}

const char* PlainCell::TakeValue(const char* at) {
    if (!BeginsWith(at, ValueBegin)) {
        return nullptr;
    }
    hasValue = true;
    tags += 2;
    at += ValueBegin.size();
    const char* end = TakeNumber(at);
    if (end == nullptr) {
        end = TakeText(at);
    } else {
        valueBegin = at;
        valueEnd = end;
    }
    return end != nullptr && BeginsWith(end, ValueEnd) ? end + ValueEnd.size() : nullptr;
}

const char* PlainCell::TakeText(const char* at) {
    valueBegin = valueEnd = at;
    while (IsPlain(*valueEnd)) {
        if (++valueEnd - at > static_cast<std::ptrdiff_t>(LongestValue)) {
            return nullptr;
        }
    }
    return valueEnd;
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
