#pragma once

#include <string>

#include "frame/SprFileFactory.h"

/** What the registered format of this name says to a file; KindNo, too, when there is no such format. */
MyKindOfFile VerdictOf(const std::string& formatName, const std::string& path);
