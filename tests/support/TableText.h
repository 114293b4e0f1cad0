#pragma once

#include <string>

namespace karta {
class Table;
}

/** All of a table in columns that can be told by text: types, lists of distinct texts, cells, notes. */
std::string DescribeTable(const karta::Table& table);
