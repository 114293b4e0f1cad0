#pragma once

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"

/**
 * Which points of a spectrum become columns, as it travels through the open options. The arrays are made
 * with new[] and belong to the record; both hold `numIntervals` entries.
 */
struct KARTA_EXPORT USDConstraints {
    bool includeX = true;         /**< the X values are a row of the table */
    bool includeAll = true;       /**< every point counts; the intervals aren't looked at */
    float* startPoints = nullptr; /**< the lower ends of the intervals */
    float* endPoints = nullptr;   /**< the upper ends */
    int numIntervals = 0;
    int useAverage = 0; /**< how many points are merged into one; none are below 2 */

    USDConstraints() = default;
    USDConstraints(const USDConstraints&) = delete;
    USDConstraints& operator=(const USDConstraints&) = delete;
    ~USDConstraints();

    /** Replaces both arrays by new ones of this many entries; none for 0. Leaves `numIntervals` alone. */
    void SetArrays(int size);
};

/**
 * The second base of readers whose spectra share one regular X axis: it decides which points become
 * columns. Only points inside one of the included intervals count, and inside an interval a fixed number of
 * neighbours can be merged into their mean.
 *
 * One state machine answers both how many columns a spectrum gives (GetNumCol) and, point by point,
 * whether this point ends one (IsValid). For each row a reader calls Reset and then IsValid once for each
 * point in ascending order: the form with X alone for rows of X values, the form with Y for spectra.
 *
 * The interval of the last point is not reset, so that a pass depends on the one before: where a spectrum
 * begins in an earlier interval than the last one ended in, its first point is a column by itself. A read
 * can thus give one column more than was measured.
 */
class KARTA_EXPORT USDBase {
public:
    /** The keys of the two lists in the text of the open options. */
    static constexpr const char* StartPointsKey = "IncludeXStartPt";
    static constexpr const char* EndPointsKey = "IncludeXEndPt";

    USDBase() = default;
    USDBase(const USDBase& other);
    USDBase& operator=(const USDBase& other);
    // Not virtual: a reader is deleted as a SpreadsheetFile, never through this base.
    ~USDBase() = default;

    /**
     * Where a format offers intervals of its own, such as peaks: fills up to `size` of them and tells how
     * many. There are none here.
     */
    virtual int GetDefaults(float* starts, float* ends, int size);

    bool IncludeAllObservations() const { return includeAll; }
    void SetIncludeAllObservations(bool include) { includeAll = include; }
    bool IncludeXAsAnObservation() const { return includeX; }
    void SetIncludeXAsAnObservation(bool include) { includeX = include; }

    /** Drops an open group; called before each row. */
    void Reset();

    /** Takes a copy of the record. */
    void SetUSDConstraints(USDConstraints* constraints);
    /**
     * Fills the record with copies of the arrays. Its `includeX` gets the value of `includeAll`: hosts know
     * that the record doesn't keep it.
     */
    void GetUSDConstraints(USDConstraints* constraints);

    /** The record as the text of the open options. */
    static bool GetStringFromUSDConstraints(USDConstraints* constraints, std::string& text);
    /**
     * The reverse; a key that isn't there leaves its field. The record's arrays must hold as many entries
     * as the stored lists, which nothing here checks. False for a text that holds no settings.
     */
    static bool GetUSDConstraintsFromString(const std::string& text, USDConstraints* constraints);

    /** How many columns a spectrum gives whose point i has its X at firstX + i * step. */
    int GetNumCol(int numPoints, double firstX, double step);

    /** Whether this point gives a column; `x` becomes the group's mean when it closes one. */
    bool IsValid(float& x);
    /** The same decision for a value: `y` becomes the group's mean, `x` stays. */
    bool IsValid(float& x, float& y);

protected:
    bool includeX = true;
    bool includeAll = true;
    std::unique_ptr<float[]> startPoints;
    std::unique_ptr<float[]> endPoints;
    int numIntervals = 0;
    int useAverage = 0;
    float sumY = 0.0F;
    float sumX = 0.0F;
    /** The last X handed out. */
    float lastX = std::numeric_limits<float>::min();
    int countX = 0;
    int countY = 0;
    int lastInterval = 0;

private:
    /** The points from this one on, up to the next stretch, are all of one interval, or of none (-1). */
    struct Stretch {
        float start;
        int interval;
    };

    bool TakesEveryPoint() const;
    void MakeStretches();
    int FindInterval(float x) const;
    bool EndsColumn(int interval, float& value, float& sum, int& count) const;

    /** In ascending order; made of the intervals, of which there can be as many as points. */
    std::vector<Stretch> stretches;
};
