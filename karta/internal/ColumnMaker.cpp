#include "karta/internal/ColumnMaker.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "karta/internal/TextIndex.h"

namespace karta {

namespace {

using Stretch = CellVector::Stretch;

// Integers up to here are doubles without loss.
constexpr std::int64_t LargestExactInteger = std::int64_t{1} << 53;
constexpr std::int64_t MicrosecondsOfDay = 86'400'000'000;
// Memory that isn't written to costs nothing, but in whole pages.
constexpr std::uint64_t PageSize = 4096;

bool IsWhole(double value) {
    constexpr double Largest = static_cast<double>(LargestExactInteger);
    return value >= -Largest && value <= Largest && value == std::trunc(value) &&
           !(value == 0 && std::signbit(value));
}

bool IsExact(std::int64_t value) {
    return value >= -LargestExactInteger && value <= LargestExactInteger;
}

const char* NounOf(CellKind kind) {
    switch (kind) {
        case CellKind::Text:
            return "text";
        case CellKind::Bool:
            return "truth value";
        case CellKind::Date:
            return "date";
        case CellKind::Time:
            return "time";
        case CellKind::DateTime:
            return "date and time";
        case CellKind::Duration:
            return "duration";
        default:
            return "number";
    }
}

// "120 numbers, 2 dates and 1 text".
std::string Describe(KindCounts counts) {
    counts[CellKind::Float64] = counts.GetNumbers();
    counts[CellKind::Int64] = counts[CellKind::Float32] = 0;
    std::vector<std::string> parts;
    for (const CellKind kind : {CellKind::Float64, CellKind::Bool, CellKind::Date, CellKind::DateTime,
                                CellKind::Time, CellKind::Duration, CellKind::Text}) {
        if (counts[kind] > 0) {
            parts.push_back(CountOf(static_cast<std::uint64_t>(counts[kind]), NounOf(kind),
                                    kind == CellKind::DateTime ? "dates and times" : ""));
        }
    }
    std::string text = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i) {
        text += (i + 1 == parts.size() ? " and " : ", ") + parts[i];
    }
    return text;
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

// Doubles that are whole, as 64-bit numbers where they lie.
void TurnWhole(const CellStore& store, CellVector& cells, int first, int end) {
    for (Stretch& stretch : cells.GetStretches()) {
        if (stretch.kind != CellKind::Float64 || stretch.first > first || stretch.GetEnd() <= first) {
            continue;
        }
        store.InSteps(first, std::min(end, stretch.GetEnd()), [&](int from, int to) {
            for (int place = from; place < to; ++place) {
                const double value = stretch.values.As<double>()[place - stretch.first];
                // What is missing may be anything.
                stretch.values.As<std::int64_t>()[place - stretch.first] =
                    IsWhole(value) ? static_cast<std::int64_t>(value) : 0;
            }
        });
        stretch.kind = CellKind::Int64;
    }
}

std::int64_t CountEmptyTexts(const CellStore& store, const Stretch& stretch, int first, int end) {
    const std::uint64_t* const words = stretch.values.As<std::uint64_t>();
    std::int64_t count = 0;
    store.InSteps(first, end, [&](int from, int to) {
        for (int place = from; place < to; ++place) {
            count += CellStore::IsEmptyText(words[place - stretch.first]) && stretch.IsThere(place) ? 1 : 0;
        }
    });
    return count;
}

/** What the numbers of a column are. */
struct NumberFacts {
    bool areWhole = true;  // also as 64-bit numbers, without loss
    bool areExact = true;  // as doubles, without loss
    bool hasRuns = false;  // an array of doubles stays one
};

NumberFacts Examine(const CellStore& store, const CellVector& cells, int first, int end) {
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

}  // namespace

std::int64_t KindCounts::GetAll() const {
    std::int64_t all = 0;
    for (std::size_t kind = 1; kind < CellKinds; ++kind) {
        all += counts[kind];
    }
    return all;
}

KindCounts CountKinds(const CellStore& store, const CellVector& cells, int first, int end) {
    KindCounts counts;
    for (const Stretch& stretch : cells.GetStretches()) {
        const int from = std::max(first, stretch.first);
        const int to = std::min(end, stretch.GetEnd());
        if (from >= to) {
            continue;
        }
        if (stretch.kind != CellKind::Mixed) {
            counts[stretch.kind] += stretch.hasMissing ? CountBits(stretch.bits.As<std::uint8_t>(),
                                                                   from - stretch.first, to - from)
                                                       : to - from;
            counts.emptyTexts +=
                stretch.kind == CellKind::Text ? CountEmptyTexts(store, stretch, from, to) : 0;
            continue;
        }
        store.InSteps(from, to, [&](int begin, int stop) {
            for (int place = begin; place < stop; ++place) {
                const Cell cell = stretch.Get(place);
                if (cell.kind != CellKind::Missing) {
                    ++counts[cell.kind];
                    counts.emptyTexts +=
                        cell.kind == CellKind::Text && CellStore::IsEmptyText(cell.content) ? 1 : 0;
                }
            }
        });
    }
    return counts;
}

template <class Use>
void ColumnMaker::ForEach(const CellVector& cells, int first, int end, Use use) const {
    store.InSteps(first, end, [&](int from, int to) { cells.ForEach(from, to, use); });
}

std::shared_ptr<Buffer> ColumnMaker::NewBuffer(std::size_t size) {
    return std::make_shared<Buffer>(size);
}

void ColumnMaker::MarkThere(ColumnBuffers& buffers, Buffer& validity, std::int64_t count) {
    buffers.nullCount = buffers.rows - count;
    if (buffers.nullCount > 0) {
        buffers.validity = std::make_shared<Buffer>(std::move(validity));
    }
}

// Cells of some kinds as values of one. Pages without any value are never touched: a column that is empty
// but for a few cells takes few.
template <class Value, class Conversion>
ColumnBuffers ColumnMaker::Gather(const CellVector& cells, int first, int rows, ColumnType type,
                                  Conversion convert) {
    ColumnBuffers buffers;
    buffers.type = type;
    buffers.rows = rows;
    const auto size = static_cast<std::size_t>(rows) * sizeof(Value);
    const auto there = static_cast<std::uint64_t>(CountKinds(store, cells, first, first + rows).GetAll());
    store.Charge(std::min<std::uint64_t>(size, there * PageSize) + BytesOfBits(rows));
    auto values = NewBuffer(size);
    Buffer validity(BytesOfBits(rows));
    std::int64_t count = 0;
    ForEach(cells, first, first + rows, [&](int place, const Cell& cell) {
        if (cell.kind == CellKind::Text) {
            return;
        }
        values->template As<Value>()[place - first] = convert(cell);
        SetBit(validity.As<std::uint8_t>(), place - first);
        ++count;
    });
    buffers.values = std::move(values);
    MarkThere(buffers, validity, count);
    return buffers;
}

// Whether the rows lie as they are to be, in one stretch that has all of them that are there.
bool ColumnMaker::IsTakeable(const CellVector& cells, int first, int rows, CellKind kind) const {
    int found = 0;
    bool isTakeable = false;
    for (const Stretch& stretch : cells.GetStretches()) {
        if (stretch.GetEnd() > first && stretch.first < first + rows) {
            ++found;
            isTakeable = stretch.kind == kind && stretch.first <= first;
        }
    }
    return found == 1 && isTakeable;
}

// The stretch's own memory; what stands in front of the first row stays there.
ColumnBuffers ColumnMaker::Take(CellVector& cells, int first, int rows, CellKind kind, ColumnType type) {
    const auto stretch =
        std::find_if(cells.GetStretches().begin(), cells.GetStretches().end(), [&](const Stretch& candidate) {
            return candidate.kind == kind && candidate.first <= first && candidate.GetEnd() > first;
        });
    ColumnBuffers buffers;
    buffers.type = type;
    buffers.rows = rows;
    buffers.offset = first - stretch->first;
    const std::int64_t end = buffers.offset + rows;
    const std::size_t width = type == ColumnType::Float32 || type == ColumnType::Date32 ? 4 : 8;
    if (end > stretch->count && !stretch->hasMissing) {
        store.Charge(BytesOfBits(end));
        stretch->bits.Resize(BytesOfBits(end));
        std::uint8_t* const bits = stretch->bits.As<std::uint8_t>();
        std::memset(bits, 0xff, static_cast<std::size_t>(stretch->count / 8));
        for (int place = stretch->count / 8 * 8; place < stretch->count; ++place) {
            SetBit(bits, place);
        }
        stretch->hasMissing = true;
    } else if (stretch->hasMissing) {
        stretch->bits.Resize(BytesOfBits(end));
        for (std::int64_t place = end; (place & 7) != 0; ++place) {
            ClearBit(stretch->bits.As<std::uint8_t>(), place);
        }
    }
    // What there was room for beyond is given back; rows without a value are zeros.
    const std::size_t filled = static_cast<std::size_t>(stretch->count) * width;
    if (filled < static_cast<std::size_t>(end) * width) {
        stretch->values.ResizeUnset(filled);
    }
    stretch->values.Resize(static_cast<std::size_t>(end) * width);
    buffers.values = std::make_shared<Buffer>(std::move(stretch->values));
    if (stretch->hasMissing) {
        const std::int64_t there = CountBits(stretch->bits.As<std::uint8_t>(), buffers.offset, rows);
        buffers.nullCount = rows - there;
        if (there < rows) {
            buffers.validity = std::make_shared<Buffer>(std::move(stretch->bits));
        }
    }
    cells.GetStretches().clear();
    return buffers;
}

ColumnBuffers ColumnMaker::MakeNumbers(CellVector& cells, int first, int rows, const KindCounts& counts,
                                       bool& isText) {
    const int end = first + rows;
    const NumberFacts facts = Examine(store, cells, first, end);
    const bool areWhole = facts.areWhole && counts[CellKind::Float32] == 0 &&
                          (!facts.hasRuns || counts[CellKind::Int64] > 0) &&
                          (counts[CellKind::Float64] == 0 || !cells.HasFractionSource(first, end));
    if (areWhole) {
        if (counts[CellKind::Int64] == 0 && IsTakeable(cells, first, rows, CellKind::Float64)) {
            TurnWhole(store, cells, first, first + rows);
            return Take(cells, first, rows, CellKind::Int64, ColumnType::Int64);
        }
        if (counts[CellKind::Float64] == 0 && IsTakeable(cells, first, rows, CellKind::Int64)) {
            return Take(cells, first, rows, CellKind::Int64, ColumnType::Int64);
        }
        return Gather<std::int64_t>(cells, first, rows, ColumnType::Int64, [](const Cell& cell) {
            return cell.kind == CellKind::Int64 ? cell.GetInteger()
                                                : static_cast<std::int64_t>(cell.ToDouble());
        });
    }
    if (counts[CellKind::Float32] == counts.GetNumbers()) {
        return IsTakeable(cells, first, rows, CellKind::Float32)
                   ? Take(cells, first, rows, CellKind::Float32, ColumnType::Float32)
                   : Gather<float>(cells, first, rows, ColumnType::Float32,
                                   [](const Cell& cell) { return cell.GetFloat(); });
    }
    if (!facts.areExact) {
        isText = true;
        return MakeTexts(cells, first, rows);
    }
    return IsTakeable(cells, first, rows, CellKind::Float64)
               ? Take(cells, first, rows, CellKind::Float64, ColumnType::Float64)
               : Gather<double>(cells, first, rows, ColumnType::Float64,
                                [](const Cell& cell) { return cell.ToDouble(); });
}

ColumnBuffers ColumnMaker::MakeBools(const CellVector& cells, int first, int rows) {
    ColumnBuffers buffers;
    buffers.type = ColumnType::Bool;
    buffers.rows = rows;
    store.Charge(2 * BytesOfBits(rows));
    auto values = NewBuffer(BytesOfBits(rows));
    Buffer validity(BytesOfBits(rows));
    std::int64_t count = 0;
    ForEach(cells, first, first + rows, [&](int place, const Cell& cell) {
        if (cell.kind != CellKind::Bool) {
            return;
        }
        if (cell.content != 0) {
            SetBit(values->As<std::uint8_t>(), place - first);
        }
        SetBit(validity.As<std::uint8_t>(), place - first);
        ++count;
    });
    buffers.values = std::move(values);
    MarkThere(buffers, validity, count);
    return buffers;
}

ColumnBuffers ColumnMaker::MakeTexts(const CellVector& cells, int first, int rows) {
    // Texts that aren't kept as such are made once for their lengths, and once for their bytes.
    std::string made;
    const auto textOf = [&](int place, const Cell& cell) -> std::string_view {
        if (cell.kind == CellKind::Text) {
            return cell.GetText();
        }
        made = cells.GetText(place);
        return made;
    };
    std::size_t bytes = 0;
    std::int64_t count = 0;
    bool areTexts = true;
    ForEach(cells, first, first + rows, [&](int place, const Cell& cell) {
        bytes += textOf(place, cell).size();
        areTexts = areTexts && cell.kind == CellKind::Text;
        ++count;
    });
    const std::size_t offsetsSize = (static_cast<std::size_t>(rows) + 1) * sizeof(std::int64_t);
    if (areTexts) {
        ColumnBuffers dictionary =
            MakeDictionary(cells, first, rows, static_cast<std::int64_t>(bytes + offsetsSize));
        if (dictionary.dictionary != nullptr) {
            return dictionary;
        }
    }
    ColumnBuffers buffers;
    buffers.type = ColumnType::Text;
    buffers.rows = rows;
    store.Charge(bytes + offsetsSize + BytesOfBits(rows));
    auto offsets = NewBuffer(offsetsSize);
    auto text = NewBuffer(bytes);
    Buffer validity(BytesOfBits(rows));
    std::int64_t end = 0;
    int next = first;
    const auto endUpTo = [&](int place) {
        for (; next < place; ++next) {
            offsets->As<std::int64_t>()[next - first + 1] = end;
        }
    };
    ForEach(cells, first, first + rows, [&](int place, const Cell& cell) {
        endUpTo(place);
        const std::string_view one = textOf(place, cell);
        if (!one.empty()) {
            std::memcpy(text->As<char>() + end, one.data(), one.size());
        }
        end += static_cast<std::int64_t>(one.size());
        SetBit(validity.As<std::uint8_t>(), place - first);
    });
    endUpTo(first + rows);
    buffers.values = std::move(offsets);
    buffers.text = std::move(text);
    MarkThere(buffers, validity, count);
    return buffers;
}

// Places in a list of the distinct texts, where both together take less than half; else nothing.
ColumnBuffers ColumnMaker::MakeDictionary(const CellVector& cells, int first, int rows,
                                          std::int64_t plainSize) {
    const std::int64_t placesSize = std::int64_t{rows} * 4;
    TextIndex index;
    std::int64_t size = placesSize + 8;
    const auto isLess = [&] { return 2 * size < plainSize; };
    if (!isLess()) {
        return {};
    }
    ColumnBuffers buffers;
    buffers.type = ColumnType::Text;
    buffers.rows = rows;
    store.Charge(static_cast<std::uint64_t>(placesSize) + BytesOfBits(rows));
    auto places = NewBuffer(static_cast<std::size_t>(placesSize));
    Buffer validity(BytesOfBits(rows));
    std::int64_t count = 0;
    std::uint64_t above = 0;
    std::int32_t placeOfAbove = 0;
    ForEach(cells, first, first + rows, [&](int place, const Cell& cell) {
        if (!isLess()) {
            return;
        }
        if (cell.content != above) {
            const std::size_t known = index.GetTexts().size();
            placeOfAbove = index.Find(cell.GetText());
            if (index.GetTexts().size() > known) {
                size += static_cast<std::int64_t>(cell.GetText().size()) + 8;
            }
            above = cell.content;
        }
        places->As<std::int32_t>()[place - first] = placeOfAbove;
        SetBit(validity.As<std::uint8_t>(), place - first);
        ++count;
    });
    if (!isLess()) {
        return {};
    }
    store.Charge(static_cast<std::uint64_t>(size - placesSize));
    const std::vector<std::string_view>& distinct = index.GetTexts();
    ColumnBuffers texts;
    texts.type = ColumnType::Text;
    texts.rows = static_cast<std::int64_t>(distinct.size());
    auto offsets = NewBuffer((distinct.size() + 1) * sizeof(std::int64_t));
    auto bytes = NewBuffer(static_cast<std::size_t>(size - placesSize) - 8 * (distinct.size() + 1));
    std::int64_t end = 0;
    for (std::size_t i = 0; i < distinct.size(); ++i) {
        if (!distinct[i].empty()) {
            std::memcpy(bytes->As<char>() + end, distinct[i].data(), distinct[i].size());
        }
        end += static_cast<std::int64_t>(distinct[i].size());
        offsets->As<std::int64_t>()[i + 1] = end;
    }
    texts.values = std::move(offsets);
    texts.text = std::move(bytes);
    buffers.values = std::move(places);
    buffers.dictionary = std::make_shared<Column>("", "", std::move(texts));
    MarkThere(buffers, validity, count);
    return buffers;
}

Column ColumnMaker::MakeText(const CellVector& cells, int first, int rows, const std::string& name) {
    return {name, "", MakeTexts(cells, first, rows)};
}

void ColumnMaker::NoteMixture(Note note) {
    if (++mixtures <= MostToldMixtures) {
        notes.Add(std::move(note));
    } else if (firstUntold.empty()) {
        firstUntold = note.place;
    }
}

void ColumnMaker::NoteFurtherMixtures() {
    if (mixtures > MostToldMixtures) {
        const std::uint64_t more = mixtures - MostToldMixtures;
        notes.Add({"mixed-columns", more, firstUntold,
                   CountOf(more, "further column") + (more == 1 ? " holds" : " hold") +
                       " values of several kinds (first: " + firstUntold + ")"});
    }
}

Column ColumnMaker::Make(CellVector& cells, int first, int rows, const std::string& name,
                         const std::string& unit, const std::string& place) {
    const std::string label = name.empty() ? place : "'" + name + "'";
    KindCounts counts = CountKinds(store, cells, first, first + rows);
    if (counts.GetAll() > counts[CellKind::Text] && counts.emptyTexts == counts[CellKind::Text] &&
        counts.emptyTexts > 0) {
        // A formula's "" among numbers.
        NoteMixture({"empty-texts", static_cast<std::uint64_t>(counts.emptyTexts), place,
                     CountOf(static_cast<std::uint64_t>(counts.emptyTexts), "empty text") + " of column " +
                         label + (counts.emptyTexts == 1 ? " is missing in it" : " are missing in it")});
        counts[CellKind::Text] = 0;
    }
    const std::int64_t all = counts.GetAll();
    ColumnBuffers buffers;
    buffers.rows = rows;
    const auto integers = [&](CellKind kind, ColumnType type) {
        return IsTakeable(cells, first, rows, kind)
                   ? Take(cells, first, rows, kind, type)
                   : Gather<std::int64_t>(cells, first, rows, type,
                                          [](const Cell& cell) { return cell.GetInteger(); });
    };
    bool isMixed = false;
    if (all == 0) {
        // Arrow's null type.
    } else if (counts.GetNumbers() == all) {
        buffers = MakeNumbers(cells, first, rows, counts, isMixed);
    } else if (counts[CellKind::Text] == all) {
        buffers = MakeTexts(cells, first, rows);
    } else if (counts[CellKind::Bool] == all) {
        buffers = MakeBools(cells, first, rows);
    } else if (counts[CellKind::Time] == all) {
        buffers = integers(CellKind::Time, ColumnType::Time64);
    } else if (counts[CellKind::DateTime] == all) {
        buffers = integers(CellKind::DateTime, ColumnType::Timestamp);
    } else if (counts[CellKind::Duration] == all) {
        buffers = integers(CellKind::Duration, ColumnType::Duration);
    } else if (counts[CellKind::Date] == all) {
        buffers = IsTakeable(cells, first, rows, CellKind::Date)
                      ? Take(cells, first, rows, CellKind::Date, ColumnType::Date32)
                      : Gather<std::int32_t>(cells, first, rows, ColumnType::Date32, [](const Cell& cell) {
                            return static_cast<std::int32_t>(cell.content);
                        });
    } else if (counts.GetDates() == all) {
        buffers = Gather<std::int64_t>(cells, first, rows, ColumnType::Timestamp, [](const Cell& cell) {
            return cell.kind == CellKind::Date
                       ? std::int64_t{static_cast<std::int32_t>(cell.content)} * MicrosecondsOfDay
                       : cell.GetInteger();
        });
    } else {
        isMixed = true;
        buffers = MakeTexts(cells, first, rows);
    }
    if (isMixed) {
        NoteMixture({"mixed-column", static_cast<std::uint64_t>(all), place,
                     "column " + label + " holds " + Describe(counts) + " and is text"});
    }
    // The cells are in the column now.
    cells = CellVector();
    return {name, unit, std::move(buffers)};
}

}  // namespace karta
