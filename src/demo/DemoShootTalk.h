#pragma once

#include "demo/DemoShootVoices.h"

namespace ld
{

/** A stretch of scene time, seconds from the poly's first frame. */
struct SceneSpan
{
    double from = 0.0, to = 0.0;
};

/** What people say to each other: turns of words, with pauses, now and then over each other.
    quiet   nobody talks here; a stretch each
    Returns the syllables of each voice, in order of time, all within the span but for the end of the last word. */
[[nodiscard]] std::vector<std::vector<Syllable>>
planConversation (const std::vector<VoiceProfile>&, SceneSpan whole, const std::vector<SceneSpan>& quiet, DemoRandom);

/** The same words by the same people once more: every stretch of time 3 to 8 % longer or shorter, the melody a little
    other, and no noise of the first time in it. Starts where the first did. */
[[nodiscard]] std::vector<std::vector<Syllable>> saidAgain (std::vector<std::vector<Syllable>>, DemoRandom);

/** Cloth that rubs on a microphone, now and then: bursts of noise with more of it in the lows.
    loudest   RMS of a burst about its loudest moment; most are quieter */
[[nodiscard]] std::vector<Syllable> planCloth (SceneSpan, double loudest, DemoRandom);

/** A clap of hands. */
[[nodiscard]] std::vector<Syllable> planClap (double atSeconds, DemoRandom);

/** The low breath of an air outlet, without end or pattern. */
[[nodiscard]] std::vector<Syllable> planAir (SceneSpan, DemoRandom);

}    // namespace ld
