#pragma once

#include <functional>
#include <string>

#include "base/Export.h"

/** A reader's yes-or-no question to the user. */
class KARTA_EXPORT Question {
public:
    /** Gets the question's text; true is yes. */
    using Handler = std::function<bool(const std::string&)>;

    /** Lets the host ask; an empty function brings the silent answer yes back. */
    static void SetHandler(Handler handler);

    /** The host's answer; yes until a host sets a function. */
    static bool Ask(const std::string& text);
};
