#include "tools/Commands.h"
int RunInfo(const ReadRequest&, bool) { return 1; }
int RunShow(const ReadRequest&, int) { return 1; }
int RunConvert(const ReadRequest&, const std::string&, const std::string&) { return 1; }
