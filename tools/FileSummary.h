#pragma once

#include <string>
#include <vector>

#include "frame/FileContents.h"
#include "tools/TableRead.h"

/** What a file says of itself before its table is read. */
struct FileSummary {
    std::string format;
    std::string reason;  // why this format
    std::vector<FileContents::Fact> facts;
    std::vector<FileContents::Part> parts;
};

/** Opens the selection; a file that can't be opened has no facts and parts: the read itself tells why. */
FileSummary SummariseFile(const ReadRequest& request, const ChosenFormat& chosen);

/** "first X     1100 nm", with a line feed: one line, whatever the texts hold. */
std::string FactLine(const std::string& name, const std::string& value);
