#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "process/TabWalk.h"

/** The fields of one line of a process log, parted by single tabs and counted from 1. */
class BrooksideFields {
public:
    /** The line must outlive the fields. An empty line has none. */
    void Split(std::string_view line) {
        fields.clear();
        std::string_view field;
        for (TabWalk walk(line); walk.Next(field);) {
            fields.push_back(field);
        }
    }

    int GetCount() const { return static_cast<int>(fields.size()); }
    /** Null when the line has fewer fields. */
    const std::string_view* Get(int field) const {
        return field >= 1 && field <= GetCount() ? &fields[static_cast<std::size_t>(field) - 1] : nullptr;
    }
    /** The empty text when the line has fewer fields. */
    std::string_view GetText(int field) const {
        const std::string_view* text = Get(field);
        return text == nullptr ? std::string_view() : *text;
    }

private:
    std::vector<std::string_view> fields;
};
