#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>

#include "archive/XmlPlatform.h"

// The XML parts of a workbook, as they stream by. All names are compared as written, prefix included: a
// part that puts a prefix on its elements isn't understood.

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
    explicit NodeHandler(std::u16string_view nodeName) : wanted(nodeName) {}

    /** Whether the node was there. */
    bool HasFoundNode() const { return found; }

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                      const xercesc::Attributes& attributes) final;
    void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) final;
    void characters(const XMLCh* chars, XMLSize_t length) final;
    void comment(const XMLCh* chars, XMLSize_t length) final;
    void processingInstruction(const XMLCh* target, const XMLCh* data) final;
    void startCDATA() final;
    void endCDATA() final;

protected:
    virtual void StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) = 0;
    virtual void EndElement(int level) = 0;

    /**
     * To be called when an element begins: collects its text as a document's tree would have it in the
     * element's first child, a run of characters or a CDATA section up to whatever comes behind.
     */
    void BeginText();
    /** The text collected since, once the element ends. */
    std::u16string_view EndText();

private:
    void InterruptText();

    std::u16string_view wanted;
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

    /** An empty `childName` means every child. The names are literals. */
    ChildAttributesHandler(std::u16string_view nodeName, std::u16string_view childName,
                           std::vector<std::u16string_view> attributeNames, Take taker);

protected:
    void StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) override;
    void EndElement(int /*level*/) override {}

private:
    std::u16string_view child;
    std::vector<std::u16string_view> names;
    std::vector<std::string> values;
    Take take;
};
