#pragma once

#include "process/BrooksideTree.h"

/**
 * Parses an XML process log: by the fast scanner where that knows the document to its end, and by the XML
 * library from the beginning otherwise. Raises BrooksideParseFailure.
 */
BrooksideTree ParseBrookside(const BrooksideDocument& document, RawTextExtent extent);
