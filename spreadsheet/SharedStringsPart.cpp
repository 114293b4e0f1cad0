#include "spreadsheet/SharedStringsPart.h"

#include <string>
#include <utility>

#include "base/Unicode.h"

namespace {

// "_x", four hexadecimal digits, "_".
constexpr std::size_t EscapeLength = 7;

int HexDigit(char unit) {
    if (unit >= '0' && unit <= '9') {
        return unit - '0';
    }
    const int lower = unit | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/** The unit that a text begins with as an escape; -1 where it begins with none, or with that of the NUL,
 * which would end the text in any table. */
int GetEscaped(std::string_view text) {
    if (text.size() < EscapeLength || text[1] != 'x' || text[EscapeLength - 1] != '_') {
        return -1;
    }
    int unit = 0;
    for (const char digit : text.substr(2, EscapeLength - 3)) {
        const int value = HexDigit(digit);
        if (value < 0) {
            return -1;
        }
        unit = unit * 16 + value;
    }
    return unit == 0 ? -1 : unit;
}

}  // namespace

void AppendUnescaped(std::string& text, std::string_view escaped) {
    // Two units may make one character.
    std::u16string units;
    for (std::size_t end = escaped.find(EscapeBegin); end != std::string_view::npos;
         end = escaped.find(EscapeBegin)) {
        const int unit = GetEscaped(escaped.substr(end));
        if (end > 0 || unit < 0) {
            AppendUtf8(text, std::exchange(units, {}));
            text += escaped.substr(0, unit < 0 ? end + 1 : end);
        }
        if (unit >= 0) {
            units += static_cast<char16_t>(unit);
        }
        escaped.remove_prefix(unit < 0 ? end + 1 : end + EscapeLength);
    }
    AppendUtf8(text, units);
    text += escaped;
}

void StringItem::Start() {
    ended.assign(1, false);
    ignoredLevel = 0;
    textLevel = 0;
    inRun = false;
}

bool StringItem::StartElement(int level, std::string_view name) {
    const bool isText = name == "t";
    const bool holdsText =
        form == XmlForm::Full ? StartFull(level, name, isText) : StartLiteral(level, isText);
    if (holdsText) {
        textLevel = level;
    }
    return holdsText;
}

bool StringItem::StartFull(int level, std::string_view name, bool isText) {
    if (level == 1) {
        inRun = name == "r";
    }
    return isText && (level == 1 || (level == 2 && inRun));
}

bool StringItem::StartLiteral(int level, bool isText) {
    if (ignoredLevel > 0) {
        return false;
    }
    // The element's level is the last one in the list: its parent put it there.
    if (ended.back()) {
        ignoredLevel = level;
        return false;
    }
    if (isText) {
        ended.back() = true;
        ignoredLevel = level;
    } else {
        ended.push_back(false);
    }
    return isText;
}

bool StringItem::EndElement(int level) {
    if (form == XmlForm::Literal) {
        if (ignoredLevel == 0) {
            ended.pop_back();
        } else if (ignoredLevel == level) {
            ignoredLevel = 0;
        }
    }
    const bool wasText = textLevel == level;
    if (wasText) {
        textLevel = 0;
    }
    return wasText;
}

void SharedStringsHandler::StartInside(int level, std::string_view name, const XmlElement& /*element*/) {
    if (level == 1) {
        inItem = GetForm() == XmlForm::Literal || name == "si";
        text.clear();
        item.Start();
    } else if (inItem && item.StartElement(level - 1, name)) {
        BeginText();
    }
}

void SharedStringsHandler::EndInside(int level) {
    if (!inItem) {
        return;
    }
    if (level == 1) {
        strings.Add(text);
        inItem = false;
    } else if (item.EndElement(level - 1)) {
        if (GetForm() == XmlForm::Full) {
            AppendUnescaped(text, EndText());
        } else {
            text += EndText();
        }
    }
}
