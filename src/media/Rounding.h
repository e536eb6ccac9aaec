#pragma once

#include <juce_core/juce_core.h>

#include <cmath>

namespace ld
{

/** Rounds to the nearest whole sample, halves away from zero. Positions beyond 2^60, which only a damaged stamp can
    ask for, stop there, so that sums of a few of them cannot overflow; not-a-number gives 0. */
[[nodiscard]] inline juce::int64 roundToSamples (double value) noexcept
{
    constexpr auto limit = (double) (juce::int64 { 1 } << 60);

    if (std::isnan (value))
        return 0;

    return (juce::int64) std::llround (juce::jlimit (-limit, limit, value));
}

}    // namespace ld
