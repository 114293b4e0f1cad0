#pragma once

#include <memory>
#include <string>

#include "base/Reading.h"
#include "frame/SpreadsheetFile.h"

/**
 * Opens a selection with a reader and calls everything that a host can: what came of it as text, with the
 * table as a digest. The reader stays open.
 */
std::string OutcomeOf(SpreadsheetFile& reader, karta::Reading reading, const std::string& fileNames);

/** Everything but Open. */
std::string OutcomeOfCalls(SpreadsheetFile& reader);

/** All of it with a reader of this format of its own. */
std::string OutcomeOf(const std::string& formatName, karta::Reading reading, const std::string& fileNames);
