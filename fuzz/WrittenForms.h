#pragma once

#include <string>

#include "base/ReadContext.h"
#include "table/TableData.h"

/**
 * Writes the table in one of the forms that the program has, its own and those of the formats that write, as
 * `convert` does. `turn` says which; counted up, all come round. The file is gone afterwards.
 */
void WriteForm(TableData& table, karta::ReadContext& context, const std::string& folder, std::size_t turn);
