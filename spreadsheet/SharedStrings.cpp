#include "spreadsheet/SharedStrings.h"

void SharedStrings::Clear() {
    texts.Clear();
    share.Release();
}
