#include "archive/XmlScanner.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <ios>

#include "base/Ascii.h"
#include "base/ByteWord.h"
#include "base/PathNames.h"
#include "base/Unicode.h"

namespace {

// A tag, a comment or a section of CDATA that is longer is another parser's.
constexpr std::size_t LongestToken = std::size_t{1} << 24;
// Beyond these the plain searches below would take too long.
constexpr std::size_t MostAttributes = 64;
constexpr std::size_t MostBindings = 64;

constexpr std::string_view ByteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view XmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view DeclarationNamespace = "http://www.w3.org/2000/xmlns/";

constexpr std::string_view Blanks = " \t\r\n";

enum ByteClass : std::uint8_t {
    NameStart = 1,
    NameByte = 2,
    Space = 4,
    PlainText = 8,   // nothing to look at in text
    PlainValue = 16  // nor in the value of an attribute
};

constexpr std::array<std::uint8_t, 256> MakeClasses() {
    std::array<std::uint8_t, 256> classes{};
    for (unsigned int byte = 0x20; byte < 0x80; ++byte) {
        const char c = static_cast<char>(byte);
        if (IsLetter(c) || c == '_') {
            classes[byte] |= NameStart | NameByte;
        }
        if (IsDigit(c) || c == '-' || c == '.') {
            classes[byte] |= NameByte;
        }
        if (c != '<' && c != '&' && c != ']') {
            classes[byte] |= PlainText;
        }
        if (c != '<' && c != '&' && c != '"' && c != '\'') {
            classes[byte] |= PlainValue;
        }
    }
    classes['\t'] = Space | PlainText;
    classes['\n'] = Space | PlainText;
    classes['\r'] = Space;
    classes[' '] |= Space;
    return classes;
}

constexpr std::array<std::uint8_t, 256> Classes = MakeClasses();

bool Is(char c, ByteClass kind) {
    return (Classes[static_cast<unsigned char>(c)] & kind) != 0;
}

// Over bytes of PlainText, eight at a time, and perhaps not over the last of them.
const char* SkipPlainText(const char* from, const char* end) {
    constexpr std::uint64_t Ones = ByteWord::Ones;
    constexpr std::uint64_t LowBits = 0x7f * Ones;
    // The high bit of each byte below 0x80 that isn't this one.
    const auto others = [](std::uint64_t word, char byte) {
        return ((word ^ (Ones * static_cast<unsigned char>(byte))) & LowBits) + LowBits;
    };
    while (end - from >= 8) {
        const std::uint64_t word = ByteWord::Load(from);
        const std::uint64_t isPrintable = (word & LowBits) + (0x80 - 0x20) * Ones;
        const std::uint64_t isBlank = ~(others(word, '\t') & others(word, '\n'));
        const std::uint64_t isPlain =
            others(word, '<') & others(word, '&') & others(word, ']') & ~word & (isPrintable | isBlank);
        const std::uint64_t isOther = ~isPlain & ~LowBits;
        if (isOther != 0) {
            // Nothing is carried from byte to byte, so that each bit tells of its own.
            return ByteWord::IsUsable ? from + std::countr_zero(isOther) / 8 : from;
        }
        from += 8;
    }
    return from;
}

const char* SkipSpace(const char* from) {
    while (Is(*from, Space)) {
        ++from;
    }
    return from;
}

// What XML allows, of the characters that UTF-8 can hold.
bool IsAllowed(char32_t character) {
    return character >= 0x20 ? character != 0xfffe && character != 0xffff
                             : character == '\t' || character == '\n' || character == '\r';
}

// Takes ` name="value"` from the front of a declaration; leaves anything else there.
bool TakeField(std::string_view& fields, std::string_view name, std::string_view& value) {
    std::string_view rest = fields.substr(std::min(fields.find_first_not_of(Blanks), fields.size()));
    if (rest.size() == fields.size() || !rest.starts_with(name) || rest.size() < name.size() + 3 ||
        rest[name.size()] != '=') {
        return false;
    }
    const char quote = rest[name.size() + 1];
    rest.remove_prefix(name.size() + 2);
    const std::size_t end = rest.find(quote);
    if ((quote != '"' && quote != '\'') || end == std::string_view::npos) {
        return false;
    }
    value = rest.substr(0, end);
    fields = rest.substr(end + 1);
    return true;
}

// Of names, which are short: nearly always the first bytes tell.
bool AreEqual(std::string_view left, std::string_view right) {
    return left.size() == right.size() && left.front() == right.front() &&
           (left.size() == 1 || left.substr(1) == right.substr(1));
}

// By namespace only.
bool IsPrefixed(const XmlAttribute& attribute) {
    return attribute.localName.size() < attribute.name.size();
}

// `xmlns` or with it as a prefix.
bool IsDeclaration(const XmlAttribute& attribute) {
    constexpr std::string_view Declaration = "xmlns";
    return attribute.name.front() == 'x' && attribute.name.starts_with(Declaration) &&
           (attribute.name.size() == Declaration.size() || attribute.name[Declaration.size()] == ':');
}

bool IsXmlName(std::string_view name) {
    return name.size() == 3 && ToLower(name[0]) == 'x' && ToLower(name[1]) == 'm' && ToLower(name[2]) == 'l';
}

// The two characters of UTF-8 that XML doesn't allow.
bool IsNoncharacter(std::string_view character) {
    return character == "\xef\xbf\xbe" || character == "\xef\xbf\xbf";
}

}  // namespace

