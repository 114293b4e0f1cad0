#pragma once

#include <string_view>

#include "text/TextDialect.h"

/**
 * Looks for what is rarer than the dialects that SniffDialect knows, only where nothing speaks against it: a
 * blank behind every delimiter, which belongs to it; delimiters of two characters, `::` and `||`; and where
 * nothing parts the text, `^`, `~`, the control characters of databases, or blanks between as many words in
 * each record. `text` is the beginning of a text in UTF-8 whose guess is `guessed`; `isCut` says that more
 * follows.
 */
TextDialect RefineDialect(TextDialect guessed, std::string_view text, bool isCut);
