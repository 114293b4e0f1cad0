#pragma once

#include <string>

/** How delimited text parts its fields. */
struct TextDialect {
    std::string delimiter; /**< of any length; empty: a record is one field */
    char quote = '"';
    char escape = '\0';      /**< takes the meaning off the character behind it, in quotes; NUL: none */
    bool mergeRuns = false;  /**< a run of delimiters counts as one, and none as one at a record's ends */
    bool skipsBlank = false; /**< one blank behind a delimiter belongs to it */

    bool operator==(const TextDialect& other) const = default;
};

/** What parts the fields, for people: "TAB", ";", "runs of blanks". */
inline std::string GetName(const TextDialect& dialect) {
    if (dialect.delimiter.empty()) {
        return "none";
    }
    if (dialect.delimiter == "\t") {
        return "TAB";
    }
    if (dialect.delimiter == " ") {
        return dialect.mergeRuns ? "runs of blanks" : "blank";
    }
    const auto code = static_cast<unsigned char>(dialect.delimiter.front());
    return code < 0x20 ? "character " + std::to_string(code) : dialect.delimiter;
}
