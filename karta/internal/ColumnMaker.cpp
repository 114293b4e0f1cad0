#include "karta/internal/ColumnMaker.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "base/SideBySide.h"
#include "karta/internal/ChangedMeanwhile.h"
#include "karta/internal/ColumnLetters.h"
#include "karta/internal/WordPlaces.h"

namespace karta {

namespace {

using Stretch = CellVector::Stretch;

constexpr std::int64_t MicrosecondsOfDay = 86'400'000'000;
// Memory that isn't written to costs nothing, but in whole pages.
constexpr std::uint64_t PageSize = 4096;

constexpr std::size_t LeastCellsForThreads = std::size_t{1} << 18;
constexpr std::size_t LeastCellsOfJob = std::size_t{1} << 16;

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

// Doubles that are whole, as 64-bit numbers where they lie.
void TurnWhole(const CellStore& store, CellVector& cells, int first, int end) {
    for (Stretch& stretch : cells.GetStretches()) {
        if (stretch.kind != CellKind::Float64 || stretch.first > first || stretch.GetEnd() <= first) {
            continue;
        }
        store.InSteps(first, std::min(end, stretch.GetEnd()), [&](int from, int to) {
            for (int place = from; !stretch.hasMissing && place < to; ++place) {
                const double value = stretch.values.As<double>()[place - stretch.first];
                stretch.values.As<std::int64_t>()[place - stretch.first] = static_cast<std::int64_t>(value);
            }
            for (int place = from; stretch.hasMissing && place < to; ++place) {
                const double value = stretch.values.As<double>()[place - stretch.first];
                // What is missing may be anything.
                stretch.values.As<std::int64_t>()[place - stretch.first] =
                    IsWhole(value) ? static_cast<std::int64_t>(value) : 0;
            }
        });
        stretch.kind = CellKind::Int64;
    }
}

// The distinct texts one behind the other.
std::shared_ptr<const Column> MakeTextColumn(const std::vector<std::string_view>& distinct) {
    std::size_t size = 0;
    for (const std::string_view one : distinct) {
        size += one.size();
    }
    ColumnBuffers texts;
    texts.type = ColumnType::Text;
    texts.rows = static_cast<std::int64_t>(distinct.size());
    auto offsets = std::make_shared<Buffer>((distinct.size() + 1) * sizeof(std::int64_t));
    auto bytes = std::make_shared<Buffer>(size);
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
    return std::make_shared<Column>("", "", std::move(texts));
}

/** The places of rows' texts among the distinct ones. */
class DistinctPlaces {
public:
    explicit DistinctPlaces(std::int32_t* placesOfRows) : places(placesOfRows) {}

    /** Texts in the store stay where they are: the same one is met again, and often in the next row. */
    void AddKept(int row, std::uint64_t word) {
        ++count;
        Finish();
        if (word != above) {
            placeOfAbove = FindKept(word);
            above = word;
        }
        places[row] = placeOfAbove;
    }
    void AddLaid(int row, std::string_view text) {
        ++count;
        waiting[waitingCount] = text;
        rows[waitingCount] = row;
        if (++waitingCount == waiting.size()) {
            Finish();
        }
    }
    /** Those that are waiting for others to be looked up with. */
    void Finish() {
        if (waitingCount > 0) {
            std::array<std::int32_t, TextIndex::MostAtOnce> found{};
            index.FindPassing(std::span(waiting).first(waitingCount), found);
            for (std::size_t i = 0; i < waitingCount; ++i) {
                places[rows[i]] = found[i];
            }
            waitingCount = 0;
            CountNew();
        }
    }

    /**
     * Texts of a stretch that are codes, and whose first row's place is that; ends where `goesOn`, which is
     * asked behind each text that is new, says no.
     */
    template <class GoesOn>
    void AddListed(const Stretch& stretch, int from, int to, int firstRow, GoesOn goesOn) {
        Finish();
        placesOfCodes.resize(stretch.listed->GetCount(), WordPlaces::Unknown);
        std::int32_t* const known = placesOfCodes.data();
        for (int place = from; place < to; ++place) {
            if (!stretch.IsThere(place)) {
                continue;
            }
            const std::uint32_t code = stretch.GetCode(place);
            if (known[code] == WordPlaces::Unknown) {
                known[code] = index.FindPassing(stretch.listed->GetText(code));
                CountNew();
                if (!goesOn(size)) {
                    return;
                }
            }
            places[place - firstRow] = known[code];
            ++count;
        }
    }

