#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "base/Note.h"
#include "karta/internal/FormatCatalogue.h"
#include "karta/internal/ReadWishes.h"

// Which options the formats of this library know, so that none is taken without a word and left unused. What
// a module's format knows is its own affair: it is handed everything.

/**
 * Refuses, by an Error (UnknownOption), an option that the format doesn't know in the wished reading, and
 * says which formats do.
 */
KARTA_EXPORT void CheckFormatOptions(const FormatCatalogue& formats, int format,
                                     const karta::ReadWishes& wishes);

/** Whether the format knows the option in this reading. A module's format knows what only it knows. */
bool KnowsOption(const FormatCatalogue& formats, int format, std::string_view option, karta::Reading reading);

/** Takes back the wishes that the format doesn't know. */
void DropUnknownOptions(const FormatCatalogue& formats, int format, karta::ReadWishes& wishes);

/** The wishes without those that only some formats know. */
karta::ReadWishes WithoutFormatOptions(karta::ReadWishes wishes);

/** The names of the wishes that only some formats know. */
std::vector<std::string> GivenFormatOptions(const karta::ReadWishes& wishes);

/** A note for each key of the settings that the format doesn't know. */
KARTA_EXPORT std::vector<karta::Note> NoteUnknownSettings(const FormatCatalogue& formats, int format,
                                                          const karta::ReadWishes& wishes);
