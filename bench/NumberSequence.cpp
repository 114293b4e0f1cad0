#include "bench/NumberSequence.h"

void NumberSequence::Step() {
    state = state * 1664525U + 1013904223U;
}

void NumberSequence::Append(std::string& line) {
    Step();
    line += std::to_string(state >> 22) + "." + std::to_string(100000 + (state >> 8) % 900000);
}

unsigned int NumberSequence::Next(unsigned int bound) {
    Step();
    return (state >> 16) % bound;
}