XmlScanner::Result XmlScanner::Scan(std::streambuf& stream, XmlEvents& handler) {
    source = &stream;
    events = &handler;
    next = limit = buffer.data();
    buffer[0] = '\0';
    const Step step = ScanDocument();
    return isFailed ? Result::Damaged : step == Step::Done ? Result::WellFormed : Result::Undecided;
}

// Reads on behind what isn't scanned yet: at least as much again as is kept, so that no token is looked at
// often. False where there is no more.
bool XmlScanner::Fill() {
    const auto kept = static_cast<std::size_t>(limit - next);
    if (isAtEnd || kept > LongestToken) {
        return false;
    }
    std::memmove(buffer.data(), next, kept);
    if (2 * kept > buffer.size() - 1) {
        buffer.resize(2 * (buffer.size() - 1) + 1);
    }
    std::size_t size = kept;
    try {
        while (!isAtEnd && size < std::max<std::size_t>(2 * kept, 1)) {
            const auto got =
                source->sgetn(buffer.data() + size, static_cast<std::streamsize>(buffer.size() - 1 - size));
            size += static_cast<std::size_t>(std::max<std::streamsize>(got, 0));
            isAtEnd = got <= 0;
        }
    } catch (const std::ios_base::failure&) {
        isFailed = isAtEnd = true;
    }
    next = buffer.data();
    limit = next + size;
    buffer[size] = '\0';
    return size > kept;
}

// A step that found no end of its token is taken again with more bytes.
XmlScanner::Step XmlScanner::Repeat(Step (XmlScanner::*step)()) {
    Step result = (this->*step)();
    while (result == Step::NeedsMore) {
        if (!Fill()) {
            return Step::Stuck;
        }
        result = (this->*step)();
    }
    return result;
}

XmlScanner::Step XmlScanner::ScanDocument() {
    while (limit - next < 8 && Fill()) {
    }
    if (std::string_view(next, static_cast<std::size_t>(limit - next)).starts_with(ByteOrderMark)) {
        next += ByteOrderMark.size();
    }
    Step step = Repeat(&XmlScanner::ScanDeclaration);
    while (step == Step::Done) {
        if (next == limit && !Fill()) {
            return hasRoot && open.empty() ? Step::Done : Step::Stuck;
        }
        step = Repeat(&XmlScanner::ScanNext);
    }
    return step;
}

