#include "base/Note.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace karta {

void Notes::Add(Note note) {
    const std::size_t hash = std::hash<std::string>()(note.text + '\n' + note.place);
    const auto [first, last] = places.equal_range(hash);
    const bool isKnown = std::any_of(first, last, [&](const auto& entry) {
        const Note& other = notes[entry.second];
        return other.code == note.code && other.place == note.place && other.text == note.text;
    });
    if (!isKnown) {
        places.emplace(hash, notes.size());
        notes.push_back(std::move(note));
    }
}

void Notes::Clear() {
    notes.clear();
    places.clear();
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
