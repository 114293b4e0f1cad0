#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string_view>

/** How a handler gets the names of elements and attributes. */
enum class XmlNames {
    AsWritten,  /**< as qualified names only, prefixes and all */
    ByNamespace /**< also as namespace and local name; a prefix that isn't declared is a fault */
};

/** An attribute as it stands in a tag, its value with all references and line ends resolved. */
struct XmlAttribute {
    std::string_view name; /**< as written, prefix included */
    std::string_view value;
    std::string_view localName; /**< by namespace only, else empty */
    std::string_view uri;       /**< by namespace only: of its prefix; empty without one */
};

struct XmlElement {
    std::string_view name;      /**< as written, prefix included */
    std::string_view localName; /**< by namespace only, else empty */
    std::string_view uri;       /**< by namespace only; of each there is one copy in a parse */
    std::span<const XmlAttribute> attributes;
};

/** Ends a parse where a handler has seen enough, or what it doesn't take; the parse then has failed. */
class XmlEnd : public std::exception {
public:
    /** `reason` is a literal. */
    explicit XmlEnd(const char* reason) : text(reason) {}
    const char* what() const noexcept override { return text; }

private:
    const char* text;
};

/**
 * Gets a document as it streams by, whoever parses it. All texts are UTF-8 and valid during the call only,
 * but for the addresses of namespaces, which last as long as the parse.
 */
class XmlEvents {
public:
    /** How much of a document was taken as it stands. */
    struct Taken {
        std::size_t bytes = 0;
        std::uint64_t tags = 0; /**< the beginnings and ends of elements in them; an empty one has both */
    };

    virtual ~XmlEvents() = default;
    virtual void StartElement(const XmlElement& element) = 0;
    virtual void EndElement() = 0;
    /** Of one text there may be many pieces. */
    virtual void Characters(std::string_view text) = 0;
    /** A comment, a processing instruction, the beginning or the end of a CDATA section. */
    virtual void Interrupt() {}
    /**
     * An element without attributes that holds nothing but one text, all at once: the same as its beginning,
     * its text, unless that is empty, and its end.
     */
    virtual void TextElement(const XmlElement& element, std::string_view text) {
        StartElement(element);
        if (!text.empty()) {
            Characters(text);
        }
        EndElement();
    }

    /**
     * Whether the handler, inside the element that is open, takes some kinds of elements as they stand in the
     * document, which is faster than their events. A parser may ask it to, or hand out the events.
     */
    bool TakesRaw() const { return takesRaw; }
    /**
     * The UTF-8 from the beginning of a tag on, as far as it is at hand: the handler takes whole elements
     * from the front, in the default namespace of the open element, or none. It takes them only where they
     * are well-formed, and does then what it would have done with their events. Where the open element has
     * `noDeclarations`, it may also take its end together with the beginning of another one of the same name.
     */
    virtual Taken TakeRaw(std::string_view /*document*/, bool /*noDeclarations*/) { return {}; }

protected:
    void SetTakesRaw(bool takes) { takesRaw = takes; }

private:
    bool takesRaw = false;
};
