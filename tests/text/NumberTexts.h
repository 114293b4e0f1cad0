#pragma once

#include <cstddef>
#include <string>

// Numbers for what reads the common ones of them in a quick way: `isRead(text)` says whether it took one.

/** How many are read of numbers with and without signs and points, of all lengths on either side. */
template <class IsRead>
int CountReadOfAllLengths(const IsRead& isRead) {
    const std::string digits = "9081726354";
    const std::string zeros = "0000000000";
    const std::string ends = "1200000000";
    int read = 0;
    for (const std::string& source : {digits, zeros, ends}) {
        for (std::size_t whole = 0; whole <= 9; ++whole) {
            for (std::size_t fraction = 0; fraction <= 9; ++fraction) {
                for (const char* sign : {"", "-", "+"}) {
                    for (std::size_t from = 0; from < 3; ++from) {
                        const std::string front = sign + source.substr(from).substr(0, whole);
                        read += isRead(front) ? 1 : 0;
                        read += isRead(front + "." + source.substr(0, fraction)) ? 1 : 0;
                        read += isRead(front + "." + std::string(fraction, '0') + "5") ? 1 : 0;
                    }
                }
            }
        }
    }
    return read;
}

/** Every number of four digits, positive and negative, with a point behind `point` of them or, at four, none:
 * `look(text, number, point)`. */
template <class Look>
void ForEachOfFourDigits(const Look& look) {
    for (int i = 0; i < 10'000; ++i) {
        const std::string number = std::to_string(10'000 + i).substr(1);
        for (std::size_t point = 1; point <= 4; ++point) {
            for (const std::string sign : {"", "-"}) {
                look(
                    sign + number.substr(0, point) + (point < 4 ? "." + number.substr(point) : std::string()),
                    number, point);
            }
        }
    }
}
