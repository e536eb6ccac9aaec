#pragma once

#include "demo/DemoShootSet.h"
#include "demo/Room.h"

namespace ld
{

/** A room with people and microphones in it. */
struct HardSet
{
    Room room;
    TableSet table;                    // lavs move with their talkers
    std::vector<Microphone> plants;    // hidden in the scenery
    Microphone ownLav, belt;           // worn by the first and by the last talker, of packs that the poly does not hear
    std::array<Microphone, 2> array, second;
    Microphone recorder;
    Position loudspeaker;
    std::vector<Walk> walks;    // of each talker
};

/** numTalkers   2 or 3
    walkers       how many of them walk about within the span, a metre or two at a time */
[[nodiscard]] HardSet planHardSet (int numTalkers, int walkers, SceneSpan, DemoRandom);

/** The talkers with what they say, the loudspeaker, the cloth on the lavs and the air, in this order. */
[[nodiscard]] std::vector<SceneSound> soundsOf (
    const HardSet&, std::vector<std::vector<Syllable>> talk, std::vector<Playback> playbacks, SceneSpan, DemoRandom);

/** Microphones of the given gain change by so much at most, either way. */
[[nodiscard]] Microphone withOtherLevel (Microphone, double mostDb, DemoRandom&);

}    // namespace ld
