#pragma once

#include <functional>
#include <iosfwd>
#include <memory>

#include "archive/XmlEvents.h"
#include "archive/XmlScanner.h"

/** Opens a document anew, from its beginning. */
using XmlSource = std::function<std::unique_ptr<std::istream>()>;

/** Who parses a document. */
enum class XmlParsers {
    Both,   /**< the scanner as far as it knows a document, and from there on the library */
    Library /**< the library alone */
};

/**
 * Streams a document to a handler: the same for all parsers, so that `parsers` is a question of time only.
 * False when it isn't well-formed, goes beyond the bounds of ParseXml, when a stream failed, or when the
 * handler ended it by XmlEnd; the handler has then seen the part before. The source is
 * asked once, or twice where the library has to go on. `pieceSize` is the scanner's.
 */
bool StreamXml(const XmlSource& source, XmlEvents& events, XmlNames names,
               XmlParsers parsers = XmlParsers::Both, std::size_t pieceSize = XmlScanner::PieceSize);
