#include "tools/PasswordQuestion.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <mutex>
#include <optional>
#include <string>

#include "tools/Interrupt.h"

namespace {

constexpr int MostQuestions = 3;

// For a program that is ended while it asks.
termios beforeHiding{};

void ShowInputAgain() {
    tcsetattr(STDIN_FILENO, TCSANOW, &beforeHiding);
}

/** A terminal that doesn't show what is typed, for as long as this lives. */
class HiddenInput {
public:
    HiddenInput() {
        changed = tcgetattr(STDIN_FILENO, &before) == 0;
        if (changed) {
            termios hidden = before;
            beforeHiding = before;
            Interrupt::SetLastAct(ShowInputAgain);
            hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            changed = tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
        }
    }
    HiddenInput(const HiddenInput&) = delete;
    HiddenInput& operator=(const HiddenInput&) = delete;
    ~HiddenInput() {
        if (changed) {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
        }
        Interrupt::SetLastAct(nullptr);
    }

private:
    termios before{};
    bool changed = false;
};

// One person is asked by one reader after the other.
std::mutex oneAtATime;

// How often it was asked for during one opening, in the thread of the reader.
thread_local int questions = 0;

// What was typed last for which file: right, unless it is asked for once more.
thread_local std::optional<std::string> lastAnswer;
thread_local std::string lastFile;

// False at the end of the input.
bool AskPassword(const std::string& fileName, std::string& text) {
    bool answered = false;
    {
        // Hidden before it is asked: the change drops what was typed until then.
        const HiddenInput hidden;
        std::cerr << "Password of " << fileName << ": " << std::flush;
        answered = static_cast<bool>(std::getline(std::cin, text));
    }
    std::cerr << '\n';
    return answered;
}

}  // namespace

std::optional<std::string> AskForPassword(const std::string& fileName, int attempt) {
    const std::scoped_lock lock(oneAtATime);
    if (attempt == 0) {
        questions = 0;
        if (lastAnswer && lastFile == fileName) {
            return lastAnswer;
        }
    } else if (questions > 0) {
        std::cerr << "That is not its password.\n";
    }
    std::string text;
    if (isatty(STDIN_FILENO) == 0 || questions++ == MostQuestions || !AskPassword(fileName, text)) {
        lastAnswer.reset();
        return std::nullopt;
    }
    lastAnswer = text;
    lastFile = fileName;
    return text;
}
