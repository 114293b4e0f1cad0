#include "frame/WideSink.h"

void WideSink::SetListedText(int col, int row, const TextList& list, std::size_t place) {
    SetText(col, row, list.Get(place));
}

void WideSink::SetSource(int /*col*/, int /*row*/, std::string_view /*source*/) {}

bool WideSink::KeepsRows() const {
    return true;
}

bool WideSink::WantsWholeEvidence() const {
    return false;
}

bool WideSink::PrefersColumns() const {
    return false;
}

bool WideSink::WantsPointNames() const {
    return true;
}

void WideSink::EndRow(int /*row*/) {}
