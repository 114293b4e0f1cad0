#pragma once

#include <string>
#include <string_view>

#include "archive/XmlStreaming.h"

/**
 * What a handler gets of a document, one event a line, and whether it was taken for well-formed. Pieces of a
 * text are joined; text that no tag follows any more doesn't count. `pieceSize` is the scanner's.
 */
std::string XmlOutcome(std::string_view document, XmlNames names, XmlParsers parsers,
                       std::size_t pieceSize = XmlScanner::PieceSize);

/**
 * Whether two outcomes of a document agree. The library looks at bytes far ahead of what it hands out: where
 * these aren't UTF-8, the document is refused by both, but with less handed out by the library alone.
 */
bool Agree(std::string_view document, const std::string& library, const std::string& both);

/** Whether the scanner alone comes to the document's end. */
bool IsKnownToScanner(std::string_view document, XmlNames names);
