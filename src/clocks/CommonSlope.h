#pragma once

#include "clocks/JumpSearch.h"
#include "clocks/RecorderClocks.h"

namespace ld
{

/** The slope that the lags of neighbouring windows agree on, over all pairs of one recorder: of every two windows up to a
    minute and a half apart the lags differ by the slope, on whatever way the sound comes, unless the clock jumped in between.
    The most frequent answer counts (as in a Hough transform), then its mean by Tukey's biweight.
    near   where to look, 100 ppm to either side
    Nothing where no two lags agree. */
[[nodiscard]] std::optional<CommonSlope>
findCommonSlope (const std::vector<const std::vector<LagTrack>*>& pairs, double near, int rate);

}    // namespace ld
