#pragma once

#include <vector>

namespace ld
{

/** Times of a shooting day that may run past midnight: takes beyond it are late, not early. */
struct DayClock
{
    double start = 0.0;    // s since midnight; may lie in the evening before

    /** The time of the day at which a stamp lies, s; past midnight above 86,400.
        stampSeconds   since midnight */
    [[nodiscard]] double timeOf (double stampSeconds) const;
};

/** The clock of a day with these takes: it begins in the middle of the longest time without one.
    stampSeconds   of the polys, since midnight */
[[nodiscard]] DayClock dayClockOf (std::vector<double> stampSeconds);

}    // namespace ld
