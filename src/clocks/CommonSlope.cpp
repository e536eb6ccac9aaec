#include "clocks/CommonSlope.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

// By how much the lags of two windows of one track differ.
struct LagStep
{
    double dx, lag, weight;
};

std::vector<LagStep> stepsNear (const std::vector<const std::vector<LagTrack>*>& pairs, double near, int rate)
{
    constexpr double farthestSeconds = 90.0, closestSeconds = 6.0, widest = 100e-6;
    std::vector<LagStep> steps;

    for (const auto* tracks : pairs)
        for (const auto& track : *tracks)
            for (size_t i = 0; i < track.windows.size(); ++i)
                for (auto j = i + 1; j < track.windows.size(); ++j)
                {
                    const auto dx = track.windows[j].x - track.windows[i].x;

                    if (dx < closestSeconds * rate)
                        continue;

                    if (dx > farthestSeconds * rate)
                        break;

                    for (const auto& from : track.windows[i].peaks)
                        for (const auto& to : track.windows[j].peaks)
                            if (const auto lag = to.lag - from.lag; std::abs (lag - near * dx) <= widest * dx)
                                steps.push_back ({ dx, lag, weightOf (from) * weightOf (to) });
                }

    return steps;
}

}    // namespace

std::optional<CommonSlope>
findCommonSlope (const std::vector<const std::vector<LagTrack>*>& pairs, double near, int rate)
{
    constexpr double stepOfSearch = 0.5e-6, widest = 100e-6, toleranceSeconds = 0.00015;
    const auto steps = stepsNear (pairs, near, rate);

    if (steps.empty())
        return {};

    // Every step votes for the slopes that it allows.
    const auto tolerance = toleranceSeconds * rate;
    std::vector<double> votes ((size_t) (2.0 * widest / stepOfSearch) + 1);

    for (const auto& step : steps)
    {
        const auto middle = (step.lag / step.dx - near + widest) / stepOfSearch;
        const auto half = tolerance / step.dx / stepOfSearch;
        const auto from = std::max ((int) std::ceil (middle - half), 0);
        const auto to = std::min ((int) std::floor (middle + half), (int) votes.size() - 1);

        for (int i = from; i <= to; ++i)
            votes[(size_t) i] += step.weight;
    }

    const auto most = std::max_element (votes.begin(), votes.end()) - votes.begin();
    CommonSlope common { near - widest + (double) most * stepOfSearch, 0.0 };
    constexpr int rounds = 8;

    for (int round = 0; round < rounds; ++round)
    {
        auto sxx = 0.0, sxy = 0.0, squares = 0.0, weights = 0.0;

        for (const auto& step : steps)
        {
            const auto u = (step.lag - common.slope * step.dx) / (1.5 * tolerance);
            const auto v = 1.0 - u * u;

            if (v <= 0.0)
                continue;

            const auto weight = step.weight * v * v;
            sxx += weight * step.dx * step.dx;
            sxy += weight * step.dx * step.lag;
            squares += weight * u * u;
            weights += weight;
        }

        if (sxx <= 0.0)
            return {};

        common.slope = sxy / sxx;

        // A lag takes part in many steps: they count as no more than windows there are.
        auto windows = 0.0;

        for (const auto* tracks : pairs)
            windows += (double) tracks->front().windows.size();

        const auto rms = 1.5 * tolerance * std::sqrt (squares / weights);
        common.error = rms * std::sqrt (weights / sxx / std::max (windows, 1.0));
    }

    return common;
}

}    // namespace ld
