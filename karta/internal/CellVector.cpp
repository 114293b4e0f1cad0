#include "karta/internal/CellVector.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>

#include "base/DateText.h"
#include "base/NumberFormat.h"

namespace karta {

namespace {

using Stretch = CellVector::Stretch;

// A column that changes its kind more often is mixed.
constexpr std::size_t MostStretches = 8;
// Missing cells up to so many are kept as such; behind more of them a stretch begins anew.
constexpr int WidestGap = 4096;
constexpr int LeastRoom = 8;
constexpr std::size_t LeastTextRoom = 64;
constexpr double RoomForUnevenTexts = 1.03;
// What has come so far may be unlike the rest, as that of a column whose texts begin far down: no more is
// taken ahead than so many times of it.
constexpr std::size_t MostTextAhead = 8;
constexpr int MostExpectedRoom = 1024;
// An announcement is believed so many times as far as the cells have come.
constexpr std::int64_t MostAhead = 64;
// Decimals with so many digits are written again as they were.
constexpr std::size_t ExactDigits = 15;

std::size_t WidthOf(CellKind kind) {
    switch (kind) {
        case CellKind::Float32:
        case CellKind::Date:
            return sizeof(std::int32_t);
        case CellKind::Bool:
            return 1;
        default:
            return sizeof(std::uint64_t);
    }
}

std::size_t WidthOf(const Stretch& stretch) {
    return stretch.listed != nullptr ? sizeof(std::uint32_t) : WidthOf(stretch.kind);
}

// How many cells the stretch is to have, where enough of them are there to believe it; else 0.
std::int64_t GetBelievedRows(const CellStore& store, const Stretch& stretch) {
    const std::int64_t announced = std::int64_t{store.expectedRows} - stretch.first;
    const bool isBelieved = store.mayTakeAll && stretch.count >= MostExpectedRoom &&
                            announced > stretch.count && announced <= MostAhead * stretch.count;
    return isBelieved ? announced : 0;
}

// Twice as much as there is; but what was announced, where there are enough cells to believe it: what grows
// beyond its need is memory, and what grows often leaves as much behind.
std::int64_t RoomToGrowTo(const CellStore& store, const Stretch& stretch) {
    const std::int64_t announced = GetBelievedRows(store, stretch);
    return announced > 0 ? announced : 2 * std::int64_t{stretch.capacity};
}

// Room for so many cells, charged before it is taken.
void Reserve(CellStore& store, Stretch& stretch, int count) {
    if (count <= stretch.capacity) {
        return;
    }
    const auto room = static_cast<int>(
        std::clamp<std::int64_t>(RoomToGrowTo(store, stretch), count, std::numeric_limits<int>::max()));
    const std::size_t more = static_cast<std::size_t>(room) - static_cast<std::size_t>(stretch.capacity);
    const std::size_t width = WidthOf(stretch);
    store.Charge(more * (width + (stretch.kind == CellKind::Mixed ? 1 : 0)) +
                 (stretch.hasMissing ? more / 8 + 1 : 0));
    store.FinishCopies();
    stretch.values.ResizeUnset((static_cast<std::size_t>(room) + (stretch.areLaid ? 1 : 0)) * width);
    if (stretch.kind == CellKind::Mixed) {
        stretch.kinds.Resize(static_cast<std::size_t>(room));
    }
    if (stretch.hasMissing) {
        stretch.bits.Resize(BytesOfBits(room));
    }
    stretch.capacity = room;
}

void NeedBits(CellStore* store, Stretch& stretch) {
    if (stretch.hasMissing) {
        return;
    }
    if (store != nullptr) {
        store->Charge(BytesOfBits(stretch.capacity));
    }
    stretch.bits.Resize(BytesOfBits(stretch.capacity));
    SetBits(stretch.bits.As<std::uint8_t>(), 0, stretch.count);
    stretch.hasMissing = true;
}

// The next `count` cells, which there is room for, are missing.
void AddMissing(CellStore& store, Stretch& stretch, int count) {
    if (count > 0) {
        if (stretch.kind != CellKind::Mixed) {
            NeedBits(&store, stretch);
        }
        const std::size_t width = WidthOf(stretch);
        if (stretch.areLaid) {
            std::int64_t* const end = stretch.values.As<std::int64_t>() + stretch.count;
            std::fill_n(end + 1, count, *end);
        } else {
            std::memset(stretch.values.As<char>() + static_cast<std::size_t>(stretch.count) * width, 0,
                        static_cast<std::size_t>(count) * width);
        }
        stretch.count += count;
    }
}

// Whether a cell behind a gap of so many places belongs to the stretch.
bool GoesOn(const Stretch& stretch, int gap) {
    return gap <= WidestGap || gap <= stretch.count;
}

void Write(Stretch& stretch, int place, CellKind kind, std::uint64_t content) {
    const int at = place - stretch.first;
    switch (WidthOf(stretch)) {
        case 1:
            stretch.values.As<std::uint8_t>()[at] = static_cast<std::uint8_t>(content);
            break;
        case sizeof(std::uint32_t):
            stretch.values.As<std::uint32_t>()[at] = static_cast<std::uint32_t>(content);
            break;
        default:
            stretch.values.As<std::uint64_t>()[at] = content;
            break;
    }
    if (stretch.kind == CellKind::Mixed) {
        stretch.kinds.As<CellKind>()[at] = kind;
    } else if (stretch.hasMissing) {
        SetBit(stretch.bits.As<std::uint8_t>(), at);
    }
}

// The word of a text that may lie elsewhere.
std::uint64_t WordOf(CellStore& store, const Cell& cell) {
    return cell.kind == CellKind::Text && cell.textLength != Cell::InStore ? store.AddText(cell.GetText())
                                                                           : cell.content;
}

// Room for so many bytes of laid texts behind those that are there; where they go.
char* ReserveText(CellStore& store, Stretch& stretch, std::size_t bytes) {
    const auto used = static_cast<std::size_t>(stretch.values.As<std::int64_t>()[stretch.count]);
    const std::size_t room = stretch.text.GetSize();
    if (bytes > room - used) {
        // As much for each of the cells that are to come as for those that are there, and a little more.
        const auto rows = static_cast<double>(GetBelievedRows(store, stretch));
        const double perCell = static_cast<double>(used) / std::max(stretch.count, 1);
        const auto expected = std::min(static_cast<std::size_t>(rows * perCell * RoomForUnevenTexts),
                                       MostTextAhead * (used + bytes));
        const std::size_t wider =
            std::max({used + bytes, expected > used + bytes ? expected : 2 * room, LeastTextRoom});
        store.Charge(wider - room);
        store.FinishCopies();
        stretch.text.ResizeUnset(wider);
    }
    return stretch.text.As<char>() + used;
}

// One laid text behind the others; there is room for its cell.
void LayText(CellStore& store, Stretch& stretch, std::string_view text) {
    if (text.size() >= Cell::InStore) {
        throw std::length_error("a text of more than 4 GiB");
    }
    char* const end = ReserveText(store, stretch, text.size());
    if (!text.empty()) {
        std::memcpy(end, text.data(), text.size());
    }
    std::int64_t* const ends = stretch.values.As<std::int64_t>() + stretch.count;
    ends[1] = ends[0] + static_cast<std::int64_t>(text.size());
    if (stretch.hasMissing) {
        SetBit(stretch.bits.As<std::uint8_t>(), stretch.count);
    }
    ++stretch.count;
}

CellKind CellKindOf(WrittenKind kind) {
    static constexpr CellKind Kinds[] = {CellKind::Missing, CellKind::Text, CellKind::Float64, CellKind::Bool,
                                         CellKind::Date,    CellKind::Time, CellKind::DateTime};
    return Kinds[static_cast<std::size_t>(kind)];
}

// Codes of listed texts as words of the store, among which others can stand.
void SpellOut(CellStore& store, Stretch& stretch) {
    Stretch spelled;
    spelled.first = stretch.first;
    spelled.kind = CellKind::Text;
    Reserve(store, spelled, std::max(stretch.count, 1));
    spelled.count = stretch.count;
    store.InSteps(stretch.first, stretch.GetEnd(), [&](int from, int to) {
        for (int at = from - stretch.first; at < to - stretch.first; ++at) {
            // What is missing has the first code.
            spelled.values.As<std::uint64_t>()[at] =
                stretch.listed->GetWord(stretch.GetCode(stretch.first + at));
        }
    });
    if (stretch.hasMissing) {
        NeedBits(&store, spelled);
        std::memcpy(spelled.bits.As<char>(), stretch.bits.As<char>(), BytesOfBits(stretch.count));
    }
    stretch = std::move(spelled);
}

// Texts that lie otherwise as words of the store, so that each can be set anew.
void TakeUp(CellStore& store, Stretch& stretch) {
    if (stretch.listed != nullptr) {
        SpellOut(store, stretch);
    }
    if (!stretch.areLaid) {
        return;
    }
    store.FinishCopies();
    store.InSteps(stretch.first, stretch.GetEnd(), [&](int from, int to) {
        for (int place = from; place < to; ++place) {
            const std::uint64_t word = stretch.IsThere(place) ? store.AddText(stretch.GetText(place)) : 0;
            stretch.values.As<std::uint64_t>()[place - stretch.first] = word;
        }
    });
    stretch.areLaid = false;
    stretch.text = Buffer();
    stretch.written = {};
}

// The same cells, each with its kind.
void Mix(CellStore& store, Stretch& stretch) {
    if (stretch.kind == CellKind::Mixed) {
        return;
    }
    store.FinishCopies();
    Stretch mixed;
    mixed.first = stretch.first;
    mixed.kind = CellKind::Mixed;
    Reserve(store, mixed, std::max(stretch.count, 1));
    mixed.count = stretch.count;
    for (int place = stretch.first; place < stretch.GetEnd(); ++place) {
        const Cell cell = stretch.Get(place);
        Write(mixed, place, cell.kind, WordOf(store, cell));
    }
    mixed.hasRuns = stretch.hasRuns;
    stretch = std::move(mixed);
}

// How many digits stand behind the point of a plain decimal: "1.50" has 2; nothing for any other text.
std::optional<std::uint8_t> CountDecimals(std::string_view text) {
    const std::size_t start = !text.empty() && text.front() == '-' ? 1 : 0;
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos || point == start || point + 1 == text.size() ||
        text.size() - start - 1 > ExactDigits || (text[start] == '0' && point > start + 1)) {
        return {};
    }
    for (std::size_t i = start; i < text.size(); ++i) {
        if (i != point && (text[i] < '0' || text[i] > '9')) {
            return {};
        }
    }
    return static_cast<std::uint8_t>(text.size() - point - 1);
}

}  // namespace

