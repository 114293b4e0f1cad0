#include "base/Note.h"

#include <algorithm>
#include <utility>

namespace karta {

void Notes::Add(Note note) {
    const bool isKnown = std::any_of(notes.begin(), notes.end(), [&](const Note& other) {
        return other.code == note.code && other.place == note.place && other.text == note.text;
    });
    if (!isKnown) {
        notes.push_back(std::move(note));
    }
}

std::string CountOf(std::uint64_t count, const std::string& noun, const std::string& plural) {
    std::string digits = std::to_string(count);
    for (std::size_t end = digits.size(); end > 3; end -= 3) {
        digits.insert(end - 3, ",");
    }
    if (count == 1) {
        return digits + " " + noun;
    }
    return digits + " " + (plural.empty() ? noun + "s" : plural);
}

}  // namespace karta
