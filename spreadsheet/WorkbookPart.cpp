#include "spreadsheet/WorkbookPart.h"

#include <utility>

#include "host/NvString.h"

namespace {

// Shorter texts are cells as there are millions, and charged where they are kept.
constexpr std::size_t LongText = 1 << 16;

constexpr std::size_t LongestProperty = 4096;

}  // namespace

std::string_view GetAttributeValue(const XmlElement& element, std::string_view name) {
    for (const XmlAttribute& attribute : element.attributes) {
        if (attribute.name == name) {
            return attribute.value;
        }
    }
    return {};
}

int ToInt(std::string_view text) {
    int value = 0;
    NvString::ToInt(text, value);
    return value;
}

void NodeHandler::StartElement(const XmlElement& element) {
    if (++depth > MaxDepth) {
        throw XmlEnd("the elements are nested too deep");
    }
    const std::string_view known = GetName(element);
    if (nodeDepth > 0) {
        collecting = false;
        StartInside(depth - nodeDepth, known, element);
    } else if (!found && depth <= 2 && known == wanted) {
        found = true;
        nodeDepth = depth;
        FoundNode(element);
    }
}

// There is one copy of each namespace, so that nearly always the places alone tell.
std::string_view NodeHandler::GetName(const XmlElement& element) {
    if (form == XmlForm::Literal) {
        return element.name;
    }
    if (depth == 1) {
        rootNamespace = element.uri;
        sameNamespace = element.uri.data();
    }
    if (element.uri.data() == sameNamespace) {
        return element.localName;
    }
    return rootNamespace == element.uri ? element.localName : std::string_view();
}

void NodeHandler::EndElement() {
    if (depth == nodeDepth) {
        nodeDepth = 0;
    } else if (nodeDepth > 0) {
        EndInside(depth - nodeDepth);
    }
    --depth;
}

void NodeHandler::TextElement(const XmlElement& element, std::string_view chars) {
    // A long text has to be charged.
    if (nodeDepth == 0 || depth == MaxDepth || chars.size() > LongText) {
        XmlEvents::TextElement(element, chars);
        return;
    }
    collecting = false;
    ++depth;
    TextInside(depth - nodeDepth, GetName(element), element, chars);
    --depth;
}

void NodeHandler::TextInside(int level, std::string_view name, const XmlElement& element,
                             std::string_view chars) {
    StartInside(level, name, element);
    if (!chars.empty()) {
        NodeHandler::Characters(chars);
    }
    EndInside(level);
}

void NodeHandler::Characters(std::string_view chars) {
    if (!collecting) {
        return;
    }
    const std::size_t size = text.size() + chars.size();
    if (size > LongText && size > text.capacity() && share != nullptr) {
        // It moves to twice its room.
        share->Add(2 * size);
    }
    text += chars;
}

// What comes before the text doesn't matter.
void NodeHandler::Interrupt() {
    collecting = collecting && (form == XmlForm::Full || text.empty());
}

void NodeHandler::BeginText() {
    collecting = true;
    if (text.capacity() > LongText && share != nullptr) {
        share->Release();
        text = {};
    }
    text.clear();
}

std::string_view NodeHandler::EndText() {
    collecting = false;
    return text;
}

void NodeHandler::TakeText(std::string& target) {
    collecting = false;
    target.swap(text);
}

ChildAttributesHandler::ChildAttributesHandler(XmlForm partForm, std::string_view nodeName,
                                               std::string_view childName,
                                               std::vector<std::string_view> attributeNames, Take taker)
    : NodeHandler(partForm, nodeName),
      child(childName),
      names(std::move(attributeNames)),
      values(names.size()),
      take(std::move(taker)) {}

void ChildAttributesHandler::StartInside(int level, std::string_view name, const XmlElement& element) {
    if (level != 1 || (!child.empty() && name != child)) {
        return;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        values[i] = GetValue(element, names[i]);
    }
    take(values);
}

std::string_view ChildAttributesHandler::GetValue(const XmlElement& element, std::string_view name) const {
    if (GetForm() == XmlForm::Literal || name != "r:id") {
        return GetAttributeValue(element, name);
    }
    for (const XmlAttribute& attribute : element.attributes) {
        if (attribute.localName == "id" && attribute.uri.ends_with("/relationships")) {
            return attribute.value;
        }
    }
    return {};
}

void NodeAttributeHandler::FoundNode(const XmlElement& element) {
    value = GetAttributeValue(element, name);
}

const std::string& PropertiesHandler::Get(const std::string& name) const {
    static const std::string None;
    const auto found = texts.find(name);
    return found == texts.end() ? None : found->second;
}

void PropertiesHandler::StartElement(const XmlElement& element) {
    if (++depth == 2) {
        child = element.localName;
        text.clear();
    }
}

void PropertiesHandler::EndElement() {
    if (depth == 2) {
        texts.try_emplace(child, text);
    }
    --depth;
}

void PropertiesHandler::Characters(std::string_view chars) {
    // Real values are a line; a part that has more isn't one of properties.
    if (depth == 2 && text.size() + chars.size() <= LongestProperty) {
        text += chars;
    }
}
