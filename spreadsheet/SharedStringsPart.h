#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "spreadsheet/SharedStrings.h"
#include "spreadsheet/WorkbookPart.h"

/**
 * Tells which of the elements inside a string item, `si` or `is`, hold its text.
 *
 * In the literal form that are all `t`, runs of rich text and phonetic runs alike; but what stands behind a
 * `t` on the same level, with all that is inside, doesn't count. In the full form it is the `t` of the item
 * itself and of its runs `r`.
 */
class StringItem {
public:
    explicit StringItem(XmlForm partForm) : form(partForm) {}

    void Start();
    /** Whether the element is one that holds text. Levels count from 1 inside the item. */
    bool StartElement(int level, std::string_view name);
    /** Whether the element that ends is the one whose text was begun. */
    bool EndElement(int level);

private:
    bool StartLiteral(int level, bool isText);
    bool StartFull(int level, std::string_view name, bool isText);

    XmlForm form;
    // For each level down to the open element's: whether a `t` has ended it.
    std::vector<bool> ended;
    int ignoredLevel = 0;  // of the open element that doesn't count, or of an open `t`; else 0
    int textLevel = 0;     // of an open `t`
    bool inRun = false;
};

/** What each escape begins with. */
constexpr std::string_view EscapeBegin = "_x";

/** Text as the full form has it: `_xHHHH_` stands for a unit of UTF-16. */
void AppendUnescaped(std::string& text, std::string_view escaped);

/** Reads the part of shared strings: each child of `sst` is one, in the full form each `si`. */
class SharedStringsHandler : public NodeHandler {
public:
    /** Adds to `target`, which stays the caller's. */
    SharedStringsHandler(XmlForm partForm, SharedStrings& target)
        : NodeHandler(partForm, "sst"), strings(target), item(partForm) {}

protected:
    void StartInside(int level, std::string_view name, const XmlElement& element) override;
    void EndInside(int level) override;

private:
    SharedStrings& strings;
    StringItem item;
    bool inItem = false;
    std::string text;
};
