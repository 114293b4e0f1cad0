#pragma once

#include <string>
#include <string_view>

#include "archive/XmlStreaming.h"
#include "spreadsheet/WorkbookPart.h"

/**
 * What a receiver gets of a worksheet part, a row or a cell a line, and whether it was taken for well-formed.
 * `pieceSize` is the scanner's.
 */
std::string SheetOutcome(std::string_view part, XmlForm form, XmlParsers parsers,
                         std::size_t pieceSize = XmlScanner::PieceSize);
