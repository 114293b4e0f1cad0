#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>

#include "archive/XmlPlatform.h"

// The XML parts of a workbook, as they stream by.

/** How much of XML a part is read by. */
enum class XmlForm {
    /**
     * Names count as written, prefix included, and an element's text is what a document's tree has as its
     * first child: a run of characters or a CDATA section up to whatever comes behind.
     */
    Literal,
    /** Names count by the root's namespace and their local part, whatever the prefix, and texts are whole. */
    Full
};

/** What ParseXml is to hand to a handler of this form. */
constexpr XmlNames GetNames(XmlForm form) {
    return form == XmlForm::Full ? XmlNames::ByNamespace : XmlNames::AsWritten;
}

/** The value of an attribute, valid while its element begins; empty where there is none. */
std::u16string_view GetAttributeValue(const xercesc::Attributes& attributes, std::u16string_view name);

/** As NvString::ToInt; 0 for what is no number. */
int ToInt(std::u16string_view text);

/**
 * Finds one node of a part: the document element, if it has the name, or else the first of its direct
 * children that has it. Derived classes see the elements inside; those directly inside are of level 1.
 */
class NodeHandler : public XmlHandler {
public:
    /** Every open element takes memory, far more than its few bytes in the file; no real part has 20. */
    static constexpr int MaxDepth = 1'000'000;

    /** `nodeName` is a literal. */
    NodeHandler(XmlForm partForm, std::u16string_view nodeName) : form(partForm), wanted(nodeName) {}

    /** Whether the node was there. */
    bool HasFoundNode() const { return found; }
    XmlForm GetForm() const { return form; }

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                      const xercesc::Attributes& attributes) final;
    void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) final;
    void characters(const XMLCh* chars, XMLSize_t length) final;
    void comment(const XMLCh* chars, XMLSize_t length) final;
    void processingInstruction(const XMLCh* target, const XMLCh* data) final;
    void startCDATA() final;
    void endCDATA() final;

protected:
    /** The node itself begins. */
    virtual void FoundNode(const xercesc::Attributes& /*attributes*/) {}
    /** In the full form `name` is the local name, and empty for an element of another namespace. */
    virtual void StartElement(int /*level*/, std::u16string_view /*name*/,
                              const xercesc::Attributes& /*attributes*/) {}
    virtual void EndElement(int /*level*/) {}

    /** To be called when an element begins: collects its text, of what is its own by the form. */
    void BeginText();
    /** The text collected since, once the element ends. */
    std::u16string_view EndText();

private:
    void InterruptText();
    std::u16string_view GetName(const XMLCh* uri, const XMLCh* localName, const XMLCh* name);

    XmlForm form;
    std::u16string_view wanted;
    std::u16string rootNamespace;
    const XMLCh* sameNamespace = nullptr;  // where the library keeps the root's namespace
    bool found = false;
    int depth = 0;      // of the open elements
    int nodeDepth = 0;  // of the node while it is open, else 0
    bool collecting = false;
    std::u16string text;
};

/** Hands over some attributes of each child of a node, in document order. */
class ChildAttributesHandler : public NodeHandler {
public:
    /** Gets the values in the order of the attributes' names; an absent one is empty. */
    using Take = std::function<void(const std::vector<std::string>& values)>;

    /**
     * An empty `childName` means every child. The names are literals; in the full form "r:id" is the id of a
     * relationship under whatever prefix.
     */
    ChildAttributesHandler(XmlForm partForm, std::u16string_view nodeName, std::u16string_view childName,
                           std::vector<std::u16string_view> attributeNames, Take taker);

protected:
    void StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) override;

private:
    std::u16string_view GetValue(const xercesc::Attributes& attributes, std::u16string_view name) const;

    std::u16string_view child;
    std::vector<std::u16string_view> names;
    std::vector<std::string> values;
    Take take;
};

/** Hands over an attribute of a node. */
class NodeAttributeHandler : public NodeHandler {
public:
    /** The names are literals. */
    NodeAttributeHandler(XmlForm partForm, std::u16string_view nodeName, std::u16string_view attributeName)
        : NodeHandler(partForm, nodeName), name(attributeName) {}

    const std::string& GetValue() const { return value; }

protected:
    void FoundNode(const xercesc::Attributes& attributes) override;

private:
    std::u16string_view name;
    std::string value;
};

/** The texts of a document element's children by their local names, as the parts of properties have them. */
class PropertiesHandler : public XmlHandler {
public:
    /** Empty where there is none of this name. */
    const std::string& Get(const std::string& name) const;

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                      const xercesc::Attributes& attributes) override;
    void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) override;
    void characters(const XMLCh* chars, XMLSize_t length) override;

private:
    int depth = 0;
    std::string child;
    std::u16string text;
    std::map<std::string, std::string> texts;
};
