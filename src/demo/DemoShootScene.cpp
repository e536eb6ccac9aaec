#include "demo/DemoShootScene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ld
{
namespace
{

constexpr double metresPerSecond = 343.0;    // in air at 20 degrees C
constexpr double nearestMetres = 0.1;
constexpr double kaiserBeta = 6.0;    // side lobes about 60 dB down

// A rule of thumb for the ear, not acoustics: what is near is bright, at 4 m it is dull.
double brightnessHz (double metres) noexcept
{
    return juce::jlimit (9000.0, 19000.0, 20500.0 - 2700.0 * metres);
}

double besselI0 (double x) noexcept
{
    auto sum = 1.0, term = 1.0;

    for (int k = 1; k < 30; ++k)
    {
        term *= x / (2.0 * k);
        sum += term * term;
    }

    return sum;
}

double sinc (double x) noexcept
{
    const auto angle = std::numbers::pi * x;
    return std::abs (angle) < 1.0e-9 ? 1.0 : std::sin (angle) / angle;
}

juce::int64 sampleAt (double seconds) noexcept
{
    return std::llround (seconds * demoSampleRate);
}

}    // namespace

double metresBetween (const Position& a, const Position& b) noexcept
{
    return std::hypot (a.x - b.x, a.y - b.y, a.z - b.z);
}

double delaySamples (const Position& from, const Position& to) noexcept
{
    return metresBetween (from, to) / metresPerSecond * demoSampleRate;
}

SoundHistory::SoundHistory (SceneSound soundToRender, juce::int64 firstSample)
    : sound (std::move (soundToRender)), first (firstSample)
{
}

void SoundHistory::renderUntil (juce::int64 position)
{
    const auto grow = [this] (juce::int64 end) {
        held.resize (std::max (held.size(), (size_t) std::max<juce::int64> (end - first, 0)));
    };

    for (; nextSyllable < sound.syllables.size(); ++nextSyllable)
    {
        const auto& syllable = sound.syllables[nextSyllable];
        const auto start = sampleAt (syllable.startSeconds);

        if (start >= position)
            break;

        const auto rendered = renderSyllable (syllable);
        const auto skipped = std::max<juce::int64> (first - start, 0);
        grow (start + (juce::int64) rendered.size());

        for (auto i = skipped; i < (juce::int64) rendered.size(); ++i)
            held[(size_t) (start + i - first)] += rendered[(size_t) i];
    }

    grow (position);
}

void SoundHistory::forgetBefore (juce::int64 position)
{
    const auto count = juce::jlimit<juce::int64> (0, (juce::int64) held.size(), position - first);
    held.erase (held.begin(), held.begin() + count);
    first += count;
}

bool SoundHistory::isSilent (juce::int64 from, juce::int64 to) const noexcept
{
    return std::all_of (at (from), at (to), [] (float sample) { return sample == 0.0f; });
}

DelayKernel::DelayKernel (double cutoffHz)
{
    const auto cutoff = cutoffHz / (0.5 * demoSampleRate);
    rows.resize (phases + 1);

    for (int phase = 0; phase <= phases; ++phase)
    {
        auto& row = rows[(size_t) phase];

        for (int tap = 0; tap < taps; ++tap)
        {
            const auto x = tap - (reach - 1) - (double) phase / phases;
            const auto edge = std::min (std::abs (x) / reach, 1.0);
            const auto window = besselI0 (kaiserBeta * std::sqrt (1.0 - edge * edge)) / besselI0 (kaiserBeta);
            row[(size_t) tap] = (float) (cutoff * sinc (cutoff * x) * window);
        }
    }
}

float DelayKernel::read (const float* sample, double fraction) const noexcept
{
    const auto phase = std::min ((int) (fraction * phases), phases - 1);
    const auto blend = (float) (fraction * phases - phase);
    const auto& low = rows[(size_t) phase];
    const auto& high = rows[(size_t) phase + 1];
    const auto* from = sample - (reach - 1);

    // Sums in lanes, which the compiler may put side by side without changing their order.
    constexpr size_t lanes = 8;
    std::array<float, lanes> sums {};

    for (size_t tap = 0; tap < (size_t) taps; tap += lanes)
        for (size_t lane = 0; lane < lanes; ++lane)
        {
            const auto weight = low[tap + lane] + blend * (high[tap + lane] - low[tap + lane]);
            sums[lane] += weight * from[tap + lane];
        }

    return ((sums[0] + sums[4]) + (sums[1] + sums[5])) + ((sums[2] + sums[6]) + (sums[3] + sums[7]));
}

MicrophoneFeed::MicrophoneFeed (const Microphone& microphone, const std::vector<SoundHistory>& sounds)
    : random (microphone.noiseSeed), noiseRms (microphone.noiseRms)
{
    for (const auto& sound : sounds)
    {
        const auto metres = metresBetween (sound.place(), microphone.at);
        paths.push_back ({ &sound,
                           delaySamples (sound.place(), microphone.at),
                           (float) (microphone.gain / std::max (metres, nearestMetres)),
                           DelayKernel (brightnessHz (metres)) });
    }
}

void MicrophoneFeed::capture (double position, double step, int count, float* destination)
{
    std::fill_n (destination, count, 0.0f);

    for (const auto& path : paths)
        addPath (path, position, step, count, destination);

    addNoise (count, destination);
}

void MicrophoneFeed::addPath (const Path& path, double position, double step, int count, float* destination) const
{
    const auto start = position - path.delay;
    const auto from = (juce::int64) std::floor (start) - DelayKernel::reach;
    const auto to = (juce::int64) std::floor (start + step * (count - 1)) + DelayKernel::reach + 1;

    if (path.sound->isSilent (from, to))
        return;

    for (int i = 0; i < count; ++i)
    {
        const auto at = start + step * i;
        const auto whole = std::floor (at);
        destination[i] += path.gain * path.kernel.read (path.sound->at ((juce::int64) whole), at - whole);
    }
}

// Room tone: white noise and more of it in the lows.
void MicrophoneFeed::addNoise (int count, float* destination)
{
    for (int i = 0; i < count; ++i)
    {
        const auto white = random.noise();
        rumble += 0.02f * (white - rumble);
        destination[i] += noiseRms * (0.6f * white + 8.0f * rumble);
    }
}

}    // namespace ld
