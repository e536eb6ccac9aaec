#include "demo/DemoShootSet.h"

namespace ld
{
namespace
{

// Metres; the table's middle is the origin, z the height above the floor, the camera looks along y.
constexpr std::array seats { Position { -0.26, 0.05, 1.20 },
                             Position { 0.26, 0.0, 1.18 },
                             Position { 0.04, 0.4, 1.22 } };
constexpr double clapSeconds = 1.0;
constexpr SceneSpan quietForTheClap { clapSeconds - 0.35, clapSeconds + 0.45 };

Position moved (Position place, double dx, double dy, double dz) noexcept
{
    return { place.x + dx, place.y + dy, place.z + dz };
}

// A microphone's gain lets the usual distance to its talker give about the same level in every file.
Microphone placed (Position at, double gain, float noiseRms, DemoRandom& random)
{
    return { at, gain, noiseRms, random.next() };
}

}    // namespace

TableSet planSet (int numTalkers, DemoRandom random, double spread)
{
    TableSet set;
    const auto near = [&random] (const Position& place, double metres) {
        const auto shift = [&] { return random.uniform (-metres, metres); };
        const auto dx = shift(), dy = shift(), dz = shift();
        return moved (place, dx, dy, dz);
    };

    for (size_t i = 0; i < (size_t) numTalkers; ++i)
    {
        const auto seat = Position { spread * seats[i].x, spread * seats[i].y, seats[i].z };
        const auto mouth = near (seat, 0.06);
        set.mouths.push_back (mouth);
        set.lavs.push_back (placed (moved (mouth, mouth.x < 0.0 ? 0.04 : -0.04, 0.0, -0.2), 0.25, 1.0e-4f, random));
    }

    const auto recorder = near ({ 0.05, 0.1, 0.76 }, 0.1);
    const auto camera = near ({ 0.4, -3.4, 1.5 }, 0.25);
    set.boom = placed (near ({ 0.0, 0.2, 1.8 }, 0.05), 1.2, 1.5e-4f, random);
    set.tableLeft = placed (moved (recorder, -0.04, 0.0, 0.0), 1.0, 2.0e-4f, random);
    set.tableRight = placed (moved (recorder, 0.04, 0.0, 0.0), 1.0, 2.0e-4f, random);
    set.cameraLeft = placed (moved (camera, -0.03, 0.0, 0.0), 3.2, 3.0e-4f, random);
    set.cameraRight = placed (moved (camera, 0.03, 0.0, 0.0), 3.2, 3.0e-4f, random);
    set.airOutlet = near ({ 0.0, 0.3, 2.6 }, 0.1);
    return set;
}

std::vector<SceneSound>
planSounds (const TableSet& set, const std::vector<VoiceProfile>& voices, SceneSpan span, DemoRandom random)
{
    const auto numTalkers = set.mouths.size();
    auto talk = planConversation (
        { voices.begin(), voices.begin() + (std::ptrdiff_t) numTalkers }, span, { quietForTheClap }, random.fork (1));
    std::vector<SceneSound> sounds;

    for (size_t i = 0; i < numTalkers; ++i)
        sounds.push_back ({ set.mouths[i], std::move (talk[i]) });

    sounds.push_back ({ set.mouths[0], planClap (clapSeconds, random.fork (2)) });
    sounds.push_back ({ set.airOutlet, planAir (span, random.fork (3)) });
    return sounds;
}

std::vector<VoiceProfile> planVoices (DemoRandom random)
{
    std::vector<VoiceProfile> voices { { 112.0, 1.0f, 0.02f, 0.19, 1.0 },
                                       { 198.0, 1.16f, 0.04f, 0.17, 0.9 },
                                       { 148.0, 1.07f, 0.03f, 0.21, 1.05 } };

    for (auto& voice : voices)
    {
        voice.pitchHz *= random.uniform (0.93, 1.07);
        voice.formantScale *= (float) random.uniform (0.97, 1.03);
    }

    return voices;
}

}    // namespace ld
