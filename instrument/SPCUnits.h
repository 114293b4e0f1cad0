#pragma once

#include <string>
#include <string_view>

/** What an axis or a value is, and in which unit; both may be empty. */
struct SPCQuantity {
    std::string_view quantity; /**< "wavenumber" */
    std::string_view unit;     /**< "cm-1" */
};

/** The name that the classic table has for a code of X or Z; empty for a code without one. */
const char* FindSPCXName(unsigned char code);
/** The same of Y. */
const char* FindSPCYName(unsigned char code);

/** What a code of X, Z or W stands for. */
SPCQuantity FindSPCXQuantity(unsigned char code);
/** What a code of Y stands for. */
SPCQuantity FindSPCYQuantity(unsigned char code);

/** The technique that the header's code names; empty for one that has none. */
std::string_view FindSPCTechnique(int code);
