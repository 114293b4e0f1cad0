#include "tools/Utf8Text.h"

#include <glib.h>

#include "base/Unicode.h"

namespace {

// The first character's places. The C library's answer would depend on the locale.
std::size_t WidthOfFirst(std::string_view text) {
    const gunichar character = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    if (g_unichar_iszerowidth(character)) {
        return 0;
    }
    return g_unichar_iswide(character) ? 2 : 1;
}

}  // namespace

std::size_t GetDisplayWidth(std::string_view text) {
    std::size_t width = 0;
    for (; !text.empty(); text.remove_prefix(GetUtf8Length(text))) {
        width += WidthOfFirst(text);
    }
    return width;
}

std::string_view FitDisplayWidth(std::string_view text, std::size_t width) {
    std::string_view rest = text;
    while (!rest.empty() && WidthOfFirst(rest) <= width) {
        width -= WidthOfFirst(rest);
        rest.remove_prefix(GetUtf8Length(rest));
    }
    return text.substr(0, text.size() - rest.size());
}
