#include "text/ValueForm.h"

#include <algorithm>
#include <array>

#include "base/Ascii.h"
#include "text/PlainNumber.h"

namespace {

constexpr std::string_view Minus = "\u2212";
constexpr std::string_view NoBreakSpace = "\u00a0";
constexpr std::string_view NarrowNoBreakSpace = "\u202f";

/** Takes forms off the front of a text, one after the other. */
class FormReader {
public:
    explicit FormReader(std::string_view text) : rest(text) {}

    bool IsAtEnd() const { return rest.empty(); }
    bool Take(std::string_view wanted) {
        if (!rest.starts_with(wanted)) {
            return false;
        }
        rest.remove_prefix(wanted.size());
        return true;
    }
    bool TakeOneOf(std::string_view characters) {
        if (rest.empty() || characters.find(rest.front()) == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }
    /** In any case; `word` in lower case. */
    bool TakeWord(std::string_view word) {
        if (rest.size() < word.size() ||
            !std::equal(word.begin(), word.end(), rest.begin(),
                        [](char wanted, char c) { return wanted == ToLower(c); })) {
            return false;
        }
        rest.remove_prefix(word.size());
        return true;
    }
    /** How many digits were taken, at most `most`. */
    std::size_t TakeDigits(std::size_t most = std::string_view::npos) {
        std::size_t count = 0;
        while (count < rest.size() && count < most && IsDigit(rest[count])) {
            ++count;
        }
        rest.remove_prefix(count);
        return count;
    }
    void TakeSign() { TakeOneOf("+-") || Take(Minus); }
    char Peek() const { return rest.empty() ? '\0' : rest.front(); }

private:
    std::string_view rest;
};

bool IsNumber(std::string_view text) {
    FormReader reader(text);
    reader.TakeSign();
    if (reader.TakeWord("inf") || reader.TakeWord("nan")) {
        return reader.IsAtEnd();
    }
    const std::size_t whole = reader.TakeDigits();
    if (reader.TakeOneOf(".,")) {
        if (reader.TakeDigits() == 0 && whole == 0) {
            return false;
        }
    } else if (whole == 0) {
        return false;
    }
    if (reader.TakeOneOf("eEdD")) {
        reader.TakeOneOf("+-");
        if (reader.TakeDigits() == 0) {
            return false;
        }
    }
    return reader.IsAtEnd();
}

bool IsGroupedNumber(std::string_view text) {
    FormReader reader(text);
    reader.TakeSign();
    if (reader.TakeDigits(3) == 0) {
        return false;
    }
    static constexpr std::array<std::string_view, 6> Marks = {".", ",",          "'",
                                                              " ", NoBreakSpace, NarrowNoBreakSpace};
    FormReader first = reader;
    const auto* mark =
        std::find_if(Marks.begin(), Marks.end(), [&](std::string_view m) { return first.Take(m); });
    if (mark == Marks.end()) {
        return false;
    }
    while (reader.Take(*mark) && reader.TakeDigits(3) == 3) {
        // Behind any group the fraction may begin, also at a mark of the same kind.
        FormReader fraction = reader;
        if (fraction.TakeOneOf(".,") && fraction.TakeDigits() > 0 && fraction.IsAtEnd()) {
            return true;
        }
        if (reader.IsAtEnd()) {
            return true;
        }
    }
    return false;
}

bool TakeClock(FormReader& reader) {
    if (reader.TakeDigits(2) == 0 || !reader.Take(":") || reader.TakeDigits(2) != 2) {
        return false;
    }
    FormReader seconds = reader;
    if (seconds.Take(":") && seconds.TakeDigits(2) == 2) {
        reader = seconds;
        if (seconds.TakeOneOf(".,") && seconds.TakeDigits() > 0) {
            reader = seconds;
        }
    }
    return true;
}

bool IsTime(std::string_view text) {
    FormReader reader(text);
    return TakeClock(reader) && reader.IsAtEnd();
}

void TakeZone(FormReader& reader) {
    if (reader.Take("Z")) {
        return;
    }
    FormReader zone = reader;
    if (zone.TakeOneOf("+-") && zone.TakeDigits(2) == 2) {
        zone.Take(":");
        if (zone.TakeDigits(2) == 2) {
            reader = zone;
        }
    }
}

bool IsDate(std::string_view text) {
    FormReader reader(text);
    if (reader.TakeDigits(4) == 0) {
        return false;
    }
    const char mark = reader.Peek();
    if (!reader.TakeOneOf("-/.") || reader.TakeDigits(2) == 0 || !reader.Take({&mark, 1}) ||
        reader.TakeDigits(4) == 0) {
        return false;
    }
    if (reader.IsAtEnd()) {
        return true;
    }
    if (!reader.TakeOneOf(" T")) {
        return false;
    }
    while (reader.TakeOneOf(" T")) {
    }
    if (!TakeClock(reader)) {
        return false;
    }
    TakeZone(reader);
    return reader.IsAtEnd();
}

// The length of the white space that a text begins with: one character's, or 0.
std::size_t SpaceAtFront(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) {
        return first == ' ' || (first >= 9 && first <= 13) || (first >= 0x1c && first <= 0x1f) ? 1 : 0;
    }
    static constexpr std::array<std::string_view, 19> Wide = {
        "\u0085", "\u00a0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006",
        "\u2007", "\u2008", "\u2009", "\u200a", "\u2028", "\u2029", "\u202f", "\u205f", "\u3000"};
    const auto* found = std::find_if(Wide.begin(), Wide.end(),
                                     [&](std::string_view space) { return text.starts_with(space); });
    return found == Wide.end() ? 0 : found->size();
}

std::size_t SpaceAtBack(std::string_view text) {
    for (std::size_t length = 1; length <= 3 && length <= text.size(); ++length) {
        const std::string_view last = text.substr(text.size() - length);
        if (SpaceAtFront(last) == length) {
            return length;
        }
    }
    return 0;
}

}  // namespace

std::string_view TrimUnicodeSpace(std::string_view text) {
    while (!text.empty()) {
        const std::size_t space = SpaceAtFront(text);
        if (space == 0) {
            break;
        }
        text.remove_prefix(space);
    }
    while (!text.empty()) {
        const std::size_t space = SpaceAtBack(text);
        if (space == 0) {
            break;
        }
        text.remove_suffix(space);
    }
    return text;
}

bool IsLikeValue(std::string_view text) {
    // The road of most.
    const PlainNumber plain(text);
    if (plain.IsThere() && plain.GetEnd() == text.data() + text.size()) {
        return true;
    }
    text = TrimUnicodeSpace(text);
    return IsNumber(text) || IsDate(text) || IsTime(text);
}

bool IsLikeOneValue(std::string_view text, bool mayHoldCommas) {
    text = TrimUnicodeSpace(text);
    if (!mayHoldCommas && text.find(',') != std::string_view::npos) {
        return false;
    }
    return IsLikeValue(text) || IsGroupedNumber(text);
}

bool HoldsTime(std::string_view text) {
    for (std::size_t colon = text.find(':'); colon != std::string_view::npos;
         colon = text.find(':', colon + 1)) {
        std::size_t first = colon;
        while (first > 0 && IsDigit(text[first - 1])) {
            --first;
        }
        const std::size_t digits = colon - first;
        std::size_t last = colon + 1;
        while (last < text.size() && IsDigit(text[last])) {
            ++last;
        }
        if (digits >= 1 && digits <= 2 && last - colon == 3 && (first == 0 || text[first - 1] != ':')) {
            return true;
        }
    }
    return false;
}
