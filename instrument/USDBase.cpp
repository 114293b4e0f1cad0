#include "instrument/USDBase.h"

#include <algorithm>
#include <cmath>
#include <vector>

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

// The first interval that holds x, or -1.
int USDBase::FindInterval(float x) const {
    const float* starts = startPoints.get();
    const float* ends = endPoints.get();
    for (int i = 0; i < numIntervals; ++i) {
        const bool behindStart = starts[i] <= x || IsOnEnd(starts[i], x);
        if (behindStart && (x <= ends[i] || IsOnEnd(ends[i], x))) {
            return i;
        }
    }
    return -1;
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
