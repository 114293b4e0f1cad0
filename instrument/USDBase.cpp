#include "instrument/USDBase.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <set>

#include "host/XMLSection.h"

namespace {

// How far beside an interval's end a point still counts as on it, relative to the point's X.
constexpr double EndTolerance = 1e-05;

constexpr const char* IncludeXKey = "IncludeXAsAnObservation";
constexpr const char* IncludeAllKey = "IncludeAllObservations";
constexpr const char* NumIntervalsKey = "NumberOfIncludedIntervals";
constexpr const char* UseAverageKey = "UseAverage";

std::unique_ptr<float[]> CopyOf(const float* points, int size) {
    if (size <= 0 || points == nullptr) {
        return nullptr;
    }
    auto copy = std::make_unique<float[]>(static_cast<std::size_t>(size));
    std::copy_n(points, size, copy.get());
    return copy;
}

std::vector<float> ListOf(const float* points, int size) {
    return size <= 0 || points == nullptr ? std::vector<float>() : std::vector<float>(points, points + size);
}

void ReadPoints(const XMLSection& settings, const char* key, float* points) {
    std::vector<float> list;
    if (points != nullptr && settings.Read(key, list)) {
        std::copy(list.begin(), list.end(), points);
    }
}

bool IsOnEnd(float end, float x) {
    return std::fabs((end - x) / x) < EndTolerance;
}

bool IsBehindStart(float start, float x) {
    return start <= x || IsOnEnd(start, x);
}

bool IsBeforeEnd(float end, float x) {
    return x <= end || IsOnEnd(end, x);
}

// All floats but the NaNs as integers in the same order, so that they can be counted through; both zeros
// are one.
std::int32_t OrdinalOf(float value) {
    const auto bits = std::bit_cast<std::int32_t>(value);
    return bits >= 0 ? bits : std::numeric_limits<std::int32_t>::min() - bits;
}

float FloatOf(std::int32_t ordinal) {
    return std::bit_cast<float>(ordinal >= 0 ? ordinal : std::numeric_limits<std::int32_t>::min() - ordinal);
}

// The least of the ordinals from `low` on, up to `high`, at which `holds` begins to be true and stays so;
// one more than `high` when it never does.
template <class Condition>
std::int64_t FindFirst(std::int64_t low, std::int64_t high, Condition holds) {
    ++high;
    while (low < high) {
        const std::int64_t middle = low + (high - low) / 2;
        if (holds(FloatOf(static_cast<std::int32_t>(middle)))) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

// Where an interval begins or ends.
struct Edge {
    std::int64_t ordinal;
    int interval;
    bool begins;
};

// The edges of all intervals, in ascending order. Both ends reach as far as their tolerance, and either
// condition turns only once in all the floats.
std::vector<Edge> EdgesOf(const float* starts, const float* ends, int size) {
    const std::int64_t least = OrdinalOf(-std::numeric_limits<float>::infinity());
    const std::int64_t greatest = OrdinalOf(std::numeric_limits<float>::infinity());
    std::vector<Edge> edges;
    for (int i = 0; i < size; ++i) {
        const float start = starts[i];
        const float end = ends[i];
        if (std::isnan(start) || std::isnan(end)) {
            continue;
        }
        const std::int64_t from =
            FindFirst(least, greatest, [start](float x) { return IsBehindStart(start, x); });
        const std::int64_t behind =
            FindFirst(least, greatest, [end](float x) { return !IsBeforeEnd(end, x); });
        if (from < behind) {
            edges.push_back({from, i, true});
            edges.push_back({behind, i, false});
        }
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.ordinal < b.ordinal; });
    return edges;
}

}  // namespace

USDConstraints::~USDConstraints() {
    SetArrays(0);
}

void USDConstraints::SetArrays(int size) {
    delete[] startPoints;
    delete[] endPoints;
    startPoints = nullptr;
    endPoints = nullptr;
    if (size > 0) {
        startPoints = new float[static_cast<std::size_t>(size)]();
        endPoints = new float[static_cast<std::size_t>(size)]();
    }
}

USDBase::USDBase(const USDBase& other) {
    *this = other;
}

USDBase& USDBase::operator=(const USDBase& other) {
    if (this == &other) {
        return *this;
    }
    includeX = other.includeX;
    includeAll = other.includeAll;
    startPoints = CopyOf(other.startPoints.get(), other.numIntervals);
    endPoints = CopyOf(other.endPoints.get(), other.numIntervals);
    numIntervals = other.numIntervals;
    useAverage = other.useAverage;
    sumY = other.sumY;
    sumX = other.sumX;
    lastX = other.lastX;
    countX = other.countX;
    countY = other.countY;
    lastInterval = other.lastInterval;
    stretches = other.stretches;
    return *this;
}

int USDBase::GetDefaults(float* /*starts*/, float* /*ends*/, int /*size*/) {
    return 0;
}

void USDBase::Reset() {
    sumX = 0.0F;
    sumY = 0.0F;
    countX = 0;
    countY = 0;
}

void USDBase::SetUSDConstraints(USDConstraints* constraints) {
    includeX = constraints->includeX;
    includeAll = constraints->includeAll;
    numIntervals = constraints->numIntervals;
    useAverage = constraints->useAverage;
    startPoints = CopyOf(constraints->startPoints, numIntervals);
    endPoints = CopyOf(constraints->endPoints, numIntervals);
    MakeStretches();
}

void USDBase::GetUSDConstraints(USDConstraints* constraints) {
    constraints->includeX = includeAll;
    constraints->includeAll = includeAll;
    constraints->numIntervals = numIntervals;
    constraints->useAverage = useAverage;
    constraints->SetArrays(0);
    constraints->startPoints = CopyOf(startPoints.get(), numIntervals).release();
    constraints->endPoints = CopyOf(endPoints.get(), numIntervals).release();
}

bool USDBase::GetStringFromUSDConstraints(USDConstraints* constraints, std::string& text) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    settings.Write(IncludeXKey, constraints->includeX);
    settings.Write(IncludeAllKey, constraints->includeAll);
    settings.Write(NumIntervalsKey, constraints->numIntervals);
    settings.Write(UseAverageKey, constraints->useAverage);
    settings.Write(StartPointsKey, ListOf(constraints->startPoints, constraints->numIntervals));
    settings.Write(EndPointsKey, ListOf(constraints->endPoints, constraints->numIntervals));
    text = document.Flush();
    return true;
}

