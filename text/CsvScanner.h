#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "text/CsvParser.h"

/**
 * The grammar of CsvSyntax written out by hand: one function a rule, one look at each byte. It reports the
 * same matches to the parser in the same order, and comes as far. The two are held together by a test and
 * by a fuzz target that compare them.
 */
class CsvScanner {
public:
    /**
     * The delimiter is a printable byte of ASCII other than the double quote, or TAB. The parser must
     * outlive the scanner.
     */
    CsvScanner(CsvParser& target, char delimiterByte);

    /** How many bytes could be parsed: all of them in a correct file. */
    std::size_t Scan(std::string_view text);

private:
    enum ByteClass : std::uint8_t { TextData, Delimiter, LineBreak, Quote, Refused };

    ByteClass ClassOf(char byte) const { return classes[static_cast<unsigned char>(byte)]; }
    const char* ScanNonescaped(const char* at) const;
    const char* ScanEscaped(const char* at) const;
    const char* ScanField(const char* at);
    const char* ScanRecord(const char* at);
    const char* ScanLineEnd(const char* at) const;

    CsvParser& parser;
    char delimiter;
    std::array<ByteClass, 256> classes{};
    const char* end = nullptr;
};
