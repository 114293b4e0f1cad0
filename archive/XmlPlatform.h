#pragma once

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <string_view>
#include <vector>

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XercesDefs.hpp>

#include "archive/XmlEvents.h"

// XML out of files that nobody vouches for, read with Xerces-C. Whatever a document says, nothing outside
// it is ever opened: no DTD, no entity, no schema, no address. What a document's own DTD declares is held
// within bounds, so that a small file can't grow into a large one.

/**
 * Says that the XML library is wanted: the first one of the process starts it, and from then on it runs to
 * the process's end. Any thread may make one. The constructor raises bad_alloc when the library can't be
 * started, and from then on always.
 */
class XmlPlatform {
public:
    XmlPlatform();
    XmlPlatform(const XmlPlatform&) = delete;
    XmlPlatform& operator=(const XmlPlatform&) = delete;
};

/**
 * Hands out texts that the program holds itself, and an empty text for everything else. A text is meant
 * when its name occurs anywhere in the system identifier; the first that fits is taken.
 */
class ClosedEntityResolver : public xercesc::EntityResolver {
public:
    /** Both are literals: they are not copied. The text is then known to the parser by this name. */
    struct KnownText {
        const char* name;
        std::string_view text;
    };

    ClosedEntityResolver() = default;
    ClosedEntityResolver(std::initializer_list<KnownText> knownTexts) : texts(knownTexts) {}
    xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* systemId) override;

private:
    std::vector<KnownText> texts;
};

/** Adds up what a document's DTD declares and raises SAXException when it is more than any real one has. */
class XmlDeclarationBudget {
public:
    /** The entities' texts together, in characters. */
    static constexpr std::size_t MaxEntityText = 8192;
    /** How often entities may be used in one document, those inside others included. */
    static constexpr std::size_t MaxEntityExpansions = 1000;
    /**
     * What may be used without end has to be short and must not use others: a parameter entity, and any
     * entity once attributes are declared, since the uses in their default values aren't counted.
     */
    static constexpr std::size_t MaxParameterEntityText = 256;
    /** Every element is looked through for all attributes that are declared for it. */
    static constexpr std::size_t MaxAttributes = 64;
    static constexpr std::size_t MaxDefaultText = 256;

    /** `attributes` is for documents whose DTD the program itself brings along. */
    explicit XmlDeclarationBudget(std::size_t attributes = MaxAttributes) : attributesLeft(attributes) {}

    /** `value` may be null, as it is for external ones. */
    void AddEntity(const XMLCh* value, bool isParameterEntity);
    /** To be called before the declarations of an element's attributes are looked at. */
    void StartAttributes() const;
    void AddAttribute(const XMLCh* defaultValue);

private:
    bool entitiesMayGrow = false;
    std::size_t entityTextLeft = MaxEntityText;
    std::size_t attributesLeft;
    std::size_t defaultTextLeft = MaxDefaultText;
};

/**
 * The base of handlers for ParseXml. Derived classes override startElement, endElement, characters and
 * so on; an exception raised in them ends the parse.
 */
class XmlHandler : public xercesc::DefaultHandler {
public:
    xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* systemId) override;
    void internalEntityDecl(const XMLCh* name, const XMLCh* value) override;
    void attributeDecl(const XMLCh* element, const XMLCh* attribute, const XMLCh* type, const XMLCh* mode,
                       const XMLCh* value) override;
    /** ParseXml calls it before the attributes that are declared together. */
    void StartAttributeDeclarations() const { budget.StartAttributes(); }

private:
    ClosedEntityResolver resolver;
    XmlDeclarationBudget budget;
};

/**
 * Parses a document in one go. False when it isn't well-formed, goes beyond the bounds, or when the stream
 * failed; the handler has then seen the part before. Wants an XmlPlatform; raises nothing but what the
 * handler or the stream's buffer raises as a std::exception that isn't std::ios_base::failure.
 */
bool ParseXml(std::istream& stream, XmlHandler& handler, XmlNames names = XmlNames::AsWritten);

/**
 * A DOM parser that opens nothing and keeps a document's declarations within bounds. Entities are
 * resolved as `entityResolver` says, which stays the caller's; null hands out empty texts. Failures are
 * exceptions (SAXException, XMLException), unless an error handler is set that lets them pass.
 */
class BoundedDomParser : public xercesc::XercesDOMParser {
public:
    explicit BoundedDomParser(xercesc::EntityResolver* entityResolver = nullptr,
                              std::size_t attributes = XmlDeclarationBudget::MaxAttributes);
    ~BoundedDomParser() override;

    void entityDecl(const xercesc::DTDEntityDecl& declaration, bool isParameterEntity,
                    bool isIgnored) override;
    void startAttList(const xercesc::DTDElementDecl& element) override;
    void attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute,
                bool isIgnored) override;

private:
    xercesc::SecurityManager limits;
    ClosedEntityResolver closedResolver;
    xercesc::DefaultHandler throwingHandler;
    XmlDeclarationBudget budget;
};
