#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/**
 * Lines of fields that nearly all are numbers, looked at together and not number by number: where fields end,
 * and which fields may not be written as they stand. A mark of that kind stands in its field or at the end of
 * it. All other fields are plain numbers whose characters are those that their value is written with: one to
 * fifteen digits, a point at most, nothing to be left out.
 *
 * Places count from the text's beginning.
 */
class NumberMarks {
public:
    /** `delimiter` parts the fields, and line feeds the lines; both aren't part of a number. */
    void Look(std::string_view text, char delimiter);

    /** The first place of the range with such a mark, else `to`. The text's own end counts as a line's. */
    std::size_t FindOther(std::size_t from, std::size_t to) const { return FindFirst(others, from, to); }
    /** The first end of a field in the range, else `to`. */
    std::size_t FindEnd(std::size_t from, std::size_t to) const { return FindFirst(ends, from, to); }
    /** Behind the last end of a field in the range, else `from`. */
    std::size_t FindStart(std::size_t from, std::size_t to) const;
    /** The ends of fields in the range. */
    std::size_t CountEnds(std::size_t from, std::size_t to) const;

private:
    using Masks = std::vector<std::uint64_t>;

    static std::size_t FindFirst(const Masks& masks, std::size_t from, std::size_t to);

    Masks ends;
    Masks others;
};
