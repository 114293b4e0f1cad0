#include "process/BrooksideLibraryParse.h"

#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLException.hpp>

#include "archive/XmlPlatform.h"
#include "base/FileHandle.h"
#include "base/Unicode.h"
#include "process/BrooksideGrammar.h"
#include "process/BrooksideParseFailure.h"

namespace {

// Our own grammar declares some fifty; documents that carry theirs with them may declare a few more.
constexpr std::size_t MaxAttributes = 256;

// The library looks through an element's attributes for each new one; the longest list here has fourteen.
constexpr XMLSize_t MaxAttributesOfElement = 1000;

class FileBytes : public xercesc::BinInputStream {
public:
    explicit FileBytes(FileHandle opened) : file(std::move(opened)) {}

    XMLFilePos curPos() const override { return position; }
    const XMLCh* getContentType() const override { return nullptr; }
    XMLSize_t readBytes(XMLByte* buffer, XMLSize_t size) override {
        const std::size_t count = file.Read(reinterpret_cast<char*>(buffer), size);
        position += count;
        return count;
    }

private:
    FileHandle file;
    XMLFilePos position = 0;
};

// The library's own source of files takes their names in the process's locale.
class FileInputSource : public xercesc::InputSource {
public:
    explicit FileInputSource(const char* filePath)
        : InputSource(xercesc::TranscodeFromStr(reinterpret_cast<const XMLByte*>(filePath),
                                                std::strlen(filePath), "UTF-8")
                          .str()),
          path(filePath) {}

    // Null where the file can't be opened; the library then says so.
    xercesc::BinInputStream* makeStream() const override {
        FileHandle file(path.c_str());
        return file.IsOpen() ? new FileBytes(std::move(file)) : nullptr;
    }

private:
    std::string path;
};

/**
 * Parses an XML process log into a DOM without texts: elements and attributes are all that is asked of it.
 * The raw data, nearly all of such a document, go straight into texts of their own, since in the DOM they
 * would stand twice as large and several times over.
 *
 * By the classic rule the first run of text of a RawData element counts; a comment, an instruction, a CDATA
 * section or an element ends it, an entity doesn't. In the complete reading all text and CDATA of it does.
 */
class BrooksideDomParser : public BoundedDomParser {
public:
    explicit BrooksideDomParser(xercesc::EntityResolver* entityResolver = nullptr,
                                RawTextExtent rawTextExtent = RawTextExtent::FirstRun);

    /** By the element; an element without a text isn't there. Valid until the parser is gone. */
    std::map<const xercesc::DOMNode*, RawDataText>& GetRawData() { return rawData; }

    void startElement(const xercesc::XMLElementDecl& declaration, unsigned int urlId, const XMLCh* prefix,
                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t attributeCount,
                      bool isEmpty, bool isRoot) override;
    void endElement(const xercesc::XMLElementDecl& declaration, unsigned int urlId, bool isRoot,
                    const XMLCh* prefix) override;
    void docCharacters(const XMLCh* text, XMLSize_t length, bool isCData) override;
    void ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool isCData) override;
    void docComment(const XMLCh* comment) override;
    void docPI(const XMLCh* target, const XMLCh* data) override;

private:
    void Interrupt();
    void EndRun();
    void AddText(const XMLCh* text, XMLSize_t length);

    RawTextExtent extent;
    std::map<const xercesc::DOMNode*, RawDataText> rawData;
    const xercesc::DOMNode* rawElement = nullptr;  // the RawData element that is open
    int depth = 0;                                 // of open elements from it on
    RawDataText* run = nullptr;                    // its text, once that began
    bool runEnded = false;
    XMLCh highSurrogate = 0;  // first half of a character whose second half is in the next piece
    std::string utf8;         // of the piece at hand
};

/** Errors of validity end the parse as those of form do. */
class StrictErrorHandler : public xercesc::DefaultHandler {
public:
    void error(const xercesc::SAXParseException& exception) override;
};

BrooksideDomParser::BrooksideDomParser(xercesc::EntityResolver* entityResolver, RawTextExtent rawTextExtent)
    : BoundedDomParser(entityResolver, MaxAttributes), extent(rawTextExtent) {}

void BrooksideDomParser::startElement(const xercesc::XMLElementDecl& declaration, unsigned int urlId,
                                      const XMLCh* prefix,
                                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                      XMLSize_t attributeCount, bool isEmpty, bool isRoot) {
    if (attributeCount > MaxAttributesOfElement) {
        throw xercesc::SAXException("an element has too many attributes");
    }
    if (depth > 0) {
        Interrupt();
        ++depth;
    } else if (BrooksideTree::IsRawData(ToUtf8(declaration.getFullName()))) {
        depth = 1;
        runEnded = false;
    }
    // An empty element ends within this call.
    const bool opens = depth == 1 && !isEmpty;
    BoundedDomParser::startElement(declaration, urlId, prefix, attributes, attributeCount, isEmpty, isRoot);
    if (opens) {
        rawElement = getCurrentNode();
    }
}

void BrooksideDomParser::endElement(const xercesc::XMLElementDecl& declaration, unsigned int urlId,
                                    bool isRoot, const XMLCh* prefix) {
    BoundedDomParser::endElement(declaration, urlId, isRoot, prefix);
    if (depth == 0) {
        return;
    }
    --depth;
    if (depth == 0) {
        EndRun();
        rawElement = nullptr;
    }
}

void BrooksideDomParser::docCharacters(const XMLCh* text, XMLSize_t length, bool isCData) {
    if (isCData) {
        Interrupt();
    }
    if (!isCData || extent == RawTextExtent::AllText) {
        AddText(text, length);
    }
}

