#include "karta/Error.h"

#include <utility>

namespace karta {

namespace {

std::string Sentence(const Error::Details& details) {
    std::string text = details.file.empty() ? std::string() : details.file + ": ";
    if (!details.option.empty()) {
        // "header takes a row ...", but "header: this format doesn't know it".
        text += details.option + (details.code == ErrorCode::BadOption ? " " : ": ");
    }
    text += details.text;
    if (details.advice.empty()) {
        return text;
    }
    // The texts of some formats are whole sentences already.
    return text + (text.ends_with('.') ? " (" + details.advice + ")" : "; " + details.advice);
}

}  // namespace

Error::Error(Details details) : std::runtime_error(Sentence(details)), known(std::move(details)) {}

const char* NameOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::NotFound:
            return "not-found";
        case ErrorCode::NoPermission:
            return "no-permission";
        case ErrorCode::NotAFile:
            return "not-a-file";
        case ErrorCode::NotReadable:
            return "not-readable";
        case ErrorCode::UnknownFormat:
            return "unknown-format";
        case ErrorCode::NotDetermined:
            return "not-determined";
        case ErrorCode::UnknownOption:
            return "unknown-option";
        case ErrorCode::BadOption:
            return "bad-option";
        case ErrorCode::NoSuchPart:
            return "no-such-part";
        case ErrorCode::BadFile:
            return "bad-file";
        case ErrorCode::NeedsPassword:
            return "needs-password";
        case ErrorCode::LimitExceeded:
            return "limit-exceeded";
        case ErrorCode::OutOfMemory:
            return "out-of-memory";
        case ErrorCode::Stopped:
            return "stopped";
        case ErrorCode::DoesNotFit:
            return "does-not-fit";
    }
    return "unknown";
}

}  // namespace karta
