#include "text/TextEncoding.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "base/Ascii.h"
#include "base/ByteWord.h"
#include "base/CodePage.h"
#include "base/Unicode.h"

namespace {

// Where NULs are counted, and how many there are where every other byte is one.
constexpr std::size_t NulWindow = std::size_t{64} << 10U;
constexpr std::size_t NulsOfOneSide = 9;
constexpr std::size_t LeastNulShare = 8;

constexpr char32_t Replacement = 0xfffd;
constexpr std::size_t LongestCharacter = 4;

struct Mark {
    std::string_view bytes;
    TextEncoding::Kind kind;
};
constexpr std::array<Mark, 3> Marks = {{{"\xef\xbb\xbf", TextEncoding::Utf8},
                                        {"\xff\xfe", TextEncoding::Utf16Little},
                                        {"\xfe\xff", TextEncoding::Utf16Big}}};

// Whether so many of the bytes, which are there, are all ASCII and none is NUL.
template <std::size_t Size>
bool IsPlainRun(std::string_view bytes) {
    std::array<std::uint64_t, Size / sizeof(std::uint64_t)> words;
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the caller has seen that they are there
    std::memcpy(words.data(), bytes.data(), Size);
    std::uint64_t others = 0;
    for (const std::uint64_t word : words) {
        // The first is set over what is no ASCII, the second over what is NUL.
        others |= word | (word - ByteWord::Ones);
    }
    return (others & ByteWord::HighBits) == 0;
}

bool IsPlainByte(char byte) {
    return static_cast<signed char>(byte) > 0;
}

// How many bytes at the beginning are ASCII and no NUL: a word at a time where texts in another language stop
// it after a few, and behind that in runs, each looked at as a whole.
std::size_t CountPlain(std::string_view bytes) {
    constexpr std::size_t Word = sizeof(std::uint64_t);
    constexpr std::size_t Run = 8 * Word;
    // The look is faster than memory.
    constexpr std::size_t PrefetchDistance = 4096;
    std::size_t count = 0;
    for (; ByteWord::IsUsable && bytes.size() - count >= Word; count += Word) {
        while (count >= Run && bytes.size() - count >= Run && count % Run == 0 &&
               IsPlainRun<Run>(bytes.substr(count))) {
            __builtin_prefetch(bytes.data() + count + PrefetchDistance);
            count += Run;
        }
        if (bytes.size() - count < Word) {
            break;
        }
        const std::uint64_t word = ByteWord::Load(&bytes[count]);
        const std::uint64_t others = (word | (word - ByteWord::Ones)) & ByteWord::HighBits;
        if (others != 0) {
            return count + static_cast<std::size_t>(std::countr_zero(others)) / 8;
        }
    }
    while (count < bytes.size() && IsPlainByte(bytes[count])) {
        ++count;
    }
    return count;
}

TextEncoding MakeEncoding(TextEncoding::Kind kind, std::size_t markLength = 0) {
    static constexpr std::array<const char*, 4> Names = {"UTF-8", "Windows-1252", "UTF-16LE", "UTF-16BE"};
    return {kind, Names.at(static_cast<std::size_t>(kind)), markLength};
}

const Mark* FindMark(std::string_view bytes) {
    const auto* mark = std::find_if(Marks.begin(), Marks.end(),
                                    [&](const Mark& known) { return bytes.starts_with(known.bytes); });
    return mark == Marks.end() ? nullptr : mark;
}

// Whether a text's last character may be cut: its bytes begin one that is longer.
std::size_t GetCutTail(std::string_view bytes) {
    for (std::size_t length = 1; length < LongestCharacter && length <= bytes.size(); ++length) {
        const auto lead = static_cast<unsigned char>(bytes[bytes.size() - length]);
        if (lead < 0x80) {
            return 0;
        }
        if (lead >= 0xc0) {
            const std::size_t whole = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
            return length < whole ? length : 0;
        }
    }
    return 0;
}

std::string DecodeUtf16(std::string_view bytes, bool isBig, std::uint64_t& undecodable) {
    std::string text;
    text.reserve(bytes.size() / 2);
    const auto unitAt = [&](std::size_t i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        return static_cast<char32_t>(isBig ? first << 8 | second : second << 8 | first);
    };
    const std::size_t count = bytes.size() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        char32_t character = unitAt(i);
        if (IsHighSurrogate(character) && i + 1 < count && (unitAt(i + 1) & 0xfc00) == 0xdc00) {
            character = 0x10000 + ((character & 0x3ff) << 10) + (unitAt(++i) & 0x3ff);
        } else if ((character & 0xf800) == 0xd800) {
            ++undecodable;
            character = Replacement;
        }
        AppendUtf8(text, character);
    }
    undecodable += bytes.size() % 2;
    return text;
}

