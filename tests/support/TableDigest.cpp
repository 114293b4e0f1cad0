#include "tests/support/TableDigest.h"

#include <string>

#include "table/TableData.h"

std::uint64_t TableDigest(TableData& table) {
    std::uint64_t digest = 14695981039346656037U;  // FNV-1a
    const auto add = [&digest](const std::string& text) {
        for (const char c : text + '\n') {
            digest = (digest ^ static_cast<unsigned char>(c)) * 1099511628211U;
        }
    };
    const int cols = table.GetNumberOfColumns();
    const int rows = table.GetNumberOfRows();
    add(std::to_string(cols) + ' ' + std::to_string(rows));
    for (int row = 1; row <= rows; ++row) {
        for (int col = 1; col <= cols; ++col) {
            add(std::to_string(table.GetKind(col, row)) + table.GetString(col, row));
        }
    }
    return digest;
}