// <?xml version="1.0" encoding="UTF-8" standalone="yes"?>
XmlScanner::Step XmlScanner::ScanDeclaration() {
    constexpr std::string_view Begin = "<?xml";
    const std::string_view text(next, static_cast<std::size_t>(limit - next));
    if (!text.starts_with(Begin) || (text.size() > Begin.size() && !Is(text[Begin.size()], Space))) {
        return Step::Done;
    }
    const std::size_t end = text.find("?>");
    if (end == std::string_view::npos) {
        return Step::NeedsMore;
    }
    std::string_view fields = text.substr(Begin.size(), end - Begin.size());
    std::string_view encoding = "UTF-8";
    std::string_view standalone = "yes";
    std::string_view version;
    if (!TakeField(fields, "version", version) || version != "1.0") {
        return Step::Stuck;
    }
    TakeField(fields, "encoding", encoding);
    TakeField(fields, "standalone", standalone);
    const bool isKnown = EqualIgnoringCase(encoding, "UTF-8") && (standalone == "yes" || standalone == "no");
    if (!isKnown || fields.find_first_not_of(Blanks) != std::string_view::npos) {
        return Step::Stuck;
    }
    next += end + 2;
    return Step::Done;
}

// Text up to the next markup, and the markup.
XmlScanner::Step XmlScanner::ScanNext() {
    if (!open.empty()) {
        while (true) {
            if (*next == '<') {
                if (events->TakesRaw() && HandRaw()) {
                    continue;
                }
                const Step step = ScanMarkup();
                if (step != Step::Done || open.empty()) {
                    return step;
                }
            } else if (next == limit) {
                return Step::Done;
            } else {
                const Step step = ScanText();
                if (step != Step::Done) {
                    return step;
                }
            }
        }
    }
    next = SkipSpace(next);
    return next == limit ? Step::Done : *next == '<' ? ScanMarkup() : Step::Stuck;
}

// False where the handler takes none of it.
bool XmlScanner::HandRaw() {
    const OpenElement& inside = open.back();
    const bool noDeclarations =
        inside.bindings == bindings.size() && inside.defaultUri.data() == defaultUri.data();
    const XmlEvents::Taken taken =
        events->TakeRaw({next, static_cast<std::size_t>(limit - next)}, noDeclarations);
    if (taken.bytes == 0) {
        return false;
    }
    next += taken.bytes;
    progress.tags += taken.tags;
    progress.bytes = 0;
    return true;
}

// Hands out what it has seen, even where it can't go on.
XmlScanner::Step XmlScanner::ScanText() {
    const char* from = next;
    while (true) {
        from = SkipPlainText(from, limit);
        while (Is(*from, PlainText)) {
            ++from;
        }
        const char c = *from;
        if (static_cast<unsigned char>(c) >= 0x80) {
            const std::string_view rest(from, static_cast<std::size_t>(limit - from));
            const std::size_t length = GetUtf8Length(rest);
            if (length == 0 || IsNoncharacter(rest.substr(0, length))) {
                break;
            }
            from += length;
        } else if (c == ']') {
            if (limit - from < 3 || (from[1] == ']' && from[2] == '>')) {
                break;
            }
            ++from;
        } else {
            break;
        }
    }
    if (from != next) {
        Hand({next, static_cast<std::size_t>(from - next)});
        next = from;
    }
    switch (*from) {
        case '<':
            return Step::Done;
        case '\r':
            if (limit - from < 2) {
                return Step::NeedsMore;
            }
            Hand("\n");
            next += from[1] == '\n' ? 2 : 1;
            return Step::Done;
        case '&': {
            std::string character;
            const Step step = ScanReference(from, character);
            if (step == Step::Done) {
                Hand(character);
                next = from;
            }
            return step;
        }
        case '\0':
            return from == limit ? Step::Done : Step::Stuck;
        default:
            // Of a character or of ]]> not all may be there.
            return limit - from < 4 ? Step::NeedsMore : Step::Stuck;
    }
}