double Cell::ToDouble() const {
    switch (kind) {
        case CellKind::Float32:
            return GetFloat();
        case CellKind::Float64:
            return GetDouble();
        default:
            return static_cast<double>(GetInteger());
    }
}

std::string Cell::ToText() const {
    switch (kind) {
        case CellKind::Text:
            return std::string(GetText());
        case CellKind::Int64:
            return std::to_string(GetInteger());
        case CellKind::Float32:
            return FormatShortest(GetFloat());
        case CellKind::Float64:
            return FormatShortest(GetDouble());
        case CellKind::Bool:
            return content != 0 ? "TRUE" : "FALSE";
        case CellKind::Date:
            return FormatDate(static_cast<std::int32_t>(content));
        case CellKind::Time:
            return FormatTime(GetInteger());
        case CellKind::DateTime:
            return FormatDateTime(GetInteger());
        case CellKind::Duration:
            return FormatDuration(GetInteger());
        case CellKind::Missing:
        case CellKind::Mixed:
            break;
    }
    return {};
}

CellKind Stretch::GetKind(int place) const {
    if (kind == CellKind::Mixed) {
        return kinds.As<CellKind>()[place - first];
    }
    return IsThere(place) ? kind : CellKind::Missing;
}

Cell Stretch::Get(int place) const {
    const int at = place - first;
    if (kind == CellKind::Mixed) {
        return {kinds.As<CellKind>()[at], values.As<std::uint64_t>()[at]};
    }
    if (!IsThere(place)) {
        return {};
    }
    if (areLaid) {
        const std::string_view one = GetText(place);
        return {one.data(), static_cast<std::uint32_t>(one.size())};
    }
    if (listed != nullptr) {
        return {kind, listed->GetWord(GetCode(place))};
    }
    switch (WidthOf(kind)) {
        case 1:
            return {kind, values.As<std::uint8_t>()[at]};
        case sizeof(std::uint32_t):
            return {kind, values.As<std::uint32_t>()[at]};
        default:
            return {kind, values.As<std::uint64_t>()[at]};
    }
}

