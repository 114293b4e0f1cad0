#pragma once

#include <string>

#include "karta/Error.h"
#include "tools/Failure.h"

/** The program's option for one of the library's: "--merge-delimiters" for "mergeDelimiters". */
std::string SpellOption(const std::string& option);

/** An error of the library in the program's words, with the exit status that goes with it. */
Failure FailureOf(const karta::Error& error);

/** Does a step; an Error of the library becomes a Failure, or what the interrupt is that stopped it. */
template <class Step>
auto InProgramsWords(const Step& step) {
    try {
        return step();
    } catch (const karta::Error& error) {
        throw FailureOf(error);
    }
}
