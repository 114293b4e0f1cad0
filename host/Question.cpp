#include "host/Question.h"

#include <utility>

#include "host/GuardedHandler.h"

namespace {

GuardedHandler<Question::Handler>& TheHandler() {
    static GuardedHandler<Question::Handler> handler;
    return handler;
}

}  // namespace

void Question::SetHandler(Handler handler) {
    TheHandler().Set(std::move(handler));
}

bool Question::Ask(const std::string& text) {
    const Handler handler = TheHandler().Get();
    return handler ? handler(text) : true;
}
