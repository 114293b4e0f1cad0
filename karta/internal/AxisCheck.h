#pragma once

#include "base/Note.h"
#include "frame/SpreadsheetFile.h"
#include "karta/internal/ReadWishes.h"

/** Notes each wished interval that lies off the axis of the open file, where the file tells its axis.
 */
void NoteIntervalsOffAxis(const karta::ReadWishes& wishes, SpreadsheetFile& reader, karta::Notes& notes);
