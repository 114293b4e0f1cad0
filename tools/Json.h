#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Failure.h"

/**
 * A text as JSON writes it, in double quotes; what a terminal would obey is escaped. The text must be UTF-8.
 */
std::string JsonQuote(std::string_view text);

/** Writes one JSON document, indented, with its members in the order of the calls. */
class JsonWriter {
public:
    /** The stream stays the caller's and must outlive the writer. */
    explicit JsonWriter(std::ostream& target) : stream(target) {}

    /** Inside an object each value has a key; inside an array and at the top none. */
    void BeginObject(std::string_view key = {});
    void EndObject();
    void BeginArray(std::string_view key = {});
    void EndArray();
    void Put(std::string_view key, std::string_view value);
    void Put(std::string_view key, const char* value) { Put(key, std::string_view(value)); }
    void Put(std::string_view key, bool value);
    void Put(std::string_view key, long long value);
    /** A finite number, in the shortest form that reads back the same. */
    void Put(std::string_view key, double value);
    void Put(std::string_view value);

private:
    void Open(std::string_view key, char bracket);
    void Close(char bracket);
    void Start(std::string_view key);

    std::ostream& stream;
    std::vector<bool> hasMembers;  // for each open bracket, whether a comma is due
};

/** The member "error" of an object: why a verb failed, the program's exit status, and where it went wrong. */
void PutError(JsonWriter& json, const Failure& failure);
