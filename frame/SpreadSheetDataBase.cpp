#include "frame/SpreadSheetDataBase.h"

SpreadSheetDataBase::~SpreadSheetDataBase() = default;