const Stretch* CellVector::Find(int place) const {
    // There are few, and the last one is asked for most.
    for (auto stretch = stretches.rbegin(); stretch != stretches.rend(); ++stretch) {
        if (place >= stretch->first) {
            return place < stretch->GetEnd() ? &*stretch : nullptr;
        }
    }
    return nullptr;
}

Stretch* CellVector::Find(int place) {
    return const_cast<Stretch*>(std::as_const(*this).Find(place));
}

Stretch& CellVector::AddStretch(CellStore& store, int place, CellKind kind, int room,
                                const ListedTexts* listed) {
    const auto at = std::find_if(stretches.begin(), stretches.end(),
                                 [place](const Stretch& stretch) { return stretch.first > place; });
    store.Charge(sizeof(Stretch));
    Stretch& stretch = *stretches.emplace(at);
    stretch.first = place;
    stretch.kind = kind;
    stretch.listed = listed;
    const int expected = std::clamp(store.expectedRows - place, LeastRoom, MostExpectedRoom);
    Reserve(store, stretch, std::max(room, expected));
    return stretch;
}

// All in one stretch of mixed cells, from this place or the first one to the last. It begins well in front of
// them, so that cells that come from the bottom up don't move all others each time.
void CellVector::Join(CellStore& store, int place) {
    store.FinishCopies();
    Stretch joined;
    const int end = GetEnd();
    const int first = stretches.front().first;
    joined.first = place < first ? std::max(0, std::min(place, first - (end - first))) : first;
    joined.kind = CellKind::Mixed;
    Reserve(store, joined, end - joined.first);
    joined.count = end - joined.first;
    ForEach(0, end, [&](int at, const Cell& cell) { Write(joined, at, cell.kind, WordOf(store, cell)); });
    stretches.clear();
    stretches.push_back(std::move(joined));
}

