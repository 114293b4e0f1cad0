#pragma once

#include <string>

#include "base/Export.h"

/**
 * Makes an empty file of a new unique name in the system's temporary directory, readable by its owner
 * only; the caller removes it. Empty when none could be made.
 */
KARTA_EXPORT std::string MakeTemporaryFile(const std::string& prefix);

/** The same for a folder. */
KARTA_EXPORT std::string MakeTemporaryFolder(const std::string& prefix);
