#pragma once

#include <algorithm>
#include <string_view>

#include "base/Ascii.h"

/**
 * Orders texts by their bytes, ASCII letters in any case being the same: the comparison of maps whose keys
 * users write in any case. Other bytes stand as they are, so the order is the same on every machine.
 */
struct LessIgnoringCase {
    using is_transparent = void;

    bool operator()(std::string_view left, std::string_view right) const {
        return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                            [](char a, char b) { return Fold(a) < Fold(b); });
    }

private:
    static unsigned char Fold(char c) { return static_cast<unsigned char>(ToLower(c)); }
};
