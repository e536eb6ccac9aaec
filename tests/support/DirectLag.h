#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld::test
{

constexpr int widestLag = 800;    // samples at 48 kHz; about 5.7 m of air

/** The slope of a signal: it takes the weight off the lows, whose correlation is broad. */
[[nodiscard]] std::vector<float> slopeOf (const std::vector<float>& signal);

/** The lag, in samples, at which the host repeats what the guest says from this position of the host on; summed
    directly, all lags up to widestLag side by side. */
[[nodiscard]] int bestLag (const std::vector<float>& host, juce::int64 start, const std::vector<float>& guest);

}    // namespace ld::test
