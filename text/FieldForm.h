#pragma once

#include <cstdint>
#include <string_view>

#include "text/DelimitedOptions.h"

/**
 * What a field's characters look like, as one of these or, for grouped numbers, two. Which of them are
 * numbers is a fact of the whole file: 1,234 may be one or the other.
 */
struct FieldForm {
    enum Bits : std::uint32_t {
        Nothing = 0,           /**< empty, or blanks */
        Missing = 1U << 0,     /**< NA and the like */
        Integer = 1U << 1,     /**< exact as a double, also with an exponent, inf and nan */
        WideInteger = 1U << 2, /**< up to 64 bits */
        Point = 1U << 3,       /**< 1.5, with a mark that parts no groups */
        PointOrGroup = 1U << 4,
        PointGroups = 1U << 5,      /**< 1.234.567 */
        PointGroupsComma = 1U << 6, /**< 1.234,5 */
        Comma = 1U << 7,            /**< 1,5 */
        CommaOrGroup = 1U << 8,
        CommaGroups = 1U << 9,
        CommaGroupsPoint = 1U << 10,
        OtherGroups = 1U << 11, /**< 1'234, with blanks too; may be one of Point and Comma as well */
        Bool = 1U << 12,
        Date = 1U << 13,
        Time = 1U << 14,
        DateTime = 1U << 15,
        Text = 1U << 16,
        WithZone = 1U << 17 /**< beside DateTime */
    };
    static constexpr std::uint32_t PointNumbers = Point | PointOrGroup | CommaGroupsPoint | CommaGroups;
    static constexpr std::uint32_t CommaNumbers = Comma | CommaOrGroup | PointGroupsComma | PointGroups;
    static constexpr std::uint32_t Numbers =
        Integer | WideInteger | PointNumbers | CommaNumbers | OtherGroups;

    std::uint32_t bits = Nothing;
    /** The number has its value below already: digits with at most a point. */
    bool hasNumber = false;
    /** The characters are those that the value would be written with. */
    bool isCanonical = false;
    /** Of a plain decimal that isn't canonical: the digits behind its point, and one more; else 0. */
    std::uint8_t decimals = 0;
    double number = 0.0;
    std::int64_t integer = 0; /**< a WideInteger; 0 or 1; days; microseconds */
};

/** Looks at a field in UTF-8. */
FieldForm GetFieldForm(std::string_view field, DateOrder order);

/** Whether a field of a column of dates and times is one with a zone. */
bool HasZone(std::string_view field, DateOrder order);

/** The value of a field whose form is one of a number's, with this decimal mark. */
double GetNumber(std::string_view field, char decimalMark);
