#pragma once

#include <string>
#include <vector>

#include "tools/TableRead.h"

/** Spectra of several files, of any formats, as curves of one table: for seeing them over each other. */
class SpectraOverlay {
public:
    /**
     * The files in groups whose spectra have one kind of axis and of ordinate, in the order of their first
     * files. A file without spectra, or that can't be read, is a group of its own.
     */
    static std::vector<std::vector<std::string>> Group(const ReadRequest& request);

    /**
     * Reads a group into one table, on all points of all axes, which changes no curve. Each row is named by
     * its file and the name that it has there. `others` gets the files that don't fit after all. Raises
     * Failure.
     */
    static void Read(const ReadRequest& request, const std::vector<std::string>& files, TableRead& read,
                     std::vector<std::string>& others);
};
