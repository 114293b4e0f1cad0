#include "text/RecordScanner.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/Ascii.h"
#include "base/ByteScan.h"

namespace {

// How far the end of a quoted field is looked for: a quote that was meant as a character costs no more.
constexpr std::ptrdiff_t LongestQuoted = std::ptrdiff_t{1} << 24;
constexpr std::ptrdiff_t LongestOnTrial = std::ptrdiff_t{1} << 16;
// How much is looked through at a time.
constexpr std::ptrdiff_t PieceSize = std::ptrdiff_t{1} << 15;

// Trying other readings may cost this, and as often the bytes that are read: text that invites to try at each
// record would else be read once a record.
constexpr std::size_t FreeWork = 1 << 20;
constexpr std::size_t WorkPerByte = 4;

}  // namespace

// Of a doubled quote and of an escape with what it stands before, the second byte is meant; of one at the
// end, the first.
void AppendUnescaped(std::string& text, std::string_view quoted, const TextDialect& dialect) {
    const char* at = quoted.data();
    const char* const end = at + quoted.size();
    while (at != end) {
        const char* const found = dialect.escape == '\0' ? FindByte(at, end, dialect.quote)
                                                         : FindByte(at, end, dialect.quote, dialect.escape);
        text.append(at, found);
        at = found;
        if (at != end) {
            const bool isEscape = dialect.escape != '\0' && *at == dialect.escape;
            at += at + 1 != end && (isEscape || at[1] == dialect.quote) ? 1 : 0;
            text += *at++;
        }
    }
}

const char* FindClosingQuote(const char* from, const char* last, const char* end, const TextDialect& dialect,
                             bool& isEscaped) {
    while (from < last) {
        from = dialect.escape == '\0' ? FindByte(from, last, dialect.quote)
                                      : FindByte(from, last, dialect.quote, dialect.escape);
        if (from == last) {
            break;
        }
        const bool hasMore = from + 1 != end;
        const bool isEscape = dialect.escape != '\0' && *from == dialect.escape;
        if (hasMore && (isEscape || from[1] == dialect.quote)) {
            isEscaped = true;
            from += 2;
        } else if (isEscape) {
            break;
        } else {
            return from;
        }
    }
    return nullptr;
}

RecordScanner::RecordScanner(std::string_view scannedText, const TextDialect& parts, std::size_t usualWidth,
                             End behindText)
    : text(scannedText),
      dialect(parts),
      width(usualWidth),
      isCut(behindText == End::Cut),
      partsLines(parts.delimiter.find_first_of(std::string("\r\n") + parts.quote) == std::string::npos),
      end(scannedText.data() + scannedText.size()),
      nextQuote(scannedText.data()),
      nextFeed(scannedText.data()),
      nextReturn(scannedText.data()) {
    classes['\n'] = classes['\r'] = LineEnd;
    if (!dialect.delimiter.empty()) {
        classes[static_cast<unsigned char>(dialect.delimiter.front())] = Delimiter;
    }
}

bool RecordScanner::Next() {
    start = next;
    if (start >= text.size()) {
        return false;
    }
    if (partsLines) {
        if (const auto line = TakePlainLine()) {
            DivideLine(*line);
            return true;
        }
    }
    if (!ScanRecord(QuoteRule::Closes)) {
        next = text.size();
        return false;
    }
    if (textsBehind > 0 || unclosed > 0) {
        hasFaultyQuotes = true;
        if (spansLines || fields.size() != width) {
            TryOtherReadings();
        }
    }
    return true;
}

// The first such byte from `from` on, if there is one before `until`; else how far there is none. `known` is
// what the last call gave. Looked for piece by piece, so that the text goes through the cache only once.
const char* RecordScanner::FindBefore(const char* known, const char* from, const char* until,
                                      char byte) const {
    const char* place = std::max(known, from);
    while (place < until && *place != byte) {
        const auto piece = static_cast<std::size_t>(std::min(end - place, PieceSize));
        const void* const found = std::memchr(place, byte, piece);
        place = found == nullptr ? place + piece : static_cast<const char*>(found);
    }
    return place;
}

