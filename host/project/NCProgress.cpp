#include "host/project/NCProgress.h"

#include <algorithm>
#include <utility>

#include "host/GuardedHandler.h"
#include "host/Question.h"

namespace {

GuardedHandler<NCProgress::Handler>& TheHandler() {
    static GuardedHandler<NCProgress::Handler> handler;
    return handler;
}

}  // namespace

void NCProgress::SetHandler(Handler handler) {
    TheHandler().Set(std::move(handler));
}

NCProgress::NCProgress(std::string titleText, int first, int last, int start, int stepSize, int mayCancel,
                       std::string cancelQuestion)
    : title(std::move(titleText)),
      minimum(first),
      maximum(last),
      position(start),
      step(stepSize),
      canCancel(mayCancel != 0),
      question(std::move(cancelQuestion)) {}

bool NCProgress::Step() {
    position += step;
    const Handler handler = TheHandler().Get();
    if (cancelled || !handler) {
        return !cancelled;
    }
    const double done = static_cast<double>(position - minimum) / std::max(maximum - minimum, 1);
    if (handler(title, std::clamp(done, 0.0, 1.0)) && canCancel) {
        cancelled = question.empty() || Question::Ask(question);
    }
    return !cancelled;
}
