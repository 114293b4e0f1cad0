#pragma once

#include <string>
#include <vector>

#include "spreadsheet/SharedStrings.h"
#include "spreadsheet/WorkbookPart.h"

/**
 * Reads the part of shared strings: each child of `sst` is one. Its text is that of the `t` elements in
 * it, joined in document order, runs of rich text and phonetic runs alike; but what stands behind a `t`
 * on the same level, with all that is inside, doesn't count.
 */
class SharedStringsHandler : public NodeHandler {
public:
    /** Adds to `target`, which stays the caller's. */
    explicit SharedStringsHandler(SharedStrings& target) : NodeHandler(u"sst"), strings(target) {}

protected:
    void StartElement(int level, std::u16string_view name, const xercesc::Attributes& attributes) override;
    void EndElement(int level) override;

private:
    SharedStrings& strings;
    std::string text;
    // For each level inside the present string, down to the open element's: whether a `t` has ended it.
    std::vector<bool> ended;
    int ignoredLevel = 0;  // of the open element that doesn't count, or of an open `t`; else 0
    bool inText = false;
};
