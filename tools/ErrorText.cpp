#include "tools/ErrorText.h"

#include <map>
#include <string_view>

#include "base/Ascii.h"
#include "karta/internal/BlockAdvice.h"
#include "tools/Interrupt.h"
#include "tools/TerminalText.h"

namespace {

using karta::ErrorCode;

// What the program adds, by what it offers itself.
std::string AdviceOn(const karta::Error& error) {
    switch (error.GetCode()) {
        case ErrorCode::UnknownFormat:
            return "karta-import formats lists them";
        case ErrorCode::NoSuchPart:
            if (error.GetOption() == "matrix") {
                return "karta-import info lists what the file holds";
            }
            // All of them stand in the list of info; the one that was meant is told at once.
            if (const std::size_t list = error.GetAdvice().find("its parts are ");
                list != std::string::npos) {
                return error.GetAdvice().substr(0, list) + "karta-import info lists them";
            }
            return error.GetAdvice().empty() ? "karta-import info lists them" : error.GetAdvice();
        case ErrorCode::LimitExceeded:
            return error.GetAdvice().empty() ? std::string() : "--limit allows more";
        default:
            return error.GetAdvice();
    }
}

bool IsWrongUsage(ErrorCode code) {
    return code == ErrorCode::BadOption || code == ErrorCode::UnknownOption ||
           code == ErrorCode::UnknownFormat;
}

}  // namespace

std::string SpellOption(const std::string& option) {
    // What the command line calls otherwise, or turns round.
    static const std::map<std::string, std::string> others = {
        {"rows", "--want"}, {"settings", "--setting"}, {"types", "--no-types"}, {"xRow", "--no-x-row"}};
    if (const auto other = others.find(option); other != others.end()) {
        return other->second;
    }
    std::string spelled = "--";
    for (const char letter : option) {
        if (letter >= 'A' && letter <= 'Z') {
            spelled += '-';
        }
        spelled += ToLower(letter);
    }
    return spelled;
}

Failure FailureOf(const karta::Error& error) {
    if (error.GetCode() == ErrorCode::Stopped) {
        Interrupt::ThrowIfRequested();
    }
    // A name with a line feed must not begin what looks like a message of ours.
    std::string text = error.GetFile().empty() ? std::string() : VisibleText(error.GetFile()) + ": ";
    if (!error.GetOption().empty()) {
        text += SpellOption(error.GetOption()) + (error.GetCode() == ErrorCode::BadOption ? " " : ": ");
    }
    text += error.GetText();
    std::string advice = AdviceOn(error);
    if (advice.starts_with(ChooseSomeBlocks)) {
        text += ": choose blocks with --blocks";
        advice.erase(0, std::string_view(ChooseSomeBlocks).size() + 2);
    }
    if (!advice.empty() && text.ends_with('.')) {
        text.pop_back();
    }
    return Failure(advice.empty() ? text : text + "; " + advice,
                   IsWrongUsage(error.GetCode()) ? ExitUsage : ExitFailed)
        .With(error.GetDetails());
}