// "UTF-8", "utf8" and "Utf_8" are one name.
std::string SimpleName(std::string_view name) {
    std::string simple;
    for (const char c : name) {
        if (c != '-' && c != '_' && c != ' ') {
            simple += ToLower(c);
        }
    }
    return simple;
}

}  // namespace

TextEncoding GuessEncoding(std::string_view bytes, bool isCut) {
    if (const Mark* mark = FindMark(bytes)) {
        return MakeEncoding(mark->kind, mark->bytes.size());
    }
    const std::string_view head = bytes.substr(0, NulWindow);
    std::size_t atEven = 0;
    std::size_t atOdd = 0;
    for (std::size_t i = head.find('\0'); i < head.size(); ++i) {
        (i % 2 == 0 ? atEven : atOdd) += head[i] == '\0' ? 1 : 0;
    }
    if (atOdd >= NulsOfOneSide * atEven && atOdd * LeastNulShare > head.size()) {
        return MakeEncoding(TextEncoding::Utf16Little);
    }
    if (atEven >= NulsOfOneSide * atOdd && atEven * LeastNulShare > head.size()) {
        return MakeEncoding(TextEncoding::Utf16Big);
    }
    const std::size_t tail = isCut ? GetCutTail(bytes) : 0;
    return MakeEncoding(IsUtf8(bytes.substr(0, bytes.size() - tail)) ? TextEncoding::Utf8
                                                                     : TextEncoding::Windows1252);
}

TextEncoding GetNamedEncoding(const std::string& name, std::string_view bytes) {
    const std::string simple = SimpleName(name);
    const Mark* mark = FindMark(bytes);
    TextEncoding encoding;
    if (simple == "utf8" || simple == "ascii" || simple == "usascii") {
        encoding = MakeEncoding(TextEncoding::Utf8);
    } else if (simple == "windows1252" || simple == "cp1252") {
        encoding = MakeEncoding(TextEncoding::Windows1252);
    } else if (simple == "utf16le" || simple == "utf16") {
        encoding =
            MakeEncoding(simple == "utf16" && mark != nullptr ? mark->kind : TextEncoding::Utf16Little);
    } else if (simple == "utf16be") {
        encoding = MakeEncoding(TextEncoding::Utf16Big);
    } else {
        const auto page = CodePage::Find(name);
        if (!page) {
            throw std::invalid_argument("'" + name + "' is no known encoding");
        }
        encoding = {TextEncoding::Named, page->GetName(), 0};
    }
    encoding.markLength = mark != nullptr && mark->kind == encoding.kind ? mark->bytes.size() : 0;
    return encoding;
}

bool IsPlain(std::string_view bytes) {
    return CountPlain(bytes) == bytes.size();
}

ByteFacts ExamineBytes(std::string_view bytes) {
    ByteFacts facts;
    while (true) {
        bytes.remove_prefix(CountPlain(bytes));
        if (bytes.empty()) {
            return facts;
        }
        do {
            const std::size_t length = GetUtf8Length(bytes);
            facts.areUtf8 = facts.areUtf8 && length > 0;
            facts.holdNuls = facts.holdNuls || bytes.front() == '\0';
            bytes.remove_prefix(std::max<std::size_t>(length, 1));
        } while (!bytes.empty() && !IsPlainByte(bytes.front()));
    }
}

void AppendWindows1252(std::string& text, std::string_view bytes) {
    // 0x80 to 0x9f; the five that stand for nothing keep their number.
    static constexpr std::array<char16_t, 32> High = {
        0x20ac, 0x81,   0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, 0x02c6, 0x2030, 0x0160,
        0x2039, 0x0152, 0x8d,   0x017d, 0x8f,   0x90,   0x2018, 0x2019, 0x201c, 0x201d, 0x2022,
        0x2013, 0x2014, 0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0x9d,   0x017e, 0x0178};
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        AppendUtf8(text, byte >= 0x80 && byte < 0xa0 ? High[byte - 0x80U] : char32_t{byte});
    }
}

std::string DecodeText(std::string_view bytes, const TextEncoding& encoding, std::uint64_t& undecodable) {
    switch (encoding.kind) {
        case TextEncoding::Utf16Little:
        case TextEncoding::Utf16Big:
            return DecodeUtf16(bytes, encoding.kind == TextEncoding::Utf16Big, undecodable);
        case TextEncoding::Named:
            return CodePage::Find(encoding.name).value_or(CodePage()).ToUtf8(bytes);
        case TextEncoding::Windows1252: {
            std::string text;
            AppendWindows1252(text, bytes);
            return text;
        }
        case TextEncoding::Utf8:
            break;
    }
    // Characters that are none one by one, as a field's would be.
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = GetUtf8Length(bytes);
        if (length == 0) {
            AppendWindows1252(text, bytes.substr(0, 1));
        } else {
            text.append(bytes.substr(0, length));
        }
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}
