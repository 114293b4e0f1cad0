#pragma once

#include <cstddef>
#include <cstdint>
#include <streambuf>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "archive/XmlEvents.h"

/**
 * A fast way through the documents that programs write: UTF-8, without declarations, names in ASCII. It
 * knows what is well-formed only as far as it goes and never decides that a document is not: where it meets
 * anything else than it knows, be it a fault or a rarity, it stops and says so, and a whole parser has to
 * decide. Everything that it handed out before is what that parser hands out too.
 */
class XmlScanner {
public:
    enum class Result {
        WellFormed, /**< to its end */
        Undecided,  /**< all that was handed out is right, but another parser has to go on */
        Damaged     /**< the stream failed */
    };

    /** How much was handed out: what another parser is to leave out. */
    struct Progress {
        std::uint64_t tags = 0;  /**< beginnings and ends of elements */
        std::uint64_t bytes = 0; /**< of text since the last of them */
    };

    /** How many bytes it looks at in one piece, unless a tag or a comment is longer. */
    static constexpr std::size_t PieceSize = std::size_t{1} << 16;

    explicit XmlScanner(XmlNames namesWanted, std::size_t pieceSize = PieceSize)
        : byNamespace(namesWanted == XmlNames::ByNamespace), buffer(pieceSize + 1) {}

    /**
     * What the handler or the stream's buffer raises comes through, but for std::ios_base::failure. A scanner
     * scans once.
     */
    Result Scan(std::streambuf& stream, XmlEvents& handler);
    const Progress& GetProgress() const { return progress; }

private:
    /** How far a step came. */
    enum class Step {
        Done,
        NeedsMore, /**< its token isn't in the buffer to its end */
        Stuck      /**< the document is another parser's */
    };
    struct Name {
        const char* begin;
        const char* end;
        const char* local; /**< behind the colon, or the beginning */
        std::string_view Whole() const { return {begin, static_cast<std::size_t>(end - begin)}; }
        std::string_view Local() const { return {local, static_cast<std::size_t>(end - local)}; }
        std::string_view Prefix() const {
            return local == begin ? std::string_view()
                                  : std::string_view(begin, static_cast<std::size_t>(local - begin - 1));
        }
    };
    struct OpenElement {
        std::size_t nameBegin; /**< in openNames */
        std::size_t bindings;  /**< how many there were outside of it */
        std::string_view defaultUri;
    };
    struct Binding {
        std::string prefix;
        std::string_view uri;
    };

    bool Fill();
    Step ScanDocument();
    Step Repeat(Step (XmlScanner::*step)());
    Step ScanDeclaration();
    Step ScanNext();
    Step ScanText();
    Step ScanReference(const char*& from, std::string& text) const;
    bool HandRaw();
    Step ScanMarkup();
    Step ScanStartTag();
    const char* FindPlainEnd(const Name& name, const char* text) const;
    Step ScanEndTag();
    Step ScanDocType();
    Step ScanComment();
    Step ScanInstruction();
    Step ScanCdata();

    Step ScanName(const char*& from, Name& name) const;
    Step ScanAttributes(const char*& from);
    Step ScanValue(const char*& from, std::string_view& value);
    Step ScanValueSlowly(const char*& from, char quote, std::string_view& value);
    Step ResolveNames(XmlElement& element, const Name& name);
    bool TakeDeclarations();
    bool Bind(std::string_view prefix, std::string_view uri);
    bool FindUri(std::string_view prefix, std::string_view& uri) const;
    bool HasDoubles() const;
    static Step CheckCharacters(std::string_view text);

    void Hand(std::string_view text);
    void HandEnd();

    bool byNamespace;
    std::streambuf* source = nullptr;
    XmlEvents* events = nullptr;
    Progress progress;
    bool isAtEnd = false;   // of the stream
    bool isFailed = false;  // the stream
    bool hasRoot = false;   // one was begun
    bool hasDocType = false;

    std::vector<char> buffer;
    const char* next = nullptr;   // what isn't scanned yet
    const char* limit = nullptr;  // a NUL stands there

    std::vector<OpenElement> open;
    std::string openNames;
    std::string_view defaultUri;
    std::vector<Binding> bindings;
    std::unordered_set<std::string> uris;

    std::vector<XmlAttribute> attributes;
    bool hasSpecialName = false;  // one of them has a prefix, or may be a declaration
    std::string resolved;         // values of the present tag that aren't in the buffer as they are
};
