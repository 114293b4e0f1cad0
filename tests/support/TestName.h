#pragma once

#include <string>

/** A text as the name of a test: what is neither letter nor digit becomes an underscore. */
std::string TestNameOf(std::string text);
