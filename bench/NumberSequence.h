#pragma once

#include <string>

/** Numbers from a fixed sequence: every file that is made of them has the same bytes every time. */
class NumberSequence {
public:
    /** Puts the next number behind a line: of a length that instruments write, six digits behind the point.
     */
    void Append(std::string& line);

    /** The next whole number below a bound of at most 65,536. */
    unsigned int Next(unsigned int bound);

    /** What the number that came last was made from. */
    unsigned int Bits() const { return state; }

private:
    void Step();

    unsigned int state = 12345;
};