// One of the five entities, or a character by its number.
XmlScanner::Step XmlScanner::ScanReference(const char*& from, std::string& text) const {
    constexpr std::size_t Longest = 10;  // &#1114111;
    const std::string_view rest =
        std::string_view(from, static_cast<std::size_t>(limit - from)).substr(0, Longest);
    const std::size_t end = rest.find(';');
    if (end == std::string_view::npos) {
        return rest.size() < Longest ? Step::NeedsMore : Step::Stuck;
    }
    const std::string_view name = rest.substr(1, end - 1);
    from += end + 1;
    struct Entity {
        std::string_view name;
        char character;
    };
    static constexpr Entity Entities[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const Entity& entity : Entities) {
        if (entity.name == name) {
            text += entity.character;
            return Step::Done;
        }
    }
    const bool isHexadecimal = name.starts_with("#x");
    const std::string_view digits = name.substr(std::min<std::size_t>(name.size(), isHexadecimal ? 2 : 1));
    if (!name.starts_with('#') || digits.empty()) {
        return Step::Stuck;
    }
    char32_t character = 0;
    for (const char digit : digits) {
        const char lower = ToLower(digit);
        if (IsDigit(lower)) {
            character = character * (isHexadecimal ? 16 : 10) + static_cast<char32_t>(lower - '0');
        } else if (isHexadecimal && lower >= 'a' && lower <= 'f') {
            character = character * 16 + static_cast<char32_t>(lower - 'a' + 10);
        } else {
            return Step::Stuck;
        }
    }
    const bool isHalf = character >= 0xd800 && character <= 0xdfff;
    if (isHalf || character > 0x10ffff || !IsAllowed(character)) {
        return Step::Stuck;
    }
    AppendUtf8(text, character);
    return Step::Done;
}

XmlScanner::Step XmlScanner::ScanMarkup() {
    switch (next[1]) {
        case '/':
            return open.empty() ? Step::Stuck : ScanEndTag();
        case '?':
            return ScanInstruction();
        case '!':
            if (limit - next < 9) {
                return Step::NeedsMore;
            }
            if (next[2] == '-' && next[3] == '-') {
                return ScanComment();
            }
            if (!hasRoot && !hasDocType) {
                return ScanDocType();
            }
            return open.empty() || std::string_view(next, 9) != "<![CDATA[" ? Step::Stuck : ScanCdata();
        default:
            return hasRoot && open.empty() ? Step::Stuck : ScanStartTag();
    }
}

// <!DOCTYPE name SYSTEM "file.dtd">, which declares nothing here, since nothing outside of the document is
// opened.
XmlScanner::Step XmlScanner::ScanDocType() {
    constexpr std::string_view Begin = "<!DOCTYPE ";
    constexpr std::string_view System = " SYSTEM \"";
    const auto* const end =
        static_cast<const char*>(std::memchr(next, '>', static_cast<std::size_t>(limit - next)));
    if (end == nullptr) {
        return Step::NeedsMore;
    }
    std::string_view text(next, static_cast<std::size_t>(end - next));
    if (!text.starts_with(Begin)) {
        return Step::Stuck;
    }
    const char* from = next + Begin.size();
    Name name{};
    if (ScanName(from, name) != Step::Done) {
        return Step::Stuck;
    }
    text.remove_prefix(static_cast<std::size_t>(from - next));
    if (!text.starts_with(System)) {
        return Step::Stuck;
    }
    text.remove_prefix(System.size());
    const std::size_t length = static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), [](char c) { return Is(c, NameByte) || c == '/'; }) -
        text.begin());
    if (length == 0 || text.substr(length) != "\"") {
        return Step::Stuck;
    }
    hasDocType = true;
    next = end + 1;
    return Step::Done;
}

// At most one colon, and a letter behind it.
XmlScanner::Step XmlScanner::ScanName(const char*& from, Name& name) const {
    name.begin = name.local = from;
    if (Is(*from, NameStart)) {
        do {
            ++from;
        } while (Is(*from, NameByte));
        if (*from == ':' && Is(from[1], NameStart)) {
            name.local = ++from;
            do {
                ++from;
            } while (Is(*from, NameByte));
        }
    }
    name.end = from;
    if (from == limit || (*from == ':' && from + 1 == limit)) {
        return Step::NeedsMore;
    }
    return name.begin == name.end || *from == ':' ? Step::Stuck : Step::Done;
}

