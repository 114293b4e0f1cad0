#include "tests/support/TestName.h"

#include <algorithm>
#include <cctype>

std::string TestNameOf(std::string text) {
    std::replace_if(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return text;
}
