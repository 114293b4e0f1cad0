#include "host/Log.h"

#include <iostream>
#include <utility>

#include "host/GuardedHandler.h"

namespace {

GuardedHandler<Log::Handler>& TheHandler() {
    static GuardedHandler<Log::Handler> handler;
    return handler;
}

}  // namespace

void Log::SetHandler(Handler handler) {
    TheHandler().Set(std::move(handler));
}

void Log::WriteMessage(const std::string& section, const std::string& key, const std::string& text,
                       int importance, const std::string& detail) {
    const Handler handler = TheHandler().Get();
    if (handler) {
        handler({section, key, text, importance, detail});
        return;
    }
    // As one text, so that the lines of several threads stay whole.
    std::string line = section + '/' + key + ": " + text;
    if (!detail.empty()) {
        line += " (" + detail + ')';
    }
    std::clog << line + '\n';
}
