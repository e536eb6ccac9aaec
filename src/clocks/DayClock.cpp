#include "clocks/DayClock.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double secondsPerDay = 86400.0;

}    // namespace

double DayClock::timeOf (double stampSeconds) const
{
    const auto time = std::fmod (stampSeconds - start, secondsPerDay);
    return start + (time < 0.0 ? time + secondsPerDay : time);
}

DayClock dayClockOf (std::vector<double> stamps)
{
    if (stamps.empty())
        return {};

    for (auto& stamp : stamps)
        stamp = std::fmod (stamp, secondsPerDay);

    std::sort (stamps.begin(), stamps.end());
    auto longest = stamps.front() + secondsPerDay - stamps.back(), start = stamps.front();

    for (size_t i = 1; i < stamps.size(); ++i)
        if (stamps[i] - stamps[i - 1] > longest)
        {
            longest = stamps[i] - stamps[i - 1];
            start = stamps[i];
        }

    // Files may begin well ahead of the first take.
    return { start - 0.5 * longest };
}

}    // namespace ld
