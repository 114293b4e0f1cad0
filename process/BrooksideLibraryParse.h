#pragma once

#include "base/Export.h"
#include "process/BrooksideTree.h"

// XML process logs by the XML library, which knows all documents and tells what is wrong with one: functions
// of the XmlModule.

/** As ParseBrookside does, raising BrooksideParseFailure; a file that can't be opened is a failure too. */
extern "C" KARTA_EXPORT void karta_xml_parse_brookside(const BrooksideDocument& document,
                                                       RawTextExtent extent, BrooksideTree& tree)
    __attribute__((weak));

/** Whether a file is valid by the format's grammar. */
extern "C" KARTA_EXPORT bool karta_xml_is_valid_brookside(const char* path) __attribute__((weak));