void CellVector::Append(CellStore& store, int place, CellKind kind, std::uint64_t content) {
    if (!stretches.empty()) {
        Stretch& last = stretches.back();
        const int gap = place - last.GetEnd();
        const bool isSame = (last.kind == kind || last.kind == CellKind::Mixed) && GoesOn(last, gap);
        if (!isSame && stretches.size() < MostStretches) {
            AddStretch(store, place, kind, 1);
        } else {
            if (last.kind != kind) {
                Mix(store, last);
            } else if (last.listed != nullptr) {
                TakeUp(store, last);
            }
            Reserve(store, last, gap + last.count + 1);
            AddMissing(store, last, gap);
            if (last.areLaid) {
                LayText(store, last, CellStore::GetText(content));
                return;
            }
        }
    } else {
        AddStretch(store, place, kind, 1);
    }
    Stretch& last = stretches.back();
    ++last.count;
    Write(last, place, kind, content);
}

// In front of a stretch, or between two.
void CellVector::Insert(CellStore& store, int place, CellKind kind, std::uint64_t content) {
    if (stretches.size() < MostStretches) {
        Stretch& stretch = AddStretch(store, place, kind, 1);
        stretch.count = 1;
        Write(stretch, place, kind, content);
        return;
    }
    Join(store, place);
    Write(stretches.front(), place, kind, content);
}

void CellVector::Put(CellStore& store, int place, CellKind kind, std::uint64_t content) {
    if (place == std::numeric_limits<int>::max()) {
        throw std::length_error("a table has more rows than can be counted");
    }
    if (place >= GetEnd()) {
        Append(store, place, kind, content);
        return;
    }
    store.FinishCopies();
    Stretch* const stretch = Find(place);
    if (stretch == nullptr) {
        Insert(store, place, kind, content);
        return;
    }
    if (stretch->kind != kind) {
        Mix(store, *stretch);
    } else {
        TakeUp(store, *stretch);
    }
    Write(*stretch, place, kind, content);
}

