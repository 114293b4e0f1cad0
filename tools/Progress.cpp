#include "tools/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr auto Patience = std::chrono::milliseconds(500);
constexpr auto Interval = std::chrono::milliseconds(100);
// The clock is looked at once in so many rows.
constexpr unsigned int CallsBetween = 64;
constexpr int Percent = 100;
// Of less done nobody can say when it will end.
constexpr double LeastShareToJudge = 0.02;
constexpr long SecondsOfMinute = 60;

constexpr const char* ToLineStart = "\r";
constexpr const char* EraseRest = "\x1b[K";

// Past the stream, which shows what moves the cursor as text.
void WriteToTerminal(const std::string& text) {
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

Progress::Progress(bool wanted)
    : enabled(wanted && isatty(STDERR_FILENO) != 0),
      begin(std::chrono::steady_clock::now()),
      next(begin + Patience) {}

Progress::~Progress() {
    Wipe();
}

void Progress::Wipe() {
    if (drawn) {
        WriteToTerminal(std::string(ToLineStart) + EraseRest);
        drawn = false;
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

// ", 45 s left", ", 2:05 min left"; nothing where it can't be told yet.
std::string Progress::TellTimeLeft(double share) const {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    if (share < LeastShareToJudge) {
        return {};
    }
    const auto seconds = static_cast<long>(std::ceil(elapsed.count() * (1.0 - share) / share));
    if (seconds < SecondsOfMinute) {
        return ", " + std::to_string(seconds) + " s left";
    }
    const std::string rest = std::to_string(seconds % SecondsOfMinute);
    return ", " + std::to_string(seconds / SecondsOfMinute) + (rest.size() < 2 ? ":0" : ":") + rest +
           " min left";
}

void Progress::ShowShare(double share) {
    if (enabled && share >= 0.0 && IsTime()) {
        const double done = std::min(share, 1.0);
        Draw("reading, " + std::to_string(static_cast<int>(done * Percent)) + " %" + TellTimeLeft(done));
    }
}

void Progress::ShowFiles(std::size_t done, std::size_t count) {
    if (enabled && count > 0 && IsTime()) {
        const double share = static_cast<double>(done) / static_cast<double>(count);
        Draw(std::to_string(done) + " of " + std::to_string(count) + " files" + TellTimeLeft(share));
    }
}
