#pragma once

#include <optional>
#include <string>

#include "tools/TableRead.h"

/** A picture of a table for documents: its curves, or its columns over one of them. None where it has
 * nothing to draw. `title` is for people. */
std::optional<std::string> DrawSvg(TableRead& read, const std::string& title, bool isRaman);
