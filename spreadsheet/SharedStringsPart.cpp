#include "spreadsheet/SharedStringsPart.h"

#include "base/Unicode.h"

void SharedStringsHandler::StartElement(int level, std::u16string_view name,
                                        const xercesc::Attributes& /*attributes*/) {
    if (level == 1) {
        text.clear();
        ended.assign(1, false);
        return;
    }
    if (ignoredLevel > 0) {
        return;
    }
    // The element's level is the last one in the list: its parent put it there.
    if (ended.back()) {
        ignoredLevel = level;
    } else if (name == u"t") {
        ended.back() = true;
        ignoredLevel = level;
        inText = true;
        BeginText();
    } else {
        ended.push_back(false);
    }
}

void SharedStringsHandler::EndElement(int level) {
    if (level == 1) {
        strings.Add(text);
    } else if (ignoredLevel == 0) {
        ended.pop_back();
    } else if (ignoredLevel == level) {
        if (inText) {
            AppendUtf8(text, EndText());
        }
        inText = false;
        ignoredLevel = 0;
    }
}
