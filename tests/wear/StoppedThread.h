#pragma once

#include <functional>
#include <stop_token>

/** What became of something that was asked to stop; times are its thread's own on a processor, in seconds. */
struct StoppedStep {
    bool wasStopped = false;
    double asked = 0.0;  // when it was asked to stop
    double ended = 0.0;  // when nothing of it went on any more

    double GetLatency() const { return ended - asked; }
};

/** For a step that is never asked. */
inline constexpr double Never = 1e9;

/** What a stage may go on for after a stop: less than anyone notices. */
#if defined(KARTA_SANITIZED)
inline constexpr double MostSecondsToStop = 2.0;
#else
inline constexpr double MostSecondsToStop = 0.1;
#endif

/** At how many moments a step is stopped; with KARTA_WEAR_WHOLE at many more. */
int CountMoments();

/** How long the calling thread was on a processor. */
double SecondsOfThisThread();

/** Does the step, which tells whether it was stopped, in a thread of its own, and stops it after so long. */
StoppedStep RunAndStop(const std::function<bool(std::stop_token)>& step, double stopAfter);
