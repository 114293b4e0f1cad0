#include "karta/internal/BlockStore.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace karta {

namespace {

// Counted in steps, so that small pieces don't ask the budget each time.
constexpr std::uint64_t ChargeStep = std::uint64_t{1} << 16;
// More elements than any memory has.
constexpr std::int64_t MostElements = std::int64_t{1} << 48;

}  // namespace

void BlockStore::Begin(bool inRows, bool areFloats, std::int64_t expectedRows, std::int64_t expectedPoints) {
    hasBegun = true;
    isRowMajor = inRows;
    isFloat = areFloats;
    lines = std::max<std::int64_t>(inRows ? expectedRows : expectedPoints, 0);
    length = std::max<std::int64_t>(inRows ? expectedPoints : expectedRows, 0);
}

// Room for so many elements, charged before it is taken. What was announced is mapped at once where the
// budget would allow it, since pages that nobody writes to cost nothing.
void BlockStore::NeedElements(std::int64_t count) {
    if (count > MostElements) {
        store.Charge(Budget::Unlimited / 2);
        throw std::length_error("a table of more cells than any memory has");
    }
    const std::uint64_t bytes = static_cast<std::uint64_t>(count) * WidthOfNumber();
    if (bytes > charged) {
        const std::uint64_t more = std::max(bytes - charged, std::min(ChargeStep, bytes));
        store.Charge(more);
        charged += more;
    }
    if (bytes <= values.GetSize()) {
        return;
    }
    std::uint64_t room = std::max(bytes, 2 * std::uint64_t{values.GetSize()});
    if (length > 0 && lines < MostElements / length) {
        const std::uint64_t announced = static_cast<std::uint64_t>(lines * length) * WidthOfNumber();
        if (announced >= bytes) {
            room = announced <= store.GetLimit() ? announced : std::min(announced, room);
        }
    }
    values.ResizeUnset(static_cast<std::size_t>(room));
}

void BlockStore::FillTo(std::int64_t count) {
    if (count <= filled) {
        return;
    }
    NeedElements(count);
    if (isFloat) {
        std::fill(values.As<float>() + filled, values.As<float>() + count,
                  std::numeric_limits<float>::quiet_NaN());
    } else {
        std::fill(values.As<double>() + filled, values.As<double>() + count,
                  std::numeric_limits<double>::quiet_NaN());
    }
    filled = count;
}

// The same lines, so long each.
void BlockStore::Lay(std::int64_t newLength) {
    if (filled > length || (filled > newLength && length > 0)) {
        const std::int64_t count = (filled + length - 1) / length;
        FillTo(count * length);
        const std::int64_t kept = std::min(length, newLength);
        const std::size_t width = WidthOfNumber();
        const auto move = [&](std::int64_t line) {
            char* const bytes = values.As<char>();
            std::memmove(bytes + static_cast<std::size_t>(line * newLength) * width,
                         bytes + static_cast<std::size_t>(line * length) * width,
                         static_cast<std::size_t>(kept) * width);
        };
        if (newLength < length) {
            for (std::int64_t line = 0; line < count; ++line) {
                move(line);
            }
        } else {
            NeedElements(count * newLength);
            for (std::int64_t line = count - 1; line >= 0; --line) {
                move(line);
                filled = line * newLength + length;
                FillTo((line + 1) * newLength);
            }
        }
        filled = count * newLength;
    }
    length = newLength;
}

void BlockStore::NeedLine(std::int64_t wanted) {
    if (wanted > length) {
        // Lines that grow one after the other must not move all others each time.
        Lay(filled > length ? std::max(wanted, length + length / 2) : wanted);
    }
}

void BlockStore::Widen() {
    store.Charge(static_cast<std::uint64_t>(filled) * sizeof(double));
    charged = static_cast<std::uint64_t>(filled) * sizeof(double);
    Buffer wide(static_cast<std::size_t>(filled) * sizeof(double));
    std::copy_n(values.As<float>(), filled, wide.As<double>());
    values = std::move(wide);
    isFloat = false;
}