bool USDBase::GetUSDConstraintsFromString(const std::string& text, USDConstraints* constraints) {
    const auto document = XMLSection::CreateXMLSectionFromString(text);
    const XMLSection* settings = document == nullptr ? nullptr : document->GetSection(XMLSection::Settings);
    if (settings == nullptr) {
        return false;
    }
    settings->Read(IncludeXKey, constraints->includeX);
    settings->Read(IncludeAllKey, constraints->includeAll);
    settings->Read(NumIntervalsKey, constraints->numIntervals);
    settings->Read(UseAverageKey, constraints->useAverage);
    ReadPoints(*settings, StartPointsKey, constraints->startPoints);
    ReadPoints(*settings, EndPointsKey, constraints->endPoints);
    return true;
}

int USDBase::GetNumCol(int numPoints, double firstX, double step) {
    Reset();
    if (TakesEveryPoint()) {
        return std::max(numPoints, 0);
    }
    int count = 0;
    for (int i = 0; i < numPoints; ++i) {
        float x = static_cast<float>(i) * static_cast<float>(step) + static_cast<float>(firstX);
        count += IsValid(x) ? 1 : 0;
    }
    return count;
}

bool USDBase::IsValid(float& x) {
    if (TakesEveryPoint()) {
        return true;
    }
    const int interval = FindInterval(x);
    if (interval < 0 || useAverage < 2) {
        return interval >= 0;
    }
    const bool ends = EndsColumn(interval, x, sumX, countX);
    lastX = x;
    lastInterval = interval;
    return ends;
}

bool USDBase::IsValid(float& x, float& y) {
    if (TakesEveryPoint()) {
        return true;
    }
    const int interval = FindInterval(x);
    if (interval < 0 || useAverage < 2) {
        return interval >= 0;
    }
    const bool ends = EndsColumn(interval, y, sumY, countY);
    lastX = x;
    lastInterval = interval;
    return ends;
}

// Without any interval no point counts; intervals without their arrays can't be tested.
bool USDBase::TakesEveryPoint() const {
    return includeAll || (numIntervals > 0 && (startPoints == nullptr || endPoints == nullptr));
}

// The first of the intervals that hold a point takes it, so that each stretch has the least of those that
// are open in it.
void USDBase::MakeStretches() {
    stretches.clear();
    if (startPoints == nullptr || endPoints == nullptr) {
        return;
    }
    const std::vector<Edge> edges = EdgesOf(startPoints.get(), endPoints.get(), numIntervals);
    std::set<int> open;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const Edge& edge = edges[i];
        if (edge.begins) {
            open.insert(edge.interval);
        } else {
            open.erase(edge.interval);
        }
        const bool isLastHere = i + 1 == edges.size() || edges[i + 1].ordinal != edge.ordinal;
        // Behind the greatest float there is nothing.
        if (isLastHere && edge.ordinal <= OrdinalOf(std::numeric_limits<float>::infinity())) {
            stretches.push_back(
                {FloatOf(static_cast<std::int32_t>(edge.ordinal)), open.empty() ? -1 : *open.begin()});
        }
    }
}

// The first interval that holds x, or -1.
int USDBase::FindInterval(float x) const {
    if (std::isnan(x)) {
        return -1;
    }
    const auto next =
        std::upper_bound(stretches.begin(), stretches.end(), x,
                         [](float point, const Stretch& stretch) { return point < stretch.start; });
    return next == stretches.begin() ? -1 : std::prev(next)->interval;
}

// Puts a point of an interval into the open group and tells whether this ends a column, whose value then
// replaces the point's.
bool USDBase::EndsColumn(int interval, float& value, float& sum, int& count) const {
    ++count;
    if (interval < lastInterval) {
        return true;
    }
    if (interval > lastInterval) {
        // The point closes the group that it leaves behind and is the first of the next one as well.
        const float point = value;
        value = (sum + point) / static_cast<float>(count);
        sum = point;
        count = 1;
        return true;
    }
    sum += value;
    if (count != useAverage) {
        return false;
    }
    value = sum / static_cast<float>(useAverage);
    sum = 0.0F;
    count = 0;
    return true;
}
