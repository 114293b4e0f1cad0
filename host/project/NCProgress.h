#pragma once

#include <functional>
#include <string>

#include "base/Export.h"

/** The progress of something long, shown by the host, which can ask to stop it. */
class KARTA_EXPORT NCProgress {
public:
    /** Shows the progress, from 0 to 1; true when the user wants to stop. */
    using Handler = std::function<bool(const std::string& title, double done)>;

    /** Lets the host show progress; an empty function shows nothing, which is so until one is set. */
    static void SetHandler(Handler handler);

    /**
     * Counts from `minimum` to `maximum` in steps of `step`, beginning at `position`. With `canCancel` a wish
     * to stop is confirmed by the question, which may be empty.
     */
    NCProgress(std::string titleText, int minimum, int maximum, int position, int step, int canCancel,
               std::string cancelQuestion);

    void SetMaximum(int value) { maximum = value; }
    /** One step on; false when it was cancelled, and from then on. */
    bool Step();
    bool IsCancelled() const { return cancelled; }

private:
    std::string title;
    int minimum;
    int maximum;
    int position;
    int step;
    bool canCancel;
    std::string question;
    bool cancelled = false;
};
