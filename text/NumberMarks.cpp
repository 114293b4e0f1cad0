#include "text/NumberMarks.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/ByteMask.h"

namespace {

constexpr std::size_t Width = ByteMask::Width;

/** A mask and the one of the bytes before. */
struct Track {
    std::uint64_t mask = 0;
    std::uint64_t before = 0;

    void Take(std::uint64_t next) {
        before = mask;
        mask = next;
    }
    /** The bytes that stand so many places behind. */
    std::uint64_t Behind(std::size_t places) const { return mask << places | before >> (Width - places); }
};

// The bits from `first` on, and those before `last`, of a mask; both below its width.
std::uint64_t From(std::size_t first) {
    return ~std::uint64_t{0} << first;
}
std::uint64_t Before(std::size_t last) {
    return (std::uint64_t{1} << last) - 1;
}

/** Goes through a text, 64 bytes after the other. */
class Examiner {
public:
    explicit Examiner(char fieldDelimiter) : delimiter(fieldDelimiter) {
        ends.mask = std::uint64_t{1} << (Width - 1);  // the first field begins
    }

    std::uint64_t GetEnds() const { return ends.mask; }

    /** The marks of fields that aren't written as they stand. */
    std::uint64_t Take(const char* block) {
        const std::uint64_t digits = ByteMask::FindDigits(block);
        const std::uint64_t minuses = ByteMask::Find(block, '-');
        zeros.Take(ByteMask::Find(block, '0'));
        points.Take(ByteMask::Find(block, '.'));
        ends.Take(ByteMask::Find(block, delimiter) | ByteMask::Find(block, '\n'));
        const std::uint64_t starts = ends.Behind(1);
        signs.Take(minuses & starts);
        const std::uint64_t firsts = signs.Behind(1) | (starts & ~minuses);  // where a digit must be
        leadingZeros.Take(firsts & zeros.mask);
        signedZeros.Take(signs.Behind(1) & zeros.mask);
        std::uint64_t marks = ~(digits | minuses | points.mask | ends.mask) | (minuses & ~starts) |
                              (firsts & ~digits) | (leadingZeros.Behind(1) & digits) |
                              (signedZeros.Behind(1) & ends.mask);
        marks |= TakeFractions(digits);
        return marks | TakeLong();
    }

private:
    // Digits must stand behind a point, up to the field's end, where none is a zero. What begins with 0.00
    // may be written with an exponent.
    std::uint64_t TakeFractions(std::uint64_t digits) {
        const std::uint64_t behindPoints = points.Behind(1);
        // Added to a run of digits, its first bit carries to behind the last one.
        std::uint64_t sum = 0;
        const bool first = __builtin_add_overflow(digits, behindPoints & digits, &sum);
        const bool second = __builtin_add_overflow(sum, std::uint64_t{isInFraction}, &sum);
        isInFraction = first || second;
        const std::uint64_t fractionEnds = sum & ~digits;
        smallPoints.Take(leadingZeros.Behind(1) & points.mask);
        smallTenths.Take(smallPoints.Behind(1) & zeros.mask);
        return (behindPoints & ~digits) | (fractionEnds & (~ends.mask | zeros.Behind(1))) |
               (smallTenths.Behind(1) & zeros.mask);
    }

    // Sixteen characters, and five zeros: more digits than a double is sure to tell apart, and perhaps a
    // whole number that is shorter with an exponent.
    std::uint64_t TakeLong() {
        runs1.Take(~ends.mask);
        runs2.Take(runs1.mask & runs1.Behind(1));
        runs4.Take(runs2.mask & runs2.Behind(2));
        runs8.Take(runs4.mask & runs4.Behind(4));
        zeros2.Take(zeros.mask & zeros.Behind(1));
        const std::uint64_t zeros4 = zeros2.mask & zeros2.Behind(2);
        return (runs8.mask & runs8.Behind(8)) | (zeros4 & zeros.Behind(4));
    }

    char delimiter;
    Track zeros;
    Track points;
    Track ends;
    Track signs;
    Track leadingZeros;
    Track signedZeros;
    Track smallPoints;
    Track smallTenths;
    Track runs1;
    Track runs2;
    Track runs4;
    Track runs8;
    Track zeros2;
    bool isInFraction = false;  // at the end of the bytes so far
};

}  // namespace

void NumberMarks::Look(std::string_view text, char delimiter) {
    // One block more than whole ones, for the end behind the last field.
    const std::size_t blocks = text.size() / Width + 1;
    ends.resize(blocks);
    others.resize(blocks);
    Examiner examiner(delimiter);
    for (std::size_t i = 0; i + 1 < blocks; ++i) {
        others[i] = examiner.Take(text.data() + i * Width);
        ends[i] = examiner.GetEnds();
    }
    char last[Width];
    std::memset(last, '\n', Width);
    const std::string_view rest = text.substr((blocks - 1) * Width);
    std::copy(rest.begin(), rest.end(), last);
    others.back() = examiner.Take(last);
    ends.back() = examiner.GetEnds();
}

std::size_t NumberMarks::FindFirst(const Masks& masks, std::size_t from, std::size_t to) {
    if (from >= to) {
        return to;
    }
    std::uint64_t mask = masks[from / Width] & From(from % Width);
    for (std::size_t block = from / Width;; mask = masks[block]) {
        if (mask != 0) {
            return std::min(to, block * Width + static_cast<std::size_t>(std::countr_zero(mask)));
        }
        if (++block * Width >= to) {
            return to;
        }
    }
}

std::size_t NumberMarks::FindStart(std::size_t from, std::size_t to) const {
    std::size_t block = to / Width;
    std::uint64_t mask = ends[block] & Before(to % Width);
    while (mask == 0 && block * Width > from) {
        mask = ends[--block];
    }
    const auto start = block * Width + Width - static_cast<std::size_t>(std::countl_zero(mask));
    return mask == 0 ? from : std::max(from, start);
}

std::size_t NumberMarks::CountEnds(std::size_t from, std::size_t to) const {
    const std::size_t last = to / Width;
    std::size_t count = 0;
    std::uint64_t firstBits = From(from % Width);
    for (std::size_t block = from / Width; block < last; ++block) {
        count += static_cast<std::size_t>(std::popcount(ends[block] & firstBits));
        firstBits = ~std::uint64_t{0};
    }
    return count + static_cast<std::size_t>(std::popcount(ends[last] & firstBits & Before(to % Width)));
}
