#include "spreadsheet/SharedStrings.h"

void SharedStrings::Clear() {
    texts.clear();
    arena.Clear();
    share.Release();
}