template <class Number>
void BlockStore::PutAt(std::int64_t at, std::span<const Number> numbers) {
    const std::int64_t end = at + static_cast<std::int64_t>(numbers.size());
    FillTo(at);
    if (end > filled) {
        NeedElements(end);
        filled = end;
    }
    if (isFloat) {
        std::copy(numbers.begin(), numbers.end(), values.As<float>() + at);
    } else if constexpr (std::is_same_v<Number, double>) {
        std::memcpy(values.As<double>() + at, numbers.data(), numbers.size_bytes());
    } else {
        std::copy(numbers.begin(), numbers.end(), values.As<double>() + at);
    }
}

template <class Number>
void BlockStore::PutSideBySide(std::int64_t line, std::int64_t first, std::span<const Number> numbers) {
    if (numbers.empty()) {
        return;
    }
    if (isFloat && std::is_same_v<Number, double>) {
        Widen();
    }
    NeedLine(first + static_cast<std::int64_t>(numbers.size()));
    if (line > MostElements / length) {
        NeedElements(MostElements + 1);
    }
    PutAt(line * length + first, numbers);
}

template <class Number>
void BlockStore::PutAcross(std::int64_t first, std::int64_t place, std::span<const Number> numbers) {
    for (const Number& number : numbers) {
        PutSideBySide(first++, place, std::span<const Number>(&number, 1));
    }
}

void BlockStore::PutRow(std::int64_t row, std::int64_t firstPoint, std::span<const float> numbers) {
    isRowMajor ? PutSideBySide(row, firstPoint, numbers) : PutAcross(firstPoint, row, numbers);
}

void BlockStore::PutRow(std::int64_t row, std::int64_t firstPoint, std::span<const double> numbers) {
    isRowMajor ? PutSideBySide(row, firstPoint, numbers) : PutAcross(firstPoint, row, numbers);
}

void BlockStore::PutColumn(std::int64_t point, std::int64_t firstRow, std::span<const float> numbers) {
    isRowMajor ? PutAcross(firstRow, point, numbers) : PutSideBySide(point, firstRow, numbers);
}

void BlockStore::PutColumn(std::int64_t point, std::int64_t firstRow, std::span<const double> numbers) {
    isRowMajor ? PutAcross(firstRow, point, numbers) : PutSideBySide(point, firstRow, numbers);
}

void BlockStore::PutMissing(std::int64_t row, std::int64_t point) {
    const std::int64_t line = isRowMajor ? row : point;
    const std::int64_t place = isRowMajor ? point : row;
    // What isn't reached yet is missing as it is.
    if (place < length && line <= filled / length && line * length + place < filled) {
        const float missing = std::numeric_limits<float>::quiet_NaN();
        PutSideBySide(line, place, std::span<const float>(&missing, 1));
    }
}

void BlockStore::Clear() {
    values = Buffer();
    filled = length = lines = 0;
    hasBegun = false;
}

double BlockStore::Get(std::int64_t row, std::int64_t point) const {
    const std::int64_t line = isRowMajor ? row : point;
    const std::int64_t place = isRowMajor ? point : row;
    if (place >= length || line * length + place >= filled) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return isFloat ? static_cast<double>(values.As<float>()[line * length + place])
                   : values.As<double>()[line * length + place];
}

std::int64_t BlockStore::Finish(std::int64_t rows, std::int64_t points) {
    const std::int64_t wanted = isRowMajor ? points : rows;
    // Lists of fixed size lie side by side; columns may stand further apart.
    if (wanted > length || (isRowMajor && wanted < length)) {
        Lay(wanted);
    }
    const std::int64_t count = isRowMajor ? rows : points;
    if (length > 0 && count > MostElements / length) {
        NeedElements(MostElements + 1);
    }
    FillTo(count * length);
    values.Resize(static_cast<std::size_t>(count * length) * WidthOfNumber());
    return length;
}

}  // namespace karta
