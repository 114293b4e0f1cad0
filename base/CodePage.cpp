#include "base/CodePage.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/Ascii.h"
#include "base/Unicode.h"

namespace {

constexpr char Unmappable = '?';

struct Numbered {
    int number;
    const char* name;
};

// Those whose name isn't "CP" and the number. ASCII and its bytes beyond are taken for Windows-1252, which
// holds it; 32768 and 32769 are how early spreadsheets write the Macintosh's set and Windows'.
constexpr Numbered NamedPages[] = {
    {367, "CP1252"},
    {936, "GBK"},
    {1361, "JOHAB"},
    {10000, "MACINTOSH"},
    {10001, "SHIFT_JIS"},
    {10007, "MAC-CYRILLIC"},
    {10029, "MAC-CENTRALEUROPE"},
    {20127, "CP1252"},
    {28591, "ISO-8859-1"},
    {32768, "MACINTOSH"},
    {32769, "CP1252"},
    {65001, "UTF-8"},
};

struct Renamed {
    std::string_view name;  // in lower case, without hyphens and underscores
    const char* libraryName;
};

// Names that people use and the C library doesn't know. UTF-16 without its order is little-endian here.
constexpr Renamed RenamedSets[] = {
    {"utf16", "UTF-16LE"}, {"utf16le", "UTF-16LE"},   {"utf16be", "UTF-16BE"}, {"utf8", "UTF-8"},
    {"ascii", "CP1252"},   {"latin1", "ISO-8859-1"},  {"ansi", "CP1252"},      {"oem", "CP850"},
    {"shiftjis", "CP932"}, {"macroman", "MACINTOSH"},
};

std::string NameOf(int number) {
    const auto* const found = std::find_if(std::begin(NamedPages), std::end(NamedPages),
                                           [number](const Numbered& page) { return page.number == number; });
    return found != std::end(NamedPages) ? found->name : "CP" + std::to_string(number);
}

std::string NameOf(std::string_view name) {
    constexpr std::string_view Windows = "windows";
    std::string plain;
    for (const char c : name) {
        if (c != '-' && c != '_' && c != ' ') {
            plain += ToLower(c);
        }
    }
    for (const Renamed& set : RenamedSets) {
        if (set.name == plain) {
            return set.libraryName;
        }
    }
    return plain.starts_with(Windows) ? "CP" + plain.substr(Windows.size()) : std::string(name);
}

}  // namespace

/** Owns the C library's state of a conversion. */
class CodePage::Converter {
public:
    explicit Converter(const char* name) : handle(iconv_open("UTF-8", name)) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (IsOpen()) {
            iconv_close(handle);
        }
    }

    // The library's mark of failure is a pointer of -1.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    bool IsOpen() const { return handle != reinterpret_cast<iconv_t>(-1); }

    void Append(std::string& text, std::string_view bytes) {
        iconv(handle, nullptr, nullptr, nullptr, nullptr);
        // iconv doesn't write to its input, whatever its declaration says.
        char* from = const_cast<char*>(bytes.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast)
        std::size_t left = bytes.size();
        std::array<char, 1024> buffer;
        while (left > 0) {
            char* to = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t result = iconv(handle, &from, &left, &to, &room);
            text.append(buffer.data(), static_cast<std::size_t>(to - buffer.data()));
            if (result == static_cast<std::size_t>(-1) && errno != E2BIG) {
                text += Unmappable;
                // Cut off in a character: nothing can be made of what is left.
                const std::size_t bad = errno == EINVAL ? left : 1;
                from += bad;
                left -= bad;
            }
        }
    }

private:
    iconv_t handle;
};

CodePage::CodePage(int number) {
    isKnown = Open(NameOf(number));
    if (!isKnown) {
        Open(NameOf(Western));
    }
}

std::optional<CodePage> CodePage::Find(std::string_view name) {
    CodePage page;
    return page.Open(NameOf(name)) ? std::optional(std::move(page)) : std::nullopt;
}

CodePage::CodePage(CodePage&& other) noexcept = default;
CodePage& CodePage::operator=(CodePage&& other) noexcept = default;
CodePage::~CodePage() = default;

bool CodePage::Open(std::string wanted) {
    auto opened = std::make_unique<Converter>(wanted.c_str());
    if (!opened->IsOpen()) {
        return false;
    }
    name = std::move(wanted);
    converter = std::move(opened);
    return true;
}

std::string CodePage::ToUtf8(std::string_view bytes) const {
    std::string text;
    AppendUtf8(text, bytes);
    return text;
}

void CodePage::AppendUtf8(std::string& text, std::string_view bytes) const {
    const bool isAsciiAsItself = !name.starts_with("UTF-16");
    if (converter == nullptr || (isAsciiAsItself && IsAscii(bytes))) {
        text += bytes;
    } else {
        converter->Append(text, bytes);
    }
}
