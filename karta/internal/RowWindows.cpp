#include "karta/internal/RowWindows.h"

namespace karta {

void RowWindows::SetDataSize(int cols, int rows) {
    control.Resize(rows);
    numCols = std::max(cols, 0);
    numRows = std::max(rows, 0);
}

}  // namespace karta
