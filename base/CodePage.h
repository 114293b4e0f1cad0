#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Export.h"

/**
 * A character set of bytes, as files of other times and places hold their texts, and its way to the
 * library's own text, UTF-8. The tables are those of the C library's iconv, which looks at no locale; a set
 * that it hasn't got is read as Windows-1252. One object serves one thread.
 */
class KARTA_EXPORT CodePage {
public:
    static constexpr int Western = 1252;
    static constexpr int MacRoman = 10000;

    /** By its number, as Windows and spreadsheets count them: 437, 932, 1251, 10000 ... */
    explicit CodePage(int number = Western);
    /** By its name, in any case: "windows-1252", "latin-1", "cp850", "utf-16-le" ...; nothing for none. */
    static std::optional<CodePage> Find(std::string_view name);
    CodePage(CodePage&& other) noexcept;
    CodePage& operator=(CodePage&& other) noexcept;
    ~CodePage();

    /** False where Windows-1252 stands in for a set that isn't known. */
    bool IsKnown() const { return isKnown; }
    /** The name by which the C library knows the set. */
    const std::string& GetName() const { return name; }

    /** A byte that stands for no character becomes "?". */
    std::string ToUtf8(std::string_view bytes) const;
    void AppendUtf8(std::string& text, std::string_view bytes) const;

private:
    class Converter;

    bool Open(std::string wanted);

    std::string name;
    bool isKnown = true;
    std::unique_ptr<Converter> converter;
};
