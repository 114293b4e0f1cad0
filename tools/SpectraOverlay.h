#pragma once

#include <string>
#include <vector>

#include "frame/FileContents.h"
#include "tools/TableRead.h"

/** Files whose spectra go over each other, or one file by itself. */
struct SpectraGroup {
    std::vector<std::string> files;
    std::string valueQuantity;  // of all, as far as they tell it
    std::string valueUnit;
    std::string format;                     // all of theirs
    std::vector<FileContents::Fact> facts;  // that all of them tell alike
};

/** Spectra of several files, of any formats, as curves of one table: for seeing them over each other. */
class SpectraOverlay {
public:
    /**
     * The files in groups whose spectra have one kind of axis and of ordinate, in the order of their first
     * files. A file without spectra, or that can't be read, is a group of its own.
     */
    static std::vector<SpectraGroup> Group(const ReadRequest& request);

    /**
     * Reads a group into one table, on all points of all axes, which changes no curve. Each row is named by
     * its file and the name that it has there. `others` gets the files that don't fit after all. Raises
     * Failure.
     */
    static void Read(const ReadRequest& request, const SpectraGroup& group, TableRead& read,
                     std::vector<std::string>& others);
};