// The line end behind `begin`, or the text's; looked for piece by piece as well, since a text may have ends
// of one kind only.
const char* RecordScanner::FindNextLineEnd(const char* begin) {
    for (const char* until = begin; until != end;) {
        until += std::min(end - until, PieceSize);
        nextFeed = FindBefore(nextFeed, begin, until, '\n');
        const char* const limit = std::min(nextFeed, until);
        nextReturn = FindBefore(nextReturn, begin, limit, '\r');
        if (nextReturn < limit) {
            return nextReturn;
        }
        if (nextFeed < until) {
            return nextFeed;
        }
    }
    return end;
}

std::optional<std::string_view> RecordScanner::NextLine() {
    return next >= text.size() || dialect.mergeRuns || dialect.delimiter.size() != 1 ? std::nullopt
                                                                                     : TakePlainLine();
}

// The next record as its line, where there is no quote in it and the end of the text doesn't cut it.
std::optional<std::string_view> RecordScanner::TakePlainLine() {
    const char* const begin = text.data() + next;
    const char* const lineEnd = FindNextLineEnd(begin);
    if (lineEnd == end && isCut) {
        return std::nullopt;
    }
    nextQuote = FindBefore(nextQuote, begin, lineEnd, dialect.quote);
    if (nextQuote < lineEnd) {
        return std::nullopt;
    }
    const char* behind = lineEnd;
    if (lineEnd != end) {
        behind += *lineEnd == '\r' && lineEnd + 1 != end && lineEnd[1] == '\n' ? 2 : 1;
    }
    start = next;
    next = static_cast<std::size_t>(behind - text.data());
    textsBehind = unclosed = 0;
    return std::string_view(begin, static_cast<std::size_t>(lineEnd - begin));
}

// The fields of a line without a quote.
void RecordScanner::DivideLine(std::string_view line) {
    fields.clear();
    const char* from = line.data();
    const char* const lineEnd = from + line.size();
    const std::size_t length = dialect.delimiter.size();
    while (true) {
        if (dialect.mergeRuns) {
            from = SkipDelimiters(from, lineEnd);
            if (from == lineEnd) {
                return;
            }
        }
        const char* fieldEnd = lineEnd;
        if (length == 1) {
            fieldEnd = FindByte(from, lineEnd, dialect.delimiter.front());
        } else if (length > 1) {
            const std::size_t place =
                std::string_view(from, static_cast<std::size_t>(lineEnd - from)).find(dialect.delimiter);
            fieldEnd = place == std::string_view::npos ? lineEnd : from + place;
        }
        fields.push_back({{from, static_cast<std::size_t>(fieldEnd - from)}, {}, false, false});
        if (fieldEnd == lineEnd) {
            return;
        }
        from = fieldEnd + length;
        from += dialect.skipsBlank && !dialect.mergeRuns && from != lineEnd && *from == ' ' ? 1 : 0;
    }
}

void RecordScanner::TryOtherReadings() {
    if (width == 0 || workOnOtherReadings > FreeWork + WorkPerByte * start) {
        return;
    }
    for (const QuoteRule rule :
         {QuoteRule::OpeningIsText, QuoteRule::ClosesAtFieldEnd, QuoteRule::ClosesOnLine}) {
        workOnOtherReadings += next - start;
        if (ScanRecord(rule) && fields.size() == width && !SwallowsRecords()) {
            return;
        }
    }
    workOnOtherReadings += 2 * (next - start);
    ScanRecord(QuoteRule::Closes);
    if (SwallowsRecords()) {
        ScanRecord(QuoteRule::OpeningIsText);
    }
}

