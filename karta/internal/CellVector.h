#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/CellRunSink.h"
#include "karta/Buffer.h"
#include "karta/internal/Bits.h"
#include "karta/internal/CellStore.h"
#include "karta/internal/ListedTexts.h"

namespace karta {

/** What a cell came as. */
enum class CellKind : std::uint8_t {
    Missing,
    Text,
    Int64,
    Float32,
    Float64,
    Bool,
    Date,
    Time,
    DateTime,
    Duration,
    Mixed /**< of a stretch only: each cell has a kind of its own */
};
constexpr std::size_t CellKinds = 10;

/** A cell and its content: a number's bits, days, microseconds, 0 or 1, or a text. */
struct Cell {
    /** Of a text's length: the content is its word in the store, else the address of so many bytes. */
    static constexpr std::uint32_t InStore = 0xffffffff;

    Cell() = default;
    Cell(CellKind cellKind, std::uint64_t cellContent) : kind(cellKind), content(cellContent) {}
    /** Of a text. */
    Cell(const char* bytes, std::uint32_t length)
        : kind(CellKind::Text), textLength(length), content(reinterpret_cast<std::uintptr_t>(bytes)) {}

    CellKind kind = CellKind::Missing;
    std::uint32_t textLength = InStore;
    std::uint64_t content = 0;

    float GetFloat() const { return std::bit_cast<float>(static_cast<std::uint32_t>(content)); }
    double GetDouble() const { return std::bit_cast<double>(content); }
    std::int64_t GetInteger() const { return static_cast<std::int64_t>(content); }
    std::string_view GetText() const {
        return textLength == InStore ? CellStore::GetText(content)
                                     : std::string_view(reinterpret_cast<const char*>(content), textLength);
    }
    bool IsNumber() const {
        return kind == CellKind::Int64 || kind == CellKind::Float32 || kind == CellKind::Float64;
    }
    /** Of a number. */
    double ToDouble() const;
    /** As CSV has it. */
    std::string ToText() const;
};

/**
 * The cells of one column (or of a head's row) in the making. They lie in stretches of one kind, each with
 * its values side by side as the Arrow layout has them, so that a column of one kind below its head is
 * finished without a copy. A column that changes its kind all the time becomes one stretch of mixed cells.
 *
 * Places count from 0.
 */
class CellVector {
public:
    /** Cells of one kind one below the other. */
    struct Stretch {
        int first = 0;
        int count = 0;
        int capacity = 0;
        CellKind kind = CellKind::Missing;
        bool hasMissing = false; /**< then `bits` tell which are there */
        bool hasRuns = false;    /**< some came as runs of an array */
        bool areLaid = false;    /**< texts that lie one behind the other; else they are in the store */
        /** Of texts that are codes there, in place of the store's words; else null. */
        const ListedTexts* listed = nullptr;
        Buffer values; /**< of laid texts where each begins, and where the last one ends */
        Buffer text;   /**< the bytes of laid texts */
        Buffer bits;
        Buffer kinds; /**< of mixed cells */
        /** Of laid texts: what the first cells are by themselves, where texts stand for values. */
        std::span<CellKind> written;

        int GetEnd() const { return first + count; }
        bool IsThere(int place) const {
            return !hasMissing || GetBit(bits.As<std::uint8_t>(), place - first);
        }
        Cell Get(int place) const;
        /** The same without a look at the values, which may still be copied. */
        CellKind GetKind(int place) const;
        /** Of listed texts. */
        std::uint32_t GetCode(int place) const { return values.As<std::uint32_t>()[place - first]; }
        /** Of laid texts. */
        std::string_view GetText(int place) const {
            const std::int64_t* const begins = values.As<std::int64_t>() + (place - first);
            return {text.As<char>() + begins[0], static_cast<std::size_t>(begins[1] - begins[0])};
        }
    };

    int GetEnd() const { return stretches.empty() ? 0 : stretches.back().GetEnd(); }
    bool IsEmpty() const { return stretches.empty(); }

