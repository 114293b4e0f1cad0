#pragma once

#include <functional>
#include <iosfwd>
#include <string>

/** A folder of generated files that are read as one selection. */
struct SelectionBench {
    std::string name;      /**< the benchmark's name */
    std::string format;    /**< the reader's format name */
    std::string extension; /**< of the files, with its dot */
    int numFiles = 0;
    std::function<void(std::ostream&, int)>
        generate;      /**< writes a file by its number; always the same bytes */
    double target = 0; /**< the figure to reach into a counting sink, in times of the yardstick */
};

/**
 * Registers `NAME/counting` and `NAME/table`, opening, measuring and reading the whole selection classically,
 * `NAME/complete`, reading it completely into the same counting sink, and `NAME/karta_table`, completely into
 * a table in columns. The yardstick M is the time of `cat` of all the files into one `md5sum`, warm and in
 * the same run.
 */
class RegisterSelectionBench {
public:
    explicit RegisterSelectionBench(const SelectionBench& bench);
};
