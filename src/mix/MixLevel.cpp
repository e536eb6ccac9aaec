#include "mix/MixLevel.h"

#include <algorithm>
#include <cmath>

namespace ld
{

double clippedShare (const MixLevel& level) noexcept
{
    return level.frames > 0 ? (double) level.clippedFrames / (double) level.frames : 0.0;
}

float fittingDb (const MixLevel& level) noexcept
{
    constexpr auto stepsPerDb = 10.0f;
    return level.peak > 1.0f ? -std::ceil (20.0f * std::log10 (level.peak) * stepsPerDb) / stepsPerDb : 0.0f;
}

juce::String clippingSentence (const MixLevel& level)
{
    if (level.clippedFrames == 0)
        return {};

    const auto percent = clippedShare (level) * 100.0;
    const auto share = percent < 0.1 ? juce::String ("less than 0.1 %") : juce::String (percent, 1) + " %";
    return "MIX clips in " + share + " of the take; it fits with all faders " + juce::String (-fittingDb (level), 1)
           + " dB lower";
}

}    // namespace ld
