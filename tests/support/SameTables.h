#pragma once

class TableData;

/** Fails the test at the first cell whose kind or value differs, or when the tables differ in size. */
void ExpectSameTables(TableData& found, TableData& expected);
