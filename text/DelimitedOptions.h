#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frame/NvImport.h"

/** In which order the numbers of a date such as 3/4/2025 stand. */
enum class DateOrder { None, DayMonthYear, MonthDayYear, YearMonthDay };

/** What a user says about delimited text, in place of what would be guessed. */
struct DelimitedOptions {
    DelimitedOptions() = default;
    /** From an options record, which may be null. Raises std::invalid_argument for what can't be meant. */
    explicit DelimitedOptions(const NvImportOpenOptions* options);

    std::optional<std::string> encoding;
    std::optional<std::string> delimiter;
    bool mergeRuns = false;
    std::optional<char> decimal;
    std::optional<int> header; /**< the row of the columns' names, 0 for none */
    std::string textColumns;   /**< by name or place, comma-separated */
    bool hasTypes = true;
    DateOrder dateOrder = DateOrder::None;
};
