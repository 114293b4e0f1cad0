#pragma once

#include <iosfwd>

#include "archive/XmlEvents.h"
#include "archive/XmlScanner.h"
#include "base/Export.h"

/**
 * Streams a document to a handler by the XML library, without what was handed out before: a function of the
 * XmlModule. False where it isn't well-formed, or beyond the bounds of ParseXml; the handler has then seen
 * the part before. What the handler raises comes through.
 */
extern "C" KARTA_EXPORT bool karta_xml_stream(std::istream& stream, XmlEvents& events, XmlNames names,
                                              const XmlScanner::Progress& handedOut) __attribute__((weak));
