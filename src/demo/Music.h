#pragma once

#include "demo/DemoShootRandom.h"

#include <vector>

namespace ld
{

/** A piece of music of about that length, at demoSampleRate, as a loudspeaker gives it at 1 m: chords, a melody that never
    comes twice the same, and drums in time. */
[[nodiscard]] std::vector<float> renderMusic (double seconds, DemoRandom);

/** The same piece from another loudspeaker: its highs and its level are a little different.
    highs   gain of what lies above about 2.5 kHz */
[[nodiscard]] std::vector<float> playedDifferently (std::vector<float>, float gain, float highs);

}    // namespace ld
