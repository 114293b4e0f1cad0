#pragma once

#include <string_view>

// The grammar of the Brookside Ver. 2.6 XML document, which validates it. The first text includes the
// second, and that the third.

extern const std::string_view FDCRequestGrammar; /**< FDCRequest.dtd */
extern const std::string_view FDCGrammar;        /**< FDC.dtd */
extern const std::string_view BaseGrammar;       /**< base.dtd */
