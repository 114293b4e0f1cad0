#include "base/JsonText.h"

#include <algorithm>

#include "base/VisibleCharacter.h"

namespace {

bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

}  // namespace

void AppendJsonText(std::string& json, std::string_view text) {
    json += '"';
    while (!text.empty()) {
        const auto plain =
            static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsPlain) - text.begin());
        json += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        if (text.front() == '"' || text.front() == '\\') {
            json += {'\\', text.front()};
            text.remove_prefix(1);
        } else {
            AppendVisibleCharacter(json, text, EscapeStyle::Json);
        }
    }
    json += '"';
}
