#include "host/Log.h"

#include <iostream>
#include <utility>

namespace {

Log::Handler& TheHandler() {
    static Log::Handler handler;
    return handler;
}

}  // namespace

void Log::SetHandler(Handler handler) {
    TheHandler() = std::move(handler);
}

void Log::WriteMessage(const std::string& section, const std::string& key, const std::string& text,
                       int importance, const std::string& detail) {
    if (TheHandler()) {
        TheHandler()({section, key, text, importance, detail});
        return;
    }
    std::clog << section << '/' << key << ": " << text;
    if (!detail.empty()) {
        std::clog << " (" << detail << ')';
    }
    std::clog << '\n';
}
