#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld::test
{

using Signal = std::vector<float>;

/** White noise, evenly spread over -0.5 to 0.5; the same for the same seed everywhere. */
[[nodiscard]] Signal noise (juce::int64 length, unsigned seed);

/** Bursts of coloured noise with pauses between them, as long and as different from each other as syllables. */
[[nodiscard]] Signal speech (juce::int64 length, int sampleRate, unsigned seed);

/** The samples from start on; silence where that lies outside the signal. As a guest it has the lag start. */
[[nodiscard]] Signal stretchOf (const Signal&, juce::int64 start, juce::int64 length);

/** What another clock makes of the signal: sample i is its value at start + i * step, by a windowed sinc in double. As a
    guest it has the lag start + i * (step - 1). */
[[nodiscard]] Signal resampledExactly (const Signal&, double start, double step, juce::int64 length);

/** Means over this many samples, four times over: next to nothing is left above sampleRate / width. */
[[nodiscard]] Signal lowPassed (Signal, int width);

[[nodiscard]] Signal sumOf (const Signal&, const Signal&, float secondGain);

}    // namespace ld::test
