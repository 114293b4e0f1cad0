#pragma once

#include <string>

namespace karta {

/** "B" of the second column, as spreadsheets call it. */
std::string LettersOf(int col);

}  // namespace karta
