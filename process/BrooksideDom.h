#pragma once

#include <map>
#include <string>
#include <string_view>

#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/sax/SAXParseException.hpp>

#include "archive/XmlPlatform.h"

/** The text of a RawData element, in UTF-8, as far as it counts. */
struct RawDataText {
    std::string text; /**< cut off at the mark of its end */
    bool hasMark = false;
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
    /** Texts beyond this mark are no raw data any more. */
    static constexpr std::string_view EndMark = "NUM_DATA_ROWS";

    /** How much of a RawData element counts. */
    enum RawTextExtent { FirstRun, AllText };

    explicit BrooksideDomParser(xercesc::EntityResolver* entityResolver = nullptr,
                                RawTextExtent rawTextExtent = FirstRun);

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
};

/** Errors of validity end the parse as those of form do. */
class StrictErrorHandler : public xercesc::DefaultHandler {
public:
    void error(const xercesc::SAXParseException& exception) override;
};

/** Parses a file; one that can't be opened raises SAXException. Raises what the XML library raises. */
void ParseFile(xercesc::XercesDOMParser& parser, const char* path);

/** The first element named so, in any case, among a node and its following siblings. */
const xercesc::DOMNode* FindNode(const xercesc::DOMNode* start, const char* name);
/** The same; raises Exception when there is none. */
const xercesc::DOMNode* FindRequiredNode(const xercesc::DOMNode* start, const char* name);

/** An element's attribute by its name in any case; false when there is none. */
bool FindAttribute(const xercesc::DOMNode* node, const char* name, std::string& value);

// An attribute that must be there and must be of its kind: raises Exception when it isn't.
std::string GetTextAttribute(const xercesc::DOMNode* node, const char* name);
float GetFloatAttribute(const xercesc::DOMNode* node, const char* name);
int GetIntAttribute(const xercesc::DOMNode* node, const char* name);
bool GetBoolAttribute(const xercesc::DOMNode* node, const char* name);
