#pragma once

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
};
