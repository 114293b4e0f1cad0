#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/CodePage.h"

/** Appends 8-bit characters, which are the first 256 of Unicode. */
void AppendLatin1(std::string& text, std::string_view bytes);

/**
 * The text of one record that may go on in CONTINUE records. In BIFF8 each part begins with an option byte
 * that tells the width of its characters; before, texts are bytes of the workbook's code page.
 */
class BiffText {
public:
    /** A text of so many characters. The code page stays the caller's. */
    BiffText(std::size_t characters, bool isBiff8Text, const CodePage& codePageOfBytes)
        : pending(characters), isBiff8(isBiff8Text), codePage(codePageOfBytes) {}

    /** The next part, as far as the record goes; what is behind the text isn't looked at. */
    void Add(std::string_view part);
    bool IsWhole() const { return pending == 0; }
    /** In UTF-8, as far as it came. */
    std::string Get();

private:
    std::size_t pending;
    bool isFirst = true;
    bool isBiff8;
    const CodePage& codePage;
    std::u16string units;  // of BIFF8
    std::string bytes;     // of the versions before
};
