#include "tools/Progress.h"

#include <unistd.h>

#include <algorithm>

namespace {

constexpr auto Patience = std::chrono::milliseconds(500);
constexpr auto Interval = std::chrono::milliseconds(100);
// The clock is looked at once in so many rows.
constexpr unsigned int CallsBetween = 64;
constexpr int Percent = 100;

constexpr const char* ToLineStart = "\r";
constexpr const char* EraseRest = "\x1b[K";

// Past the stream, which shows what moves the cursor as text.
void WriteToTerminal(const std::string& text) {
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

Progress::Progress(bool wanted)
    : enabled(wanted && isatty(STDERR_FILENO) != 0), next(std::chrono::steady_clock::now() + Patience) {}

Progress::~Progress() {
    if (drawn) {
        WriteToTerminal(std::string(ToLineStart) + EraseRest);
    }
}

bool Progress::IsTime() {
    const auto now = std::chrono::steady_clock::now();
    if (now < next) {
        return false;
    }
    next = now + Interval;
    return true;
}

void Progress::Draw(const std::string& text) {
    drawn = true;
    WriteToTerminal(ToLineStart + text + EraseRest);
}

void Progress::Show(int row, int rows) {
    if (!enabled || ++calls % CallsBetween != 0 || !IsTime()) {
        return;
    }
    std::string text = "reading row " + std::to_string(row);
    if (rows >= row) {
        text += " of " + std::to_string(rows);
    }
    Draw(text);
}

void Progress::ShowShare(double share) {
    if (enabled && share >= 0.0 && IsTime()) {
        Draw("reading, " + std::to_string(static_cast<int>(std::min(share, 1.0) * Percent)) + " %");
    }
}