void CellVector::PutCell(CellStore& store, int place, const Cell& cell) {
    Put(store, place, cell.kind, WordOf(store, cell));
}

void CellVector::PutText(CellStore& store, int place, std::string_view text) {
    if (!stretches.empty() && stretches.back().areLaid && place == GetEnd()) {
        Stretch& last = stretches.back();
        Reserve(store, last, last.count + 1);
        LayText(store, last, text);
        return;
    }
    std::uint64_t word = store.FindText(text);
    if (word == 0 && !stretches.empty()) {
        // Texts often repeat the one above.
        const Stretch& last = stretches.back();
        if (last.kind == CellKind::Text && place == last.GetEnd() && last.IsThere(place - 1)) {
            const Cell above = last.Get(place - 1);
            word = above.GetText() == text ? above.content : 0;
        }
    }
    Put(store, place, CellKind::Text, word != 0 ? word : store.AddNewText(text));
}

void CellVector::PutMissing(int place) {
    Stretch* const stretch = place < GetEnd() ? Find(place) : nullptr;
    if (stretch == nullptr) {
        return;
    }
    if (stretch->kind == CellKind::Mixed) {
        stretch->kinds.As<CellKind>()[place - stretch->first] = CellKind::Missing;
        return;
    }
    NeedBits(nullptr, *stretch);
    ClearBit(stretch->bits.As<std::uint8_t>(), place - stretch->first);
    if (static_cast<std::size_t>(place - stretch->first) < stretch->written.size()) {
        stretch->written[static_cast<std::size_t>(place - stretch->first)] = CellKind::Missing;
    }
}

template <class Number>
void CellVector::PutNumbers(CellStore& store, int place, CellKind kind, std::span<const Number> values,
                            int expectedEnd) {
    if (values.size() > static_cast<std::size_t>(std::numeric_limits<int>::max() - place)) {
        throw std::length_error("a table has more rows than can be counted");
    }
    const int count = static_cast<int>(values.size());
    Stretch* last = stretches.empty() ? nullptr : &stretches.back();
    if (place < GetEnd() || (last != nullptr && last->kind != kind && stretches.size() >= MostStretches)) {
        for (const Number value : values) {
            Put(store, place++, kind,
                std::bit_cast<std::conditional_t<sizeof(Number) == 4, std::uint32_t, std::uint64_t>>(value));
        }
        return;
    }
    if (last == nullptr || last->kind != kind || place != last->GetEnd()) {
        const std::int64_t expected = std::int64_t{expectedEnd} - place;
        const bool isWorth = expected > count && static_cast<std::uint64_t>(expected) * sizeof(Number) <=
                                                     store.GetLimitOfAnnounced();
        last = &AddStretch(store, place, kind, isWorth ? static_cast<int>(expected) : count);
    }
    Reserve(store, *last, last->count + count);
    std::memcpy(last->values.As<Number>() + last->count, values.data(), values.size_bytes());
    if (last->hasMissing) {
        SetBits(last->bits.As<std::uint8_t>(), last->count, count);
    }
    last->count += count;
    last->hasRuns = true;
}

void CellVector::PutRun(CellStore& store, int place, std::span<const float> values, int expectedEnd) {
    PutNumbers(store, place, CellKind::Float32, values, expectedEnd);
}

void CellVector::PutRun(CellStore& store, int place, std::span<const double> values, int expectedEnd) {
    PutNumbers(store, place, CellKind::Float64, values, expectedEnd);
}

void CellVector::PutDoubles(CellStore& store, int place, std::span<const double> values) {
    while (!values.empty()) {
        Stretch* const last = stretches.empty() ? nullptr : &stretches.back();
        const int gap = last == nullptr ? 0 : place - last->GetEnd();
        const auto room = static_cast<std::size_t>(std::numeric_limits<int>::max() - place);
        if (last != nullptr && last->kind == CellKind::Float64 && gap >= 0 && GoesOn(*last, gap) &&
            values.size() <= room) {
            const int count = static_cast<int>(values.size());
            Reserve(store, *last, last->count + gap + count);
            AddMissing(store, *last, gap);
            store.Copy(last->values.As<double>() + last->count, values.data(), values.size_bytes());
            if (last->hasMissing) {
                SetBits(last->bits.As<std::uint8_t>(), last->count, count);
            }
            last->count += count;
            return;
        }
        PutDouble(store, place++, values.front());
        values = values.subspan(1);
    }
}

