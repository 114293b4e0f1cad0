#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Export.h"

/**
 * Appends a text as JSON writes it, in double quotes; what a terminal would obey is escaped. The text must be
 * UTF-8.
 */
KARTA_EXPORT void AppendJsonText(std::string& json, std::string_view text);

// The same in steps, for who puts a text together elsewhere.

/** The first character of such a text that JSON has an escape for, else the text's end. */
const char* FindJsonEscape(std::string_view text);
/** Appends the escape of the text's first character, which has one, and takes it off. */
void AppendJsonEscape(std::string& json, std::string_view& text);

/** Hands out what stands between the quotes, piece by piece: `append(std::string_view)`. */
template <class Append>
void ForEachJsonPiece(std::string_view text, const Append& append) {
    std::string escape;
    while (true) {
        const auto plain = static_cast<std::size_t>(FindJsonEscape(text) - text.data());
        append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        escape.clear();
        AppendJsonEscape(escape, text);
        append(std::string_view(escape));
    }
}