void BrooksideDomParser::ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool /*isCData*/) {
    AddText(text, length);
}

void BrooksideDomParser::docComment(const XMLCh* /*comment*/) {
    Interrupt();
}

void BrooksideDomParser::docPI(const XMLCh* /*target*/, const XMLCh* /*data*/) {
    Interrupt();
}

// The parser may part a text anywhere, between the two halves of a character too.
void BrooksideDomParser::AddText(const XMLCh* text, XMLSize_t length) {
    if (depth != 1 || runEnded || rawElement == nullptr) {
        return;
    }
    if (run == nullptr) {
        run = &rawData[rawElement];
    }
    std::u16string_view units(text, length);
    utf8.clear();
    if (highSurrogate != 0 && !units.empty()) {
        const char16_t pair[] = {highSurrogate, units.front()};
        AppendUtf8(utf8, {pair, std::size(pair)});
        units.remove_prefix(1);
        highSurrogate = 0;
    }
    if (!units.empty() && IsHighSurrogate(units.back())) {
        highSurrogate = units.back();
        units.remove_suffix(1);
    }
    AppendUtf8(utf8, units);
    run->Append(utf8);
}

// What stands between texts ends the first run; where all text counts it doesn't.
void BrooksideDomParser::Interrupt() {
    if (extent == RawTextExtent::FirstRun) {
        EndRun();
    }
}

// Only a run that began can end.
void BrooksideDomParser::EndRun() {
    if (run == nullptr) {
        return;
    }
    run = nullptr;
    runEnded = true;
    highSurrogate = 0;
}

void StrictErrorHandler::error(const xercesc::SAXParseException& exception) {
    throw xercesc::SAXParseException(exception);
}

void ParseDocument(xercesc::XercesDOMParser& parser, const BrooksideDocument& document) {
    if (document.path != nullptr) {
        parser.parse(FileInputSource(document.path));
    } else {
        parser.parse(xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(document.text),
                                                std::strlen(document.text), document.id));
    }
}

// A DOM keeps attributes in the order of their names.
std::vector<BrooksideElement::Attribute> ListAttributes(const xercesc::DOMNode* node) {
    std::vector<BrooksideElement::Attribute> attributes;
    const xercesc::DOMNamedNodeMap* const map = node->getAttributes();
    const XMLSize_t count = map == nullptr ? 0 : map->getLength();
    for (XMLSize_t i = 0; i < count; ++i) {
        attributes.push_back({ToUtf8(map->item(i)->getNodeName()), ToUtf8(map->item(i)->getNodeValue())});
    }
    return attributes;
}

// Goes through the nodes without calling itself: documents may be as deep as they are long.
BrooksideTree MakeTree(BrooksideDomParser& parser) {
    BrooksideTree tree;
    const xercesc::DOMNode* const document = parser.getDocument();
    const xercesc::DOMNode* node = document->getFirstChild();
    while (node != nullptr) {
        const bool isElement = node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE;
        const std::string name = isElement ? ToUtf8(node->getNodeName()) : std::string();
        if (isElement && BrooksideTree::IsAskedFor(name)) {
            BrooksideElement& element = tree.Begin(name, ListAttributes(node));
            const auto text = parser.GetRawData().find(node);
            if (text != parser.GetRawData().end()) {
                element.hasText = true;
                element.raw = std::move(text->second);
            }
            if (node->getFirstChild() != nullptr) {
                node = node->getFirstChild();
                continue;
            }
            tree.End();
        }
        while (node != document && node->getNextSibling() == nullptr) {
            node = node->getParentNode();
            if (node != document) {
                tree.End();
            }
        }
        node = node == document ? nullptr : node->getNextSibling();
    }
    return tree;
}

}  // namespace

void karta_xml_parse_brookside(const BrooksideDocument& document, RawTextExtent extent, BrooksideTree& tree) {
    const XmlPlatform running;
    try {
        BrooksideDomParser parser(nullptr, extent);
        StrictErrorHandler errorHandler;
        parser.setValidationScheme(xercesc::XercesDOMParser::Val_Never);
        parser.setErrorHandler(&errorHandler);
        parser.setLoadExternalDTD(false);
        ParseDocument(parser, document);
        tree = MakeTree(parser);
    } catch (const xercesc::SAXException& exception) {
        throw BrooksideParseFailure(BrooksideParseFailure::Document, ToUtf8(exception.getMessage()));
    } catch (const xercesc::XMLException& exception) {
        throw BrooksideParseFailure(BrooksideParseFailure::Library, ToUtf8(exception.getMessage()));
    } catch (const xercesc::DOMException&) {
        throw BrooksideParseFailure(BrooksideParseFailure::Tree, {});
    }
}

bool karta_xml_is_valid_brookside(const char* path) {
    const XmlPlatform running;
    try {
        // The three texts of the grammar, wherever a document says that they lie, and nothing else.
        ClosedEntityResolver resolver(
            {{"FDCRequest.dtd", FDCRequestGrammar}, {"FDC.dtd", FDCGrammar}, {"base.dtd", BaseGrammar}});
        BrooksideDomParser parser(&resolver);
        StrictErrorHandler errorHandler;
        parser.setValidationScheme(xercesc::XercesDOMParser::Val_Always);
        parser.setValidationConstraintFatal(true);
        parser.setErrorHandler(&errorHandler);
        ParseDocument(parser, {path, "", ""});
    } catch (...) {
        return false;
    }
    return true;
}