// Whether lines within the record, from its second one on, would be records of the usual width: then a quote
// is missing rather than a line break meant.
bool RecordScanner::SwallowsRecords() const {
    if (!spansLines || dialect.delimiter.empty()) {
        return false;
    }
    // A text with one comma in it is no rarity.
    const std::size_t enough = width > 2 ? 1 : 2;
    const char* const behind = text.data() + next;
    const char* const last = behind - std::min<std::ptrdiff_t>(behind - (text.data() + start), 1);
    std::size_t found = 0;
    for (const char* line = FindLineEnd(text.data() + start); line < last && found < enough;) {
        line += *line == '\r' && line + 1 != end && line[1] == '\n' ? 2 : 1;
        const char* const lineEnd = FindLineEnd(line);
        std::size_t parts = 1;
        bool hasQuote = false;
        for (const char* place = line; place < lineEnd; ++place) {
            hasQuote = hasQuote || *place == dialect.quote;
            parts += IsDelimiterAt(place) ? 1 : 0;
        }
        found += !hasQuote && lineEnd < last && parts == width ? 1 : 0;
        line = lineEnd;
    }
    return found >= enough;
}

const char* RecordScanner::FindLineEnd(const char* from) const {
    return std::find_if(from, end, IsLineEnd);
}

// One record from the start on. False where the text's end cuts it.
bool RecordScanner::ScanRecord(QuoteRule rule) {
    fields.clear();
    textsBehind = unclosed = 0;
    spansLines = false;
    at = text.data() + start;
    bool hasMore = true;
    while (hasMore) {
        const char* begin = at;
        if (at != end && (*at == ' ' || *at == dialect.quote)) {
            begin = SkipBlanks(at);
        }
        const bool opens = begin != end && *begin == dialect.quote && !IsDelimiterAt(begin);
        const std::size_t unclosedBefore = unclosed;
        if (!opens || !ScanQuoted(begin, rule)) {
            if (isCut && unclosed > unclosedBefore) {
                return false;
            }
            if (dialect.mergeRuns) {
                at = SkipDelimiters(at, end);
            }
            begin = at;
            at = FindFieldEnd(begin);
            if (!dialect.mergeRuns || at != begin) {
                fields.push_back({{begin, static_cast<std::size_t>(at - begin)}, {}, false, false});
            }
        }
        hasMore = at != end && !IsLineEnd(*at);
        if (!hasMore) {
            break;
        }
        if (dialect.mergeRuns) {
            at = SkipDelimiters(at, end);
            hasMore = at != end && !IsLineEnd(*at);
        } else {
            at += dialect.delimiter.size();
            at += dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
            if (at == end) {
                fields.push_back({text.substr(text.size()), {}, false, false});
                hasMore = false;
            }
        }
    }
    if (at == end) {
        next = text.size();
        return !isCut;
    }
    at += *at == '\r' && at + 1 != end && at[1] == '\n' ? 2 : 1;
    next = static_cast<std::size_t>(at - text.data());
    return true;
}

// A field whose quote opens at `open`; `at` is then its end. False when it isn't taken as one.
bool RecordScanner::ScanQuoted(const char* open, QuoteRule rule) {
    if (rule == QuoteRule::ClosesOnLine) {
        ScanQuotedOnLine(open);
        return true;
    }
    const char* const begin = open + 1;
    TextField field;
    const char* close = FindClosingQuote(begin, rule, field.isEscaped);
    if (close == nullptr) {
        ++unclosed;
        return false;
    }
    const char* const behind = SkipBlanksBehindQuote(close + 1);
    const char* const fieldEnd = FindFieldEnd(behind);
    if (behind != fieldEnd) {
        // One column is prose, where quotes are marks of speech.
        if (rule == QuoteRule::OpeningIsText || dialect.delimiter.empty()) {
            return false;
        }
        ++textsBehind;
        const char* last = fieldEnd;
        while (last[-1] == ' ') {
            --last;
        }
        // Guesses of the dialect count what is written without the blanks between.
        const char* const first = width == 0 ? behind : close + 1;
        field.behind = {first, static_cast<std::size_t>(last - first)};
        if (EndsWithQuote(close, field.behind)) {
            close = last - 1;
            field.isEscaped = true;
            field.behind = {};
        }
    }
    field.text = {begin, static_cast<std::size_t>(close - begin)};
    field.isQuoted = true;
    spansLines = spansLines || std::any_of(begin, close, IsLineEnd);
    fields.push_back(field);
    at = fieldEnd;
    return true;
}

