#pragma once

#include "frame/ReadSpreadSheetData.h"
#include "frame/WriteSpreadSheetData.h"

/** A host's table: a sink for readers and a source for writers at once. TableData is one that works. */
class KARTA_EXPORT SpreadsheetData : public virtual ReadSpreadSheetData, public WriteSpreadSheetData {};
