#include "process/BrooksideFields.h"

void BrooksideFields::Split(std::string_view line) {
    fields.clear();
    bool more = !line.empty();
    while (more) {
        const std::size_t tab = line.find('\t');
        fields.push_back(line.substr(0, tab));
        more = tab != std::string_view::npos;
        line.remove_prefix(more ? tab + 1 : line.size());
    }
}

std::string_view BrooksideFields::GetText(int field) const {
    const std::string_view* text = Get(field);
    return text == nullptr ? std::string_view() : *text;
}
