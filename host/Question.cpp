#include "host/Question.h"

#include <utility>

namespace {

Question::Handler& TheHandler() {
    static Question::Handler handler;
    return handler;
}

}  // namespace

void Question::SetHandler(Handler handler) {
    TheHandler() = std::move(handler);
}

bool Question::Ask(const std::string& text) {
    return TheHandler() ? TheHandler()(text) : true;
}
