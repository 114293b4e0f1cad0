#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/** A date, time or duration by ISO 8601. */
struct IsoTime {
    enum class Type : std::uint8_t {
        Date,     /**< `value` in days since 1970-01-01 */
        Time,     /**< in microseconds since midnight */
        DateTime, /**< in microseconds since 1970-01-01 00:00; one with a zone in UTC */
        Duration  /**< in microseconds */
    };

    Type type = Type::Date;
    std::int64_t value = 0;

    /**
     * "2021-01-31", "2021-01-31T10:10:10.5", the same with "Z" or "+02:00", "10:10:10" and "PT30H10M";
     * nothing for any other text. Seconds are rounded to microseconds.
     */
    static std::optional<IsoTime> Parse(std::string_view text);
};
