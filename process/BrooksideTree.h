#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

/** The text of a RawData element, in UTF-8, as far as it counts. */
struct RawDataText {
    /** Texts beyond this mark are no raw data any more. */
    static constexpr std::string_view EndMark = "NUM_DATA_ROWS";

    std::string text; /**< cut off at the mark of its end */
    bool hasMark = false;

    /** What comes next of the text; the mark of its end, and what is behind it, is left out. */
    void Append(std::string_view more);
};

/** How much of a RawData element counts. */
enum class RawTextExtent {
    FirstRun, /**< its first run of text; a comment, an instruction, CDATA or an element ends it */
    AllText   /**< all text and CDATA */
};

/** What is to be parsed: a file, or a text in memory with a name for messages. */
struct BrooksideDocument {
    const char* path = nullptr;  // null for a text
    const char* text = "";
    const char* id = "";
};

/** An element of an XML process log; one that comes behind another's tag is found from there. */
struct BrooksideElement {
    struct Attribute {
        std::string name; /**< as written */
        std::string value;
    };

    std::string name;                  /**< as written */
    std::vector<Attribute> attributes; /**< in the order of their names */
    BrooksideElement* firstChild = nullptr;
    BrooksideElement* nextSibling = nullptr;
    bool hasText = false; /**< only of a RawData element that some text counts of */
    RawDataText raw;
};

/** Of an XML process log what is asked of it: no other elements, and no text but the raw data. */
class BrooksideTree {
public:
    BrooksideTree() = default;
    // Moving a deque takes memory.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor)
    BrooksideTree(BrooksideTree&&) = default;
    // NOLINTNEXTLINE(performance-noexcept-move-constructor)
    BrooksideTree& operator=(BrooksideTree&&) = default;

    /** The document's element; null where it isn't one that is asked for. */
    BrooksideElement* GetRoot() { return elements.empty() ? nullptr : &elements.front(); }

    /** Within the element that was begun last; stays where it is. */
    BrooksideElement& Begin(std::string name, std::vector<BrooksideElement::Attribute> attributes);
    void End() { open.pop_back(); }

    /** Whether the format has elements named so, in any case. */
    static bool IsAskedFor(std::string_view name);
    static bool IsRawData(std::string_view name);

private:
    struct OpenElement {
        BrooksideElement* element;
        BrooksideElement* lastChild;
    };

    std::deque<BrooksideElement> elements;
    std::vector<OpenElement> open;
};

/** The first element named so, in any case, among an element and its following siblings. */
BrooksideElement* FindNode(BrooksideElement* start, const char* name);
/** The same; raises Exception when there is none. */
BrooksideElement* FindRequiredNode(BrooksideElement* start, const char* name);

/** An element's attribute by its name in any case; false when there is none. */
bool FindAttribute(const BrooksideElement* element, const char* name, std::string& value);

// An attribute that must be there and must be of its kind: raises Exception when it isn't.
std::string GetTextAttribute(const BrooksideElement* element, const char* name);
float GetFloatAttribute(const BrooksideElement* element, const char* name);
int GetIntAttribute(const BrooksideElement* element, const char* name);
bool GetBoolAttribute(const BrooksideElement* element, const char* name);