    /** What a list of them takes. */
    std::int64_t GetSize() const { return size; }
    std::int64_t GetCount() const { return count; }
    const std::vector<std::string_view>& GetTexts() const { return index.GetTexts(); }

private:
    // Texts that came one by one have a word each, equal ones too: these tell nothing, and would fill memory.
    std::int32_t FindKept(std::uint64_t word) {
        constexpr std::size_t FewWords = std::size_t{1} << 14;
        if (kept.GetCount() > std::max(FewWords, 2 * index.GetTexts().size())) {
            const std::int32_t place = index.Find(CellStore::GetText(word));
            CountNew();
            return place;
        }
        std::int32_t& place = kept.At(word);
        if (place == WordPlaces::Unknown) {
            place = index.FindPassing(CellStore::GetText(word));
            CountNew();
        }
        return place;
    }
    void CountNew() {
        for (; counted < index.GetTexts().size(); ++counted) {
            size += static_cast<std::int64_t>(index.GetTexts()[counted].size()) + 8;
        }
    }

    std::int32_t* places;
    TextIndex index;
    std::size_t counted = 0;
    std::int64_t size = 0;
    std::int64_t count = 0;
    WordPlaces kept;
    std::vector<std::int32_t> placesOfCodes;
    std::uint64_t above = ~std::uint64_t{0};  // no text has this word
    std::int32_t placeOfAbove = 0;
    std::array<std::string_view, TextIndex::MostAtOnce> waiting;
    std::array<int, TextIndex::MostAtOnce> rows{};
    std::size_t waitingCount = 0;
};

// Whether a table of all codes that there are is worth it.
bool AreFewCodes(const Stretch& stretch) {
    constexpr std::size_t AlwaysFew = 1024;
    return stretch.listed != nullptr &&
           stretch.listed->GetCount() <= std::max(AlwaysFew, static_cast<std::size_t>(stretch.count));
}

// The values of so many rows: what there was room for beyond is given back; rows without a value are zeros.
void FitValues(Stretch& stretch, std::int64_t rows, std::size_t width) {
    const std::size_t filled = static_cast<std::size_t>(stretch.count) * width;
    const std::size_t size = static_cast<std::size_t>(rows) * width;
    if (filled < size) {
        stretch.values.ResizeUnset(filled);
    }
    stretch.values.Resize(size);
}

// The same of laid texts: rows without one are empty where the last one ends.
void FitTexts(Stretch& stretch, std::int64_t rows) {
    const std::int64_t end = stretch.values.As<std::int64_t>()[stretch.count];
    stretch.values.ResizeUnset((static_cast<std::size_t>(rows) + 1) * sizeof(std::int64_t));
    if (rows > stretch.count) {
        std::fill_n(stretch.values.As<std::int64_t>() + stretch.count + 1, rows - stretch.count, end);
    }
    stretch.text.Resize(static_cast<std::size_t>(stretch.values.As<std::int64_t>()[rows]));
}

}  // namespace

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
            isTakeable =
                stretch.kind == kind && stretch.first <= first && (kind != CellKind::Text || stretch.areLaid);
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
    if (type == ColumnType::Text) {
        FitTexts(*stretch, end);
        buffers.text = std::make_shared<Buffer>(std::move(stretch->text));
    } else {
        FitValues(*stretch, end, width);
    }
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

template <class Value>
ColumnBuffers ColumnMaker::TakeOrGather(CellVector& cells, int first, int rows, CellKind kind,
                                        ColumnType type) {
    if (IsTakeable(cells, first, rows, kind)) {
        return Take(cells, first, rows, kind, type);
    }
    return Gather<Value>(cells, first, rows, type, [type](const Cell& cell) {
        if (type == ColumnType::Float32 || type == ColumnType::Float64) {
            return static_cast<Value>(cell.ToDouble());
        }
        const bool isDay = cell.kind == CellKind::Date;
        const std::int64_t value = isDay ? static_cast<std::int32_t>(cell.content) : cell.GetInteger();
        return static_cast<Value>(isDay && type == ColumnType::Timestamp ? value * MicrosecondsOfDay : value);
    });
}

ColumnBuffers ColumnMaker::MakeWholeNumbers(CellVector& cells, int first, int rows) {
    if (IsTakeable(cells, first, rows, CellKind::Float64)) {
        TurnWhole(store, cells, first, first + rows);
    }
    if (IsTakeable(cells, first, rows, CellKind::Int64)) {
        return Take(cells, first, rows, CellKind::Int64, ColumnType::Int64);
    }
    return Gather<std::int64_t>(cells, first, rows, ColumnType::Int64, [](const Cell& cell) {
        return cell.kind == CellKind::Int64 ? cell.GetInteger() : static_cast<std::int64_t>(cell.ToDouble());
    });
}

ColumnBuffers ColumnMaker::MakeBools(const CellVector& cells, int first, int rows) {
    ColumnBuffers buffers;
    buffers.type = ColumnType::Bool;
    buffers.rows = rows;
    store.Charge(2 * BytesOfBits(rows));
    auto values = NewBuffer(BytesOfBits(rows));
    Buffer validity(BytesOfBits(rows));
    std::int64_t count = 0;
    if (const Stretch& last = cells.GetStretches().back(); last.kind == CellKind::Bool && !last.hasMissing &&
                                                           last.first <= first &&
                                                           last.GetEnd() >= first + rows) {
        const std::uint8_t* const from = last.values.As<std::uint8_t>() + (first - last.first);
        std::uint8_t* const bits = values->As<std::uint8_t>();
        store.InSteps(0, rows, [&](int begin, int end) {
            for (int row = begin; row < end; ++row) {
                bits[row >> 3] = static_cast<std::uint8_t>(bits[row >> 3] | from[row] << (row & 7));
            }
        });
        buffers.values = std::move(values);
        return buffers;
    }
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

// Texts that lie as they are to be stay where they are, unless a list of the distinct ones takes much less.
ColumnBuffers ColumnMaker::TakeOrMakeTexts(CellVector& cells, int first, int rows, bool mayBeDictionary) {
    if (!IsTakeable(cells, first, rows, CellKind::Text)) {
        return MakeTexts(cells, first, rows, mayBeDictionary);
    }
    // A column in which texts stand for values has no such list.
    const bool areTexts = std::none_of(cells.GetStretches().begin(), cells.GetStretches().end(),
                                       [](const Stretch& stretch) { return !stretch.written.empty(); });
    if (mayBeDictionary && areTexts) {
        std::int64_t bytes = 0;
        for (const Stretch& stretch : cells.GetStretches()) {
            const std::int64_t* const begins = stretch.values.As<std::int64_t>();
            bytes = stretch.areLaid ? begins[std::min(stretch.count, first + rows - stretch.first)] -
                                          begins[first - stretch.first]
                                    : bytes;
        }
        ColumnBuffers dictionary = MakeDictionary(cells, first, rows, bytes + (std::int64_t{rows} + 1) * 8);
        if (dictionary.dictionary != nullptr) {
            return dictionary;
        }
    }
    return Take(cells, first, rows, CellKind::Text, ColumnType::Text);
}

ColumnBuffers ColumnMaker::MakeTexts(const CellVector& cells, int first, int rows, bool mayBeDictionary) {
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
    for (const Stretch& stretch : cells.GetStretches()) {
        const auto addSizes = [&](int from, int to) {
            for (int place = from; place < to; ++place) {
                if (const Cell cell = stretch.Get(place); cell.kind != CellKind::Missing) {
                    bytes += textOf(place, cell).size();
                    areTexts = areTexts && cell.kind == CellKind::Text;
                    ++count;
                }
            }
        };
        const auto addListedSizes = [&](int from, int to) {
            for (int place = from; place < to; ++place) {
                if (stretch.IsThere(place)) {
                    bytes += stretch.listed->GetSize(stretch.GetCode(place));
                    ++count;
                }
            }
        };
        const int from = std::max(first, stretch.first);
        const int to = std::min(first + rows, stretch.GetEnd());
        if (stretch.listed != nullptr) {
            store.InSteps(from, to, addListedSizes);
        } else {
            store.InSteps(from, to, addSizes);
        }
    }
    const std::size_t offsetsSize = (static_cast<std::size_t>(rows) + 1) * sizeof(std::int64_t);
    if (areTexts && mayBeDictionary) {
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

// Whether texts may come again so often that a list of the distinct ones takes less than half: of a long
// column a sample tells at once where they don't. If there were no more distinct ones than such a list may
// have, pairs of the same text would be in any two rows with at least one chance in that many.
bool ColumnMaker::MayRepeat(const CellVector& cells, int first, int rows, std::int64_t plainSize) const {
    constexpr int LeastRows = 1 << 14;
    constexpr double PairsExpected = 128;
    constexpr std::int32_t LeastPairs = 32;
    const auto most =
        static_cast<double>(std::min<std::int64_t>((plainSize / 2 - std::int64_t{rows} * 4) / 8, rows));
    const auto samples = std::sqrt(2 * PairsExpected * std::max(most, 1.0));
    const auto stride = static_cast<std::uint32_t>(rows / samples);
    if (rows < LeastRows || stride < 8) {
        return true;
    }
    TextIndex index;
    std::int32_t texts = 0;
    std::uint32_t chance = 1;
    // At uneven distances, so that no order of the rows hides the pairs.
    for (std::int64_t row = 0; row < rows; row += 1 + (chance >> 8U) % (2 * stride)) {
        const Cell cell = cells.Get(first + static_cast<int>(row));
        if (cell.kind == CellKind::Text) {
            index.FindPassing(cell.GetText());
            ++texts;
        }
        chance = chance * 1'664'525U + 1'013'904'223U;
    }
    return texts < samples / 2 || texts - static_cast<std::int32_t>(index.GetTexts().size()) >= LeastPairs;
}

// Places in a list of the distinct texts, where both together take less than half; else nothing.
ColumnBuffers ColumnMaker::MakeDictionary(const CellVector& cells, int first, int rows,
                                          std::int64_t plainSize) {
    const std::int64_t placesSize = std::int64_t{rows} * 4;
    const auto isLess = [&](std::int64_t size) { return 2 * (placesSize + 8 + size) < plainSize; };
    if (!isLess(0) || !MayRepeat(cells, first, rows, plainSize)) {
        return {};
    }
    ColumnBuffers buffers;
    buffers.type = ColumnType::Text;
    buffers.rows = rows;
    store.Charge(static_cast<std::uint64_t>(placesSize) + BytesOfBits(rows));
    auto places = NewBuffer(static_cast<std::size_t>(placesSize));
    Buffer validity(BytesOfBits(rows));
    DistinctPlaces distinct(places->As<std::int32_t>());
    for (const Stretch& stretch : cells.GetStretches()) {
        const auto addListed = [&](int from, int to) {
            distinct.AddListed(stretch, from, to, first, isLess);
            if (!stretch.hasMissing) {
                SetBits(validity.As<std::uint8_t>(), from - first, to - from);
                return;
            }
            for (int place = from; place < to; ++place) {
                if (stretch.IsThere(place)) {
                    SetBit(validity.As<std::uint8_t>(), place - first);
                }
            }
        };
        const auto addPlaces = [&](int from, int to) {
            if (AreFewCodes(stretch)) {
                if (isLess(distinct.GetSize())) {
                    addListed(from, to);
                }
                return;
            }
            for (int place = from; place < to && isLess(distinct.GetSize()); ++place) {
                const Cell cell = stretch.areLaid ? Cell() : stretch.Get(place);
                if (stretch.areLaid ? !stretch.IsThere(place) : cell.kind != CellKind::Text) {
                    continue;
                }
                if (stretch.areLaid) {
                    distinct.AddLaid(place - first, stretch.GetText(place));
                } else {
                    distinct.AddKept(place - first, cell.content);
                }
                SetBit(validity.As<std::uint8_t>(), place - first);
            }
        };
        store.InSteps(std::max(first, stretch.first), std::min(first + rows, stretch.GetEnd()), addPlaces);
    }
    distinct.Finish();
    if (!isLess(distinct.GetSize())) {
        return {};
    }
    store.Charge(static_cast<std::uint64_t>(distinct.GetSize()) + 8);
    buffers.values = std::move(places);
    buffers.dictionary = MakeTextColumn(distinct.GetTexts());
    MarkThere(buffers, validity, distinct.GetCount());
    return buffers;
}

// Places in a list that is known.
ColumnBuffers ColumnMaker::MakePlaces(const CellVector& cells, int first, int rows,
                                      const std::shared_ptr<const Column>& dictionary) {
    TextIndex index;
    for (std::int64_t i = 0; i < dictionary->GetRowCount(); ++i) {
        index.Find(dictionary->GetText(i));
    }
    ColumnBuffers buffers;
    buffers.type = ColumnType::Text;
    buffers.rows = rows;
    store.Charge(static_cast<std::uint64_t>(rows) * sizeof(std::int32_t) + BytesOfBits(rows));
    auto places = NewBuffer(static_cast<std::size_t>(rows) * sizeof(std::int32_t));
    Buffer validity(BytesOfBits(rows));
    std::int64_t count = 0;
    ForEach(cells, first, first + rows, [&](int place, const Cell& cell) {
        places->As<std::int32_t>()[place - first] = index.Find(cell.GetText());
        SetBit(validity.As<std::uint8_t>(), place - first);
        ++count;
    });
    if (index.GetTexts().size() > static_cast<std::size_t>(dictionary->GetRowCount())) {
        throw ChangedMeanwhile();
    }
    buffers.values = std::move(places);
    buffers.dictionary = dictionary;
    MarkThere(buffers, validity, count);
    return buffers;
}

Column ColumnMaker::MakeText(const CellVector& cells, int first, int rows, const std::string& name) {
    return {name, "", MakeTexts(cells, first, rows, true)};
}

void ColumnMaker::NoteMixture(const Mixture& mixture, const std::string& name, int col) {
    const std::string place = LettersOf(col);
    const std::string label = name.empty() ? place : "'" + name + "'";
    const auto add = [&](const char* code, std::int64_t count, const std::string& text) {
        if (++mixtures <= MostToldMixtures) {
            notes.Add({code, static_cast<std::uint64_t>(count), place, text});
        } else if (firstUntold.empty()) {
            firstUntold = place;
        }
    };
    if (const std::int64_t count = mixture.emptyTexts; count > 0) {
        add("empty-texts", count,
            CountOf(static_cast<std::uint64_t>(count), "empty text") + " of column " + label +
                (count == 1 ? " is missing in it" : " are missing in it"));
    }
    if (mixture.isText) {
        add("mixed-column", mixture.counts.GetAll(),
            "column " + label + " holds " + Describe(mixture.counts) + " and is text");
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

// Of numbers alone. Text where a whole number is none of a double.
ColumnType ColumnMaker::TypeOf(const KindCounts& counts, const NumberFacts& facts, bool hasFractions) const {
    if (facts.areWhole && counts[CellKind::Float32] == 0 && (!facts.hasRuns || counts[CellKind::Int64] > 0) &&
        !hasFractions) {
        return ColumnType::Int64;
    }
    if (counts[CellKind::Float32] == counts.GetNumbers()) {
        return ColumnType::Float32;
    }
    return facts.areExact ? ColumnType::Float64 : ColumnType::Text;
}

ColumnType ColumnMaker::DecideType(KindCounts counts, const NumberFacts& facts, bool hasFractions,
                                   Mixture& mixture) const {
    if (counts.HasEmptyTextsOnly()) {
        mixture.emptyTexts = counts.emptyTexts;
        counts[CellKind::Text] = 0;
    }
    const std::int64_t all = counts.GetAll();
    if (all == 0) {
        return ColumnType::Null;
    }
    ColumnType type = ColumnType::Text;
    if (counts.GetNumbers() == all) {
        type = TypeOf(counts, facts, hasFractions);
    } else if (counts[CellKind::Bool] == all) {
        type = ColumnType::Bool;
    } else if (counts[CellKind::Time] == all) {
        type = ColumnType::Time64;
    } else if (counts[CellKind::Duration] == all) {
        type = ColumnType::Duration;
    } else if (counts[CellKind::Date] == all) {
        type = ColumnType::Date32;
    } else if (counts.GetDates() == all) {
        type = ColumnType::Timestamp;
    }
    if (type == ColumnType::Text && counts[CellKind::Text] != all) {
        mixture.isText = true;
        mixture.counts = counts;
    }
    return type;
}

ColumnForm ColumnMaker::Decide(const ColumnEvidence& evidence, std::int64_t rows, const std::string& name,
                               int col) {
    Mixture mixture;
    ColumnForm form{DecideType(evidence.counts, evidence.facts, evidence.hasFractions, mixture)};
    NoteMixture(mixture, name, col);
    const DistinctTexts& texts = evidence.texts;
    if (form.type == ColumnType::Text && evidence.counts[CellKind::Text] == evidence.counts.GetAll() &&
        !texts.AreTooMany()) {
        std::int64_t size = rows * 4 + 8;
        for (const std::string_view text : texts.GetTexts()) {
            size += static_cast<std::int64_t>(text.size()) + 8;
        }
        if (2 * size < texts.GetBytes() + (rows + 1) * 8) {
            form.dictionary = MakeTextColumn(texts.GetTexts());
        }
    }
    return form;
}

ColumnBuffers ColumnMaker::BuildBuffers(CellVector& cells, int first, int rows, ColumnType type) {
    switch (type) {
        case ColumnType::Null:
            break;
        case ColumnType::Bool:
            return MakeBools(cells, first, rows);
        case ColumnType::Int64:
            return MakeWholeNumbers(cells, first, rows);
        case ColumnType::Float32:
            return TakeOrGather<float>(cells, first, rows, CellKind::Float32, type);
        case ColumnType::Float64:
            return TakeOrGather<double>(cells, first, rows, CellKind::Float64, type);
        case ColumnType::Text:
            return TakeOrMakeTexts(cells, first, rows, true);
        case ColumnType::Date32:
            return TakeOrGather<std::int32_t>(cells, first, rows, CellKind::Date, type);
        case ColumnType::Time64:
            return TakeOrGather<std::int64_t>(cells, first, rows, CellKind::Time, type);
        case ColumnType::Timestamp:
            return TakeOrGather<std::int64_t>(cells, first, rows, CellKind::DateTime, type);
        case ColumnType::Duration:
            return TakeOrGather<std::int64_t>(cells, first, rows, CellKind::Duration, type);
    }
    ColumnBuffers empty;
    empty.rows = rows;
    return empty;
}

Column ColumnMaker::Build(CellVector& cells, int first, int rows, const ColumnForm& form,
                          const std::string& name, const std::string& unit) {
    ColumnBuffers buffers = form.dictionary != nullptr      ? MakePlaces(cells, first, rows, form.dictionary)
                            : form.type == ColumnType::Text ? TakeOrMakeTexts(cells, first, rows, false)
                                                            : BuildBuffers(cells, first, rows, form.type);
    // The cells are in the column now.
    cells = CellVector();
    return {name, unit, std::move(buffers)};
}

// Any thread may, of columns of its own.
Column ColumnMaker::Make(const Wanted& wanted, int first, int rows, Mixture& mixture) {
    CellVector none;
    CellVector& cells = wanted.cells == nullptr ? none : *wanted.cells;
    const int end = first + rows;
    KindCounts counts = CountKinds(store, cells, first, end);
    if (counts[CellKind::Text] > 0 && counts[CellKind::Text] < counts.GetAll()) {
        // Of texts alone it doesn't matter.
        counts.emptyTexts = CountEmptyTexts(store, cells, first, end);
    }
    NumberFacts facts;
    bool hasFractions = false;
    if (counts.GetNumbers() > 0 && (counts.GetNumbers() == counts.GetAll() || counts.HasEmptyTextsOnly())) {
        facts = ExamineNumbers(store, cells, first, end);
        hasFractions = facts.areWhole && counts[CellKind::Float64] > 0 && cells.HasFractionSource(first, end);
    }
    const ColumnType type = DecideType(counts, facts, hasFractions, mixture);
    ColumnBuffers buffers = BuildBuffers(cells, first, rows, type);
    // The cells are in the column now.
    cells = CellVector();
    return {wanted.name, wanted.unit, std::move(buffers)};
}

void ColumnMaker::MakeAll(std::span<const Wanted> wanted, int first, int rows, unsigned int threads,
                          std::vector<Column>& columns) {
    columns.resize(wanted.size());
    // Threads cost more than small columns take: many of those are one job.
    const auto cells = static_cast<std::size_t>(rows) + 1;
    const std::size_t atOnce = 1 + LeastCellsOfJob / cells;
    std::vector<Mixtures> told((wanted.size() + atOnce - 1) / atOnce);
    DoSideBySide(
        told.size(), wanted.size() * cells < LeastCellsForThreads ? 1 : threads,
        [&](std::size_t job) {
            const std::size_t end = std::min(wanted.size(), (job + 1) * atOnce);
            for (std::size_t i = job * atOnce; i < end; ++i) {
                Mixture mixture;
                columns[i] = Make(wanted[i], first, rows, mixture);
                told[job].Add(mixture, i);
            }
        },
        [this] { store.LookForStop(); });
    for (const Mixtures& some : told) {
        for (const auto& [i, mixture] : some.told) {
            NoteMixture(mixture, wanted[i].name, wanted[i].col);
        }
        if (some.further > 0) {
            mixtures += some.further;
            firstUntold = firstUntold.empty() ? LettersOf(wanted[some.firstFurther].col) : firstUntold;
        }
    }
}

void ColumnMaker::Mixtures::Add(const Mixture& mixture, std::size_t column) {
    const std::uint64_t count = mixture.CountNotes();
    if (count > 0 && told.size() < MostToldMixtures) {
        told.emplace_back(column, mixture);
    } else if (count > 0) {
        firstFurther = further == 0 ? column : firstFurther;
        further += count;
    }
}

}  // namespace karta
