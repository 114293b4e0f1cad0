#pragma once

#include <cstdint>

class TableData;

/** A number that differs between tables that differ in size, or in a cell's kind or value. */
std::uint64_t TableDigest(TableData& table);