// The stretch of laid texts that a run at this place goes on with, up to there; null where it would be a
// stretch too many. It begins right behind the one above, so that a column whose first rows are missing is
// one.
Stretch* CellVector::NeedLaidTexts(CellStore& store, int place) {
    const int end = GetEnd();
    const int gap = place - end;
    Stretch* last = stretches.empty() ? nullptr : &stretches.back();
    if (gap < 0) {
        return nullptr;
    }
    if (last == nullptr || !last->areLaid || !GoesOn(*last, gap)) {
        if (stretches.size() >= MostStretches) {
            return nullptr;
        }
        last = &AddStretch(store, gap <= WidestGap ? end : place, CellKind::Text, 0);
        // In place of the words that there is room for.
        last->areLaid = true;
        last->values.ResizeUnset((static_cast<std::size_t>(last->capacity) + 1) * sizeof(std::int64_t));
        last->values.As<std::int64_t>()[0] = 0;
    }
    const int missing = place - last->GetEnd();
    Reserve(store, *last, last->count + missing + 1);
    AddMissing(store, *last, missing);
    return last;
}

void CellVector::PutTexts(CellStore& store, int place, const TextRun& texts) {
    if (texts.ends.empty()) {
        return;
    }
    Stretch* const last = NeedLaidTexts(store, place);
    std::uint32_t begin = texts.begin;
    if (last == nullptr) {
        for (const std::uint32_t end : texts.ends) {
            PutText(store, place++, {texts.bytes + begin, end - begin});
            begin = end;
        }
        return;
    }
    const int count = static_cast<int>(texts.ends.size());
    Reserve(store, *last, last->count + count);
    const std::size_t bytes = texts.ends.back() - begin;
    char* const text = ReserveText(store, *last, bytes);
    if (bytes > 0) {
        store.Copy(text, texts.bytes + begin, bytes);
    }
    std::int64_t* const ends = last->values.As<std::int64_t>() + last->count;
    const std::int64_t further = ends[0] - begin;
    // The last end is where the next texts begin, and can't wait.
    store.CopyEnds(ends + 1, texts.ends.first(texts.ends.size() - 1), further);
    ends[count] = further + texts.ends.back();
    if (last->hasMissing) {
        SetBits(last->bits.As<std::uint8_t>(), last->count, count);
    }
    last->count += count;
}

void CellVector::PutWritten(CellStore& store, int place, const TextRun& texts,
                            std::span<const WrittenKind> kinds) {
    const std::size_t count = static_cast<std::size_t>(place) + kinds.size();
    const std::size_t bytes = texts.ends.empty() ? 0 : texts.ends.back() - texts.begin;
    store.Charge(sizeof(Stretch) + (count + 1) * sizeof(std::int64_t) + bytes);
    Stretch& stretch = stretches.emplace_back();
    stretch.kind = CellKind::Text;
    stretch.areLaid = true;
    stretch.count = stretch.capacity = static_cast<int>(count);
    stretch.values = store.GetBufferRoom().Take((count + 1) * sizeof(std::int64_t));
    std::int64_t* const ends = stretch.values.As<std::int64_t>() + place;
    std::fill(stretch.values.As<std::int64_t>(), ends + 1, std::int64_t{0});
    RunCopies::PutSums(ends + 1, texts.ends.data(), texts.ends.size(), -std::int64_t{texts.begin});
    if (bytes > 0) {
        stretch.text = store.GetBufferRoom().Take(bytes);
        std::memcpy(stretch.text.GetData(), texts.bytes + texts.begin, bytes);
    }
    stretch.written = {reinterpret_cast<CellKind*>(store.AddBytes(count)), count};
    std::fill_n(stretch.written.begin(), place, CellKind::Missing);
    std::transform(kinds.begin(), kinds.end(), stretch.written.begin() + place, CellKindOf);
    if (std::find(stretch.written.begin(), stretch.written.end(), CellKind::Missing) ==
        stretch.written.end()) {
        return;
    }
    NeedBits(&store, stretch);
    for (std::size_t at = 0; at < count; ++at) {
        if (stretch.written[at] == CellKind::Missing) {
            ClearBit(stretch.bits.As<std::uint8_t>(), static_cast<std::int64_t>(at));
        }
    }
}

