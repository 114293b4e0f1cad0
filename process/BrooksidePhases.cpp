#include "process/BrooksidePhases.h"

#include <algorithm>
#include <cstddef>

#include "base/PathNames.h"

namespace {

constexpr std::int64_t FirstDataRow = 2;

bool SameLines(const PhaseEntry& left, const PhaseEntry& right) {
    return left.from == right.from && left.to == right.to &&
           EqualIgnoringCase(left.dataFile, right.dataFile) && EqualIgnoringCase(left.wafer, right.wafer);
}

// The end of the run that begins at `start`: entries of its wafer whose phases don't go beyond its own.
std::size_t FindRunEnd(const std::vector<PhaseEntry>& entries, std::size_t start) {
    std::size_t end = start + 1;
    while (end < entries.size() && entries[end].phase <= entries[start].phase &&
           EqualIgnoringCase(entries[end].wafer, entries[start].wafer)) {
        ++end;
    }
    return end;
}

}  // namespace

bool BrooksidePhases::PlaceOrder::operator()(const Place& left, const Place& right) const {
    const LessIgnoringCase less;
    if (less(left.dataFile, right.dataFile)) {
        return true;
    }
    return left.from < right.from && !less(right.dataFile, left.dataFile);
}

BrooksidePhases::Verdict BrooksidePhases::Insert(const PhaseEntry& entry, Duplicates duplicates) {
    const Place place{entry.dataFile, entry.from};
    const auto next = sorted.lower_bound(place);
    const bool sameWafer = next != sorted.end() && EqualIgnoringCase(next->second.wafer, entry.wafer);
    if (sameWafer && SameLines(next->second, entry)) {
        if (duplicates == Keep) {
            sorted.emplace_hint(next, place, entry);
        }
        return Duplicate;
    }
    PhaseEntry& inserted = sorted.emplace_hint(next, place, entry)->second;
    if (!sameWafer) {
        return Inserted;
    }
    next->second.outOfOrder = true;
    inserted.outOfOrder = true;
    return OutOfOrder;
}

std::vector<PhaseEntry>& BrooksidePhases::CollectEntries() {
    entries.clear();
    for (const auto& [place, entry] : sorted) {
        entries.push_back(entry);
    }
    return entries;
}

std::int64_t BrooksidePhases::AssignRows() {
    std::int64_t row = FirstDataRow;
    std::vector<PhaseEntry*> run;
    for (std::size_t start = 0; start < entries.size();) {
        const std::size_t end = entries[start].outOfOrder ? FindRunEnd(entries, start) : start + 1;
        run.clear();
        for (std::size_t i = start; i < end; ++i) {
            entries[i].outOfOrder = entries[start].outOfOrder;
            run.push_back(&entries[i]);
        }
        // Phases of one number, as a wafer that comes twice has them, stay in their order.
        std::sort(run.begin(), run.end(), [](const PhaseEntry* left, const PhaseEntry* right) {
            return left->phase != right->phase ? left->phase < right->phase : left < right;
        });
        for (PhaseEntry* entry : run) {
            entry->firstRow = row;
            row += entry->CountRows();
        }
        start = end;
    }
    return row - 1;
}
