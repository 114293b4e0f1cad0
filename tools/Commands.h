#pragma once

#include <string>

#include "tools/ReadRequest.h"

// The verbs of the program, each in a source of its own name. All raise Failure when they can't go on and
// return the exit status otherwise.

int RunFormats(const ReadRequest& request, bool json);
int RunDetect(const ReadRequest& request, bool json);
int RunTrace(const ReadRequest& request);
int RunInfo(const ReadRequest& request, bool json);
int RunShow(const ReadRequest& request, int maxRows);
/** `output` may be "-"; `target` is a format's name or extension, or empty. */
int RunConvert(const ReadRequest& request, const std::string& output, const std::string& target);
