#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/**
 * A cell of a worksheet part as programs write nearly all of them, `<c r="B7" s="1" t="s"><v>12</v></c>`: its
 * attributes without a blank or a reference too many, and inside at most a formula, of which nothing is kept,
 * and a short value of ASCII or an inline text of it. Any other is for a parser of XML.
 */
struct PlainCell {
    /** But for its formula no such cell has so many bytes. */
    static constexpr std::size_t Longest = 192;

    int column = 0;         /**< from 1; perhaps beyond those that a sheet can have */
    int style = -1;         /**< -1 where none is named */
    std::string_view type;  /**< empty where none is named */
    std::uint64_t tags = 0; /**< beginnings and ends of elements; an empty one has both */
    bool hasValue = false;
    bool isInline = false; /**< the value is an inline text in its place */
    const char* valueBegin = nullptr;
    bool isNumber = false; /**< the value is that of `number`: digits with at most a sign and a point */
    bool isIndex = false;  /**< of a few digits only: `index` */
    double number = 0.0;
    std::int32_t index = 0;
    const char* valueEnd = nullptr;

    /** Empty without one. */
    std::string_view GetValue() const {
        return {valueBegin, static_cast<std::size_t>(valueEnd - valueBegin)};
    }

    /**
     * Takes the cell that begins at `from`, where there are `Longest` bytes at least up to `end`; returns
     * where it ends, null where it isn't such a one, or not there to its end.
     */
    const char* Take(const char* from, const char* end);

private:
    const char* TakeReference(const char* at);
    const char* TakeAttributes(const char* at);
    const char* TakeType(const char* at);
    const char* TakeFormula(const char* at, const char* end);
    const char* TakeInline(const char* at);
    const char* TakeValue(const char* at);
    const char* TakeText(const char* at);
    const char* TakeNumber(const char* at);
};

/**
 * The end of one row and the beginning of the next as programs write them:
 * `</row><row r="3" spans="1:9" ht="15" customHeight="1">`. Of the further attributes nothing is kept.
 */
struct PlainRow {
    static constexpr std::size_t Longest = 64; /**< without further attributes */

    int number = 0;
    int claimedColumns = 0; /**< the end of its spans; 0 without any */

    /** As of PlainCell. `prefixedName` is an attribute whose prefix is known there, as it is written. */
    const char* Take(const char* from, const char* end, std::string_view prefixedName);
};
