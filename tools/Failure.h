#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "karta/Error.h"

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

    /** What the library said, where the failure is one of a read. */
    const std::optional<karta::Error::Details>& GetDetails() const { return details; }
    Failure With(const std::optional<karta::Error::Details>& known) const {
        Failure failure = *this;
        failure.details = known;
        return failure;
    }

private:
    ExitStatus exitStatus;
    std::optional<karta::Error::Details> details;
};
