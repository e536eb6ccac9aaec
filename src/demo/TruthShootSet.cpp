#include "demo/TruthShootSet.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double stereoMetres = 0.09;

Position shifted (const Position& place, double metres, DemoRandom& random)
{
    const auto shift = [&] { return random.uniform (-metres, metres); };
    const auto dx = shift(), dy = shift(), dz = shift();
    return { place.x + dx, place.y + dy, place.z + 0.5 * dz };
}

Microphone microphoneAt (const Position& at, double gain, float noiseRms, DemoRandom& random)
{
    return { at, gain, noiseRms, random.next() };
}

std::array<Microphone, 2> pairAt (const Position& at, double gain, float noiseRms, DemoRandom& random)
{
    const Position left { at.x - 0.5 * stereoMetres, at.y, at.z }, right { at.x + 0.5 * stereoMetres, at.y, at.z };
    return { microphoneAt (left, gain, noiseRms, random), microphoneAt (right, gain, noiseRms, random) };
}

// Somebody gets up, goes a metre or two, stays, goes elsewhere.
Walk planWalk (SceneSpan span, DemoRandom& random)
{
    constexpr auto metresPerSecondOnFoot = 0.35;
    Walk walk { { span.from, 0.0, 0.0 } };

    for (auto now = span.from + random.uniform (8.0, 25.0); now < span.to;)
    {
        const auto from = walk.back();
        const auto dx = random.uniform (-1.4, 1.4), dy = random.uniform (-1.2, 1.2);
        const auto seconds =
            std::hypot (dx - from.dx, dy - from.dy) / (metresPerSecondOnFoot * random.uniform (0.5, 1.0));
        walk.push_back ({ now, from.dx, from.dy });
        walk.push_back ({ now + std::max (seconds, 1.0), dx, dy });
        now = walk.back().seconds + random.uniform (10.0, 40.0);
    }

    return walk;
}

// Every lav has cloth of its own; two machines on one lav hear the same of it.
SceneSound clothOn (const Microphone& lav, SceneSpan span, DemoRandom random)
{
    constexpr auto voiceAtLav = 0.17;    // RMS there; the gain of the microphone applies to both
    SceneSound cloth { lav.at, planCloth (span, voiceAtLav * random.uniform (0.5, 2.0), random.fork (1)) };
    cloth.isContact = true;
    return cloth;
}

}    // namespace

Microphone withOtherLevel (Microphone microphone, double mostDb, DemoRandom& random)
{
    microphone.gain *= std::pow (10.0, random.uniform (-mostDb, mostDb) / 20.0);
    return microphone;
}

HardSet planHardSet (int numTalkers, int walkers, SceneSpan span, DemoRandom random)
{
    HardSet set;
    auto places = random.fork (1), levels = random.fork (2), walks = random.fork (3);
    set.room = {
        places.uniform (6.5, 10.0), places.uniform (9.5, 13.0), places.uniform (2.7, 3.8), places.uniform (0.2, 0.7)
    };
    set.room.tailSeed = places.next();
    set.table = planSet (numTalkers, random.fork (4), places.uniform (1.5, 3.2));
    set.walks.resize ((size_t) numTalkers);

    for (size_t i = 0; i < (size_t) numTalkers; ++i)
    {
        if ((int) i < walkers)
            set.walks[i] = planWalk (span, walks);

        set.table.lavs[i].walk = set.walks[i];
        set.table.lavs[i] = withOtherLevel (set.table.lavs[i], 6.0, levels);
    }

    for (const auto& place : { Position { -0.6, 0.6, 0.9 }, Position { 0.7, 0.9, 1.0 } })
        set.plants.push_back (microphoneAt (shifted (place, 0.3, places), 0.9, 1.5e-4f, places));

    const auto& first = set.table.mouths.front();
    const auto& last = set.table.mouths.back();
    set.ownLav = microphoneAt ({ first.x, first.y - 0.05, first.z - 0.27 }, 0.3, 1.2e-4f, places);
    set.ownLav.walk = set.walks.front();
    set.belt = microphoneAt ({ last.x + 0.1, last.y, last.z - 0.35 }, 0.4, 1.2e-4f, places);
    set.belt.walk = set.walks.back();
    set.array = pairAt (shifted ({ 0.0, -1.6, 1.4 }, 0.4, places), 1.6, 1.5e-4f, places);
    set.second = pairAt (shifted ({ 1.8, 0.8, 1.3 }, 0.4, places), 1.8, 1.5e-4f, places);
    set.recorder = microphoneAt (shifted ({ -1.2, -0.6, 0.8 }, 0.3, places), 1.4, 2.0e-4f, places);
    set.loudspeaker = shifted ({ -2.2, 1.8, 1.1 }, 0.3, places);
    return set;
}

std::vector<SceneSound> soundsOf (const HardSet& set,
                                  std::vector<std::vector<Syllable>> talk,
                                  std::vector<Playback> playbacks,
                                  SceneSpan span,
                                  DemoRandom random)
{
    std::vector<SceneSound> sounds;

    for (size_t i = 0; i < talk.size(); ++i)
        sounds.push_back ({ set.table.mouths[i], std::move (talk[i]), set.walks[i] });

    if (! playbacks.empty())
        sounds.push_back ({ set.loudspeaker, {}, {}, std::move (playbacks) });

    auto lavs = set.table.lavs;
    lavs.push_back (set.ownLav);
    lavs.push_back (set.belt);

    for (size_t i = 0; i < lavs.size(); ++i)
        sounds.push_back (clothOn (lavs[i], span, random.fork (i)));

    sounds.push_back ({ set.table.airOutlet, planAir (span, random.fork (100)) });
    return sounds;
}

}    // namespace ld
