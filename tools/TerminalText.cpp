#include "tools/TerminalText.h"

#include <algorithm>

#include "base/Unicode.h"
#include "base/VisibleCharacter.h"

namespace {

constexpr std::size_t PieceSize = 1 << 16;
constexpr std::size_t LongestCharacter = 4;

bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f;
}

bool IsLineOrTab(char c) {
    return c == '\n' || c == '\t';
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
