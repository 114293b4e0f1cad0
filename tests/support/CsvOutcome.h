#pragma once

#include <string>
#include <string_view>

// What parsing comma-separated text leads to, as text: every call that the sink got, a line each, the bytes
// that could be parsed, and the parser's fields at the end. The two roads must agree on every input.

std::string CsvOutcomeOfGrammar(std::string_view text, char delimiter);
std::string CsvOutcomeOfScanner(std::string_view text, char delimiter);
