#pragma once

#include <vector>

#include "tools/Commands.h"
#include "tools/FileList.h"

/** Converts each file by itself into the folder that is named as output. The exit status. */
int ConvertEach(const ReadRequest& request, const ConvertRequest& wanted,
                const std::vector<ListedFile>& files);

/** Converts all files to one table with a column that names them. The exit status. */
int ConvertStacked(const ReadRequest& request, const ConvertRequest& wanted,
                   const std::vector<ListedFile>& files);
