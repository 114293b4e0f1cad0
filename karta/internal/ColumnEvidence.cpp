#include "karta/internal/ColumnEvidence.h"

#include <algorithm>
#include <cmath>

namespace karta {

namespace {

using Stretch = CellVector::Stretch;

// Of all columns together; beyond, texts are kept as they come.
constexpr std::uint64_t MostDistinctBytes = std::uint64_t{8} << 20;

bool IsExact(std::int64_t value) {
    return value >= -LargestExactInteger && value <= LargestExactInteger;
}

std::int64_t CountEmptyTexts(const CellStore& store, const Stretch& stretch, int first, int end) {
    const std::uint64_t* const words = stretch.values.As<std::uint64_t>();
    std::int64_t count = 0;
    if (stretch.listed != nullptr) {
        store.InSteps(first, stretch.listed->HasEmptyText() ? end : first, [&](int from, int to) {
            for (int place = from; place < to; ++place) {
                const bool isEmpty = stretch.listed->GetSize(stretch.GetCode(place)) == 0;
                count += isEmpty && stretch.IsThere(place) ? 1 : 0;
            }
        });
        return count;
    }
    if (stretch.areLaid) {
        store.InSteps(first, end, [&](int from, int to) {
            int empty = 0;
            for (int at = from - stretch.first; at < to - stretch.first; ++at) {
                empty += words[at] == words[at + 1] ? 1 : 0;
            }
            // Missing ones are empty too, and are few or none.
            for (int place = from; stretch.hasMissing && empty > 0 && place < to; ++place) {
                empty -= words[place - stretch.first] == words[place - stretch.first + 1] &&
                                 !stretch.IsThere(place)
                             ? 1
                             : 0;
            }
            count += empty;
        });
        return count;
    }
    store.InSteps(first, end, [&](int from, int to) {
        for (int place = from; place < to; ++place) {
            count += CellStore::IsEmptyText(words[place - stretch.first]) && stretch.IsThere(place) ? 1 : 0;
        }
    });
    return count;
}

// Of cells that texts stand for, by what they are; behind those are texts.
KindCounts CountWritten(const CellStore& store, const Stretch& stretch, int first, int end) {
    constexpr int CounterBits = 6;
    constexpr int MostInCounters = (1 << CounterBits) - 1;
    static_assert(CellKinds * CounterBits <= 64);
    const int known = std::clamp(stretch.first + static_cast<int>(stretch.written.size()), first, end);
    KindCounts counts;
    store.InSteps(first, known, [&](int from, int to) {
        while (from < to) {
            // All counters in one word: kinds come in no order that a processor could guess.
            std::uint64_t counters = 0;
            for (const int stop = std::min(to, from + MostInCounters); from < stop; ++from) {
                const auto at = static_cast<std::size_t>(from - stretch.first);
                const auto kind = static_cast<unsigned int>(stretch.written[at]);
                counters += std::uint64_t{1} << (CounterBits * kind);
                counts.emptyTexts +=
                    stretch.written[at] == CellKind::Text && stretch.GetText(from).empty() ? 1 : 0;
            }
            for (std::int64_t& count : counts.counts) {
                count += static_cast<std::int64_t>(counters & MostInCounters);
                counters >>= CounterBits;
            }
        }
    });
    counts[CellKind::Missing] = 0;
    if (known < end) {
        counts[CellKind::Text] += stretch.hasMissing ? CountBits(stretch.bits.As<std::uint8_t>(),
                                                                 known - stretch.first, end - known)
                                                     : end - known;
        counts.emptyTexts += CountEmptyTexts(store, stretch, known, end);
    }
    return counts;
}

bool AreDoublesWhole(const CellStore& store, const Stretch& stretch, int first, int end) {
    const double* const values = stretch.values.As<double>();
    bool areWhole = true;
    store.InSteps(first, end, [&](int from, int to) {
        for (int place = from; areWhole && place < to; ++place) {
            areWhole = !stretch.IsThere(place) || IsWhole(values[place - stretch.first]);
        }
    });
    return areWhole;
}

}  // namespace

KindCounts& KindCounts::operator+=(const KindCounts& others) {
    for (std::size_t kind = 0; kind < CellKinds; ++kind) {
        counts[kind] += others.counts[kind];
    }
    emptyTexts += others.emptyTexts;
    return *this;
}

std::int64_t KindCounts::GetAll() const {
    std::int64_t all = 0;
    for (std::size_t kind = 1; kind < CellKinds; ++kind) {
        all += counts[kind];
    }
    return all;
}

bool KindCounts::HasEmptyTextsOnly() const {
    return emptyTexts > 0 && emptyTexts == (*this)[CellKind::Text] && GetAll() > emptyTexts;
}

NumberFacts& NumberFacts::operator+=(const NumberFacts& others) {
    areWhole = areWhole && others.areWhole;
    areExact = areExact && others.areExact;
    hasRuns = hasRuns || others.hasRuns;
    return *this;
}

KindCounts CountKinds(const CellStore& store, const CellVector& cells, int first, int end) {
    KindCounts counts;
    for (const Stretch& stretch : cells.GetStretches()) {
        const int from = std::max(first, stretch.first);
        const int to = std::min(end, stretch.GetEnd());
        if (from >= to) {
            continue;
        }
        if (!stretch.written.empty()) {
            counts += CountWritten(store, stretch, from, to);
            continue;
        }
        if (stretch.kind != CellKind::Mixed) {
            counts[stretch.kind] += stretch.hasMissing ? CountBits(stretch.bits.As<std::uint8_t>(),
                                                                   from - stretch.first, to - from)
                                                       : to - from;
            continue;
        }
        store.InSteps(from, to, [&](int begin, int stop) {
            for (int place = begin; place < stop; ++place) {
                const Cell cell = stretch.Get(place);
                if (cell.kind != CellKind::Missing) {
                    ++counts[cell.kind];
                }
            }
        });
    }
    return counts;
}

std::int64_t CountEmptyTexts(const CellStore& store, const CellVector& cells, int first, int end) {
    std::int64_t count = 0;
    for (const Stretch& stretch : cells.GetStretches()) {
        const int from = std::max(first, stretch.first);
        const int to = std::min(end, stretch.GetEnd());
        if (from < to && stretch.kind == CellKind::Text) {
            count += CountEmptyTexts(store, stretch, from, to);
        } else if (from < to && stretch.kind == CellKind::Mixed) {
            store.InSteps(from, to, [&](int begin, int stop) {
                for (int place = begin; place < stop; ++place) {
                    const Cell cell = stretch.Get(place);
                    count += cell.kind == CellKind::Text && CellStore::IsEmptyText(cell.content) ? 1 : 0;
                }
            });
        }
    }
    return count;
}

NumberFacts ExamineNumbers(const CellStore& store, const CellVector& cells, int first, int end) {
    NumberFacts facts;
    for (const Stretch& stretch : cells.GetStretches()) {
        const int from = std::max(first, stretch.first);
        const int to = std::min(end, stretch.GetEnd());
        if (from >= to) {
            continue;
        }
        facts.hasRuns = facts.hasRuns || stretch.hasRuns;
        if (stretch.kind == CellKind::Float64) {
            facts.areWhole = facts.areWhole && AreDoublesWhole(store, stretch, from, to);
            continue;
        }
        store.InSteps(from, to, [&](int begin, int stop) {
            for (int place = begin; place < stop; ++place) {
                const Cell cell = stretch.Get(place);
                if (cell.kind == CellKind::Int64) {
                    facts.areExact = facts.areExact && IsExact(cell.GetInteger());
                } else if (cell.kind == CellKind::Float32 || cell.kind == CellKind::Float64) {
                    facts.areWhole = facts.areWhole && IsWhole(cell.ToDouble());
                }
            }
        });
    }
    return facts;
}

void DistinctTexts::Add(CellStore& kept, std::string_view text) {
    bytes += static_cast<std::int64_t>(text.size());
    if (areTooMany) {
        return;
    }
    const std::size_t known = index.GetTexts().size();
    index.FindPassing(text);
    if (index.GetTexts().size() == known) {
        return;
    }
    if (kept.GetCharged() + text.size() > MostDistinctBytes) {
        areTooMany = true;
        index = TextIndex();
        return;
    }
    // The place in the index, and the text itself, which outlives the cell.
    kept.Charge(sizeof(std::string_view) + 2 * sizeof(std::uint64_t));
    index.KeepLast(CellStore::GetText(kept.AddText(text)));
}

void DistinctTexts::Add(CellStore& kept, const DistinctTexts& others) {
    const std::int64_t all = bytes + others.bytes;
    areTooMany = areTooMany || others.areTooMany;
    for (const std::string_view text : others.GetTexts()) {
        Add(kept, text);
    }
    bytes = all;
}

void ColumnEvidence::Add(CellStore& store, CellStore& kept, const CellVector& cells, int first, int end) {
    KindCounts more = CountKinds(store, cells, first, end);
    more.emptyTexts = more[CellKind::Text] > 0 ? CountEmptyTexts(store, cells, first, end) : 0;
    counts += more;
    if (more.GetNumbers() > 0) {
        facts += ExamineNumbers(store, cells, first, end);
        hasFractions = hasFractions ||
                       (facts.areWhole && more[CellKind::Float64] > 0 && cells.HasFractionSource(first, end));
    }
    if (counts[CellKind::Text] == counts.GetAll() && more[CellKind::Text] > 0) {
        store.InSteps(first, end, [&](int from, int to) {
            cells.ForEach(from, to,
                          [&](int /*place*/, const Cell& cell) { texts.Add(kept, cell.GetText()); });
        });
    }
}

void ColumnEvidence::Add(CellStore& kept, const ColumnEvidence& further) {
    counts += further.counts;
    facts += further.facts;
    hasFractions = hasFractions || further.hasFractions;
    texts.Add(kept, further.texts);
}

}  // namespace karta