    /** Any cell but a missing one. */
    void PutCell(CellStore& store, int place, const Cell& cell);
    /** Any kind but Missing and Mixed; a text's word. */
    void Put(CellStore& store, int place, CellKind kind, std::uint64_t content);
    void PutDouble(CellStore& store, int place, double value) { PutNumber(store, place, value); }
    /** A double or a float. */
    template <class Number>
    void PutNumber(CellStore& store, int place, Number value) {
        static constexpr CellKind Kind =
            std::is_same_v<Number, double> ? CellKind::Float64 : CellKind::Float32;
        using Bits = std::conditional_t<std::is_same_v<Number, double>, std::uint64_t, std::uint32_t>;
        if (!stretches.empty()) {
            Stretch& last = stretches.back();
            // The road of nearly every number.
            if (last.kind == Kind && place == last.GetEnd() && last.count < last.capacity &&
                !last.hasMissing) {
                last.values.As<Number>()[last.count++] = value;
                return;
            }
        }
        Put(store, place, Kind, std::bit_cast<Bits>(value));
    }
    void PutText(CellStore& store, int place, std::string_view text);
    /** Cells as they are written, of which none is set again, in a column without any; each has its text. */
    void PutWritten(CellStore& store, int place, const TextRun& texts, std::span<const WrittenKind> kinds);
    /** A text of a list by its code; the texts stay the caller's. */
    void PutListed(CellStore& store, int place, const ListedTexts& texts, std::uint32_t code) {
        if (!stretches.empty()) {
            Stretch& last = stretches.back();
            // The road of nearly every text of a list.
            if (last.listed == &texts && place == last.GetEnd() && last.count < last.capacity &&
                !last.hasMissing) {
                last.values.As<std::uint32_t>()[last.count++] = code;
                return;
            }
        }
        PutListed(store, place, texts, std::span(&code, 1));
    }
    /** As so many calls for one. */
    void PutListed(CellStore& store, int place, const ListedTexts& texts,
                   std::span<const std::uint32_t> codes);
    /** Whatever was there is gone. */
    void PutMissing(int place);
    /** `expectedEnd`: where the cells that have been announced end, a hint for the room to take. */
    void PutRun(CellStore& store, int place, std::span<const float> values, int expectedEnd = 0);
    void PutRun(CellStore& store, int place, std::span<const double> values, int expectedEnd = 0);
    /** Numbers that are cells by themselves, as by PutDouble. */
    void PutDoubles(CellStore& store, int place, std::span<const double> values);
    /** How numbers that are there are written: digits behind the point + 1, or 0. */
    void PutDecimals(CellStore& store, int place, std::span<const std::uint8_t> decimals);
    /** As so many calls of PutText. */
    void PutTexts(CellStore& store, int place, const TextRun& texts);
    static CellKind KindOf(ValueRunKind kind);
    /** Truth values, dates and times, as by Put. */
    void PutValues(CellStore& store, int place, ValueRunKind kind, std::span<const std::int64_t> values);
    /** The characters that a number, date or truth value had in its file. */
    void PutSource(CellStore& store, int place, std::string_view source);
    /** Cells from here on are gone. */
    void Cut(int end);

    Cell Get(int place) const;
    /** As CSV has it: with the characters of the file, where they are known. */
    std::string GetText(int place) const;
    /** Whether a number among the places was written with a decimal mark or an exponent. */
    bool HasFractionSource(int first, int end) const;

    std::vector<Stretch>& GetStretches() { return stretches; }
    const std::vector<Stretch>& GetStretches() const { return stretches; }

    /** Gives each cell from `first` on, up to `end`, to `use(place, cell)`, but missing ones. */
    template <class Use>
    void ForEach(int first, int end, Use use) const {
        for (const Stretch& stretch : stretches) {
            const int last = stretch.GetEnd() < end ? stretch.GetEnd() : end;
            for (int place = stretch.first > first ? stretch.first : first; place < last; ++place) {
                const Cell cell = stretch.Get(place);
                if (cell.kind != CellKind::Missing) {
                    use(place, cell);
                }
            }
        }
    }

private:
    /** Sources that are no plain decimals. */
    using Sources = std::vector<std::pair<int, std::uint64_t>>;
    /** How the numbers of a column were written. */
    struct Writing {
        Buffer decimals;  // a byte a place: digits behind the point + 1, or Blanked; 0: nothing known
        Sources sources;  // in the order of the places
    };

    /** Among the decimals: a date and time with a blank between them. */
    static constexpr std::uint8_t Blanked = 0xff;

    Stretch* Find(int place);
    const Stretch* Find(int place) const;
    void Append(CellStore& store, int place, CellKind kind, std::uint64_t content);
    void Insert(CellStore& store, int place, CellKind kind, std::uint64_t content);
    Stretch& AddStretch(CellStore& store, int place, CellKind kind, int room,
                        const ListedTexts* listed = nullptr);
    template <class Number>
    void PutNumbers(CellStore& store, int place, CellKind kind, std::span<const Number> values,
                    int expectedEnd);
    void Join(CellStore& store, int place);
    Stretch* NeedLaidTexts(CellStore& store, int place);
    Stretch* NeedListed(CellStore& store, int place, const ListedTexts& texts);
    std::uint8_t* NeedDecimals(CellStore& store, int end);

    std::vector<Stretch> stretches;    // in the order of their places
    std::unique_ptr<Writing> writing;  // null where nothing is known
};

}  // namespace karta
