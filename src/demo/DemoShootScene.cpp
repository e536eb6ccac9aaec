#include "demo/DemoShootScene.h"

#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace ld
{
namespace
{

constexpr double nearestMetres = 0.1;
constexpr double converterHz = 21500.0;    // what a converter lets through
constexpr double kaiserBeta = 6.0;         // side lobes about 60 dB down

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

constexpr int runFrames = 16;

// Adds a run of filtered samples, all of them side by side.
LD_VECTOR_CLONES void addRun (const float* from, const float* weights, float* destination)
{
    std::array<float, runFrames> sums {};

    for (int tap = 0; tap < DelayKernel::taps; ++tap)
        for (int i = 0; i < runFrames; ++i)
            sums[(size_t) i] += weights[tap] * from[tap + i];

    for (int i = 0; i < runFrames; ++i)
        destination[i] += sums[(size_t) i];
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

Position placeOn (const Walk& walk, const Position& first, double seconds) noexcept
{
    const auto moved = [&first] (double dx, double dy) { return Position { first.x + dx, first.y + dy, first.z }; };

    if (walk.empty())
        return first;

    const auto next =
        std::find_if (walk.begin(), walk.end(), [seconds] (const auto& point) { return point.seconds > seconds; });

    if (next == walk.begin() || next == walk.end())
    {
        const auto& last = next == walk.end() ? walk.back() : walk.front();
        return moved (last.dx, last.dy);
    }

    const auto& from = *std::prev (next);
    const auto share = (seconds - from.seconds) / (next->seconds - from.seconds);
    return moved (std::lerp (from.dx, next->dx, share), std::lerp (from.dy, next->dy, share));
}

double gainOver (double metres) noexcept
{
    return 1.0 / std::max (metres, nearestMetres);
}

double brightnessHz (double metres) noexcept
{
    return juce::jlimit (9000.0, 19000.0, 20500.0 - 2700.0 * metres);
}

void SampleHistory::growTo (juce::int64 end)
{
    held.resize (std::max (held.size(), (size_t) std::max<juce::int64> (end - first, 0)));
}

void SampleHistory::add (juce::int64 position, std::span<const float> samples, float gain)
{
    const auto skipped = std::max<juce::int64> (first - position, 0);
    growTo (position + (juce::int64) samples.size());

    for (auto i = skipped; i < (juce::int64) samples.size(); ++i)
        held[(size_t) (position + i - first)] += gain * samples[(size_t) i];
}

void SampleHistory::forgetBefore (juce::int64 position)
{
    const auto count = juce::jlimit<juce::int64> (0, (juce::int64) held.size(), position - first);
    held.erase (held.begin(), held.begin() + count);
    first += count;
}

bool SampleHistory::isSilent (juce::int64 from, juce::int64 to) const noexcept
{
    return std::all_of (at (from), at (to), [] (float sample) { return sample == 0.0f; });
}

SoundHistory::SoundHistory (SceneSound soundToRender, juce::int64 firstSample)
    : sound (std::move (soundToRender)), rendered (firstSample), renderedUntil (firstSample)
{
}

void SoundHistory::renderUntil (juce::int64 position)
{
    for (; nextSyllable < sound.syllables.size(); ++nextSyllable)
    {
        const auto& syllable = sound.syllables[nextSyllable];
        const auto start = sampleAt (syllable.startSeconds);

        if (start >= position)
            break;

        rendered.add (start, renderSyllable (syllable), 1.0f);
    }

    renderPlaybacks (position);
    rendered.growTo (position);
    renderedUntil = std::max (renderedUntil, position);
}

void SoundHistory::renderPlaybacks (juce::int64 position)
{
    for (const auto& playback : sound.playbacks)
    {
        const auto length = (juce::int64) playback.samples->size();
        const auto from = juce::jlimit<juce::int64> (0, length, renderedUntil - playback.startSample);
        const auto to = juce::jlimit<juce::int64> (0, length, position - playback.startSample);

        if (from < to)
            rendered.add (playback.startSample + from,
                          std::span (*playback.samples).subspan ((size_t) from, (size_t) (to - from)),
                          playback.gain);
    }
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

DelayKernel::Row DelayKernel::weightsAt (double fraction) const noexcept
{
    const auto phase = std::min ((int) (fraction * phases), phases - 1);
    const auto blend = (float) (fraction * phases - phase);
    auto row = rows[(size_t) phase];

    for (size_t tap = 0; tap < row.size(); ++tap)
        row[tap] += blend * (rows[(size_t) phase + 1][tap] - row[tap]);

    return row;
}

const DelayKernel& kernelFor (double cutoffHz)
{
    constexpr auto stepHz = 1000.0;
    thread_local std::map<long, DelayKernel> kernels;
    const auto step = std::lround (cutoffHz / stepHz);
    return kernels.try_emplace (step, (double) step * stepHz).first->second;
}

MicrophoneFeed::MicrophoneFeed (const Microphone& microphone, const std::vector<SoundHistory>& sounds)
    : random (microphone.noiseSeed), noiseRms (microphone.noiseRms)
{
    for (const auto& sound : sounds)
    {
        const auto& place = sound.source().at;
        const auto metres = metresBetween (place, microphone.at);
        paths.push_back ({ &sound.samples(),
                           delaySamples (place, microphone.at),
                           (float) (microphone.gain / std::max (metres, nearestMetres)),
                           DelayKernel (brightnessHz (metres)) });
    }
}

MicrophoneFeed::MicrophoneFeed (const Microphone& microphone, const SampleHistory& atItsPlace)
    : room ({ &atItsPlace, 0.0, (float) microphone.gain, DelayKernel (converterHz) }), random (microphone.noiseSeed),
      noiseRms (microphone.noiseRms)
{
}

void MicrophoneFeed::capture (double position, double step, int count, float* destination)
{
    std::fill_n (destination, count, 0.0f);

    for (const auto& path : paths)
        addPath (path, position, step, count, destination);

    if (room)
        addRoom (position, step, count, destination);

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

// A clock that is a few ppm off moves so little within a run that one set of weights serves it.
void MicrophoneFeed::addRoom (double position, double step, int count, float* destination) const
{
    constexpr auto steadyStep = 1.0e-4;
    const auto whole = std::abs (step - 1.0) > steadyStep ? 0 : count / runFrames * runFrames;

    for (int i = 0; i < whole; i += runFrames)
    {
        const auto at = position + step * (i + 0.5 * (runFrames - 1)) - 0.5 * (runFrames - 1);
        const auto before = std::floor (at);
        auto weights = room->kernel.weightsAt (at - before);

        for (auto& weight : weights)
            weight *= room->gain;

        addRun (room->sound->at ((juce::int64) before) - (DelayKernel::reach - 1), weights.data(), destination + i);
    }

    if (whole < count)
        addPath (*room, position + step * whole, step, count - whole, destination + whole);
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
