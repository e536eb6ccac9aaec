#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

/** How loud the summed MIX of a take is before it is brought to full scale. */
struct MixLevel
{
    float peak = 0.0f;    // largest magnitude; 1 is full scale
    juce::int64 clippedFrames = 0, frames = 0;

    bool operator== (const MixLevel&) const = default;
};

/** The share of its frames that go beyond full scale, 0 to 1. */
[[nodiscard]] double clippedShare (const MixLevel&) noexcept;

/** The change of all faders, in steps of a fader of 0.1 dB, with which it stays within full scale: 0 where it does, below 0
    where it does not. */
[[nodiscard]] float fittingDb (const MixLevel&) noexcept;

/** Of a MIX that clips, for its user: "MIX clips in 3.1 % of the take; it fits with all faders 2.8 dB lower". Otherwise empty. */
[[nodiscard]] juce::String clippingSentence (const MixLevel&);

}    // namespace ld
