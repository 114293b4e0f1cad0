#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Export.h"

namespace karta {

/** One plain sentence about what isn't in the table, or isn't in it as the file has it. */
struct Note {
    std::string code;        /**< for programs, in lower case with hyphens: "error-cells", "cut-records" */
    std::uint64_t count = 1; /**< how many cells, records, parts ... it is about */
    std::string place;       /**< where the first one stands: "B7", "line 12", "byte 18204"; may be empty */
    std::string text;        /**< the sentence, for people; no full stop at its end */
};

/** The notes of a read, in the order in which they came, each once. */
class KARTA_EXPORT Notes {
public:
    /** A note that is there already, text and place alike, isn't taken again: files are opened twice. */
    void Add(Note note);
    const std::vector<Note>& GetAll() const { return notes; }
    bool IsEmpty() const { return notes.empty(); }
    void Clear();

private:
    std::vector<Note> notes;
    std::unordered_multimap<std::size_t, std::size_t> places;  // of the notes, by the hash of what they say
};

/** "1 cell", "1,204 cells": a count and its noun; without `plural` an "s" makes it. */
KARTA_EXPORT std::string CountOf(std::uint64_t count, const std::string& noun,
                                 const std::string& plural = {});

}  // namespace karta