// The stretch of codes that a text at this place goes on with, up to there; null where it is a word among
// words, or set anew.
Stretch* CellVector::NeedListed(CellStore& store, int place, const ListedTexts& texts) {
    Stretch* const last = stretches.empty() ? nullptr : &stretches.back();
    const int gap = place - GetEnd();
    if (gap < 0) {
        return nullptr;
    }
    const bool goesOn = last != nullptr && GoesOn(*last, gap);
    if (goesOn && last->listed == &texts) {
        Reserve(store, *last, last->count + gap + 1);
        AddMissing(store, *last, gap);
        return last;
    }
    const bool isAmongOthers = goesOn && (last->kind == CellKind::Text || last->kind == CellKind::Mixed);
    return isAmongOthers || stretches.size() >= MostStretches
               ? nullptr
               : &AddStretch(store, place, CellKind::Text, 1, &texts);
}

void CellVector::PutListed(CellStore& store, int place, const ListedTexts& texts,
                           std::span<const std::uint32_t> codes) {
    while (!codes.empty()) {
        Stretch* const last = NeedListed(store, place, texts);
        if (last == nullptr) {
            Put(store, place++, CellKind::Text, texts.GetWord(codes.front()));
            codes = codes.subspan(1);
            continue;
        }
        const int count = static_cast<int>(codes.size());
        Reserve(store, *last, last->count + count);
        std::memcpy(last->values.As<std::uint32_t>() + last->count, codes.data(), codes.size_bytes());
        if (last->hasMissing) {
            SetBits(last->bits.As<std::uint8_t>(), last->count, count);
        }
        last->count += count;
        return;
    }
}

CellKind CellVector::KindOf(ValueRunKind kind) {
    switch (kind) {
        case ValueRunKind::Bool:
            return CellKind::Bool;
        case ValueRunKind::Date:
            return CellKind::Date;
        case ValueRunKind::Time:
            return CellKind::Time;
        case ValueRunKind::DateTime:
        case ValueRunKind::DateBlankedTime:
            break;
    }
    return CellKind::DateTime;
}

void CellVector::PutValues(CellStore& store, int place, ValueRunKind kind,
                           std::span<const std::int64_t> values) {
    const bool areBlanked = kind == ValueRunKind::DateBlankedTime;
    const CellKind cellKind = KindOf(kind);
    if (areBlanked) {
        std::memset(NeedDecimals(store, place + static_cast<int>(values.size())) + place, Blanked,
                    values.size());
    }
    // The first one makes the stretch and the room between.
    while (!values.empty()) {
        Put(store, place++, cellKind, static_cast<std::uint64_t>(values.front()));
        values = values.subspan(1);
        Stretch& last = stretches.back();
        if (last.kind != cellKind || last.GetEnd() != place) {
            continue;
        }
        const int count = static_cast<int>(values.size());
        Reserve(store, last, last.count + count);
        if (cellKind == CellKind::Bool) {
            std::copy(values.begin(), values.end(), last.values.As<std::uint8_t>() + last.count);
        } else if (cellKind == CellKind::Date) {
            std::copy(values.begin(), values.end(), last.values.As<std::int32_t>() + last.count);
        } else {
            store.Copy(last.values.As<std::int64_t>() + last.count, values.data(), values.size_bytes());
        }
        if (last.hasMissing) {
            SetBits(last.bits.As<std::uint8_t>(), last.count, count);
        }
        last.count += count;
        return;
    }
}

void CellVector::PutDecimals(CellStore& store, int place, std::span<const std::uint8_t> decimals) {
    if (!decimals.empty()) {
        store.Copy(NeedDecimals(store, place + static_cast<int>(decimals.size())) + place, decimals.data(),
                   decimals.size());
    }
}

