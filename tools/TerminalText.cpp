#include "tools/TerminalText.h"

#include <algorithm>

#include "base/Unicode.h"

namespace {

constexpr std::size_t PieceSize = 1 << 16;
constexpr std::size_t LongestCharacter = 4;
constexpr char Digits[] = "0123456789abcdef";

bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f;
}

bool IsLineOrTab(char c) {
    return c == '\n' || c == '\t';
}

// The code of a character whose bytes are known to be good UTF-8.
char32_t Decode(std::string_view character) {
    const auto lead = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return lead;
    }
    char32_t code = lead & (0x7fU >> character.size());
    for (const char c : character.substr(1)) {
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3fU);
    }
    return code;
}

bool TurnsWriting(char32_t code) {
    return code == 0x61c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

void AppendHexadecimal(std::string& target, const char* mark, char32_t code, int digits) {
    target += mark;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        target += Digits[code >> shift & 15];
    }
}

void AppendEscape(std::string& target, char32_t code, EscapeStyle style) {
    switch (code) {
        case '\n':
            target += "\\n";
            break;
        case '\r':
            target += "\\r";
            break;
        case '\t':
            target += "\\t";
            break;
        default:
            if (code < 0x100 && style == EscapeStyle::Plain) {
                AppendHexadecimal(target, "\\x", code, 2);
            } else {
                AppendHexadecimal(target, "\\u", code, 4);
            }
            break;
    }
}

// Where the last character begins, if its bytes may go on in what comes next; else the end.
std::size_t EndOfWhole(std::string_view text) {
    for (std::size_t back = 1; back <= std::min(text.size(), LongestCharacter - 1); ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        if (byte >= 0xc0) {
            return GetUtf8Length(text.substr(text.size() - back)) == 0 ? text.size() - back : text.size();
        }
        if (byte < 0x80) {
            break;
        }
    }
    return text.size();
}

}  // namespace

void AppendVisibleCharacter(std::string& target, std::string_view& text, EscapeStyle style) {
    const std::size_t length = GetUtf8Length(text);
    if (length == 0) {
        AppendEscape(target, static_cast<unsigned char>(text.front()), style);
        text.remove_prefix(1);
        return;
    }
    const char32_t code = Decode(text.substr(0, length));
    if (code < 0x20 || (code >= 0x7f && code < 0xa0) || TurnsWriting(code)) {
        AppendEscape(target, code, style);
    } else {
        target += text.substr(0, length);
    }
    text.remove_prefix(length);
}

std::string VisibleText(std::string_view text) {
    std::string visible;
    while (!text.empty()) {
        const auto plain =
            static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsPlain) - text.begin());
        visible += text.substr(0, plain);
        text.remove_prefix(plain);
        if (!text.empty()) {
            AppendVisibleCharacter(visible, text);
        }
    }
    return visible;
}

void AppendVisibleLines(std::string& target, std::string_view text) {
    while (!text.empty()) {
        const auto plain = static_cast<std::size_t>(
            std::find_if_not(text.begin(), text.end(), [](char c) { return IsPlain(c) || IsLineOrTab(c); }) -
            text.begin());
        target += text.substr(0, plain);
        text.remove_prefix(plain);
        if (!text.empty()) {
            AppendVisibleCharacter(target, text);
        }
    }
}

TerminalFilter::TerminalFilter(std::ostream& filteredStream)
    : stream(filteredStream), target(filteredStream.rdbuf(this)) {}

TerminalFilter::~TerminalFilter() {
    TerminalFilter::sync();
    // Setting the buffer would forget that a write has failed.
    const auto state = stream.rdstate();
    stream.rdbuf(target);
    stream.clear(state);
}

int TerminalFilter::overflow(int character) {
    if (character != traits_type::eof()) {
        const char c = traits_type::to_char_type(character);
        if (xsputn(&c, 1) != 1) {
            return traits_type::eof();
        }
    }
    return traits_type::not_eof(character);
}

std::streamsize TerminalFilter::xsputn(const char* text, std::streamsize count) {
    pending.append(text, static_cast<std::size_t>(count));
    if (pending.size() >= PieceSize && !Pass(EndOfWhole(pending))) {
        return 0;
    }
    return count;
}

int TerminalFilter::sync() {
    const bool passed = Pass(pending.size());
    return passed && target->pubsync() == 0 ? 0 : -1;
}

bool TerminalFilter::Pass(std::size_t count) {
    visible.clear();
    AppendVisibleLines(visible, std::string_view(pending).substr(0, count));
    pending.erase(0, count);
    return target->sputn(visible.data(), static_cast<std::streamsize>(visible.size())) ==
           static_cast<std::streamsize>(visible.size());
}