XmlScanner::Step XmlScanner::ScanStartTag() {
    const char* from = next + 1;
    Name name{};
    Step step = ScanName(from, name);
    attributes.clear();
    if (step == Step::Done && *from != '>') {
        step = ScanAttributes(from);
    }
    if (step != Step::Done) {
        return step;
    }
    const bool isEmpty = *from == '/';
    if (isEmpty) {
        ++from;
    }
    if (*from != '>') {
        return from == limit ? Step::NeedsMore : Step::Stuck;
    }
    const OpenElement outside{openNames.size(), bindings.size(), defaultUri};
    XmlElement element{name.Whole(), {}, {}, {}};
    if (byNamespace) {
        step = ResolveNames(element, name);
        if (step != Step::Done) {
            return step;
        }
    }
    if (attributes.empty() && !isEmpty && hasRoot) {
        const char* const text = from + 1;
        if (const char* const end = FindPlainEnd(name, text)) {
            next = end + 2 + element.name.size() + 1;
            progress.tags += 2;
            progress.bytes = 0;
            events->TextElement(element, {text, static_cast<std::size_t>(end - text)});
            return Step::Done;
        }
    }
    element.attributes = attributes;
    hasRoot = true;
    open.push_back(outside);
    openNames.append(name.begin, name.end);
    next = from + 1;
    ++progress.tags;
    progress.bytes = 0;
    events->StartElement(element);
    if (isEmpty) {
        HandEnd();
    }
    return Step::Done;
}

// Where the end tag of an element begins that holds nothing but characters to hand out as they are, all of it
// in the buffer; else null. Of the elements of large documents that are most.
const char* XmlScanner::FindPlainEnd(const Name& name, const char* text) const {
    const char* end = SkipPlainText(text, limit);
    while (Is(*end, PlainText)) {
        ++end;
    }
    const auto size = static_cast<std::size_t>(name.end - name.begin);
    const bool isEnd = static_cast<std::size_t>(limit - end) > size + 2 && end[0] == '<' && end[1] == '/' &&
                       end[size + 2] == '>' && AreEqual({end + 2, size}, name.Whole());
    return isEnd ? end : nullptr;
}

// Up to the '>' or '/' of the tag.
XmlScanner::Step XmlScanner::ScanAttributes(const char*& from) {
    resolved.clear();
    hasSpecialName = false;
    while (true) {
        const char* const behind = from;
        from = SkipSpace(from);
        if (*from == '>' || *from == '/') {
            return attributes.size() > 1 && HasDoubles() ? Step::Stuck : Step::Done;
        }
        if (from == limit) {
            return Step::NeedsMore;
        }
        Name name{};
        Step step = from == behind ? Step::Stuck : ScanName(from, name);
        if (step != Step::Done) {
            return step;
        }
        from = SkipSpace(from);
        if (*from != '=') {
            return from == limit ? Step::NeedsMore : Step::Stuck;
        }
        from = SkipSpace(from + 1);
        if (attributes.size() == MostAttributes) {
            return Step::Stuck;
        }
        hasSpecialName = hasSpecialName || name.local != name.begin || *name.begin == 'x';
        XmlAttribute& attribute = attributes.emplace_back();
        attribute.name = name.Whole();
        attribute.localName = byNamespace ? name.Local() : std::string_view();
        step = ScanValue(from, attribute.value);
        if (step != Step::Done) {
            return step;
        }
    }
}

// Also where only the prefixes differ, since these may stand for the same.
bool XmlScanner::HasDoubles() const {
    for (std::size_t i = 1; i < attributes.size(); ++i) {
        const XmlAttribute& attribute = attributes[i];
        for (std::size_t k = 0; k < i; ++k) {
            const XmlAttribute& other = attributes[k];
            const bool isSame = byNamespace ? IsPrefixed(attribute) == IsPrefixed(other) &&
                                                  AreEqual(attribute.localName, other.localName)
                                            : AreEqual(attribute.name, other.name);
            if (isSame) {
                return true;
            }
        }
    }
    return false;
}

