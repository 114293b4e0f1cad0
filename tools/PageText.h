#pragma once

#include <string_view>

/** The fixed texts of the pages that `view` writes, put in when the program is built. */
struct PageText {
    static const std::string_view Template; /**< tools/page/view.html */
    static const std::string_view Style;    /**< tools/page/view.css and that of dygraphs */
    static const std::string_view LibraryStyle;
    static const std::string_view Script;  /**< tools/page/view.js */
    static const std::string_view Library; /**< dygraphs */
};
