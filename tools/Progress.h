#pragma once

#include <chrono>
#include <cstddef>
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
    /** Makes place for a message, or for what comes when all is done. */
    void Wipe();
    /** How many of so many files are done, with the time that the others will take. */
    void ShowFiles(std::size_t done, std::size_t count);

private:
    bool IsTime();
    void Draw(const std::string& text);
    std::string TellTimeLeft(double share) const;

    bool enabled;
    bool drawn = false;
    unsigned int calls = 0;
    std::chrono::steady_clock::time_point begin;
    std::chrono::steady_clock::time_point next;
};
