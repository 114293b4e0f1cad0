#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "text/TextDialect.h"

/** A field of a record, as views of the text. */
struct TextField {
    /** Without the quotes around it, and as it stands between them; a place in the record, empty or not. */
    std::string_view text;
    std::string_view behind; /**< what stands between a closing quote and the delimiter */
    bool isQuoted = false;
    bool isEscaped = false; /**< doubled quotes or escapes are in it */
};

/** Appends what is meant by what stands between the quotes of a field with doubled quotes or escapes in it.
 */
void AppendUnescaped(std::string& text, std::string_view quoted, const TextDialect& dialect);

/**
 * The quote before `last` that closes the field which `from`, behind its opening quote, is in; null where
 * there is none. The text goes on up to `end`, so that a doubled quote is seen. Sets `isEscaped` where
 * doubled quotes or escapes are on the way.
 */
const char* FindClosingQuote(const char* from, const char* last, const char* end, const TextDialect& dialect,
                             bool& isEscaped);

/**
 * Parts delimited text into records, after RFC 4180 and what people write. A quote counts only at a field's
 * start, blanks before it aside; a record ends in CR, LF or both. Text behind a closing quote belongs to the
 * field. A quote that is never closed is text, up to the next delimiter.
 *
 * A quote inside of a field that isn't doubled leaves a choice. Where such a record hasn't as many fields as
 * most have, or goes over lines, other readings are tried, and the first that gives that width is taken: the
 * opening quote is text; quotes close only before a delimiter or a line end; no field goes over its line.
 * None is taken that swallows lines which are records by themselves.
 */
class RecordScanner {
public:
    /** What is behind the text's end. */
    enum class End {
        File, /**< nothing */
        Cut   /**< more, so that a record that the end cuts is none */
    };

    /** `usualWidth` is how many fields most records have, 0 where that isn't known. */
    RecordScanner(std::string_view scannedText, const TextDialect& parts, std::size_t usualWidth = 0,
                  End behindText = End::File);

    /** The next record, into the fields; false behind the last one. */
    bool Next();

    /**
     * The next record as its line, without the line end, where it can be divided at each delimiter: one byte
     * parts the fields, and no quote is in it. Nothing where Next has to look at it.
     */
    std::optional<std::string_view> NextLine();

    /** Whether Next divides what NextLine takes at each delimiter. */
    bool PartsLines() const { return partsLines; }

    /** Goes on from here, behind where it was: the beginning of a record. */
    void Seek(std::size_t place) { next = place; }

    /** Of the record that Next took. */
    std::span<const TextField> GetFields() const { return fields; }
    /** Where the record began, and where the next one does. */
    std::size_t GetStart() const { return start; }
    std::size_t GetEnd() const { return next; }
    /** Of the record: fields with text behind their closing quote, and quotes that are never closed. */
    std::size_t GetTextsBehindQuotes() const { return textsBehind; }
    std::size_t GetUnclosedQuotes() const { return unclosed; }
    /** Whether some record so far had such a field, however it was divided then. */
    bool HasFaultyQuotes() const { return hasFaultyQuotes; }

    /** A field's text without doubled quotes and escapes; in `storage` where that is another one. */
    std::string_view GetText(const TextField& field, std::string& storage) const;

private:
    enum class QuoteRule { Closes, OpeningIsText, ClosesAtFieldEnd, ClosesOnLine };
    enum ByteClass : std::uint8_t { Plain, Delimiter, LineEnd };

    bool ScanRecord(QuoteRule rule);
    const char* FindBefore(const char* known, const char* from, const char* until, char byte) const;
    const char* FindNextLineEnd(const char* begin);
    std::optional<std::string_view> TakePlainLine();
    void DivideLine(std::string_view line);
    void TryOtherReadings();
    bool SwallowsRecords() const;
    bool ScanQuoted(const char* open, QuoteRule rule);
    const char* FindClosingQuote(const char* from, QuoteRule rule, bool& isEscaped);
    bool EndsWithQuote(const char* closing, std::string_view behind) const;
    void ScanQuotedOnLine(const char* open);
    const char* FindLineEnd(const char* from) const;
    const char* FindFieldEnd(const char* from) const;
    bool IsDelimiterAt(const char* place) const;
    const char* SkipBlanks(const char* from) const;
    const char* SkipBlanksBehindQuote(const char* from) const;
    const char* SkipDelimiters(const char* from, const char* until) const;
    bool ClosesField(const char* behindQuote) const;

    std::string_view text;
    TextDialect dialect;
    std::size_t width;
    bool isCut;
    bool partsLines;  // the delimiter has neither a line end nor a quote in it
    std::array<ByteClass, 256> classes{};
    const char* end;
    const char* at = nullptr;  // while a record is scanned

    // The next quote, line feed and carriage return, as far as they were looked for.
    const char* nextQuote;
    const char* nextFeed;
    const char* nextReturn;

    std::vector<TextField> fields;
    std::size_t start = 0;
    std::size_t next = 0;
    std::size_t textsBehind = 0;
    std::size_t unclosed = 0;
    bool hasFaultyQuotes = false;
    bool spansLines = false;
    std::size_t workOnOtherReadings = 0;  // bytes looked at in vain
};
