#pragma once

#include <string>

/** Numbers from a fixed sequence: every file that is made of them has the same bytes every time. */
class NumberSequence {
public:
    /** The next 32 bits, of which the higher ones change most. */
    unsigned int Next() { return state = state * 1664525U + 1013904223U; }
    /** The next whole number below a bound of at most 65,536. */
    unsigned int NextBelow(unsigned int bound) { return (Next() >> 16) % bound; }
    /** The next number as text: of a length that instruments write, six digits behind the point. */
    std::string NextText() {
        const unsigned int bits = Next();
        return std::to_string(bits >> 22) + "." + std::to_string(100000 + (bits >> 8) % 900000);
    }
    /** What came last was made from. */
    unsigned int GetBits() const { return state; }

private:
    unsigned int state = 12345;
};
