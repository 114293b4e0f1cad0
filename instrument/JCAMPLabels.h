#pragma once

#include <string>
#include <string_view>

#include "instrument/JCAMPData.h"

/** The labels that mean something to the reader. */
enum class JCAMPLabel {
    Title,
    DataType,
    DataClass,
    Blocks,
    BlockId,
    XUnits,
    YUnits,
    FirstX,
    LastX,
    DeltaX,
    XFactor,
    YFactor,
    Binary,
    NPoints,
    End,
    DataTable,
    RAData,
    XYPairs,
    Assignments,
    Page,
    Date,
    Time,
    Other
};

/**
 * A line of which, up to its first "=", only what tells labels apart has stayed: "## X_Units = nm" is
 * "##XUNITS= nm".
 */
std::string StripJCAMPLabel(std::string_view text);

/**
 * Which label this is: the text up to its "=", in upper case and without what doesn't tell labels apart.
 */
JCAMPLabel FindJCAMPLabel(std::string_view text);

/** The class that a ##DATACLASS= of this value, normalised like a label, names. */
int FindJCAMPClass(std::string_view text);

/**
 * Enters a label's value into its block's record. Labels that do more than that are ignored. Returns 0 or
 * one of JCAMPFile's codes, for one of which it fills `errorText`.
 */
int ReadJCAMPBlockLabel(JCAMPData& block, JCAMPLabel label, std::string_view value, std::string& errorText);

/** Sets the block's class by the form of its data. Returns 0 or the code of a form that can't be read. */
int ReadJCAMPForm(JCAMPData& block, std::string_view form);