std::uint8_t* CellVector::NeedDecimals(CellStore& store, int end) {
    if (writing == nullptr) {
        writing = std::make_unique<Writing>();
    }
    const std::size_t size = writing->decimals.GetSize();
    if (static_cast<std::size_t>(end) > size) {
        const std::size_t room = std::max({static_cast<std::size_t>(end), 2 * size, std::size_t{64}});
        store.Charge(room - size);
        store.FinishCopies();
        writing->decimals.Resize(room);
    }
    return writing->decimals.As<std::uint8_t>();
}

// Plain decimals take a byte a cell; of any other source the characters are kept.
void CellVector::PutSource(CellStore& store, int place, std::string_view source) {
    const Stretch* const stretch = Find(place);
    const CellKind kind = stretch == nullptr ? CellKind::Missing : stretch->GetKind(place);
    if (kind == CellKind::Text) {
        return;
    }
    const auto decimals = kind == CellKind::Float64 ? CountDecimals(source) : std::nullopt;
    if (decimals) {
        store.FinishCopies();
        NeedDecimals(store, place + 1)[place] = static_cast<std::uint8_t>(*decimals + 1);
        return;
    }
    if (writing == nullptr) {
        writing = std::make_unique<Writing>();
    }
    store.Charge(sizeof(Sources::value_type));
    const std::uint64_t word = store.AddText(source);
    Sources& sources = writing->sources;
    if (sources.empty() || sources.back().first < place) {
        sources.emplace_back(place, word);
        return;
    }
    const auto at = std::lower_bound(sources.begin(), sources.end(), place,
                                     [](const auto& known, int wanted) { return known.first < wanted; });
    if (at->first == place) {
        at->second = word;
    } else {
        sources.insert(at, {place, word});
    }
}

void CellVector::Cut(int end) {
    while (!stretches.empty() && stretches.back().first >= end) {
        stretches.pop_back();
    }
    if (!stretches.empty() && stretches.back().GetEnd() > end) {
        Stretch& last = stretches.back();
        for (int place = end; last.hasMissing && place < last.GetEnd(); ++place) {
            ClearBit(last.bits.As<std::uint8_t>(), place - last.first);
        }
        for (int place = end; last.kind == CellKind::Mixed && place < last.GetEnd(); ++place) {
            last.kinds.As<CellKind>()[place - last.first] = CellKind::Missing;
        }
        last.count = end - last.first;
    }
}

Cell CellVector::Get(int place) const {
    const Stretch* const stretch = Find(place);
    return stretch == nullptr ? Cell() : stretch->Get(place);
}

std::string CellVector::GetText(int place) const {
    const Cell cell = Get(place);
    if (writing != nullptr && cell.kind != CellKind::Missing && cell.kind != CellKind::Text) {
        const auto known = std::lower_bound(writing->sources.begin(), writing->sources.end(), place,
                                            [](const auto& one, int wanted) { return one.first < wanted; });
        if (known != writing->sources.end() && known->first == place) {
            return std::string(CellStore::GetText(known->second));
        }
        const int decimals = static_cast<std::size_t>(place) < writing->decimals.GetSize()
                                 ? writing->decimals.As<std::uint8_t>()[place]
                                 : 0;
        if (decimals == Blanked && cell.kind == CellKind::DateTime) {
            return FormatDateTime(cell.GetInteger(), ' ');
        }
        if (decimals > 0 && decimals != Blanked && cell.kind == CellKind::Float64) {
            char buffer[ShortestNumberSize];
            return {buffer, PrintDecimals(cell.GetDouble(), decimals - 1, buffer)};
        }
    }
    return cell.ToText();
}

bool CellVector::HasFractionSource(int first, int end) const {
    if (writing == nullptr) {
        return false;
    }
    const int known =
        static_cast<int>(std::min<std::size_t>(writing->decimals.GetSize(), static_cast<std::size_t>(end)));
    for (int place = first; place < known; ++place) {
        const std::uint8_t decimals = writing->decimals.As<std::uint8_t>()[place];
        if (decimals > 0 && decimals != Blanked) {
            return true;
        }
    }
    return std::any_of(writing->sources.begin(), writing->sources.end(), [&](const auto& source) {
        return source.first >= first && source.first < end &&
               CellStore::GetText(source.second).find_first_of(".,eEdD") != std::string_view::npos;
    });
}

}  // namespace karta
