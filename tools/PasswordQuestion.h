#pragma once

#include <optional>
#include <string>

/**
 * Asks for a file's password on the terminal, three times at the most; `attempt` counts from 0. Nothing where
 * there is no terminal or no answer. A password that was right once is tried first: a command may open its
 * file more than once, and asks once.
 */
std::optional<std::string> AskForPassword(const std::string& fileName, int attempt);
