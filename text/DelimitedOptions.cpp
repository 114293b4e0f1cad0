#include "text/DelimitedOptions.h"

#include <stdexcept>

#include "base/PathNames.h"
#include "frame/CompleteOptions.h"

namespace {

// The classic reading's key, which means the same here.
constexpr const char* MergeRunsKey = "IgnoreConsecutiveDelimiters";

DateOrder GetDateOrder(const std::string& text) {
    const std::string lower = ToLowerCase(text);
    if (lower == "dmy") {
        return DateOrder::DayMonthYear;
    }
    if (lower == "mdy") {
        return DateOrder::MonthDayYear;
    }
    if (lower == "ymd") {
        return DateOrder::YearMonthDay;
    }
    throw std::invalid_argument("a date order is DMY, MDY or YMD, not '" + text + "'");
}

}  // namespace

DelimitedOptions::DelimitedOptions(const NvImportOpenOptions* options) {
    const CompleteOptions record(options);
    encoding = record.GetText(CompleteOptions::Encoding);
    delimiter = record.GetText(CompleteOptions::Delimiter);
    if (delimiter == "") {
        delimiter.reset();
    }
    mergeRuns = record.GetBool(MergeRunsKey).value_or(false);
    if (const auto mark = record.GetText(CompleteOptions::Decimal)) {
        if (*mark != "." && *mark != ",") {
            throw std::invalid_argument("a decimal mark is '.' or ',', not '" + *mark + "'");
        }
        decimal = mark->front();
    }
    header = record.GetInt(CompleteOptions::Header);
    if (header && *header < 0) {
        throw std::invalid_argument("a header row counts from 1, and 0 is none");
    }
    textColumns = record.GetText(CompleteOptions::TextColumns).value_or("");
    hasTypes = record.GetBool(CompleteOptions::Types).value_or(true);
    if (const auto order = record.GetText(CompleteOptions::DateOrder)) {
        dateOrder = GetDateOrder(*order);
    }
}
