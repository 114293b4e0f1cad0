#include "archive/XmlPlatform.h"

#include <algorithm>
#include <istream>
#include <memory>
#include <new>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PanicHandler.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "archive/IStreamInputSource.h"

using xercesc::XMLString;
using xercesc::XMLUni;

namespace {

// Names are ASCII; a system identifier with other characters holds none of them there.
bool Contains(const XMLCh* text, std::string_view name) {
    const XMLCh* const end = text + XMLString::stringLen(text);
    return std::search(text, end, name.begin(), name.end(), [](XMLCh left, char right) {
               return left == static_cast<unsigned char>(right);
           }) != end;
}

// Tells the handler of what the library's own reader keeps to itself.
class BoundedSaxReader : public xercesc::SAX2XMLReaderImpl {
public:
    explicit BoundedSaxReader(const XmlHandler& target) : handler(target) {}

    void startAttList(const xercesc::DTDElementDecl& element) override {
        handler.StartAttributeDeclarations();
        SAX2XMLReaderImpl::startAttList(element);
    }

private:
    const XmlHandler& handler;
};

void Spend(std::size_t& left, std::size_t amount) {
    if (amount > left) {
        throw xercesc::SAXException("the document type declares too much");
    }
    left -= amount;
}

// The library's own ends the process.
class ThrowingPanicHandler : public xercesc::PanicHandler {
public:
    void panic(PanicReasons /*reason*/) override { throw std::bad_alloc(); }
};

/**
 * Keeps the library running from its first use to the process's end: its own count of starts and ends isn't
 * safe between threads, and starting it takes thousands of allocations and survives none of them failing, so
 * that a start that failed can be neither undone nor repeated.
 */
class XmlLibrary {
public:
    XmlLibrary() {
        try {
            xercesc::XMLPlatformUtils::Initialize(xercesc::XMLUni::fgXercescDefaultLocale, nullptr,
                                                  &panicHandler);
            running = true;
        } catch (...) {
            running = false;
        }
    }
    XmlLibrary(const XmlLibrary&) = delete;
    XmlLibrary& operator=(const XmlLibrary&) = delete;
    ~XmlLibrary() {
        if (running) {
            xercesc::XMLPlatformUtils::Terminate();
        }
    }

    bool IsRunning() const { return running; }

private:
    ThrowingPanicHandler panicHandler;
    bool running = false;
};

}  // namespace

XmlPlatform::XmlPlatform() {
    static const XmlLibrary library;
    if (!library.IsRunning()) {
        throw std::bad_alloc();
    }
}

xercesc::InputSource* ClosedEntityResolver::resolveEntity(const XMLCh* /*publicId*/, const XMLCh* systemId) {
    for (const KnownText& known : texts) {
        if (systemId != nullptr && Contains(systemId, known.name)) {
            return new xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(known.text.data()),
                                                  known.text.size(), known.name);
        }
    }
    return new xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(""), 0, systemId);
}

void XmlDeclarationBudget::AddEntity(const XMLCh* value, bool isParameterEntity) {
    const std::size_t length = XMLString::stringLen(value);
    Spend(entityTextLeft, length);
    const bool usesOthers = length > 0 && XMLString::indexOf(value, isParameterEntity ? u'%' : u'&') >= 0;
    const bool mayGrow = usesOthers || length > MaxParameterEntityText;
    if (isParameterEntity && mayGrow) {
        throw xercesc::SAXException("the document type declares a parameter entity that is too large");
    }
    entitiesMayGrow = entitiesMayGrow || mayGrow;
}

// Only an entity that was declared before can be used here.
void XmlDeclarationBudget::StartAttributes() const {
    if (entitiesMayGrow) {
        throw xercesc::SAXException(
            "the document type declares attributes behind an entity that is too large");
    }
}

void XmlDeclarationBudget::AddAttribute(const XMLCh* defaultValue) {
    Spend(attributesLeft, 1);
    Spend(defaultTextLeft, XMLString::stringLen(defaultValue));
}

xercesc::InputSource* XmlHandler::resolveEntity(const XMLCh* publicId, const XMLCh* systemId) {
    return resolver.resolveEntity(publicId, systemId);
}

void XmlHandler::internalEntityDecl(const XMLCh* name, const XMLCh* value) {
    // The library marks the names of parameter entities so.
    budget.AddEntity(value, name[0] == u'%');
}

void XmlHandler::attributeDecl(const XMLCh* /*element*/, const XMLCh* /*attribute*/, const XMLCh* /*type*/,
                               const XMLCh* /*mode*/, const XMLCh* value) {
    budget.AddAttribute(value);
}

bool ParseXml(std::istream& stream, XmlHandler& handler, XmlNames names) {
    xercesc::SecurityManager limits;
    limits.setEntityExpansionLimit(XmlDeclarationBudget::MaxEntityExpansions);
    const IStreamInputSource source(stream);
    try {
        BoundedSaxReader reader(handler);
        // The scanner that knows DTDs, and so entities, but no schemas.
        reader.setProperty(XMLUni::fgXercesScannerName, const_cast<XMLCh*>(XMLUni::fgDGXMLScanner));
        reader.setProperty(XMLUni::fgXercesSecurityManager, &limits);
        reader.setFeature(XMLUni::fgSAX2CoreNameSpaces, names == XmlNames::ByNamespace);
        reader.setFeature(XMLUni::fgSAX2CoreValidation, false);
        reader.setFeature(XMLUni::fgXercesLoadExternalDTD, false);
        reader.setContentHandler(&handler);
        reader.setErrorHandler(&handler);
        reader.setEntityResolver(&handler);
        reader.setLexicalHandler(&handler);
        reader.setDeclarationHandler(&handler);
        reader.parse(source);
    } catch (const xercesc::SAXException&) {
        return false;
    } catch (const xercesc::XMLException&) {
        return false;
    } catch (const xercesc::OutOfMemoryException&) {
        return false;
    }
    return !stream.bad();
}

BoundedDomParser::BoundedDomParser(xercesc::EntityResolver* entityResolver, std::size_t attributes)
    : budget(attributes) {
    limits.setEntityExpansionLimit(XmlDeclarationBudget::MaxEntityExpansions);
    setSecurityManager(&limits);
    setEntityResolver(entityResolver != nullptr ? entityResolver : &closedResolver);
    setErrorHandler(&throwingHandler);
    setLoadSchema(false);
    setCreateEntityReferenceNodes(false);
}

BoundedDomParser::~BoundedDomParser() = default;

void BoundedDomParser::entityDecl(const xercesc::DTDEntityDecl& declaration, bool isParameterEntity,
                                  bool isIgnored) {
    budget.AddEntity(declaration.getValue(), isParameterEntity);
    XercesDOMParser::entityDecl(declaration, isParameterEntity, isIgnored);
}

void BoundedDomParser::startAttList(const xercesc::DTDElementDecl& element) {
    budget.StartAttributes();
    XercesDOMParser::startAttList(element);
}

void BoundedDomParser::attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute,
                              bool isIgnored) {
    budget.AddAttribute(attribute.getValue());
    XercesDOMParser::attDef(element, attribute, isIgnored);
}