// Whether the quote that ends a field is the one that closes it: what seemed to close it, amid the text,
// opens a word as in "a "b" c" or stands for inches. Not while nothing is known of the records: guesses of
// the dialect count what is written, by the plain rule.
bool RecordScanner::EndsWithQuote(const char* closing, std::string_view behind) const {
    if (width == 0 || behind.size() < 2 || behind.back() != dialect.quote || dialect.escape != '\0' ||
        behind[behind.size() - 2] == ' ') {
        return false;
    }
    // Two texts, each in quotes of its own, as in "a" and "b".
    return closing[1] != ' ' || behind.find(dialect.quote) + 1 == behind.size();
}

// The field of an opening quote where none goes over its line: up to the first quote that a delimiter or the
// line's end follows, whatever stands before it; else up to the line's end.
void RecordScanner::ScanQuotedOnLine(const char* open) {
    const char* const lineEnd = FindLineEnd(open);
    const char* close = open + 1;
    while (close != lineEnd && !(*close == dialect.quote && ClosesField(close + 1))) {
        ++close;
    }
    unclosed += close == lineEnd ? 1 : 0;
    TextField field;
    field.text = {open + 1, static_cast<std::size_t>(close - open - 1)};
    field.isQuoted = true;
    field.isEscaped = true;
    fields.push_back(field);
    at = close == lineEnd ? lineEnd : FindFieldEnd(close + 1);
}

const char* RecordScanner::FindClosingQuote(const char* from, QuoteRule rule, bool& isEscaped) {
    const bool isTrial = rule == QuoteRule::ClosesAtFieldEnd;
    const char* const begin = from;
    const char* const last = from + std::min(end - from, isTrial ? LongestOnTrial : LongestQuoted);
    while ((from = ::FindClosingQuote(from, last, end, dialect, isEscaped)) != nullptr) {
        if (!isTrial || ClosesField(from + 1)) {
            return from;
        }
        ++from;
    }
    workOnOtherReadings += isTrial ? static_cast<std::size_t>(last - begin) : 0;
    return nullptr;
}

bool RecordScanner::ClosesField(const char* behindQuote) const {
    behindQuote = SkipBlanksBehindQuote(behindQuote);
    return behindQuote == end || IsLineEnd(*behindQuote) || IsDelimiterAt(behindQuote);
}

const char* RecordScanner::FindFieldEnd(const char* from) const {
    for (; from != end; ++from) {
        const ByteClass found = classes[static_cast<unsigned char>(*from)];
        if (found == LineEnd || (found == Delimiter && IsDelimiterAt(from))) {
            break;
        }
    }
    return from;
}

bool RecordScanner::IsDelimiterAt(const char* place) const {
    const std::string& delimiter = dialect.delimiter;
    if (delimiter.size() == 1) {
        return *place == delimiter.front();
    }
    return !delimiter.empty() && static_cast<std::size_t>(end - place) >= delimiter.size() &&
           std::memcmp(place, delimiter.data(), delimiter.size()) == 0;
}

const char* RecordScanner::SkipBlanks(const char* from) const {
    while (from != end && *from == ' ') {
        ++from;
    }
    return from;
}

// Where a blank is the delimiter, the first one ends the field.
const char* RecordScanner::SkipBlanksBehindQuote(const char* from) const {
    return dialect.delimiter.starts_with(' ') ? from : SkipBlanks(from);
}

const char* RecordScanner::SkipDelimiters(const char* from, const char* until) const {
    while (from != until && IsDelimiterAt(from)) {
        from += dialect.delimiter.size();
    }
    return from;
}

std::string_view RecordScanner::GetText(const TextField& field, std::string& storage) const {
    if (!field.isEscaped && field.behind.empty()) {
        return field.text;
    }
    storage.clear();
    if (field.isEscaped) {
        AppendUnescaped(storage, field.text, dialect);
    } else {
        storage += field.text;
    }
    storage += field.behind;
    return storage;
}
