#pragma once

#include <functional>
#include <string>

#include "base/Export.h"

/** Where the library's messages go. */
class KARTA_EXPORT Log {
public:
    struct Message {
        std::string section;
        std::string key;
        std::string text;
        int importance;
        std::string detail; /**< may be empty */
    };
    using Handler = std::function<void(const Message&)>;

    /** Sends messages to the host's function; an empty one brings std::clog back. */
    static void SetHandler(Handler handler);

    /** Until a host sets another way: one line, "section/key: text", to std::clog. */
    static void WriteMessage(const std::string& section, const std::string& key, const std::string& text,
                             int importance, const std::string& detail = {});
};
