#include "host/NvString.h"

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

#include "base/Ascii.h"
#include "base/NumberParser.h"

namespace {

// Puts the calling thread into the C locale for as long as it lives; other threads aren't touched.
class CLocaleScope {
public:
    CLocaleScope() : previous(uselocale(CLocale())) {}
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;
    ~CLocaleScope() { uselocale(previous); }

private:
    static locale_t CLocale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t previous;
};

}  // namespace

// A text of nothing but so few digits that every number of them is an int, as nearly all are.
static bool TakeDigits(std::string_view text, int& value) {
    constexpr std::size_t MostDigits = std::numeric_limits<int>::digits10;
    if (text.empty() || text.size() > MostDigits) {
        return false;
    }
    int number = 0;
    for (const char digit : text) {
        if (!IsDigit(digit)) {
            return false;
        }
        number = number * 10 + (digit - '0');
    }
    value = number;
    return true;
}

bool NvString::ToInt(std::string_view text, int& value) {
    if (TakeDigits(text, value)) {
        return true;
    }
    text = TrimSpace(text);
    const bool whole = !text.empty() && ParseInt(text, value) == text.size();
    // At the ends of the range the parser may have held back a larger number; few digits rule that out.
    const bool atLimit = value == std::numeric_limits<int>::max() || value == std::numeric_limits<int>::min();
    double exact = 0.0;
    if (whole && (!atLimit || (ParseDouble(text, exact) == text.size() && exact == value))) {
        return true;
    }
    value = 0;
    return false;
}

bool NvString::ToFloat(std::string_view text, float& value) {
    double number = 0.0;
    const bool isNumber = ToDouble(text, number);
    value = static_cast<float>(number);
    return isNumber;
}

bool NvString::ToDouble(std::string_view text, double& value) {
    text = TrimSpace(text);
    if (!text.empty() && ParseDouble(text, value) == text.size()) {
        return true;
    }
    value = 0.0;
    return false;
}

double NvString::nvstrtod(const char* text, char** end) {
    double value = 0.0;
    const std::size_t count = ParseDouble(text, value);
    if (end != nullptr) {
        *end = const_cast<char*>(text) + count;
    }
    return value;
}

char* NvString::nvstrdup(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    char* copy = new char[size];
    std::memcpy(copy, text, size);
    return copy;
}

std::string NvString::Format(const char* format, ...) {
    const CLocaleScope scope;
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}
