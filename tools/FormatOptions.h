#pragma once

#include <string>
#include <vector>

#include "base/Note.h"
#include "tools/FormatCatalogue.h"
#include "tools/ReadRequest.h"

// Which options the formats of this library know, so that none is taken without a word and left unused. What
// a module's format knows is its own affair: it is handed everything.

/**
 * Refuses, as wrong usage, an option that the format doesn't know in the request's reading, and says which
 * formats do.
 */
void CheckFormatOptions(const FormatCatalogue& formats, int format, const ReadRequest& request);

/** A note for each key of --setting that the format doesn't know. */
std::vector<karta::Note> NoteUnknownSettings(const FormatCatalogue& formats, int format,
                                             const ReadRequest& request);
