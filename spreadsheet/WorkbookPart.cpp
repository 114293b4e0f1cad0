#include "spreadsheet/WorkbookPart.h"

#include <utility>

#include <xercesc/sax/SAXException.hpp>

#include "base/Unicode.h"
#include "host/NvString.h"

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

void NodeHandler::startElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* name,
                               const xercesc::Attributes& attributes) {
    if (++depth > MaxDepth) {
        throw xercesc::SAXException("the elements are nested too deep");
    }
    if (nodeDepth > 0) {
        collecting = false;
        StartElement(depth - nodeDepth, name, attributes);
    } else if (!found && depth <= 2 && name == wanted) {
        found = true;
        nodeDepth = depth;
    }
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
    collecting = collecting && text.empty();
}

ChildAttributesHandler::ChildAttributesHandler(std::u16string_view nodeName, std::u16string_view childName,
                                               std::vector<std::u16string_view> attributeNames, Take taker)
    : NodeHandler(nodeName),
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
        AppendUtf8(values[i], GetAttributeValue(attributes, names[i]));
    }
    take(values);
}
