#pragma once

#include "base/Note.h"
#include "frame/SpreadsheetFile.h"
#include "tools/ReadRequest.h"

/** Notes each interval of --include that lies off the axis of the open file, where the file tells its axis.
 */
void NoteIntervalsOffAxis(const ReadRequest& request, SpreadsheetFile& reader, karta::Notes& notes);
