#pragma once

#include "process/BrooksideTree.h"

// XML process logs by the XML library, which knows all documents and tells what is wrong with one.

/** As ParseBrookside does, raising BrooksideParseFailure; a file that can't be opened is a failure too. */
BrooksideTree ParseBrooksideByLibrary(const BrooksideDocument& document, RawTextExtent extent);

/** Whether a file is valid by the format's grammar. */
bool IsValidBrooksideFile(const char* path);
