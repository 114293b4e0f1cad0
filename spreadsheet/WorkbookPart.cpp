#include "spreadsheet/WorkbookPart.h"

#include <utility>

#include <xercesc/sax/SAXException.hpp>

#include "base/Unicode.h"
#include "host/NvString.h"

namespace {

constexpr std::size_t LongestProperty = 4096;

}  // namespace

std::u16string_view GetAttributeValue(const xercesc::Attributes& attributes, std::u16string_view name) {
    const XMLSize_t count = attributes.getLength();
    for (XMLSize_t i = 0; i < count; ++i) {
        if (attributes.getQName(i) == name) {
            return attributes.getValue(i);
        }
    }
    return {};
}

int ToInt(std::u16string_view text) {
    int value = 0;
    NvString::ToInt(ToUtf8(text), value);
    return value;
}

void NodeHandler::startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                               const xercesc::Attributes& attributes) {
    if (++depth > MaxDepth) {
        throw xercesc::SAXException("the elements are nested too deep");
    }
    const std::u16string_view known = GetName(uri, localName, name);
    if (nodeDepth > 0) {
        collecting = false;
        StartElement(depth - nodeDepth, known, attributes);
    } else if (!found && depth <= 2 && known == wanted) {
        found = true;
        nodeDepth = depth;
        FoundNode(attributes);
    }
}

// The library has one copy of each namespace, so that nearly always the places alone tell.
std::u16string_view NodeHandler::GetName(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) {
    if (form == XmlForm::Literal) {
        return name;
    }
    if (depth == 1) {
        rootNamespace = uri;
        sameNamespace = uri;
    }
    if (uri == sameNamespace) {
        return localName;
    }
    return rootNamespace == uri ? localName : std::u16string_view();
}

void NodeHandler::endElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* /*name*/) {
    if (depth == nodeDepth) {
        nodeDepth = 0;
    } else if (nodeDepth > 0) {
        EndElement(depth - nodeDepth);
    }
    --depth;
}

void NodeHandler::characters(const XMLCh* chars, XMLSize_t length) {
    if (collecting) {
        text.append(chars, length);
    }
}

void NodeHandler::comment(const XMLCh* /*chars*/, XMLSize_t /*length*/) {
    InterruptText();
}

void NodeHandler::processingInstruction(const XMLCh* /*target*/, const XMLCh* /*data*/) {
    InterruptText();
}

void NodeHandler::startCDATA() {
    InterruptText();
}

void NodeHandler::endCDATA() {
    InterruptText();
}

void NodeHandler::BeginText() {
    collecting = true;
    text.clear();
}

std::u16string_view NodeHandler::EndText() {
    collecting = false;
    return text;
}

// What comes before the text doesn't matter.
void NodeHandler::InterruptText() {
    collecting = collecting && (form == XmlForm::Full || text.empty());
}

ChildAttributesHandler::ChildAttributesHandler(XmlForm partForm, std::u16string_view nodeName,
                                               std::u16string_view childName,
                                               std::vector<std::u16string_view> attributeNames, Take taker)
    : NodeHandler(partForm, nodeName),
      child(childName),
      names(std::move(attributeNames)),
      values(names.size()),
      take(std::move(taker)) {}

void ChildAttributesHandler::StartElement(int level, std::u16string_view name,
                                          const xercesc::Attributes& attributes) {
    if (level != 1 || (!child.empty() && name != child)) {
        return;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        values[i].clear();
        AppendUtf8(values[i], GetValue(attributes, names[i]));
    }
    take(values);
}

std::u16string_view ChildAttributesHandler::GetValue(const xercesc::Attributes& attributes,
                                                     std::u16string_view name) const {
    if (GetForm() == XmlForm::Literal || name != u"r:id") {
        return GetAttributeValue(attributes, name);
    }
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
        const std::u16string_view uri = attributes.getURI(i);
        if (attributes.getLocalName(i) == std::u16string_view(u"id") && uri.ends_with(u"/relationships")) {
            return attributes.getValue(i);
        }
    }
    return {};
}

void NodeAttributeHandler::FoundNode(const xercesc::Attributes& attributes) {
    AppendUtf8(value, GetAttributeValue(attributes, name));
}

const std::string& PropertiesHandler::Get(const std::string& name) const {
    static const std::string None;
    const auto found = texts.find(name);
    return found == texts.end() ? None : found->second;
}

void PropertiesHandler::startElement(const XMLCh* /*uri*/, const XMLCh* localName, const XMLCh* /*name*/,
                                     const xercesc::Attributes& /*attributes*/) {
    if (++depth == 2) {
        child = ToUtf8(localName);
        text.clear();
    }
}

void PropertiesHandler::endElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* /*name*/) {
    if (depth == 2) {
        texts.try_emplace(child, ToUtf8(text));
    }
    --depth;
}

void PropertiesHandler::characters(const XMLCh* chars, XMLSize_t length) {
    // Real values are a line; a part that has more isn't one of properties.
    if (depth == 2 && text.size() + length <= LongestProperty) {
        text.append(chars, length);
    }
}