XmlScanner::Step XmlScanner::ScanValue(const char*& from, std::string_view& value) {
    const char quote = *from;
    if (quote != '"' && quote != '\'') {
        return from == limit ? Step::NeedsMore : Step::Stuck;
    }
    const char* const begin = ++from;
    while (Is(*from, PlainValue)) {
        ++from;
    }
    if (*from == quote) {
        value = {begin, static_cast<std::size_t>(from - begin)};
        ++from;
        return Step::Done;
    }
    from = begin;
    return ScanValueSlowly(from, quote, value);
}

// A value never grows, so that `resolved` stays where it is while a tag's values are put into it.
XmlScanner::Step XmlScanner::ScanValueSlowly(const char*& from, char quote, std::string_view& value) {
    if (resolved.empty()) {
        resolved.reserve(buffer.size());
    }
    const std::size_t begin = resolved.size();
    while (*from != quote) {
        const char c = *from;
        if (c == '&') {
            const Step step = ScanReference(from, resolved);
            if (step != Step::Done) {
                return step;
            }
        } else if (Is(c, Space)) {
            if (c == '\r' && limit - from < 2) {
                return Step::NeedsMore;
            }
            resolved += ' ';
            from += c == '\r' && from[1] == '\n' ? 2 : 1;
        } else if (static_cast<unsigned char>(c) >= 0x80) {
            const std::string_view rest(from, static_cast<std::size_t>(limit - from));
            const std::size_t length = GetUtf8Length(rest);
            if (length == 0 || IsNoncharacter(rest.substr(0, length))) {
                return rest.size() < 4 ? Step::NeedsMore : Step::Stuck;
            }
            resolved.append(from, length);
            from += length;
        } else if (static_cast<unsigned char>(c) < 0x20 || c == '<') {
            return from == limit ? Step::NeedsMore : Step::Stuck;
        } else {
            resolved += c;
            ++from;
        }
    }
    ++from;
    value = std::string_view(resolved).substr(begin);
    return Step::Done;
}

XmlScanner::Step XmlScanner::ResolveNames(XmlElement& element, const Name& name) {
    element.localName = name.Local();
    if (!attributes.empty() && hasSpecialName) {
        // Declarations hold for the tag in which they stand, too.
        if (!TakeDeclarations()) {
            return Step::Stuck;
        }
        for (XmlAttribute& attribute : attributes) {
            if (IsPrefixed(attribute)) {
                const std::size_t colon = attribute.name.size() - attribute.localName.size() - 1;
                if (!FindUri(attribute.name.substr(0, colon), attribute.uri)) {
                    return Step::Stuck;
                }
            }
        }
    }
    element.uri = defaultUri;
    const std::string_view prefix = name.Prefix();
    const bool isDeclared = prefix.empty() || (prefix != "xml" && FindUri(prefix, element.uri));
    return isDeclared ? Step::Done : Step::Stuck;
}

// Declarations are no attributes.
bool XmlScanner::TakeDeclarations() {
    bool hasAny = false;
    for (const XmlAttribute& attribute : attributes) {
        if (IsDeclaration(attribute)) {
            hasAny = true;
            if (!Bind(IsPrefixed(attribute) ? attribute.localName : "", attribute.value)) {
                return false;
            }
        }
    }
    if (hasAny) {
        std::erase_if(attributes, IsDeclaration);
    }
    return true;
}

bool XmlScanner::Bind(std::string_view prefix, std::string_view uri) {
    const bool isReserved = prefix == "xml" || prefix == "xmlns" || uri == XmlNamespace ||
                            uri == DeclarationNamespace || (uri.empty() && !prefix.empty());
    if (isReserved || bindings.size() == MostBindings) {
        return false;
    }
    const std::string_view kept = *uris.emplace(uri).first;
    if (prefix.empty()) {
        defaultUri = kept;
    } else {
        bindings.push_back({std::string(prefix), kept});
    }
    return true;
}

