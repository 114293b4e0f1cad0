#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"

/** Text operations of the host. None of them depends on the process's locale. */
class KARTA_EXPORT NvString {
public:
    /**
     * True when the whole text, white space at both ends aside, is one number; otherwise false and 0 in
     * `value`. A whole number beyond the range of int is none.
     */
    static bool ToInt(std::string_view text, int& value);
    static bool ToFloat(std::string_view text, float& value);
    static bool ToDouble(std::string_view text, double& value);

    /** As strtod: reads as far as the number goes and tells where it ended; `end` may be null. */
    static double nvstrtod(const char* text, char** end);

    /** A copy made with new[], the caller's. */
    static char* nvstrdup(const char* text);

    /** As sprintf in the C locale. */
    static std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
};
