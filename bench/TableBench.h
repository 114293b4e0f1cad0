#pragma once

/** The benchmarks of tables in columns; last, behind the formats' own, which make the files. */
void RegisterTableBenches();
