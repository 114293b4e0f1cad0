#pragma once

#include "frame/NvImport.h"
#include "karta/internal/OptionsRecord.h"
#include "tools/ReadRequest.h"

// Records of open options in the files that the user names.

/**
 * The reading that a request asks for: what was said, else what a kept record was made by (classic where
 * it doesn't tell), else the verb's own. Through the driver it is always the classic one.
 */
karta::Reading ReadingOf(const ReadRequest& request, karta::Reading ofVerb);

/** The request with the record that it replays, and with whether the choices are kept. Raises Failure. */
karta::ReadWishes WishesOf(const ReadRequest& request);

/**
 * Writes the record in its stream form to the file that the request names, if it names one. Where the
 * reader is this library's, the record tells by which reading it was made.
 */
void SaveOptions(const ReadRequest& request, const NvImportOpenOptions& options, bool isOwnReader);

/** SaveOptions after a read through the driver, which leaves the bytes of a filled record to its caller. */
void SaveOptionsAfterDriver(const ReadRequest& request, OptionsRecord& record, bool isOwnReader);
