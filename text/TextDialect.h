#pragma once

#include <string>

/** How delimited text parts its fields. */
struct TextDialect {
    std::string delimiter; /**< of any length; empty: a record is one field */
    char quote = '"';
    char escape = '\0';     /**< takes the meaning off the character behind it, in quotes; NUL: none */
    bool mergeRuns = false; /**< a run of delimiters counts as one, and none as one at a record's ends */

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
    return dialect.delimiter == " " ? "runs of blanks" : dialect.delimiter;
}
