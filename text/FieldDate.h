#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "text/DelimitedOptions.h"

/** A date or time of delimited text: by ISO 8601, or in the order that the user says. */
struct FieldDate {
    enum Kind { Date, Time, DateTime };

    Kind kind = Date;
    std::int64_t value = 0;   /**< days since 1970-01-01; microseconds since midnight, or since that day */
    bool hasZone = false;     /**< the value is UTC */
    bool isCanonical = false; /**< the characters are those that the value would be written with */
};

/** Nothing where the whole text isn't one. */
std::optional<FieldDate> ReadFieldDate(std::string_view text, DateOrder order);

/**
 * The same of what is written as most are: "2025-09-17", "13:42:00", "2025-09-17T13:42:00", or with a blank
 * in place of the T, which alone isn't canonical. Nothing of any other.
 */
std::optional<FieldDate> ReadPlainDate(std::string_view text);
