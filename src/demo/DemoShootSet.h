#pragma once

#include "demo/DemoShootScene.h"

namespace ld
{

/** Where people and microphones are: two or three people at a table. */
struct TableSet
{
    std::vector<Position> mouths;
    std::vector<Microphone> lavs;    // one for each talker
    Microphone boom;
    Microphone tableLeft, tableRight;      // a small recorder that lies among them
    Microphone cameraLeft, cameraRight;    // 3 to 4 m away
    Position airOutlet;
};

/** Nobody sits twice in the same place.
    numTalkers   2 or 3
    spread       how many times further apart than at a small table they are */
[[nodiscard]] TableSet planSet (int numTalkers, DemoRandom, double spread = 1.0);

/** Everything that sounds at the table within the span, the talkers first. At 1 s the first of them claps hands before
    the face, which stands in for a slate without a path of its own, and everybody is quiet around it.
    voices   at least one for each talker */
[[nodiscard]] std::vector<SceneSound>
planSounds (const TableSet&, const std::vector<VoiceProfile>& voices, SceneSpan, DemoRandom);

/** Three people who cannot be mistaken for each other. */
[[nodiscard]] std::vector<VoiceProfile> planVoices (DemoRandom);

}    // namespace ld
