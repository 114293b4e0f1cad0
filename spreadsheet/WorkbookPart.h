#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/XmlEvents.h"
#include "base/MemoryShare.h"

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
std::string_view GetAttributeValue(const XmlElement& element, std::string_view name);

/** As NvString::ToInt; 0 for what is no number. */
int ToInt(std::string_view text);

/**
 * Finds one node of a part: the document element, if it has the name, or else the first of its direct
 * children that has it. Derived classes see the elements inside; those directly inside are of level 1.
 */
class NodeHandler : public XmlEvents {
public:
    /** Every open element takes memory, far more than its few bytes in the file; no real part has 20. */
    static constexpr int MaxDepth = 1'000'000;

    /** `nodeName` is a literal. */
    NodeHandler(XmlForm partForm, std::string_view nodeName) : form(partForm), wanted(nodeName) {}

    /** Whose budget is charged with a long text while it is collected; nobody's without it. */
    void SetContext(std::shared_ptr<karta::ReadContext> context) {
        share = std::make_unique<MemoryShare>(std::move(context), "a text");
    }

    /** Whether the node was there. */
    bool HasFoundNode() const { return found; }
    XmlForm GetForm() const { return form; }

    void StartElement(const XmlElement& element) final;
    void EndElement() final;
    void Characters(std::string_view chars) final;
    void Interrupt() final;
    void TextElement(const XmlElement& element, std::string_view chars) final;

protected:
    /** The node itself begins. */
    virtual void FoundNode(const XmlElement& /*element*/) {}
    /** In the full form `name` is the local name, and empty for an element of another namespace. */
    virtual void StartInside(int /*level*/, std::string_view /*name*/, const XmlElement& /*element*/) {}
    virtual void EndInside(int /*level*/) {}
    /** An element of nothing but a text; by default its beginning, its text and its end. */
    virtual void TextInside(int level, std::string_view name, const XmlElement& element,
                            std::string_view chars);

    /** To be called when an element begins: collects its text, of what is its own by the form. */
    void BeginText();
    /** The text collected since, once the element ends. */
    std::string_view EndText();
    /** The same into `target`, whatever that held. */
    void TakeText(std::string& target);

private:
    std::string_view GetName(const XmlElement& element);

    XmlForm form;
    std::string_view wanted;
    std::string rootNamespace;
    const char* sameNamespace = nullptr;  // where the parser keeps the root's namespace
    bool found = false;
    int depth = 0;      // of the open elements
    int nodeDepth = 0;  // of the node while it is open, else 0
    bool collecting = false;
    std::string text;
    std::unique_ptr<MemoryShare> share;
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
    ChildAttributesHandler(XmlForm partForm, std::string_view nodeName, std::string_view childName,
                           std::vector<std::string_view> attributeNames, Take taker);

protected:
    void StartInside(int level, std::string_view name, const XmlElement& element) override;

private:
    std::string_view GetValue(const XmlElement& element, std::string_view name) const;

    std::string_view child;
    std::vector<std::string_view> names;
    std::vector<std::string> values;
    Take take;
};

/** Hands over an attribute of a node. */
class NodeAttributeHandler : public NodeHandler {
public:
    /** The names are literals. */
    NodeAttributeHandler(XmlForm partForm, std::string_view nodeName, std::string_view attributeName)
        : NodeHandler(partForm, nodeName), name(attributeName) {}

    const std::string& GetValue() const { return value; }

protected:
    void FoundNode(const XmlElement& element) override;

private:
    std::string_view name;
    std::string value;
};

/** The texts of a document element's children by their local names, as the parts of properties have them. */
class PropertiesHandler : public XmlEvents {
public:
    /** Empty where there is none of this name. */
    const std::string& Get(const std::string& name) const;

    void StartElement(const XmlElement& element) override;
    void EndElement() override;
    void Characters(std::string_view chars) override;

private:
    int depth = 0;
    std::string child;
    std::string text;
    std::map<std::string, std::string> texts;
};
