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
    quiet   nobody talks here
    Returns the syllables of each voice, in order of time, all within the span but for the end of the last word. */
[[nodiscard]] std::vector<std::vector<Syllable>>
planConversation (const std::vector<VoiceProfile>&, SceneSpan whole, SceneSpan quiet, DemoRandom);

/** A clap of hands. */
[[nodiscard]] std::vector<Syllable> planClap (double atSeconds, DemoRandom);

/** The low breath of an air outlet, without end or pattern. */
[[nodiscard]] std::vector<Syllable> planAir (SceneSpan, DemoRandom);

}    // namespace ld
