#pragma once

#include <chrono>
#include <string>

/**
 * A line of progress on standard error: only when that is a terminal, and only once a read has taken
 * longer than half a second. Removed when the read is over.
 */
class Progress {
public:
    explicit Progress(bool wanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /** Cheap enough for every row. */
    void Show(int row, int rows);
    /** The share that is done, 0 to 1; below 0 where it isn't known. */
    void ShowShare(double share);

private:
    bool IsTime();
    void Draw(const std::string& text);

    bool enabled;
    bool drawn = false;
    unsigned int calls = 0;
    std::chrono::steady_clock::time_point next;
};