bool XmlScanner::FindUri(std::string_view prefix, std::string_view& uri) const {
    if (prefix == "xml") {
        uri = XmlNamespace;
        return true;
    }
    const auto found = std::find_if(bindings.rbegin(), bindings.rend(),
                                    [prefix](const Binding& binding) { return binding.prefix == prefix; });
    if (found == bindings.rend()) {
        return false;
    }
    uri = found->uri;
    return true;
}

XmlScanner::Step XmlScanner::ScanEndTag() {
    const std::string_view name = std::string_view(openNames).substr(open.back().nameBegin);
    const char* from = next + 2;
    const auto there = static_cast<std::size_t>(limit - from);
    if (there <= name.size()) {
        return Step::NeedsMore;
    }
    if (!AreEqual({from, name.size()}, name)) {
        return Step::Stuck;
    }
    from = SkipSpace(from + name.size());
    if (*from != '>') {
        return from == limit ? Step::NeedsMore : Step::Stuck;
    }
    next = from + 1;
    HandEnd();
    return Step::Done;
}

XmlScanner::Step XmlScanner::CheckCharacters(std::string_view text) {
    while (!text.empty()) {
        const auto byte = static_cast<unsigned char>(text.front());
        const std::size_t length = byte < 0x80 ? (IsAllowed(byte) ? 1 : 0) : GetUtf8Length(text);
        if (length == 0 || IsNoncharacter(text.substr(0, length))) {
            return Step::Stuck;
        }
        text.remove_prefix(length);
    }
    return Step::Done;
}

XmlScanner::Step XmlScanner::ScanComment() {
    constexpr std::size_t BeginSize = 4;
    const std::string_view rest(next + BeginSize, static_cast<std::size_t>(limit - next) - BeginSize);
    const std::size_t end = rest.find("--");
    if (end == std::string_view::npos || end + 2 == rest.size()) {
        return Step::NeedsMore;
    }
    if (rest[end + 2] != '>' || CheckCharacters(rest.substr(0, end)) != Step::Done) {
        return Step::Stuck;
    }
    next = rest.data() + end + 3;
    events->Interrupt();
    return Step::Done;
}

XmlScanner::Step XmlScanner::ScanInstruction() {
    const char* from = next + 2;
    Name target{};
    const Step step = ScanName(from, target);
    if (step != Step::Done) {
        return step;
    }
    const std::string_view rest(from, static_cast<std::size_t>(limit - from));
    const std::size_t end = rest.find("?>");
    if (end == std::string_view::npos) {
        return Step::NeedsMore;
    }
    if (IsXmlName(target.Whole()) || target.local != target.begin || (end > 0 && !Is(*from, Space)) ||
        CheckCharacters(rest.substr(0, end)) != Step::Done) {
        return Step::Stuck;
    }
    next = from + end + 2;
    events->Interrupt();
    return Step::Done;
}

XmlScanner::Step XmlScanner::ScanCdata() {
    constexpr std::size_t BeginSize = 9;
    const std::string_view rest(next + BeginSize, static_cast<std::size_t>(limit - next) - BeginSize);
    const std::size_t end = rest.find("]]>");
    if (end == std::string_view::npos) {
        return Step::NeedsMore;
    }
    std::string_view text = rest.substr(0, end);
    if (CheckCharacters(text) != Step::Done) {
        return Step::Stuck;
    }
    next = rest.data() + end + 3;
    events->Interrupt();
    while (!text.empty()) {
        const std::size_t lineEnd = text.find('\r');
        if (lineEnd != 0) {
            Hand(text.substr(0, lineEnd));
        }
        text.remove_prefix(std::min(lineEnd, text.size()));
        if (!text.empty()) {
            Hand("\n");
            text.remove_prefix(text.starts_with("\r\n") ? 2 : 1);
        }
    }
    events->Interrupt();
    return Step::Done;
}

void XmlScanner::Hand(std::string_view text) {
    progress.bytes += text.size();
    events->Characters(text);
}

void XmlScanner::HandEnd() {
    openNames.resize(open.back().nameBegin);
    bindings.resize(open.back().bindings);
    defaultUri = open.back().defaultUri;
    open.pop_back();
    ++progress.tags;
    progress.bytes = 0;
    events->EndElement();
}
