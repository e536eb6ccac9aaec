#include "demo/Room.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ld
{
namespace
{

constexpr int mostWalls = 2;
constexpr double sabine = 0.161;             // s/m
constexpr double tailRangeDb = 50.0;         // what decays further is left out
constexpr double tailDelaySeconds = 0.01;    // behind the direct sound, swelling as long again
constexpr float tailDullness = 0.45f;        // of a low-pass of one pole, about 4.5 kHz: walls swallow highs

void addEcho (std::vector<float>& response, double metres, double reflected)
{
    const auto delay = metres / metresPerSecond * demoSampleRate;
    const auto later = (long) std::floor (delay) + 1;    // a read there looks back by 0 to 1 samples
    const auto weights = kernelFor (brightnessHz (metres)).weightsAt ((double) later - delay);
    const auto gain = (float) (reflected * gainOver (metres));

    for (int tap = 0; tap < DelayKernel::taps; ++tap)
        if (const auto at = later + DelayKernel::reach - 1 - tap; at >= 0 && at < (long) response.size())
            response[(size_t) at] += gain * weights[(size_t) tap];
}

// Where the image of a coordinate lies behind `order` reflections between walls at -half and +half.
double imageOf (double x, double half, int order) noexcept
{
    return order % 2 == 0 ? x + 2.0 * half * order : -x + 2.0 * half * order;
}

double reflectionOf (const Room& room) noexcept
{
    const auto volume = room.width * room.length * room.height;
    const auto surface = 2.0 * (room.width * room.length + room.width * room.height + room.length * room.height);
    return std::sqrt (1.0 - std::min (0.9, sabine * volume / (surface * room.reverbSeconds)));
}

void addEchoes (std::vector<float>& response, const Room& room, const Position& sound, const Position& ear, RoomWay way)
{
    const auto half = 0.5 * room.height;
    const auto reflection = reflectionOf (room);

    for (int i = -mostWalls; i <= mostWalls; ++i)
        for (int j = -mostWalls; j <= mostWalls; ++j)
            for (int k = -mostWalls; k <= mostWalls; ++k)
            {
                const auto walls = std::abs (i) + std::abs (j) + std::abs (k);

                if (walls > mostWalls || (walls == 0 && way == RoomWay::echoesOnly))
                    continue;

                const Position image { imageOf (sound.x, 0.5 * room.width, i),
                                       imageOf (sound.y, 0.5 * room.length, j),
                                       imageOf (sound.z - half, half, k) + half };
                addEcho (response, metresBetween (image, ear), std::pow (reflection, walls));
            }
}

void addTail (std::vector<float>& response, const Room& room, double delay, std::uint64_t seed)
{
    const auto decayPerSample = std::exp (-0.5 * std::log (1.0e6) / (room.reverbSeconds * demoSampleRate));
    const auto absorption = sabine * room.width * room.length * room.height / room.reverbSeconds;
    const auto energy = 16.0 * std::numbers::pi / absorption;

    // Noise of variance 1 that decays like this has the energy 1 / (1 - decay^2); the low-pass leaves a / (2 - a) of it.
    const auto level =
        std::sqrt (energy * (1.0 - decayPerSample * decayPerSample) * (2.0 - tailDullness) / tailDullness);
    const auto start = (size_t) (delay + tailDelaySeconds * demoSampleRate);
    const auto swellSamples = tailDelaySeconds * demoSampleRate;
    DemoRandom random (seed);
    auto envelope = level;
    auto dull = 0.0f;

    for (auto i = start; i < response.size(); ++i, envelope *= decayPerSample)
    {
        const auto swell = std::min (1.0, (double) (i - start) / swellSamples);
        dull += tailDullness * (random.noise() - dull);
        response[i] += (float) (swell * envelope) * dull;
    }
}

}    // namespace

std::vector<float>
roomResponse (const Room& room, const Position& sound, const Position& microphone, std::uint64_t tailSeed, RoomWay way)
{
    const auto tailSeconds = room.reverbSeconds * tailRangeDb / 60.0;
    const auto delay = delaySamples (sound, microphone);
    std::vector<float> response ((size_t) (delay + (tailDelaySeconds + tailSeconds) * demoSampleRate));
    addEchoes (response, room, sound, microphone, way);
    addTail (response, room, delay, tailSeed);
    return response;
}

}    // namespace ld
