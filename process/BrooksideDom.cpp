#include "process/BrooksideDom.h"

#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>

#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/TransService.hpp>

#include "base/Exception.h"
#include "base/FileHandle.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/Unicode.h"
#include "host/NvString.h"

namespace {

// Our own grammar declares some fifty; documents that carry theirs with them may declare a few more.
constexpr std::size_t MaxAttributes = 256;

// The library looks through an element's attributes for each new one; the longest list here has fourteen.
constexpr XMLSize_t MaxAttributesOfElement = 1000;

constexpr const char* RawDataName = "RawData";

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

bool HasName(const xercesc::DOMNode* node, const char* name) {
    return EqualIgnoringCase(ToUtf8(node->getNodeName()), name);
}

bool CanBeFound(const xercesc::DOMNode* node) {
    return node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE ||
           node->getNodeType() == xercesc::DOMNode::CDATA_SECTION_NODE;
}

std::string GetTrimmedAttribute(const xercesc::DOMNode* node, const char* name) {
    return std::string(TrimSpace(GetTextAttribute(node, name)));
}

}  // namespace

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
    } else if (EqualIgnoringCase(ToUtf8(declaration.getFullName()), RawDataName)) {
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
    if (!isCData || extent == AllText) {
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
    if (highSurrogate != 0 && !units.empty()) {
        const char16_t pair[] = {highSurrogate, units.front()};
        AppendUtf8(run->text, {pair, std::size(pair)});
        units.remove_prefix(1);
        highSurrogate = 0;
    }
    if (!units.empty() && IsHighSurrogate(units.back())) {
        highSurrogate = units.back();
        units.remove_suffix(1);
    }
    AppendUtf8(run->text, units);
}

// What stands between texts ends the first run; where all text counts it doesn't.
void BrooksideDomParser::Interrupt() {
    if (extent == FirstRun) {
        EndRun();
    }
}

// Only a run that began can end.
void BrooksideDomParser::EndRun() {
    if (run == nullptr) {
        return;
    }
    const std::size_t mark = run->text.find(EndMark);
    run->hasMark = mark != std::string::npos;
    if (run->hasMark) {
        run->text.resize(mark);
    }
    run = nullptr;
    runEnded = true;
    highSurrogate = 0;
}

void StrictErrorHandler::error(const xercesc::SAXParseException& exception) {
    throw xercesc::SAXParseException(exception);
}

void ParseFile(xercesc::XercesDOMParser& parser, const char* path) {
    parser.parse(FileInputSource(path));
}

const xercesc::DOMNode* FindNode(const xercesc::DOMNode* start, const char* name) {
    while (start != nullptr && !(CanBeFound(start) && HasName(start, name))) {
        start = start->getNextSibling();
    }
    return start;
}

const xercesc::DOMNode* FindRequiredNode(const xercesc::DOMNode* start, const char* name) {
    const xercesc::DOMNode* node = FindNode(start, name);
    if (node == nullptr) {
        throw Exception(std::string("XML node '") + name + "' not found");
    }
    return node;
}

bool FindAttribute(const xercesc::DOMNode* node, const char* name, std::string& value) {
    const xercesc::DOMNamedNodeMap* attributes = node->getAttributes();
    const XMLSize_t count = attributes == nullptr ? 0 : attributes->getLength();
    for (XMLSize_t i = 0; i < count; ++i) {
        const xercesc::DOMNode* attribute = attributes->item(i);
        if (HasName(attribute, name)) {
            value = ToUtf8(attribute->getNodeValue());
            return true;
        }
    }
    return false;
}

std::string GetTextAttribute(const xercesc::DOMNode* node, const char* name) {
    std::string value;
    if (!FindAttribute(node, name, value)) {
        throw Exception(std::string("The attribute '") + name + "' could not be found.");
    }
    return value;
}

float GetFloatAttribute(const xercesc::DOMNode* node, const char* name) {
    const std::string text = GetTrimmedAttribute(node, name);
    char* end = nullptr;
    const double value = NvString::nvstrtod(text.c_str(), &end);
    if (text.empty() || *end != '\0') {
        throw Exception(std::string("Expected a floating point value for '") + name + "', found '" + text +
                        "'");
    }
    return static_cast<float>(value);
}

int GetIntAttribute(const xercesc::DOMNode* node, const char* name) {
    const std::string text = GetTrimmedAttribute(node, name);
    int value = 0;
    if (text.empty() || ParseInt(text, value) != text.size()) {
        throw Exception(std::string("Expected an integer value for '") + name + "', found '" + text + "'");
    }
    return value;
}

bool GetBoolAttribute(const xercesc::DOMNode* node, const char* name) {
    const std::string text = GetTrimmedAttribute(node, name);
    const bool value = EqualIgnoringCase(text, "true");
    if (!value && !EqualIgnoringCase(text, "false")) {
        throw Exception(std::string("Expected true of false for '") + name + "', found '" + text + "'");
    }
    return value;
}
