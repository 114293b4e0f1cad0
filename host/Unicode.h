#pragma once

#include <string>
#include <string_view>

/** Appends UTF-16 text as UTF-8. Half a surrogate pair, which stands for no character, becomes '?'. */
void AppendUtf8(std::u16string_view text, std::string& utf8);

/** UTF-16 text as UTF-8. */
std::string ToUtf8(std::u16string_view text);
