#pragma once

#include "demo/DemoShootScene.h"

namespace ld
{

/** A room with flat walls. The origin lies on its floor, in the middle. */
struct Room
{
    double width = 8.0, length = 10.0, height = 3.0;    // metres along x, y and z
    double reverbSeconds = 0.4;                         // until a sound has decayed by 60 dB
    std::uint64_t tailSeed = 0;
};

/** What of a sound's way to a microphone a response holds. */
enum class RoomWay
{
    whole,
    echoesOnly    // without the direct sound, which whoever moves renders by themselves
};

/** The response from a place in the room to a microphone's, at demoSampleRate: the direct sound, the reflections of up to
    two walls and a diffuse tail of noise.
    Image sources: J. Allen, D. Berkley, "Image method for efficiently simulating small-room acoustics", 1979. The tail's
    level is that of a diffuse field after Sabine: 16 pi / A times the direct sound's energy at 1 m, A = 0.161 V / T.
    tailSeed   of the tail's noise, which every pair of places has for itself */
[[nodiscard]] std::vector<float>
roomResponse (const Room&, const Position& sound, const Position& microphone, std::uint64_t tailSeed, RoomWay);

}    // namespace ld
