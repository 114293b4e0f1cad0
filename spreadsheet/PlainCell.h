#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/**
 * A cell of a worksheet part as programs write nearly all of them, `<c r="B7" s="1" t="s"><v>12</v></c>`: its
 * attributes without a blank or a reference too many, a type of one letter, and no more inside than a short
 * value of ASCII. Any other is for a parser of XML.
 */
struct PlainCell {
    /** No such cell has so many bytes. */
    static constexpr std::size_t Longest = 160;

    int column = 0;   /**< from 1; perhaps beyond those that a sheet can have */
    int style = -1;   /**< -1 where none is named */
    char type = '\0'; /**< none where none is named */
    bool hasValue = false;
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
     * Takes the cell that begins at `from`, where there are `Longest` bytes; returns where it ends, null
     * where it isn't such a one.
     */
    const char* Take(const char* from);

private:
    const char* TakeReference(const char* at);
    const char* TakeAttributes(const char* at);
    const char* TakeValue(const char* at);
    const char* TakeNumber(const char* at);
};

/** The end of one row and the beginning of the next as programs write them: `</row><row r="3" spans="1:9">`.
 */
struct PlainRow {
    static constexpr std::size_t Longest = 64;

    int number = 0;
    int claimedColumns = 0; /**< the end of its spans; 0 without any */

    /** As of PlainCell. */
    const char* Take(const char* from);
};
