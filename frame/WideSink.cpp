#include "frame/WideSink.h"

void WideSink::EndRow(int /*row*/) {}
