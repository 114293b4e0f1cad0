#include "tools/CurveReduction.h"

#include <algorithm>
#include <cmath>

#include "tools/Interrupt.h"
#include "tools/PlotNumber.h"

namespace {

// So many points of all curves are looked at in one pass over them.
constexpr std::size_t PointsAPass = 64;

float QuantileOf(std::vector<float>& values, double share) {
    if (values.empty()) {
        return static_cast<float>(NoNumber);
    }
    const auto place =
        static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

}  // namespace

Stretches::Stretches(std::size_t pointCount, std::size_t most)
    : points(pointCount), count(std::max<std::size_t>(std::min(pointCount, most), 1)) {}

std::vector<double> Stretches::TakeMiddles(const std::vector<double>& values) const {
    std::vector<double> middles(points == 0 ? 0 : count);
    for (std::size_t i = 0; i < middles.size(); ++i) {
        middles[i] = values[(Begin(i) + End(i) - 1) / 2];
    }
    return middles;
}

Envelope FindEnvelope(std::span<const float> values, const Stretches& stretches) {
    const auto none = static_cast<float>(NoNumber);
    Envelope envelope{std::vector(stretches.Count(), none), std::vector(stretches.Count(), none)};
    for (std::size_t i = 0; i < stretches.Count(); ++i) {
        for (std::size_t at = stretches.Begin(i); at < stretches.End(i); ++at) {
            envelope.low[i] = std::fmin(envelope.low[i], values[at]);
            envelope.high[i] = std::fmax(envelope.high[i], values[at]);
        }
    }
    return envelope;
}

Quantiles FindQuantiles(const PlotBlock& block, const Stretches& stretches) {
    Quantiles quantiles;
    std::vector<float> piece;
    for (std::size_t first = 0; first < stretches.Count();) {
        std::size_t end = first + 1;
        while (end < stretches.Count() && stretches.End(end) - stretches.Begin(first) <= PointsAPass) {
            ++end;
        }
        Interrupt::ThrowIfRequested();
        const std::size_t begin = stretches.Begin(first);
        piece.resize(stretches.End(end - 1) - begin);
        std::vector<std::vector<float>> numbers(end - first);
        for (std::size_t curve = 0; curve < block.CountCurves(); ++curve) {
            block.GetPart(curve, begin, piece);
            for (std::size_t i = first; i < end; ++i) {
                for (std::size_t at = stretches.Begin(i); at < stretches.End(i); ++at) {
                    if (!std::isnan(piece[at - begin])) {
                        numbers[i - first].push_back(piece[at - begin]);
                    }
                }
            }
        }
        for (std::vector<float>& values : numbers) {
            for (std::size_t i = 0; i < QuantileShares.size(); ++i) {
                quantiles[i].push_back(QuantileOf(values, QuantileShares[i]));
            }
        }
        first = end;
    }
    return quantiles;
}

std::vector<std::size_t> ChooseEvenly(std::size_t count, std::size_t most) {
    std::vector<std::size_t> places(std::min(count, most));
    for (std::size_t i = 0; i < places.size(); ++i) {
        places[i] = places.size() == 1 ? 0 : i * (count - 1) / (places.size() - 1);
    }
    return places;
}

std::vector<float> FindMap(const PlotBlock& block, const Stretches& curves, const Stretches& points) {
    std::vector<float> map;
    std::vector<float> values(block.CountPoints());
    for (std::size_t row = 0; row < curves.Count(); ++row) {
        Interrupt::ThrowIfRequested();
        std::vector<float> cells(points.Count(), static_cast<float>(NoNumber));
        for (std::size_t curve = curves.Begin(row); curve < curves.End(row); ++curve) {
            block.GetPart(curve, 0, values);
            const std::vector<float> high = FindEnvelope(values, points).high;
            std::transform(cells.begin(), cells.end(), high.begin(), cells.begin(),
                           [](float left, float right) { return std::fmax(left, right); });
        }
        map.insert(map.end(), cells.begin(), cells.end());
    }
    return map;
}
