#pragma once

#include <iterator>
#include <string>
#include <string_view>

/**
 * Delimited text of six columns (a number, a text, a date, a date and time, a truth value, another text) with
 * a TAB between them, whose fields are quoted in all ways, some of them broken. `rows` records; every
 * `oddEvery`th is one that is divided in more ways than one, 0 for none.
 */
inline std::string MakeQuotedRows(int rows, int oddEvery, std::string_view lineEnd) {
    const std::string end(lineEnd);
    std::string text = "id\tname\tday\twhen\tok\t\"further \"\"text\"\"\"" + end;
    const char* const names[] = {"\"plain\"",
                                 "\"with \"\"quotes\"\"\"",
                                 "\"\"\"all\"\"\"",
                                 "\"\"",
                                 "",
                                 "5\" pipe",
                                 "\"two\nlines\"",
                                 "\"with\ttab\"",
                                 "\"Gr\u00f6\u00dfe \u65e5\u672c\"",
                                 "Gr\u00f6\u00dfe",
                                 "it's \"so\" called",
                                 "\"CR\r\nLF\"",
                                 "\"a longer text, of more than sixteen bytes\"",
                                 "a longer text, of more than sixteen bytes",
                                 "\"\"\"\"",
                                 "x"};
    const char* const odd[] = {
        " \"blank before\"", "\"blank behind\" ", "\"text\" behind",           "\"quote \" amid\"",
        "\"never closed",    "\"a\"b\"",          "\"too\"\t\"many\"\tfields", "#"};
    for (int i = 1; i <= rows; ++i) {
        const std::string number = std::to_string(i);
        const std::string digits = std::to_string(10 + i % 19);
        const bool isQuoted = i % 3 == 0;
        const auto quote = [&](const std::string& field) { return isQuoted ? "\"" + field + "\"" : field; };
        const bool isOdd = oddEvery > 0 && i % oddEvery == 0;
        text += quote(i % 7 == 0 ? number + ".50" : number) + "\t";
        text += isOdd ? odd[i / oddEvery % static_cast<int>(std::size(odd))]
                      : names[i % static_cast<int>(std::size(names))];
        text += "\t" + quote("2024-01-" + digits) + "\t" +
                quote("2024-02-" + digits + (i % 5 == 0 ? "T" : " ") + "10:20:" + digits) + "\t" +
                quote(i % 2 == 0    ? "TRUE"
                      : i % 11 == 0 ? "true"
                                    : "FALSE") +
                "\t" + (i % 4 == 0 ? "" : names[i / 16 % static_cast<int>(std::size(names))]) + end;
    }
    return text;
}

/** The same with two TABs for one, whose records are never read in pieces. */
inline std::string WithTwoTabs(std::string_view text) {
    std::string slow;
    for (const char c : text) {
        slow.append(c == '\t' ? 2 : 1, c);
    }
    return slow;
}

inline std::string WithOneTab(std::string text) {
    for (std::size_t at = text.find("\t\t"); at != std::string::npos; at = text.find("\t\t", at + 1)) {
        text.erase(at, 1);
    }
    return text;
}
