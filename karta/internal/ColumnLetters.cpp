#include "karta/internal/ColumnLetters.h"

namespace karta {

std::string LettersOf(int col) {
    std::string letters;
    for (; col > 0; col = (col - 1) / 26) {
        letters.insert(letters.begin(), static_cast<char>('A' + (col - 1) % 26));
    }
    return letters;
}

}  // namespace karta
