#include "tools/ProjectReader.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>

#include "host/project/CompoundFileStreamSource.h"
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

// What was typed and was right: a command may open its file more than once, and asks once.
std::optional<std::string> rightAnswer;

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

bool ProjectReader::SetPassword(CompundFileBase& file, std::string& text) {
    if (password) {
        text = *password;
        return file.SetPassword(text.c_str());
    }
    if (rightAnswer && file.SetPassword(rightAnswer->c_str())) {
        text = *rightAnswer;
        return true;
    }
    if (isatty(STDIN_FILENO) == 0) {
        return false;
    }
    for (int question = 0; question < MostQuestions && AskPassword(file.GetFileName(), text); ++question) {
        if (file.SetPassword(text.c_str())) {
            rightAnswer = text;
            return true;
        }
        std::cerr << "That is not its password.\n";
    }
    return false;
}
