#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/** How a file's bytes stand for characters. */
struct TextEncoding {
    enum Kind {
        Utf8,        /**< read as it is; bytes that are none of it stand for Windows-1252 */
        Windows1252, /**< read as it is and made UTF-8 field by field */
        Utf16Little,
        Utf16Big,
        Named /**< a CodePage's */
    };

    Kind kind = Utf8;
    std::string name = "UTF-8"; /**< for people */
    std::size_t markLength = 0; /**< bytes of the byte-order mark in front */

    /** Whether the bytes are scanned as they are: every byte below 0x80 is that character. */
    bool IsScannedInPlace() const { return kind == Utf8 || kind == Windows1252; }
};

/**
 * By the mark, else by where NULs stand in the first 64 KiB, else UTF-8 where all bytes are, else
 * Windows-1252. `isCut`: more bytes follow, so that the last character may be cut.
 */
TextEncoding GuessEncoding(std::string_view bytes, bool isCut);

/** The encoding of a name: "utf-8", "utf-16-le", "windows-1251" ...; the mark still counts. Raises
 * std::invalid_argument for a name that isn't known. */
TextEncoding GetNamedEncoding(const std::string& name, std::string_view bytes);

/** What a look at all bytes tells. */
struct ByteFacts {
    bool areUtf8 = true;
    bool holdNuls = false;
};
ByteFacts ExamineBytes(std::string_view bytes);
/** Whether all bytes are ASCII and none is NUL: the same text in most encodings. */
bool IsPlain(std::string_view bytes);

/** Appends Windows-1252 as UTF-8. */
void AppendWindows1252(std::string& text, std::string_view bytes);

/** The bytes, without the mark, as UTF-8; half a character of UTF-16 becomes U+FFFD, counted. */
std::string DecodeText(std::string_view bytes, const TextEncoding& encoding, std::uint64_t& undecodable);
