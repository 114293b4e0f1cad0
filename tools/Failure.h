#pragma once

#include <stdexcept>
#include <string>

/** Exit statuses of the program. */
enum ExitStatus {
    ExitSuccess = 0,
    ExitFailed = 1,
    ExitUsage = 2,
    ExitInterrupted = 130, /**< by SIGINT */
    ExitTerminated = 143   /**< by SIGTERM */
};

/** What the program says when memory has run out. */
inline constexpr const char* NotEnoughMemory = "there is not enough memory";

/** A verb that can't go on: its text for standard error and the program's exit status. */
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, ExitStatus status = ExitFailed)
        : std::runtime_error(text), exitStatus(status) {}

    ExitStatus GetStatus() const { return exitStatus; }

private:
    ExitStatus exitStatus;
};
